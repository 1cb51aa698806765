"""A Mac-shaped root in a folder of its own, and the places in it."""

import os
import plistlib
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import REPOSITORY
from support.tree import tree
from support.waiting import DEADLINE_SECONDS, ending_with_us

from mac_root import assembly

MAC_ROOT = REPOSITORY / "tools/mac-root"
BUILD = Path(os.environ.get("QUILLMARK_BUILD", REPOSITORY / "build/linux"))
DISTRIBUTION = BUILD / "Quillmark Installer"
SECURITY = BUILD / "mac-root/Security"
LIBRARIES = BUILD / "mac-root/libraries"  # of another processor, if the build is for one
SKIPPED = BUILD / "skipped"  # says why, where there could be no build

INSTALLER, EXECUTABLE = assembly.INSTALLER, assembly.EXECUTABLE
NOTHING_RUN = b"nothing can be run in the root"

# Locks of the defaults; lists of the applications and services that there are, and of those that run.
GNUSTEP_FILES_OF_USER = ["Library/Preferences/.lck", "Library/Preferences/.GNUstepDefaults",
                         "Library/Preferences/.GNUstepDefaults.lck", "Library/Services"]
GNUSTEP_TEMPORARY_FILES = ["NSMessagePort", "GSLaunchedApplications"]
FONT_CACHE = "private/var/folders/xx/C/fontconfig"
X_SOCKETS = "private/tmp/.X11-unix"
CHANGEABLE = ["Applications", "Users", "private/tmp", "private/var/folders"]

# The program ends as soon as the installer's standard input does, and not before, as what the installer started
# outlives it on a Mac.
SESSION = 'echo started; "$0" "$@" </dev/null; echo "$?"; read -r _'


class Mac:
    """Options and faults are mac-root's; the options shape the root, the faults hold while the installer runs, whose
    environment has these variables too."""

    def __init__(self, *options, faults=(), home="ann", temporary="/private/var/folders/xx/T",
                 distribution=DISTRIBUTION, variables=None):
        if SKIPPED.exists():
            raise unittest.SkipTest(SKIPPED.read_text().strip())
        self.folder = Path(tempfile.mkdtemp(prefix="mac-", dir=folder_in_memory()))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.home_inside, self.temporary_inside = f"/Users/{home}", temporary
        self.home, self.temporary = self.at(self.home_inside), self.at(temporary)
        self.staging_folder = self.home / "Quillmark_Components"
        self.marker = self.staging_folder / "installationHelper.txt"
        self.system_application = self.at("/Applications/Quillmark.app")
        self.user_application = self.home / "Applications/Quillmark.app"
        self.downloads = self.home / "Downloads/Quillmark Installer"
        self.faults = faults
        self.variables = variables or {}
        self.options = ["--distribution", distribution, "--security", SECURITY, "--root", self.root, "--home", home,
                        "--temporary", temporary + "/", *map(os.fsdecode, options)]
        if LIBRARIES.exists():
            self.options += ["--libraries", LIBRARIES.resolve()]
        try:
            self.assemble()
        except BaseException:
            self.remove()
            raise

    def assemble(self):
        assembled = subprocess.run([sys.executable, MAC_ROOT, *self.options, "--assemble-only"], capture_output=True,
                                   text=True, check=False, timeout=DEADLINE_SECONDS)
        if assembled.returncode != 0:
            raise RuntimeError(assembled.stderr)
        self.places = dict(line.split(": ", 1) for line in assembled.stdout.splitlines())

    def remove(self):
        assembly.remove(self.folder)

    def start(self, display, arguments=(), session=SESSION):
        """Starts a session, in which a script of the shell starts the installer; what they write comes by pipes."""
        program = [self.places["installer"], *arguments]
        if self.variables:
            program = ["/usr/bin/env", *(f"{name}={value}" for name, value in self.variables.items()), *program]
        process = subprocess.Popen(
            ending_with_us(sys.executable, str(MAC_ROOT), *map(str, self.options), *self.faults, "--display", display,
                           "--program", "/bin/sh", "--", "-c", session, *program),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if process.stdout.readline() != b"started\n":
            _, errors = process.communicate(timeout=DEADLINE_SECONDS)
            raise (unittest.SkipTest if NOTHING_RUN in errors else RuntimeError)(errors.decode().strip())
        return process

    def everything(self, root=None):
        """All that lies where the user may change something, but for GNUstep's own files and the displays of the host; also
        as the root is seen from elsewhere."""
        own = [f"{self.home_inside}/{name}".lstrip("/") for name in GNUSTEP_FILES_OF_USER]
        own += [f"{self.temporary_inside}/{name}".lstrip("/") for name in GNUSTEP_TEMPORARY_FILES]
        return tree(root or self.root, leave_out=[*own, FONT_CACHE, X_SOCKETS], only=CHANGEABLE)

    def at(self, inside):
        """Where that lies on the host."""
        return self.root / inside.lstrip("/")

    def put_older_installation(self):
        for application in [self.system_application, self.user_application]:
            (application / "Contents").mkdir(parents=True)
            (application / "Contents/old").write_text("old\n")
        self.staging_folder.mkdir()
        self.marker.write_text("old\n")
        (self.temporary / "QuillmarkGuard").write_text("old\n")

    def set_defaults(self, **values):
        """Writes the installer's defaults domain, for which GNUstep takes the name of the process."""
        file = self.home / "Library/Preferences/Quillmark Installer.plist"
        file.write_bytes(plistlib.dumps(values))

    @property
    def opened_pages(self):
        """What was handed to the user's browser, in order."""
        return read_lines(self.home / "Library/Logs/open.log")

    @property
    def launched_clients(self):
        """The path of the client's program for each of its launches."""
        return read_lines(self.home / "Library/Logs/Quillmark.log")


def folder_in_memory():
    """Where roots are made and removed faster than on a disk, or None."""
    folder = "/dev/shm"
    usable = os.access(folder, os.W_OK) and not os.statvfs(folder).f_flag & os.ST_NOEXEC
    return folder if usable else None


def read_lines(path):
    return path.read_text().splitlines() if path.exists() else []


def component(folder):
    """The component of that name as it is shipped."""
    return DISTRIBUTION / "components/WGComponents" / folder / "QuillmarkGuard"


def resource(name):
    """A resource of the installer as it is shipped."""
    return DISTRIBUTION / INSTALLER / "Contents/Resources" / name
