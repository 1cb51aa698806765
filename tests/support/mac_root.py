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

DOWNLOADS = "/Users/ann/Downloads/Quillmark Installer"
LICENCE = "/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf"
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
        folder = cls.distribution / "components/WGComponents/Sonoma"
        folder.mkdir(parents=True)
        (folder / "Schlüssel ☃").write_text("key\n")
        (folder / "Schlüssel ☃").chmod(0o744)
        (folder.parent / "current").symlink_to("Sonoma")
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


def failure_of(*command):
    """Why the command fails, or None if it succeeds."""
    if not shutil.which(command[0]):
        return f"{command[0]} is not installed"
    result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False,
                            timeout=DEADLINE_SECONDS)
    if result.returncode == 0:
        return None
    return result.stderr.strip() or f"{command[0]} ends with status {result.returncode}"


# Why a way to run a program does not work here, or None.

def obstacle_of_bubblewrap():
    failure = failure_of("bwrap", "--unshare-user", "--unshare-pid", "--ro-bind", "/", "/", "--proc", "/proc", "true")
    return failure and f"no namespaces of users: {failure}"


def obstacle_of_bubblewrap_as_root():
    if os.geteuid() != 0:
        return "only root can run bubblewrap without a namespace of users"
    failure = failure_of("setpriv", "--reuid=501", "--regid=20", "--clear-groups", "true")
    if failure:
        return f"root cannot become another user: {failure}"
    failure = failure_of("bwrap", "--unshare-pid", "--ro-bind", "/", "/", "--proc", "/proc", "true")
    return failure and f"no namespaces: {failure}"


def obstacle_of_proot():
    failure = failure_of("proot", "-r", "/", "true")
    return failure and f"no tracing: {failure}"
