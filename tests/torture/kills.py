"""Runs that are disturbed, and the undisturbed run after each, which has to leave what a clean one leaves.

All runs of a worker are managed ones in one session, so that each meets what the last has left: files, locks, daemons.
"""

import contextlib
import os
import plistlib
import re
import signal
import time

from support.installer import CRITICAL, console_lines
from support.interface import TITLE
from support.waiting import Lines, until, within
from torture import model
from torture.cases import APPLICATION, DEFAULTS, Mismatch, compare, compare_trees
from torture.place import Place, family, strangers

SIGNALS = [signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGABRT]
# What Linux tells of a process is the first fifteen characters of its name.
PROCESS = "Quillmark Installer"[:15]
LAST_LINE = "-" * 19
PAGE = os.sysconf("SC_PAGE_SIZE")
# After so long somebody looks whether there is a window.
WINDOW_SECONDS = 3
# A lock of GNUstep's that a killed run has left is broken after about 16 seconds.
LONGEST_RUN_SECONDS = 60

# Each line of the input is an order. "run" starts the installer as many times at once as it says, with a setting of the
# environment if there is one; the output tells the exit statuses, and the mark comes behind all that was written. "fill"
# leaves so many bytes free on the volume at a path, "free" gives all of them back.
SESSION = r"""
echo started
while read -r order count detail; do
  case $order in
    fill) cat /dev/zero > "$detail/.filler"; truncate -s "-$count" "$detail/.filler"; echo filled; continue ;;
    free) rm "$detail/.filler"; echo freed; continue ;;
  esac
  if [ "$detail" ]; then set -- /usr/bin/env $detail "$0"; else set -- "$0"; fi
  statuses= children=
  while [ "$count" -gt 0 ]; do "$@" </dev/null & children="$children $!"; count=$((count - 1)); done
  for child in $children; do wait "$child"; statuses="$statuses $?"; done
  printf '\nthe end of a run\n' >&2
  echo $statuses
done
"""


class Session:
    """A place with an earlier installation, and runs of the installer in it."""

    def __init__(self, desktop, small=None, faults=None):
        self.desktop = desktop
        self.place = Place()
        try:
            self.place.small = small and small(self.place)
            self.faults = faults and self.place.bring(faults)
            self.start()
        except BaseException:
            self.place.close()
            raise
        try:
            self.note_clean()
        except BaseException:
            self.close()
            raise

    def start(self):
        place = self.place
        place.at(f"{place.home}/Library/Preferences/Quillmark Installer.plist").write_bytes(plistlib.dumps(DEFAULTS))
        self.process = place.start_program(self.desktop.name, ["/bin/sh", "-c", SESSION, *place.installer()], b"started\n")
        self.errors, self.answers = Lines(self.process.stderr), Lines(self.process.stdout)
        self.asked = self.runs = 0
        place.inside = next(number for number, name in family(self.process.pid) if name == "sh")

    def close(self):
        self.process.stdin.close()
        self.process.terminate()
        self.process.wait()
        self.errors.close()
        self.answers.close()
        self.place.close()

    def make_older(self):
        """What an undisturbed run has to clear away."""
        for folder in [APPLICATION, f"{self.place.home}{APPLICATION}", f"{self.place.home}/Quillmark_Components",
                       f"{self.place.temporary}/QuillmarkGuard"]:
            path = self.place.at(folder)
            if path.parent.is_dir():
                path.mkdir(exist_ok=True)
                (path / "of an older release").write_text("old\n")
        # They lie on the host as its files; inside they have to belong to the user.
        self.place.give()

    def order(self, order, count, detail=""):
        self.asked += 1
        self.process.stdin.write(f"{order} {count} {detail}\n".encode())
        self.process.stdin.flush()

    def fill(self, left):
        """Leaves so many bytes free on the small volume."""
        self.order("fill", left, self.place.small)
        until(self.is_over, "the filling of the volume")

    def free(self):
        self.order("free", 0, self.place.small)
        until(self.is_over, "the freeing of the volume")

    def begin(self, count=1, setting=""):
        """Starts a run, or several at once."""
        self.runs += 1
        self.first_line = len(self.errors.lines)
        self.started = time.monotonic()
        self.order("run", count, setting)

    def is_over(self):
        """Whether the last order has been carried out."""
        return len(self.answers.lines) >= self.asked

    def finish(self):
        """Waits for the end of the run; answers with the exit statuses. Whoever does not end is killed, as -1."""
        hung = not within(LONGEST_RUN_SECONDS, self.is_over)
        if hung:
            for installer in self.installers():
                os.kill(installer, signal.SIGKILL)
        until(self.is_over, "the end of a killed run")
        self.errors.until(lambda lines: lines.count("the end of a run") == self.runs, "the end of a run's output")
        return [-1] if hung else list(map(int, self.answers.lines[self.asked - 1].split()))

    def installers(self):
        return [number for number, name in family(self.process.pid) if name == PROCESS]

    def output(self):
        return "\n".join(self.errors.lines[self.first_line:])

    def console(self):
        return console_lines(self.errors.lines[self.first_line:])

    def wait_for_rest(self):
        """Until what the installer started has come to an end as well."""
        left = strangers(self.process.pid)
        if left:
            raise Mismatch(f"processes are left: {left}")

    def check_repair(self):
        """An undisturbed run; a Mismatch unless it ends exactly as the model says, with nobody left."""
        self.wait_for_rest()
        before = self.place.before(defaults=DEFAULTS)
        after = model.install(before)
        self.begin()
        statuses = self.finish()
        # Under load runs take longer; a moment in the next is drawn from what the last took.
        self.whole = time.monotonic() - self.started
        self.slowest = max(self.slowest, self.whole)
        self.wait_for_rest()
        compare(statuses, [0], "exit status of the undisturbed run")
        compare(self.console(), after.console, "console")
        found = self.place.items()
        compare_trees(found, after.items)
        compare_trees(found, self.clean)

    def note_clean(self):
        """Learns what a clean run leaves, how long it takes and how many calls it makes."""
        before = self.place.before(defaults=DEFAULTS)
        self.begin(setting=self.ending(0, 0))
        compare(self.finish(), [0], "exit status of the clean run")
        self.whole, self.slowest = time.monotonic() - self.started, 0
        self.calls = int(re.search(r"^(\d+) calls$", self.output(), re.MULTILINE)[1]) if self.faults else 0
        self.wait_for_rest()
        self.clean = self.place.items()
        compare_trees(self.clean, model.install(before).items)

    def ending(self, number, call):
        return f"LD_PRELOAD={self.faults} QUILLMARK_END={number}:{call}" if self.faults else ""


def kill(session, rng):
    """Ends a run by a signal at a random moment; answers with how far it had come, or None if it had ended already."""
    session.make_older()
    number = rng.choice(SIGNALS)
    if rng.random() < 0.5:
        # At a call of the installation, which is short ...
        session.begin(setting=session.ending(int(number), rng.randint(1, session.calls)))
    else:
        # ... or at any time, which is mostly in AppKit's launch.
        session.begin()
        until(lambda: session.installers() or session.is_over(), "the installer's process")
        within(rng.uniform(0, session.whole), session.is_over)
        for installer in session.installers():
            with contextlib.suppress(ProcessLookupError):
                os.kill(installer, number)
    statuses = session.finish()
    if statuses not in ([128 + number], [0]):
        raise Mismatch(f"{number.name} left the statuses {statuses} and these lines:\n{session.output()}")
    lines = session.console()
    session.check_repair()
    if statuses == [0]:
        return None
    return "at the end" if LAST_LINE in lines else "while installing" if lines else "in the launch"


def double(session, rng):
    """Two installers at once; answers with what they left, of which nobody promises that it is whole."""
    session.make_older()
    session.begin(count=2)
    compare(session.finish(), [0, 0], "exit statuses of two installers at once")
    session.wait_for_rest()
    whole = session.place.items() == session.clean
    session.check_repair()
    return "whole" if whole else "incomplete"


def fill(session, rng):
    """A run without enough space, and one when there is enough again."""
    session.make_older()
    session.fill(rng.randrange(12) * PAGE)
    session.begin()
    compare(session.finish(), [0], "exit status of the run on the full volume")
    session.wait_for_rest()
    session.free()
    session.check_repair()
    return session.place.small


def fault(session, rng):
    """A run in which calls fail; answers with how it ended."""
    session.make_older()
    one_in = rng.choice([2, 5, 10, 30, 100])
    session.begin(setting=f"LD_PRELOAD={session.faults} QUILLMARK_FAULTS={rng.getrandbits(31)}:{one_in}")
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
