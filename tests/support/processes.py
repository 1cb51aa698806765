"""Processes, found by what they were started with."""

import contextlib
from pathlib import Path

from support.waiting import output_of


def processes_with(argument):
    found = []
    for command_line in Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            if argument.encode() in command_line.read_bytes().split(b"\0"):
                found.append(int(command_line.parent.name))
    return found


def child_of(parent):
    return int(output_of("ps", "-o", "pid=", "--ppid", str(parent)))
