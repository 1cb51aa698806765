#!/usr/bin/python3
"""Runs programs inside a Mac-shaped root, one after the other, and tells what each took.

Each line of the input is an order in JSON, each line of the output its answer. A program that runs on, as one with a
window does, is ended by the order "end".
"""

import json
import os
import signal
import subprocess
import sys
import time

OUTPUT = "/private/tmp/output"


def begin(command):
    with open(OUTPUT, "wb") as output:
        started = time.monotonic()
        return started, subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output)


def finish(started, process):
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - started
    process.returncode = os.waitstatus_to_exitcode(status)
    with open(OUTPUT, encoding="utf-8", errors="replace") as output:
        return {"seconds": seconds, "cpu": usage.ru_utime + usage.ru_stime, "kilobytes": usage.ru_maxrss, "status": process.returncode, "output": output.read()}


def main():
    running = None
    print("ready", flush=True)
    for line in sys.stdin:
        order, *command = json.loads(line)
        if order == "begin":
            running = begin(command)
            answer = {"started": running[0]}
        elif order == "end":
            running[1].send_signal(signal.SIGKILL)
            answer = finish(*running)
        else:
            answer = finish(*begin(command))
        print(json.dumps(answer), flush=True)


if __name__ == "__main__":
    main()
