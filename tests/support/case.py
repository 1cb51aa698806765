"""What the system tests have in common."""

import os
import unittest
from pathlib import Path

from support import interface
from support.desktop import Desktop
from support.installer import MENU_BAR, Installer
from support.mac import BUILD, Mac, component, resource
from support.payload import SCRIPTS
from support.tree import differences, look_at, tree

PICTURES = Path(os.environ.get("QUILLMARK_PICTURES", BUILD / "Testing/pictures"))

MARKER = "installationHelper.txt"
COMPONENT = "QuillmarkGuard"
INTERACTIVE_MARKER = b"Device\nyes"
BOTH = ["-teamID", "T2", "-partnerID", "P1"]


def managed_marker(partner, team):
    return f"Rmm\n{partner}\n{team}\nyes".encode()


MANAGED_MARKER = managed_marker("P1", "T2")


def installation_lines(folder, components="/Users/ann/Downloads/Quillmark Installer/components"):
    """What an installation writes to the console that takes its component from the folder of that name."""
    source = f"{components}/WGComponents/{folder}/{COMPONENT}"
    return ["Directory Created", "-" * 28, f"[pathToComponents stringByAppendingPathComponent:newPath]  {source}",
            "-" * 25, "-" * 19]


class SystemTest(unittest.TestCase):
    maxDiff = None

    def run(self, result=None):
        self.result = result
        return super().run(result)

    def mac(self, *options, **more):
        mac = Mac(*options, **more)
        self.addCleanup(mac.remove)
        return mac

    def start(self, mac, *arguments):
        """The installer, started on a display of its own."""
        self.desktop = Desktop()
        self.addCleanup(self.desktop.close)
        installer = Installer(mac, self.desktop, arguments)
        self.addCleanup(installer.close)
        return installer

    def open(self, mac, *arguments):
        """The same, once a person sees its window."""
        return self.start(mac, *arguments).wait_for_window()

    def assert_same_tree(self, found, expected):
        self.assertEqual(differences(found, expected), {})

    def assert_installed(self, mac, folder="Sonoma", marker=INTERACTIVE_MARKER):
        """Everything of the payload is in its places, nothing else, with equal bytes, modes and links."""
        self.assert_applications(mac)
        self.assert_staged(mac, folder, marker)

    def assert_applications(self, mac):
        payload = tree(resource("Quillmark.app"))
        self.assertEqual({item.kind for item in payload.values()}, {"file", "folder", "link"})
        self.assert_same_tree(tree(mac.system_application), payload)
        self.assert_same_tree(tree(mac.user_application), payload)

    def assert_staged(self, mac, folder="Sonoma", marker=INTERACTIVE_MARKER):
        """The component from the folder of that name is in the staging folder, or none if that is None."""
        names = {MARKER, *SCRIPTS} | ({COMPONENT} if folder else set())
        self.assertEqual({path.name for path in mac.staging_folder.iterdir()}, names)
        self.assertEqual(mac.marker.read_bytes(), marker)
        for script in SCRIPTS:
            self.assertEqual(look_at(mac.staging_folder / script), look_at(resource(script)))
        if folder:
            self.assert_same_tree(tree(mac.staging_folder / COMPONENT), tree(component(folder)))

    def alerts_ever_shown(self):
        """Where on the screen there has been a window that is neither the main one nor hangs from the menu bar."""
        return [area for area in self.desktop.areas_ever_shown()
                if area.y > MENU_BAR.height and area[2:] != interface.WINDOW_SIZE]

    def tearDown(self):
        failed = [getattr(test, "test_case", test) for test, _ in self.result.failures + self.result.errors]
        if self in failed and hasattr(self, "desktop"):
            picture = PICTURES / f"{type(self).__name__}.{self._testMethodName}.png"
            self.desktop.picture().save(picture)
            print(f"the screen at the failure: {picture}")
