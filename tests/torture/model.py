"""What an installation does, told a second time: from the Mac as it was to its tree, console and window afterwards.

Nothing here is shared with the installer. Paths are those inside the Mac; a tree is a dict of them to Items, all of
which belong to the user. Where a Mac leaves something open, such as the order of a folder's items, so does this model:
cases must not ask.
"""

import fnmatch
import posixpath
import re
from dataclasses import dataclass, field
from typing import NamedTuple

from torture.shell import commands

READ, WRITE, SEARCH = 0o400, 0o200, 0o100
UMASK = 0o022
MOST_LINKS = 40
HEADING = b"SOFTWARE LICENSE AGREEMENT FOR macOS"
LAST_APPKIT_WITHOUT_RELOCATION = 1404
TICK = ["state 1", "TCCheckBoxOutlet state 1"]
NO_LAST_CHARACTER = "the command printed nothing, so there is no last character to drop"


class Item(NamedTuple):
    kind: str  # "file", "folder", "link" or "other"
    mode: int
    content: object = None  # a file's bytes; where a link leads


class Text(NamedTuple):
    """A file's content of which only both ends are settled."""
    start: bytes
    end: bytes

    def __eq__(self, other):
        if isinstance(other, Text):
            return tuple(self) == tuple(other)
        return (isinstance(other, bytes) and len(other) >= len(self.start + self.end)
                and other.startswith(self.start) and other.endswith(self.end))

    def __ne__(self, other):
        return not self == other

    __hash__ = NamedTuple.__hash__


@dataclass
class Before:
    """A Mac before the installer is started."""
    items: dict
    home: str
    temporary: str
    bundle: str
    changeable: list  # the folders below which the user may change anything
    refusing: list = field(default_factory=list)  # what nobody may change, with all that lies below
    translocated: bool = False
    original: str = None  # where the system says a relocated bundle lay
    appkit: float = 2487.0
    licence: bytes = None
    processor: bytes = b"arm64\n"
    defaults: dict = field(default_factory=dict)


@dataclass
class After:
    items: dict
    console: list = field(default_factory=list)
    alert: bool = False  # and then the end
    window: bool = False
    installed: bool = False  # what the window says


def install(before, file_system=None):
    """The Mac after the installer has run, and after somebody has ticked and clicked where it shows its window."""
    managed = {"teamID", "partnerID"} <= before.defaults.keys()
    after = After(dict(before.items), window=not managed)
    if not managed:
        after.console += TICK
    run_sequence(before, after, (file_system or Files)(after.items, before.changeable, before.refusing), managed)
    return after


def run_sequence(before, after, files, managed):
    log = after.console.append
    components = components_folder(before)
    if components is None or not files.exists(components):
        after.alert = True
        return

    staging = join(before.home, "Quillmark_Components")
    applications = ["/Applications/Quillmark.app", join(before.home, "Applications/Quillmark.app")]
    if not files.exists(staging) or files.remove(staging):
        log("Directory Created" if files.create_folder(staging) else "Directory Creation Failed")
    for application in applications:
        files.remove(application)
    log("-" * 28)
    files.write(marker(before.defaults) if managed else b"Device\nyes", f"{staging}/installationHelper.txt")
    for application in applications:
        files.copy(resource(before, files, "Quillmark.app"), application)
    for script in ["client.up.tunnelblick.sh", "client.down.tunnelblick.sh"]:
        files.copy(resource(before, files, script), join(staging, script))

    try:
        release = mac_version(before)
    except IndexError:
        if managed:
            log(NO_LAST_CHARACTER)
        return
    guard = join(before.temporary, "QuillmarkGuard")
    files.remove(guard)
    source = join(components, f"WGComponents/{'(null)' if release is None else release}/QuillmarkGuard")
    log(f"[pathToComponents stringByAppendingPathComponent:newPath]  {source}")
    files.copy(source, guard)
    log("-" * 25)
    for command in commands(f"cp -R {guard} {staging}", files.glob):
        if command[:2] == ["cp", "-R"]:
            files.cp(command[2:])
    log("-" * 19)
    after.installed = after.window


def components_folder(before):
    bundle = before.bundle
    if before.translocated and int(before.appkit) > LAST_APPKIT_WITHOUT_RELOCATION:
        bundle = before.original
    return bundle and join(posixpath.dirname(bundle), "components")


def resource(before, files, name):
    path = join(before.bundle, f"Contents/Resources/{name}")
    return path if files.leads_somewhere(path) else None


def mac_version(before):
    """The name of the component's folder, or None. An IndexError if there is no character to drop."""
    release = without_last_character(headings(before.licence))
    if release not in ("Big Sur", "Monterey"):
        return release
    return "osIntel" if without_last_character(before.processor) == "x86_64" else "osM1"


def headings(licence):
    """What the pipeline prints: of each heading what follows its last "macOS ", less a byte."""
    lines = (licence or b"").removesuffix(b"\n").split(b"\n")
    return b"".join(line.split(b"macOS ")[-1][:-1] + b"\n" for line in lines if HEADING in line)


def without_last_character(output):
    try:
        text = output.decode()
    except UnicodeDecodeError:
        return None
    if not text:
        raise IndexError
    return text[:-1]


def marker(defaults):
    """The managed marker's bytes, or None if they cannot be written."""
    values = [described(defaults[key]) for key in ["partnerID", "teamID"]]
    if not all(value is None or value.isascii() for value in values):
        return None
    if None in values:
        return Text(b"Rmm\n", b"\nyes")
    return "Rmm\n{}\n{}\nyes".format(*values).encode()


def described(value):
    """How a value is printed, or None for one whose description is the platform's affair."""
    if isinstance(value, str):
        return value
    return str(int(value)) if isinstance(value, int) else None


def join(base, component):
    return re.sub("/+", "/", f"{base}/{component}")


class Files:
    """The user's file system. A method that changes something answers whether all went well."""

    def __init__(self, items, changeable, refusing):
        self.items = items
        self.changeable = changeable
        self.refusing = refusing

    def resolve(self, path, follow=True):
        """The path without links, except for a last one that is not to be followed; None where no path leads."""
        real, parts, links = "/", path.split("/"), 0
        while parts:
            name = parts.pop(0)
            if name in ("", "."):
                continue
            if not self.is_folder(real) or not self.allows(real, SEARCH):
                return None
            if name == "..":
                real = posixpath.dirname(real)
                continue
            step = posixpath.join(real, name)
            item = self.items.get(step)
            if item and item.kind == "link" and (follow or any(parts)):
                links += 1
                if links > MOST_LINKS:
                    return None
                parts = item.content.split("/") + parts
                real = "/" if item.content.startswith("/") else real
            else:
                real = step
        return real

    def allows(self, real, permission):
        return real == "/" or bool(self.items[real].mode & permission)

    def is_folder(self, real):
        return real == "/" or (real in self.items and self.items[real].kind == "folder")

    def children(self, real):
        """The paths in a folder, or None if it may not be looked through."""
        if not self.allows(real, READ) or not self.allows(real, SEARCH):
            return None
        return sorted(path for path in self.items if path != "/" and posixpath.dirname(path) == real)

    def may_change(self, real):
        """Whether the item may be made or removed."""
        folder = posixpath.dirname(real)
        return (self.is_folder(folder) and self.allows(folder, WRITE) and self.allows(folder, SEARCH)
                and self.is_writable_place(real) and any(real.startswith(f"{place}/") for place in self.changeable))

    def is_writable_place(self, real):
        return not any(f"{real}/".startswith(f"{place}/") for place in self.refusing)

    def leads_somewhere(self, path):
        return self.resolve(path) in self.items

    # What the installer asks for

    def exists(self, path):
        return self.leads_somewhere(path)

    def remove(self, path):
        real = self.resolve(path, follow=False)
        return real in self.items and self.remove_item(real)

    def remove_item(self, real):
        if self.is_folder(real):
            children = self.children(real)
            if children is None or not all(map(self.remove_item, children)):
                return False
        if not self.may_change(real):
            return False
        del self.items[real]
        return True

    def create_folder(self, path):
        if self.leads_somewhere(path):
            return self.is_folder(self.resolve(path))
        parent = posixpath.dirname(path)
        return (self.leads_somewhere(parent) or self.create_folder(parent)) and self.make_folder(self.resolve(path, follow=False))

    def make_folder(self, real):
        if real is None or real in self.items or not self.may_change(real):
            return False
        self.items[real] = Item("folder", 0o777 & ~UMASK)
        return True

    def write(self, content, path):
        real = self.resolve(path)
        return real is not None and content is not None and self.fill(real, content, 0o666 & ~UMASK)

    def fill(self, real, content, mode):
        if real in self.items:
            if self.items[real].kind != "file" or not self.allows(real, WRITE) or not self.is_writable_place(real):
                return False
            mode = self.items[real].mode
        elif not self.may_change(real):
            return False
        self.items[real] = Item("file", mode, content)
        return True

    def copy(self, source, target):
        """As a file manager copies: all with its mode, onto nothing."""
        source, target = source and self.resolve(source, follow=False), self.resolve(target, follow=False)
        return source in self.items and target is not None and target not in self.items and self.copy_item(source, target)

    def copy_item(self, source, target):
        item = self.items[source]
        if item.kind == "folder":
            if not self.make_folder(target) or self.children(source) is None:
                return False
            if not all(self.copy_item(child, posixpath.join(target, posixpath.basename(child)))
                       for child in self.children(source)):
                return False
        elif not self.may_change(target) or (item.kind == "file" and not self.allows(source, READ)):
            return False
        self.items[target] = item
        return True

    # The shell's side

    def cp(self, operands):
        """cp -R, of which nobody asks how it went."""
        if len(operands) < 2:
            return
        *sources, target = operands
        into_folder = self.is_folder(self.resolve(target))
        if len(sources) > 1 and not into_folder:
            return
        for source in sources:
            to = posixpath.join(target, posixpath.basename(source)) if into_folder else target
            real, to = self.resolve(source, follow=False), self.resolve(to, follow=False)
            if real in self.items and to is not None:
                self.cp_item(real, to)

    def cp_item(self, source, target):
        item, old = self.items[source], self.items.get(target)
        if item.kind == "folder":
            if old is None:
                if not self.make_folder(target):
                    return
            elif old.kind != "folder":
                return
            for child in self.children(source) or []:
                self.cp_item(child, posixpath.join(target, posixpath.basename(child)))
            if old is None:
                self.items[target] = Item("folder", item.mode & ~UMASK)
        elif item.kind == "link":
            if self.may_change(target) and (old is None or old.kind != "folder"):
                self.items[target] = item
        elif self.allows(source, READ):
            # Through a link that leads somewhere, but not through one that leads nowhere.
            real = self.resolve(target)
            if old is None or real in self.items:
                self.fill(real, item.content, item.mode & ~UMASK)

    def glob(self, pattern):
        """The paths that match, or the pattern itself."""
        found = ["/"] if pattern.startswith("/") else [""]
        for part in pattern.split("/"):
            if part:
                found = [posixpath.join(folder, name) for folder in found for name in self.matching(folder, part)]
        return found or [pattern]

    def matching(self, folder, part):
        if not re.search(r"[*?[]", part):
            return [part] if self.resolve(posixpath.join(folder, part), follow=False) in self.items else []
        real = self.resolve(folder or "/")
        names = map(posixpath.basename, self.children(real) or []) if self.is_folder(real) else []
        return [name for name in names if fnmatch.fnmatchcase(name, part) and (part[0] == "." or name[0] != ".")]
