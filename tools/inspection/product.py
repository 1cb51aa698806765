"""The distribution that the checks look at: QUILLMARK_DISTRIBUTION, or what tools/build-macos has built."""

import functools
import os
import plistlib
import re
from dataclasses import dataclass
from pathlib import Path

from inspection import macho

REPOSITORY = Path(__file__).resolve().parents[2]
SDK = REPOSITORY / "cmake/macos-sdk"
DISTRIBUTION = Path(os.environ.get("QUILLMARK_DISTRIBUTION", REPOSITORY / "build/macos"))
APPLICATION = DISTRIBUTION / "Quillmark Installer.app"
CONTENTS = APPLICATION / "Contents"
RESOURCES = CONTENTS / "Resources"
EXECUTABLE = CONTENTS / "MacOS/Quillmark Installer"

HELPER_LABEL = "com.quillmark.customInstaller.Helper"
FIRST_MACOS_FOR_APPLE_SILICON = "11.0"


@functools.cache
def slices():
    return macho.slices(EXECUTABLE)


def for_each_slice(check):
    """Makes one test of a check of one slice."""
    @functools.wraps(check)
    def test(self):
        for architecture, one in slices().items():
            with self.subTest(architecture):
                check(self, one)
    return test


def minimum_macos():
    """The oldest macOS that each slice has to run on, by architecture: the bundle names it."""
    named = plistlib.loads((CONTENTS / "Info.plist").read_bytes())["LSMinimumSystemVersion"]
    return {"x86_64": named, "arm64": max(named, FIRST_MACOS_FOR_APPLE_SILICON, key=comparable)}


def is_signed_bundle():
    """Whether the whole bundle is signed, which only a Mac does, or the linker has signed the executable alone."""
    return (CONTENTS / "_CodeSignature").exists()


def project_version():
    return re.search(r"^project\(\S+ VERSION (\S+)", (REPOSITORY / "CMakeLists.txt").read_text(), re.MULTILINE)[1]


def comparable(version):
    return tuple(int(number) for number in version.split("."))


@dataclass
class StubSymbol:
    library: str  # the stub's name without ".tbd"
    since: str  # the macOS version that brought the symbol
    is_weak: bool  # whether the loader may take the definition of any other image instead


def stub_symbols(folder=SDK):
    """What the link stubs say of each symbol, by its name as an executable imports it."""
    symbols = {}
    prefixes = {"symbols": [""], "weak-symbols": [""], "objc-classes": ["_OBJC_CLASS_$_", "_OBJC_METACLASS_$_"],
                "objc-eh-types": ["_OBJC_EHTYPE_$_"]}
    for stub in sorted(folder.rglob("*.tbd")):
        kind = None
        for line in stub.read_text().splitlines():
            heading = re.fullmatch(r"    ([a-z-]+):", line)
            entry = re.fullmatch(r"      - (\S+)  # (\d+\.\d+(?:\.\d+)?) \S.*", line)
            if heading:
                kind = heading[1]
            elif entry:
                for prefix in prefixes[kind]:
                    symbols[prefix + entry[1]] = StubSymbol(stub.stem, entry[2], kind == "weak-symbols")
            elif line.startswith("      "):
                raise ValueError(f"{stub}: \"{line.strip()}\" names no version and source")
    if not symbols:
        raise ValueError(f"no stub in {folder} names a symbol")
    return symbols
