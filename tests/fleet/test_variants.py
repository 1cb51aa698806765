"""The check and the other scripts in the forms in which the management tools want them."""

import plistlib
import shutil

from support.fleet import KIT, MANAGED_MARKER, STANDARD, FleetTest

# Makes of a Mac with everything installed one of each verdict, and names the status of check.sh.
SITUATIONS = {
    "complete": (0, lambda mac: None),
    "incomplete": (3, lambda mac: mac.marker.unlink()),
    "other-identifiers": (4, lambda mac: mac.marker.write_text("Rmm\nP3\nT4\nyes")),
    "other-version": (5, lambda mac: (mac.staging_folder / "QuillmarkGuard/built-for").write_text("changed\n")),
    "not-installed": (1, lambda mac: mac.run("remove.sh")),
    "nobody": (75, lambda mac: mac.leave_screen()),
}


class Variants(FleetTest):
    def each_situation(self):
        """A Mac whose identifiers are a profile's, in each situation; with the verdict and the status of check.sh."""
        mac = self.installed_mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        for verdict, (status, change) in SITUATIONS.items():
            if verdict in ("other-identifiers", "other-version"):
                self.assert_status(mac.install(), 0)
            change(mac)
            with self.subTest(verdict):
                run = mac.check()
                self.assertEqual((run.status, run.findings["verdict"]), (status, verdict))
                yield mac, verdict, status

    def test_an_extension_attribute_of_jamf_is_the_verdict_in_a_result(self):
        for mac, verdict, _ in self.each_situation():
            run = mac.run("jamf/extension-attribute.sh")
            self.assertEqual((run.status, run.output, run.errors), (0, f"<result>{verdict}</result>\n", ""))

    def test_munki_hears_0_when_an_installation_is_needed(self):
        for mac, _, status in self.each_situation():
            self.assertEqual(mac.run("munki/installcheck.sh").status, 0 if status in (1, 3, 4, 5) else 1)

    def test_a_custom_attribute_of_intune_is_one_line_that_begins_with_the_verdict(self):
        for mac, verdict, _ in self.each_situation():
            run = mac.run("intune/custom-attribute.sh")
            self.assertEqual((run.status, run.errors), (0, ""))
            *findings, last = mac.check().output.splitlines()
            self.assertEqual(last, f"verdict={verdict}")
            self.assertEqual(run.output, "; ".join([verdict, *findings]) + "\n")

    def test_kandji_hears_1_when_an_installation_is_needed(self):
        for mac, _, status in self.each_situation():
            self.assertEqual(mac.run("kandji/audit.sh").status, 1 if status in (1, 3, 4, 5) else 0)

    def test_whoever_is_not_root_learns_nothing(self):
        mac = self.mac()
        self.assertEqual(mac.run("jamf/extension-attribute.sh", user="ann").output, "<result>wrong-use</result>\n")
        self.assertEqual(mac.run("munki/installcheck.sh", user="ann").status, 1)
        self.assertEqual(mac.run("kandji/audit.sh", user="ann").status, 1)
        self.assertEqual(mac.run("intune/custom-attribute.sh", user="ann").output, "wrong-use\n")


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
