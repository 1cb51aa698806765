"""Spoils a payload that may ship in one way after the other, and looks at what tools/check-payload says."""

import os
import plistlib
import shutil
import subprocess
from contextlib import suppress

from support import REPOSITORY, signature
from support.copies import ScratchFolder

from inspection import macho, product

CONTENTS = "Quillmark.app/Contents"
EXECUTABLE = f"{CONTENTS}/MacOS/Quillmark"
GUARDS = "components/WGComponents"
HOW = ("com.quillmark.client", signature.HARDENED_RUNTIME, signature.DIGESTS, None)


class Payload(ScratchFolder):
    def setUp(self):
        super().setUp()
        self.good = self.scratch / "good"
        subprocess.run([REPOSITORY / "tools/make-sample-payload", self.good], check=True, timeout=60)
        (self.good / CONTENTS / "Resources/tunnel.dat").chmod(0o644)
        (self.good / CONTENTS / "CodeResources").write_bytes(b"ticket")
        (self.good / EXECUTABLE).write_bytes(signature.signed(product.EXECUTABLE.read_bytes(), *HOW))
        self.payload = self.scratch / "payload"

    def check(self, *options):
        return subprocess.run([REPOSITORY / "tools/check-payload", *options, self.payload, self.payload],
                              capture_output=True, text=True, timeout=60)

    def spoil(self, change):
        shutil.rmtree(self.payload, ignore_errors=True)
        shutil.copytree(self.good, self.payload, symlinks=True)
        change(self.payload)

    def assert_found(self, change, path, reason, options=("--release",), severity="error"):
        """The payload has this one fault."""
        self.spoil(change)
        with self.subTest(path, reason=reason):
            outcome = self.check(*options)
            self.assertEqual(outcome.returncode, 1 if severity == "error" else 0, outcome.stderr)
            fault, = outcome.stderr.splitlines()
            self.assertTrue(fault.startswith(f"{severity}: {path}: "), fault)
            self.assertIn(reason, fault)

    def test_a_good_one_may_ship_and_serves_every_mac_that_has_a_name(self):
        self.spoil(lambda payload: None)
        outcome = self.check("--release")
        self.assertEqual((outcome.returncode, outcome.stderr), (0, ""))
        self.assertNotIn("NOT SERVED", outcome.stdout)
        self.assertRegex(outcome.stdout, r"(?m)^10\.11 +x86_64 +no name")
        self.assertRegex(outcome.stdout, r"(?m)^10\.14 +x86_64 +Mojav +served +measured")
        self.assertRegex(outcome.stdout, r"(?m)^12 +arm64 +osM1 +served")

    def test_what_it_lacks_is_an_error_always(self):
        def change(payload):
            (payload / "components/ta.key").unlink()
            (payload / "client.up.tunnelblick.sh").unlink()
            shutil.rmtree(payload / GUARDS / "osM1")
            shutil.rmtree(payload / GUARDS / "Sonoma/QuillmarkGuard")
        self.spoil(change)
        outcome = self.check()
        self.assertEqual(outcome.returncode, 1)
        self.assertEqual([line for line in outcome.stderr.splitlines() if not line.startswith("warning")], [
            f"error: {part}: missing" for part in ["client.up.tunnelblick.sh", "components/ta.key",
                                                   f"{GUARDS}/osM1/QuillmarkGuard",
                                                   f"{GUARDS}/Sonoma/QuillmarkGuard"]])
        self.assertRegex(outcome.stdout, r"(?m)^11 +arm64 +osM1 +NOT SERVED")

    def test_the_name_that_a_mac_computes_is_the_one_that_counts(self):
        self.assert_found(lambda payload: (payload / GUARDS / "Tahoe 26").rename(payload / GUARDS / "Tahoe"),
                          f"{GUARDS}/Tahoe", "did you mean 'Tahoe 26'?")
        self.assertRegex(self.check().stdout, r"(?m)^26 +arm64 +Tahoe 26 +NOT SERVED +inferred")

    def test_what_not_everybody_may_read_or_search(self):
        for path, mode in [(f"{CONTENTS}/Resources/tunnel.dat", 0o600), ("components/login.conf", 0o640),
                           (f"{GUARDS}/Sonoma/QuillmarkGuard/bin", 0o754), ("client.up.tunnelblick.sh", 0o700)]:
            self.assert_found(lambda payload: (payload / path).chmod(mode), path, f"its mode is {mode:o}")

    def test_names_that_a_mac_takes_apart_or_for_the_same(self):
        composed = f"{CONTENTS}/Resources/caf\u00e9"
        self.assert_found(lambda payload: (payload / composed).touch(), composed, "HFS+ takes them apart")
        guard = f"{GUARDS}/Sonoma/QuillmarkGuard"

        def sign(payload):
            (payload / guard / "_CodeSignature").mkdir()
            (payload / guard / "bin/caf\u00e9").touch()
        self.assert_found(sign, f"{guard}/bin/caf\u00e9", "HFS+ takes them apart")

        def harmless(payload):
            (payload / guard / "caf\u00e9").touch()  # in no bundle
            (payload / CONTENTS / "Resources/\u2126").touch()  # HFS+ leaves the sign of the ohm as it is
        self.spoil(harmless)
        self.assertEqual(self.check("--release").stderr, "")
        self.assert_found(lambda payload: (payload / "components/CA.crt").touch(), "components/ca.crt",
                          "the same name on a Mac as components/CA.crt")

    def test_code_that_is_not_for_apple_silicon_or_not_the_teams(self):
        signed = (self.good / EXECUTABLE).read_bytes()
        intel = signature.signed_slice(macho.slices(product.EXECUTABLE)["x86_64"].content, *HOW)
        code = f"{GUARDS}/Ventura/QuillmarkGuard/bin/wireguard"
        for content, reason in [
                (intel, "no code for Apple silicon"), (product.EXECUTABLE.read_bytes(), "it is not signed"),
                (signed.replace(b"ABCDE12345", b"ZZZZZ99999"), "team ZZZZZ99999, the installer's of team ABCDE12345"),
                (signature.signed(product.EXECUTABLE.read_bytes(), HOW[0], signature.ADHOC, *HOW[2:]), "of no team"),
                (signed[:5000], "damaged"), (b"\xce\xfa\xed\xfe" + bytes(100), "not for 64-bit")]:
            self.assert_found(lambda payload: (payload / code).write_bytes(content), code, reason)
        self.spoil(lambda payload: (payload / code).write_bytes(b"\xca\xfe\xba\xbe\0\0\0\x34 a Java class"))
        self.assertEqual(self.check("--release").stderr, "")

    def test_a_client_without_a_ticket_is_an_error_for_a_release_and_a_warning_otherwise(self):
        ticket = f"{CONTENTS}/CodeResources"
        for how in [(), ([], "warning")]:
            self.assert_found(lambda payload: (payload / ticket).unlink(), ticket, "no ticket", *how)

    def test_what_is_quarantined(self):
        attributes = f"{CONTENTS}/._Info.plist"
        self.assert_found(lambda payload: (payload / attributes).write_bytes(b"\0\5\x16\7 com.apple.quarantine"),
                          attributes, "com.apple.quarantine")
        with suppress(OSError):  # not every file system of a Linux has attributes
            os.setxattr(self.good / CONTENTS, "user.com.apple.quarantine", b"0083")
            self.assert_found(lambda payload: None, CONTENTS, "com.apple.quarantine")

    def test_a_policy_that_forbids_the_update(self):
        path = f"{CONTENTS}/Info.plist"
        for processes, is_allowed in [({"ABCDE12345": ["com.quillmark.customInstaller"]}, True),
                                      ({"ABCDE12345": ["com.quillmark.updater"]}, False),
                                      ({"ZZZZZ99999": ["com.quillmark.customInstaller"]}, False)]:
            def change(payload):
                policy = {"AllowProcesses": processes}
                (payload / path).write_bytes(plistlib.dumps({"CFBundleExecutable": "Quillmark",
                                                             "NSUpdateSecurityPolicy": policy}))
            if is_allowed:
                self.spoil(change)
                self.assertEqual(self.check("--release").stderr, "")
            else:
                self.assert_found(change, path, "does not let com.quillmark.customInstaller replace the client")
