"""Damages copies of the distribution in one way each and checks that the inspection names what is wrong."""

import os
import plistlib
import subprocess
import sys

from support import macho, product
from support.copies import DistributionCopy

EXECUTABLE = "Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
CONTENTS = "Quillmark Installer.app/Contents"


class Damage(DistributionCopy):
    def inspect(self, module):
        outcome = subprocess.run([sys.executable, "-B", "-m", "unittest", f"macos.{module}"], text=True,
                                 cwd=product.REPOSITORY / "tests", timeout=120,
                                 env={**os.environ, "QUILLMARK_DISTRIBUTION": str(self.copy)},
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return outcome.returncode, outcome.stdout

    def assert_named(self, test, *details):
        code, text = self.inspect(test.split(".")[0])
        self.assertNotEqual(code, 0, f"nothing was found, {test} least of all")
        self.assertRegex(text, rf"(FAIL|ERROR): {test.split('.')[1]} ")
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

    def change_info(self, **values):
        path = self.copy / CONTENTS / "Info.plist"
        info = plistlib.loads(path.read_bytes())
        info.update(values)
        path.write_bytes(plistlib.dumps({key: value for key, value in info.items() if value is not None}))

    def test_an_undamaged_copy_passes(self):
        for module in ("test_executable", "test_classes", "test_bundle"):
            code, text = self.inspect(module)
            self.assertEqual(code, 0, text)

    def test_an_empty_executable(self):
        (self.copy / EXECUTABLE).write_bytes(b"")
        self.assert_named("test_executable.test_there_is_a_slice_for_each_processor", "0 bytes are too few")
        self.assert_named("test_classes.test_the_executable_defines_these_classes_and_no_others")

    def test_something_else_than_an_executable(self):
        (self.copy / EXECUTABLE).write_bytes(b"#!/bin/sh\necho no Mac program\n" * 10)
        self.assert_named("test_executable.test_there_is_a_slice_for_each_processor", "no 64-bit Mach-O")

    def test_a_missing_slice(self):
        content = (self.copy / EXECUTABLE).read_bytes()
        (self.copy / EXECUTABLE).write_bytes(macho.slices(content)["arm64"].content)
        self.assert_named("test_executable.test_there_is_a_slice_for_each_processor", "x86_64")

    def test_another_deployment_target(self):
        minimum, newer = (10 << 16 | 8 << 8).to_bytes(4, "little"), (10 << 16 | 9 << 8).to_bytes(4, "little")
        command = macho.LC_VERSION_MIN_MACOSX.to_bytes(4, "little") + (16).to_bytes(4, "little")
        self.in_executable(command + minimum, command + newer)
        self.assert_named("test_executable.test_each_slice_runs_on_its_oldest_system", "'10.9' != '10.8'", "x86_64")

    def test_another_library(self):
        self.in_executable(b"/usr/lib/libc++.1.dylib\0", b"/usr/lib/libz++.1.dylib\0")
        self.assert_named("test_executable.test_the_libraries_are_these_and_no_others", "libz++")

    def test_a_symbol_of_unknown_age(self):
        self.in_executable(b"_dispatch_once\0", b"_dispatch_twic\0", slice_number=0)
        self.assert_named("test_executable.test_the_intel_slice_imports_nothing_that_its_oldest_system_lacks",
                          "_dispatch_twic")

    def test_a_byte_changed_after_signing(self):
        self.in_executable(b"cp -R ", b"cp -L ", slice_number=1)
        self.assert_named("test_executable.test_each_slice_is_signed_and_unchanged_since", "arm64")

    def test_a_path_of_the_build(self):
        self.in_executable(b"/Applications/Quillmark.app\0", b"/Users/ann/sources/tests.mm\0")
        self.assert_named("test_executable.test_no_path_of_the_build_is_inside", "/Users/ann/sources/tests.mm")

    def test_a_larger_executable(self):
        path = self.copy / EXECUTABLE
        path.write_bytes(macho.slices(path.read_bytes())["x86_64"].content + bytes(100_000))
        self.assert_named("test_executable.test_each_slice_keeps_to_its_size")

    def test_another_variable(self):
        self.in_executable(b"_andText\0", b"_andTexu\0", slice_number=0)
        self.assert_named("test_classes.test_the_delegate_has_its_seventeen_variables_in_order", "_andTexu", "x86_64")

    def test_another_attribute_of_a_property(self):
        self.in_executable(b'T@"NSTextField",W,V_tac\0', b'T@"NSTextField",N,V_tac\0')
        self.assert_named("test_classes.test_the_delegate_has_its_sixteen_properties_in_order", "N,V_tac")

    def test_another_method(self):
        self.in_executable(b"doQuitApplication:\0", b"doQuitApplicatiom:\0")
        self.assert_named("test_classes.test_the_delegate_has_its_methods_in_the_declared_order", "doQuitApplicatiom:")

    def test_another_method_of_the_catalogue(self):
        self.in_executable(b"commandInfo\0", b"commandInfa\0")
        self.assert_named("test_classes.test_the_rights_catalogue_is_class_methods_only", "commandInfa")

    def test_another_class_in_a_reply(self):
        self.in_executable(b'@?<v@?@"NSXPCListenerEndpoint">', b'@?<v@?@"NSXPCListenerEndpoinT">')
        self.assert_named("test_classes.test_the_helper_protocol_has_its_messages_in_order_with_the_classes_that_they"
                          "_carry", "NSXPCListenerEndpoinT")

    def test_another_adopted_protocol(self):
        self.in_executable(b"NSApplicationDelegate\0", b"NSApplicationDelegata\0")
        self.assert_named("test_classes.test_the_delegate_is_an_object_that_adopts_the_application_delegate")

    def test_another_value_in_info_plist(self):
        self.change_info(NSMainNibFile="Main")
        self.assert_named("test_bundle.test_its_keys_have_these_values", "NSMainNibFile")

    def test_another_oldest_system_in_info_plist(self):
        self.change_info(LSMinimumSystemVersion="10.9")
        self.assert_named("test_bundle.test_the_oldest_system_is_the_one_that_the_intel_slice_is_for")
        self.assert_named("test_executable.test_each_slice_runs_on_its_oldest_system", "'10.8' != '10.9'", "x86_64")

    def test_a_key_missing_from_info_plist(self):
        self.change_info(NSPrincipalClass=None)
        self.assert_named("test_bundle.test_it_has_these_keys_and_no_others", "NSPrincipalClass")

    def test_a_helper_without_a_team(self):
        self.change_info(SMPrivilegedExecutables={product.HELPER_LABEL: "anchor apple generic"})
        self.assert_named("test_bundle.test_the_helper_may_be_blessed_under_its_label_with_a_requirement_that_names"
                          "_it_and_a_team")

    def test_a_file_too_many_and_a_file_too_few(self):
        (self.copy / CONTENTS / "Resources/notes.txt").write_text("left over")
        self.assert_named("test_bundle.test_the_bundle_holds_these_files_and_no_others", "notes.txt")
        (self.copy / CONTENTS / "Resources/notes.txt").unlink()
        (self.copy / CONTENTS / "Resources/MainMenu.xib").unlink()
        self.assert_named("test_bundle.test_the_bundle_holds_these_files_and_no_others", "no interface file")

    def test_an_icon_without_one_of_its_sizes(self):
        icon = self.copy / CONTENTS / "Resources/Installer.icns"
        icon.write_bytes(icon.read_bytes().replace(b"ic12", b"ic04"))
        self.assert_named("test_bundle.test_it_has_every_size_from_16_to_1024_in_both_resolutions", "ic12")

    def test_a_damaged_picture_in_the_icon(self):
        icon = self.copy / CONTENTS / "Resources/Installer.icns"
        content = icon.read_bytes()
        at = content.rindex(b"IDAT") + 100
        icon.write_bytes(content[:at] + bytes([content[at] ^ 1]) + content[at + 1:])
        self.assert_named("test_bundle.test_every_png_is_whole_and_has_its_size_and_transparency")
