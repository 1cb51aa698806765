"""The archive as it ships: packed so that the same files give the same bytes, and unpacked with distrust."""

import hashlib
import os
import shutil
import stat
import zipfile
import zlib

from distribution import tree
from distribution.tree import Entry, Refusal

FOLDER = "Quillmark Installer"
# The earliest time that the format knows, so that two archives of the same files are the same.
TIME = (1980, 1, 1, 0, 0, 0)
UNIX = 3
NAME_IS_UTF8 = 0x800
LONGEST_LINK = 1024  # PATH_MAX of a Mac
METHODS = (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED)
UNREADABLE = (zipfile.BadZipFile, zlib.error, EOFError, NotImplementedError, OSError, RuntimeError, ValueError)


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


def name_in(information):
    """The name below the distribution, "" for the distribution itself."""
    name = information.filename
    if not information.flag_bits & NAME_IS_UTF8:
        # What Python took for the code page of the first PCs is UTF-8 without its mark, as the Mac's own tools write it.
        try:
            name = name.encode("cp437").decode()
        except UnicodeError:
            raise Refusal(f"{tree.shown(name)} is not named in UTF-8") from None
    name = name.removesuffix("/")
    if name == FOLDER:
        return ""
    inside = name.removeprefix(f"{FOLDER}/")
    if name == inside:
        raise Refusal(f"{tree.shown(name)} does not lie in the folder \"{FOLDER}\"")
    return inside


def listed(file):
    """The entries of an archive, with what Python needs to read each, or a refusal; nothing is unpacked."""
    found = []
    for information in file.infolist():
        name = name_in(information)
        if name == "":
            continue
        mode = information.external_attr >> 16 if information.create_system == UNIX else 0
        found.append((Entry(name, mode, information.file_size), information))
        if information.compress_type not in METHODS or information.flag_bits & 1:
            raise Refusal(f"{tree.shown(name)} is encrypted or packed in a way that not every system knows")
        if stat.S_ISLNK(mode) and information.file_size > LONGEST_LINK:
            raise Refusal(f"{tree.shown(name)} is a link of {information.file_size} bytes")
    tree.check([entry for entry, _ in found])

    folders = {""}
    for entry, _ in found:
        above, _, _ = entry.name.rpartition("/")
        if above not in folders:
            raise Refusal(f"{entry.name} comes before the folder that it lies in, or that is none")
        if above == "" and entry.name not in (tree.APPLICATION, tree.COMPONENTS):
            raise Refusal(f"{entry.name} does not belong in a distribution")
        if entry.is_folder:
            folders.add(entry.name)
    return found


def unpack(archive, destination):
    """Unpacks a distribution into an empty folder; gives back where it lies.

    Python's own way restores neither modes nor links, and takes every name as it comes.
    """
    distribution = destination / FOLDER
    try:
        with zipfile.ZipFile(archive) as file:
            found = listed(file)
            distribution.mkdir()
            for entry, information in found:
                path = distribution / entry.name
                if entry.is_folder:
                    path.mkdir()
                elif entry.is_link:
                    path.symlink_to(os.fsdecode(file.read(information)))
                else:
                    with file.open(information) as content, path.open("xb") as copy:
                        shutil.copyfileobj(content, copy)
                    path.chmod(stat.S_IMODE(entry.mode))
            for entry, _ in reversed(found):
                if entry.is_folder:
                    (distribution / entry.name).chmod(stat.S_IMODE(entry.mode))
    except UNREADABLE as error:
        raise Refusal(f"{archive} cannot be unpacked: {tree.shown(str(error))}") from error
    tree.entries(distribution)  # for where the links lead
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
