"""Asks tools/install-packages what a Mac lacks, with stand-ins for a Mac's tools."""

import os
import shutil
import subprocess

from inspection import product
from support.copies import ScratchFolder

STAND_INS = {
    "uname": "echo Darwin",
    "xcrun": '[ "$1 $2" = "--find ibtool" ]',
    "cmake": "exit 0",
    "ninja": "exit 0",
    "python3": "exit 0",
}
OF_EVERY_SYSTEM = ("bash", "mktemp", "rm")


class MacNeeds(ScratchFolder):
    def setUp(self):
        super().setUp()
        self.tools = self.scratch / "bin"
        self.tools.mkdir()
        for name in OF_EVERY_SYSTEM:
            (self.tools / name).symlink_to(shutil.which(name))
        for name, text in STAND_INS.items():
            self.put(name, text)

    def put(self, name, text):
        (self.tools / name).write_text(f"#!/bin/bash\n{text}\n")
        (self.tools / name).chmod(0o755)

    def ask(self):
        temporary = self.scratch / "tmp"
        temporary.mkdir(exist_ok=True)
        outcome = subprocess.run([product.REPOSITORY / "tools/install-packages"], stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, text=True, timeout=60,
                                 env={**os.environ, "PATH": str(self.tools), "TMPDIR": str(temporary)})
        self.assertEqual(list(temporary.iterdir()), [], "something was left behind")
        return outcome

    def assert_named(self, *lines):
        outcome = self.ask()
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertEqual(outcome.stdout.splitlines(), ["This is missing:", *(f"  {line}" for line in lines)])

    def test_a_mac_that_has_everything_is_told_nothing(self):
        outcome = self.ask()
        self.assertEqual((outcome.returncode, outcome.stdout), (0, ""))

    def test_googletest_is_named_if_cmake_does_not_find_it(self):
        self.put("cmake", "exit 1")
        self.assert_named("GoogleTest (brew install googletest)")

    def test_cmake_is_asked_for_googletest_the_way_the_tests_look_for_it(self):
        self.put("cmake", f'while read -r line; do echo "$line"; done < "$2/CMakeLists.txt" > {self.scratch}/asked')
        self.assertEqual(self.ask().returncode, 0)
        line = "find_package(GTest REQUIRED)\n"
        self.assertIn(line, (self.scratch / "asked").read_text())
        self.assertIn(line, (product.REPOSITORY / "tests/unit/CMakeLists.txt").read_text())

    def test_all_that_is_missing_is_named_at_once(self):
        for name in ("cmake", "ninja", "python3", "xcrun"):
            (self.tools / name).unlink()
        self.assert_named("Xcode, selected with xcode-select (its command line tools alone have no ibtool)",
                          "cmake (brew install cmake)", "ninja (brew install ninja)", "python3 (brew install python3)",
                          "and GoogleTest (brew install googletest), unless CMake finds one")

    def test_command_line_tools_without_xcode_are_not_enough(self):
        self.put("xcrun", "exit 72")
        self.assert_named("Xcode, selected with xcode-select (its command line tools alone have no ibtool)",
                          "and GoogleTest (brew install googletest), unless CMake finds one")
