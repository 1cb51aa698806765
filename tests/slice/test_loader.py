#!/usr/bin/env python3
"""Small executables for a Mac, built here and given to the loader: what it runs truly, and what it refuses by name.

usage: test_loader.py [Class[.test]]
"""

import os
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
LOADER = Path(os.environ.get("QUILLMARK_BUILD", REPOSITORY / "build/linux")) / "tests/slice/loader"
SDK = REPOSITORY / "cmake/macos-sdk"
DEADLINE_SECONDS = 60
FOUNDATION = "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation"

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
@end
@interface NSConstantString : NSString
@end
__attribute__((objc_exception)) @interface NSException : NSObject
+ (void)raise:(NSString *)name format:(NSString *)format, ...;
@end
extern "C" void NSLog(NSString *format, ...);
static int failed;
#define CHECK(condition) (failed || (condition) ? 0 : (failed = __LINE__))
#line 1
"""
NOTHING = "int main() { return 0; }"

LC_SEGMENT_64, LC_DYLD_INFO_ONLY, LC_MAIN = 0x19, 0x80000022, 0x80000028


class LoaderTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.program = self.folder / "program"

    def build(self, source, *options, architecture="x86_64", minimum="10.8"):
        built = subprocess.run(
            [*COMPILER, f"--target={architecture}-apple-macosx{minimum}", "-", *LINKER,
             f"-Wl,-platform_version,macos,{minimum},11.0", *options, "-o", self.program], input=SOURCE + source,
            stderr=subprocess.PIPE, text=True, check=False, timeout=DEADLINE_SECONDS)
        self.assertEqual(built.returncode, 0, built.stderr)

    def stub(self, *symbols, library=FOUNDATION):
        """A link stub of a library that has the symbols too."""
        file = self.folder / "stub.tbd"
        file.write_text(f"--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos ]\ninstall-name: '{library}'\n"
                        f"exports:\n  - targets: [ x86_64-macos ]\n    symbols: [ {', '.join(symbols)} ]\n...\n")
        return f"-Wl,{file}"

    def run_program(self, *arguments):
        return subprocess.run([LOADER, *arguments], env={**os.environ, "QUILLMARK_SLICE": str(self.program)},
                              capture_output=True, text=True, check=False, timeout=DEADLINE_SECONDS)


class Programs(LoaderTest):
    def assert_works(self, source, *options):
        """A program ends with 0, or with the line of the first check that failed."""
        self.build(source, *options)
        ran = self.run_program()
        self.assertEqual(ran.returncode, 0, ran.stderr)

    def test_arguments_and_status_are_passed_on(self):
        self.build("int main(int argc, char **argv) { return argc * 10 + argv[1][0] - '0'; }")
        self.assertEqual(self.run_program("7", "8").returncode, 37)

    def test_a_universal_executable_runs_as_the_intel_one_that_it_holds(self):
        self.build("int main() { return 1; }", architecture="arm64", minimum="11.0")
        arm = self.program.rename(self.folder / "arm")
        self.build("int main() { return 2; }")
        intel = self.program.rename(self.folder / "intel")
        subprocess.run(["llvm-lipo-19", "-create", arm, intel, "-output", self.program], check=True)
        self.assertEqual(self.run_program().returncode, 2)

    def test_a_message_with_variable_arguments_arrives_whole(self):
        self.build("""int main() { NSLog(@"%d %g %@ %s %g %d %d %d", 1, 2.5, @"three", "four", 5.5, 6, 7, 8); }""")
        self.assertIn("1 2.5 three four 5.5 6 7 8\n", self.run_program().stderr)

    def test_a_message_to_nil_answers_zero(self):
        self.assert_works("""
            int main(int count, char **) {
              NSObject *volatile nothing = nullptr;
              CHECK([nothing integerValue] == 0);
              CHECK(count * 2.5 + [nothing doubleValue] == 2.5);
              return failed;
            }""")

    def test_an_object_has_its_variables_constructed_and_destroyed_and_its_weak_references_cleared(self):
        self.assert_works("""
            static int made, destroyed;
            struct Member { Member() { ++made; } ~Member() { ++destroyed; } };
            @interface NSAutoreleasePool : NSObject
            @end
            @interface Parent : NSObject { Member _member; }
            @property(weak) id other;
            @end
            @implementation Parent
            @end
            @interface Child : Parent { Member _own; __weak id _another; }
            @end
            @implementation Child
            - (void)refer:(id)object { self.other = object; _another = object; }
            - (bool)refersTo:(id)object {
              NSObject *pool = [NSAutoreleasePool new];
              const bool refers = self.other == object && _another == object;
              [pool release];
              return refers;
            }
            @end
            int main() {
              Child *child = [Child new];
              CHECK(made == 2);
              id first = [NSObject new], second = [NSObject new];
              [child refer:first];
              [child refer:second];
              [first release];
              CHECK([child refersTo:second]);
              [second release];
              CHECK([child refersTo:nullptr]);
              id third = [NSObject new];
              [child refer:third];
              [child release];
              CHECK(destroyed == 2);
              [third release];
              return failed;
            }""", self.stub("_OBJC_CLASS_$_NSAutoreleasePool"))

    def test_exceptions_of_both_languages_end_where_they_are_caught_and_destroy_on_their_way(self):
        self.assert_works("""
            static int destroyed;
            struct Guard { ~Guard() { ++destroyed; } };
            struct Problem { int number; };
            @interface Source : NSObject
            @end
            @implementation Source
            - (void)raise { Guard guard; [NSException raise:@"Name" format:@"reason"]; }
            - (void)throwProblem { Guard guard; throw Problem{7}; }
            - (void)turn { @try { [self raise]; } @catch (NSException *) { Guard guard; throw Problem{8}; } }
            - (void)pass { Guard guard; @try { [self throwProblem]; } @catch (NSException *) { failed = __LINE__; } }
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
                  return problem.number;
                }
              } @catch (NSException *) {
                return 1;
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
                CHECK(caught(source, @selector(raise)) == 1 && destroyed == 1);
                CHECK(caught(source, @selector(throwProblem)) == 7 && destroyed == 1);
                CHECK(caught(source, @selector(turn)) == 8 && destroyed == 2);
                CHECK(caught(source, @selector(pass)) == 7 && destroyed == 2);
                CHECK(caughtAnything(source) == 1);
              }
              return failed;
            }""", "-lc++")


class Refusals(LoaderTest):
    def assert_refused(self, reason):
        refused = self.run_program()
        self.assertEqual((refused.returncode, refused.stderr),
                         (125, f"The executable cannot be run here: {reason}\n"))

    def patch(self, offset, layout, *values):
        content = bytearray(self.program.read_bytes())
        struct.pack_into("<" + layout, content, offset, *values)
        self.program.write_bytes(content)

    def command(self, wanted, which=0):
        """Where one of the load commands of that number starts."""
        content = self.program.read_bytes()
        count, = struct.unpack_from("<I", content, 16)
        at, found = 32, []
        for _ in range(count):
            number, size = struct.unpack_from("<2I", content, at)
            if number == wanted:
                found.append(at)
            at += size
        return found[which]

    # The file

    def test_a_missing_file(self):
        self.assert_refused(f"{self.program} cannot be read")

    def test_a_file_that_is_no_executable(self):
        self.program.write_text("#!/bin/sh\nexit 0\n" * 10)
        self.assert_refused("this is no x86_64 executable")

    def test_an_executable_for_apple_silicon(self):
        self.build(NOTHING, architecture="arm64", minimum="11.0")
        self.assert_refused("this is no x86_64 executable")

    def test_a_universal_executable_without_an_intel_slice(self):
        self.build(NOTHING, architecture="arm64", minimum="11.0")
        subprocess.run(["llvm-lipo-19", "-create", self.program, "-output", self.program], check=True)
        self.assert_refused("there is no x86_64 slice")

    def test_a_library(self):
        self.build("void nothing() {}", "-dynamiclib")
        self.assert_refused("this is no x86_64 executable")

    def test_a_file_that_was_cut_off(self):
        self.build(NOTHING)
        whole = self.program.read_bytes()
        for length in (0, 3, 40, 500, len(whole) // 2):
            with self.subTest(length=length):
                self.program.write_bytes(whole[:length])
                self.assert_refused("the file refers to what it does not hold")

    # Load commands, segments and sections

    def test_an_unknown_load_command(self):
        self.build(NOTHING, "-Wl,-rpath,/elsewhere")
        self.assert_refused("no support for the load command 0x8000001c")

    def test_chained_fixups(self):
        self.build(NOTHING, "-Wl,-fixup_chains")
        self.assert_refused("no support for the load command 0x80000034")

    def test_a_library_that_may_be_missing(self):
        self.build(NOTHING, "-weak_framework", "CoreFoundation")
        self.assert_refused("no support for the load command 0x80000018")

    def test_no_entry_point(self):
        self.build(NOTHING)
        self.patch(self.command(LC_MAIN) + 8, "Q", 0)
        self.assert_refused("there is no entry point")

    def test_a_segment_in_a_place_that_is_taken(self):
        self.build(NOTHING)
        text, data = (self.command(LC_SEGMENT_64, which) for which in (1, 2))
        self.patch(data + 24, "Q", struct.unpack_from("<Q", self.program.read_bytes(), text + 24)[0])
        self.assert_refused("something else is in the place of the segment __DATA")

    def test_a_segment_that_is_read_only_once_it_is_bound(self):
        self.build(NOTHING)
        self.patch(self.command(LC_SEGMENT_64, 2) + 68, "I", 0x10)
        self.assert_refused("no support for the flags of the segment __DATA")

    def test_an_initialiser(self):
        self.build("""__attribute__((constructor)) void start() { NSLog(@"started"); }""" + NOTHING)
        self.assert_refused("no support for the section __mod_init_func")

    def test_a_thread_local_variable(self):
        self.build("thread_local int number; int main() { return number; }",
                   self.stub("__tlv_bootstrap", library="/usr/lib/libSystem.B.dylib"))
        self.assert_refused("no support for the section __thread_vars")

    # Imports

    def test_symbols_without_a_counterpart(self):
        self.build("""extern "C" int NSNowhere(), NSNeverThere; @interface NSNobody : NSObject
                      @end
                      int main() { [NSNobody new]; return NSNowhere() + NSNeverThere; }""",
                   self.stub("_NSNowhere", "_NSNeverThere", "_OBJC_CLASS_$_NSNobody"))
        self.assert_refused("these symbols have no counterpart:" + "".join(
            f"\n  {symbol} of {FOUNDATION}" for symbol in ["_NSNeverThere", "_OBJC_CLASS_$_NSNobody", "_NSNowhere"]))

    def test_a_function_that_has_only_its_name_in_common_with_the_one_here(self):
        self.build("""extern "C" int open(const char *, int, ...); int main() { return open("/new", 0x200); }""",
                   self.stub("_open", library="/usr/lib/libSystem.B.dylib"))
        self.assert_refused("these symbols have no counterpart:\n  _open of /usr/lib/libSystem.B.dylib")

    def test_an_import_that_may_be_missing(self):
        self.build("""extern "C" __attribute__((weak_import)) int NSMaybe(); int main() { return NSMaybe(); }""",
                   self.stub("_NSMaybe"))
        self.assert_refused("no support for the kind of import that _NSMaybe is")

    def test_an_import_from_no_library_in_particular(self):
        self.build("""extern "C" int NSAnywhere(); int main() { return NSAnywhere(); }""",
                   "-undefined", "dynamic_lookup")
        self.assert_refused("no support for the bind opcode 0x3e")

    def test_a_mode_of_dlopen_that_means_something_else_here(self):
        self.build("""extern "C" void *dlopen(const char *, int); int main() { dlopen("libm.so.6", 0x102); }""")
        self.assert_refused("no support for a mode of dlopen")

    def test_a_handle_that_stands_for_all_libraries(self):
        self.build("""extern "C" void *dlsym(long, const char *); int main() { dlsym(-2, "floor"); }""")
        self.assert_refused("no support for RTLD_DEFAULT and its like")

    def test_bind_tables_that_say_what_no_linker_writes_for_this_product(self):
        for opcodes, reason in [
                (b"\x52", "no support for an import that is no pointer"),
                (b"\x1f", "the file refers to what it does not hold"),  # a library
                (b"\x7f\0", "the file refers to what it does not hold"),  # a segment
                (b"\xd0", "no support for the bind opcode 0xd0")]:
            with self.subTest(opcodes):
                self.build("""int main() { NSLog(@"a", @"b"); }""")
                table, = struct.unpack_from("<I", self.program.read_bytes(), self.command(LC_DYLD_INFO_ONLY) + 16)
                self.patch(table, f"{len(opcodes)}s", opcodes)
                self.assert_refused(reason)

    # Frames of functions

    def test_a_frame_that_only_dwarf_can_describe(self):
        self.build("""
            asm("_odd: .cfi_startproc; pushq %rcx; .cfi_offset %rcx, -16; popq %rcx; ret; .cfi_endproc");
            extern "C" void odd();
            int main() { odd(); }""")
        self.assert_refused("no support for the section __eh_frame")

    def test_a_function_without_a_frame_pointer(self):
        self.build("""int main() { NSLog(@"a"); }""", "-fomit-frame-pointer")
        self.assert_refused("no support for a function without a frame pointer")

    # Objective-C

    def test_a_category(self):
        self.build("@implementation NSObject (More)\n- (void)more {}\n@end " + NOTHING)
        self.assert_refused("no support for the section __objc_catlist")

    def test_a_class_with_a_load_method(self):
        self.build("@interface Own : NSObject\n@end\n@implementation Own\n+ (void)load {}\n@end " + NOTHING)
        self.assert_refused("no support for the section __objc_nlclslist")

    def test_a_root_class(self):
        self.build("__attribute__((objc_root_class)) @interface Own\n@end\n@implementation Own\n@end " + NOTHING)
        self.assert_refused("no support for the flags of the class Own")

    def test_a_class_that_is_there_already(self):
        self.build("@interface NSArray : NSObject\n@end\n@implementation NSArray\n@end " + NOTHING)
        self.assert_refused("the class NSArray is there already")

    def test_relative_method_lists(self):
        self.build("@interface Own : NSObject\n@end\n@implementation Own\n- (void)more {}\n@end " + NOTHING)
        self.patch(self.program.read_bytes().index(struct.pack("<2I", 24, 1)), "I", 24 | 0x80000000)
        self.assert_refused("no support for the kind of a list in the Objective-C metadata")

    def test_a_constant_string_that_is_not_ascii(self):
        self.build("""int main() { NSLog(@"\u00e4"); }""")
        self.assert_refused("no support for a constant string that is not of 8-bit characters")

    def test_catching_anything_but_nsexceptions(self):
        self.build("""int main() { @try { NSLog(@"a"); } @catch (NSObject *) {} }""",
                   self.stub("_objc_ehtype_vtable", library="/usr/lib/libobjc.A.dylib"))
        self.assert_refused("these symbols have no counterpart:\n  _objc_ehtype_vtable of /usr/lib/libobjc.A.dylib")


if __name__ == "__main__":
    unittest.main()
