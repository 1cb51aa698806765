"""Spoils copies of the product in one way after the other: the inspection has to name what is wrong."""

import io
import plistlib
import shutil
import subprocess
import unittest
from unittest import mock

from support import linking, signature
from support.copies import DistributionCopy
from inspection import bundle, classes, executable, macho, product

BUNDLE = "Quillmark Installer.app"
INFORMATION = f"{BUNDLE}/Contents/Info.plist"
EXECUTABLE = f"{BUNDLE}/Contents/MacOS/Quillmark Installer"
BOTH_DIGESTS = "a_signed_bundle_has_both_digests_and_the_hardened_runtime"


class Damage(DistributionCopy):
    def inspect(self, *modules, only="*"):
        """What the inspection of the copy writes; nothing if it finds nothing wrong."""
        loader = unittest.TestLoader()
        loader.testNamePatterns = [only]
        contents = self.copy / BUNDLE / "Contents"
        told = io.StringIO()
        with mock.patch.multiple(product, DISTRIBUTION=self.copy, APPLICATION=self.copy / BUNDLE, CONTENTS=contents,
                                 RESOURCES=contents / "Resources", EXECUTABLE=self.copy / EXECUTABLE):
            product.slices.cache_clear()
            outcome = unittest.TextTestRunner(told).run(
                unittest.TestSuite(map(loader.loadTestsFromModule, modules)))
        self.assertGreater(outcome.testsRun, 0, only)
        return "" if outcome.wasSuccessful() else told.getvalue()

    def restore(self):
        shutil.copy(product.EXECUTABLE, self.copy / EXECUTABLE)
        shutil.copy(product.CONTENTS / "Info.plist", self.copy / INFORMATION)
        shutil.rmtree(self.copy / BUNDLE / "Contents/_CodeSignature", ignore_errors=True)

    # Damages

    def write(self, content):
        (self.copy / EXECUTABLE).write_bytes(content)

    def replace(self, old, new, count=-1):
        content = (self.copy / EXECUTABLE).read_bytes()
        self.assertTrue(old in content and len(old) == len(new), old)
        self.write(content.replace(old, new, count))

    def relink(self, architecture, *options):
        thin = self.scratch / architecture
        outcome = linking.link(architecture, thin, *options)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        subprocess.run(["llvm-lipo-19", self.copy / EXECUTABLE, "-replace", architecture, thin,
                        "-output", self.copy / EXECUTABLE], check=True, timeout=60)

    def sign(self, **how):
        signature.sign(self.copy / BUNDLE, **how)

    def sign_and_change(self):
        self.sign()
        self.replace(b"cp -R ", b"cp -L ", 1)

    def inform(self, **values):
        information = plistlib.loads((self.copy / INFORMATION).read_bytes())
        (self.copy / INFORMATION).write_bytes(plistlib.dumps({**information, **values}))

    def test_what_is_as_it_should_be_passes_built_signed_or_in_the_formats_of_newer_systems(self):
        self.assertEqual(self.inspect(executable, classes, bundle), "")
        self.sign()
        self.assertEqual(self.inspect(executable, bundle), "")
        self.restore()
        self.inform(LSMinimumSystemVersion="10.14")
        self.relink("x86_64", "-Wl,-platform_version,macos,10.14,11.0", "-Wl,-fixup_chains")
        self.relink("arm64", "-Wl,-fixup_chains", "-Wl,-objc_relative_method_lists")
        self.assertEqual(self.inspect(executable, classes, bundle), "")

    def test_each_damage_is_named(self):
        thin = macho.slices(product.EXECUTABLE)["arm64"].content
        for module, test, saying, damage, *arguments in [
                (executable, "the_executable_is_universal_and_may_be_run", "x86_64", self.write, thin),
                (executable, "each_slice_runs_on_its_oldest_system", "'10.9' != '10.8'",
                 self.relink, "x86_64", "-Wl,-platform_version,macos,10.9,11.0"),
                (executable, "no_other_library_is_linked", "LOAD_WEAK",
                 self.relink, "arm64", "-Wl,-weak_framework,AppKit"),
                (executable, "no_library_is_looked_for_beside_the_bundle", "LC_RPATH",
                 self.relink, "x86_64", "-Wl,-rpath,@executable_path/../Frameworks"),
                (executable, "what_is_loaded_at_run_time_is_the_systems_security_framework_and_no_other", "Serenity",
                 self.replace, b"/Security.framework/Security\0", b"/Serenity.framework/Security\0"),
                (executable, "no_slice_imports_what_its_oldest_system_lacks", "_dispatch_twic",
                 self.replace, b"_dispatch_once\0", b"_dispatch_twic\0", 1),
                (executable, "the_intel_slice_has_only_load_commands_of_its_oldest_system", "LC_DYLD_INFO_ONLY",
                 self.relink, "x86_64", "-Wl,-fixup_chains"),
                (executable, "the_arm64_slice_is_signed_and_a_signed_intel_slice_is_for_its_oldest_system", "unsigned",
                 self.relink, "arm64", "-Wl,-no_adhoc_codesign"),
                (executable, "no_slice_has_changed_since_it_was_signed", "x86_64", self.sign_and_change),
                (executable, "a_signature_is_aligned_and_the_last_of_its_slice", "", self.write, thin + bytes(16)),
                (executable, BOTH_DIGESTS, "[2]", lambda: self.sign(digests=signature.DIGESTS[1:])),
                (executable, BOTH_DIGESTS, "hardened runtime", lambda: self.sign(flags=0)),
                (executable, BOTH_DIGESTS, "signed by nobody",
                 lambda: self.sign(flags=macho.HARDENED_RUNTIME | macho.ADHOC)),
                (executable, "a_signed_bundle_has_no_entitlement_that_would_open_the_hardened_runtime", "0xfade7171",
                 lambda: self.sign(entitlements={"com.apple.security.cs.allow-jit": True})),
                (classes, "the_delegate_has_its_variables_in_order", "_andTexu",
                 self.replace, b"_andText\0", b"_andTexu\0"),
                (classes, "the_helper_protocol_has_its_messages_in_order_with_the_classes_that_they_carry", "poinT",
                 self.replace, b'@?<v@?@"NSXPCListenerEndpoint">', b'@?<v@?@"NSXPCListenerEndpoinT">'),
                (bundle, "nothing_else_lies_in_the_bundle", "notes.txt",
                 (self.copy / BUNDLE / "Contents/notes.txt").write_text, "left over")]:
            with self.subTest(test, saying=saying):
                self.restore()
                damage(*arguments)
                told = self.inspect(module, only=f"*.test_{test}")
                self.assertRegex(told, "(FAIL|ERROR): test_")
                self.assertIn(saying, told)
