"""Looks at the shipped bundle around its executable: layout, Info.plist, icon, translations, payload."""

import plistlib
import re
import stat
import struct
import subprocess
import unittest
import zlib

from inspection import product

INFO = {
    "CFBundleDevelopmentRegion": "en",
    "CFBundleDisplayName": "Quillmark Installer",
    "CFBundleExecutable": "Quillmark Installer",
    "CFBundleIconFile": "Installer",
    "CFBundleIdentifier": "com.quillmark.customInstaller",
    "CFBundleInfoDictionaryVersion": "6.0",
    "CFBundleName": "Quillmark Installer",
    "CFBundlePackageType": "APPL",
    "CFBundleShortVersionString": product.project_version(),
    "CFBundleSignature": "????",
    "CFBundleVersion": product.project_version(),
    "LSApplicationCategoryType": "public.app-category.utilities",
    # Under Rosetta "uname -m" names an Intel processor, and the component would be for one.
    "LSRequiresNativeExecution": True,
    "NSDesktopFolderUsageDescription":
        "The installer copies Quillmark’s components from the folder beside it, which lies on your Desktop.",
    "NSDownloadsFolderUsageDescription":
        "The installer copies Quillmark’s components from the folder beside it, which lies in your Downloads folder.",
    "NSHighResolutionCapable": True,
    "NSHumanReadableCopyright": "Copyright © Quillmark. All rights reserved.",
    "NSMainNibFile": "MainMenu",
    "NSPrincipalClass": "NSApplication",
    "NSRemovableVolumesUsageDescription":
        "The installer copies Quillmark’s components from the folder beside it, which lies on this volume.",
    # The title without a colour and the log's plain text are black; Dark Mode would put them on black.
    "NSRequiresAquaSystemAppearance": True,
}

STRINGS = sorted((product.REPOSITORY / "resources").glob("*.lproj/*.strings"))
FILES = {
    "Info.plist",
    "PkgInfo",
    "MacOS/Quillmark Installer",
    "Resources/Installer.icns",
    "Resources/client.down.tunnelblick.sh",
    "Resources/client.up.tunnelblick.sh",
    *(f"Resources/{path.parent.name}/{path.name}" for path in STRINGS),
}
CLIENT = "Resources/Quillmark.app/"
# One file, or what ibtool makes for old and new systems, in a folder of this name.
INTERFACE = "Resources/MainMenu.nib"
# What the steps of a release on a Mac add: the helper tool, the bundle's signature, the notary's ticket.
RELEASE_FILES = {
    f"Library/LaunchServices/{product.HELPER_LABEL}",
    "_CodeSignature/CodeResources",
    "CodeResources",
}

# Each type of an .icns element with the pixels of its side.
ICON_COLOURS = {"is32": 16, "il32": 32}
ICON_MASKS = {"s8mk": 16, "l8mk": 32}
ICON_PNGS = {"ic07": 128, "ic08": 256, "ic09": 512, "ic10": 1024, "ic11": 32, "ic12": 64, "ic13": 256, "ic14": 512}
RGBA = 6


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_symlink() or not path.is_dir()}


class Layout(unittest.TestCase):
    maxDiff = None

    def test_nothing_else_lies_in_the_bundle(self):
        found = files_below(product.CONTENTS)
        own = {file for file in found if not file.startswith(CLIENT)}
        interface = {file for file in own if file == INTERFACE or file.startswith(f"{INTERFACE}/")}
        self.assertTrue(interface, "there is no compiled interface")
        self.assertEqual(sorted(own - interface - RELEASE_FILES), sorted(FILES))
        self.assertEqual([path.name for path in product.APPLICATION.iterdir()], ["Contents"])

    def test_the_distribution_is_the_application_and_the_components(self):
        self.assertEqual(sorted(path.name for path in product.DISTRIBUTION.iterdir()),
                         ["Quillmark Installer.app", "components"])

    def test_the_payload_is_complete(self):
        check = subprocess.run([product.REPOSITORY / "tools/check-payload", product.RESOURCES, product.DISTRIBUTION],
                               capture_output=True, text=True, timeout=60)
        self.assertEqual(check.returncode, 0, check.stderr)

    def test_anybody_may_read_what_is_the_installers_own(self):
        for file in sorted(FILES - {"MacOS/Quillmark Installer"}):
            with self.subTest(file):
                mode = stat.S_IMODE((product.CONTENTS / file).stat().st_mode)
                self.assertEqual(mode, 0o755 if file.endswith(".sh") else 0o644)

    def test_package_info_names_the_type_of_info_plist(self):
        self.assertEqual((product.CONTENTS / "PkgInfo").read_text(),
                         INFO["CFBundlePackageType"] + INFO["CFBundleSignature"])


class InfoPlist(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.info = plistlib.loads((product.CONTENTS / "Info.plist").read_bytes())

    def test_it_has_the_keys_of_an_application_and_no_others(self):
        self.assertEqual(sorted(self.info), sorted([*INFO, "LSMinimumSystemVersion", "SMPrivilegedExecutables"]))

    def test_its_keys_have_these_values(self):
        for key, value in INFO.items():
            with self.subTest(key):
                self.assertEqual(self.info.get(key), value)
                self.assertIs(type(self.info.get(key)), type(value))

    def test_the_version_is_the_projects(self):
        self.assertRegex(product.project_version(), r"^\d+\.\d+\.\d+$")
        self.assertEqual(self.info["CFBundleVersion"], product.project_version())

    def test_the_oldest_system_is_the_one_that_the_intel_slice_is_for(self):
        self.assertEqual(self.info["LSMinimumSystemVersion"], product.slices()["x86_64"].minimum)

    def test_the_files_that_it_names_are_there(self):
        self.assertTrue((product.CONTENTS / "MacOS" / self.info["CFBundleExecutable"]).is_file())
        self.assertTrue((product.RESOURCES / f"{self.info['CFBundleIconFile']}.icns").is_file())
        self.assertTrue((product.RESOURCES / f"{self.info['NSMainNibFile']}.nib").exists())

    def test_the_helper_may_be_blessed_under_its_label_with_a_requirement_that_names_it_and_a_team(self):
        self.assertEqual(list(self.info["SMPrivilegedExecutables"]), [product.HELPER_LABEL])
        requirement = self.info["SMPrivilegedExecutables"][product.HELPER_LABEL]
        self.assertIn(f'identifier "{product.HELPER_LABEL}"', requirement)
        self.assertIn("anchor apple generic", requirement)
        self.assertRegex(requirement, r'certificate leaf\[subject\.OU\] = "[A-Z0-9]{10}"')

    def test_the_label_is_the_one_that_the_executable_asks_for(self):
        for architecture, one in product.slices().items():
            with self.subTest(architecture):
                self.assertIn(product.HELPER_LABEL, set(one.strings()))


class Icon(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.elements = {}
        content = (product.RESOURCES / "Installer.icns").read_bytes()
        kind, length = struct.unpack_from(">4sI", content)
        if kind != b"icns" or length != len(content):
            raise ValueError("Installer.icns is not an icon file of its own length")
        at = 8
        while at < length:
            kind, size = struct.unpack_from(">4sI", content, at)
            cls.elements[kind.decode()] = content[at + 8:at + size]
            at += size

    def test_it_has_every_size_from_16_to_1024_in_both_resolutions(self):
        self.assertEqual(sorted(self.elements), sorted([*ICON_COLOURS, *ICON_MASKS, *ICON_PNGS]))

    def test_every_png_is_whole_and_has_its_size_and_transparency(self):
        for kind, side in ICON_PNGS.items():
            with self.subTest(kind):
                chunks = self.chunks(self.elements[kind])
                self.assertEqual(struct.unpack(">IIBBBBB", chunks[b"IHDR"]), (side, side, 8, RGBA, 0, 0, 0))
                self.assertEqual(len(zlib.decompress(chunks[b"IDAT"])), side * (1 + 4 * side))

    def test_the_small_pictures_are_drawings_with_clear_corners(self):
        for kind, side in ICON_COLOURS.items():
            with self.subTest(kind):
                channels = self.unpacked(self.elements[kind])
                self.assertEqual(len(channels), 3 * side * side)
                shades = set(zip(*(channels[number * side * side:(number + 1) * side * side] for number in range(3))))
                self.assertGreater(len(shades), side)
        for kind, side in ICON_MASKS.items():
            with self.subTest(kind):
                mask = self.elements[kind]
                self.assertEqual(len(mask), side * side)
                self.assertEqual({mask[0], mask[side - 1], mask[-side], mask[-1]}, {0}, "corners")
                self.assertEqual(mask[side * side // 2 + side // 2], 255, "middle")

    def chunks(self, png):
        self.assertEqual(png[:8], b"\x89PNG\r\n\x1a\n")
        chunks, at = {}, 8
        while at < len(png):
            size, kind = struct.unpack_from(">I4s", png, at)
            content = png[at + 8:at + 8 + size]
            self.assertEqual(struct.unpack_from(">I", png, at + 8 + size)[0], zlib.crc32(kind + content))
            chunks[kind] = chunks.get(kind, b"") + content
            at += 12 + size
        return chunks

    def unpacked(self, data):
        out, at = bytearray(), 0
        while at < len(data):
            if data[at] < 128:
                out += data[at + 1:at + 2 + data[at]]
                at += 2 + data[at]
            else:
                out += data[at + 1:at + 2] * (data[at] - 125)
                at += 2
        return out


class Translations(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """The entries of every strings file, by its place in the bundle's resources."""
        cls.tables = {}
        for path in sorted(product.RESOURCES.glob("*.lproj/*.strings")):
            entries = re.findall(r'^"((?:[^"\\]|\\.)*)" = "((?:[^"\\]|\\.)*)";$', path.read_text(encoding="utf-8"),
                                 re.MULTILINE)
            cls.tables[f"{path.parent.name}/{path.name}"] = dict(entries)

    def test_the_keys_are_texts_that_the_executable_looks_up(self):
        english = self.tables["en.lproj/Localizable.strings"]
        self.assertTrue(english)
        for architecture, one in product.slices().items():
            with self.subTest(architecture):
                self.assertEqual(sorted(set(english) - set(one.strings())), [])

    def test_english_leaves_every_key_as_it_is(self):
        for place, entries in self.tables.items():
            with self.subTest(place):
                self.assertTrue(entries)
                self.assertEqual(list(entries.keys()), list(entries.values()))

    def test_there_is_no_language_in_which_only_some_texts_would_be(self):
        """The window and the alerts are in English, so that another folder would mix two languages."""
        self.assertEqual([folder.name for folder in product.RESOURCES.glob("*.lproj")], ["en.lproj"])

    def test_the_files_are_those_of_the_sources(self):
        for path in STRINGS:
            with self.subTest(f"{path.parent.name}/{path.name}"):
                self.assertEqual((product.RESOURCES / path.parent.name / path.name).read_bytes(), path.read_bytes())
