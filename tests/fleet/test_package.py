"""The package root, and the files for consoles, by what their readers take."""

import json
import os
import plistlib
import re
import stat
import subprocess
import sys
import tempfile
import unittest
import uuid
from pathlib import Path

from support.fleet import AGENT, CLIENT, DOMAIN, KIT, MAKE_FLEET_ROOT
from support.mac import DISTRIBUTION, INSTALLER


class PackageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.made = Path(folder.name, "made")

    def make(self, distribution=DISTRIBUTION):
        ran = subprocess.run([sys.executable, MAKE_FLEET_ROOT, distribution, self.made], capture_output=True, text=True,
                             check=False)
        self.assertEqual(ran.returncode, 0, ran.stderr)
        return self.made / "root"


class Root(PackageTest):
    def test_belongs_to_root_can_be_read_by_all_and_written_by_nobody_else(self):
        secret = DISTRIBUTION / INSTALLER / "Contents/Resources/Quillmark.app/Contents/Resources/tunnel.dat"
        self.assertEqual(stat.S_IMODE(secret.stat().st_mode), 0o600)
        root = self.make()
        for path in root.rglob("*"):
            status = path.lstat()
            mode = 0o775 if path == root / "Applications" else 0o755 if path.is_dir() or status.st_mode & 0o100 else 0o644
            if not path.is_symlink():
                self.assertEqual(stat.S_IMODE(status.st_mode), mode, path)
            if os.geteuid() == 0:
                self.assertEqual((status.st_uid, status.st_gid), (0, 80 if mode == 0o775 else 0), path)
            self.assertEqual(os.listxattr(path, follow_symlinks=False), [], path)

    def test_holds_the_client_the_installer_the_components_the_kit_and_the_agent_and_nothing_else(self):
        root = self.make()
        folders = {"Applications": ["Quillmark.app"], "Library": ["Application Support", "LaunchAgents"],
                   "Library/LaunchAgents": [Path(AGENT).name], KIT[1:]: ["Quillmark Installer.app", "at-login", "common",
                                                                       "components", "remove", "status"],
                   f"{KIT[1:]}/components": ["WGComponents"]}
        for folder, names in folders.items():
            self.assertEqual(sorted(os.listdir(root / folder)), names)
        for inside, source in [(CLIENT, DISTRIBUTION / INSTALLER / "Contents/Resources/Quillmark.app"),
                               (f"{KIT}/{INSTALLER}", DISTRIBUTION / INSTALLER),
                               (f"{KIT}/components/WGComponents", DISTRIBUTION / "components/WGComponents")]:
            subprocess.run(["diff", "-r", "--no-dereference", root / inside[1:], source], check=True)

    def test_takes_neither_pipes_nor_links_that_lead_out(self):
        with tempfile.TemporaryDirectory() as folder:
            distribution, made = Path(folder, "distribution"), Path(folder, "made")
            subprocess.run(["cp", "-R", "-P", DISTRIBUTION, distribution], check=True)
            trap = distribution / "components/WGComponents/trap"
            for plant, source, reason in [
                    (lambda: None, Path(folder), "is missing"), (lambda: os.mkfifo(trap), distribution, "neither a file"),
                    (lambda: (trap.unlink(), trap.symlink_to("/etc/passwd")), distribution, "leads to"),
                    (lambda: made.mkdir(exist_ok=True), distribution, "in the way")]:
                plant()
                ran = subprocess.run([sys.executable, MAKE_FLEET_ROOT, source, made], capture_output=True, text=True,
                                     check=False)
                self.assertEqual((ran.returncode, reason in ran.stderr), (1, True), ran.stderr)
                if reason != "leads to":
                    subprocess.run(["rm", "-rf", made], check=True)


class PropertyLists(PackageTest):
    def test_of_the_agent_and_the_components_name_what_the_package_holds(self):
        root = self.make()
        agent = plistlib.loads((root / AGENT[1:]).read_bytes())
        self.assertEqual((agent["Label"] + ".plist", agent["RunAtLoad"], agent["LimitLoadToSessionType"]),
                         (Path(AGENT).name, True, "Aqua"))
        self.assertTrue(os.access(root / agent["ProgramArguments"][0][1:], os.X_OK))
        client, installer = plistlib.loads((self.made / "components.plist").read_bytes())
        for component in [client, installer]:
            self.assertTrue((root / component["RootRelativeBundlePath"] / "Contents/Info.plist").is_file())
            self.assertEqual((component["BundleIsRelocatable"], component["BundleHasStrictIdentifier"]), (False, True))
        self.assertEqual((client["BundleIsVersionChecked"], installer["BundleIsVersionChecked"]), (True, False))

    def test_of_profiles_have_what_every_payload_needs(self):
        self.make()
        found = {path.stem: plistlib.loads(path.read_bytes()) for path in self.made.glob("profiles/*.mobileconfig")}
        self.assertEqual(sorted(found), ["app-management", "login-items", "settings"])
        seen = set()
        for profile in found.values():
            [payload] = profile["PayloadContent"]
            for part in [profile, payload]:
                self.assertLessEqual({"PayloadDisplayName", "PayloadIdentifier", "PayloadType", "PayloadUUID",
                                      "PayloadVersion"}, set(part))
                seen |= {str(uuid.UUID(part["PayloadUUID"])), part["PayloadIdentifier"]}
        self.assertEqual(len(seen), 12)
        content = {name: profile["PayloadContent"][0] for name, profile in found.items()}
        [forced] = content["settings"]["PayloadContent"][DOMAIN]["Forced"]
        self.assertEqual(sorted(forced["mcx_preference_settings"]), ["partnerID", "teamID"])
        self.assertEqual((content["login-items"]["PayloadType"], content["login-items"]["Rules"][0]["RuleValue"] + ".plist"),
                         ("com.apple.servicemanagement", Path(AGENT).name))
        [service] = content["app-management"]["Services"]["SystemPolicyAppBundles"]
        information = plistlib.loads((DISTRIBUTION / INSTALLER / "Contents/Info.plist").read_bytes())
        self.assertEqual(service["Identifier"], information["CFBundleIdentifier"])

    def test_the_manifest_and_jamfs_schema_take_the_identifiers_that_the_kit_takes(self):
        self.make()
        manifest = plistlib.loads((self.made / f"profiles/manifest-{DOMAIN}.plist").read_bytes())
        schema = json.loads((self.made / f"profiles/jamf-{DOMAIN}.json").read_text())
        self.assertEqual((manifest["pfm_domain"], schema["required"]), (DOMAIN, ["teamID", "partnerID"]))
        self.assertEqual([key["pfm_name"] for key in manifest["pfm_subkeys"]][-2:], ["teamID", "partnerID"])
        patterns = {key["pfm_format"] for key in manifest["pfm_subkeys"][-2:]}
        patterns |= {key["pattern"] for key in schema["properties"].values()}
        [pattern] = patterns
        common = self.made / "root" / KIT[1:] / "common"
        for text in ["T2", "0", "a.b-c_D", "x" * 64, "x" * 65, "", "-x", "_x", ".x", "a b", "é", "a;b", "a\nb", "(x)"]:
            taken = subprocess.run(["dash", "-c", '. "$1"; is_identifier "$2"', "dash", common, text], check=False)
            self.assertEqual(taken.returncode == 0, re.search(pattern + r"\Z", text) is not None, text)
