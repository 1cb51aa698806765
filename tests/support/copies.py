"""Test cases with a folder of their own, empty or with a copy of the distribution."""

import shutil
import tempfile
import unittest
from pathlib import Path

from inspection import product


class ScratchFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scratch = Path(folder.name)


class DistributionCopy(ScratchFolder):
    def setUp(self):
        super().setUp()
        self.copy = self.scratch / "distribution"
        shutil.copytree(product.DISTRIBUTION, self.copy, symlinks=True)
