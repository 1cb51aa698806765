"""A virtual display with a window manager, a mouse and a keyboard."""

import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path
from typing import NamedTuple

from support import REPOSITORY
from support.picture import Area, read_window_dump
from support.waiting import DEADLINE_SECONDS, Lines, ending_with_us, output_of, until, within

WITH_DISPLAY = REPOSITORY / "tools/with-display"
WIDTH = 1024
PROGRAMS = ["Xvfb", "openbox", "xdotool", "wmctrl", "xev", "xprop", "xwininfo", "xclip", "setpriv"]

# How long a window may take to get the keyboard by itself.
LONGEST_FOCUS_SECONDS = 5

# The window by which openbox says that it is there; it may still come up while the first program starts.
WINDOW_MANAGERS_OWN = Area(x=-100, y=-100, width=1, height=1)


class Window(NamedTuple):
    identifier: str
    title: str
    area: Area


class Desktop:
    def __init__(self):
        missing = [program for program in PROGRAMS if not shutil.which(program)]
        if missing:
            raise unittest.SkipTest("no virtual display without " + ", ".join(missing))
        self.processes = []
        self.marks = 0
        try:
            self.start()
        except BaseException:
            self.close()
            raise

    def start(self):
        # It ends with its standard input, and so with us.
        self.display = subprocess.Popen([WITH_DISPLAY, "sh", "-c", 'echo "$DISPLAY $QUILLMARK_SCREEN"; exec cat'],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.name, _, self.screen = self.display.stdout.readline().rstrip("\n").partition(" ")
        if not self.name:
            raise unittest.SkipTest("Xvfb cannot open a display here")
        self.environment = {**os.environ, "DISPLAY": self.name}

        recorder = self.run_in_background("xev", "-root", "-event", "substructure", "-event", "property",
                                          stdout=subprocess.PIPE)
        self.events = Lines(recorder.stdout)
        until(lambda: "SubstructureNotify" in self.ask("xwininfo", "-root", "-events"), "the recording of windows")
        self.run_in_background("openbox")
        until(lambda: self.try_to_ask("wmctrl", "-m"), "the window manager")
        self.first_event = len(self.recorded_events())

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
        self.display.communicate()

    def run_in_background(self, *command, stdout=subprocess.DEVNULL):
        process = subprocess.Popen(ending_with_us(*command), env=self.environment, stdin=subprocess.DEVNULL,
                                   stdout=stdout, stderr=subprocess.DEVNULL)
        self.processes.append(process)
        return process

    def ask(self, *command):
        return output_of(*command, env=self.environment)

    def try_to_ask(self, *command):
        """What the command prints, or None if it fails, as it does when a window goes away meanwhile."""
        asked = subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False,
                               timeout=DEADLINE_SECONDS)
        return asked.stdout if asked.returncode == 0 else None

    # Screen

    def picture(self):
        return read_window_dump(Path(self.screen))

    def picture_at_rest(self):
        """The screen once it does not change any more."""
        pictures = [self.picture()]

        def rests():
            # An answer of the X server means that it does not just draw what the first of two pictures shows half done.
            self.ask("xwininfo", "-root")
            pictures.append(self.picture())
            return pictures[-1] == pictures[-2]

        until(rests, "a screen at rest")
        return pictures[-1]

    # Mouse and keyboard

    def move_to(self, x, y):
        self.ask("xdotool", "mousemove", str(x), str(y))

    def click(self, x, y):
        self.ask("xdotool", "mousemove", str(x), str(y), "click", "1")

    def hold(self, x, y):
        """Presses the button of the mouse without letting it go."""
        self.ask("xdotool", "mousemove", str(x), str(y), "mousedown", "1")

    def let_go(self):
        self.ask("xdotool", "mouseup", "1")

    def press(self, key):
        self.ask("xdotool", "key", key)

    def clipboard(self):
        """The text on the clipboard, or None where there is none or its owner has not answered."""
        # Under load GNUstep's pasteboard server misses a request now and then, and xclip would wait for ever.
        return self.try_to_ask("timeout", "2", "xclip", "-out", "-selection", "clipboard")

    # Windows

    def windows(self):
        """The windows that a person sees now, without the screen's own and the window manager's."""
        managed = re.findall("0x[0-9a-f]+", self.ask("xprop", "-root", "-notype", "_NET_CLIENT_LIST"))
        return list(filter(None, map(self.look_at, managed)))

    def areas_of_visible(self, title):
        """Where the visible windows with that title lie, also those that the window manager does not list, such as menus."""
        found = self.try_to_ask("xdotool", "search", "--onlyvisible", "--name", f"^{title}$") or ""
        return [window.area for window in map(self.look_at, found.split()) if window]

    def look_at(self, identifier):
        """The window, or None if it has gone meanwhile."""
        told = self.try_to_ask("xwininfo", "-id", identifier)
        if told is None:
            return None
        title = re.search(r'Window id: \S+ (?:"(.*)"|\()', told)[1]
        labels = ["Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"]
        return Window(identifier, title, Area(*(int(re.search(rf"{label}: +(-?\d+)", told)[1]) for label in labels)))

    def frame_of(self, window):
        """Where the window lies with its title bar and its edges."""
        extents = self.ask("xprop", "-id", window.identifier, "-notype", "_NET_FRAME_EXTENTS").partition("=")[2]
        left, right, top, bottom = map(int, extents.split(","))
        area = window.area
        return Area(area.x - left, area.y - top, area.width + left + right, area.height + top + bottom)

    def wait_for_windows(self, condition, what):
        """Waits until the condition holds for the list of windows; answers with what the condition answered."""

        def look_again():
            seen = len(self.events.lines)
            answer = condition(self.windows())
            if not answer:
                # A title may come without an event of its own, so this cannot wait for one alone.
                within(0.1, lambda: len(self.events.lines) > seen)
            return answer

        return until(look_again, what)

    def wait_for_window(self, description, is_it):
        return self.wait_for_windows(lambda windows: next(filter(is_it, windows), None), description)

    def wait_for_end_of(self, window):
        self.wait_for_windows(lambda windows: all(window.identifier != other.identifier for other in windows),
                              f"the end of {window}")

    def wait_for_focus(self, window):
        """Waits until the window has the keyboard.

        Where that does not come by itself the window is activated: GNUstep's late answer to an earlier click may have
        given the keyboard back to the window that was clicked.
        """

        def has_focus():
            focused = within(LONGEST_FOCUS_SECONDS, lambda: self.focused() == int(window.identifier, 16))
            if not focused:
                self.try_to_ask("wmctrl", "-ia", window.identifier)
            return focused

        until(has_focus, f"the keyboard's focus on {window}")

    def focused(self):
        return int(self.try_to_ask("xdotool", "getactivewindow") or 0)

    def close_window(self, window):
        """Asks the window to close, as the button in its title bar does."""
        self.ask("wmctrl", "-ic", window.identifier)

    def move_window(self, window, x, y):
        self.ask("xdotool", "windowmove", "--sync", str(int(window.identifier, 16)), str(x), str(y))

    def areas_ever_shown(self):
        """Where a window has appeared, at any moment since the start, one after another."""
        areas, framed, shown = {}, {}, []
        text = "\n".join(self.recorded_events()[self.first_event:])
        for kind, details in re.findall(r"^(\w+) event, (.*?)(?=^\w+ event, |\Z)", text, re.MULTILINE | re.DOTALL):
            window = re.search(r", window (0x[0-9a-f]+),", details[details.index("\n"):])
            if kind in ("CreateNotify", "ConfigureNotify"):
                place = re.search(r"\((-?\d+),(-?\d+)\), width (\d+), height (\d+)", details)
                areas[window[1]] = Area(*map(int, place.groups()))
            elif kind == "ReparentNotify":
                # The window manager puts every window into a frame, and shows the frame.
                framed[re.search(r"parent (0x[0-9a-f]+)", details)[1]] = window[1]
            elif kind == "MapNotify":
                shown.append(areas[framed.get(window[1], window[1])])
        return [area for area in shown if area != WINDOW_MANAGERS_OWN]

    def recorded_events(self):
        """The lines about all that has happened to windows until now, of which the last may still be on their way."""
        self.marks += 1
        mark = f"MARK_{self.marks}"
        self.ask("xprop", "-root", "-format", mark, "8s", "-set", mark, "")
        self.events.until(lambda lines: any(f"({mark})" in line for line in lines), "the recording of a mark")
        return self.events.lines
