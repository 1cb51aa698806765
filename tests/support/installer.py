"""A running installer and the person in front of it."""

import re
import subprocess

from support import interface
from support.desktop import WIDTH
from support.interface import ACTIVITY_LOG, CONTROLS, INSTALL_BUTTON, MENUS, TERMS_CONTROLS
from support.picture import Area
from support.waiting import DEADLINE_SECONDS, Lines, until, within

CONSOLE_LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} Quillmark Installer\[\d+:\d+\] (.*)")
# What GNUstep says of itself: of its windows, and where one of its daemons is slow or ends (see its NSMessagePort.m,
# NSMessagePortNameServer.m and NSConnection.m).
NOISE = re.compile("|".join([
    r"Bogus attempt to resign key window", r"File NS\w+\.m: \d+\. In ",
    r"Unable to contact pasteboard server", r"unable to make connection to .*/NSMessagePort/",
    r"(connect |write |connect write )attempt failed - ", r"No handle for event \w+ on descriptor ",
    r"Failed to (break lock on|lock) names for NSMessagePortNameServer", r"Port operation timed out - "]))

# How GNUstep titles an alert of each style.
WARNING = "Alert"
CRITICAL = "Critical"
INFORMATIONAL = "Information"

BLACK = (0, 0, 0)
HIGHLIGHT = (56, 117, 215)

# AppKit's, which GNUstep shows as a window of its own.
MENU_BAR = Area(0, 0, WIDTH, 22)

TICK_LINES = ["state 1", "TCCheckBoxOutlet state 1"]
UNTICK_LINES = ["state 0", "TCCheckBoxOutlet state 0"]

# GNUstep waits for as long for its pasteboard server to start and then to answer, and gives the copy up.
LONGEST_COPY_SECONDS = 5 + 2


class Installer:
    def __init__(self, mac, desktop, arguments=()):
        self.mac = mac
        self.desktop = desktop
        self.menu_titles = None
        self.session = mac.start(desktop.name, arguments)
        self.error_output = Lines(self.session.stderr)
        self.exit_status = Lines(self.session.stdout)

    def close(self):
        """Ends the session with all that runs in it."""
        self.session.stdin.close()
        try:
            self.session.wait(0 if not self.exit_status.lines else DEADLINE_SECONDS)
        except subprocess.TimeoutExpired:
            self.session.terminate()
            self.session.wait(DEADLINE_SECONDS)
        self.error_output.close()
        self.exit_status.close()

    # What it says and when it ends

    def console(self):
        return console_lines(self.error_output.lines)

    def wait_for_console(self, line, times=1):
        self.error_output.until(lambda lines: console_lines(lines).count(line) >= times, f"the console line {line!r}")

    def wait_for_end(self):
        """Waits until the installer has ended; answers with its exit status."""
        return int(self.exit_status.until(lambda lines: lines, "the installer's end")[0])

    def is_running(self):
        return not self.exit_status.lines and not self.exit_status.ended

    # Windows

    def wait_for_window(self):
        """Waits until the main window is there, painted and has the keyboard."""

        def is_main_window(window):
            return window.title == interface.TITLE and window.area[2:] == interface.WINDOW_SIZE

        self.window = self.desktop.wait_for_window("the installer's window", is_main_window)
        until(self.is_painted, "the title of the install button")
        self.desktop.wait_for_focus(self.window)
        self.spend_first_click()
        self.desktop.picture_at_rest()
        return self

    def spend_first_click(self):
        """Clicks where there is nothing to click.

        At the first press of all GNUstep asks a daemon of its own something and takes the mouse's later events, such as
        the release, before the press.
        """
        self.desktop.click(self.window.area.x, self.window.area.y)

    def wait_for_alert(self, title=WARNING):
        alert = self.desktop.wait_for_window(f"an alert titled {title!r}", lambda window: window.title == title)
        self.desktop.wait_for_focus(alert)
        return alert

    def has_alert(self):
        return any(window.title in (WARNING, CRITICAL, INFORMATIONAL) for window in self.desktop.windows())

    def dismiss_alert(self, title=WARNING, key="Return"):
        """Presses the alert's default button, or that of another key."""
        alert = self.wait_for_alert(title)
        self.desktop.press(key)
        self.desktop.wait_for_end_of(alert)

    def cancel_alert(self, title):
        self.dismiss_alert(title, "Escape")

    # Mouse

    def click(self, control):
        self.desktop.click(*CONTROLS[control].moved(self.window.area.x, self.window.area.y).centre())

    def tick(self, line=TICK_LINES[-1]):
        seen = self.console().count(line)
        self.click(interface.CHECKBOX)
        self.wait_for_console(line, seen + 1)

    def untick(self):
        self.tick(UNTICK_LINES[-1])

    def install(self):
        """Ticks the box, clicks the install button and waits for the window's installed state."""
        self.tick()
        self.click(INSTALL_BUTTON)
        self.wait_until_installed()
        return self

    def wait_until_installed(self):
        until(self.offers_to_launch, "the coloured title of the button")
        until(self.terms_are_gone, "the end of the terms controls")
        self.desktop.picture_at_rest()

    def choose(self, menu, item):
        """Pulls a menu down and lets the mouse go over one of its items."""
        titles, items = list(MENUS), MENUS[menu]
        if self.menu_titles is None:
            self.menu_titles = until(self.areas_of_menu_titles, "the titles in the menu bar")
        self.desktop.hold(*self.menu_titles[titles.index(menu)].centre())
        pulled_down = until(lambda: self.desktop.areas_of_visible("Window"), f"the menu {menu}")[0]
        line = pulled_down.height // len(items)
        place = Area(pulled_down.x, pulled_down.y + items.index(item) * line, pulled_down.width, line)
        self.desktop.move_to(*place.centre())
        until(lambda: self.is_highlighted(place), f"the mark on the item {item}")
        self.desktop.let_go()
        # GNUstep closes a menu only once the item's action has returned.
        until(lambda: self.has_alert() or not self.desktop.areas_of_visible("Window"), f"the end of the menu {menu}")

    def is_highlighted(self, place):
        picture = self.desktop.picture().crop(place)
        return len(picture.near(HIGHLIGHT)) > picture.width * picture.height / 2

    def areas_of_menu_titles(self):
        """Of all gaps in the menu bar's text, those between the titles are the widest. [] before the bar is painted."""
        bar = MENU_BAR.smaller_by(2)
        columns = sorted({x for x, _ in self.desktop.picture().crop(bar).near(BLACK, tolerance=100)})
        if len(columns) > bar.width / 2:
            return []
        gaps = sorted(zip(columns, columns[1:]), key=lambda gap: gap[1] - gap[0])[1 - len(MENUS):]
        ends = sorted(left for left, _ in gaps) + columns[-1:]
        starts = columns[:1] + sorted(right for _, right in gaps)
        return [Area(bar.x + start, bar.y, end - start, bar.height) for start, end in zip(starts, ends)]

    def read_activity_log(self):
        """Copies the activity log by keyboard; answers with what is then on the clipboard.

        Once only, since a second copy might find the first text still there; and after any look at the console, where
        GNUstep may then complain of its pasteboard server.
        """
        self.click(ACTIVITY_LOG)
        self.desktop.press("alt+a")
        return until(self.copy, "a text on the clipboard")

    def copy(self):
        """What is then on the clipboard, or None where GNUstep's pasteboard server was too slow for the copy."""
        self.desktop.press("alt+c")
        return within(LONGEST_COPY_SECONDS, self.desktop.clipboard)

    # Screen

    def picture(self):
        """The content of the main window."""
        return self.desktop.picture().crop(self.window.area)

    def look_at(self, control):
        return self.picture().crop(CONTROLS[control])

    def is_painted(self):
        """The button has a title, in black or in a colour. Before it is painted, a window is all black."""
        title = self.picture().crop(CONTROLS[INSTALL_BUTTON].smaller_by(6))
        return 0 < len(title.near(BLACK) + title.coloured()) < title.width * title.height / 2

    def offers_to_launch(self):
        return len(self.look_at(INSTALL_BUTTON).coloured()) > 50

    def terms_are_gone(self):
        picture = self.picture()
        return len(set().union(*(picture.crop(CONTROLS[control]).colours() for control in TERMS_CONTROLS))) == 1


def console_lines(lines):
    matches = (CONSOLE_LINE.fullmatch(line) for line in lines)
    return [match[1] for match in matches if match and not NOISE.match(match[1])]
