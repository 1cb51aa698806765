"""Runs tools/release with stand-ins for what it calls, which note their calls; the whole takes a quarter of an hour."""

import os
import shutil
import subprocess

from inspection import product
from support.copies import ScratchFolder

EXECUTABLE = "build/macos/Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
STAND_IN = """#!/bin/bash
printf '%s' "$(basename "$0")" >> calls
printf ' [%s]' "$@" >> calls
echo >> calls
case $(basename "$0")\\ "$*" in
  build-macos*) printf %s "${BUILT:-the executable}" > "$EXECUTABLE" ;;
  ctest*slice*) printf '<testsuite tests="3" skipped="%s"/>' "${SKIPPED:-1}" > "${@: -1}" ;;
  ctest*) printf 'the executable' > "$EXECUTABLE" ;;  # the tests of what is built build it
esac
[ "$(basename "$0")" != "${FAILS:-}" ]
"""


class ReleaseOnLinux(ScratchFolder):
    def setUp(self):
        super().setUp()
        (self.scratch / "tools").mkdir()
        shutil.copy(product.REPOSITORY / "tools/release", self.scratch / "tools")
        for name in ("tools/install-packages", "tools/build-macos", "tools/package", "bin/cmake", "bin/ctest"):
            path = self.scratch / name
            path.parent.mkdir(exist_ok=True)
            path.write_text(STAND_IN)
            path.chmod(0o755)
        (self.scratch / EXECUTABLE).parent.mkdir(parents=True)

    def release(self, *arguments, **environment):
        return subprocess.run([self.scratch / "tools/release", *arguments], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=60,
                              env={**os.environ, "PATH": f"{self.scratch}/bin:{os.environ['PATH']}",
                                   "EXECUTABLE": EXECUTABLE, **environment})

    def calls(self):
        return (self.scratch / "calls").read_text().splitlines() if (self.scratch / "calls").exists() else []

    def assert_released(self, *arguments, **environment):
        outcome = self.release(*arguments, **environment)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertTrue(self.calls()[-1].startswith("package "), self.calls())
        return outcome.stdout

    def assert_stopped(self, message, *arguments, **environment):
        outcome = self.release(*arguments, **environment)
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertIn(message, outcome.stdout)
        self.assertNotIn("package", [call.split(" ")[0] for call in self.calls()])

    def test_it_builds_inspects_executes_builds_with_the_settings_and_packs_in_this_order(self):
        text = self.assert_released("-DQUILLMARK_PAYLOAD=/a payload", "--output", "/out")
        self.assertEqual([call.split(" ")[0] for call in self.calls()],
                         ["install-packages", "cmake", "cmake", "ctest", "ctest", "build-macos", "package"])
        self.assertIn("[^macos$]", self.calls()[3])
        self.assertIn("[^slice$]", self.calls()[4])
        self.assertEqual(self.calls()[-2:], ["build-macos [-DQUILLMARK_PAYLOAD=/a payload]",
                                             "package [--for-inspection] [--output] [/out] [build/macos]"])
        self.assertIn("2 tests executed it, 1 could not", text)
        self.assertIn("Its executable is, byte for byte, the one that was executed", text)

    def test_it_stops_where_a_step_fails(self):
        for step in ("install-packages", "cmake", "ctest", "build-macos"):
            with self.subTest(step):
                self.assert_stopped("", FAILS=step)

    def test_nothing_is_packed_if_nothing_was_executed(self):
        self.assert_stopped("release: nothing was executed: every test was skipped", SKIPPED="3")

    def test_nothing_is_packed_if_another_executable_was_executed(self):
        self.assert_stopped("release: its executable is not the one that was executed", BUILT="another")
        self.assert_stopped("release: its executable is not the one that was executed",
                            "-DQUILLMARK_PAYLOAD=/payload", BUILT="another")

    def test_a_setting_that_goes_into_the_executable_is_told(self):
        for setting in ("-DQUILLMARK_VENDOR_HOST=www.example.com", "-DQUILLMARK_MINIMUM_MACOS=10.13"):
            with self.subTest(setting):
                self.assertIn("Its executable is not the one that was executed: the settings",
                              self.assert_released(setting, BUILT="another"))

    def test_unknown_arguments_are_answered_with_the_usage(self):
        for arguments in (["--sign"], ["payload"], ["-D"], ["-DNAME"], ["--output"]):
            with self.subTest(arguments):
                outcome = self.release(*arguments)
                self.assertEqual(outcome.returncode, 2)
                self.assertTrue(outcome.stdout.startswith("usage: release"), outcome.stdout)
        self.assertEqual(self.calls(), [])
