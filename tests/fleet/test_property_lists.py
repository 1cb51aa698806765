"""The kit's property lists hold what their readers know, and no other key."""

import plistlib
import re
import unittest
import uuid

from support.fleet import DOMAIN, KIT

IDENTIFIER = "^[A-Za-z0-9][A-Za-z0-9._-]{0,63}$"
UUID = "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"

# A description of a property list: a type; a dictionary of the keys that there must be; or a list, with the description
# of each of its elements, of which there is at least one.
PAYLOAD = {"PayloadDescription": str, "PayloadDisplayName": str, "PayloadIdentifier": str, "PayloadType": str,
           "PayloadUUID": str, "PayloadVersion": int}
PROFILE = {**PAYLOAD, "PayloadOrganization": str, "PayloadScope": str}
SETTINGS = {**PROFILE, "PayloadContent": [{**PAYLOAD, "PayloadContent": {DOMAIN: {"Forced": [{
    "mcx_preference_settings": {"partnerID": str, "teamID": str}}]}}}]}
APP_MANAGEMENT = {**PROFILE, "PayloadContent": [{**PAYLOAD, "Services": {"SystemPolicyAppBundles": [{
    "Allowed": bool, "CodeRequirement": str, "Comment": str, "Identifier": str, "IdentifierType": str,
    "StaticCode": bool}]}}]}
PKGINFO = {
    "autoremove": bool, "blocking_applications": [str], "catalogs": [str], "category": str, "description": str,
    "developer": str, "display_name": str, "installcheck_script": str, "installer_item_location": str,
    "installer_type": str, "items_to_copy": [{"destination_path": str, "group": str, "mode": str, "source_item": str,
                                              "user": str}],
    "minimum_os_version": str, "name": str, "postinstall_script": str, "unattended_install": bool,
    "unattended_uninstall": bool, "uninstall_method": str, "uninstall_script": str, "uninstallable": bool,
    "uninstallcheck_script": str, "version": str}


def read(name):
    return plistlib.loads((KIT / name).read_bytes(), fmt=plistlib.FMT_XML)


class PropertyListTest(unittest.TestCase):
    def assert_described(self, value, description, place="it"):
        if isinstance(description, dict):
            self.assertIs(type(value), dict, place)
            self.assertEqual(sorted(value), sorted(description), place)
            for key, of_key in description.items():
                self.assert_described(value[key], of_key, f"{place}.{key}")
        elif isinstance(description, list):
            self.assertIs(type(value), list, place)
            self.assertNotEqual(value, [], place)
            for element in value:
                self.assert_described(element, description[0], f"{place}[]")
        else:
            self.assertIs(type(value), description, place)
            self.assertNotEqual(value, "", place)


class Profiles(PropertyListTest):
    def test_the_settings_are_forced_preferences_of_the_installer(self):
        profile = read("profiles/settings.mobileconfig")
        self.assert_described(profile, SETTINGS)
        self.assertEqual([payload["PayloadType"] for payload in profile["PayloadContent"]],
                         ["com.apple.ManagedClient.preferences"])

    def test_unless_they_are_filled_in_nothing_can_be_installed_with_the_settings(self):
        forced = read("profiles/settings.mobileconfig")["PayloadContent"][0]["PayloadContent"][DOMAIN]["Forced"][0]
        for value in forced["mcx_preference_settings"].values():
            self.assertNotRegex(value, IDENTIFIER)

    def test_app_management_is_allowed_to_the_installer_alone_by_a_real_boolean(self):
        profile = read("profiles/app-management.mobileconfig")
        self.assert_described(profile, APP_MANAGEMENT)
        self.assertEqual([payload["PayloadType"] for payload in profile["PayloadContent"]],
                         ["com.apple.TCC.configuration-profile-policy"])
        application, = profile["PayloadContent"][0]["Services"]["SystemPolicyAppBundles"]
        self.assertIs(application["Allowed"], True)
        self.assertEqual((application["Identifier"], application["IdentifierType"]), (DOMAIN, "bundleID"))
        self.assertEqual(application["CodeRequirement"], f'identifier "{DOMAIN}" and anchor apple generic and '
                                                         'certificate leaf[subject.OU] = "0000000000"')

    def test_each_profile_is_one_of_the_macs_with_a_version_that_systems_know(self):
        for profile in self.profiles():
            self.assertEqual((profile["PayloadType"], profile["PayloadScope"], profile["PayloadVersion"]),
                             ("Configuration", "System", 1))

    def test_every_payload_has_an_identifier_and_a_uuid_of_its_own(self):
        payloads = [payload for profile in self.profiles() for payload in [profile, *profile["PayloadContent"]]]
        self.assertEqual(len(payloads), 4)
        for key in ["PayloadIdentifier", "PayloadUUID"]:
            self.assertEqual(len({payload[key] for payload in payloads}), len(payloads), key)
        for payload in payloads:
            self.assertRegex(payload["PayloadUUID"], f"^{UUID}$")
            self.assertEqual(uuid.UUID(payload["PayloadUUID"]).version, 4)
            self.assertTrue(payload["PayloadIdentifier"].startswith(f"{DOMAIN}."))

    def test_a_payloads_identifier_continues_its_profiles(self):
        for profile in self.profiles():
            for payload in profile["PayloadContent"]:
                self.assertTrue(payload["PayloadIdentifier"].startswith(f"{profile['PayloadIdentifier']}."))

    def profiles(self):
        found = sorted((KIT / "profiles").iterdir())
        self.assertEqual([path.name for path in found], ["app-management.mobileconfig", "settings.mobileconfig"])
        return [plistlib.loads(path.read_bytes(), fmt=plistlib.FMT_XML) for path in found]


class Manifest(PropertyListTest):
    ROOT = {"pfm_description": str, "pfm_domain": str, "pfm_format_version": int, "pfm_interaction": str,
            "pfm_last_modified": plistlib.datetime.datetime, "pfm_platforms": [str], "pfm_subkeys": [dict],
            "pfm_targets": [str], "pfm_title": str, "pfm_unique": bool, "pfm_version": int}
    KEY = {"pfm_name": str, "pfm_title": str, "pfm_description": str, "pfm_type": str}
    MORE = {"pfm_default": (str, int), "pfm_format": str, "pfm_note": str, "pfm_require": str,
            "pfm_value_placeholder": str}
    TYPES = {"string": str, "integer": int}

    def setUp(self):
        self.manifest = read(f"manifests/{DOMAIN}.plist")
        self.keys = {key["pfm_name"]: key for key in self.manifest["pfm_subkeys"]}

    def test_it_describes_the_domain_of_the_installer(self):
        self.assert_described(self.manifest, self.ROOT)
        self.assertEqual((self.manifest["pfm_domain"], self.manifest["pfm_platforms"], self.manifest["pfm_unique"]),
                         (DOMAIN, ["macOS"], True))
        self.assertEqual(self.manifest["pfm_interaction"], "combined")
        self.assertLessEqual(set(self.manifest["pfm_targets"]), {"system", "user"})

    def test_its_keys_are_those_of_every_payload_and_the_identifiers(self):
        self.assertEqual(len(self.keys), len(self.manifest["pfm_subkeys"]))
        self.assertEqual(sorted(self.keys), sorted([
            "PayloadDescription", "PayloadDisplayName", "PayloadIdentifier", "PayloadOrganization", "PayloadType",
            "PayloadUUID", "PayloadVersion", "teamID", "partnerID"]))

    def test_each_key_is_described_in_words_that_the_format_knows(self):
        for name, key in self.keys.items():
            with self.subTest(name):
                self.assertLessEqual(set(key), {*self.KEY, *self.MORE})
                for word, kind in self.KEY.items():
                    self.assertIs(type(key[word]), kind, word)
                for word in key.keys() & self.MORE.keys():
                    self.assertIsInstance(key[word], self.MORE[word], word)
                self.assertIn(key["pfm_type"], self.TYPES)
                self.assertEqual(key.get("pfm_require", "always"), "always")
                if "pfm_default" in key:
                    self.assertIs(type(key["pfm_default"]), self.TYPES[key["pfm_type"]])
                if "pfm_format" in key:
                    re.compile(key["pfm_format"])

    def test_both_identifiers_are_required_texts_of_one_form(self):
        for name in ["teamID", "partnerID"]:
            key = self.keys[name]
            self.assertEqual((key["pfm_type"], key["pfm_require"], key["pfm_format"]), ("string", "always", IDENTIFIER))
            self.assertRegex(key["pfm_value_placeholder"], IDENTIFIER)

    def test_the_team_is_told_from_apples(self):
        self.assertIn("not Apple's Team ID", self.keys["teamID"]["pfm_description"])

    def test_the_defaults_of_identifier_and_type_are_the_domain(self):
        for name in ["PayloadIdentifier", "PayloadType"]:
            self.assertEqual(self.keys[name]["pfm_default"], DOMAIN)

    def test_a_uuid_is_one_of_uuidgen(self):
        self.assertRegex(str(uuid.uuid4()).upper(), self.keys["PayloadUUID"]["pfm_format"])
        self.assertNotRegex("x", self.keys["PayloadUUID"]["pfm_format"])


class Pkginfo(PropertyListTest):
    def setUp(self):
        self.pkginfo = read("munki/Quillmark.pkginfo")

    def test_it_is_an_item_that_is_copied_from_a_disk_image_and_has_no_installs_beside_its_check(self):
        self.assert_described(self.pkginfo, PKGINFO)
        self.assertEqual((self.pkginfo["installer_type"], self.pkginfo["uninstall_method"]),
                         ("copy_from_dmg", "uninstall_script"))
        self.assertTrue(self.pkginfo["unattended_install"])

    def test_its_scripts_are_the_kits(self):
        for key, name in [("installcheck_script", "munki/installcheck.sh"), ("postinstall_script", "install.sh"),
                          ("uninstall_script", "munki/uninstall.sh"),
                          ("uninstallcheck_script", "munki/uninstallcheck.sh")]:
            self.assertEqual(self.pkginfo[key], (KIT / name).read_text())

    def test_what_it_copies_belongs_to_root_and_leaves_the_vpn_files_out(self):
        items = self.pkginfo["items_to_copy"]
        self.assertEqual([item["source_item"] for item in items],
                         ["Quillmark Installer.app", "components/WGComponents"])
        for item in items:
            self.assertEqual((item["user"], item["group"], item["mode"]), ("root", "wheel", "go-w"))

    def test_its_version_and_its_image_are_the_releases(self):
        cmake = (KIT.parent / "CMakeLists.txt").read_text()
        version = re.search(r"project\(QuillmarkInstaller VERSION (\S+)", cmake)[1]
        self.assertEqual((self.pkginfo["version"], self.pkginfo["installer_item_location"]),
                         (version, f"Quillmark-Installer-{version}.dmg"))


class OneDomainAndTwoKeys(PropertyListTest):
    """What the installer reads is what every file of the kit sets, describes or looks at."""

    def test_the_domain_is_the_installers_identifier(self):
        information = (KIT.parent / "resources/Info.plist.in").read_text()
        self.assertIn(f"<key>CFBundleIdentifier</key>\n\t<string>{DOMAIN}</string>", information)

    def test_no_file_knows_another_domain_of_the_vendor(self):
        known = {DOMAIN, f"{DOMAIN}.Helper", f"{DOMAIN}.settings", f"{DOMAIN}.settings.identifiers",
                 f"{DOMAIN}.app-management", f"{DOMAIN}.app-management.tcc", f"{DOMAIN}.lock", f"{DOMAIN}.plist",
                 f"{DOMAIN}.json", f"{DOMAIN}.fleet"}
        for path in KIT.rglob("*"):
            if path.is_file():
                found = set(re.findall(r"com\.quillmark(?:\.\w[\w-]*)*", path.read_text()))
                self.assertLessEqual(found, known, path)

    def test_every_file_that_knows_the_two_keys_knows_both_and_no_other_spelling(self):
        knowing = set()
        for path in KIT.rglob("*"):
            if path.is_file():
                found = re.findall(r"\b(?:team|partner)_?id\b", path.read_text(), re.IGNORECASE)
                self.assertIn(set(found), [set(), {"teamID", "partnerID"}], path)
                if found:
                    knowing.add(path.relative_to(KIT).parts[0])
        self.assertLessEqual({"install.sh", "check.sh", "profiles", "manifests", "jamf", "munki", "intune", "kandji"},
                             knowing)
