"""tools/compile-interface refuses by name whatever it does not know, and writes the same nib each time or none."""

import os
import plistlib
import re
import subprocess
import sys
import unittest

from support import REPOSITORY
from support.copies import ScratchFolder

sys.path.insert(0, str(REPOSITORY / "tools"))

from interface_compiler.document import Refusal
from interface_compiler.nib import compile_interface

COMMAND = REPOSITORY / "tools/compile-interface"
INTERFACE = REPOSITORY / "resources/MainMenu.xib"


class Strictness(unittest.TestCase):
    """Every change of the installer's own interface file is refused by name, or changes the nib."""

    # What only Interface Builder looks at, and what may be called by any name.
    WITHOUT_EFFECT = {"toolsVersion", "propertyAccessControl", "userLabel", "id"}

    @classmethod
    def setUpClass(cls):
        cls.lines = INTERFACE.read_text().split("\n")
        cls.nib = compile_interface(INTERFACE.read_bytes())
        cls.elements = []  # line number, tag, attributes
        left_out = False
        for number, line in enumerate(cls.lines, 1):
            left_out = left_out and "</dependencies>" not in line or "<dependencies>" in line
            tag = re.match(r"\s*<(\w+)((?: [\w-]+=\"[^\"]*\")*)/?>", line)
            if tag and not left_out and "</dependencies>" not in line:
                cls.elements.append((number, tag[1], dict(re.findall(r" ([\w-]+)=\"([^\"]*)\"", tag[2]))))
        assert len(cls.elements) > 150, cls.elements

    def compile(self, number, old, new):
        """With a change of the line of this number."""
        line = self.lines[number - 1]
        self.assertIn(old, line)
        lines = [*self.lines[:number - 1], line.replace(old, new, 1), *self.lines[number:]]
        return compile_interface("\n".join(lines).encode())

    def assert_refused(self, number, tag, named, old, new):
        with self.subTest(line=number, change=new), self.assertRaises(Refusal) as caught:
            self.compile(number, old, new)
        if hasattr(caught, "exception"):
            self.assertEqual(caught.exception.line, number)
            self.assertIn(f"<{tag}", str(caught.exception))
            self.assertIn(named, str(caught.exception))

    def test_an_attribute_that_is_not_known(self):
        for number, tag, _ in self.elements:
            self.assert_refused(number, tag, 'wantsLayer="YES"', f"<{tag}", f'<{tag} wantsLayer="YES"')

    def test_an_element_that_is_not_known(self):
        for number, tag, _ in self.elements:
            line = self.lines[number - 1]
            if line.endswith("/>"):
                self.assert_refused(number, "constraints", "not known here", "/>", f"><constraints/></{tag}>")
            elif tag != "string":
                self.assert_refused(number, "constraints", "not known here", line, f"{line}<constraints/>")

    def test_text_where_there_should_be_none(self):
        for number, tag, _ in self.elements:
            line = self.lines[number - 1]
            if line.endswith("/>"):
                self.assert_refused(number, tag, "left over", "/>", f">left over</{tag}>")
            elif tag != "string":
                self.assert_refused(number, tag, "left over", line, f"{line}left over")

    def test_a_value_that_is_not_known(self):
        changed_nibs = 0
        for number, tag, attributes in self.elements:
            for name, value in attributes.items():
                if name in self.WITHOUT_EFFECT or name == "key":
                    continue
                with self.subTest(line=number, attribute=name):
                    try:
                        nib = self.compile(number, f' {name}="{value}"', f' {name}="elsewhere"')
                    except Refusal as refusal:
                        self.assertEqual(refusal.line, number)
                        self.assertIn(f"<{tag}", str(refusal))
                        self.assertIn(f'{name}="elsewhere"', str(refusal))
                    else:
                        self.assertNotEqual(nib, self.nib)
                        changed_nibs += 1
        self.assertGreater(changed_nibs, 50)

    def test_a_part_under_another_key(self):
        for number, tag, attributes in self.elements:
            if "key" in attributes:
                with self.subTest(line=number), self.assertRaises(Refusal) as caught:
                    self.compile(number, f'key="{attributes["key"]}"', 'key="elsewhere"')
                self.assertIn(f"<{tag}", str(caught.exception))

    def test_a_part_that_is_there_twice(self):
        for number, tag, attributes in self.elements:
            line = self.lines[number - 1]
            if "key" in attributes and "id" not in attributes and line.endswith("/>"):
                self.assert_refused(number, tag, "not known here", line, line + line.strip())

    def test_an_identifier_that_is_used_twice(self):
        seen = []
        for number, _, attributes in self.elements:
            if "id" not in attributes or attributes["id"].startswith("-"):
                continue
            for other, identifier in seen[-1:]:
                with self.subTest(line=number), self.assertRaises(Refusal) as caught:
                    self.compile(number, f'id="{attributes["id"]}"', f'id="{identifier}"')
                self.assertIn(f' id="{identifier}"', str(caught.exception))
                named = int(re.search(r"this identifier is that of line (\d+) already", str(caught.exception))[1])
                self.assertEqual({caught.exception.line, named}, {number, other})
            seen.append((number, attributes["id"]))
        self.assertGreater(len(seen), 80)

    def test_a_connection_to_what_is_not_there(self):
        ends = [(number, tag, name, attributes[name]) for number, tag, attributes in self.elements
                for name in ("destination", "target") if name in attributes]
        self.assertGreater(len(ends), 30)
        for number, tag, name, identifier in ends:
            for elsewhere in ("Nob-od-yXX", "Act-Qu-itA"):
                self.assert_refused(number, tag, f'{name}="{elsewhere}" is no object', f'{name}="{identifier}"',
                                    f'{name}="{elsewhere}"')

    def test_an_object_without_an_identifier(self):
        for number, tag, attributes in self.elements:
            if "id" in attributes:
                self.assert_refused(number, tag, '"id" is missing', f' id="{attributes["id"]}"', "")

    def test_a_missing_attribute(self):
        for tag, name in [("document", "type"), ("customObject", "customClass"), ("rect", "width"), ("color", "white"),
                          ("outlet", "property"), ("outlet", "destination"), ("action", "selector"),
                          ("action", "target"), ("binding", "name"), ("binding", "keyPath"), ("buttonCell", "type"),
                          ("accessibility", "description")]:
            number, value = next((number, attributes[name]) for number, found, attributes in self.elements
                                 if found == tag and name in attributes)
            self.assert_refused(number, tag, f'"{name}" is missing', f' {name}="{value}"', "")

    def test_a_missing_part(self):
        for tag, part in [("window", "contentRect"), ("window", "styleMask"), ("textField", "frame"),
                          ("textFieldCell", "font"), ("textFieldCell", "textColor"), ("buttonCell", "behavior"),
                          ("textView", "minSize"), ("clipView", "frame")]:
            number = next(number for number, found, _ in self.elements if found == tag)
            part_number = next(index for index, _, attributes in self.elements
                               if index > number and attributes.get("key") == part)
            with self.subTest(tag, part=part), self.assertRaises(Refusal) as caught:
                self.compile(part_number, self.lines[part_number - 1], "")
            self.assertRegex(str(caught.exception), rf'<{tag} .*: it has no <\w+ key="{part}">')
            self.assertEqual(caught.exception.line, number)


class Command(ScratchFolder):
    def compile(self, interface, nib, shell=":", **environment):
        """The outcome in a shell that was given this command first."""
        return subprocess.run(["bash", "-c", f'{shell}; exec "$0" "$@"', COMMAND, interface, nib],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60,
                              env={**os.environ, **environment})

    def assert_refused(self, interface, *reasons, nib=None, shell=":"):
        """And what was there before is there still, and nothing else."""
        folder = self.scratch / "out"
        folder.mkdir(exist_ok=True)
        before = folder / "MainMenu.nib"
        before.write_bytes(b"before")
        outcome = self.compile(interface, nib or before, shell)
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertTrue(outcome.stdout.startswith("compile-interface: "), outcome.stdout)
        self.assertEqual(len(outcome.stdout.splitlines()), 1, outcome.stdout)
        self.assertLess(len(outcome.stdout), 1500, outcome.stdout[:1500])
        for reason in reasons:
            self.assertIn(reason, outcome.stdout)
        self.assertEqual([(path.name, path.read_bytes()) for path in folder.iterdir()], [("MainMenu.nib", b"before")])

    def written(self, content):
        path = self.scratch / "Given.xib"
        path.write_bytes(content)
        return path

    def test_the_same_file_gives_the_same_bytes_each_time(self):
        for number in (1, 2):
            outcome = self.compile(INTERFACE, self.scratch / f"{number}.nib", PYTHONHASHSEED=str(number))
            self.assertEqual((outcome.returncode, outcome.stdout), (0, ""))
        first, second = ((self.scratch / f"{number}.nib").read_bytes() for number in (1, 2))
        self.assertEqual(first, second)
        self.assertEqual(plistlib.loads(first)["$archiver"], "NSKeyedArchiver")

    def test_the_nib_takes_the_place_of_an_older_one_and_anybody_may_read_it(self):
        nib = self.scratch / "out.nib"
        nib.write_bytes(b"before")
        self.assertEqual(self.compile(INTERFACE, nib, "umask 022").returncode, 0)
        self.assertEqual(nib.read_bytes(), compile_interface(INTERFACE.read_bytes()))
        self.assertEqual(nib.stat().st_mode & 0o777, 0o644)

    def test_what_is_refused_is_told_with_its_file_and_line(self):
        content = INTERFACE.read_bytes()
        line = content[:content.index(b"<buttonCell ")].count(b"\n") + 1
        given = self.written(content.replace(b"<buttonCell ", b'<buttonCell controlSize="small" ', 1))
        self.assert_refused(given, f"{given}:{line}: <buttonCell ", 'the attribute controlSize="small" is not known')

    def test_a_file_that_is_missing_or_cannot_be_read(self):
        self.assert_refused(self.scratch / "Missing.xib", "Missing.xib: No such file or directory")
        self.assert_refused(self.scratch, f"{self.scratch}: is no plain file")

    def test_what_is_no_plain_file_is_not_even_opened(self):
        self.assert_refused("/dev/zero", "/dev/zero: is no plain file")
        os.mkfifo(self.scratch / "pipe.xib")
        self.assert_refused(self.scratch / "pipe.xib", "pipe.xib: is no plain file")

    def test_a_file_that_is_much_larger_than_an_interface_is_not_even_read(self):
        with open(self.scratch / "Large.xib", "wb") as file:
            file.truncate(1 << 40)
        self.assert_refused(self.scratch / "Large.xib", "Large.xib: 1099511627776 bytes are too many")

    def test_a_document_type_is_refused_with_its_entities(self):
        content = INTERFACE.read_bytes()
        declaration, rest = content.split(b"\n", 1)
        (self.scratch / "secret").write_bytes(b"secret")
        tenfold = b"".join(b'<!ENTITY e%d "%s">' % (level, b"&e%d;" % (level - 1) * 10) for level in range(1, 12))
        for name, document_type in {
                "an entity bomb": b'<!DOCTYPE document [<!ENTITY e0 "x">' + tenfold + b"]>",
                "a file": b'<!DOCTYPE document [<!ENTITY e11 SYSTEM "%s/secret">]>' % str(self.scratch).encode(),
                "a definition elsewhere": b'<!DOCTYPE document SYSTEM "%s/secret">' % str(self.scratch).encode(),
                "an attribute": b'<!DOCTYPE document [<!ATTLIST button hidden CDATA "YES">]>'}.items():
            with self.subTest(name):
                given = declaration + b"\n" + document_type + b"\n" + rest.replace(b"<objects>", b"<objects>&e11;", 1)
                self.assert_refused(self.written(given), "Given.xib:2: a document type is not known here")

    def test_elements_that_lie_deeper_than_any_interface(self):
        content = INTERFACE.read_bytes()
        for place in (b"<dependencies>", b"<objects>"):
            with self.subTest(place):
                given = content.replace(place, place + b"<a>" * 50_000 + b"</a>" * 50_000, 1)
                self.assert_refused(self.written(given), "<a>: it lies too deep")

    def test_a_file_in_another_encoding_whatever_its_declaration_says(self):
        content = INTERFACE.read_text()
        for encoding in ("utf-16", "utf-32", "latin-1"):
            with self.subTest(encoding):
                given = content.replace("UTF-8", encoding.upper()).replace("Installer", "Install\u00e9r")
                self.assert_refused(self.written(given.encode(encoding)), ": this is not UTF-8")

    def test_numbers_that_are_none_for_a_view(self):
        content = INTERFACE.read_bytes()
        for number in ("9" * 400, "1e5", "\u0664\u0662", "1" + "0" * 12, "NaN", "0." + "3" * 400):
            with self.subTest(number[:20]):
                given = re.sub(rb' width="[0-9]+"', f' width="{number}"'.encode(), content, count=1)
                self.assert_refused(self.written(given), "is no number")

    def test_a_message_is_one_line_without_signs_for_a_terminal_and_not_endless(self):
        content = INTERFACE.read_bytes()
        for value, told in {b"a&#10;b": "a\\nb", b"&#155;31m": "\\x9b31m", b"x" * 100_000: "xxx..."}.items():
            with self.subTest(value[:20]):
                given = content.replace(b"<button ", b'<button wantsLayer="' + value + b'" ', 1)
                self.assert_refused(self.written(given), told)

    def test_a_file_that_is_not_well_formed(self):
        content = INTERFACE.read_bytes()
        for given, reason in {b"": "1: this is no XML: no element found", b"bplist00": "1: this is no XML",
                              content[:5000]: "this is no XML: unclosed token",
                              content.replace(b"</objects>", b"</object>"): "this is no XML: mismatched tag",
                              content.replace(b"Installer", b"Inst\0ller"): "this is no XML: not well-formed (invalid token)",
                              b"<plist/>": '1: <plist>: the attribute "type" is missing'}.items():
            with self.subTest(given[:40]):
                self.assert_refused(self.written(given), f"{self.scratch}/Given.xib:", reason)

    def test_a_place_where_nothing_can_be_written(self):
        self.assert_refused(INTERFACE, "missing/MainMenu.nib: No such file or directory",
                            nib=self.scratch / "missing/MainMenu.nib")

    def test_nothing_that_is_no_plain_file_is_replaced(self):
        (self.scratch / "folder.nib").mkdir()
        (self.scratch / "target").write_bytes(b"precious")
        (self.scratch / "link.nib").symlink_to("target")
        (self.scratch / "dangling.nib").symlink_to("nowhere")
        os.mkfifo(self.scratch / "pipe.nib")
        before = {path.name: path.lstat().st_ino for path in self.scratch.iterdir()}
        for name in ("folder.nib", "link.nib", "dangling.nib", "pipe.nib"):
            with self.subTest(name):
                self.assert_refused(INTERFACE, f"{name}: is there and is no plain file", nib=self.scratch / name)
        after = {path.name: path.lstat().st_ino for path in self.scratch.iterdir() if path.name != "out"}
        self.assertEqual(after, before)
        self.assertEqual((self.scratch / "target").read_bytes(), b"precious")

    def test_a_nib_that_cannot_be_written_to_its_end(self):
        self.assert_refused(INTERFACE, "MainMenu.nib: File too large", shell="ulimit -f 4")

    def test_a_wrong_command_line_is_told_how_it_should_be(self):
        for arguments in ([], [INTERFACE], [INTERFACE, "a.nib", "b.nib"], ["--fast", INTERFACE, "a.nib"]):
            outcome = subprocess.run([COMMAND, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                     cwd=self.scratch, timeout=60)
            self.assertEqual(outcome.returncode, 2)
            self.assertIn("usage: compile-interface [-h] INTERFACE.xib OUTPUT.nib", outcome.stdout)
        self.assertEqual(list(self.scratch.iterdir()), [])
