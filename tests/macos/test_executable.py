"""Looks at the slices of the shipped executable: targets, libraries, imports, signature, size, texts."""

import re
import stat
import unittest

from support import macho, product

# Bytes without the signature. What was reached, and a tenth.
SIZE_BUDGET = {"x86_64": 116_500, "arm64": 155_800}
# Notarisation refuses what was linked against an older SDK.
OLDEST_SDK = "10.9"

LIBRARIES = {
    "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit",
    "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
    "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
    "/System/Library/Frameworks/Security.framework/Versions/A/Security",
    "/System/Library/Frameworks/ServiceManagement.framework/Versions/A/ServiceManagement",
    "/usr/lib/libSystem.B.dylib",
    "/usr/lib/libc++.1.dylib",
    "/usr/lib/libobjc.A.dylib",
}

# How a path on a Mac or of a web page, and no path of the build, begins.
KNOWN_PATHS = ("/Applications/", "/System/Library/", "/bin/sh", "/privacy-policy-2/", "/usr/lib/")


class Slices(unittest.TestCase):
    def each(self, check):
        for architecture, one in product.slices().items():
            with self.subTest(architecture):
                check(architecture, one)

    def test_there_is_a_slice_for_each_processor(self):
        self.assertEqual(list(product.slices()), ["x86_64", "arm64"])

    def test_the_executable_is_universal_and_may_be_run(self):
        def check(_, one):
            self.assertEqual(one.file_type, macho.EXECUTABLE)
            self.assertTrue(one.flags & macho.POSITION_INDEPENDENT, "position independent")

        self.each(check)
        self.assertEqual(stat.S_IMODE(product.EXECUTABLE.stat().st_mode), 0o755)

    def test_each_slice_runs_on_its_oldest_system(self):
        def check(architecture, one):
            self.assertEqual(one.platform, macho.PLATFORM_MACOS)
            self.assertEqual(one.minimum, product.minimum_macos()[architecture])
            self.assertGreaterEqual(product.comparable(one.sdk), product.comparable(OLDEST_SDK))

        self.each(check)

    def test_the_libraries_are_these_and_no_others(self):
        def check(_, one):
            self.assertEqual(sorted(one.libraries), sorted(LIBRARIES))
            self.assertEqual(one.rpaths, [])

        self.each(check)

    def test_the_intel_slice_imports_nothing_that_its_oldest_system_lacks(self):
        self.look_for_newer_symbols("x86_64")

    def test_the_arm64_slice_imports_nothing_that_its_oldest_system_lacks(self):
        self.look_for_newer_symbols("arm64")

    def look_for_newer_symbols(self, architecture):
        imports = product.slices()[architecture].imports
        known = product.stub_symbols()
        oldest = product.minimum_macos()[architecture]
        self.assertGreater(len(imports), 50, "imported symbols")
        self.assertEqual([symbol for symbol in imports if symbol not in known], [],
                         "these are in no stub of cmake/macos-sdk, so that nothing is known of their age")
        self.assertEqual([f"{symbol} ({known[symbol]})" for symbol in imports
                          if product.comparable(known[symbol]) > product.comparable(oldest)], [])

    def test_the_relocation_calls_are_looked_up_and_not_linked(self):
        def check(_, one):
            self.assertEqual([symbol for symbol in one.imports if "SecTranslocate" in symbol], [])
            for call in ("SecTranslocateIsTranslocatedURL", "SecTranslocateCreateOriginalPathForURL"):
                self.assertIn(call, set(one.strings()))

        self.each(check)

    def test_each_slice_is_signed_and_unchanged_since(self):
        def check(_, one):
            directories = one.code_directories()
            self.assertTrue(directories, "there is no signature")
            for directory in directories:
                self.assertTrue(directory.pages_match, "the code is not what was signed")
                if not product.is_signed_bundle():
                    self.assertTrue(directory.flags & macho.ADHOC, "ad-hoc signature")

        self.each(check)

    def test_a_signed_bundle_has_both_digests_and_the_hardened_runtime(self):
        if not product.is_signed_bundle():
            self.skipTest("the bundle is not signed; only a Mac can do that")

        def check(_, one):
            directories = one.code_directories()
            self.assertEqual([directory.hash_type for directory in directories], [macho.SHA1, macho.SHA256])
            for directory in directories:
                self.assertEqual(directory.identifier, "com.quillmark.customInstaller")
                self.assertTrue(directory.flags & macho.HARDENED_RUNTIME, "hardened runtime")
                self.assertFalse(directory.flags & macho.ADHOC, "signed by nobody")

        self.each(check)

    def test_each_slice_keeps_to_its_size(self):
        def check(architecture, one):
            self.assertLessEqual(one.size_unsigned, SIZE_BUDGET[architecture])

        self.each(check)

    def test_no_path_of_the_build_is_inside(self):
        def check(_, one):
            texts = list(one.strings())
            self.assertIn("/bin/sh", texts)
            self.assertEqual([text for text in texts if str(product.REPOSITORY) in text], [])
            self.assertEqual([text for text in texts if re.match(r"/[^/\s]+/", text) and
                              not text.startswith(KNOWN_PATHS)], [])
            self.assertEqual([text for text in texts if re.search(r"\.(cpp|hpp|mm|h)$", text)], [])

        self.each(check)
