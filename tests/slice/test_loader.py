#!/usr/bin/env python3
"""Small executables for a Mac, built here and given to the loaders: what they run truly, and what they refuse by name.

usage: test_loader.py [Class[.test]]
"""

import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path
from typing import NamedTuple

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("QUILLMARK_BUILD", REPOSITORY / "build/linux"))
SDK = REPOSITORY / "cmake/macos-sdk"
LIST_IMAGE = REPOSITORY / "tests/slice/list-image"
DEADLINE_SECONDS = 60
SKIPPED = 77
FOUNDATION = "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation"
SYSTEM, OBJC, LIBCXX = "/usr/lib/libSystem.B.dylib", "/usr/lib/libobjc.A.dylib", "/usr/lib/libc++.1.dylib"
OLDEST = {"x86_64": "10.8", "arm64": "11.0"}

COMPILER = ["clang++-19", "-nostdinc", "-x", "objective-c++", "-std=c++20", "-Os", "-fobjc-weak"]
LINKER = ["-fuse-ld=lld", f"-Wl,-syslibroot,{SDK}", "-Wl,-dead_strip", "-framework", "Foundation",
          "-framework", "CoreFoundation", "-lobjc"]
SOURCE = """
@interface NSObject
+ (id)new;
- (void)release;
- (long)integerValue;
- (double)doubleValue;
@end
@interface NSString : NSObject
+ (id)stringWithFormat:(NSString *)format, ...;
- (unsigned short)characterAtIndex:(unsigned long)index;
@end
@interface NSConstantString : NSString
@end
@interface NSMutableString : NSString
- (void)appendFormat:(NSString *)format, ...;
@end
__attribute__((objc_exception)) @interface NSException : NSObject
@end
extern "C" void NSLog(NSString *format, ...);
#line 1
"""
NOTHING = "int main() { return 0; }"


class LoaderTest(unittest.TestCase):
    processor = "x86_64"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.program = self.folder / "program"

    def build(self, source, *options, symbols=(), library=FOUNDATION, processor=None):
        """The stub of a library says that it has the symbols."""
        processor = processor or self.processor
        stub, oldest = self.folder / "stub.tbd", OLDEST[processor]
        stub.write_text(f"--- !tapi-tbd\ntbd-version: 4\ntargets: [ {processor}-macos ]\ninstall-name: '{library}'\n"
                        f"exports:\n  - targets: [ {processor}-macos ]\n    symbols: [ {', '.join(symbols)} ]\n...\n")
        built = subprocess.run(
            [*COMPILER, f"--target={processor}-apple-macosx{oldest}", "-", *LINKER,
             *([f"-Wl,{stub}"] if symbols else []), f"-Wl,-platform_version,macos,{oldest},11.0", *options,
             "-o", self.program], input=SOURCE + source,
            stderr=subprocess.PIPE, text=True, check=False, timeout=DEADLINE_SECONDS)
        self.assertEqual(built.returncode, 0, built.stderr)

    def run_program(self, *arguments):
        loader = BUILD / {"x86_64": "slice/loader", "arm64": "slice-arm64/loader"}[self.processor]
        more = {"env": {**os.environ, "QUILLMARK_SLICE": str(self.program)}, "capture_output": True, "text": True,
                "timeout": DEADLINE_SECONDS}
        listed = subprocess.run([LIST_IMAGE, self.processor, self.program], check=False, **more)
        if listed.returncode != 0:
            return listed
        ran = subprocess.run([loader, *arguments], check=False, **more)
        if ran.returncode == SKIPPED:
            self.skipTest(ran.stdout.strip())
        return ran

    def assert_refused(self, reason):
        refused = self.run_program()
        self.assertEqual((refused.returncode, refused.stderr), (125, f"The executable cannot be run here: {reason}\n"))


class Intel(LoaderTest):
    def test_of_a_universal_executable_the_slice_for_the_processor_runs_with_its_arguments_and_status(self):
        slices = []
        for number, processor in enumerate(OLDEST):
            self.build(f"int main(int argc, char **argv) {{ return {number} + argc * 10 + argv[1][0] - '0'; }}",
                       processor=processor)
            slices.append(self.program.rename(self.folder / processor))
        subprocess.run(["llvm-lipo-19", "-create", *slices, "-output", self.program], check=True)
        self.assertEqual(self.run_program("7", "8").returncode, 37 + list(OLDEST).index(self.processor))

    def test_variable_arguments_arrive_whole(self):
        self.build("""int main() {
              NSLog(@"%d %g %@ %s %g %d %d %d", 1, 2.5, @"three", "four", 5.5, 6, 7, 8);
              NSLog(@"%@", [NSString stringWithFormat:@"%d %g %@ %s %g %d", 9, 10.5, @"eleven", "twelve", 13.5, 14]);
              NSMutableString *string = [NSMutableString new];
              [string appendFormat:@"%d %@ %s %ld %x %d %d %d", 15, @"sixteen", "seventeen", 18L, 0x19, 20, 21, 22];
              NSLog(@"%@", string);
            }""", symbols=["_OBJC_CLASS_$_NSString", "_OBJC_CLASS_$_NSMutableString"])
        said = re.findall(r"\] (\d.*)", self.run_program().stderr)
        self.assertEqual(said, ["1 2.5 three four 5.5 6 7 8", "9 10.5 eleven twelve 13.5 14",
                                "15 sixteen seventeen 18 19 20 21 22"])

    def test_exceptions_of_both_languages_end_where_they_are_caught_and_destroy_on_their_way(self):
        self.build("""
            static int destroyed;
            struct Guard { ~Guard() { ++destroyed; } };
            struct Problem { int number; };
            @interface Source : NSObject
            @end
            @implementation Source
            - (void)raise { Guard guard; [@"" characterAtIndex:1]; }
            - (void)throwProblem { Guard guard; throw Problem{7}; }
            - (void)turn { @try { [self raise]; } @catch (NSException *) { Guard guard; throw Problem{8}; } }
            - (void)pass { Guard guard; @try { [self throwProblem]; } @catch (NSException *) { destroyed = 100; } }
            @end
            static int caught(Source *source, SEL message) {
              destroyed = 0;
              @try {
                try {
                  if (message == @selector(raise)) [source raise];
                  if (message == @selector(throwProblem)) [source throwProblem];
                  if (message == @selector(turn)) [source turn];
                  if (message == @selector(pass)) [source pass];
                } catch (const Problem &problem) {
                  return 10 * problem.number + destroyed;
                }
              } @catch (NSException *) {
                return destroyed;
              }
              return 0;
            }
            static int caughtAnything(Source *source) noexcept {
              try { [source raise]; } catch (...) { return 1; }
              return 0;
            }
            int main() {
              Source *source = [Source new];
              for (int i = 0; i < 3; ++i) {
                if (caught(source, @selector(raise)) != 1) return __LINE__;
                if (caught(source, @selector(throwProblem)) != 71) return __LINE__;
                if (caught(source, @selector(turn)) != 82) return __LINE__;
                if (caught(source, @selector(pass)) != 72) return __LINE__;
                if (!caughtAnything(source)) return __LINE__;
              }
              NSObject *volatile nothing = nullptr;
              return [nothing integerValue] != 0 || [nothing doubleValue] != 0 ? __LINE__ : 0;
            }""", "-lc++")
        ran = self.run_program()
        self.assertEqual(ran.returncode, 0, ran.stderr)


class AppleSilicon(Intel):
    processor = "arm64"

    def test_what_cannot_be_translated_is_refused(self):
        string, mutable = "_OBJC_CLASS_$_NSString", "_OBJC_CLASS_$_NSMutableString"
        stoi = "__ZNSt3__14stoiERKNS_12basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEEPmi"
        for reason, source, symbols, library in [
                ("no support for fractions in -appendFormat:",
                 'int main() { [[NSMutableString new] appendFormat:@"%g", 1.5]; }', [mutable], FOUNDATION),
                ("no support for the message to super stringWithFormat:",
                 """@interface Own : NSString\n@end\n@implementation Own
                    + (id)new { return [super stringWithFormat:@"%d", 1]; }\n@end int main() { [Own new]; }""",
                 [string, string.replace("CLASS", "METACLASS")], FOUNDATION),
                (f"these symbols have no counterpart:\n  {stoi} of {LIBCXX}",
                 f'extern "C" int number() asm("{stoi}"); int main() {{ return number(); }}', [stoi], LIBCXX)]:
            with self.subTest(reason):
                self.build(source, symbols=symbols, library=library)
                self.assert_refused(reason)

    def test_whatever_has_variable_arguments_is_translated(self):
        declared = set()
        for header in [*SDK.rglob("*.h"), *REPOSITORY.glob("src/*/*.h"), *REPOSITORY.glob("src/*/*.hpp")]:
            code = re.sub(r"//.*|/\*.*?\*/|^#.*", "", header.read_text(), flags=re.MULTILINE)
            for declaration in re.findall(r"[^;{}]*(?:\.\.\.|\bva_list\b)[^;{}]*", code):
                method = re.search(r"^\s*[-+]\s*\(.*", declaration, re.MULTILINE | re.DOTALL)
                declared.add("".join(re.findall(r"\w+:", method[0])) if method else
                             re.search(r"(\w+)\(", declaration)[1])
        self.assertIn("stringWithFormat:", declared)
        translated = re.findall(r'"_?([\w:]+)"', (REPOSITORY / "tests/slice/arm64/calls.mm").read_text())
        self.assertEqual(declared - set(translated), set())


class Refused(NamedTuple):
    what: str
    reason: str
    source: str = NOTHING
    options: tuple = ()
    symbols: tuple = ()
    library: str = FOUNDATION


REFUSED = [
    Refused("chained fixups", "no support for the load command LC_DYLD_CHAINED_FIXUPS", options=("-Wl,-fixup_chains",)),
    Refused("an initialiser", "no support for the section __mod_init_func",
            '__attribute__((constructor)) void start() { NSLog(@"started"); }' + NOTHING),
    Refused("symbols without a counterpart", "these symbols have no counterpart:" + "".join(
        f"\n  {symbol} of {FOUNDATION}" for symbol in ["_NSNeverThere", "_OBJC_CLASS_$_NSNobody", "_NSNowhere"]),
            """extern "C" int NSNowhere(), NSNeverThere; @interface NSNobody : NSObject
               @end
               int main() { [NSNobody new]; return NSNowhere() + NSNeverThere; }""",
            symbols=("_NSNowhere", "_NSNeverThere", "_OBJC_CLASS_$_NSNobody")),
    Refused("a function that has only its name in common with the one here",
            f"these symbols have no counterpart:\n  _open of {SYSTEM}",
            'extern "C" int open(const char *, int, ...); int main() { return open("/new", 0x200); }',
            symbols=("_open",), library=SYSTEM),
    Refused("a mode of dlopen that means something else here", "no support for a mode of dlopen",
            'extern "C" void *dlopen(const char *, int); int main() { dlopen("libm.so.6", 0x102); }'),
    Refused("a handle that stands for all libraries", "no support for RTLD_DEFAULT and its like",
            'extern "C" void *dlsym(long, const char *); int main() { dlsym(-2, "floor"); }'),
    Refused("a frame that only DWARF can describe", "no support for the section __eh_frame",
            """asm("_odd: .cfi_startproc; pushq %rcx; .cfi_offset %rcx, -16; popq %rcx; ret; .cfi_endproc");
               extern "C" void odd();
               int main() { odd(); }"""),
    Refused("a function without a frame pointer", "no support for a function without a frame pointer",
            'int main() { NSLog(@"a"); }', ("-fomit-frame-pointer",)),
    Refused("a category", "no support for the section __objc_catlist",
            "@implementation NSObject (More)\n- (void)more {}\n@end " + NOTHING),
    Refused("a root class", "no support for the flags of the class Own",
            "__attribute__((objc_root_class)) @interface Own\n@end\n@implementation Own\n@end " + NOTHING),
    Refused("a class that is there already", "the class NSArray is there already",
            "@interface NSArray : NSObject\n@end\n@implementation NSArray\n@end " + NOTHING),
    Refused("a constant string that is not ASCII",
            "no support for a constant string that is not of 8-bit characters", 'int main() { NSLog(@"\u00e4"); }'),
    Refused("catching anything but NSExceptions",
            f"these symbols have no counterpart:\n  _objc_ehtype_vtable of {OBJC}",
            'int main() { @try { NSLog(@"a"); } @catch (NSObject *) {} }', symbols=("_objc_ehtype_vtable",),
            library=OBJC),
]


class Refusals(LoaderTest):
    def test_an_executable_that_needs_what_the_loader_does_not_do(self):
        for what, reason, source, options, symbols, library in REFUSED:
            with self.subTest(what):
                self.build(source, *options, symbols=symbols, library=library)
                self.assert_refused(reason)


if __name__ == "__main__":
    unittest.main()
