"""Hands archives to tools/package that somebody made to do harm, or that are damaged: each is refused by name."""

import os
import stat
import warnings
import zipfile

from support.copies import ScratchFolder
from support.packing import BUNDLE, FOLDER, package


class Entry:
    """What an archive is to hold: a file's mode and content, or whatever else is wanted in their place."""

    def __init__(self, name, mode=stat.S_IFREG | 0o644, content=b"", system=3, flags=0, method=zipfile.ZIP_DEFLATED):
        self.content = content
        self.information = zipfile.ZipInfo(name)
        self.information.filename = name  # ZipInfo changes some
        self.information.external_attr = mode << 16
        self.information.create_system = system
        self.information.compress_type = method
        self.information.flag_bits = flags


def folder(name):
    return Entry(f"{name}/", stat.S_IFDIR | 0o755)


def link(name, target):
    return Entry(name, stat.S_IFLNK | 0o777, target.encode())


class HostileArchives(ScratchFolder):
    def setUp(self):
        super().setUp()
        self.archive = self.scratch / "hostile.zip"

    def write(self, *entries):
        with warnings.catch_warnings(record=True), zipfile.ZipFile(self.archive, "w") as file:
            for entry in entries:
                file.writestr(entry.information, entry.content)

    def assert_refused(self, message):
        outcome = package("--for-inspection", self.archive, output=self.scratch / "out")
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertTrue(outcome.stdout.startswith("package: "), outcome.stdout)
        self.assertIn(message, outcome.stdout)
        self.assertEqual(sorted(str(path.relative_to(self.scratch)) for path in self.scratch.rglob("*")),
                         ["hostile.zip", "out"], "something was written")

    def assert_each_refused(self, *cases):
        for message, *entries in cases:
            with self.subTest(message):
                self.write(*entries)
                self.assert_refused(message)

    def test_names_that_lead_elsewhere(self):
        components = folder(f"{FOLDER}/components")
        self.assert_each_refused(
            ('../evil does not lie in the folder "Quillmark Installer"', Entry("../evil")),
            ('/etc/evil does not lie in the folder "Quillmark Installer"', Entry("/etc/evil")),
            ('Another/evil does not lie in the folder "Quillmark Installer"', Entry("Another/evil")),
            ("../evil is no name below the distribution", Entry(f"{FOLDER}/../evil")),
            ("components/../../evil is no name below the distribution", components,
             Entry(f"{FOLDER}/components/../../evil")),
            ("components/./evil is no name below the distribution", components, Entry(f"{FOLDER}/components/./evil")),
            ("components//evil is no name below the distribution", components, Entry(f"{FOLDER}/components//evil")),
            (r"components/..\evil has a character in its name", components, Entry(f"{FOLDER}/components/..\\evil")))

    def test_names_that_are_there_twice(self):
        components = folder(f"{FOLDER}/components")
        self.assert_each_refused(
            ("components/ca.crt is there twice", components, Entry(f"{FOLDER}/components/ca.crt"),
             Entry(f"{FOLDER}/components/ca.crt", content=b"another")),
            ("components is there twice", components, components),
            ("components/CA.crt and components/ca.crt are the same name on a Mac", components,
             Entry(f"{FOLDER}/components/ca.crt"), Entry(f"{FOLDER}/components/CA.crt")))

    def test_names_that_cannot_be_shown_or_read(self):
        components = folder(f"{FOLDER}/components")
        self.assert_each_refused(
            (r"components/\x1b[31mred has a character in its name", components, Entry(f"{FOLDER}/components/\x1b[31mred")))
        self.write(components, Entry(f"{FOLDER}/components/latin_"))
        self.archive.write_bytes(self.archive.read_bytes().replace(b"latin_", b"latin\xe9"))
        self.assert_refused("is not named in UTF-8")

    def test_files_below_a_link_or_a_file(self):
        self.assert_each_refused(
            ("components/bin/evil comes before the folder that it lies in, or that is none",
             folder(f"{FOLDER}/components"), link(f"{FOLDER}/components/bin", "/usr/bin"),
             Entry(f"{FOLDER}/components/bin/evil")),
            ("components/evil comes before the folder that it lies in, or that is none",
             Entry(f"{FOLDER}/components"), Entry(f"{FOLDER}/components/evil")),
            ("components/evil comes before the folder that it lies in, or that is none",
             Entry(f"{FOLDER}/components/evil"), folder(f"{FOLDER}/components")))

    def test_links_that_lead_out(self):
        self.assert_each_refused(
            ("components/bin is a link out of the distribution", folder(f"{FOLDER}/{BUNDLE}"),
             folder(f"{FOLDER}/components"), link(f"{FOLDER}/components/bin", "/usr/bin")),
            ("components/up is a link out of the distribution", folder(f"{FOLDER}/{BUNDLE}"),
             folder(f"{FOLDER}/components"), link(f"{FOLDER}/components/up", "../..")),
            ("components/long is a link of 5000 bytes", folder(f"{FOLDER}/components"),
             link(f"{FOLDER}/components/long", "x" * 5000)))

    def test_what_is_neither_a_file_a_folder_nor_a_link(self):
        components = folder(f"{FOLDER}/components")
        for kind in (stat.S_IFCHR, stat.S_IFBLK, stat.S_IFIFO, stat.S_IFSOCK, 0):
            with self.subTest(kind):
                self.write(components, Entry(f"{FOLDER}/components/odd", kind | 0o644))
                self.assert_refused("components/odd is neither a file, a folder nor a link")
        self.assert_each_refused(
            ("components/modeless is neither a file, a folder nor a link", components,
             Entry(f"{FOLDER}/components/modeless", system=0)),
            ("components/root has the mode 4755; special bits do not ship", components,
             Entry(f"{FOLDER}/components/root", stat.S_IFREG | 0o4755)))

    def test_what_does_not_belong_in_a_distribution(self):
        self.assert_each_refused(
            ("Install.pkg does not belong in a distribution", Entry(f"{FOLDER}/Install.pkg")),
            ("components/.DS_Store is the Finder's and does not ship", folder(f"{FOLDER}/components"),
             Entry(f"{FOLDER}/components/.DS_Store")),
            ('__MACOSX does not lie in the folder "Quillmark Installer"', folder(FOLDER), folder("__MACOSX")))

    def change_listed_size(self, size):
        """Of the last entry, in the archive's directory, where unpacking tools look."""
        content = bytearray(self.archive.read_bytes())
        at = content.rindex(b"PK\1\2") + 24
        content[at:at + 4] = size.to_bytes(4, "little")
        self.archive.write_bytes(content)

    def test_sizes_that_are_huge_or_untrue(self):
        self.write(folder(f"{FOLDER}/components"), Entry(f"{FOLDER}/components/ca.crt", content=b"certificate" * 1000))
        self.change_listed_size(0xF0000000)
        self.assert_refused("bytes are too many; the archive's format holds 2147483647. The most are in "
                            "components/ca.crt: 4026531840")
        self.change_listed_size(10)
        self.assert_refused("hostile.zip cannot be unpacked: Bad CRC-32")

    def test_more_entries_than_the_format_holds(self):
        self.write(folder(f"{FOLDER}/components"),
                   *(Entry(f"{FOLDER}/components/{number}", method=zipfile.ZIP_STORED) for number in range(0xFFFF)))
        self.assert_refused("65536 entries are too many")

    def test_ways_of_packing_that_not_every_system_knows(self):
        self.assert_each_refused(
            ("components/ca.crt is encrypted or packed in a way that not every system knows",
             folder(f"{FOLDER}/components"), Entry(f"{FOLDER}/components/ca.crt", method=zipfile.ZIP_BZIP2)))
        self.write(folder(f"{FOLDER}/components"), Entry(f"{FOLDER}/components/ca.crt"))
        content = bytearray(self.archive.read_bytes())
        content[content.rindex(b"PK\1\2") + 8] |= 1
        self.archive.write_bytes(content)
        self.assert_refused("components/ca.crt is encrypted")

    def test_what_is_no_archive_or_a_part_of_one(self):
        self.write(folder(f"{FOLDER}/components"), Entry(f"{FOLDER}/components/ca.crt", content=os.urandom(1000)))
        whole = self.archive.read_bytes()
        for content in (b"", b"rubbish", whole[:-10], whole[200:], whole[:300] + whole[301:]):
            with self.subTest(len(content)):
                self.archive.write_bytes(content)
                self.assert_refused("hostile.zip cannot be unpacked: ")
