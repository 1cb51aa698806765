"""Waiting for what somebody else does, with a deadline."""

import os
import select
import subprocess
import threading
import time

# For a machine that has a lot else to do.
DEADLINE_SECONDS = int(os.environ.get("QUILLMARK_DEADLINE_SECONDS", "60"))
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
    """The lines that a process writes to a pipe.

    Whoever asks for them gets all that have been written until then: what was seen to happen after a line was written
    never comes before it.
    """

    def __init__(self, pipe):
        self.pipe = pipe
        os.set_blocking(pipe.fileno(), False)
        self.taken = []
        self.unfinished = b""
        self.at_end = False
        self.changed = threading.Condition()
        # So that the process never waits for room in the pipe.
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        with self.pipe:
            while not self.ended:
                select.select([self.pipe], [], [])

    def take(self):
        """Takes what is in the pipe, for a caller that holds the lock."""
        while not self.at_end:
            try:
                data = os.read(self.pipe.fileno(), 1 << 16)
            except BlockingIOError:
                return
            self.at_end = not data
            *lines, self.unfinished = (self.unfinished + data).split(b"\n")
            if self.at_end and self.unfinished:
                lines.append(self.unfinished)
            self.taken += [line.decode(errors="surrogateescape") for line in lines]
            self.changed.notify_all()

    @property
    def lines(self):
        with self.changed:
            self.take()
            return list(self.taken)

    @property
    def ended(self):
        with self.changed:
            self.take()
            return self.at_end

    def until(self, condition, what):
        """Waits until the condition holds for the list of lines; answers with what the condition answered."""
        with self.changed:
            self.take()
            self.changed.wait_for(lambda: condition(self.taken) or self.at_end, DEADLINE_SECONDS)
            answer = condition(self.taken)
            if not answer:
                reason = "the lines have ended" if self.at_end else f"still waiting after {DEADLINE_SECONDS} seconds"
                raise TooLate("\n  ".join([f"{what}: {reason}; there are:", *self.taken]))
            return answer

    def close(self):
        self.reader.join(DEADLINE_SECONDS)


def output_of(*command, **options):
    """What a command that has to succeed prints."""
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=DEADLINE_SECONDS,
                          **options).stdout


def ending_with_us(*command):
    """The command, changed so that it does not outlive the process that starts it."""
    return ["setpriv", "--pdeathsig", "TERM", *command]
