"""support.run_test: what ctest learns of a test."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import REPOSITORY

MODULE = """
import sys
import unittest


class Case(unittest.TestCase):
    def test_one(self):
        {}
"""
PART_IS_SKIPPED = """with self.subTest("first"):
            self.skipTest("a reason")
        with self.subTest("second"):
            """


class RunTest(unittest.TestCase):
    def status(self, body):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "example.py").write_text(MODULE.format(body), encoding="utf-8")
            return subprocess.run([sys.executable, "-B", "-m", "support.run_test", "example.Case.test_one"],
                                  cwd=REPOSITORY / "tests", env={**os.environ, "PYTHONPATH": folder},
                                  capture_output=True, check=False).returncode

    def test_a_test_that_passes(self):
        self.assertEqual(self.status("self.assertTrue(True)"), 0)

    def test_a_test_that_fails(self):
        self.assertEqual(self.status("self.assertTrue(False)"), 1)

    def test_a_test_that_does_not_exist(self):
        self.assertEqual(self.status("pass\n\n    del test_one"), 1)

    def test_a_test_that_is_skipped(self):
        self.assertEqual(self.status("self.skipTest('a reason')"), 77)

    def test_a_skipped_test_that_wrote_something_before(self):
        self.assertEqual(self.status("print('falling back', file=sys.stderr); self.skipTest('a reason')"), 77)

    def test_a_test_of_which_a_part_is_skipped_and_the_rest_passes(self):
        self.assertEqual(self.status(PART_IS_SKIPPED + "self.assertTrue(True)"), 77)

    def test_a_test_of_which_a_part_is_skipped_and_another_fails(self):
        self.assertEqual(self.status(PART_IS_SKIPPED + "self.assertTrue(False)"), 1)
