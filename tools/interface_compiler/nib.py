"""The nib: all objects of an interface file, what each belongs to, and how they are connected."""

from interface_compiler import connections, controls, menus, scrolled_text, views
from interface_compiler.archive import Node, array, keyed_archive, mutable_array
from interface_compiler.document import parse

FORMAT = {"type": "com.apple.InterfaceBuilder3.Cocoa.XIB", "version": "3.0", "targetRuntime": "MacOSX.Cocoa"}
FOR_INTERFACE_BUILDER = {"attributes": ["toolsVersion", "systemVersion", "propertyAccessControl"],
                         "elements": ["dependencies", "resources"]}
FILES_OWNER, APPLICATION = "-2", "-3"


def custom_object(element, parent, nib):
    """Also the placeholders of what is there before the nib is loaded."""
    identifier = element.required("id")
    if identifier == connections.FIRST_RESPONDER:
        element.expect("customClass", "FirstResponder")
        nib.claim(element)
    elif identifier == APPLICATION:
        element.expect("customClass", "NSObject")
        nib.register(element, nib.application)
    elif identifier == FILES_OWNER:
        nib.owner["NSClassName"] = element.required("customClass")
        nib.register(element, nib.owner)
    else:
        nib.add(element, Node("NSCustomObject", NSClassName=element.required("customClass")), parent)


# To add a class: a function that makes the object from its element, and its line here.
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
    def __init__(self):
        self.owner = Node("NSCustomObject")
        self.application = Node("NSCustomObject", NSClassName="NSApplication")
        self.parents = [(self.application, self.owner)]  # of each object, in the order of the file
        self.objects = {}      # by identifier
        self.lines = {}        # of all identifiers
        self.connections = []  # pairs of an object and the element of a connection that starts there
        self.connectors = []
        self.spoken = []
        self.visible_windows = []

    def build(self, table, element, parent):
        if element.tag not in table:
            raise element.unknown()
        return table[element.tag](element, parent, self)

    def build_view(self, element, parent):
        return self.build(VIEWS, element, parent)

    def add(self, element, node, parent):
        self.parents.append((node, parent))
        return self.register(element, node)

    def register(self, element, node):
        """Notes an object and its connections, which are made when all objects are known."""
        self.objects[self.claim(element)] = node
        for connection in element.all_in("connections"):
            if connection.tag not in connections.KINDS:
                raise connection.unknown()
            self.claim(connection)
            self.connections.append((node, connection))
        spoken = element.optional("accessibility")
        if spoken:
            self.spoken.append(connections.spoken_description(spoken, node))
        return node

    def claim(self, element):
        """The element's identifier, which no other has. The label that goes with it is not in the nib."""
        identifier = element.required("id")
        element.get("userLabel")
        if identifier in self.lines:
            raise element.refusal(f"this identifier is that of line {self.lines[identifier]} already")
        self.lines[identifier] = element.line
        return identifier

    def end(self, connection, name):
        """The object at the end that the attribute of this name tells."""
        identifier = connection.required(name)
        if identifier not in self.objects:
            raise connection.refusal(f'{name}="{identifier}" is no object of this file')
        return self.objects[identifier]

    def connect(self):
        self.connectors = connections.connectors(self.connections, self)

    def archive(self):
        objects = [node for node, _ in self.parents]
        numbered = [self.owner, *objects, *self.connectors]
        end = len(numbered) + 1
        return keyed_archive({"IB.systemFontUpdateVersion": 1, "IB.objectdata": Node(
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
    root = parse(content)
    root.known = True
    for name, value in FORMAT.items():
        root.expect(name, value)
    for name in FOR_INTERFACE_BUILDER["attributes"]:
        root.get(name)
    for tag in FOR_INTERFACE_BUILDER["elements"]:
        element = root.optional(tag)
        if element:
            element.leave_out()

    nib = Nib()
    root.child("objects")
    for element in root.all_in("objects"):
        nib.build(TOP_LEVEL, element, nib.owner)
    if FILES_OWNER not in nib.objects:
        raise root.refusal("it has no File's Owner")
    nib.connect()
    root.refuse_unread()
    return nib.archive()
