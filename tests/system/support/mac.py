"""A Mac-shaped root in a folder of its own, and the places in it."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support.waiting import DEADLINE_SECONDS, ending_with_us

REPOSITORY = Path(__file__).resolve().parents[3]
MAC_ROOT = REPOSITORY / "tools/mac-root"
BUILD = Path(os.environ.get("QUILLMARK_BUILD", REPOSITORY / "build/linux"))
DISTRIBUTION = BUILD / "Quillmark Installer"
SECURITY = BUILD / "mac-root/Security"

INSTALLER = "Quillmark Installer.app"
NOTHING_RUN = b"nothing can be run in the root"

# The program ends as soon as the installer's standard input does, and not before, as what the installer started
# outlives it on a Mac.
SESSION = 'echo started; "$0" "$@" </dev/null; echo "$?"; read -r _'


class Mac:
    """Options are mac-root's; they shape the root when the installer starts."""

    def __init__(self, *options, home="ann", temporary="/private/var/folders/xx/T"):
        self.folder = Path(tempfile.mkdtemp(prefix="mac-", dir=folder_in_memory()))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.home_inside = f"/Users/{home}"
        self.temporary_inside = temporary
        self.options = ["--distribution", DISTRIBUTION, "--security", SECURITY, "--root", self.root, "--home", home,
                        "--temporary", temporary + "/", *options]
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
        for folder, subfolders, _ in os.walk(self.folder):
            for name in subfolders:
                if not os.path.islink(os.path.join(folder, name)):
                    os.chmod(os.path.join(folder, name), 0o700)
        shutil.rmtree(self.folder)

    def start(self, display, arguments):
        """Starts the installer; what it writes and its exit status come by pipes."""
        session = subprocess.Popen(
            ending_with_us(sys.executable, str(MAC_ROOT), *map(str, self.options), "--display", display,
                           "--program", "/bin/sh", "--", "-c", SESSION, self.places["installer"], *arguments),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if session.stdout.readline() != b"started\n":
            _, errors = session.communicate(timeout=DEADLINE_SECONDS)
            if NOTHING_RUN in errors:
                raise unittest.SkipTest(errors.decode().strip())
            raise RuntimeError(errors.decode())
        return session

    # Places, on the host

    def at(self, inside):
        return self.root / inside.lstrip("/")

    @property
    def home(self):
        return self.at(self.home_inside)

    @property
    def temporary(self):
        return self.at(self.temporary_inside)

    @property
    def staging_folder(self):
        return self.home / "Quillmark_Components"

    @property
    def marker(self):
        return self.staging_folder / "installationHelper.txt"

    @property
    def system_application(self):
        return self.at("/Applications/Quillmark.app")

    @property
    def user_application(self):
        return self.home / "Applications/Quillmark.app"

    @property
    def downloads(self):
        return self.home / "Downloads/Quillmark Installer"

    @property
    def opened_pages(self):
        """What was handed to the user's browser, a line each."""
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
