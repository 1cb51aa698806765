"""Waiting for what somebody else does, with a deadline."""

import subprocess
import threading
import time

DEADLINE_SECONDS = 20
POLL_SECONDS = 0.02


class TooLate(AssertionError):
    """What was waited for has not happened."""


def within(seconds, condition):
    """Waits for what nobody announces; answers with what the condition answered last."""
    deadline = time.monotonic() + seconds
    while not (answer := condition()) and time.monotonic() < deadline:
        time.sleep(POLL_SECONDS)
    return answer


def until(condition, what):
    """The same, for what has to come."""
    answer = within(DEADLINE_SECONDS, condition)
    if not answer:
        raise TooLate(f"{what}: still waiting after {DEADLINE_SECONDS} seconds")
    return answer


class Lines:
    """The lines that a process writes to a pipe, as they come."""

    def __init__(self, pipe):
        self.lines = []
        self.ended = False
        self.changed = threading.Condition()
        self.reader = threading.Thread(target=self.read, args=[pipe], daemon=True)
        self.reader.start()

    def read(self, pipe):
        with pipe:
            for line in pipe:
                with self.changed:
                    self.lines.append(line.decode(errors="surrogateescape").rstrip("\n"))
                    self.changed.notify_all()
        with self.changed:
            self.ended = True
            self.changed.notify_all()

    def until(self, condition, what):
        """Waits until the condition holds for the list of lines; answers with what the condition answered."""
        with self.changed:
            self.changed.wait_for(lambda: condition(self.lines) or self.ended, DEADLINE_SECONDS)
            answer = condition(self.lines)
            if not answer:
                reason = "the lines have ended" if self.ended else f"still waiting after {DEADLINE_SECONDS} seconds"
                raise TooLate("\n  ".join([f"{what}: {reason}; there are:", *self.lines]))
            return answer

    def wait_for_more(self, count, seconds):
        """Waits until there are more than so many lines, but not for longer than so many seconds."""
        with self.changed:
            self.changed.wait_for(lambda: len(self.lines) > count or self.ended, seconds)

    def close(self):
        self.reader.join(DEADLINE_SECONDS)


def output_of(*command, **options):
    """What a command that has to succeed prints."""
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=DEADLINE_SECONDS,
                          **options).stdout


def ending_with_us(*command):
    """The command, changed so that it does not outlive the process that starts it."""
    return ["setpriv", "--pdeathsig", "TERM", *command]
