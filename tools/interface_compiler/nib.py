"""The nib: all objects of an interface file, what each belongs to, and how they are connected."""

from interface_compiler import connections, controls, menus, scrolled_text, views
from interface_compiler.archive import Node, array, keyed_archive, mutable_array
from interface_compiler.document import parse

TYPE, VERSION = "com.apple.InterfaceBuilder3.Cocoa.XIB", "3.0"
FOR_INTERFACE_BUILDER = ("toolsVersion", "systemVersion", "propertyAccessControl")


def custom_object(element, parent, nib):
    return nib.add(element, Node("NSCustomObject", NSClassName=element.required("customClass")), parent)


# To add a class of objects: a function that makes it from its element, and its line here.
TOP_LEVEL = {
    "customObject": custom_object,
    "menu": menus.menu,
    "window": views.window,
}
VIEWS = {
    "button": controls.button,
    "imageView": controls.image_view,
    "scrollView": scrolled_text.scroll_view,
    "textField": controls.text_field,
    "textView": scrolled_text.text_view,
    "view": views.plain_view,
}


class Nib:
    FILES_OWNER, FIRST_RESPONDER, APPLICATION = "-2", "-1", "-3"

    def __init__(self, root):
        self.owner = Node("NSCustomObject")
        self.application = Node("NSCustomObject", NSClassName="NSApplication")
        self.lines = {}      # where each identifier is
        self.objects = {}    # by identifier
        self.parents = []    # pairs of an object and what it belongs to, in the order of the file
        self.connections = []
        self.spoken = []
        self.visible_windows = []

        for name in ("type", "version", "targetRuntime"):
            root.choice(name, {{"type": TYPE, "version": VERSION, "targetRuntime": "MacOSX.Cocoa"}[name]: None})
        for name in FOR_INTERFACE_BUILDER:
            root.get(name)
        for tag in ("dependencies", "resources"):
            noted = root.optional(tag)
            if noted:
                noted.leave_out()
        self.parents.append((self.application, self.owner))
        root.child("objects")
        for element in root.list("objects"):
            if element.attributes.get("id", "").startswith("-"):
                self.placeholder(element)
            else:
                self.build(TOP_LEVEL, element, self.owner)
        if "NSClassName" not in self.owner:
            raise root.refusal("it has no File's Owner")
        self.connectors = connections.connectors(self.connections, self)
        root.refuse_unread()

    def placeholder(self, element):
        """An object that is there before the nib is loaded."""
        identifier = self.claim(element)
        if element.tag != "customObject" or identifier not in (self.FILES_OWNER, self.FIRST_RESPONDER, self.APPLICATION):
            raise element.refusal("only File's Owner, First Responder and the application have such an identifier")
        if identifier == self.FIRST_RESPONDER:
            element.choice("customClass", {"FirstResponder": None})
            return
        if identifier == self.FILES_OWNER:
            self.owner["NSClassName"] = element.required("customClass")
        else:
            element.choice("customClass", {"NSObject": None})
        self.register(element, self.owner if identifier == self.FILES_OWNER else self.application)

    def build(self, table, element, parent):
        if element.tag not in table:
            raise element.refusal("this element is not known here")
        return table[element.tag](element, parent, self)

    def build_view(self, element, parent):
        return self.build(VIEWS, element, parent)

    def claim(self, element):
        identifier = element.required("id")
        element.get("userLabel")  # Interface Builder shows it; the nib does not hold it
        if identifier in self.lines:
            raise element.refusal(f"this identifier is used in line {self.lines[identifier]} already")
        self.lines[identifier] = element.line
        return identifier

    def add(self, element, node, parent):
        self.claim(element)
        self.parents.append((node, parent))
        return self.register(element, node)

    def register(self, element, node):
        """Notes an object and its connections, which are made when all objects are known."""
        self.objects[element.attributes["id"]] = node
        for connection in element.list("connections"):
            self.claim(connection)
            self.connections.append((node, connection))
        spoken = element.optional("accessibility")
        if spoken:
            self.spoken.append(connections.spoken_description(spoken, node))
        return node

    def object_named_by(self, element, name):
        identifier = element.required(name)
        if identifier not in self.objects:
            raise element.refusal(f'{name}="{identifier}" is no object of this file')
        return self.objects[identifier]

    def archive(self):
        objects = [node for node, _ in self.parents]
        numbered = [self.owner, *objects, *self.connectors]
        end = len(numbered) + 1
        return keyed_archive(**{"IB.systemFontUpdateVersion": 1, "IB.objectdata": Node(
            "NSIBObjectData",
            NSRoot=self.owner,
            NSConnections=mutable_array(self.connectors),
            NSVisibleWindows=array(self.visible_windows, "NSMutableSet"),
            NSObjectsKeys=array(objects),
            NSObjectsValues=array([parent for _, parent in self.parents]),
            NSOidsKeys=array(numbered),
            NSOidsValues=array(list(range(1, end))),
            NSAccessibilityConnectors=mutable_array(self.spoken),
            NSAccessibilityOidsKeys=array(self.spoken),
            NSAccessibilityOidsValues=array(list(range(end, end + len(self.spoken)))))})


def compile_interface(content):
    """The nib's bytes for an interface file's."""
    return Nib(parse(content)).archive()
