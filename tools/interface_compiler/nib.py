"""The nib: all objects of an interface file, what each belongs to, how they are connected, what VoiceOver says."""

import xml.etree.ElementTree

from interface_compiler.archive import Node, array, dictionary, keyed_archive
from interface_compiler.document import Element
from interface_compiler.values import image
from interface_compiler.views import Views

# By this name AppKit knows which menu to put its own items into.
SYSTEM_MENUS = {"main": "_NSMainMenu", "apple": "_NSAppleMenu", "window": "_NSWindowsMenu", "help": "_NSHelpMenu",
                None: None}
MODIFIERS = {"option": 1 << 19, "command": 1 << 20}
# Each with its class, what it is called by, and what names its other end; they are made in this order.
CONNECTIONS = {"outlet": ("NSNibOutletConnector", "property", "destination"),
               "action": ("NSNibControlConnector", "selector", "target"),
               "binding": ("NSNibBindingConnector", "keyPath", "destination")}
TRANSFORMER, FIXED = "NSValueTransformerName", "NSArray"


class Nib(Views):
    def __init__(self, root):
        self.owner, self.application = (Node("NSCustomObject", NSClassName="NSApplication") for _ in range(2))
        self.parents = [(self.application, self.owner)]  # of each object, in the order of the file
        self.objects = {}                                # by identifier
        self.connections = {tag: [] for tag in CONNECTIONS}
        self.spoken = []
        kinds = {"customObject": self.custom_object, "menu": self.menu, "window": self.window}
        root.build_all_in("objects", kinds, self.owner)
        self.connectors = [self.connector(*each) for noted in self.connections.values() for each in noted]

    def add(self, element, node, parent):
        self.parents.append((node, parent))
        self.register(element, node)
        return node

    def register(self, element, node):
        """Notes an object and its connections, which are made when all objects are known."""
        identifier = element.required("id")
        if identifier in self.objects:
            raise element.refusal("another object has this identifier already")
        self.objects[identifier] = node
        element.attributes.pop("userLabel", None)  # for Interface Builder only, as is the identifier of a connection
        for connection in element.all_in("connections"):
            connection.choose(self.connections).append((connection, node))
        spoken = element.optional("accessibility")
        if spoken:
            self.spoken.append(Node(
                "NSNibAXAttributeConnector", AXDestinationArchiveKey=node, AXAttributeTypeArchiveKey="AXDescription",
                AXAttributeValueArchiveKey=spoken.required("description")))

    def custom_object(self, element, parent):
        """Also the placeholders of what is there before the nib is loaded; the First Responder is nobody until then."""
        placeholders = {"-1": ("FirstResponder", None), "-2": ("NSApplication", self.owner),
                        "-3": ("NSObject", self.application)}
        if element.attributes.get("id") in placeholders:
            class_name, node = placeholders[element.attributes["id"]]
            element.expect(customClass=class_name)
            self.register(element, node)
        else:
            self.add(element, Node("NSCustomObject", NSClassName=element.required("customClass")), parent)

    def menu(self, element, parent):
        node = self.add(element, Node("NSMenu", NSTitle=element.string("title")), parent)
        name = element.choice("systemMenu", SYSTEM_MENUS)
        if name:
            node["NSName"] = name
        node["NSMenuItems"] = array(element.build_all_in("items", {"menuItem": self.menu_item}, node))
        return node

    def menu_item(self, element, parent):
        node = self.add(element, Node(
            "NSMenuItem", NSMenu=parent, NSTitle=element.string("title"), NSKeyEquiv=element.string("keyEquivalent"),
            NSMnemonicLoc=0x7FFFFFFF, NSOnImage=image("NSMenuCheckmark"), NSMixedImage=image("NSMenuMixedState")),
            parent)
        if element.flag("isSeparatorItem"):
            node.update(NSIsSeparator=True, NSIsDisabled=True)
            return node
        mask = element.optional("modifierMask", "keyEquivalentModifierMask")
        modifiers = mask.bits(MODIFIERS) if mask else MODIFIERS["command"]
        if modifiers:
            node["NSKeyEquivModMask"] = modifiers
        submenu = element.optional("menu", "submenu")
        if submenu:
            made = self.menu(submenu, node)
            node.update(NSSubmenu=made, NSTarget=made, NSAction="submenuAction:")
        return node

    def connector(self, element, source):
        class_name, label, end = CONNECTIONS[element.tag]
        element.required("id")
        node = Node(class_name, NSSource=source, NSLabel=element.required(label))
        identifier = element.required(end)
        if identifier not in self.objects:
            raise element.refusal(f'{end}="{identifier}" is no object of this file')
        if self.objects[identifier] is not None:
            node["NSDestination"] = self.objects[identifier]
        if element.tag == "binding":
            name, path = element.required("name"), node["NSLabel"]
            node.update(NSBinding=name, NSKeyPath=path, NSLabel=f"{name}: {path}", NSNibBindingConnectorVersion=2)
            options = element.optional("dictionary", "options")
            if options:
                node["NSOptions"] = dictionary(**{TRANSFORMER: options.string(TRANSFORMER)})
        return node

    def archive(self):
        objects, parents = map(list, zip(*self.parents))
        numbered = [self.owner, *objects, *self.connectors]
        end = len(numbered) + 1
        return keyed_archive({"IB.systemFontUpdateVersion": 1, "IB.objectdata": Node(
            "NSIBObjectData", NSRoot=self.owner, NSConnections=array(self.connectors),
            NSVisibleWindows=array([], "NSMutableSet"), NSObjectsKeys=array(objects, FIXED),
            NSObjectsValues=array(parents, FIXED), NSOidsKeys=array(numbered, FIXED),
            NSOidsValues=array(list(range(1, end)), FIXED), NSAccessibilityConnectors=array(self.spoken),
            NSAccessibilityOidsKeys=array(self.spoken, FIXED),
            NSAccessibilityOidsValues=array(list(range(end, end + len(self.spoken))), FIXED))})


def compile_interface(content):
    """The nib's bytes for an interface file's."""
    root = Element(xml.etree.ElementTree.fromstring(content))
    root.expect(type="com.apple.InterfaceBuilder3.Cocoa.XIB", version="3.0", targetRuntime="MacOSX.Cocoa",
                propertyAccessControl="none")
    root.required("toolsVersion")
    root.child("dependencies")
    root.known.clear()  # for Interface Builder only, as is its version
    nib = Nib(root).archive()
    root.refuse_leftovers()
    return nib
