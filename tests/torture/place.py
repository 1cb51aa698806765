"""A Mac-shaped root that is cheap to make, to spoil and to look at, and the runs in it."""

import contextlib
import os
import shutil
import stat
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path
from types import SimpleNamespace

from support import REPOSITORY
from support.mac import (DISTRIBUTION, FONT_CACHE, GNUSTEP_FILES_OF_USER, GNUSTEP_TEMPORARY_FILES, SECURITY, SESSION,
                         folder_in_memory)
from support.waiting import ending_with_us, within
from torture.model import Before, Item

sys.path.insert(0, str(REPOSITORY / "tools"))
from mac_root import assembly, session, ways  # noqa: E402  (from the folder that the line above adds)

LINKS = ["/tmp", "/var", "/etc"]
# GNUstep starts these once for all of the user's applications.
DAEMONS = {"gdnc", "gpbs"}
# What a session consists of besides the installer: a shell, under bubblewrap.
KEEPERS = ["bwrap", "sh"]
GNUSTEP_PREFERENCES = ["Library/Preferences/.GNUstepDefaults", "Library/Preferences/.GNUstepDefaults.lck"]

# Bytes on a small volume, of which an application takes about a fifth.
SMALL = 64 * os.sysconf("SC_PAGE_SIZE")

chosen = threading.Lock()
way = None


def choose_way(root, options):
    """The way to run something in a root; found out once."""
    global way
    with chosen:
        if way is None:
            try:
                way = ways.choose(root, options, session.mounts(root, options), session.environment(options))
            except assembly.Refusal as refusal:
                raise unittest.SkipTest(str(refusal)) from refusal
        if not way.can_restrict:
            raise unittest.SkipTest(f"{way.name} cannot make anything read-only or full")
        return way


class Place:
    """A root of its own until it is closed. What is to be read-only or full may be named until something is run."""

    def __init__(self, home="ann", temporary="/private/var/folders/xx/T", components="present", relocated=None,
                 query_fails=False, appkit="2487.0", distribution=DISTRIBUTION):
        self.folder = Path(tempfile.mkdtemp(prefix="torture-", dir=folder_in_memory()))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        self.root.mkdir()
        self.options = SimpleNamespace(
            distribution=distribution, security=SECURITY, root=str(self.root), display=":0", release=["Sonoma"],
            no_licence=False, processor="arm64", appkit_version=appkit, home=home, no_user_applications=False,
            temporary=temporary + "/", components=components, relocated=relocated == "known",
            relocated_without_original=relocated == "lost", translocated=relocated is not None,
            relocation_query_fails=query_fails, stand_ins=None, read_only=[], full=[], way=None)
        self.small = None
        self.inside = None
        try:
            assembly.check(self.options)
            assembly.assemble(self.root, self.options)
        except BaseException:
            self.close()
            raise

    def close(self):
        assembly.remove(self.folder)

    # Where things are, inside

    @property
    def home(self):
        return assembly.home_folder(self.options)

    @property
    def temporary(self):
        return self.options.temporary.rstrip("/")

    @property
    def bundle(self):
        return f"{assembly.installer_folder(self.options)}/{assembly.INSTALLER}"

    @property
    def components(self):
        """Beside the installer, or beside its original."""
        return f"{assembly.downloads(self.options)}/components"

    def at(self, inside):
        """A path on the host; what lies on a volume of its own is seen only through a process inside."""
        on_volume = self.small and self.inside and f"{inside}/".startswith(f"{self.small}/")
        return (Path(f"/proc/{self.inside}/root") if on_volume else self.root) / inside.lstrip("/")

    def bring(self, file):
        """Puts a file among the Mac's tools; answers with its path."""
        inside = f"{assembly.TOOLS}/{file.name}"
        shutil.copy(file, self.at(inside))
        return inside

    def give(self):
        """Lets all that was made from outside belong to the user."""
        assembly.give(self.root, self.options, *choose_way(self.root, self.options).owner())

    # Looking

    def items(self):
        """All that lies where the user may change something, and what leads there; not GNUstep's own files."""
        own = {f"{self.home}/{name}" for name in GNUSTEP_FILES_OF_USER + GNUSTEP_PREFERENCES}
        own |= {f"{self.temporary}/{name}" for name in GNUSTEP_TEMPORARY_FILES} | {f"/{FONT_CACHE}"}
        found = {}
        for top in assembly.changeable_folders(self.options):
            for parent in Path(top).parents:
                found.setdefault(str(parent), Item("folder", 0o555))
            self.look(top, own, found)
        for link in LINKS:
            found[link] = Item("link", 0, f"private{link}")
        found.pop("/", None)
        return found

    def look(self, inside, own, found):
        path = self.at(inside)
        status = path.lstat()
        mode = stat.S_IMODE(status.st_mode)
        if stat.S_ISLNK(status.st_mode):
            found[inside] = Item("link", 0, os.readlink(path))
        elif stat.S_ISDIR(status.st_mode):
            found[inside] = Item("folder", mode)
            for name in os.listdir(path):
                if f"{inside}/{name}" not in own:
                    self.look(f"{inside}/{name}", own, found)
        elif stat.S_ISREG(status.st_mode):
            found[inside] = Item("file", mode, path.read_bytes())
        else:
            found[inside] = Item("other", mode, stat.S_IFMT(status.st_mode))

    def before(self, **more):
        """What the model has to know of this Mac."""
        session.mounts(self.root, self.options)  # makes the places to mount on
        licence, uname = self.at(assembly.LICENCE), self.at(f"{assembly.TOOLS}/uname")
        original = f"{assembly.downloads(self.options)}/{assembly.INSTALLER}"
        refusing = [*self.options.read_only, *([assembly.TRANSLOCATED] if self.options.translocated else [])]
        answer = subprocess.run([uname, "-m"], capture_output=True, check=False).stdout
        return Before(
            items=self.items(), home=self.home, temporary=self.temporary, bundle=self.bundle,
            changeable=assembly.changeable_folders(self.options), refusing=refusing,
            translocated=self.options.translocated,
            original=original if self.options.relocated and not self.options.relocation_query_fails else None,
            appkit=float(self.options.appkit_version),
            licence=licence.read_bytes() if licence.is_file() and licence.stat().st_mode & 0o400 else None,
            processor=answer, **more)

    # Running

    def command(self, display, program, fillers):
        """The command that runs a program in the root, its environment, and the descriptors that it needs."""
        self.options.display = display
        way = choose_way(self.root, self.options)
        mounts = session.mounts(self.root, self.options)
        environment = session.environment(self.options)
        self.give()
        command, inherited = way.command(self.root, mounts, program, fillers)
        if self.small:
            # Like the temporary folder itself, which GNUstep takes only if nobody else may use it.
            perms = "0700" if self.small == self.temporary else "0777"
            command[command.index("--chdir"):0] = ["--size", str(SMALL), "--perms", perms, "--tmpfs", self.small]
        return list(map(os.fsdecode, map(os.fspath, command))), environment, inherited

    def start(self, display, arguments):
        """Starts the installer as support.mac.Mac does, for support.installer.Installer."""
        return self.start_program(display, ["/bin/sh", "-c", SESSION, *self.installer(arguments)], b"started\n")

    def installer(self, arguments=()):
        return [assembly.installer_executable(self.options), *arguments]

    def start_program(self, display, program, greeting):
        with contextlib.ExitStack() as fillers:
            command, environment, inherited = self.command(display, program, fillers)
            process = subprocess.Popen(ending_with_us(*command), env=environment, pass_fds=inherited,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if process.stdout.readline() != greeting:
            _, errors = process.communicate()
            raise RuntimeError(errors.decode(errors="replace"))
        return process


def family(process):
    """The processes that live below a session's, as (number, name)."""
    found, waiting = [], [process]
    while waiting:
        parent = waiting.pop()
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            for task in os.listdir(f"/proc/{parent}/task"):
                children = Path(f"/proc/{parent}/task/{task}/children").read_text().split()
                for child in map(int, children):
                    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                        found.append((child, Path(f"/proc/{child}/comm").read_text().rstrip("\n")))
                        waiting.append(child)
    return found


def strangers(process):
    """Those of them that are none of the session's own and no daemon of GNUstep's, once they had time to end."""
    def left():
        names = [name for _, name in family(process) if name not in DAEMONS]
        for keeper in KEEPERS:
            if keeper in names:
                names.remove(keeper)
        return names

    within(5, lambda: not left())
    return left()


def remove_tree(path):
    assembly.remove(path)


def copy_tree(source, target):
    shutil.copytree(source, target, symlinks=True)
