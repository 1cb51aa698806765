"""Spoils copies of the product in one way after the other: the inspection has to name what is wrong."""

import io
import plistlib
import shutil
import struct
import subprocess
import unittest
from unittest import mock

from support import linking, signature
from support.copies import DistributionCopy
from inspection import bundle, classes, executable, macho, product

BUNDLE = "Quillmark Installer.app"
INFORMATION = f"{BUNDLE}/Contents/Info.plist"
EXECUTABLE = f"{BUNDLE}/Contents/MacOS/Quillmark Installer"


class Damage(DistributionCopy):
    def inspect(self, *modules, only="*"):
        """What the inspection of the copy writes; nothing if it finds nothing wrong."""
        loader = unittest.TestLoader()
        loader.testNamePatterns = [only]
        application = self.copy / BUNDLE
        places = {"DISTRIBUTION": self.copy, "APPLICATION": application, "CONTENTS": application / "Contents",
                  "RESOURCES": application / "Contents/Resources", "EXECUTABLE": self.copy / EXECUTABLE}
        product.slices.cache_clear()
        product.minimum_macos.cache_clear()
        told = io.StringIO()
        with mock.patch.multiple(product, **places):
            suite = unittest.TestSuite(map(loader.loadTestsFromModule, modules))
            outcome = unittest.TextTestRunner(told).run(suite)
        product.slices.cache_clear()
        product.minimum_macos.cache_clear()
        self.assertGreater(outcome.testsRun, 0, only)
        return "" if outcome.wasSuccessful() else told.getvalue()

    def restore(self):
        shutil.copy(product.EXECUTABLE, self.copy / EXECUTABLE)
        shutil.copy(product.CONTENTS / "Info.plist", self.copy / INFORMATION)
        shutil.rmtree(self.copy / BUNDLE / "Contents/_CodeSignature", ignore_errors=True)

    def assert_each_is_named(self, module, damages):
        """Each damage by the test that has to fail, and what that has to say."""
        for test, saying, damage in damages:
            with self.subTest(test, saying=saying):
                self.restore()
                damage()
                told = self.inspect(module, only=f"*.test_{test}")
                self.assertRegex(told, "(FAIL|ERROR): test_")
                self.assertIn(saying, told)

    def replace(self, old, new, slice_number=None):
        """A damage: another text in both slices, or in one."""
        def damage():
            content = (self.copy / EXECUTABLE).read_bytes()
            places = [at for at in range(len(content)) if content.startswith(old, at)]
            self.assertTrue(places and len(old) == len(new), old)
            for at in places if slice_number is None else [places[slice_number]]:
                content = content[:at] + new + content[at + len(new):]
            (self.copy / EXECUTABLE).write_bytes(content)
        return damage

    def poke(self, architecture, find, layout, *values):
        """A damage: other numbers at the place that is found in a slice."""
        def damage():
            one = macho.slices(self.copy / EXECUTABLE)[architecture]
            content = bytearray((self.copy / EXECUTABLE).read_bytes())
            struct.pack_into(layout, content, one.offset + find(one), *values)
            (self.copy / EXECUTABLE).write_bytes(content)
        return damage

    def relink(self, architecture, *options, stub=None):
        """A damage: a slice that the linker makes with these options, or with a text replaced in a stub of the SDK."""
        def damage():
            sdk = product.SDK
            if stub:
                sdk = self.scratch / "sdk"
                shutil.rmtree(sdk, ignore_errors=True)
                shutil.copytree(product.SDK, sdk)
                (path,), old, new = sdk.rglob(stub[0]), *stub[1:]
                self.assertIn(old, path.read_text())
                path.write_text(path.read_text().replace(old, new))
            thin = self.scratch / architecture
            outcome = linking.link(architecture, thin, *options, sdk=sdk)
            self.assertEqual(outcome.returncode, 0, outcome.stdout)
            subprocess.run(["llvm-lipo-19", self.copy / EXECUTABLE, "-replace", architecture, thin,
                            "-output", self.copy / EXECUTABLE], check=True, timeout=60)
        return damage

    def sign(self, **how):
        return lambda: signature.sign(self.copy / BUNDLE, **how)

    def change_information(self, **values):
        information = plistlib.loads((self.copy / INFORMATION).read_bytes())
        (self.copy / INFORMATION).write_bytes(plistlib.dumps({**information, **values}))

    def test_what_is_as_it_should_be_passes_built_signed_or_in_the_formats_of_newer_systems(self):
        self.assertEqual(self.inspect(executable, classes, bundle), "")
        self.sign()()
        self.assertEqual(self.inspect(executable, bundle), "")
        self.restore()
        self.change_information(LSMinimumSystemVersion="10.14")
        self.relink("x86_64", "-Wl,-platform_version,macos,10.14,11.0", "-Wl,-fixup_chains")()
        self.relink("arm64", "-Wl,-fixup_chains", "-Wl,-objc_relative_method_lists")()
        self.assertEqual(self.inspect(executable, classes, bundle), "")

    def test_another_executable(self):
        thin = macho.slices(product.EXECUTABLE)
        write = (self.copy / EXECUTABLE).write_bytes
        both = "there_is_a_slice_for_each_processor"
        self.assert_each_is_named(executable, [
            (both, "0 bytes are too few", lambda: write(b"")),
            (both, "no 64-bit Mach-O", lambda: write(b"#!/bin/sh\necho no Mac program\n" * 10)),
            (both, "x86_64", lambda: write(thin["arm64"].content)),
            ("each_slice_runs_on_its_oldest_system", "'10.9' != '10.8'",
             self.relink("x86_64", "-Wl,-platform_version,macos,10.9,11.0")),
            ("each_slice_keeps_to_its_size", "", lambda: write(thin["x86_64"].content + bytes(100_000))),
            ("no_path_of_the_build_is_inside", "/Users/ann/sources/tests.mm",
             self.replace(b"/Applications/Quillmark.app\0", b"/Users/ann/sources/tests.mm\0"))])

    def test_what_is_loaded(self):
        beside = "no_library_is_looked_for_beside_the_bundle"
        where = "each_import_is_looked_up_in_the_library_where_it_lies"
        self.assert_each_is_named(executable, [
            ("no_other_library_is_linked", "libz++",
             self.replace(b"/usr/lib/libc++.1.dylib\0", b"/usr/lib/libz++.1.dylib\0")),
            ("no_other_library_is_linked", "LC_LOAD_WEAK_DYLIB", self.relink("arm64", "-Wl,-weak_framework,AppKit")),
            (beside, "@loader_path/a/b.dylib", self.replace(b"/usr/lib/libc++.1.dylib\0", b"@loader_path/a/b.dylib\0\0")),
            (beside, "LC_RPATH", self.relink("x86_64", "-Wl,-rpath,@executable_path/../Frameworks")),
            (beside, "LC_DYLD_ENVIRONMENT", self.relink("arm64", "-Wl,-dyld_env,DYLD_LIBRARY_PATH=@loader_path")),
            ("what_is_loaded_at_run_time_is_the_systems_security_framework_and_no_other", "Serenity.framework",
             self.replace(b"Frameworks/Security.framework/Security\0", b"Frameworks/Serenity.framework/Security\0", 0)),
            ("the_environment_is_not_read", "_getenv", self.replace(b"_dlopen\0", b"_getenv\0", 0)),
            ("no_memory_may_be_written_and_executed", "rwx",
             self.poke("arm64", lambda one: one.content.index(b"__DATA\0") + 52, "<I", 7)),
            ("no_library_must_be_newer_than_that_of_os_x_10_8", "AppKit", self.relink(
                "x86_64", stub=("AppKit.tbd", "compatibility-version: 4", "compatibility-version: 5"))),
            ("no_slice_imports_what_its_oldest_system_lacks", "_dispatch_twic",
             self.replace(b"_dispatch_once\0", b"_dispatch_twic\0", 0)),
            (where, "in flat-namespace", self.relink("arm64", "-Wl,-flat_namespace"))])

    def test_what_an_old_loader_or_runtime_cannot_read(self):
        commands = "the_intel_slice_has_only_load_commands_of_its_oldest_system"
        runtime = "the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system"
        self.assert_each_is_named(executable, [
            (commands, "LC_DYLD_INFO_ONLY", self.relink("x86_64", "-Wl,-fixup_chains")),
            (commands, "LC_DYLD_EXPORTS_TRIE", self.poke(
                "x86_64", lambda one: one.content.index(struct.pack("<2I", 0x29, 16)), "<I", 0x80000033)),
            (runtime, "methods as offsets", self.replace(b"__objc_protorefs", b"__objc_methlist\0", 0)),
            (runtime, "garbage collection", self.poke(
                "x86_64", lambda one: one.sections["__objc_imageinfo"]["offset"] + 4, "<I", 0x42)),
            ("each_function_can_be_unwound", "__eh_frame", self.poke(
                "arm64", lambda one: one.sections["__unwind_info"]["offset"] + 28, "<I",
                macho.UNWIND_BY_DWARF["arm64"])),
            ("each_slice_and_its_segments_begin_on_a_page", "__LINKEDIT in memory", self.poke(
                "arm64", lambda one: one.content.index(b"__LINKEDIT\0") + 16, "<Q", 0x1000)),
            ("the_constants_of_the_arm64_slice_are_read_only_once_they_are_bound", "(none)", self.poke(
                "arm64", lambda one: one.content.index(b"__DATA_CONST\0") + 60, "<I", 0))])

    def test_a_signature_that_is_none(self):
        old = "a_signed_intel_slice_is_signed_for_its_oldest_system"
        both = "a_signed_bundle_has_both_digests_and_the_hardened_runtime"

        def changed_afterwards():
            self.sign()()
            self.replace(b"cp -R ", b"cp -L ", 1)()

        self.assert_each_is_named(executable, [
            ("the_arm64_slice_is_signed", "", self.relink("arm64", "-Wl,-no_adhoc_codesign")),
            ("no_slice_has_changed_since_it_was_signed", "arm64", changed_afterwards),
            ("a_signature_is_aligned_and_the_last_of_its_slice", "", lambda: (self.copy / EXECUTABLE).write_bytes(
                macho.slices(product.EXECUTABLE)["arm64"].content + bytes(16))),
            (old, "(2, 4096) != (1, 4096)", self.relink("x86_64", "-Wl,-adhoc_codesign")),
            (both, "[2]", self.sign(digests=signature.DIGESTS[1:])),
            (both, "hardened runtime", self.sign(flags=0)),
            (both, "signed by nobody", self.sign(flags=signature.HARDENED_RUNTIME | signature.ADHOC)),
            ("a_signed_bundle_has_no_entitlement_that_would_open_the_hardened_runtime", "0xfade7171", self.sign(
                entitlements={"com.apple.security.cs.allow-dyld-environment-variables": True}))])

    def test_other_classes(self):
        self.assert_each_is_named(classes, [
            ("the_delegate_has_its_variables_in_order", "_andTexu", self.replace(b"_andText\0", b"_andTexu\0", 0)),
            ("the_delegate_has_its_properties_in_order", "N,V_tac",
             self.replace(b'T@"NSTextField",W,V_tac\0', b'T@"NSTextField",N,V_tac\0')),
            ("the_delegate_has_its_methods_in_the_declared_order", "doQuitApplicatiom:",
             self.replace(b"doQuitApplication:\0", b"doQuitApplicatiom:\0")),
            ("the_rights_catalogue_is_class_methods_only", "commandInfa", self.replace(b"commandInfo\0", b"commandInfa\0")),
            ("the_helper_protocol_has_its_messages_in_order_with_the_classes_that_they_carry", "NSXPCListenerEndpoinT",
             self.replace(b'@?<v@?@"NSXPCListenerEndpoint">', b'@?<v@?@"NSXPCListenerEndpoinT">'))])

    def test_another_bundle(self):
        resources = self.copy / BUNDLE / "Contents/Resources"
        icon = (resources / "Installer.icns").read_bytes()
        self.assert_each_is_named(bundle, [
            ("its_keys_have_these_values", "NSMainNibFile", lambda: self.change_information(NSMainNibFile="Main")),
            ("the_oldest_system_is_the_one_that_the_intel_slice_is_for", "10.9",
             lambda: self.change_information(LSMinimumSystemVersion="10.9")),
            ("the_helper_may_be_blessed_under_its_label_with_a_requirement_that_names_it_and_a_team", "", lambda:
             self.change_information(SMPrivilegedExecutables={product.HELPER_LABEL: "anchor apple generic"})),
            ("it_has_every_size_from_16_to_1024_in_both_resolutions", "ic12", lambda:
             (resources / "Installer.icns").write_bytes(icon.replace(b"ic12", b"ic04"))),
            ("nothing_else_lies_in_the_bundle", "notes.txt", lambda: (resources / "notes.txt").write_text("left over"))])
