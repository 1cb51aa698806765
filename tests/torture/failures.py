"""What the model says of an installation in which two file operations fail, or a shell prints something else.

Run as a program it writes that as a table for the unit tests, whose Mac is the one that is made here:
python3 -m torture.failures FILE
"""

import itertools
import json
import posixpath
import sys

from torture.model import TICK, Before, Files, Item, headings, install

HOME, TEMPORARY = "/Users/ann", "/var/folders/T"
VOLUME = "/Volumes/Quillmark Installer"
BUNDLE = f"{VOLUME}/Quillmark Installer.app"
RESOURCES = f"{BUNDLE}/Contents/Resources"
STAGING = f"{HOME}/Quillmark_Components"
APPLICATIONS = ["/Applications/Quillmark.app", f"{HOME}/Applications/Quillmark.app"]
GUARD = f"{TEMPORARY}/QuillmarkGuard"
SOURCE = f"{VOLUME}/components/WGComponents/Sonoma/QuillmarkGuard"
SCRIPTS = ["client.up.tunnelblick.sh", "client.down.tunnelblick.sh"]
DEFAULTS = {"partnerID": "P1", "teamID": "T2"}
HEADING = b"SOFTWARE LICENSE AGREEMENT FOR macOS "

FILES = {
    f"{RESOURCES}/Quillmark.app/Contents/Info.plist": "the client", f"{RESOURCES}/{SCRIPTS[0]}": "up",
    f"{RESOURCES}/{SCRIPTS[1]}": "down", SOURCE: "guard for Sonoma", f"{APPLICATIONS[0]}/old": "old",
    f"{APPLICATIONS[1]}/old": "old", f"{STAGING}/old": "old", GUARD: "old",
}
OPERATIONS = [
    f"exists {STAGING}", f"remove {STAGING}", f"create {STAGING}", *(f"remove {copy}" for copy in APPLICATIONS),
    f"write {STAGING}/installationHelper.txt", *(f"copy {RESOURCES}/Quillmark.app to {copy}" for copy in APPLICATIONS),
    *(f"copy {RESOURCES}/{script} to {STAGING}/{script}" for script in SCRIPTS), f"remove {GUARD}",
    f"copy {SOURCE} to {GUARD}",
]
RELEASES = [None, HEADING + b"\xff\\\n", HEADING + b"\\\n", HEADING + b"Cheetah\\\n" + HEADING + b"Sonoma\\\n",
            HEADING + b"%@/..\\\n"]
PROCESSORS = [b"", b"\n", b"\xff\n", b"x86_64", b"rubbish\nx86_64\n"]


def failing(operations):
    """A file system on which these fail. Its shell copies nothing, as the unit tests' does not."""

    class Failing(Files):
        def exists(self, path):
            return f"exists {path}" not in operations and super().exists(path)

        def remove(self, path):
            return f"remove {path}" not in operations and super().remove(path)

        def create_folder(self, path):
            return f"create {path}" not in operations and super().create_folder(path)

        def copy(self, source, target):
            return f"copy {source} to {target}" not in operations and super().copy(source, target)

        def write(self, content, path):
            return f"write {path}" not in operations and super().write(content, path)

        def cp(self, operands):
            pass

    return Failing


def mac(managed, licence, processor):
    items = {}
    for path, text in FILES.items():
        items[path] = Item("file", 0o755, text.encode())
        while (path := posixpath.dirname(path)) != "/":
            items[path] = Item("folder", 0o755)
    return Before(items=items, home=HOME, temporary=TEMPORARY, bundle=BUNDLE, changeable=["/Applications", HOME, TEMPORARY],
                  licence=licence, processor=processor, defaults=DEFAULTS if managed else {})


def outcome(managed, operations=(), licence=HEADING + b"Sonoma\\\n", processor=b"arm64\n"):
    """A row of the table."""
    after = install(mac(managed, licence, processor), failing(operations))
    tree = [f"{path}: {item.content.decode() if item.kind == 'file' else 'folder'}\n"
            for path, item in sorted(after.items.items())]
    console = [f"console {line}\n" for line in after.console[0 if managed else len(TICK):]]
    last = "terminate" if managed else "dispatchAsync" if after.installed else "std::out_of_range"
    return [list(operations), managed, headings(licence), processor, "".join([*tree, *console, last])]


def outcomes():
    for managed in [False, True]:
        for operations in itertools.combinations(OPERATIONS, 2):
            yield outcome(managed, operations)
        for licence in RELEASES:
            yield outcome(managed, licence=licence)
        for processor in PROCESSORS:
            yield outcome(managed, licence=HEADING + b"Big Sur\\\n", processor=processor)


def literal(value):
    """In C++."""
    if isinstance(value, bool):
        return json.dumps(value)
    if isinstance(value, list):
        return "{" + ", ".join(map(literal, value)) + "}"
    data = value if isinstance(value, bytes) else value.encode()
    text = "".join(chr(byte) if 32 <= byte < 127 and chr(byte) not in '"\\' else f"\\{byte:03o}" for byte in data)
    return f'"{text}"sv'


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit("usage: python3 -m torture.failures FILE")
    with open(sys.argv[1], "w", encoding="ascii") as file:
        for row in outcomes():
            file.write("{" + ", ".join(map(literal, row)) + "},\n")


if __name__ == "__main__":
    main()
