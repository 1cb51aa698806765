"""What a person does with the installer, by mouse and keyboard, and what comes of it."""

import shutil

from support.case import SystemTest, installation_lines
from support.installer import BLACK, INFORMATIONAL, TICK_LINES, UNTICK_LINES
from support.interface import CHECKBOX, CONTROLS, FINISHED_LABEL, INSTALL_BUTTON, PRIVACY_LINK, TERMS_CONTROLS, TERMS_LINK
from support.mac import component
from support.tree import tree
from support.waiting import until

VENDOR = "https://www.quillmark.com"
INSTALLATION_LINES = installation_lines("Sonoma")


class TermsGate(SystemTest):
    def test_with_the_box_unticked_a_click_or_the_return_key_shows_the_alert_and_says_so_on_the_console_each_time(self):
        mac = self.mac()
        installer = self.open(mac)
        before = installer.picture()
        for times, press in enumerate([lambda: installer.click(INSTALL_BUTTON), lambda: self.desktop.press("Return"),
                                       lambda: installer.click(INSTALL_BUTTON)], 1):
            press()
            installer.wait_for_console("the box is unchecked", times)
            installer.dismiss_alert()
        self.assertEqual(installer.console(), ["the box is unchecked"] * 3)
        self.assertEqual(len(self.alerts_ever_shown()), 3)
        self.assertEqual(tree(mac.staging_folder), {})
        self.assertFalse(mac.system_application.exists())
        until(lambda: installer.picture() == before, "the window as it was")

    def test_ticking_and_unticking_only_writes_console_lines_and_the_button_never_becomes_disabled(self):
        installer = self.open(self.mac())
        button = installer.look_at(INSTALL_BUTTON)
        unticked = installer.picture()
        for _ in range(2):
            installer.tick()
            until(lambda: installer.look_at(CHECKBOX) != unticked.crop(CONTROLS[CHECKBOX]), "the tick")
            self.assertEqual(installer.look_at(INSTALL_BUTTON), button)
            installer.untick()
            until(lambda: installer.picture() == unticked, "the window without the tick")
        self.assertEqual(installer.console(), [*TICK_LINES, *UNTICK_LINES] * 2)
        self.assertEqual(self.alerts_ever_shown(), [])

    def test_a_click_on_the_box_or_on_its_words_ticks_and_unticks(self):
        installer = self.open(self.mac())
        whole = CONTROLS[CHECKBOX].moved(installer.window.area.x, installer.window.area.y)
        for x, lines in [(whole.x + 10, TICK_LINES), (whole.centre()[0], UNTICK_LINES)]:
            installer.desktop.click(x, whole.centre()[1])
            installer.wait_for_console(lines[-1])

    def test_a_box_that_was_unticked_again_holds_the_installation_back(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.tick()
        installer.untick()
        installer.click(INSTALL_BUTTON)
        installer.dismiss_alert()
        self.assertFalse(mac.system_application.exists())

    def test_the_alert_holds_the_window_until_it_is_dismissed(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.click(INSTALL_BUTTON)
        alert = installer.wait_for_alert()
        self.desktop.move_window(alert, 0, 40)
        installer.click(CHECKBOX)
        installer.click(INSTALL_BUTTON)
        installer.dismiss_alert()
        installer.tick()
        self.assertEqual(installer.console(), ["the box is unchecked", *TICK_LINES])


class Installing(SystemTest):
    def test_the_road_from_the_first_click_to_the_launched_client(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.click(INSTALL_BUTTON)
        installer.dismiss_alert()
        installer.tick()
        installer.click(INSTALL_BUTTON)
        installer.wait_until_installed()
        self.assertEqual(installer.console(), ["the box is unchecked", *TICK_LINES, *INSTALLATION_LINES])
        self.assert_installed(mac)

        installer.click(INSTALL_BUTTON)
        self.assertEqual(installer.wait_for_end(), 0)
        until(lambda: mac.launched_clients, "the client's launch")
        self.assertEqual(mac.launched_clients, ["/Applications/Quillmark.app/Contents/MacOS/Quillmark"])
        self.assertEqual(installer.console(), ["the box is unchecked", *TICK_LINES, *INSTALLATION_LINES])

    def test_a_repeated_installation_deletes_the_old_staging_folder_with_what_the_user_added(self):
        mac = self.mac()
        given = tree(mac.downloads)
        self.open(mac).install()
        first = tree(mac.staging_folder)
        self.assert_same_tree(tree(mac.temporary / "QuillmarkGuard"), tree(component("Sonoma")))
        (mac.staging_folder / "my notes").mkdir()
        (mac.staging_folder / "my notes/read me.txt").write_text("mine\n")
        (mac.staging_folder / "QuillmarkGuard/mine").write_text("mine\n")
        (mac.staging_folder / "client.up.tunnelblick.sh").write_text("changed\n")
        (mac.system_application / "Contents/mine").write_text("mine\n")
        (mac.user_application / "Contents/Info.plist").unlink()
        (mac.temporary / "QuillmarkGuard/mine").write_text("mine\n")

        installer = self.open(mac).install()
        self.assertEqual(installer.console(), [*TICK_LINES, *INSTALLATION_LINES])
        self.assert_same_tree(tree(mac.staging_folder), first)
        self.assert_installed(mac)
        self.assert_same_tree(tree(mac.temporary / "QuillmarkGuard"), tree(component("Sonoma")))
        self.assert_same_tree(tree(mac.downloads), given)


class InstalledWindow(SystemTest):
    def test_checkbox_links_and_the_labels_beside_them_are_gone_and_the_rest_of_the_window_stays(self):
        installer = self.open(self.mac())
        before = installer.picture()
        for control in TERMS_CONTROLS:
            self.assertGreater(len(before.crop(CONTROLS[control]).colours()), 1, control)
        installer.install()
        changed = [CONTROLS[control] for control in [*TERMS_CONTROLS, INSTALL_BUTTON, FINISHED_LABEL]]
        until(lambda: installer.picture().without(changed) == before.without(changed), "the rest of the window")

    def test_the_button_reads_launch_quillmark_in_a_colour_centred_and_wider_than_install(self):
        installer = self.open(self.mac())
        # Without the edge, where a dotted line shows which control has the keyboard.
        button = CONTROLS[INSTALL_BUTTON].smaller_by(6)
        title = installer.picture().crop(button).near(BLACK)
        self.assertEqual(installer.look_at(INSTALL_BUTTON).coloured(), [])
        installer.install()
        self.assertEqual(installer.picture().crop(button).near(BLACK), [])
        new_title = installer.picture().crop(button).coloured()
        for pixels in [title, new_title]:
            columns, lines = zip(*pixels)
            self.assertAlmostEqual((min(columns) + max(columns)) / 2, button.width / 2, delta=3)
            self.assertAlmostEqual((min(lines) + max(lines)) / 2, button.height / 2, delta=4)
        self.assertGreater(width_of(new_title), 2 * width_of(title))

    def test_a_click_whose_launch_fails_leaves_the_installer_running_and_a_second_click_tries_again(self):
        mac = self.mac()
        installer = self.open(mac).install()
        before = installer.picture()
        shutil.move(mac.system_application, mac.folder / "client")
        shutil.rmtree(mac.user_application)
        for times in [1, 2]:
            installer.click(INSTALL_BUTTON)
            installer.wait_for_console("Failed to launch Quillmark", times)
        # Without the button, which may be drawn as pressed in either picture.
        button = [CONTROLS[INSTALL_BUTTON]]
        until(lambda: installer.picture().without(button) == before.without(button), "the window as it was")
        until(installer.offers_to_launch, "the coloured title of the button")
        self.assertTrue(installer.is_running())
        self.assertEqual(self.alerts_ever_shown(), [])

        shutil.move(mac.folder / "client", mac.system_application)
        installer.click(INSTALL_BUTTON)
        self.assertEqual(installer.wait_for_end(), 0)
        until(lambda: mac.launched_clients, "the client's launch")


class Links(SystemTest):
    def test_the_links_open_the_vendors_pages_in_the_users_browser(self):
        mac = self.mac()
        installer = self.open(mac)
        before = installer.picture()
        installer.click(TERMS_LINK)
        until(lambda: mac.opened_pages == [f"{VENDOR}/terms-and-conditions"], "the terms page")
        installer.click(PRIVACY_LINK)
        until(lambda: len(mac.opened_pages) == 2, "the privacy page")
        self.assertEqual(mac.opened_pages, [f"{VENDOR}/terms-and-conditions", f"{VENDOR}/privacy-policy-2/"])
        until(lambda: installer.picture() == before, "the window as it was")
        self.assertEqual(installer.console(), [])


class Closing(SystemTest):
    def test_closing_the_window_by_keyboard_ends_without_a_question(self):
        installer = self.open(self.mac())
        self.desktop.press("alt+w")
        self.assert_ended_without_a_question(installer)

    def test_closing_the_window_with_the_box_ticked_ends_without_a_question_and_installs_nothing(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.tick()
        self.desktop.close_window(installer.window)
        self.assert_ended_without_a_question(installer)
        self.assertFalse(mac.system_application.exists())

    def test_closing_the_window_during_an_installation_ends_without_a_question_once_it_is_done(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.tick()
        installer.click(INSTALL_BUTTON)
        self.desktop.close_window(installer.window)
        self.assert_ended_without_a_question(installer)
        self.assertEqual(installer.console(), [*TICK_LINES, *INSTALLATION_LINES])
        self.assert_same_tree(tree(mac.staging_folder / "QuillmarkGuard"), tree(component("Sonoma")))

    def test_closing_the_installed_window_ends_without_a_question_and_launches_nothing(self):
        mac = self.mac()
        installer = self.open(mac).install()
        self.desktop.close_window(installer.window)
        self.assert_ended_without_a_question(installer)
        self.assertEqual(mac.launched_clients, [])

    def assert_ended_without_a_question(self, installer):
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(self.alerts_ever_shown(), [])


class Quitting(SystemTest):
    def test_before_installing_cancel_keeps_the_installer_open_with_its_window_unchanged_and_ok_terminates(self):
        installer = self.open(self.mac())
        before = installer.picture()
        installer.tick()
        # The tick is still there if the box can be unticked at the end.
        box = [CONTROLS[CHECKBOX]]
        for _ in range(2):
            self.desktop.press("alt+q")
            installer.cancel_alert(INFORMATIONAL)
            until(lambda: installer.picture().without(box) == before.without(box), "the window as it was")
        self.assertTrue(installer.is_running())
        installer.untick()
        self.desktop.press("alt+q")
        installer.dismiss_alert(INFORMATIONAL)
        self.assertEqual(installer.wait_for_end(), 0)

    def test_after_installing_it_terminates_without_any_alert(self):
        mac = self.mac()
        installer = self.open(mac).install()
        self.desktop.press("alt+q")
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(self.alerts_ever_shown(), [])
        self.assertEqual(mac.launched_clients, [])


def width_of(pixels):
    columns = [x for x, _ in pixels]
    return max(columns) - min(columns)
