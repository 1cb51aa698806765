"""The archive as it ships: packed so that the same files give the same bytes, and unpacked with distrust."""

import hashlib
import os
import shutil
import stat
import subprocess
import zipfile

from distribution import tree
from distribution.tree import Entry, Refusal

FOLDER = "Quillmark Installer"
# The earliest time that the format knows, so that two archives of the same files are the same.
TIME = (1980, 1, 1, 0, 0, 0)
UNIX = 3


def pack(distribution, archive):
    with zipfile.ZipFile(archive, "w") as file:
        folder = Entry("", stat.S_IFDIR | 0o755, 0)
        for entry in [folder, *tree.entries(distribution)]:
            path = distribution / entry.name
            name = f"{FOLDER}/{entry.name}".rstrip("/")
            information = zipfile.ZipInfo(f"{name}/" if entry.is_folder else name, TIME)
            information.create_system = UNIX  # so that the modes count
            information.external_attr = entry.mode << 16 | (0x10 if entry.is_folder else 0)
            information.compress_type = zipfile.ZIP_STORED if entry.is_folder else zipfile.ZIP_DEFLATED
            information.file_size = entry.size
            if entry.is_folder:
                file.writestr(information, b"")
            elif entry.is_link:
                file.writestr(information, os.fsencode(os.readlink(path)))
            else:
                with path.open("rb") as content, file.open(information, "w") as packed:
                    shutil.copyfileobj(content, packed)


def unpack(archive, destination):
    """Unpacks a distribution into an empty folder; gives back where it lies.

    unzip restores modes and links, and writes nothing outside of the folder. Python's own way restores neither, and bsdtar
    composes the accents in names that a Mac has taken apart.
    """
    unpacked = subprocess.run(["unzip", "-q", "-n", archive.absolute()], cwd=destination, stdin=subprocess.DEVNULL,
                              env={**os.environ, "LC_ALL": "C.UTF-8"},  # in which the Mac's own tools write the names
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
    if unpacked.returncode != 0:
        raise Refusal(f"{archive} cannot be unpacked: {tree.shown(unpacked.stdout.strip())}")
    distribution = destination / FOLDER
    tree.entries(distribution)
    return distribution


def digest(path):
    with path.open("rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def assert_same(distribution, copy):
    def seen(folder):
        return {entry.name: (entry.mode, os.readlink(folder / entry.name) if entry.is_link else
                             None if entry.is_folder else digest(folder / entry.name))
                for entry in tree.entries(folder)}

    originals, copies = seen(distribution), seen(copy)
    different = sorted(name for name in originals.keys() | copies.keys() if originals.get(name) != copies.get(name))
    if different:
        raise Refusal("the archive does not give back these as they were:\n  " + "\n  ".join(different))
