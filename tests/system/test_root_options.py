"""Installations in Mac-shaped roots that differ in what decides how an installation ends."""

import shutil

from support.case import COMPONENT, INTERACTIVE_MARKER, MARKER, SystemTest, installation_lines
from support.installer import CRITICAL, INFORMATIONAL, TICK_LINES
from support.interface import CONTROLS, INSTALL_BUTTON, TERMS_CONTROLS
from support.mac import component, resource
from support.payload import SCRIPTS
from support.tree import tree
from support.waiting import until

RELOCATED_FOLDER = "/private/var/folders/xx/T/AppTranslocation/6C9B1C1E-52B5-4F0A-9C39-0D7E5B1F8A24/d"


class OptionsTest(SystemTest):
    def install(self, mac):
        installer = self.open(mac).install()
        self.assertEqual(self.alerts_ever_shown(), [])
        return installer

    def assert_ends_for_want_of_components(self, mac):
        """The one alert of the whole run is that which says so; no file is touched."""
        installer = self.open(mac)
        before = mac.everything()
        installer.tick()
        installer.click(INSTALL_BUTTON)
        installer.wait_for_alert(CRITICAL)
        self.assertTrue(installer.is_running())
        installer.dismiss_alert(CRITICAL)
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(len(self.alerts_ever_shown()), 1)
        self.assertEqual(installer.console(), TICK_LINES)
        self.assert_same_tree(mac.everything(), before)


class Components(OptionsTest):
    def test_without_a_components_folder_the_alert_is_shown_and_the_application_ends_before_any_file_is_touched(self):
        mac = self.mac("--components", "missing")
        mac.put_older_installation()
        self.assert_ends_for_want_of_components(mac)

    def test_a_file_named_components_beside_the_installer_passes_the_check(self):
        mac = self.mac("--components", "file")
        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma")])
        self.assert_applications(mac)
        self.assert_staged(mac, None)


class Relocation(OptionsTest):
    def test_a_relocated_installer_takes_the_component_from_beside_its_original_and_shows_no_alert_at_all(self):
        mac = self.mac("--relocated")
        self.assertIn(RELOCATED_FOLDER, mac.places["installer"])
        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma")])
        self.assert_installed(mac)

    def test_a_relocated_installer_that_finds_no_components_shows_only_the_error_alert(self):
        for options in [["--relocated", "--components", "missing"], ["--relocated-without-original"],
                        ["--relocated", "--relocation-query-fails"],
                        # Where the running copy alone is looked beside; the number is rounded down before it is compared.
                        ["--relocated", "--appkit-version", "1404.47"], ["--relocated", "--appkit-version", "1187.0"]]:
            with self.subTest(options):
                self.assert_ends_for_want_of_components(self.mac(*options))


class Release(OptionsTest):
    def assert_component(self, mac, folder, source):
        """The console names the source, and the component of the folder is staged, or none if that is None."""
        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines(source)])
        self.assert_applications(mac)
        self.assert_staged(mac, folder)

    def test_any_processor_answer_other_than_x86_64_takes_os_m1(self):
        for processor in ["i386", "X86_64", "", b"x86_64\xff"]:
            with self.subTest(processor):
                self.assert_component(self.mac("--release", "Big Sur", "--processor", processor), "osM1", "osM1")

    def test_a_release_without_a_folder_gets_no_component_and_that_of_an_earlier_run_leaves_the_temporary_folder(self):
        mac = self.mac("--release", "Tahoe")
        shutil.copytree(component("Ventura"), mac.temporary / COMPONENT, symlinks=True)
        self.assert_component(mac, None, "Tahoe")
        self.assertFalse((mac.temporary / COMPONENT).exists())

    def test_names_that_only_resemble_big_sur_are_taken_as_they_stand_and_one_that_is_not_utf8_is_no_name(self):
        for release, source in [("big sur", "big sur"), ("Big Sur ", "Big Sur "), ("Big Sur\r", "Big Sur\r"),
                                (b"Big Sur\xff", "(null)")]:
            with self.subTest(release):
                self.assert_component(self.mac("--release", release), None, source)

    def test_a_repeated_heading_keeps_its_line_break_and_matches_no_release(self):
        mac = self.mac("--release", "Big Sur", "--release", "Big Sur")
        installer = self.install(mac)
        first, second = "\n".join(installation_lines("Big Sur\nBig Sur")).split("\n")[2:4]
        lines = installer.error_output.lines
        self.assertEqual(lines[lines.index(second) - 1][-len(first):], first)
        self.assert_applications(mac)
        self.assert_staged(mac, None)

    def test_a_missing_licence_text_ends_the_installation_where_it_is_read_and_the_window_stays_as_it_was(self):
        mac = self.mac("--no-licence")
        installer = self.open(mac)
        before = installer.picture()
        installer.tick()
        for times in [1, 2]:
            installer.click(INSTALL_BUTTON)
            installer.wait_for_console("-" * 28, times)
            # An alert comes only once the click has been dealt with.
            self.desktop.press("alt+q")
            installer.cancel_alert(INFORMATIONAL)
        self.assertEqual(installer.console(), [*TICK_LINES, *["Directory Created", "-" * 28] * 2])
        self.assertTrue(installer.is_running())
        self.assertFalse(installer.offers_to_launch())
        for control in TERMS_CONTROLS[1:]:
            until(lambda control=control: installer.look_at(control) == before.crop(CONTROLS[control]), control)
        self.assert_applications(mac)
        self.assert_staged(mac, None)
        self.assertFalse((mac.temporary / COMPONENT).exists())


class Places(OptionsTest):
    def test_a_user_without_an_applications_folder_gets_only_the_system_copy_and_no_folder_is_made(self):
        mac = self.mac("--no-user-applications")
        self.install(mac)
        self.assert_same_tree(tree(mac.system_application), tree(resource("Quillmark.app")))
        self.assertFalse((mac.home / "Applications").exists())
        self.assert_staged(mac)

    def test_a_plain_file_at_the_staging_folders_path_is_replaced_by_a_folder(self):
        mac = self.mac()
        mac.staging_folder.write_text("a file\n")
        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma")])
        self.assert_installed(mac)

    def test_a_staging_folder_that_cannot_be_removed_is_kept_with_a_new_marker_old_scripts_and_a_merged_component(self):
        mac = self.mac()
        staging = mac.staging_folder
        (staging / COMPONENT / "bin").mkdir(parents=True)
        for name in [MARKER, *SCRIPTS, f"{COMPONENT}/built-for", f"{COMPONENT}/notes", "notes"]:
            (staging / name).write_text("old\n")
        # Nothing can be removed from either folder; what is in them can be written to, and "bin" can be added to.
        for folder in [staging / COMPONENT, staging]:
            folder.chmod(0o555)
        before = tree(staging)

        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma")[1:]])
        expected = dict(before)
        expected[MARKER] = expected[MARKER]._replace(content=INTERACTIVE_MARKER)
        new = tree(component("Sonoma"))
        expected[f"{COMPONENT}/built-for"] = new["built-for"]
        expected[f"{COMPONENT}/bin/wireguard"] = new["bin/wireguard"]
        self.assert_same_tree(tree(staging), expected)
        self.assert_applications(mac)

    def test_a_staging_folder_that_cannot_be_created_is_said_to_be_so_and_the_applications_are_installed_all_the_same(
            self):
        mac = self.mac()
        mac.home.chmod(0o555)
        installer = self.install(mac)
        self.assertEqual(installer.console(),
                         [*TICK_LINES, "Directory Creation Failed", *installation_lines("Sonoma")[1:]])
        self.assertFalse(mac.staging_folder.exists())
        self.assert_applications(mac)

    def test_applications_folders_that_cannot_be_written_to_keep_the_old_application_without_a_word(self):
        mac = self.mac()
        mac.put_older_installation()
        folders = [mac.at("/Applications"), mac.home / "Applications"]
        for folder in folders:
            for path in [folder / "Quillmark.app/Contents", folder / "Quillmark.app", folder]:
                path.chmod(0o555)
        before = [tree(folder) for folder in folders]
        installer = self.install(mac)
        self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma")])
        for folder, expected in zip(folders, before):
            self.assert_same_tree(tree(folder), expected)
        self.assert_staged(mac)

    def test_a_full_volume_of_applications_does_not_keep_the_user_copy_from_being_made_and_launched(self):
        mac = self.mac(faults=["--full", "/Applications"])
        installer = self.install(mac)
        self.assert_same_tree(tree(mac.user_application), tree(resource("Quillmark.app")))
        self.assert_staged(mac)
        installer.click(INSTALL_BUTTON)
        self.assertEqual(installer.wait_for_end(), 0)
        until(lambda: mac.launched_clients, "the client's launch")
        self.assertEqual(mac.launched_clients, ["/Users/ann/Applications/Quillmark.app/Contents/MacOS/Quillmark"])

    def test_a_home_folder_with_a_blank_or_a_metacharacter_silently_loses_the_component_only(self):
        for home in ["ann lee", "ann&lee", "ann;lee", "$ann"]:
            with self.subTest(home):
                mac = self.mac(home=home)
                installer = self.install(mac)
                components = f"/Users/{home}/Downloads/Quillmark Installer/components"
                self.assertEqual(installer.console(), [*TICK_LINES, *installation_lines("Sonoma", components)])
                self.assert_applications(mac)
                self.assert_staged(mac, None)
                self.assert_same_tree(tree(mac.temporary / COMPONENT), tree(component("Sonoma")))

