"""The description of an interface file by which a Mac's ibtool and our compiler are compared: it tells every change."""

import subprocess

from support import REPOSITORY
from support.copies import ScratchFolder
from support.mac import BUILD


class InterfaceDescription(ScratchFolder):
    def describe(self, text):
        interface, compiled = self.scratch / "MainMenu.xib", self.scratch / "MainMenu.nib"
        interface.write_text(text)
        subprocess.run([REPOSITORY / "tools/compile-interface", interface, compiled], check=True, timeout=60)
        program = [REPOSITORY / "tools/with-display", "--alone", BUILD / "tests/macos/describe_interface", compiled]
        return subprocess.run(program, check=True, stdout=subprocess.PIPE, text=True, timeout=60).stdout.splitlines()

    def test_it_tells_objects_connections_and_bindings_and_every_change_of_them(self):
        text = (REPOSITORY / "resources/MainMenu.xib").read_text()
        lines = self.describe(text)
        self.assertGreater(len(lines), 500)
        self.assertIn("delegate: outlet Window = window 0", lines)
        for old, new in (('selector="clickOnTC:"', 'selector="clickOnCT:"'),
                         ('<outlet property="andText" destination="And-Te-lbl"',
                          '<outlet property="andText" destination="Rea-Th-lbl"'),
                         ('keyPath="installButtonTitle"', 'keyPath="title"'),
                         ('x="98" y="256"', 'x="99" y="256"'),
                         ('title="Helper Version"', 'title="Helper version"'),
                         ('<color key="NSColor" name="linkColor"', '<color key="NSColor" name="controlTextColor"')):
            with self.subTest(old):
                self.assertIn(old, text)
                # An old and a new line, or two of each: a control and its cell tell the same action.
                self.assertIn(len(set(self.describe(text.replace(old, new))) ^ set(lines)), (2, 4))
