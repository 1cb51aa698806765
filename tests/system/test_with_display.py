"""tools/with-display, on whose displays the cocoa tests run."""

import os
import signal
import subprocess
import unittest
from pathlib import Path

from support import REPOSITORY
from support.processes import processes_with
from support.waiting import DEADLINE_SECONDS

WITH_DISPLAY = REPOSITORY / "tools/with-display"


class WithDisplay(unittest.TestCase):
    def setUp(self):
        self.mark = f"1000.{os.getpid()}"
        self.addCleanup(lambda: [os.kill(process, signal.SIGKILL) for process in processes_with(self.mark)])

    def test_the_command_finds_a_display_and_its_status_is_passed_on_and_nothing_outlives_it(self):
        script = f'xdpyinfo | head -n 1; setsid sleep {self.mark} > /dev/null & echo "$TEMP"; exit 7'
        result = subprocess.run([WITH_DISPLAY, "--alone", "sh", "-c", script],
                                capture_output=True, text=True, check=False, timeout=DEADLINE_SECONDS)
        display, temporary = result.stdout.splitlines()
        self.assertRegex(display, "^name of display:    :[0-9]+$")
        self.assertEqual(result.returncode, 7, result.stderr)
        self.assertEqual(processes_with(self.mark), [])
        self.assertFalse(Path(temporary).exists())
