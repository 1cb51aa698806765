"""Mac-shaped roots to measure in: with a payload of a size, and with programs that run in them one after the other."""

import json
import mmap
import os
import shutil
import subprocess
import tempfile
import time
from pathlib import Path

from support.case import BOTH, MANAGED_MARKER
from support.mac import DISTRIBUTION, folder_in_memory
from support.waiting import ending_with_us
from torture.place import Place, remove_tree

FOLDER = Path(__file__).resolve().parent
# A picture that has not changed for so long is the last one.
STILL_SECONDS = 0.15
LONGEST_SECONDS = 20


class Refusal(Exception):
    """What was asked for cannot be measured; the message is for the person who asked."""


class Screen:
    """A virtual display without a window manager, whose pixels can be read as they change."""

    def __init__(self):
        if not shutil.which("Xvfb"):
            raise Refusal("Xvfb is missing; tools/install-packages installs what is needed")
        self.folder = Path(tempfile.mkdtemp(prefix="screen-", dir=folder_in_memory()))
        number, end = os.pipe()
        self.server = subprocess.Popen(
            ending_with_us("Xvfb", "-displayfd", str(end), "-screen", "0", "1024x768x24", "-fbdir", str(self.folder),
                           "-nocursor", "-nolisten", "tcp", "-noreset"),
            pass_fds=[end], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(end)
        with open(number, encoding="ascii") as line:
            display = line.readline().strip()
        if not display:
            raise Refusal("Xvfb cannot open a display here")
        self.name = f":{display}"
        with open(self.folder / "Xvfb_screen0", "rb") as file:
            self.pixels = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)

    def close(self):
        self.pixels.close()
        self.server.terminate()
        self.server.wait()
        shutil.rmtree(self.folder)

    def time_of_last_change(self, before):
        """Waits until the picture differs from an earlier one and has come to rest; tells when it did."""
        deadline = time.monotonic() + LONGEST_SECONDS
        last, changed = before, None
        while (now := time.monotonic()) < deadline:
            picture = self.pixels[:]
            if picture != last:
                last, changed = picture, now
            elif changed is not None and now - changed > STILL_SECONDS:
                return changed
            time.sleep(0.001)
        raise Refusal(f"no window has come to rest within {LONGEST_SECONDS} seconds")


class Mac:
    """A root with an installer in it whose client is `payload`, and a worker that runs programs there."""

    def __init__(self, screen, payload=None, distribution=DISTRIBUTION):
        if folder_in_memory() is None:
            raise Refusal("there is no memory file system to measure on: /dev/shm cannot be used")
        self.screen = screen
        self.place = Place(distribution=distribution)
        try:
            if payload:
                self.replace_client(payload)
            self.script = self.place.bring(FOLDER / "install.sh")
            worker = self.place.bring(FOLDER / "worker.py")
            self.worker = self.place.start_program(screen.name, ["/usr/bin/python3", worker], b"ready\n")
        except BaseException:
            self.place.close()
            raise

    def close(self):
        self.worker.stdin.close()
        self.worker.terminate()
        self.worker.wait()
        for pipe in [self.worker.stdout, self.worker.stderr]:
            pipe.close()
        self.place.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def replace_client(self, payload):
        client = self.place.at(f"{self.place.bundle}/Contents/Resources/Quillmark.app")
        # The client itself, its two copies, and one that is on its way out.
        free = shutil.disk_usage(client).free
        if free < 4 * payload.bytes:
            raise Refusal(f"{payload.name} needs {4 * payload.bytes / 1e9:.1f} GB in {folder_in_memory()}, "
                          f"where {free / 1e9:.1f} GB are free")
        remove_tree(client)
        payload.make(client)

    def order(self, *words):
        self.worker.stdin.write(json.dumps(words).encode() + b"\n")
        self.worker.stdin.flush()
        answer = self.worker.stdout.readline()
        if not answer:
            raise Refusal("the root's worker has ended: " + self.worker.stderr.read().decode(errors="replace"))
        return json.loads(answer)

    def run(self, *command):
        answer = self.order("run", *command)
        if answer["status"] != 0:
            raise Refusal(f"{command[0]} ended with {answer['status']}: {answer['output']}")
        return answer

    # What is measured

    def install(self):
        return self.installed(self.run(*self.place.installer(BOTH)))

    def install_by_script(self):
        folder = str(Path(self.place.bundle).parent)
        return self.installed(self.run("/bin/sh", self.script, folder, "T2", "P1"))

    def installed(self, answer):
        """Nothing counts that has not installed: the marker is looked at, and taken away for the next run."""
        marker = self.place.at(f"{self.place.home}/Quillmark_Components/installationHelper.txt")
        if not marker.exists() or marker.read_bytes() != MANAGED_MARKER:
            raise Refusal("a run has left no marker: " + answer["output"])
        marker.unlink()
        return answer

    def show(self, *command):
        """Seconds from the start of a program until its window has come to rest."""
        before = self.screen.pixels[:]
        started = self.order("begin", *command)["started"]
        try:
            return self.screen.time_of_last_change(before) - started
        finally:
            self.order("end")
            self.wait_for_empty_screen()

    def wait_for_empty_screen(self):
        deadline = time.monotonic() + LONGEST_SECONDS
        while len(set(self.screen.pixels[-4096 * 100:])) > 1 and time.monotonic() < deadline:
            time.sleep(0.01)
