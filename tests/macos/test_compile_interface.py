"""tools/compile-interface refuses by name whatever it does not know."""

import subprocess
import sys
import unittest
import xml.etree.ElementTree as ET

from support import REPOSITORY
from support.copies import ScratchFolder

sys.path.insert(0, str(REPOSITORY / "tools"))

from interface_compiler.document import Refusal
from interface_compiler.nib import compile_interface

INTERFACE = REPOSITORY / "resources/MainMenu.xib"
# What only Interface Builder looks at, and what may be called by any name.
WITHOUT_EFFECT = {"toolsVersion", "userLabel", "id"}


def outcome(file):
    """The nib, or what the file is refused for."""
    try:
        return compile_interface(ET.tostring(file))
    except Refusal as refusal:
        return str(refusal)


class Strictness(unittest.TestCase):
    """Every change of the installer's own interface file is refused by name, or changes the nib."""

    def setUp(self):
        self.file = ET.parse(INTERFACE).getroot()
        for_interface_builder = set(self.file.findall("dependencies//"))
        self.elements = [element for element in self.file.iter() if element not in for_interface_builder]
        self.assertGreater(len(self.elements), 150)

    def assert_refused(self, told):
        refusal = outcome(self.file)
        self.assertTrue(isinstance(refusal, str), "it was compiled")
        self.assertIn(told, refusal)

    def test_an_attribute_an_element_or_a_text_that_is_not_known(self):
        for element in self.elements:
            with self.subTest(element.tag, **element.attrib):
                if element.tag != "dependencies":
                    element.set("wantsLayer", "YES")
                    self.assert_refused('the attribute wantsLayer="YES" is not known')
                    del element.attrib["wantsLayer"]
                if element.tag not in ("dependencies", "string"):
                    element.append(ET.Element("constraints"))
                    self.assert_refused("<constraints>: this element is not known here")
                    element[-1:] = []
                    text, element.text = element.text, "left over"
                    self.assert_refused('the text "left over')
                    element.text = text

    def test_a_value_that_is_not_known(self):
        nib = outcome(self.file)
        for element in self.elements:
            for name in set(element.attrib) - WITHOUT_EFFECT:
                with self.subTest(element.tag, attribute=name, **{"is": element.get(name)}):
                    value = element.get(name)
                    element.set(name, "elsewhere")
                    changed = outcome(self.file)
                    self.assertTrue(changed.startswith("<") if isinstance(changed, str) else changed != nib)
                    element.set(name, value)

    def test_a_missing_part_or_end_of_a_connection_and_an_identifier_that_is_used_twice(self):
        for change, told in [
                (lambda file: file.find(".//window").remove(file.find(".//window/rect")),
                 'it has no <rect key="contentRect">'),
                (lambda file: file.find(".//action").set("target", "Nob-od-yXX"), "is no object of this file"),
                (lambda file: file.find(".//outlet").attrib.pop("destination"), '"destination" is missing'),
                (lambda file: file.find(".//window").set("id", "App-De-leg"), "has this identifier already")]:
            with self.subTest(told):
                self.setUp()
                change(self.file)
                self.assert_refused(told)


class Command(ScratchFolder):
    def test_what_is_refused_is_told_with_its_file_and_nothing_is_written(self):
        given = self.scratch / "Given.xib"
        given.write_text(INTERFACE.read_text().replace("<buttonCell ", '<buttonCell controlSize="small" ', 1))
        told = subprocess.run([REPOSITORY / "tools/compile-interface", given, self.scratch / "out.nib"],
                              stderr=subprocess.PIPE, text=True, timeout=60, check=False)
        self.assertEqual(told.returncode, 1)
        self.assertIn(f'compile-interface: {given}: <buttonCell controlSize="small" ', told.stderr)
        self.assertIn('the attribute controlSize="small" is not known', told.stderr)
        self.assertEqual(list(self.scratch.iterdir()), [given])
