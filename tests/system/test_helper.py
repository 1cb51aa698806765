"""The helper's commands on a Mac with a helper tool and on one without, and the hand-over of the installation to it."""

import shutil
import tempfile
from pathlib import Path

from support.case import INTERACTIVE_MARKER, SystemTest
from support.installer import BLACK, CRITICAL
from support.interface import ACTIVITY_LOG
from support.mac import BUILD, DISTRIBUTION, EXECUTABLE, resource
from support.payload import SCRIPTS, VPN_FILES
from support.tree import look_at, tree
from support.waiting import until

REFUSAL = "The operation couldn't be completed. (CFErrorDomainLaunchd error 4.)"
UNDELIVERED = "error NSCocoaErrorDomain / 4099\nconnection invalidated\n"

HANDED_OVER = ["(null)", "helper: install /private/var/folders/xx/T/ with (null)", "(null)"]


class LogTest(SystemTest):
    def wait_for_log(self, installer, lines):
        until(lambda: count_text_lines(installer.look_at(ACTIVITY_LOG)) == lines, f"{lines} lines in the log")


class Blessing(LogTest):
    def test_a_refused_blessing_tells_the_console_and_the_log_then_shows_the_alert_and_then_ends_the_installer(self):
        mac = self.mac()
        installer = self.open(mac)
        before = mac.everything()
        installer.choose("Help", "Install Helper (Quits If It Fails)")
        alert = installer.wait_for_alert(CRITICAL)
        self.assertEqual(installer.console(), [REFUSAL])
        self.desktop.move_window(alert, 0, 40)
        self.wait_for_log(installer, 1)
        self.assertTrue(installer.is_running())
        installer.dismiss_alert(CRITICAL)
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(installer.console(), [REFUSAL])
        self.assertEqual(len(self.alerts_ever_shown()), 1)
        self.assert_same_tree(mac.everything(), before)


class CommandChannel(LogTest):
    def test_a_version_request_writes_the_error_then_the_end_of_the_connection_and_an_installation_ends_as_usual(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.choose("Help", "Helper Version")
        self.wait_for_log(installer, 2)
        self.assertTrue(installer.is_running())
        self.assertEqual(installer.console(), [])
        installer.install()
        self.assertEqual(self.alerts_ever_shown(), [])
        self.assertEqual(installer.read_activity_log(), UNDELIVERED)
        self.assertEqual(mac.marker.read_bytes(), INTERACTIVE_MARKER)

    def test_the_command_after_an_invalidated_connection_opens_a_new_one_and_says_nothing_about_the_old_one(self):
        installer = self.open(self.mac())
        for lines, command in [(2, "Helper Version"), (4, "Bind Low Port"), (6, "Helper Version")]:
            installer.choose("Help", command)
            self.wait_for_log(installer, lines)
        self.assertEqual(installer.read_activity_log(), UNDELIVERED * 3)


class HelperTest(LogTest):
    """With an installer that finds a helper tool."""

    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="with-helper-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.distribution = cls.folder / "distribution"
        shutil.copytree(DISTRIBUTION, cls.distribution, symlinks=True)
        shutil.copy(BUILD / "tests/system/installer_with_helper", cls.distribution / EXECUTABLE)

    def mac(self, *options):
        return super().mac(*options, distribution=self.distribution)

    def assert_only_refusal(self, installer, console):
        """The console has these lines, the log the error that the helper was told to answer with, and nothing more comes
        before the next answer."""
        self.wait_for_log(installer, 1)
        installer.choose("Help", "Helper Version")
        self.wait_for_log(installer, 2)
        self.assertEqual(installer.console(), console)
        self.assertEqual(installer.read_activity_log(), "error NSPOSIXErrorDomain / 13\nversion = 2.0\n")


class Answers(HelperTest):
    def test_each_blessing_logs_success_and_the_installer_keeps_running(self):
        installer = self.open(self.mac())
        for lines in [1, 2]:
            installer.choose("Help", "Install Helper (Quits If It Fails)")
            self.wait_for_log(installer, lines)
        self.assertEqual(installer.console(), [])
        self.assertEqual(self.alerts_ever_shown(), [])
        self.assertEqual(installer.read_activity_log(), "success\n" * 2)
        self.assertTrue(installer.is_running())

    def test_the_version_and_the_two_handles_are_logged(self):
        installer = self.open(self.mac())
        installer.choose("Help", "Helper Version")
        self.wait_for_log(installer, 1)
        installer.choose("Help", "Bind Low Port")
        self.wait_for_log(installer, 2)
        self.assertEqual(installer.console(), ["helper: bind with (null)"])
        self.assertEqual(installer.read_activity_log(), "version = 2.0\nIPv4 = 0, IPv6 = 2\n")

    def test_a_bind_that_is_refused_logs_its_error_only(self):
        installer = self.open(self.mac(), "-refusal", "13")
        installer.choose("Help", "Bind Low Port")
        self.assert_only_refusal(installer, ["helper: bind with (null)"])


class HandOver(HelperTest):
    def hand_over(self, mac, *arguments):
        return self.open(mac, "-handOver", "YES", *arguments)

    def assert_gathered(self, mac, vpn_files):
        """The temporary folder holds the payload's items under their names, and only these of the VPN files."""
        self.assert_same_tree(tree(mac.temporary / "Quillmark.app"), tree(resource("Quillmark.app")))
        for script in SCRIPTS:
            self.assertEqual(look_at(mac.temporary / script), look_at(resource(script)))
        self.assertEqual([name for name in VPN_FILES if (mac.temporary / name).exists()], vpn_files)
        for name in vpn_files:
            self.assertEqual(look_at(mac.temporary / name), look_at(DISTRIBUTION / "components" / name))

    def test_success_leaves_one_line_and_the_installed_window_and_a_second_run_replaces_every_gathered_item(self):
        mac = self.mac()
        installer = self.hand_over(mac)
        installer.wait_until_installed()
        self.assertEqual(installer.console(), HANDED_OVER)
        self.assertEqual(installer.read_activity_log(), "success\n")
        self.assert_gathered(mac, VPN_FILES)
        self.assertFalse(mac.system_application.exists())
        self.assertFalse(mac.staging_folder.exists())
        (mac.temporary / "Quillmark.app/Contents/left").write_text("left\n")
        for name in SCRIPTS + VPN_FILES:
            (mac.temporary / name).write_text("changed\n")
        self.hand_over(mac).wait_until_installed()
        self.assert_gathered(mac, VPN_FILES)

    def test_a_refusal_leaves_only_its_error_in_the_log_and_the_window_unchanged(self):
        installer = self.hand_over(self.mac(), "-refusal", "13")
        self.assert_only_refusal(installer, HANDED_OVER)
        self.assertFalse(installer.offers_to_launch())
        self.assertFalse(installer.terms_are_gone())

    def test_a_relocated_installer_gathers_the_vpn_files_from_beside_its_original(self):
        mac = self.mac("--relocated")
        self.hand_over(mac).wait_until_installed()
        self.assert_gathered(mac, VPN_FILES)
        self.assertEqual(self.alerts_ever_shown(), [])

    def test_without_components_no_alert_is_shown_and_only_the_bundles_items_are_handed_over(self):
        mac = self.mac("--components", "missing")
        installer = self.hand_over(mac)
        installer.wait_until_installed()
        self.assertEqual(installer.console(), HANDED_OVER)
        self.assert_gathered(mac, [])
        self.assertEqual(self.alerts_ever_shown(), [])


def count_text_lines(log):
    """How many lines of text there are in the picture of the log, whose own edge is left out."""
    inside = log.crop(log.area().smaller_by(4))
    written = {y for _, y in inside.near(BLACK, tolerance=100)}
    return sum(y - 1 not in written and y in written for y in range(inside.height))
