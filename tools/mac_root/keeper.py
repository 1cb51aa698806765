"""Runs work so that what it leaves behind is cleaned up, whatever ends it."""

import ctypes
import os
import signal
import sys
from pathlib import Path

ENDING = [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]
FIRST_AFTER_STREAMS = 3
PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36


class Ended(BaseException):
    """A signal asked for the end."""


def keep(work):
    """Runs work() in a child process, so that its cleaning up happens even when this process is killed outright.

    Answers with what work() answers, or 128 and the number of the signal that ended it.
    """
    starter = os.getpid()
    keeper = os.fork()
    if keeper == 0:
        be_keeper(work, starter)
    for number in ENDING:
        signal.signal(number, lambda number, _: os.kill(keeper, number))
    return shell_status(os.waitstatus_to_exitcode(os.waitpid(keeper, 0)[1]))


def shell_status(exit_code):
    """A program that a signal ended has 128 and the number of the signal."""
    return exit_code if exit_code >= 0 else 128 - exit_code


def be_keeper(work, starter):
    status = 1
    try:
        for number in ENDING:
            signal.signal(number, end)
        process_control(PR_SET_PDEATHSIG, signal.SIGTERM)
        # Whatever loses its parent becomes this process's child, so that it can be found and waited for.
        process_control(PR_SET_CHILD_SUBREAPER, 1)
        # What the caller left open is for nobody here, and would take the descriptors that a shell can write as one digit.
        os.closerange(FIRST_AFTER_STREAMS, os.sysconf("SC_OPEN_MAX"))
        if os.getppid() == starter:
            status = work()
    except Ended as ended:
        status = shell_status(-ended.args[0])
    except BaseException:
        sys.excepthook(*sys.exc_info())
    finally:
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(status)


def end(number, _):
    ignore_signals()
    raise Ended(number)


def ignore_signals():
    for number in ENDING:
        signal.signal(number, signal.SIG_IGN)


def process_control(operation, value):
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.prctl(operation, value, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def end_everything():
    """Ends every process that was started, and what those started, and waits until all are gone."""
    ignore_signals()
    while True:
        for child in children():
            os.kill(child, signal.SIGKILL)
        try:
            os.wait()
        except ChildProcessError:
            return


def children():
    """The children of this process. Its grandchildren become children when their parents have ended."""
    found = []
    for stat in Path("/proc").glob("[0-9]*/stat"):
        try:
            parent = int(stat.read_text(errors="replace").rpartition(")")[2].split()[1])
        except (FileNotFoundError, ProcessLookupError):
            continue
        if parent == os.getpid():
            found.append(int(stat.parent.name))
    return found
