"""Looks at the shipped bundle around its executable: layout, Info.plist, icon, translations, payload."""

import plistlib
import re
import stat
import struct
import subprocess
import unittest

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

BLESSED = "SMPrivilegedExecutables"
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

# Each type of an .icns element that holds a PNG with the pixels of its side; the four others are of the first systems.
ICON_PNGS = {"ic07": 128, "ic08": 256, "ic09": 512, "ic10": 1024, "ic11": 32, "ic12": 64, "ic13": 256, "ic14": 512}
RGBA = 6
ICON_OTHERS = ["is32", "il32", "s8mk", "l8mk"]


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

    def test_the_distribution_is_the_application_and_the_components_and_the_payload_is_complete(self):
        self.assertEqual(sorted(path.name for path in product.DISTRIBUTION.iterdir()),
                         ["Quillmark Installer.app", "components"])
        check = subprocess.run([product.REPOSITORY / "tools/check-payload", product.RESOURCES, product.DISTRIBUTION],
                               capture_output=True, text=True, timeout=60)
        self.assertEqual(check.returncode, 0, check.stderr)

    def test_anybody_may_read_what_is_the_installers_own_and_package_info_names_the_type(self):
        for file in sorted(FILES - {"MacOS/Quillmark Installer"}):
            with self.subTest(file):
                mode = stat.S_IMODE((product.CONTENTS / file).stat().st_mode)
                self.assertEqual(mode, 0o755 if file.endswith(".sh") else 0o644)
        self.assertEqual((product.CONTENTS / "PkgInfo").read_text(),
                         INFO["CFBundlePackageType"] + INFO["CFBundleSignature"])


class InfoPlist(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.info = plistlib.loads((product.CONTENTS / "Info.plist").read_bytes())

    def test_it_has_the_keys_of_an_application_with_their_values_and_no_others(self):
        own = {key: value for key, value in self.info.items() if key not in ("LSMinimumSystemVersion", BLESSED)}
        self.assertEqual(own, INFO)
        self.assertEqual({key: type(value) for key, value in own.items()},
                         {key: type(value) for key, value in INFO.items()})
        self.assertRegex(product.project_version(), r"^\d+\.\d+\.\d+$")

    def test_the_oldest_system_is_the_one_that_the_intel_slice_is_for(self):
        self.assertEqual(self.info["LSMinimumSystemVersion"], product.slices()["x86_64"].minimum)

    def test_the_helper_is_blessed_under_the_executables_label_by_a_requirement_that_names_it_and_a_team(self):
        self.assertEqual(list(self.info[BLESSED]), [product.HELPER_LABEL])
        for one in product.slices().values():
            self.assertIn(product.HELPER_LABEL, one.strings())
        self.assertRegex(self.info[BLESSED][product.HELPER_LABEL], re.escape(
            f'identifier "{product.HELPER_LABEL}" and anchor apple generic and certificate leaf[subject.OU] = "') +
            '[A-Z0-9]{10}"')


class Icon(unittest.TestCase):
    def test_it_has_every_size_from_16_to_1024_in_both_resolutions_with_transparency(self):
        content = (product.RESOURCES / "Installer.icns").read_bytes()
        self.assertEqual(struct.unpack_from(">4sI", content), (b"icns", len(content)))
        elements, at = {}, 8
        while at < len(content):
            kind, size = struct.unpack_from(">4sI", content, at)
            elements[kind.decode()] = content[at + 8:at + size]
            at += size
        self.assertEqual(sorted(elements), sorted([*ICON_OTHERS, *ICON_PNGS]))
        for kind, side in ICON_PNGS.items():
            with self.subTest(kind):
                header = struct.pack(">8sI4s2I5B", b"\x89PNG\r\n\x1a\n", 13, b"IHDR", side, side, 8, RGBA, 0, 0, 0)
                self.assertTrue(elements[kind].startswith(header))


class Translations(unittest.TestCase):
    def test_there_is_one_language_and_its_keys_are_texts_that_the_executable_looks_up(self):
        """The window and the alerts are in English, so that another folder would mix two languages."""
        found = {f"{path.parent.name}/{path.name}": path for path in product.RESOURCES.glob("*.lproj/*")}
        self.assertEqual(sorted(found), [f"{path.parent.name}/{path.name}" for path in STRINGS])
        for place, path in found.items():
            text = path.read_text(encoding="utf-8")
            self.assertEqual(text, (product.REPOSITORY / "resources" / place).read_text(encoding="utf-8"))
            entries = re.findall(r'^"((?:[^"\\]|\\.)*)" = "((?:[^"\\]|\\.)*)";$', text, re.MULTILINE)
            self.assertTrue(entries)
            for key, value in entries:
                self.assertEqual(key, value)
                for one in product.slices().values():
                    self.assertIn(key, one.strings())
