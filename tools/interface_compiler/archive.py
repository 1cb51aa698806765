"""A keyed archive, as NSKeyedArchiver writes it: every object once, in one list, referred to by its place there."""

import plistlib

SUPERCLASSES = {
    "NSMutableArray": "NSArray",
    "NSMutableSet": "NSSet",
    "NSMutableString": "NSString",
    "NSMutableAttributedString": "NSAttributedString",
    "NSTextStorage": "NSMutableAttributedString",
    "NSView": "NSResponder",
    "NSControl": "NSView",
    "NSButton": "NSControl",
    "NSImageView": "NSControl",
    "NSScroller": "NSControl",
    "NSTextField": "NSControl",
    "NSClipView": "NSView",
    "NSScrollView": "NSView",
    "NSText": "NSView",
    "NSTextView": "NSText",
    "NSActionCell": "NSCell",
    "NSButtonCell": "NSActionCell",
    "NSTextFieldCell": "NSActionCell",
    "NSImageCell": "NSCell",
    "NSNibBindingConnector": "NSNibConnector",
    "NSNibControlConnector": "NSNibConnector",
    "NSNibOutletConnector": "NSNibConnector",
}


class Node(dict):
    """An object of the archive: its values by key, of which None is nil, and the name of its class."""

    def __init__(self, class_name, **values):
        super().__init__(values)
        self.class_name = class_name


def array(items, class_name="NSArray"):
    return Node(class_name, **{"NS.objects": items})


def mutable_array(items):
    return array(items, "NSMutableArray")


def dictionary(**values):
    return Node("NSDictionary", **{"NS.keys": list(values), "NS.objects": list(values.values())})


def class_names(name):
    """The class and those that it inherits from."""
    return [name] if name == "NSObject" else [name, *class_names(SUPERCLASSES.get(name, "NSObject"))]


def keyed_archive(top):
    """The archive as a binary property list: the same bytes for the same objects."""
    objects, places = ["$null"], {}

    def place(identity, value):
        if identity not in places:
            places[identity] = plistlib.UID(len(objects))
            objects.append(value)
        return places[identity]

    def reference(value):
        if value is None:
            return plistlib.UID(0)
        if not isinstance(value, Node):
            return place((type(value), value), value)
        if id(value) in places:
            return places[id(value)]
        entry = {}
        uid = place(id(value), entry)  # before its values, which may lead back to it
        for key, item in value.items():
            entry[key] = encoded(key, item)
        names = class_names(value.class_name)
        entry["$class"] = place(("class", names[0]), {"$classname": names[0], "$classes": names})
        return uid

    def encoded(key, value):
        if isinstance(value, list):
            return [reference(item) for item in value]
        if isinstance(value, int) and value >= 1 << 31:
            return value - (1 << 32)  # flags are C ints, so the topmost is the sign
        if isinstance(value, (bool, int, float, bytes)) or key == "NS.string":
            return value
        return reference(value)

    entries = {key: encoded(key, value) for key, value in top.items()}
    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": entries, "$objects": objects},
                          fmt=plistlib.FMT_BINARY, sort_keys=True)
