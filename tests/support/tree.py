"""What lies in a folder."""

import hashlib
import os
import stat
from pathlib import Path
from typing import NamedTuple


SHORT = 1000


class Item(NamedTuple):
    kind: str
    mode: str
    content: object


def tree(folder, leave_out=(), only=("",)):
    """Every item in the folder, or in only some folders of it, by its path in it: kind, mode, and content or where a link
    leads. {} without a folder."""
    items = {}
    for parent, folders, files in (walked for part in only for walked in os.walk(Path(folder, part))):
        for name in sorted(folders + files):
            path = Path(parent, name)
            inside = str(path.relative_to(folder))
            if inside in leave_out:
                folders[:] = [folder for folder in folders if folder != name]
            else:
                items[inside] = look_at(path)
    return items


def look_at(path):
    status = path.lstat()
    mode = oct(stat.S_IMODE(status.st_mode))
    if path.is_symlink():
        return Item("link", "", os.readlink(path))
    if path.is_dir():
        return Item("folder", mode, None)
    if path.is_file():
        content = path.read_bytes()
        return Item("file", mode, content if len(content) <= SHORT else hashlib.sha256(content).hexdigest())
    return Item("other", mode, stat.S_IFMT(status.st_mode))


def differences(found, expected):
    """What the two do not have in common: by its path, what was found there and what was expected."""
    return {path: (found.get(path), expected.get(path)) for path in sorted(found | expected)
            if found.get(path) != expected.get(path)}
