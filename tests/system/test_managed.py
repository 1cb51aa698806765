"""Launches by a management tool, which sets the two defaults, and launches that only look like one."""

import shutil

from support.case import BOTH, COMPONENT, MANAGED_MARKER, SystemTest, installation_lines, managed_marker
from support.installer import CRITICAL, MENU_BAR
from support.interface import INSTALL_BUTTON
from support.mac import component
from support.tree import tree

MANAGED_LINES = installation_lines("Sonoma")


class ManagedTest(SystemTest):
    def run_managed(self, mac, *arguments):
        """A managed run from its start to its end, during which no window appears."""
        installer = self.start(mac, *arguments)
        self.assertEqual(installer.wait_for_end(), 0)
        self.assert_no_window_appeared()
        return installer

    def assert_no_window_appeared(self):
        self.assertIn(self.desktop.areas_ever_shown(), [[], [MENU_BAR]])

    def assert_marker(self, marker, *arguments, **defaults):
        """A managed run with these launch arguments and this defaults domain leaves this marker, or none."""
        mac = self.mac()
        if defaults:
            mac.set_defaults(**defaults)
        installer = self.run_managed(mac, *arguments)
        self.assertEqual(installer.console(), MANAGED_LINES)
        self.assertEqual(mac.marker.read_bytes() if mac.marker.exists() else None, marker)
        self.assert_applications(mac)
        self.assert_same_tree(tree(mac.staging_folder / COMPONENT), tree(component("Sonoma")))


class LaunchMode(ManagedTest):
    def test_both_as_launch_arguments_install_at_once_without_ever_showing_a_window_and_end(self):
        mac = self.mac()
        installer = self.run_managed(mac, *BOTH)
        self.assertEqual(installer.console(), MANAGED_LINES)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assertEqual(mac.launched_clients, [])

    def test_both_in_the_defaults_domain_or_one_there_and_one_as_argument_install_at_once_and_end(self):
        self.assert_marker(MANAGED_MARKER, teamID="T2", partnerID="P1")
        self.assert_marker(MANAGED_MARKER, "-partnerID", "P1", teamID="T2")

    def test_one_alone_is_an_interactive_launch(self):
        self.assert_interactive(self.mac(), "-teamID", "T2")
        mac = self.mac()
        mac.set_defaults(partnerID="P1")
        self.assert_interactive(mac)

    def assert_interactive(self, mac, *arguments):
        """The window is shown with "Install"; the marker is the interactive one whatever the defaults hold."""
        installer = self.open(mac, *arguments)
        self.assertEqual(installer.console(), [])
        self.assertFalse(installer.offers_to_launch())
        self.assertFalse(mac.system_application.exists())
        installer.click(INSTALL_BUTTON)
        installer.dismiss_alert()
        installer.install()
        self.assert_installed(mac)


class MarkerFile(ManagedTest):
    def test_numbers_carry_their_decimal_digits_and_as_launch_arguments_stay_as_they_stand(self):
        self.assert_marker(managed_marker(-40, 2147483648), teamID=2147483648, partnerID=-40)
        self.assert_marker(managed_marker("007", "42"), "-teamID", "42", "-partnerID", "007")

    def test_an_empty_string_leaves_an_empty_line(self):
        for partner, team in [("", "T2"), ("P1", ""), ("", "")]:
            with self.subTest(partner=partner, team=team):
                self.assert_marker(managed_marker(partner, team), partnerID=partner, teamID=team)

    def test_a_line_feed_adds_lines_and_nothing_is_escaped(self):
        partner = 'P1\nmore "%@\\n'
        self.assert_marker(managed_marker(partner, "T2"), teamID="T2", partnerID=partner)

    def test_a_non_ascii_character_in_either_leaves_no_marker_at_all_and_the_rest_is_installed(self):
        self.assert_marker(None, partnerID="Pé", teamID="T2")
        self.assert_marker(None, partnerID="P1", teamID="東京")
        self.assert_marker(None, "-teamID", "T2", "-partnerID", "Pé")

    def test_a_list_is_written_by_its_description(self):
        # A Mac's description takes a line for each element.
        self.assert_marker(managed_marker("P1", "(a, 7)"), teamID=["a", 7], partnerID="P1")


class Failures(ManagedTest):
    def test_without_components_the_alert_is_shown_and_the_installer_ends_after_it_is_dismissed_with_no_file_touched(
            self):
        mac = self.mac("--components", "missing")
        mac.put_older_installation()
        before = mac.everything()
        installer = self.start(mac, *BOTH)
        installer.wait_for_alert(CRITICAL)
        self.assertTrue(installer.is_running())
        installer.dismiss_alert(CRITICAL)
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(installer.console(), [])
        self.assertEqual(len(self.alerts_ever_shown()), 1)
        self.assertEqual(len([area for area in self.desktop.areas_ever_shown() if area != MENU_BAR]), 1)
        self.assert_same_tree(mac.everything(), before)

    def test_every_copy_that_fails_still_ends_in_termination(self):
        mac = self.mac("--no-user-applications", "--release", "Tahoe")
        mac.at("/Applications").chmod(0o555)
        mac.home.chmod(0o555)
        installer = self.run_managed(mac, *BOTH)
        self.assertEqual(installer.console(), ["Directory Creation Failed", *installation_lines("Tahoe")[1:]])
        self.assertFalse(mac.staging_folder.exists())
        self.assertFalse(mac.system_application.exists())


class TemporaryFolder(ManagedTest):
    """The component goes through it by a command of the shell that quotes nothing."""

    def run_managed_with(self, character):
        mac = self.mac(temporary=f"/private/var/folders/x{character}x/T")
        installer = self.run_managed(mac, *BOTH)
        self.assertEqual(installer.console(), MANAGED_LINES)
        self.assert_same_tree(tree(mac.temporary / COMPONENT), tree(component("Sonoma")))
        return mac

    def test_a_blank_or_a_metacharacter_in_its_path_silently_loses_the_component_only(self):
        for character in " &;$'":
            with self.subTest(character):
                mac = self.run_managed_with(character)
                self.assert_applications(mac)
                self.assert_staged(mac, None, MANAGED_MARKER)

    def test_a_pattern_that_is_its_path_matches_itself_and_nothing_is_lost(self):
        for character in "*?":
            with self.subTest(character):
                self.assert_installed(self.run_managed_with(character), marker=MANAGED_MARKER)


class Repeated(ManagedTest):
    def test_a_second_managed_launch_repeats_it_all_from_a_deleted_and_created_staging_folder(self):
        mac = self.mac()
        self.run_managed(mac, *BOTH)
        (mac.staging_folder / "mine").write_text("mine\n")
        (mac.system_application / "Contents/mine").write_text("mine\n")
        shutil.rmtree(mac.user_application)
        installer = self.run_managed(mac, "-teamID", "T4", "-partnerID", "P3")
        self.assertEqual(installer.console(), MANAGED_LINES)
        self.assert_installed(mac, marker=managed_marker("P3", "T4"))

    def test_an_interactive_installation_over_a_managed_one_and_one_over_that_end_as_if_there_had_been_none(self):
        mac = self.mac()
        self.run_managed(mac, *BOTH)
        (mac.staging_folder / "mine").write_text("mine\n")
        self.open(mac).install()
        self.assert_installed(mac)
        (mac.staging_folder / "mine").write_text("mine\n")
        self.run_managed(mac, *BOTH)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_a_relocated_managed_launch_takes_the_component_from_beside_its_original(self):
        mac = self.mac("--relocated")
        installer = self.run_managed(mac, *BOTH)
        self.assertEqual(installer.console(), MANAGED_LINES)
        self.assert_installed(mac, marker=MANAGED_MARKER)
