"""Runs that are disturbed, and the undisturbed run after each, which has to leave what a clean one leaves.

All are managed runs in one session, so that each meets what the last has left: files, locks, daemons.
"""

import contextlib
import os
import re
import shutil
import signal
import time
from pathlib import Path

from support.installer import CRITICAL, console_lines
from support.interface import TITLE
from support.mac import BUILD, Mac
from support.tree import differences
from support.waiting import Lines, until, within

FAULTS = BUILD / "tests/torture/faults.so"
TOOLS = "/usr/local/bin"
SIGNALS = [signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGABRT]
# What Linux tells of a process is the first fifteen characters of its name.
PROCESS = "Quillmark Installer"[:15]
# GNUstep starts these once for all of the user's applications.
DAEMONS = {"gdnc", "gpbs"}
LAST_LINE = "-" * 19
PAGE = os.sysconf("SC_PAGE_SIZE")
# After so long somebody looks whether there is a window.
WINDOW_SECONDS = 3
# A lock of GNUstep's that a killed run has left is broken after about 16 seconds.
LONGEST_RUN_SECONDS = 60

# Each line of the input is a command of the shell, which answers it with a line; "$0" is the installer.
SESSION = 'echo started; while read -r order; do eval "$order"; done'
END_OF_RUN = "the end of a run"


class Mismatch(AssertionError):
    """It did not end as it should; the message says how."""


class Session:
    """A Mac with an earlier installation, on which runs are made. One of its folders may be a small volume."""

    def __init__(self, desktop, small=None):
        self.desktop, self.small = desktop, small
        self.mac = Mac(faults=["--small", small] if small else [])
        with contextlib.ExitStack() as ending:
            ending.callback(self.mac.remove)
            self.mac.set_defaults(teamID="T2", partnerID="P1")
            shutil.copy(FAULTS, self.mac.at(TOOLS))
            self.process = self.mac.start(desktop.name, session=SESSION)
            self.errors, self.answers = Lines(self.process.stderr), Lines(self.process.stdout)
            ending.callback(self.end)
            self.asked = self.runs = 0
            self.own = [name for _, name in family(self.process.pid)]
            self.shell = next(number for number, name in family(self.process.pid) if name == "sh")
            self.note_clean()
            self.close = ending.pop_all().close

    def end(self):
        self.process.stdin.close()
        self.process.terminate()
        self.process.wait()
        self.errors.close()
        self.answers.close()

    def order(self, command):
        self.asked += 1
        os.write(self.process.stdin.fileno(), f"{command}\n".encode())

    def is_over(self):
        """Whether the last order has been carried out."""
        return len(self.answers.lines) >= self.asked

    def do(self, command, what):
        self.order(command)
        until(self.is_over, what)

    def make_older(self):
        """What an undisturbed run has to clear away."""
        home, temporary = self.mac.home_inside, self.mac.temporary_inside
        self.do(f"for folder in /Applications/Quillmark.app {home}/Applications/Quillmark.app {home}/Quillmark_Components "
                f"{temporary}/QuillmarkGuard; do mkdir -p $folder; echo old > \"$folder/of an older release\"; done; "
                "echo made", "an older installation")

    def begin(self, count=1, **setting):
        """Starts a run, or several at once, with the faults' library where there is a setting for it."""
        self.runs += 1
        self.first_line = len(self.errors.lines)
        self.started = time.monotonic()
        words = [f"{name}={value}" for name, value in setting.items()]
        words = ["/usr/bin/env", f"LD_PRELOAD={TOOLS}/{FAULTS.name}", *words] if words else []
        self.order("children=; statuses=; " + f'{" ".join(words)} "$0" </dev/null & children="$children $!"; ' * count +
                   'for child in $children; do wait "$child"; statuses="$statuses $?"; done; '
                   f"printf '\\n{END_OF_RUN}\\n' >&2; echo $statuses")

    def finish(self):
        """Waits for the end of the run; answers with the exit statuses. Whoever does not end is killed, as -1."""
        hung = not within(LONGEST_RUN_SECONDS, self.is_over)
        if hung:
            self.signal(signal.SIGKILL)
        until(self.is_over, "the end of a killed run")
        self.errors.until(lambda lines: lines.count(END_OF_RUN) == self.runs, "the end of a run's output")
        return [-1] if hung else list(map(int, self.answers.lines[self.asked - 1].split()))

    def installers(self):
        return [number for number, name in family(self.process.pid) if name == PROCESS]

    def signal(self, number):
        for installer in self.installers():
            with contextlib.suppress(ProcessLookupError):
                os.kill(installer, number)

    def output(self):
        return "\n".join(self.errors.lines[self.first_line:])

    def console(self):
        return console_lines(self.errors.lines[self.first_line:])

    def look(self):
        """Through a process inside, who sees what lies on the small volume."""
        return self.mac.everything(Path(f"/proc/{self.shell}/root"))

    def wait_for_rest(self):
        """Until what the installer started has come to an end as well."""
        if not within(5, lambda: [name for _, name in family(self.process.pid) if name not in DAEMONS] == self.own):
            raise Mismatch(f"processes are left: {family(self.process.pid)}")

    def expect(self, expected, what):
        """Waits for the end of the run, which has to have these exit statuses."""
        statuses = self.finish()
        if statuses != expected:
            raise Mismatch(f"exit status of {what}: {statuses}, expected {expected}:\n{self.output()}")
        self.wait_for_rest()

    def note_clean(self):
        """Learns what a clean run leaves and says, how long it takes and how many calls it makes."""
        self.begin(QUILLMARK_END="0:0")
        self.expect([0], "the clean run")
        self.whole = time.monotonic() - self.started
        self.calls = int(re.search(r"^(\d+) calls$", self.output(), re.MULTILINE)[1])
        self.clean, self.lines = self.look(), self.console()

    def check_repair(self):
        """An undisturbed run; a Mismatch unless it leaves and says what a clean one does."""
        self.wait_for_rest()
        self.begin()
        self.expect([0], "the undisturbed run")
        # Under load runs take longer; a moment in the next is drawn from what the last took.
        self.whole = time.monotonic() - self.started
        different = differences(self.look(), self.clean)
        if different or self.console() != self.lines:
            raise Mismatch(f"found and expected: {different}\n{self.output()}")


def family(process):
    """The processes that live below a session's, as (number, name)."""
    found = []
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
        for children in Path(f"/proc/{process}/task").glob("*/children"):
            for child in children.read_text().split():
                with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                    found += [(int(child), Path(f"/proc/{child}/comm").read_text().rstrip("\n")), *family(child)]
    return found


def kill(session, rng):
    """Ends a run by a signal at a random moment; answers with how far it had come."""
    session.make_older()
    number = rng.choice(SIGNALS)
    if rng.random() < 0.5:
        # At a call of the installation, which is short ...
        session.begin(QUILLMARK_END=f"{int(number)}:{rng.randint(1, session.calls)}")
    else:
        # ... or at any time, which is mostly in AppKit's launch.
        session.begin()
        until(lambda: session.installers() or session.is_over(), "the installer's process")
        within(rng.uniform(0, session.whole), session.is_over)
        session.signal(number)
    statuses = session.finish()
    if statuses not in ([128 + number], [0]):
        raise Mismatch(f"{number.name} left the statuses {statuses} and these lines:\n{session.output()}")
    lines = session.console()
    session.check_repair()
    if statuses == [0]:
        return "after the end"
    return "at the end" if LAST_LINE in lines else "while installing" if lines else "in the launch"


def pair(session, rng):
    """Two installers at once; answers with what they left, of which nobody promises that it is whole."""
    session.make_older()
    session.begin(count=2)
    session.expect([0, 0], "two installers at once")
    whole = session.look() == session.clean
    session.check_repair()
    return "whole" if whole else "incomplete"


def full_volume(session, rng):
    """A run without enough space, and one when there is enough again."""
    session.make_older()
    filler = f"{session.small}/.filler"
    session.do(f"cat /dev/zero > {filler} 2> /dev/null; truncate -s -{rng.randrange(12) * PAGE} {filler}; echo filled",
               "the filling of the volume")
    session.begin()
    session.expect([0], "the run on the full volume")
    session.do(f"rm {filler}; echo freed", "the freeing of the volume")
    session.check_repair()
    return session.small


def failing_calls(session, rng):
    """A run in which calls fail; answers with how it ended."""
    session.make_older()
    one_in = rng.choice([2, 5, 10, 30, 100])
    session.begin(QUILLMARK_FAULTS=f"{rng.getrandbits(31)}:{one_in}")
    seen = None
    deadline = time.monotonic() + LONGEST_RUN_SECONDS
    while not within(WINDOW_SECONDS, session.is_over) and time.monotonic() < deadline:
        # A window that has only just come may not hear the first request. While there is an alert it hears none.
        titles = {window.title: window for window in session.desktop.windows()}
        if CRITICAL in titles:
            seen = "the alert"
            session.desktop.press("Return")
        elif TITLE in titles:
            seen = "its window"
            session.desktop.try_to_ask("wmctrl", "-ic", titles[TITLE].identifier)
    statuses = session.finish()
    if not 0 <= statuses[0] < 128:
        raise Mismatch(f"with one call in {one_in} failing it ended with {statuses}:\n{session.output()}")
    session.check_repair()
    return seen or ("the end" if statuses == [0] else f"status {statuses[0]}")
