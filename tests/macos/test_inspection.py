"""Damages copies of the distribution in one way each and checks that the inspection names what is wrong."""

import os
import plistlib
import shutil
import struct
import subprocess
import sys
from unittest import mock

from support import linking, signature
from inspection import macho, product
from support.copies import DistributionCopy

EXECUTABLE = "Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
CONTENTS = "Quillmark Installer.app/Contents"


class Damage(DistributionCopy):
    def inspect(self, module, *options):
        outcome = subprocess.run([sys.executable, "-B", "-m", "unittest", *options, f"inspection.{module}"], text=True,
                                 cwd=product.REPOSITORY / "tools", timeout=120,
                                 env={**os.environ, "QUILLMARK_DISTRIBUTION": str(self.copy)},
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return outcome.returncode, outcome.stdout

    def assert_named(self, test, *details):
        module, name = test.split(".")
        code, text = self.inspect(module, "-k", name)
        self.assertNotEqual(code, 0, f"{test} found nothing")
        self.assertRegex(text, rf"(FAIL|ERROR): {name} ")
        for detail in details:
            self.assertIn(detail, text)

    def in_executable(self, old, new, slice_number=None):
        """Replaces the text in both slices, or in one."""
        path = self.copy / EXECUTABLE
        content = path.read_bytes()
        self.assertEqual(len(old), len(new))
        places = [at for at in range(len(content)) if content.startswith(old, at)]
        self.assertTrue(places, f"{old} is not in the executable")
        for at in places if slice_number is None else [places[slice_number]]:
            content = content[:at] + new + content[at + len(new):]
        path.write_bytes(content)

    def in_slice(self, architecture, at, new):
        """Replaces the bytes at a place in one slice."""
        path = self.copy / EXECUTABLE
        content = bytearray(path.read_bytes())
        at += self.slice(architecture).offset
        content[at:at + len(new)] = new
        path.write_bytes(content)

    def slice(self, architecture):
        return macho.slices(self.copy / EXECUTABLE)[architecture]

    def relink(self, architecture, *options, **others):
        """Puts a slice that the linker made with these options in the place of the one that was built."""
        thin = self.scratch / architecture
        outcome = linking.link(architecture, thin, *options, **others)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        subprocess.run(["llvm-lipo-19", self.copy / EXECUTABLE, "-replace", architecture, thin,
                        "-output", self.copy / EXECUTABLE], check=True, timeout=60)

    def sdk_with(self, *changes):
        """A copy of the stand-in SDK with a text of a stub replaced for each change."""
        sdk = self.scratch / "sdk"
        shutil.copytree(product.SDK, sdk)
        for name, old, new in changes:
            stub, = sdk.rglob(name)
            self.assertIn(old, stub.read_text())
            stub.write_text(stub.read_text().replace(old, new))
        return sdk

    def change_info(self, **values):
        path = self.copy / CONTENTS / "Info.plist"
        info = plistlib.loads(path.read_bytes())
        info.update(values)
        path.write_bytes(plistlib.dumps({key: value for key, value in info.items() if value is not None}))

    def test_an_undamaged_copy_passes(self):
        for module in ("executable", "classes", "bundle"):
            code, text = self.inspect(module)
            self.assertEqual(code, 0, text)

    def test_a_signed_copy_passes(self):
        signature.sign(self.copy / "Quillmark Installer.app")
        code, text = self.inspect("executable")
        self.assertEqual(code, 0, text)

    def test_the_formats_of_newer_systems_are_not_held_against_a_slice_for_these(self):
        self.change_info(LSMinimumSystemVersion="10.14")
        self.relink("x86_64", "-Wl,-platform_version,macos,10.14,11.0", "-Wl,-fixup_chains")
        code, text = self.inspect("executable")
        self.assertEqual(code, 0, text)

    def test_the_pointers_and_methods_of_newer_systems_pass_for_apple_silicon(self):
        self.relink("arm64", "-Wl,-fixup_chains", "-Wl,-objc_relative_method_lists")
        for module in ("executable", "classes"):
            code, text = self.inspect(module)
            self.assertEqual(code, 0, text)

    def test_an_empty_executable(self):
        (self.copy / EXECUTABLE).write_bytes(b"")
        self.assert_named("executable.test_there_is_a_slice_for_each_processor", "0 bytes are too few")
        self.assert_named("classes.test_the_executable_defines_its_own_classes_and_no_others")

    def test_something_else_than_an_executable(self):
        (self.copy / EXECUTABLE).write_bytes(b"#!/bin/sh\necho no Mac program\n" * 10)
        self.assert_named("executable.test_there_is_a_slice_for_each_processor", "no 64-bit Mach-O")

    def test_a_missing_slice(self):
        (self.copy / EXECUTABLE).write_bytes(self.slice("arm64").content)
        self.assert_named("executable.test_there_is_a_slice_for_each_processor", "x86_64")

    def test_a_slice_that_is_listed_as_the_other(self):
        path = self.copy / EXECUTABLE
        content = path.read_bytes()
        path.write_bytes(content[:28] + content[8:12] + content[32:])
        self.assert_named("executable.test_there_is_a_slice_for_each_processor", "another architecture")

    def test_another_deployment_target(self):
        self.relink("x86_64", "-Wl,-platform_version,macos,10.9,11.0")
        self.assert_named("executable.test_each_slice_runs_on_its_oldest_system", "'10.9' != '10.8'", "x86_64")

    def test_an_address_that_cannot_be_moved(self):
        self.relink("x86_64", "-Wl,-no_pie")
        self.assert_named("executable.test_the_executable_is_universal_and_may_be_run", "position independent")

    def test_another_library(self):
        self.in_executable(b"/usr/lib/libc++.1.dylib\0", b"/usr/lib/libz++.1.dylib\0")
        self.assert_named("executable.test_no_other_library_is_linked", "libz++")

    def test_a_library_that_may_be_missing(self):
        self.relink("arm64", "-Wl,-weak_framework,AppKit")
        self.assert_named("executable.test_no_other_library_is_linked", "LC_LOAD_WEAK_DYLIB")

    def test_memory_that_may_be_written_and_executed(self):
        for architecture, name in [("x86_64", b"__TEXT\0"), ("arm64", b"__DATA\0")]:
            for field in (48, 52):  # maxprot and initprot, behind the name
                segment = self.slice(architecture).content.index(name)
                before = self.slice(architecture).content[segment + field:segment + field + 4]
                self.in_slice(architecture, segment + field, struct.pack("<I", 7))
                self.assert_named("executable.test_no_memory_may_be_written_and_executed", "rwx")
                self.in_slice(architecture, segment + field, before)
        flags, = struct.unpack_from("<I", self.slice("arm64").content, 24)
        self.in_slice("arm64", 24, struct.pack("<I", flags | 0x20000))
        self.assert_named("executable.test_no_memory_may_be_written_and_executed", "ALLOW_STACK_EXECUTION")

    def test_a_library_beside_the_bundle(self):
        test = "executable.test_no_library_is_looked_for_beside_the_bundle"
        self.in_executable(b"/usr/lib/libc++.1.dylib\0", b"@loader_path/a/b.dylib\0\0")
        self.assert_named(test, "@loader_path/a/b.dylib")
        self.relink("x86_64", "-Wl,-rpath,@executable_path/../Frameworks")
        self.assert_named(test, "LC_RPATH")
        self.relink("arm64", "-Wl,-dyld_env,DYLD_LIBRARY_PATH=@loader_path")
        self.assert_named(test, "LC_DYLD_ENVIRONMENT")

    def test_another_framework_that_is_loaded_at_run_time(self):
        self.in_executable(b"Frameworks/Security.framework/Security\0", b"Frameworks/Serenity.framework/Security\0", 0)
        self.assert_named("executable.test_what_is_loaded_at_run_time_is_the_systems_security_framework_and_no_"
                          "other", "Serenity.framework")

    def test_an_environment_that_is_read(self):
        self.in_executable(b"_dlopen\0", b"_getenv\0", slice_number=0)
        self.assert_named("executable.test_the_environment_is_not_read", "_getenv")

    def test_an_entitlement(self):
        signature.sign(self.copy / "Quillmark Installer.app",
                       entitlements={"com.apple.security.cs.allow-dyld-environment-variables": True})
        self.assert_named("executable.test_a_signed_bundle_has_no_entitlement_that_would_open_the_hardened_runtime",
                          "0xfade7171")

    def test_a_library_newer_than_the_oldest_systems(self):
        self.relink("x86_64", sdk=self.sdk_with(("AppKit.tbd", "compatibility-version: 4", "compatibility-version: 5")))
        self.assert_named("executable.test_no_library_must_be_newer_than_that_of_os_x_10_8", "AppKit")

    def test_a_library_without_a_version(self):
        self.relink("arm64", sdk=self.sdk_with(("Foundation.tbd", "current-version: 1775.118.101\n", "")))
        self.assert_named("executable.test_every_library_looks_like_one_that_shipped", "Foundation")

    def test_a_symbol_of_unknown_age(self):
        self.in_executable(b"_dispatch_once\0", b"_dispatch_twic\0", slice_number=0)
        self.assert_named("executable.test_no_slice_imports_what_its_oldest_system_lacks",
                          "_dispatch_twic")

    def test_a_symbol_that_the_loader_looks_up_in_another_library(self):
        self.relink("x86_64", sdk=self.sdk_with(("CoreFoundation.tbd", "      - NSURL  # 10.6 NSURL.h\n", ""),
                                                ("Foundation.tbd", "      - NSTask", "      - NSURL\n      - NSTask")))
        self.assert_named("executable.test_each_import_is_looked_up_in_the_library_where_it_lies",
                          "_OBJC_CLASS_$_NSURL in Foundation")

    def test_symbols_that_the_loader_looks_up_in_every_library(self):
        self.relink("arm64", "-Wl,-flat_namespace")
        self.assert_named("executable.test_each_import_is_looked_up_in_the_library_where_it_lies",
                          "in flat-namespace", "arm64")

    def test_pointers_of_a_kind_that_the_oldest_system_cannot_follow(self):
        self.relink("x86_64", "-Wl,-fixup_chains")
        self.assert_named("executable.test_the_intel_slice_has_only_load_commands_of_its_oldest_system",
                          "LC_DYLD_INFO_ONLY")

    def test_a_load_command_that_the_oldest_system_does_not_know(self):
        place = self.slice("x86_64").content.index(struct.pack("<2I", 0x80000028, 24))  # LC_MAIN
        self.in_slice("x86_64", place, struct.pack("<I", 0x80000099))
        self.assert_named("executable.test_the_intel_slice_has_only_load_commands_of_its_oldest_system",
                          "LC_MAIN")

    def test_a_load_command_of_newer_systems(self):
        place = self.slice("x86_64").content.index(struct.pack("<2I", 0x29, 16))  # LC_DATA_IN_CODE
        self.in_slice("x86_64", place, struct.pack("<I", 0x80000033))  # LC_DYLD_EXPORTS_TRIE
        self.assert_named("executable.test_the_intel_slice_has_only_load_commands_of_its_oldest_system",
                          "LC_DYLD_EXPORTS_TRIE")

    def test_methods_that_the_oldest_system_cannot_read(self):
        self.in_executable(b"__objc_protorefs", b"__objc_methlist\0", slice_number=0)
        self.assert_named("executable.test_the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system",
                          "methods as offsets")

    def test_garbage_collection(self):
        info = self.slice("x86_64").sections["__objc_imageinfo"]["offset"]
        self.in_slice("x86_64", info + 4, b"\x42")
        self.assert_named("executable.test_the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system",
                          "garbage collection")

    def test_another_version_of_the_runtimes_data(self):
        self.in_slice("x86_64", self.slice("x86_64").sections["__objc_imageinfo"]["offset"], b"\1")
        self.assert_named("executable.test_the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system",
                          "1 != 0")

    def test_places_of_variables_that_are_as_short_as_on_apple_silicon(self):
        one = self.slice("x86_64")
        length = one.content.index(b"__objc_ivar\0") + 40
        self.in_slice("x86_64", length, struct.pack("<Q", one.sections["__objc_ivar"]["size"] // 2))
        self.assert_named("executable.test_the_intel_slice_can_be_read_by_the_runtime_of_its_oldest_system",
                          "places")

    def test_functions_that_are_unwound_by_a_table_that_is_not_there(self):
        for architecture, mode in macho.UNWIND_BY_DWARF.items():
            first_encoding = self.slice(architecture).sections["__unwind_info"]["offset"] + 28
            self.in_slice(architecture, first_encoding, struct.pack("<I", mode))
            self.assert_named("executable.test_each_function_can_be_unwound", "__eh_frame", architecture)

    def test_a_slice_that_begins_between_two_pages(self):
        subprocess.run(["llvm-lipo-19", self.copy / EXECUTABLE, "-thin", "arm64", "-output", self.scratch / "arm64"],
                       check=True, timeout=60)
        subprocess.run(["llvm-lipo-19", self.copy / EXECUTABLE, "-replace", "arm64", self.scratch / "arm64",
                        "-segalign", "arm64", "1000", "-output", self.copy / EXECUTABLE], check=True, timeout=60)
        self.assert_named("executable.test_each_slice_and_its_segments_begin_on_a_page", "the slice")

    def test_a_segment_that_begins_between_two_pages(self):
        segment = self.slice("arm64").content.index(b"__LINKEDIT\0")
        address = self.slice("arm64").segments["__LINKEDIT"]["vmaddr"] + 0x1000
        self.in_slice("arm64", segment + 16, struct.pack("<Q", address))
        self.assert_named("executable.test_each_slice_and_its_segments_begin_on_a_page", "__LINKEDIT in memory")

    def test_constants_that_may_be_written_to(self):
        segment = self.slice("arm64").content.index(b"__DATA_CONST\0")
        self.in_slice("arm64", segment + 60, bytes(4))
        self.assert_named("executable.test_the_constants_of_the_arm64_slice_are_read_only_once_they_are_bound",
                          "(none)")

    def test_a_link_edit_table_between_two_words(self):
        for architecture in product.minimum_macos():
            one = self.slice(architecture)
            table, = one.all("LC_FUNCTION_STARTS")
            place = one.content.index(struct.pack("<4I", 0x26, 16, table.fields["dataoff"], table.fields["datasize"]))
            self.in_slice(architecture, place + 8, struct.pack("<2I", table.fields["dataoff"] + 4,
                                                               table.fields["datasize"] - 4))
            self.assert_named("executable.test_the_link_edit_tables_are_aligned", "LC_FUNCTION_STARTS",
                              architecture)

    def test_an_unsigned_slice_for_apple_silicon(self):
        self.relink("arm64", "-Wl,-no_adhoc_codesign")
        self.assert_named("executable.test_the_arm64_slice_is_signed")

    def test_a_byte_changed_after_signing(self):
        self.in_executable(b"cp -R ", b"cp -L ", slice_number=1)
        self.assert_named("executable.test_no_slice_has_changed_since_it_was_signed", "arm64")

    def test_a_signature_between_two_places_for_one(self):
        one = self.slice("arm64")
        signature, = one.all("LC_CODE_SIGNATURE")
        place = one.content.index(struct.pack("<3I", 0x1D, 16, signature.fields["dataoff"]))
        self.in_slice("arm64", place + 8, struct.pack("<2I", signature.fields["dataoff"] + 8,
                                                      signature.fields["datasize"] - 8))
        self.assert_named("executable.test_a_signature_is_aligned_and_the_last_of_its_slice", "8 != 0")

    def test_something_behind_a_signature(self):
        thin = self.slice("arm64").content
        (self.copy / EXECUTABLE).write_bytes(thin + bytes(16))
        self.assert_named("executable.test_a_signature_is_aligned_and_the_last_of_its_slice")

    def test_a_signature_that_the_oldest_system_does_not_know(self):
        self.relink("x86_64", "-Wl,-adhoc_codesign")
        self.assert_named("executable.test_a_signed_intel_slice_is_signed_for_its_oldest_system",
                          "(2, 4096) != (1, 4096)")

    def test_a_signature_of_larger_pages_than_the_oldest_system_has(self):
        with mock.patch.object(signature, "PAGE_BITS", 14):
            signature.sign(self.copy / "Quillmark Installer.app")
        self.assert_named("executable.test_a_signed_intel_slice_is_signed_for_its_oldest_system",
                          "(1, 16384) != (1, 4096)")

    def test_a_path_of_the_build(self):
        self.in_executable(b"/Applications/Quillmark.app\0", b"/Users/ann/sources/tests.mm\0")
        self.assert_named("executable.test_no_path_of_the_build_is_inside", "/Users/ann/sources/tests.mm")

    def test_a_larger_executable(self):
        path = self.copy / EXECUTABLE
        path.write_bytes(macho.slices(path)["x86_64"].content + bytes(100_000))
        self.assert_named("executable.test_each_slice_keeps_to_its_size")

    def test_another_variable(self):
        self.in_executable(b"_andText\0", b"_andTexu\0", slice_number=0)
        self.assert_named("classes.test_the_delegate_has_its_variables_in_order", "_andTexu", "x86_64")

    def test_another_attribute_of_a_property(self):
        self.in_executable(b'T@"NSTextField",W,V_tac\0', b'T@"NSTextField",N,V_tac\0')
        self.assert_named("classes.test_the_delegate_has_its_properties_in_order", "N,V_tac")

    def test_another_method(self):
        self.in_executable(b"doQuitApplication:\0", b"doQuitApplicatiom:\0")
        self.assert_named("classes.test_the_delegate_has_its_methods_in_the_declared_order", "doQuitApplicatiom:")

    def test_another_method_of_the_catalogue(self):
        self.in_executable(b"commandInfo\0", b"commandInfa\0")
        self.assert_named("classes.test_the_rights_catalogue_is_class_methods_only", "commandInfa")

    def test_another_class_in_a_reply(self):
        self.in_executable(b'@?<v@?@"NSXPCListenerEndpoint">', b'@?<v@?@"NSXPCListenerEndpoinT">')
        self.assert_named("classes.test_the_helper_protocol_has_its_messages_in_order_with_the_classes_that_they"
                          "_carry", "NSXPCListenerEndpoinT")

    def test_another_adopted_protocol(self):
        self.in_executable(b"NSApplicationDelegate\0", b"NSApplicationDelegata\0")
        self.assert_named("classes.test_the_delegate_is_an_object_that_adopts_the_application_delegate")

    def test_another_value_in_info_plist(self):
        self.change_info(NSMainNibFile="Main")
        self.assert_named("bundle.test_its_keys_have_these_values", "NSMainNibFile")

    def test_another_oldest_system_in_info_plist(self):
        self.change_info(LSMinimumSystemVersion="10.9")
        self.assert_named("bundle.test_the_oldest_system_is_the_one_that_the_intel_slice_is_for")
        self.assert_named("executable.test_each_slice_runs_on_its_oldest_system", "'10.8' != '10.9'", "x86_64")

    def test_a_key_missing_from_info_plist(self):
        self.change_info(NSPrincipalClass=None)
        self.assert_named("bundle.test_it_has_the_keys_of_an_application_and_no_others", "NSPrincipalClass")

    def test_a_helper_without_a_team(self):
        self.change_info(SMPrivilegedExecutables={product.HELPER_LABEL: "anchor apple generic"})
        self.assert_named("bundle.test_the_helper_may_be_blessed_under_its_label_with_a_requirement_that_names"
                          "_it_and_a_team")

    def test_a_file_too_many_and_a_file_too_few(self):
        (self.copy / CONTENTS / "Resources/notes.txt").write_text("left over")
        self.assert_named("bundle.test_nothing_else_lies_in_the_bundle", "notes.txt")
        (self.copy / CONTENTS / "Resources/notes.txt").unlink()
        (self.copy / CONTENTS / "Resources/MainMenu.nib").unlink()
        self.assert_named("bundle.test_nothing_else_lies_in_the_bundle", "no compiled interface")

    def test_an_icon_without_one_of_its_sizes(self):
        icon = self.copy / CONTENTS / "Resources/Installer.icns"
        icon.write_bytes(icon.read_bytes().replace(b"ic12", b"ic04"))
        self.assert_named("bundle.test_it_has_every_size_from_16_to_1024_in_both_resolutions", "ic12")

    def test_a_damaged_picture_in_the_icon(self):
        icon = self.copy / CONTENTS / "Resources/Installer.icns"
        content = icon.read_bytes()
        at = content.rindex(b"IDAT") + 100
        icon.write_bytes(content[:at] + bytes([content[at] ^ 1]) + content[at + 1:])
        self.assert_named("bundle.test_every_png_is_whole_and_has_its_size_and_transparency")
