"""Looks at the slices of the shipped executable: targets, libraries, imports, signature, size, texts."""

import re
import stat
import unittest

from inspection import macho, product

# Bytes without the signature. What was reached, and a tenth.
SIZE_BUDGET = {"x86_64": 116_500, "arm64": 155_800}
# Notarisation refuses what was linked against an older SDK.
OLDEST_SDK = "10.9"

# Each with its compatibility version in OS X 10.8: the loader refuses an executable that asks for a higher one.
LIBRARIES = {
    "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit": "45",
    "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation": "150",
    "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation": "300",
    "/System/Library/Frameworks/Security.framework/Versions/A/Security": "1",
    "/System/Library/Frameworks/ServiceManagement.framework/Versions/A/ServiceManagement": "1",
    "/usr/lib/libSystem.B.dylib": "1",
    "/usr/lib/libc++.1.dylib": "1",
    "/usr/lib/libobjc.A.dylib": "1",
}

# The load commands by which OS X 10.8 starts the Intel slice and knows what it was built for, and others that it knows.
NEEDED_COMMANDS = {"LC_DYLD_INFO_ONLY", "LC_LOAD_DYLINKER", "LC_MAIN", "LC_VERSION_MIN_MACOSX"}
KNOWN_COMMANDS = NEEDED_COMMANDS | {
    "LC_CODE_SIGNATURE", "LC_DATA_IN_CODE", "LC_DYLIB_CODE_SIGN_DRS", "LC_DYSYMTAB", "LC_FUNCTION_STARTS",
    "LC_LOAD_DYLIB", "LC_SEGMENT_64", "LC_SOURCE_VERSION", "LC_SYMTAB", "LC_UUID",
}

# Flags for the Objective-C runtime of OS X 10.8, which would collect garbage in the whole process.
SUPPORTS_GARBAGE_COLLECTION, REQUIRES_GARBAGE_COLLECTION = 1 << 1, 1 << 2

PAGE_SIZE = {"x86_64": 0x1000, "arm64": 0x4000}

# How a path on a Mac or of a web page, and no path of the build, begins.
KNOWN_PATHS = ("/Applications/", "/System/Library/", "/bin/sh", "/privacy-policy-2/", "/usr/lib/")


def slice_for_os_x_10_8(test):
    """The Intel slice, unless it was built for systems that know what 10.8 does not."""
    oldest = product.minimum_macos()["x86_64"]
    if product.comparable(oldest) >= (10, 13):
        test.skipTest(f"the Intel slice is for macOS {oldest}")
    return product.slices()["x86_64"]


class Slices(unittest.TestCase):
    def test_the_executable_is_universal_and_may_be_run(self):
        self.assertEqual(list(product.slices()), ["x86_64", "arm64"])
        self.assertEqual(stat.S_IMODE(product.EXECUTABLE.stat().st_mode), 0o755)
        for one in product.slices().values():
            self.assertEqual(one.file_type, "EXECUTE")
            self.assertIn("PIE", one.flags, "position independent")

    @product.for_each_slice
    def test_each_slice_runs_on_its_oldest_system(self, one):
        self.assertEqual(one.platform, "macos")
        self.assertEqual(one.minimum, product.minimum_macos()[one.architecture])
        self.assertGreaterEqual(product.comparable(one.sdk), product.comparable(OLDEST_SDK))

    @product.for_each_slice
    def test_each_slice_keeps_to_its_size(self, one):
        self.assertLessEqual(one.size_unsigned, SIZE_BUDGET[one.architecture])

    @product.for_each_slice
    def test_no_path_of_the_build_is_inside(self, one):
        texts = sorted(one.strings())
        self.assertIn("/bin/sh", texts)
        self.assertEqual([text for text in texts if str(product.REPOSITORY) in text], [])
        self.assertEqual([text for text in texts if re.match(r"/[^/\s]+/", text) and
                          not text.startswith(KNOWN_PATHS)], [])
        self.assertEqual([text for text in texts if re.search(r"\.(cpp|hpp|mm|h)$", text)], [])


class Imports(unittest.TestCase):
    @product.for_each_slice
    def test_no_other_library_is_linked(self, one):
        self.assertEqual(sorted(library.fields["name"] for library in one.libraries), sorted(LIBRARIES))
        self.assertEqual({library.name for library in one.libraries}, {"LC_LOAD_DYLIB"})
        for library in one.libraries:
            compatible, current = (product.comparable(library.fields[f"{kind} version"])
                                   for kind in ("compatibility", "current"))
            newest = LIBRARIES[library.fields["name"]]
            self.assertLessEqual(compatible, (int(newest), 0, 0), library.fields["name"])
            # Frameworks ask for the version that they were linked as, and do for an old one what that one did.
            self.assertGreater(current, (1, 0, 0), library.fields["name"])

    @product.for_each_slice
    def test_no_slice_imports_what_its_oldest_system_lacks(self, one):
        symbols = sorted({found.symbol for found in one.imports})
        known = product.stub_symbols()
        oldest = product.minimum_macos()[one.architecture]
        self.assertGreater(len(symbols), 50, "imported symbols")
        self.assertEqual([symbol for symbol in symbols if symbol not in known], [],
                         "these are in no stub of cmake/macos-sdk, so that nothing is known of their age")
        self.assertEqual([f"{symbol} ({known[symbol].since})" for symbol in symbols
                          if product.comparable(known[symbol].since) > product.comparable(oldest)], [])

    @product.for_each_slice
    def test_each_import_is_looked_up_in_the_library_where_it_lies(self, one):
        known = product.stub_symbols()

        def is_right(found):
            stub = known.get(found.symbol)
            return stub and (found.library == stub.library or stub.is_weak and found.library == "weak")

        self.assertGreater(len(one.imports), 50)
        self.assertEqual([f"{found.symbol} in {found.library}" for found in one.imports if not is_right(found)], [])

    @product.for_each_slice
    def test_the_relocation_calls_are_looked_up_and_not_linked(self, one):
        self.assertEqual([found for found in one.imports if "SecTranslocate" in found.symbol], [])
        for call in ("SecTranslocateIsTranslocatedURL", "SecTranslocateCreateOriginalPathForURL"):
            self.assertIn(call, one.strings())


class Closedness(unittest.TestCase):
    """Nobody who can write beside the bundle, or set the environment, has a say in what the executable loads."""

    @product.for_each_slice
    def test_no_memory_may_be_written_and_executed(self, one):
        protections = {f"{name} {which}": segment[which] for name, segment in one.segments.items()
                       for which in ("initprot", "maxprot")}
        self.assertEqual(protections.pop("__TEXT maxprot"), "r-x")
        self.assertEqual(protections.pop("__TEXT initprot"), "r-x")
        self.assertEqual({name: rights for name, rights in protections.items() if "x" in rights}, {})
        self.assertNotIn("ALLOW_STACK_EXECUTION", one.flags)

    @product.for_each_slice
    def test_no_library_is_looked_for_beside_the_bundle(self, one):
        self.assertEqual([library.fields["name"] for library in one.libraries
                          if library.fields["name"] not in LIBRARIES], [])
        self.assertEqual(one.all("LC_RPATH", "LC_DYLD_ENVIRONMENT"), [])
        self.assertEqual([text for text in one.strings() if re.search("@(rpath|(loader|executable)_path)", text)], [])

    @product.for_each_slice
    def test_what_is_loaded_at_run_time_is_the_systems_security_framework_and_no_other(self, one):
        named = {text for text in one.strings() if re.search(r"\.(framework/|dylib|bundle/|so$)", text)}
        self.assertEqual(named - set(LIBRARIES), {"/System/Library/Frameworks/Security.framework/Security"})

    @product.for_each_slice
    def test_the_environment_is_not_read(self, one):
        """Home and temporary folder are what the system says; the shell alone looks at PATH."""
        symbols = {found.symbol for found in one.imports}
        self.assertIn("_NSHomeDirectory", symbols)
        self.assertEqual(sorted(symbols & {"_getenv", "_secure_getenv", "_environ", "__NSGetEnviron", "_putenv",
                                           "_setenv", "_unsetenv", "_confstr"}), [])
        self.assertEqual(sorted(one.strings() & {"environment", "setEnvironment:"}), [], "messages")


class Format(unittest.TestCase):
    """What the loader and the Objective-C runtime want of a slice; cmake/macos-sdk/README.md has the sources."""

    def test_the_intel_slice_has_only_load_commands_of_its_oldest_system(self):
        one = slice_for_os_x_10_8(self)
        commands = {command.name for command in one.commands}
        self.assertEqual(sorted(NEEDED_COMMANDS - commands), [], "missing")
        self.assertEqual(sorted(commands - KNOWN_COMMANDS), [], "not known")

    def test_the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system(self):
        one = slice_for_os_x_10_8(self)
        version, flags = one.image_info()
        self.assertEqual(version, 0)
        self.assertFalse(flags & (SUPPORTS_GARBAGE_COLLECTION | REQUIRES_GARBAGE_COLLECTION), "garbage collection")
        self.assertNotIn("__objc_methlist", one.sections, "methods as offsets")
        variables = [variable for each in one.classes().values() for variable in each.variables]
        self.assertEqual(one.sections["__objc_ivar"]["size"], 8 * len(variables), "bytes for the variables' places")

    def test_the_constants_of_the_arm64_slice_are_read_only_once_they_are_bound(self):
        self.assertEqual(product.slices()["arm64"].segments["__DATA_CONST"]["flags"], "SG_READ_ONLY")

    @product.for_each_slice
    def test_each_function_can_be_unwound(self, one):
        modes = {encoding & macho.UNWIND_MODE for encoding in one.unwind_encodings}
        self.assertTrue(modes, "there is no unwind table")
        if macho.UNWIND_BY_DWARF[one.architecture] in modes:
            self.assertIn("__eh_frame", one.sections, "the unwind table refers to it")

    @product.for_each_slice
    def test_each_slice_and_its_segments_begin_on_a_page_and_link_edit_tables_on_a_word(self, one):
        places = {"the slice": one.offset}
        for name, segment in one.segments.items():
            places |= {f"{name} in memory": segment["vmaddr"], f"{name} in the file": segment["fileoff"]}
        self.assertEqual({name: place for name, place in places.items() if place % PAGE_SIZE[one.architecture]}, {})
        tables = one.link_edit_tables()
        self.assertIn("LC_SYMTAB stroff", tables)
        self.assertEqual({name: place for name, place in tables.items() if place % 8}, {})


class Signature(unittest.TestCase):
    def test_the_arm64_slice_is_signed_and_a_signed_intel_slice_is_for_its_oldest_system(self):
        self.assertTrue(product.slices()["arm64"].signature, "Apple silicon runs nothing unsigned")
        for directory in slice_for_os_x_10_8(self).code_directories()[:1]:
            self.assertEqual((directory.hash_type, directory.page_size), (macho.SHA1, 4096))

    @product.for_each_slice
    def test_a_signature_is_aligned_and_the_last_of_its_slice(self, one):
        link_edit = one.segments["__LINKEDIT"]
        self.assertEqual(link_edit["fileoff"] + link_edit["filesize"], len(one.content))
        for signature in one.all("LC_CODE_SIGNATURE"):
            self.assertEqual(signature.fields["dataoff"] % 16, 0, signature.fields["dataoff"])
            self.assertEqual(signature.fields["dataoff"] + signature.fields["datasize"], len(one.content))

    @product.for_each_slice
    def test_no_slice_has_changed_since_it_was_signed(self, one):
        for directory in one.code_directories():
            self.assertTrue(directory.pages_match, "the code is not what was signed")
            if not product.is_signed_bundle():
                self.assertTrue(directory.flags & macho.ADHOC, "ad-hoc signature")

    @product.for_each_slice
    def test_a_signed_bundle_has_both_digests_and_the_hardened_runtime(self, one):
        if not product.is_signed_bundle():
            self.skipTest("the bundle is not signed")
        directories = one.code_directories()
        self.assertEqual([directory.hash_type for directory in directories], [macho.SHA1, macho.SHA256])
        for directory in directories:
            self.assertEqual(directory.identifier, "com.quillmark.customInstaller")
            self.assertTrue(directory.flags & macho.HARDENED_RUNTIME, "hardened runtime")
            self.assertFalse(directory.flags & macho.ADHOC, "signed by nobody")

    @product.for_each_slice
    def test_a_signed_bundle_has_no_entitlement_that_would_open_the_hardened_runtime(self, one):
        if not product.is_signed_bundle():
            self.skipTest("the bundle is not signed")
        self.assertEqual([hex(kind) for kind in one.entitlements()], [])
