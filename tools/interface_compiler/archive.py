"""A keyed archive, as NSKeyedArchiver writes it: every object once, in one list, referred to by its place there."""

import plistlib

SUPERCLASSES = {
    "NSMutableArray": "NSArray", "NSMutableSet": "NSSet", "NSMutableString": "NSString", "NSTextView": "NSText",
    "NSMutableAttributedString": "NSAttributedString", "NSTextStorage": "NSMutableAttributedString",
    "NSView": "NSResponder", **dict.fromkeys(["NSClipView", "NSControl", "NSScrollView", "NSText"], "NSView"),
    **dict.fromkeys(["NSButton", "NSImageView", "NSScroller", "NSTextField"], "NSControl"),
    **dict.fromkeys(["NSActionCell", "NSImageCell"], "NSCell"),
    **dict.fromkeys(["NSButtonCell", "NSTextFieldCell"], "NSActionCell"),
    **dict.fromkeys(["NSNibBindingConnector", "NSNibControlConnector", "NSNibOutletConnector"], "NSNibConnector"),
}


class Node(dict):
    """An object of the archive: its values by key, of which None is nil, and the name of its class."""

    def __init__(self, class_name, **values):
        super().__init__(values)
        self.class_name = class_name


def array(items, class_name="NSMutableArray"):
    return Node(class_name, **{"NS.objects": items})


def dictionary(**values):
    return Node("NSDictionary", **{"NS.keys": list(values), "NS.objects": list(values.values())})


def keyed_archive(top):
    """The archive as a binary property list: the same bytes for the same objects."""
    objects, places = ["$null"], {(type(None), None): plistlib.UID(0)}

    def place(identity, value):
        if identity not in places:
            places[identity] = plistlib.UID(len(objects))
            objects.append(value)
            if isinstance(value, Node):
                entry = objects[-1] = {}  # before its values, which may lead back to it
                entry.update({key: encoded(key, item) for key, item in value.items()})
                names = [value.class_name]
                while names[-1] != "NSObject":
                    names.append(SUPERCLASSES.get(names[-1], "NSObject"))
                entry["$class"] = place(("class", names[0]), {"$classname": names[0], "$classes": names})
        return places[identity]

    def reference(value):
        return place(id(value) if isinstance(value, Node) else (type(value), value), value)

    def encoded(key, value):
        if isinstance(value, list):
            return [reference(item) for item in value]
        if isinstance(value, int) and value >= 1 << 31:
            return value - (1 << 32)  # flags are C ints, so the topmost is the sign
        if isinstance(value, (bool, int, float, bytes)) or key == "NS.string":
            return value
        return reference(value)

    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$objects": objects,
                           "$top": {key: encoded(key, value) for key, value in top.items()}}, fmt=plistlib.FMT_BINARY)
