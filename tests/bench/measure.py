"""The measurements. Each yields its figures; whatever is compared is run by turns, A B A B."""

import json
import subprocess

from bench.figures import Figure
from bench.payload import CROWDED, GROWING, LARGE
from bench.place import Mac, Refusal
from support import REPOSITORY
from inspection import macho
from support.mac import BUILD, DISTRIBUTION

PROGRAMS = REPOSITORY / "build/linux/tests/bench"
PRODUCT = REPOSITORY / "build/macos"
SLICE = REPOSITORY / "build/linux/slice-of-product/Quillmark Installer"
END_AT_ONCE = ["-EndAtOnce", "YES"]
# What is beyond these is measured without the toolkit beside it, which would take hours, and less often.
LINES_IN_PAIRS = 10_000
MORE_LINES = {100_000: 3, 1_000_000: 1}


class Bench:
    def __init__(self, screen, pairs, tell):
        self.screen = screen
        self.pairs = pairs
        self.tell = tell

    def by_turns(self, what, first, second, runs=None):
        """The answers of both, after a run of each that warms up what is kept between runs."""
        first(), second()
        both = [], []
        runs = runs or self.pairs
        for run in range(runs):
            self.tell(f"{what}: {run + 1} of {runs}")
            both[0].append(first())
            both[1].append(second())
        return both

    def pair(self, number, what, than, first, second, unit="s", key=lambda value: value):
        ours, others = self.by_turns(what, first, second)
        return Figure(number, what, unit, [key(value) for value in ours], than, [key(value) for value in others])

    # The measurements

    def installations(self):
        for payload in [None, *LARGE, CROWDED]:
            name = payload.name if payload else "sample payload"
            self.tell(f"making {name}")
            with Mac(self.screen, payload) as mac:
                yield self.pair(1, name, "shell script", mac.install, mac.install_by_script, key=seconds)
                if not payload:
                    bare = mac.place.bring(PROGRAMS / "bare_application")
                    yield self.pair(1, "sample payload, start to end", "bare application", mac.install,
                                    lambda: mac.run(bare, *END_AT_ONCE), key=seconds)

    def windows(self):
        with Mac(self.screen) as mac:
            bare = mac.place.bring(PROGRAMS / "bare_application")
            installer = mac.place.installer()
            yield self.pair(2, "the installer's window", "bare application's", lambda: mac.show(*installer),
                            lambda: mac.show(bare))

    def memory(self):
        smallest, *larger = GROWING
        with Mac(self.screen, smallest) as small:
            for payload in larger:
                self.tell(f"making {payload.name}")
                with Mac(self.screen, payload) as large:
                    yield self.pair(3, payload.name, smallest.name, large.install, small.install, "kB",
                                    lambda answer: answer["kilobytes"])

    def logs(self):
        with Mac(self.screen) as mac:
            installer, toolkit = (mac.place.bring(PROGRAMS / name) for name in ["log_lines", "log_lines_of_toolkit"])
            count = LINES_IN_PAIRS
            ours, others = self.by_turns(f"{count:,} lines", lambda: log(mac, installer, count),
                                         lambda: log(mac, toolkit, count))
            for key, what, unit in [("seconds", "", "s"), ("longest", ", longest without an answer", "s"),
                                    ("kilobytes", ", memory", "kB")]:
                yield Figure(4, f"{count:,} lines{what}", unit, [answer[key] for answer in ours], "toolkit alone",
                             [answer[key] for answer in others])
            for count, runs in MORE_LINES.items():
                answers = []
                for run in range(min(runs, self.pairs)):
                    self.tell(f"{count:,} lines: {run + 1} of {runs}")
                    answers.append(log(mac, installer, count))
                for key, what, unit in [("seconds", "", "s"), ("longest", ", longest without an answer", "s"),
                                        ("kilobytes", ", memory", "kB")]:
                    yield Figure(4, f"{count:,} lines{what}", unit, [answer[key] for answer in answers])

    def sizes(self):
        executable = PRODUCT / "Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
        if not executable.exists():
            raise Refusal(f"{executable} is missing; tools/build-macos builds it")
        for name, one in macho.slices(executable).items():
            yield Figure(5, f"{name}, without signature", "bytes", [one.size_unsigned])
            yield Figure(5, f"{name}, imports", "", [len(one.imports)])
            yield Figure(5, f"{name}, classes", "", [len(one.classes())])
            yield Figure(5, f"{name}, relocations", "", [one.relocations])

    def slices(self):
        if not PRODUCT.is_dir():
            raise Refusal(f"{PRODUCT} is missing; tools/build-macos builds it")
        run(REPOSITORY / "tests/slice/assemble", "product", BUILD, SLICE.parent)
        with Mac(self.screen) as native, Mac(self.screen, distribution=SLICE) as executed:
            yield self.pair(6, "managed installation by the Intel slice", "native build", executed.install,
                            native.install, key=seconds)


MEASUREMENTS = {1: Bench.installations, 2: Bench.windows, 3: Bench.memory, 4: Bench.logs, 5: Bench.sizes,
                6: Bench.slices}


def seconds(answer):
    return answer["seconds"]


def log(mac, program, lines):
    answer = mac.run(program, "-Lines", str(lines))
    return answer | json.loads(answer["output"].splitlines()[-1])


def build(numbers):
    """Builds what is compared with, and what the measurements take from this build."""
    targets = ["distribution", "security_framework", "bench"]
    if 6 in numbers:
        targets += ["loader", "loader_with_helper"]
    run("cmake", "--preset", "linux")
    run("cmake", "--build", "--preset", "linux", "--parallel", "2", "--target", *targets)
    if not DISTRIBUTION.is_dir():
        raise Refusal(f"{DISTRIBUTION} is missing; build first")


def run(*command):
    done = subprocess.run(list(map(str, command)), cwd=REPOSITORY, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, check=False)
    if done.returncode != 0:
        raise Refusal(f"{command[0]} failed:\n{done.stdout}")
