"""support.run_test: what ctest learns of a test."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import REPOSITORY

MODULE = """
import sys, unittest
class Case(unittest.TestCase):
    def test_one(self):
        {}
"""
PART_IS_SKIPPED = "with self.subTest(1): self.skipTest('a reason')\n        with self.subTest(2): "


class RunTest(unittest.TestCase):
    def test_only_what_has_run_and_passed_counts_as_passed(self):
        for body, status in [("self.assertTrue(True)", 0), ("self.assertTrue(False)", 1), ("raise OSError", 1),
                             ("pass\n\n    del test_one", 1), ("self.skipTest('a reason')", 77),
                             ("print('falling back', file=sys.stderr); self.skipTest('a reason')", 77),
                             (PART_IS_SKIPPED + "self.assertTrue(True)", 77),
                             (PART_IS_SKIPPED + "self.assertTrue(False)", 1)]:
            with self.subTest(body), tempfile.TemporaryDirectory() as folder:
                Path(folder, "example.py").write_text(MODULE.format(body), encoding="utf-8")
                ran = subprocess.run([sys.executable, "-B", "-m", "support.run_test", "example.Case.test_one"],
                                     cwd=REPOSITORY / "tests", env={**os.environ, "PYTHONPATH": folder},
                                     capture_output=True, check=False)
                self.assertEqual(ran.returncode, status, ran.stderr.decode())
