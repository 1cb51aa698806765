"""What the tests of tools/mac-root have in common: a small distribution, small programs, and ways to have fewer rights."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support.mac import EXECUTABLE, MAC_ROOT, folder_in_memory
from support.waiting import DEADLINE_SECONDS

from mac_root.assembly import LICENCE

DOWNLOADS = "/Users/ann/Downloads/Quillmark Installer"
RELEASE_COMMAND = (f"awk '/SOFTWARE LICENSE AGREEMENT FOR macOS/' '{LICENCE}' | awk -F 'macOS ' '{{print $NF}}' | "
                   "awk '{print substr($0, 0, length($0)-1)}'")
RELOCATED_FOLDER = "/private/var/folders/xx/T/AppTranslocation/*/d"

PROGRAM = """\
#!/bin/sh
echo "installer $0"
for argument; do echo "argument $argument"; done
exit 7
"""


class MacRootTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.shared = Path(tempfile.mkdtemp(prefix="test-mac-root-", dir=folder_in_memory()))
        cls.addClassCleanup(shutil.rmtree, cls.shared)
        cls.shared.chmod(0o755)
        cls.distribution = cls.shared / "distribution"
        (cls.distribution / EXECUTABLE).parent.mkdir(parents=True)
        (cls.distribution / EXECUTABLE).write_text(PROGRAM)
        (cls.distribution / EXECUTABLE).chmod(0o755)
        (cls.distribution / "components/WGComponents/Sonoma").mkdir(parents=True)
        cls.security = cls.shared / "Security"
        cls.security.write_text("no program loads this one\n")

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(dir=self.shared))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        # Where temporary roots are made, so that what is left of them can be seen.
        self.temporary = self.folder / "temporary"
        self.temporary.mkdir()
        self.temporary.chmod(0o1777)

    def command(self, *arguments, python=sys.executable):
        return [python, MAC_ROOT, "--distribution", self.distribution, "--security", self.security, *arguments]

    def environment(self, **variables):
        return {**os.environ, "TMPDIR": str(self.temporary), **variables}

    def mac_root(self, *arguments, environment=None, prefix=(), **options):
        return subprocess.run([*prefix, *self.command(*arguments)], env=environment or self.environment(), text=True,
                              capture_output=True, check=False, timeout=DEADLINE_SECONDS, **options)

    def inside(self, script, *options, **more):
        """What the script prints inside a root; it has to succeed."""
        result = self.mac_root(*options, "--program", "/bin/sh", "--", "-ec", script, **more)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def assemble(self, *options):
        command = MacRootTest.command(self, "--root", self.root, "--assemble-only", *options)
        result = subprocess.run(command, env=self.environment(), capture_output=True, text=True, check=False)
        self.assertEqual((result.stderr, result.returncode), ("", 0))
        return result.stdout

    def assert_refused(self, result, message, status=2):
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertIn(message, result.stderr)
        self.assertEqual(result.stdout, "")

    def assert_left_nothing(self):
        self.assertEqual(list(self.temporary.iterdir()), [])


# What has to work for each of the ways.
NEEDS = {
    "bubblewrap": ["bwrap --unshare-user --unshare-pid --ro-bind / / --proc /proc true"],
    "bubblewrap-as-root": ["setpriv --reuid=501 --regid=20 --clear-groups true",
                           "bwrap --unshare-pid --ro-bind / / --proc /proc true"],
    "proot": ["proot -r / true"]}


def obstacle_of(way):
    """Why it does not work here, or None."""
    return next(filter(None, (failure_of(*command.split()) for command in NEEDS[way])), None)


def failure_of(*command):
    """Why the command fails, or None if it succeeds."""
    if not shutil.which(command[0]):
        return f"{command[0]} is not installed"
    result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False,
                            timeout=DEADLINE_SECONDS)
    return None if result.returncode == 0 else f"{command} ends with status {result.returncode}: {result.stderr.strip()}"
