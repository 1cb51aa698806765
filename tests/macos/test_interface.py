"""Holds the compiled interface in the bundle against the interface file, object by object."""

import unittest
import xml.etree.ElementTree

from support import REPOSITORY, mac
from inspection import product
from support.nib import Nib

INTERFACE = REPOSITORY / "resources/MainMenu.xib"
# The key in the nib for a part of an object.
PARTS = {
    "cell": "NSCell",
    "submenu": "NSSubmenu",
    ("view", "contentView"): "NSWindowView",
    ("clipView", "contentView"): "NSContentView",
    "horizontalScroller": "NSHScroller",
    "verticalScroller": "NSVScroller",
}


class CompiledInterface(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.document = xml.etree.ElementTree.parse(INTERFACE).getroot()
        cls.nib = Nib((product.RESOURCES / "MainMenu.nib").read_bytes())
        cls.above = {child: element for element in cls.document.iter() for child in element}
        cls.found = {"-2": cls.nib.owner, "-1": None}  # objects of the nib by their identifiers in the file
        cls.compared = []                              # pairs of an element and the nib's object
        cls.match_top_level()

    # Which object of the nib an element has become: both are walked side by side.

    @classmethod
    def match_top_level(cls):
        top = [found for found, parent in cls.nib.parents.items() if parent == cls.nib.owner]
        elements = [element for element in cls.document.find("objects") if element.get("id") not in cls.found]
        # The application stands first in a nib, and where Interface Builder lists it in the file.
        elements.sort(key=lambda element: element.get("id") != "-3")
        for element, found in zip(elements, top, strict=True):
            cls.match(element, found)

    @classmethod
    def match(cls, element, found):
        cls.found[element.get("id")] = found
        cls.compared.append((element, found))
        for part in element:
            key = PARTS.get((part.tag, part.get("key"))) or PARTS.get(part.get("key"))
            if key:
                cls.match(part, found[key])
        for container, key in [("subviews", "NSSubviews"), ("items", "NSMenuItems")]:
            listed = element.find(container)
            if listed is not None:
                for part, below in zip(listed, found[key], strict=True):
                    cls.match(part, below)

    def test_every_object_of_the_file_is_there_once_and_nothing_else(self):
        objects = {element.get("id") for element in self.document.iter()
                   if element.get("id") and self.above[element].tag != "connections"}
        self.assertEqual(objects, set(self.found))
        found = [each for each in self.found.values() if each not in (None, self.nib.owner)]
        self.assertEqual(len(set(found)), len(found))
        self.assertEqual(set(found), set(self.nib.parents))

    def test_every_object_has_become_one_of_its_class_and_belongs_to_what_it_stands_in(self):
        classes = {"window": "NSWindowTemplate", "customObject": "NSCustomObject"}
        for element, found in self.compared:
            tag, above = element.tag, self.above[element]
            self.assertEqual(found.class_name, classes.get(tag, "NS" + tag[0].upper() + tag[1:]))
            if tag == "customObject" and element.get("id") != "-3":
                self.assertEqual(found["NSClassName"], element.get("customClass"))
            while above.tag != "objects" and not above.get("id"):
                above = self.above[above]
            parent = self.nib.owner if above.tag == "objects" else self.found[above.get("id")]
            self.assertEqual(self.nib.parents[found], parent, element.get("id"))

    def test_every_connection_is_made_and_no_other(self):
        expected = []
        for element in self.document.iterfind(".//connections/*"):
            source = self.above[self.above[element]].get("id")
            end = element.get("destination") or element.get("target")
            kind, label = {
                "outlet": ("NSNibOutletConnector", element.get("property")),
                "action": ("NSNibControlConnector", element.get("selector")),
                "binding": ("NSNibBindingConnector", f"{element.get('name')}: {element.get('keyPath')}"),
            }[element.tag]
            expected.append((kind, label, self.found[source], self.found[end]))
        actual = [(each.class_name, each["NSLabel"], each["NSSource"], each.get("NSDestination"))
                  for each in self.nib.connectors]
        self.assertGreater(len(expected), 30)
        self.assertEqual(sorted(actual, key=repr), sorted(expected, key=repr))

    def test_voiceover_says_of_every_object_what_the_file_says(self):
        expected = {self.found[self.above[element].get("id")]: element.get("description")
                    for element in self.document.iterfind(".//accessibility")}
        actual = {each["AXDestinationArchiveKey"]: each["AXAttributeValueArchiveKey"] for each in self.nib.spoken}
        self.assertTrue(expected)
        self.assertEqual(actual, expected)
        self.assertEqual({each["AXAttributeTypeArchiveKey"] for each in self.nib.spoken}, {"AXDescription"})

    def test_every_title_and_frame_is_that_of_the_file(self):
        titles = {"NSWindowTemplate": "NSWindowTitle", "NSMenu": "NSTitle", "NSMenuItem": "NSTitle",
                  "NSTextFieldCell": "NSContents", "NSButtonCell": "NSContents"}
        frames = 0
        for element, found in self.compared:
            with self.subTest(element.get("id")):
                if found.class_name in titles:
                    title = element.findtext("string[@key='title']", element.get("title", ""))
                    self.assertEqual(found[titles[found.class_name]], title)
                frame = element.find("rect[@key='frame']")
                if frame is not None:
                    numbers = [frame.get(name).removesuffix(".0") for name in ("x", "y", "width", "height")]
                    text = found.get("NSFrame") or "{{0, 0}, " + found["NSFrameSize"] + "}"
                    self.assertEqual([part.strip("{} ") for part in text.split(",")], numbers)
                    frames += 1
        self.assertGreater(frames, 10)

    def test_every_object_and_connector_has_a_number_of_its_own(self):
        keys, numbers = ([*self.nib.data[f"NSOids{what}"], *self.nib.data[f"NSAccessibilityOids{what}"]]
                         for what in ("Keys", "Values"))
        self.assertEqual(set(keys), {self.nib.owner, *self.nib.parents, *self.nib.connectors, *self.nib.spoken})
        self.assertEqual(numbers, list(range(1, len(keys) + 1)))

    def test_every_control_has_a_text_that_voiceover_can_read_out(self):
        spoken = {each["AXDestinationArchiveKey"] for each in self.nib.spoken}
        for control in ("NSButton", "NSImageView", "NSTextField", "NSTextView"):
            self.assertTrue(self.nib.all(control))
            for found in self.nib.all(control):
                self.assertTrue(found in spoken or found["NSCell"]["NSContents"], found)

    def test_return_presses_the_install_button_and_only_that_has_the_bezel_of_a_push_button(self):
        cells = self.nib.all("NSButtonCell")
        self.assertEqual([cell["NSContents"] for cell in cells if cell["NSKeyEquivalent"] == "\r"], ["Install"])
        rounded = [cell for cell in cells if cell["NSButtonFlags2"] & 0x2F == 1]
        self.assertEqual([(cell["NSContents"], cell["NSButtonFlags"] & 0xFFFFFFFF) for cell in rounded],
                         [("Install", 0x86804000)])

    def test_the_links_are_underlined_in_the_systems_link_colour_or_in_blue_where_there_is_none(self):
        links = [cell for cell in self.nib.all("NSButtonCell") if "NSAttributedTitle" in cell]
        self.assertEqual([cell["NSContents"] for cell in links], ["Terms & Conditions", "Privacy Policy"])
        for cell in links:
            title, color = cell["NSAttributedTitle"], cell["NSAttributedTitle"]["NSAttributes"]["NSColor"]
            self.assertEqual(title["NSString"], cell["NSContents"])
            self.assertEqual(title["NSAttributes"],
                             {"NSColor": color, "NSFont": cell["NSSupport"], "NSUnderline": 1})
            self.assertEqual((color["NSColorName"], color["NSColor"]["NSRGB"]), ("linkColor", b"0 0 1\0"))

    def test_all_type_is_the_systems_by_its_role(self):
        fonts = {tuple(found["NSSupport"][key] for key in ("NSName", "NSSize", "NSfFlags"))
                 for found in self.nib.parents if "NSSupport" in found}
        self.assertEqual(fonts, {(".AppleSystemUIFont", 13.0, 0x414), (".AppleSystemUIFont", 11.0, 0xC1C),
                                 (".AppleSystemUIFontBold", 13.0, 0x818)})

    def test_every_object_has_the_keys_that_those_of_its_class_have_in_apples_nibs(self):
        view = {"NSvFlags", "NSNextResponder", "NSSuperview", "NSFrame"}
        control = view | {"NSEnabled", "NSCell", "NSAllowsLogicalLayoutDirection"}
        cell = {"NSCellFlags", "NSCellFlags2", "NSContents"}
        expected = {
            "NSWindowTemplate": {
                "NSWindowStyleMask", "NSWindowBacking", "NSWTFlags", "NSWindowRect", "NSScreenRect", "NSWindowTitle",
                "NSWindowClass", "NSViewClass", "NSUserInterfaceItemIdentifier", "NSWindowView", "NSMinSize",
                "NSMaxSize", "NSWindowContentMinSize", "NSMinFullScreenContentSize", "NSMaxFullScreenContentSize",
                "NSWindowIsRestorable"},
            "NSTextField": control | {"NSTextFieldAlignmentRectInsetsVersion"},
            "NSTextFieldCell": cell | {"NSControlView", "NSSupport", "NSTextColor", "NSBackgroundColor"},
            "NSButton": control,
            "NSButtonCell": cell | {
                "NSControlView", "NSSupport", "NSButtonFlags", "NSButtonFlags2", "NSKeyEquivalent",
                "NSAlternateContents", "NSPeriodicDelay", "NSPeriodicInterval"},
            "NSImageView": control | {"NSEditable", "NSDragTypes"},
            "NSImageCell": cell | {"NSAlign", "NSScale", "NSStyle", "NSAnimates"},
            "NSScrollView": view | {
                "NSsFlags", "NSContentView", "NSNextKeyView", "NSHScroller", "NSVScroller", "NSSubviews",
                "NSMagnification", "NSMinMagnification", "NSMaxMagnification"},
            "NSClipView": view | {
                "NSDocView", "NSNextKeyView", "NSSubviews", "NSAutomaticallyAdjustsContentInsets", "NScvFlags",
                "NSBGColor", "NSCursor"},
            "NSScroller": view | {
                "NSTarget", "NSAction", "NSControlTarget", "NSControlAction", "NSAllowsLogicalLayoutDirection"},
            "NSTextView": view - {"NSFrame"} | {
                "NSFrameSize", "NSMaxSize", "NSTVFlags", "NSDelegate", "NSTextContainer", "NSSharedData"}}
        sometimes = {"NSAlternateImage", "NSAttributedTitle", "NSsFlags"}
        for class_name, keys in expected.items():
            self.assertTrue(self.nib.all(class_name), class_name)
            for found in self.nib.all(class_name):
                self.assertEqual(found.keys() - (sometimes - keys), keys, found)


class Bundles(unittest.TestCase):
    def test_the_development_build_has_the_very_nib_that_ships(self):
        self.assertEqual(mac.resource("MainMenu.nib").read_bytes(), (product.RESOURCES / "MainMenu.nib").read_bytes())

    def test_no_bundle_holds_an_interface_file_that_is_not_compiled(self):
        for folder in (product.DISTRIBUTION, mac.DISTRIBUTION):
            self.assertTrue(folder.is_dir())
            self.assertEqual(list(folder.rglob("*.xib")), [])
