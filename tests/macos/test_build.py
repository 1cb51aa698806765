"""Checks the cross build itself: what it refuses to compile and link, and that it is reproducible."""

import json
import os
import plistlib
import re
import shlex
import shutil
from pathlib import Path

from support import linking
from support.copies import ScratchFolder
from support.linking import TREES, run
from support.tree import differences, tree
from inspection import product

HEADERS = Path(os.environ.get("QUILLMARK_DARWIN_HEADERS", product.REPOSITORY / "build/darwin-headers"))
# What a build reads of the sources; a copy of these must build to the same bytes.
SOURCES = ["CMakeLists.txt", "CMakePresets.json", "cmake", "include", "resources", "src", "tools"]

COLOUR = "#import <AppKit/AppKit.h>\nNSColor *colour() { return [NSColor colorWithRed:0 green:0 blue:0 alpha:1]; }\n"
CLOCK = "#include <time.h>\nint now(timespec *t) { return clock_gettime(CLOCK_REALTIME, t); }\n"
FILES = '#include <filesystem>\nbool there() { return std::filesystem::exists("/"); }\n'
ALLOC = 'extern "C" void *objc_alloc(void *); __attribute__((used)) void *f() { return objc_alloc(0); }\n'


class Availability(ScratchFolder):
    """Probes are compiled and linked with the options of the product's own sources."""

    def compile(self, architecture, text, like):
        commands = json.loads((TREES[architecture] / "compile_commands.json").read_text())
        entry, = (entry for entry in commands if entry["file"].endswith(f"/{like}"))
        probe = self.scratch / f"probe{Path(like).suffix}"
        probe.write_text(text)
        command = [str(probe) if word == entry["file"] else word for word in shlex.split(entry["command"])]
        command[command.index("-o") + 1] = str(self.scratch / "probe.o")
        self.assertIn(str(probe), command)
        return run(command, cwd=entry["directory"])

    def test_what_is_newer_than_the_intel_target_is_an_error_there_and_only_there(self):
        for like, text, message in [
                ("appkit.mm", COLOUR, "colorWithRed:green:blue:alpha:' is only available on macOS"),
                ("layout.cpp", CLOCK, "only available on macOS 10.12 or newer"),
                ("layout.cpp", FILES, "is unavailable: introduced in macOS 10.15")]:
            with self.subTest(message):
                refused = self.compile("x86_64", text, like)
                self.assertNotEqual(refused.returncode, 0, "the probe was compiled")
                self.assertIn(message, refused.stdout)
                compiled = self.compile("arm64", text, like)
                self.assertEqual(compiled.returncode, 0, compiled.stdout)

    def test_a_symbol_newer_than_the_target_is_an_error_of_the_linker(self):
        for architecture, is_known in [("x86_64", False), ("arm64", True)]:
            self.compile(architecture, ALLOC, "layout.cpp")
            linked = linking.link(architecture, self.scratch / "linked", str(self.scratch / "probe.o"))
            self.assertEqual(linked.returncode == 0, is_known, linked.stdout)
            self.assertEqual("undefined symbol: objc_alloc" in linked.stdout, not is_known)


class MinimumMacOS(ScratchFolder):
    def configure(self, architecture, value):
        return run(["cmake", "--fresh", "--preset", f"macos-{architecture}", "-B", self.scratch / architecture,
                    f"-DQUILLMARK_DARWIN_HEADERS={HEADERS}", f"-DQUILLMARK_MINIMUM_MACOS={value}"],
                   cwd=product.REPOSITORY)

    def test_one_setting_raises_it_for_compiler_linker_and_bundle_and_apple_silicon_begins_with_11(self):
        for architecture, expected in [("x86_64", "10.13"), ("arm64", "11.0")]:
            configured = self.configure(architecture, "10.13")
            self.assertEqual(configured.returncode, 0, configured.stdout)
            commands = run(["ninja", "-C", self.scratch / architecture, "-t", "commands", "src/Quillmark Installer"])
            self.assertEqual(set(re.findall(r"--target=\S+", commands.stdout)),
                             {f"--target={architecture}-apple-macosx{expected}"})
            self.assertIn(f"-Wl,-platform_version,macos,{expected},", commands.stdout)
            information = plistlib.loads((self.scratch / architecture / "Info.plist").read_bytes())
            self.assertEqual(information["LSMinimumSystemVersion"], "10.13")


class Reproduction(ScratchFolder):
    def test_two_builds_from_two_folders_give_the_same_bytes(self):
        copy, machine = self.scratch / "another folder", self.scratch / "this machine's"
        for folder in [copy, machine]:
            folder.mkdir()
        for source in SOURCES:
            copying = shutil.copytree if (product.REPOSITORY / source).is_dir() else shutil.copy2
            copying(product.REPOSITORY / source, copy / source)
        # By these variables a compiler and a linker find what has no place in the product.
        (machine / "since.h").write_text("#error This is not the SDK's.\n")
        (machine / "libobjc.tbd").write_text("This is not the SDK's.\n")
        search = dict.fromkeys(["CPATH", "CPLUS_INCLUDE_PATH", "OBJCPLUS_INCLUDE_PATH", "LIBRARY_PATH"], str(machine))
        built = run([copy / "tools/build-macos"],
                    env={**os.environ, **search, "QUILLMARK_DARWIN_HEADERS": str(HEADERS), "CCACHE_DISABLE": "1"})
        self.assertEqual(built.returncode, 0, built.stdout)
        there = tree(copy / "build/macos")
        self.assertIn("Quillmark Installer.app/Contents/MacOS/Quillmark Installer", there)
        self.assertEqual(differences(there, tree(product.REPOSITORY / "build/macos")), {})
