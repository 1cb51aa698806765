"""Which command lines tools/mac-root takes and which it refuses, and what it makes no root of."""

import contextlib
import importlib.machinery
import importlib.util
import io
import os
import shutil
import stat
import unittest

from support.mac import MAC_ROOT
from support.mac_root import MacRootTest

loader = importlib.machinery.SourceFileLoader("mac_root_program", str(MAC_ROOT))
program = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
loader.exec_module(program)


class CommandLine(unittest.TestCase):
    def test_what_makes_no_sense_is_refused_with_the_reason(self):
        for reason, *words in [
                ("unrecognized arguments: --relocate", "--relocate"),
                ("--assemble-only needs --root", "--assemble-only"),
                ("--assemble-only runs none", "--root", "r", "--assemble-only", "--program", "/bin/sh"),
                ("--program sh: a path inside the root starts with /", "--program", "sh"),
                ("--no-licence leaves out", "--release", "Ventura", "--no-licence"),
                ("--relocation-query-fails needs --relocated", "--relocation-query-fails"),
                ("not the name of a user and a folder", "--home", "a/b"),
                ("--full /ApplicationsToo: lies in none of /Applications, /Users/ann", "--full", "/ApplicationsToo"),
                ("--temporary tmp: a path inside the root starts with /", "--temporary", "tmp"),
                ("cannot be both", "--read-only", "/tmp/x", "--full", "/private/tmp/x/"),
                ("--way proot cannot", "--way", "proot", "--full", "/Applications")]:
            with self.subTest(words), contextlib.redirect_stderr(io.StringIO()) as told:
                with self.assertRaises(SystemExit) as ended:
                    program.parse(["--distribution", "d", *words])
                self.assertEqual(ended.exception.code, 2)
                self.assertIn("usage: mac-root", told.getvalue())
                self.assertIn(reason, told.getvalue())


class RefusedRoots(MacRootTest):
    def test_a_pipe_or_a_device_in_a_distribution_is_named_and_never_opened(self):
        distribution = self.folder / "distribution"
        shutil.copytree(self.distribution, distribution, symlinks=True)
        odd = distribution / "components/WGComponents/odd"
        for kind in [stat.S_IFIFO, stat.S_IFCHR]:
            with self.subTest(kind):
                try:
                    os.mknod(odd, kind | 0o666, os.makedev(1, 5))  # the device never ends
                except PermissionError:
                    self.skipTest("nobody may make a device here")
                result = self.mac_root("--distribution", distribution)
                self.assert_refused(result, f"{odd} is neither a file, a folder nor a link", status=125)
                self.assert_left_nothing()
                odd.unlink()
