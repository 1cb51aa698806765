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

    def objects(self):
        """The elements that are objects, which is what has an identifier and is no connection."""
        for element in self.document.iter():
            if element.get("id") and self.above[element].tag != "connections":
                yield element

    def test_every_object_of_the_file_is_there_once_and_nothing_else(self):
        self.assertEqual({element.get("id") for element in self.objects()}, set(self.found))
        found = [each for each in self.found.values() if each not in (None, self.nib.owner)]
        self.assertEqual(len(set(found)), len(found))
        self.assertEqual(set(found), set(self.nib.parents))

    def test_every_object_has_become_one_of_its_class(self):
        classes = {"window": "NSWindowTemplate", "customObject": "NSCustomObject"}
        for element, found in self.compared:
            tag = element.tag
            self.assertEqual(found.class_name, classes.get(tag, "NS" + tag[0].upper() + tag[1:]))
            if tag == "customObject" and element.get("id") != "-3":
                self.assertEqual(found["NSClassName"], element.get("customClass"))

    def test_every_object_belongs_to_what_it_stands_in(self):
        expected, actual = {}, {}
        for element, found in self.compared:
            above = self.above[element]
            while above.tag != "objects" and not above.get("id"):
                above = self.above[above]
            expected[element.get("id")] = self.nib.owner if above.tag == "objects" else self.found[above.get("id")]
            actual[element.get("id")] = self.nib.parents[found]
        self.assertEqual(actual, expected)

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
                    self.assertEqual(found[titles[found.class_name]], element.get("title", ""))
                frame = element.find("rect[@key='frame']")
                if frame is not None:
                    numbers = [float(frame.get(name)) for name in ("x", "y", "width", "height")]
                    text = found.get("NSFrame") or "{{0, 0}, " + found["NSFrameSize"] + "}"
                    self.assertEqual([float(part.strip("{} ")) for part in text.split(",")], numbers)
                    frames += 1
        self.assertGreater(frames, 10)

    def test_every_object_and_connector_has_a_number_of_its_own(self):
        numbered = [*self.nib.data["NSOidsKeys"], *self.nib.data["NSAccessibilityOidsKeys"]]
        self.assertEqual(set(numbered), {self.nib.owner, *self.nib.parents, *self.nib.connectors, *self.nib.spoken})
        self.assertEqual([*self.nib.data["NSOidsValues"], *self.nib.data["NSAccessibilityOidsValues"]],
                         list(range(1, len(numbered) + 1)))

    def test_return_presses_the_install_button(self):
        keys = {cell["NSContents"]: cell["NSKeyEquivalent"] for cell in self.nib.all("NSButtonCell")}
        self.assertEqual({title: key for title, key in keys.items() if key}, {"Install": "\r"})


class Bundles(unittest.TestCase):
    def test_the_development_build_has_the_very_nib_that_ships(self):
        self.assertEqual(mac.resource("MainMenu.nib").read_bytes(), (product.RESOURCES / "MainMenu.nib").read_bytes())

    def test_no_bundle_holds_an_interface_file_that_is_not_compiled(self):
        for folder in (product.DISTRIBUTION, mac.DISTRIBUTION):
            self.assertTrue(folder.is_dir())
            self.assertEqual(list(folder.rglob("*.xib")), [])
