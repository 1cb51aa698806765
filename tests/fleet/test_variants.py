"""The check and the other scripts in the forms in which the management tools want them."""

import plistlib
import shutil

from support.case import MANAGED_MARKER
from support.fleet import KIT, STANDARD, FleetTest


class Variants(FleetTest):
    """Each tool hears in its own way what check.sh finds."""

    def test_a_complete_installation(self):
        self.assert_heard(self.managed_mac(), "complete", 0, needed=False)

    def test_none(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        self.assert_heard(mac, "not-installed", 1, needed=True)

    def test_an_incomplete_one(self):
        mac = self.managed_mac()
        mac.marker.unlink()
        self.assert_heard(mac, "incomplete", 3, needed=True)

    def test_one_with_other_identifiers(self):
        mac = self.managed_mac()
        mac.marker.write_text("Rmm\nP3\nT4\nyes")
        self.assert_heard(mac, "other-identifiers", 4, needed=True)

    def test_one_of_another_version(self):
        mac = self.managed_mac()
        (mac.staging_folder / "QuillmarkGuard/built-for").write_text("changed\n")
        self.assert_heard(mac, "other-version", 5, needed=True)

    def test_nobody_at_the_screen(self):
        mac = self.managed_mac()
        mac.leave_screen()
        self.assert_heard(mac, "nobody", 75, needed=False)

    def test_somebody_who_is_not_root(self):
        self.assert_heard(self.mac(), "wrong-use", 64, needed=None, user="ann")

    def managed_mac(self):
        mac = self.installed_mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        return mac

    def assert_heard(self, mac, verdict, status, needed, **options):
        run = mac.check(**options)
        *findings, last = run.output.splitlines()
        self.assertEqual((run.status, last), (status, f"verdict={verdict}"))

        jamf = mac.run("jamf/extension-attribute.sh", **options)
        self.assertEqual((jamf.status, jamf.output), (0, f"<result>{verdict}</result>\n"))
        intune = mac.run("intune/custom-attribute.sh", **options)
        self.assertEqual((intune.status, intune.output), (0, "; ".join([verdict, *findings]) + "\n"))
        # Munki's 0 and Kandji's 1 call for an installation. What was wrongly used Munki is not to repeat, nor Kandji to
        # pass.
        self.assertEqual(mac.run("munki/installcheck.sh", **options).status, 0 if needed else 1)
        self.assertEqual(mac.run("kandji/audit.sh", **options).status, 0 if needed is False else 1)


class Jamf(FleetTest):
    def test_parameters_4_and_5_are_team_and_partner(self):
        mac = self.mac()
        run = mac.run("jamf/install.sh", "/", "Ann's Mac", "ann", "T2", "P1", display=True)
        self.assert_status(run, 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_empty_parameters_leave_both_to_the_profile(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        run = mac.run("jamf/install.sh", "/", "Ann's Mac", "ann", "", "", "", "", "", "", "", "", display=True)
        self.assert_status(run, 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_without_either_it_is_refused(self):
        run = self.mac().run("jamf/install.sh", "/", "Ann's Mac", "ann")
        self.assert_refused(run, 64, "the team's identifier is neither given nor set by a profile")

    def test_a_parameter_of_another_form_is_refused(self):
        run = self.mac().run("jamf/install.sh", "/", "Ann's Mac", "ann", "T2", "Pé")
        self.assert_refused(run, 64, "the partner's identifier 'Pé' is not of the form")


class Munki(FleetTest):
    """The scripts are run as they stand in the pkginfo."""

    def run_script(self, mac, key, **options):
        script = mac.folder / f"{key}.sh"
        script.write_text(plistlib.loads((KIT / "munki/Quillmark.pkginfo").read_bytes())[key])
        return mac.run(script, **options)

    def test_an_item_goes_its_way_from_installation_to_removal(self):
        mac = self.mac(groups=STANDARD)
        mac.set_profile(teamID="T2", partnerID="P1")
        self.assert_status(self.run_script(mac, "installcheck_script"), 0)
        self.assert_status(self.run_script(mac, "uninstallcheck_script"), 1)
        self.assert_status(self.run_script(mac, "postinstall_script", display=True), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assert_status(self.run_script(mac, "installcheck_script"), 1)
        self.assert_status(self.run_script(mac, "uninstallcheck_script"), 0)
        run = self.run_script(mac, "uninstall_script")
        self.assert_status(run, 0)
        self.assertIn("removed=/Library/Application Support/Quillmark Installer\n", run.output)
        self.assertFalse(mac.fleet_copy.exists())
        self.assertFalse(mac.staging_folder.exists())
        self.assert_status(self.run_script(mac, "uninstallcheck_script"), 1)

    def test_what_is_left_of_anybodys_installation_is_worth_a_removal(self):
        for left in ["/Applications/Quillmark.app", "/Users/ben/Applications/Quillmark.app",
                     "/Users/ben/Quillmark_Components"]:
            with self.subTest(left):
                mac = self.mac()
                mac.leave_screen()
                mac.add_account("ben", 502, STANDARD, "/Users/ben", "/private/var/folders/yy/T")
                mac.at(left).mkdir(parents=True)
                self.assert_status(self.run_script(mac, "uninstallcheck_script"), 0)

    def test_what_munki_copies_is_what_the_scripts_look_for(self):
        """Copies as Munki copies from the disk image, which holds what lies in the distribution."""
        mac = self.mac()
        shutil.rmtree(mac.fleet_copy)
        for item in plistlib.loads((KIT / "munki/Quillmark.pkginfo").read_bytes())["items_to_copy"]:
            folder = mac.at(item["destination_path"])
            source = mac.downloads / item["source_item"]
            shutil.copytree(source, folder / source.name, symlinks=True)
        mac.set_profile(teamID="T2", partnerID="P1")
        self.assert_status(self.run_script(mac, "postinstall_script", display=True), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assertEqual([path.name for path in (mac.fleet_copy / "components").iterdir()], ["WGComponents"])
