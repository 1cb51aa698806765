"""What lies in a distribution: every file, folder and link, and what may not ship.

A folder or an archive may come from anywhere. Nothing here opens a file, and a refusal names what it refuses.
"""

import os
import stat
import unicodedata
from dataclasses import dataclass

APPLICATION = "Quillmark Installer.app"
COMPONENTS = "components"
LEFT_BY_THE_FINDER = {".DS_Store", "__MACOSX"}
# What every unpacking tool takes: more files or bytes would need the format's 64-bit extension.
MOST_ENTRIES = 0xFFFE
MOST_BYTES = 0x7FFFFFFF


class Refusal(Exception):
    """There will be no archive; the message is for the person who asked."""


@dataclass(frozen=True)
class Entry:
    """A file, folder or link by its name below the distribution, in which "/" separates the parts."""

    name: str
    mode: int
    size: int

    @property
    def parts(self):
        return self.name.split("/")

    @property
    def is_folder(self):
        return stat.S_ISDIR(self.mode)

    @property
    def is_link(self):
        return stat.S_ISLNK(self.mode)


def shown(name):
    """A name as a message can show it, whatever is in it."""
    return ascii(name)[1:-1] if not name.isprintable() else name


def check_name(name):
    parts = name.split("/")
    if "" in parts or "." in parts or ".." in parts:
        raise Refusal(f"{shown(name)} is no name below the distribution")
    if "\\" in name or any(unicodedata.category(letter) in ("Cc", "Cs") for letter in name):
        raise Refusal(f"{shown(name)} has a character in its name that not every system takes")
    if parts[-1] in LEFT_BY_THE_FINDER or parts[-1].startswith("._"):
        raise Refusal(f"{name} is the Finder's and does not ship; delete it")


def check_mode(entry):
    if not (stat.S_ISREG(entry.mode) or entry.is_folder or entry.is_link):
        raise Refusal(f"{entry.name} is neither a file, a folder nor a link")
    if entry.mode & 0o7000 and not entry.is_link:
        raise Refusal(f"{entry.name} has the mode {stat.S_IMODE(entry.mode):o}; special bits do not ship")
    needed = 0 if entry.is_link else 0o500 if entry.is_folder else 0o400
    if entry.mode & needed != needed:
        raise Refusal(f"{entry.name} has the mode {stat.S_IMODE(entry.mode):o}; its owner could not read it")


def check(entries):
    """Refuses what cannot ship, or not with every system's tools."""
    if len(entries) > MOST_ENTRIES:
        raise Refusal(f"{len(entries)} entries are too many; the archive's format holds {MOST_ENTRIES}")
    seen = {}
    for entry in entries:
        check_name(entry.name)
        check_mode(entry)
        # The file systems of most Macs take these for the same name.
        same = unicodedata.normalize("NFD", entry.name).casefold()
        if same in seen:
            raise Refusal(f"{entry.name} is there twice" if seen[same] == entry.name else
                          f"{entry.name} and {seen[same]} are the same name on a Mac")
        seen[same] = entry.name
    total = sum(entry.size for entry in entries)
    if total > MOST_BYTES:
        largest = max(entries, key=lambda entry: entry.size)
        raise Refusal(f"{total} bytes are too many; the archive's format holds {MOST_BYTES}. The most are in "
                      f"{largest.name}: {largest.size}")


def check_links(distribution, entries):
    for entry in entries:
        if entry.is_link:
            link = distribution / entry.name
            try:
                inside = distribution in link.resolve().parents
            except (OSError, RuntimeError):
                raise Refusal(f"{entry.name} is a link that leads to itself") from None
            if os.path.isabs(os.readlink(link)) or not inside:
                raise Refusal(f"{entry.name} is a link out of the distribution")


def entries(distribution):
    """Every entry of a distribution in a folder, in the order of the archive. What lies beside them does not ship."""
    found = []
    waiting = [distribution / top for top in (APPLICATION, COMPONENTS)]
    for needed in [distribution, *waiting]:
        if needed.is_symlink() or not needed.is_dir():
            raise Refusal(f"this is no distribution: the folder {needed.name} is missing")
    while waiting:
        path = waiting.pop()
        status = path.lstat()
        entry = Entry(path.relative_to(distribution).as_posix(), status.st_mode,
                      status.st_size if stat.S_ISREG(status.st_mode) else 0)
        found.append(entry)
        if entry.is_folder:
            check_mode(entry)  # before it is listed
            waiting += path.iterdir()
    check(found)
    check_links(distribution, found)
    return sorted(found, key=lambda entry: entry.parts)
