"""tools/with-display, on whose displays the cocoa tests run."""

import os
import shutil
import signal
import subprocess
import unittest
from pathlib import Path

from support import REPOSITORY
from support.processes import processes_with
from support.waiting import DEADLINE_SECONDS, until

WITH_DISPLAY = REPOSITORY / "tools/with-display"


class WithDisplay(unittest.TestCase):
    def setUp(self):
        for program in ["Xvfb", "xdpyinfo"]:
            if not shutil.which(program):
                self.skipTest(f"{program} is not installed")
        self.mark = f"1000.{os.getpid()}"
        self.addCleanup(self.end_marked)

    def with_display(self, *arguments):
        return subprocess.run([WITH_DISPLAY, *arguments], capture_output=True, text=True, check=False,
                              timeout=DEADLINE_SECONDS)

    def end_marked(self):
        for process in processes_with(self.mark):
            os.kill(process, signal.SIGKILL)

    def test_without_a_command_it_tells_the_usage(self):
        for arguments in [[], ["--alone"]]:
            with self.subTest(arguments):
                result = self.with_display(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertIn("usage: with-display", result.stderr)

    def test_the_command_finds_a_display_and_its_status_is_passed_on(self):
        result = self.with_display("sh", "-c", "xdpyinfo | head -n 1; exit 7")
        self.assertRegex(result.stdout, "^name of display:    :[0-9]+$")
        self.assertEqual(result.returncode, 7, result.stderr)

    def test_alone_a_daemon_of_the_command_ends_with_it_and_so_does_its_temporary_folder(self):
        result = self.with_display("--alone", "sh", "-c", f'setsid sleep {self.mark} > /dev/null & echo "$TEMP"')
        self.assertEqual(processes_with(self.mark), [])
        self.assertFalse(Path(result.stdout.strip()).exists())

    def test_alone_the_command_ends_when_with_display_is_terminated(self):
        process = subprocess.Popen([WITH_DISPLAY, "--alone", "sh", "-c", f"echo started; exec sleep {self.mark}"],
                                   stdout=subprocess.PIPE)
        with process.stdout:
            self.assertEqual(process.stdout.readline(), b"started\n")
            until(lambda: processes_with(self.mark), "the command")
            process.terminate()
            process.wait(DEADLINE_SECONDS)
        self.assertEqual(processes_with(self.mark), [])
