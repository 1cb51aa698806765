"""What check.sh finds, and the status of each verdict."""

import os
import shutil
import plistlib

from support.fleet import BOTH, DOMAIN, STANDARD, FleetTest
from support.payload import SCRIPTS

KEYS = ["user", "administrator", "team", "team_from", "partner", "partner_from", "marker", "marker_team",
        "marker_partner", "installer_version", "system_client", "system_client_version", "user_client",
        "user_client_version", "scripts", "component", "component_expected", "verdict"]


class CheckTest(FleetTest):
    def assert_found(self, run, status, **findings):
        self.assert_status(run, status)
        self.assertEqual({key: run.findings[key] for key in findings}, findings)


class Complete(CheckTest):
    def test_after_an_installation_every_finding_is_told_in_order(self):
        mac = self.installed_mac()
        run = mac.check(*BOTH)
        self.assertEqual([line.split("=")[0] for line in run.output.splitlines()], KEYS)
        self.assertEqual(run.errors, "")
        self.assert_found(run, 0, user="ann", administrator="yes", team="T2", team_from="argument", partner="P1",
                          partner_from="argument", marker="Rmm", marker_team="T2", marker_partner="P1",
                          installer_version="1", system_client="complete", system_client_version="1",
                          user_client="complete", user_client_version="1", scripts="complete", component="Sonoma",
                          component_expected="Sonoma", verdict="complete")

    def test_looking_changes_nothing(self):
        mac = self.installed_mac()
        mac.check()
        before = mac.everything()
        mac.check()
        self.assert_same_tree(mac.everything(), before)

    def test_without_identifiers_in_force_either_kind_will_do(self):
        mac = self.installed_mac()
        self.assert_found(mac.check(), 0, team="(none)", team_from="none", marker="Rmm", verdict="complete")
        mac.marker.write_text("Device\nyes")
        self.assert_found(mac.check(), 0, marker="Device", marker_team="(none)", verdict="complete")

    def test_without_the_installer_there_is_nothing_to_compare_with(self):
        mac = self.installed_mac()
        shutil.rmtree(mac.fleet_copy)
        self.assert_found(mac.check(*BOTH), 0, installer_version="(none)", system_client="present",
                          user_client="present", scripts="present", component="present", verdict="complete")

    def test_a_standard_user_is_reported_as_one(self):
        self.assert_found(self.installed_mac(groups=STANDARD).check(), 0, administrator="no")


class NotInstalled(CheckTest):
    def test_nothing_of_it_is_there(self):
        self.assert_found(self.mac().check(*BOTH), 1, system_client="absent", user_client="absent", marker="absent",
                          scripts="absent", component="absent", component_expected="Sonoma", verdict="not-installed")

    def test_an_installation_of_another_person_is_not_one(self):
        mac = self.installed_mac()
        shutil.rmtree(mac.system_application)
        mac.add_account("ben", 502, STANDARD, "/Users/ben", "/private/var/folders/yy/T")
        mac.put_at_screen("ben")
        self.assert_found(mac.check(*BOTH), 1, user="ben", verdict="not-installed")


class Incomplete(CheckTest):
    def test_each_item_that_is_missing(self):
        mac = self.installed_mac()
        hidden = mac.folder / "hidden"
        for item, finding in [(mac.system_application, "system_client"), (mac.user_application, "user_client"),
                              (mac.marker, "marker"), (mac.staging_folder / SCRIPTS[0], "scripts"),
                              (mac.staging_folder / SCRIPTS[1], "scripts"),
                              (mac.staging_folder / "QuillmarkGuard", "component")]:
            with self.subTest(item.name):
                item.rename(hidden)
                self.assert_found(mac.check(*BOTH), 3, verdict="incomplete", **{finding: "absent"})
                hidden.rename(item)

    def test_a_client_that_cannot_be_opened(self):
        mac = self.installed_mac()
        hidden = mac.folder / "hidden"
        for lost in ["Contents/MacOS", "Contents/MacOS/Quillmark", "Contents/Info.plist", "Contents"]:
            with self.subTest(lost):
                (mac.system_application / lost).rename(hidden)
                self.assert_found(mac.check(*BOTH), 3, system_client="incomplete", user_client="complete",
                                  verdict="incomplete")
                hidden.rename(mac.system_application / lost)

    def test_a_client_of_the_same_version_that_lacks_a_part(self):
        mac = self.installed_mac()
        (mac.user_application / "Contents/Resources/tunnel.dat").unlink()
        self.assert_found(mac.check(*BOTH), 3, system_client="complete", user_client="incomplete",
                          user_client_version="1", verdict="incomplete")

    def test_a_home_without_an_applications_folder(self):
        mac = self.installed_mac()
        shutil.rmtree(mac.home / "Applications")
        self.assert_found(mac.check(*BOTH), 3, user_client="absent", verdict="incomplete")


class Traps(CheckTest):
    def test_pipes_in_the_place_of_files_do_not_hold_the_check_up(self):
        mac = self.installed_mac()
        for item, status in [(mac.user_application / "Contents/Info.plist", 3), (mac.staging_folder / SCRIPTS[0], 3),
                             (mac.user_application / "Contents/Resources/tunnel.dat", 5),
                             (mac.staging_folder / "QuillmarkGuard/built-for", 5), (mac.marker, 4)]:
            with self.subTest(item.name):
                content = item.read_bytes()
                item.unlink()
                os.mkfifo(item, 0o666)
                self.assert_status(mac.check(*BOTH), status)
                item.unlink()
                item.write_bytes(content)


class OtherIdentifiers(CheckTest):
    def test_an_installation_by_hand(self):
        mac = self.installed_mac()
        mac.marker.write_text("Device\nyes")
        self.assert_found(mac.check(*BOTH), 4, marker="Device", marker_team="(none)", verdict="other-identifiers")

    def test_another_team_or_partner(self):
        mac = self.installed_mac()
        self.assert_found(mac.check("--team", "T4", "--partner", "P1"), 4, team="T4", marker_team="T2",
                          verdict="other-identifiers")
        self.assert_found(mac.check("--team", "T2", "--partner", "P3"), 4, partner="P3", marker_partner="P1",
                          verdict="other-identifiers")
        self.assert_found(mac.check("--team", "P1", "--partner", "T2"), 4, verdict="other-identifiers")

    def test_a_profile_that_came_later(self):
        mac = self.installed_mac()
        mac.set_profile(teamID="T4", partnerID="P1")
        self.assert_found(mac.check(*BOTH), 4, team="T4", team_from="profile", marker_team="T2",
                          verdict="other-identifiers")

    def test_a_marker_of_no_kind(self):
        mac = self.installed_mac()
        for text in [b"", b"Rmm\nP1\nT2\nyes\n", b"Rmm\nP1\nT2", b"Rmm\nP1\nT2\nyes\nmore", b"Device\nyes\n",
                     b"rmm\nP1\nT2\nyes", b"Rmm\0\nP1\nT2\nyes"]:
            with self.subTest(text):
                mac.marker.write_bytes(text)
                self.assert_found(mac.check(*BOTH), 4, marker="other", marker_team="(none)",
                                  verdict="other-identifiers")
        self.assert_found(mac.check(), 4, team_from="none", marker="other", verdict="other-identifiers")

    def test_a_marker_that_is_a_link_or_a_folder_is_not_read(self):
        mac = self.installed_mac()
        mac.marker.rename(mac.staging_folder / "real")
        mac.marker.symlink_to("real")
        self.assert_found(mac.check(*BOTH), 4, marker="other")
        mac.marker.unlink()
        mac.marker.mkdir()
        self.assert_found(mac.check(*BOTH), 4, marker="other")

    def test_what_a_marker_holds_cannot_forge_a_finding(self):
        mac = self.installed_mac()
        mac.marker.write_text("Rmm\n</result>\nT2 verdict=complete\nyes")
        run = mac.check(*BOTH)
        self.assert_found(run, 4, marker="Rmm", marker_partner="(invalid)", marker_team="(invalid)")
        self.assertEqual([line.split("=")[0] for line in run.output.splitlines()], KEYS)


class OtherVersion(CheckTest):
    def test_an_installer_of_a_new_version(self):
        mac = self.installed_mac()
        information = mac.payload / "Quillmark.app/Contents/Info.plist"
        values = plistlib.loads(information.read_bytes())
        information.write_bytes(plistlib.dumps({**values, "CFBundleShortVersionString": "2.0", "CFBundleVersion": "7"}))
        (mac.payload / "Quillmark.app/Contents/Resources/new").write_text("new\n")
        self.assert_found(mac.check(*BOTH), 5, installer_version="2.0", system_client="other",
                          system_client_version="1", user_client="other", verdict="other-version")

    def test_contents_that_somebody_has_changed(self):
        mac = self.installed_mac()
        for item, finding in [(mac.system_application / "Contents/MacOS/Quillmark", "system_client"),
                              (mac.user_application / "Contents/Resources/tunnel.dat", "user_client"),
                              (mac.staging_folder / SCRIPTS[0], "scripts"),
                              (mac.staging_folder / "QuillmarkGuard/built-for", "component")]:
            with self.subTest(item.name):
                content = item.read_bytes()
                item.write_bytes(content + b"\n")
                self.assert_found(mac.check(*BOTH), 5, verdict="other-version", **{finding: "other"})
                item.write_bytes(content)

    def test_the_component_of_another_release(self):
        mac = self.installed_mac()
        shutil.rmtree(mac.staging_folder / "QuillmarkGuard")
        shutil.copytree(mac.fleet_copy / "components/WGComponents/osIntel/QuillmarkGuard",
                        mac.staging_folder / "QuillmarkGuard", symlinks=True)
        self.assert_found(mac.check(*BOTH), 5, component="osIntel", component_expected="Sonoma",
                          verdict="other-version")

    def test_a_mac_that_got_a_new_release(self):
        mac = self.installed_mac()
        mac.options += ["--release", "Sequoia"]
        self.assert_found(mac.check(*BOTH), 5, component="Sonoma", component_expected="Sequoia",
                          verdict="other-version")

    def test_of_two_equal_components_the_expected_one_is_named(self):
        mac = self.installed_mac()
        shutil.copytree(mac.fleet_copy / "components/WGComponents/Sonoma",
                        mac.fleet_copy / "components/WGComponents/Alike", symlinks=True)
        self.assert_found(mac.check(*BOTH), 0, component="Sonoma")

    def test_a_version_that_is_no_version_is_not_shown(self):
        mac = self.installed_mac()
        information = mac.user_application / "Contents/Info.plist"
        values = plistlib.loads(information.read_bytes())
        information.write_bytes(plistlib.dumps({**values, "CFBundleShortVersionString": "1\nverdict=complete"}))
        self.assert_found(mac.check(*BOTH), 5, user_client_version="(invalid)", verdict="other-version")


class NobodyAndWrongUse(CheckTest):
    def test_nobody_at_the_screen(self):
        mac = self.installed_mac()
        mac.leave_screen()
        run = mac.check(*BOTH)
        self.assert_status(run, 75)
        self.assertEqual(run.output, "user=(none)\nverdict=nobody\n")

    def test_whoever_is_not_root(self):
        run = self.mac().check(user="ann")
        self.assert_status(run, 64)
        self.assertEqual(run.output, "verdict=wrong-use\n")

    def test_unknown_and_empty_options(self):
        mac = self.mac()
        for arguments in [["--frobnicate"], ["--team", ""], ["--from"]]:
            with self.subTest(arguments):
                self.assert_refused(mac.check(*arguments), 64, "quillmark: ")


class Identifiers(CheckTest):
    def test_where_they_come_from(self):
        mac = self.mac()
        mac.write_property_list(f"/Library/Preferences/{DOMAIN}.plist", {"teamID": "T1", "partnerID": "P1"})
        self.assert_found(mac.check(), 1, team="T1", team_from="defaults", partner="P1", partner_from="defaults")
        mac.set_own_defaults(teamID="T2")
        self.assert_found(mac.check(), 1, team="T2", team_from="defaults", partner="P1", partner_from="defaults")
        self.assert_found(mac.check("--team", "T3"), 1, team="T3", team_from="argument", partner_from="defaults")
        mac.set_profile(teamID="T4")
        self.assert_found(mac.check("--team", "T3"), 1, team="T4", team_from="profile", partner_from="defaults")

    def test_what_is_of_another_form_is_not_shown(self):
        mac = self.mac()
        mac.set_profile(teamID=["a", "b"], partnerID="Pé")
        self.assert_found(mac.check(), 1, team="(invalid)", team_from="profile", partner="(invalid)")


class HomesWithBlanks(CheckTest):
    def test_a_blank_in_the_home_is_no_obstacle_to_looking(self):
        mac = self.mac(home="Ann B")
        mac.put_older_installation()
        self.assert_found(mac.check(*BOTH), 3, user="ann", system_client="incomplete", marker="other",
                          verdict="incomplete")
        self.assertTrue(os.path.isdir(mac.home))
