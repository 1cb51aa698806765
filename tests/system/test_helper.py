#!/usr/bin/env python3
"""The Helper menu, on a Mac without a helper tool.

usage: test_helper.py [Class[.test]]
"""

import unittest

from support.case import SystemTest
from support.installer import BLACK, CRITICAL
from support.interface import ACTIVITY_LOG, INSTALL_BUTTON
from support.waiting import until

REFUSAL = "The operation couldn't be completed. (CFErrorDomainLaunchd error 4.)"
UNDELIVERED = "error NSCocoaErrorDomain / 4099\nconnection invalidated\n"


class Blessing(SystemTest):
    def test_a_refused_blessing_tells_the_console_and_the_log_then_shows_the_alert_and_then_ends_the_installer(self):
        installer = self.open(self.mac())
        installer.choose("Helper", "Install Helper")
        alert = installer.wait_for_alert(CRITICAL)
        self.assertEqual(installer.console(), [REFUSAL])
        self.desktop.move_window(alert, 0, 40)
        until(lambda: count_text_lines(installer.look_at(ACTIVITY_LOG)) == 1, "the error in the log")
        self.assertTrue(installer.is_running())
        installer.dismiss_alert(CRITICAL)
        self.assertEqual(installer.wait_for_end(), 0)
        self.assertEqual(installer.console(), [REFUSAL])
        self.assertEqual(len(self.alerts_ever_shown()), 1)

    def test_a_refused_blessing_writes_no_file(self):
        mac = self.mac()
        installer = self.open(mac)
        before = mac.everything()
        installer.choose("Helper", "Install Helper")
        installer.dismiss_alert(CRITICAL)
        installer.wait_for_end()
        self.assert_same_tree(mac.everything(), before)


class CommandChannel(SystemTest):
    def test_a_version_request_writes_the_error_then_the_end_of_the_connection_and_the_installer_keeps_running(self):
        installer = self.open(self.mac())
        installer.choose("Helper", "Helper Version")
        self.wait_for_log(installer, 2)
        self.assertEqual(installer.read_activity_log(), UNDELIVERED)
        self.assert_running_undisturbed(installer)

    def test_a_bind_request_writes_the_error_and_no_line_about_handles(self):
        installer = self.open(self.mac())
        installer.choose("Helper", "Bind Low Port")
        self.wait_for_log(installer, 2)
        self.assertEqual(installer.read_activity_log(), UNDELIVERED)
        self.assert_running_undisturbed(installer)

    def test_the_command_after_an_invalidated_connection_opens_a_new_one_and_says_nothing_about_the_old_one(self):
        installer = self.open(self.mac())
        for lines, command in [(2, "Helper Version"), (4, "Bind Low Port"), (6, "Helper Version")]:
            installer.choose("Helper", command)
            self.wait_for_log(installer, lines)
        self.assertEqual(installer.read_activity_log(), UNDELIVERED * 3)

    def test_an_installation_after_a_failed_request_ends_as_ever_and_keeps_the_log(self):
        mac = self.mac()
        installer = self.open(mac)
        installer.choose("Helper", "Helper Version")
        self.wait_for_log(installer, 2)
        installer.install()
        self.assertEqual(installer.read_activity_log(), UNDELIVERED)
        self.assertEqual(mac.marker.read_bytes(), b"Device\nyes")

    def wait_for_log(self, installer, lines):
        until(lambda: count_text_lines(installer.look_at(ACTIVITY_LOG)) == lines, f"{lines} lines in the log")

    def assert_running_undisturbed(self, installer):
        self.assertTrue(installer.is_running())
        self.assertEqual(installer.console(), [])
        self.assertEqual(self.alerts_ever_shown(), [])
        installer.click(INSTALL_BUTTON)
        installer.dismiss_alert()


def count_text_lines(log):
    """How many lines of text there are in the picture of the log, whose own edge is left out."""
    inside = log.crop(log.area().smaller_by(4))
    written = {y for _, y in inside.near(BLACK, tolerance=100)}
    return sum(y - 1 not in written and y in written for y in range(inside.height))


if __name__ == "__main__":
    unittest.main()
