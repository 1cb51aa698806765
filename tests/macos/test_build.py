"""Checks the cross build itself: what it refuses to compile and link, its stubs, and that it is reproducible."""

import json
import os
import plistlib
import re
import shlex
import shutil
from pathlib import Path

from support import linking
from inspection import macho, product
from support.copies import ScratchFolder
from support.linking import TREES, run

HEADERS = product.REPOSITORY / "build/darwin-headers"
# What a build reads of the sources; a copy of these must build to the same bytes.
SOURCES = ["CMakeLists.txt", "CMakePresets.json", "cmake", "resources", "src", "tools"]

COLOUR = "NSColor *colour() { return %s; }\n"
NEWER_COLOUR = "[NSColor colorWithRed:0 green:0 blue:0 alpha:1]"
OLDER_COLOUR = "[NSColor colorWithSRGBRed:0 green:0 blue:0 alpha:1]"


class Availability(ScratchFolder):
    """The probes are compiled with the options that the product's own sources are compiled with."""

    def compile(self, architecture, text, like="appkit.mm"):
        commands = json.loads((TREES[architecture] / "compile_commands.json").read_text())
        entry, = (entry for entry in commands if entry["file"].endswith(f"/{like}"))
        probe = self.scratch / f"probe{Path(like).suffix}"
        probe.write_text("#import <AppKit/AppKit.h>\n" + text if like.endswith(".mm") else text)
        command = [str(probe) if word == entry["file"] else word for word in shlex.split(entry["command"])]
        command[command.index("-o") + 1] = str(self.scratch / "probe.o")
        self.assertIn(str(probe), command)
        return run(command, cwd=entry["directory"])

    def assert_compiles(self, *arguments, **options):
        outcome = self.compile(*arguments, **options)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)

    def assert_refused(self, message, *arguments, **options):
        outcome = self.compile(*arguments, **options)
        self.assertNotEqual(outcome.returncode, 0, "the probe was compiled")
        self.assertIn(message, outcome.stdout)

    def test_a_call_newer_than_the_slices_target_is_an_error(self):
        self.assert_refused("'colorWithRed:green:blue:alpha:' is only available on macOS 10.9 or newer",
                            "x86_64", COLOUR % NEWER_COLOUR)
        self.assert_compiles("arm64", COLOUR % NEWER_COLOUR)

    def test_a_guarded_newer_call_and_an_older_one_are_compiled(self):
        guarded = f"NSColor *colour() {{ if (@available(macOS 10.9, *)) return {NEWER_COLOUR}; return nil; }}\n"
        self.assert_compiles("x86_64", guarded)
        self.assert_compiles("x86_64", COLOUR % OLDER_COLOUR)

    def test_a_part_of_the_c_library_newer_than_the_target_is_an_error(self):
        newer = "#include <time.h>\nint now(timespec *t) { return clock_gettime(CLOCK_REALTIME, t); }\n"
        self.assert_refused("only available on macOS 10.12 or newer", "x86_64", newer, like="layout.cpp")
        self.assert_compiles("arm64", newer, like="layout.cpp")

    def test_a_part_of_the_standard_library_newer_than_the_target_is_an_error(self):
        newer = '#include <filesystem>\nbool there() { return std::filesystem::exists("/"); }\n'
        self.assert_refused("is unavailable: introduced in macOS 10.15", "x86_64", newer, like="layout.cpp")
        self.assert_compiles("arm64", newer, like="layout.cpp")

    def test_a_call_that_is_not_declared_is_an_error(self):
        self.assert_refused("instance method '-beep' not found", "arm64", "void beep() { [NSApp beep]; }\n")

    def test_zeroing_weak_references_are_compiled_without_automatic_counting(self):
        self.assert_compiles("x86_64", "#if __has_feature(objc_arc)\n#error counted\n#endif\n"
                                       "@interface Owner : NSObject { __weak NSWindow *window; }\n@end\n")


class Linking(ScratchFolder):
    def link(self, architecture, *arguments, name="linked"):
        return linking.link(architecture, self.scratch / name, *arguments), self.scratch / name

    def probe(self, architecture, text):
        source, compiled = self.scratch / "probe.cpp", self.scratch / "probe.o"
        source.write_text(text)
        target = f"{architecture}-apple-macosx{product.minimum_macos()[architecture]}"
        self.assertEqual(run(["clang++-19", f"--target={target}", "-c", source, "-o", compiled]).returncode, 0)
        return str(compiled)

    def test_a_symbol_that_no_stub_names_is_an_error(self):
        text = 'extern "C" int arc4random(); __attribute__((used)) int f() { return arc4random(); }'
        outcome, _ = self.link("x86_64", self.probe("x86_64", text))
        self.assertNotEqual(outcome.returncode, 0)
        self.assertIn("undefined symbol: arc4random", outcome.stdout)

    def test_a_symbol_newer_than_the_intel_target_is_an_error_in_the_intel_slice_only(self):
        text = 'extern "C" void *objc_alloc(void *); __attribute__((used)) void *f() { return objc_alloc(0); }'
        outcome, _ = self.link("x86_64", self.probe("x86_64", text))
        self.assertNotEqual(outcome.returncode, 0)
        self.assertIn("undefined symbol: objc_alloc", outcome.stdout)
        outcome, _ = self.link("arm64", self.probe("arm64", text))
        self.assertEqual(outcome.returncode, 0, outcome.stdout)

    def test_pointers_and_methods_are_read_the_same_in_both_ways_of_writing_them(self):
        outcome, plain = self.link("arm64")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        one = macho.slices(plain)["arm64"]
        outcome, other = self.link("arm64", "-Wl,-fixup_chains", "-Wl,-objc_relative_method_lists", name="other")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        another = macho.slices(other)["arm64"]
        self.assertNotEqual("__objc_methlist" in one.sections, "__objc_methlist" in another.sections)
        self.assertTrue(one.classes())
        self.assertEqual(one.classes(), another.classes())
        self.assertEqual(one.protocols(), another.protocols())
        self.assertEqual({found.symbol for found in one.imports}, {found.symbol for found in another.imports})

    def test_no_framework_stub_names_a_symbol_in_vain(self):
        imported = {found.symbol for one in product.slices().values() for found in one.imports}
        # The metaclasses come with their classes.
        named = {symbol for symbol in product.stub_symbols(product.SDK / "System")
                 if not symbol.startswith("_OBJC_METACLASS_")}
        self.assertTrue(named)
        self.assertEqual(sorted(named - imported), [])

    def test_no_framework_header_declares_a_method_in_vain(self):
        sent = {text for one in product.slices().values() for text in one.strings()}
        declared = set()
        for header in sorted((product.SDK / "System").rglob("*.h")):
            for method in re.findall(r"^[-+] \([^;]*?;", header.read_text(), re.MULTILINE):
                selector = re.sub(r"\s(SINCE|NS_FORMAT_FUNCTION)\w*\([^)]*\)|, \.\.\.|;", "", method)
                parts = re.findall(r"(\w+):", selector)
                declared.add("".join(f"{part}:" for part in parts) if parts else re.search(r"(\w+)$", selector)[1])
        self.assertGreater(len(declared), 50)
        self.assertEqual(sorted(declared - sent), [])


class MinimumMacOS(ScratchFolder):
    """Configures a slice, which is enough to see what it would be compiled and linked for."""

    def configure(self, architecture, *options):
        self.tree = self.scratch / architecture
        return run(["cmake", "--fresh", "--preset", f"macos-{architecture}", "-B", self.tree,
                    f"-DQUILLMARK_DARWIN_HEADERS={HEADERS}", *options], cwd=product.REPOSITORY)

    def assert_built_for(self, architecture, expected, *options):
        outcome = self.configure(architecture, *options)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        commands = [entry["command"] for entry in json.loads((self.tree / "compile_commands.json").read_text())]
        self.assertEqual({re.search(r"--target=\S+", command)[0] for command in commands},
                         {f"--target={architecture}-apple-macosx{expected}"})
        link = run(["ninja", "-C", self.tree, "-t", "commands", "src/Quillmark Installer"]).stdout
        self.assertIn(f"-Wl,-platform_version,macos,{expected},", link)

    def information(self):
        return plistlib.loads((self.tree / "Info.plist").read_bytes())["LSMinimumSystemVersion"]

    def test_it_is_10_8_on_intel_and_11_on_apple_silicon_unless_told_otherwise(self):
        self.assert_built_for("x86_64", "10.8")
        self.assertEqual(self.information(), "10.8")
        self.assert_built_for("arm64", "11.0")
        self.assertEqual(self.information(), "10.8")

    def test_one_setting_raises_it_for_the_compiler_the_linker_and_the_bundle(self):
        self.assert_built_for("x86_64", "10.13", "-DQUILLMARK_MINIMUM_MACOS=10.13")
        self.assertEqual(self.information(), "10.13")

    def test_apple_silicon_follows_from_11_on(self):
        self.assert_built_for("arm64", "11.0", "-DQUILLMARK_MINIMUM_MACOS=10.13")
        self.assertEqual(self.information(), "10.13")
        self.assert_built_for("arm64", "12.3", "-DQUILLMARK_MINIMUM_MACOS=12.3")

    def test_something_else_than_a_version_is_refused(self):
        for value in ("", "Monterey", "10", "10.8;"):
            with self.subTest(value):
                outcome = self.configure("x86_64", f"-DQUILLMARK_MINIMUM_MACOS={value}")
                self.assertNotEqual(outcome.returncode, 0)
                self.assertIn("QUILLMARK_MINIMUM_MACOS", outcome.stdout)


class Reproduction(ScratchFolder):
    def test_two_builds_from_two_folders_give_the_same_bytes(self):
        copy = self.scratch / "another folder" / "of the sources"
        copy.mkdir(parents=True)
        for source in SOURCES:
            if (product.REPOSITORY / source).is_dir():
                shutil.copytree(product.REPOSITORY / source, copy / source, symlinks=True)
            else:
                shutil.copy2(product.REPOSITORY / source, copy / source)
        built = run([copy / "tools/build-macos"], env={**os.environ, "QUILLMARK_DARWIN_HEADERS": str(HEADERS),
                                                       **self.search_paths_of_this_machine()})
        self.assertEqual(built.returncode, 0, built.stdout)
        here, there = self.contents(product.REPOSITORY / "build/macos"), self.contents(copy / "build/macos")
        self.assertIn("Quillmark Installer.app/Contents/MacOS/Quillmark Installer", here)
        self.assertEqual(sorted(here), sorted(there))
        self.assertEqual([path for path in here if here[path] != there[path]], [])

    def search_paths_of_this_machine(self):
        """Variables by which a compiler and a linker find what has no place in the product."""
        folder = self.scratch / "this machine's"
        folder.mkdir()
        (folder / "since.h").write_text("#error This is not the SDK's.\n")
        (folder / "libobjc.tbd").write_text("This is not the SDK's.\n")
        return {name: str(folder) for name in ("CPATH", "CPLUS_INCLUDE_PATH", "OBJCPLUS_INCLUDE_PATH", "LIBRARY_PATH")}

    def contents(self, folder):
        found = {}
        for path in sorted(folder.rglob("*")):
            mode = path.lstat().st_mode
            content = os.readlink(path) if path.is_symlink() else path.read_bytes() if path.is_file() else None
            found[str(path.relative_to(folder))] = (mode, content)
        return found
