"""Jamf's schema takes the settings that the installer can work with, and no others."""

import json
import plistlib
import unittest

import jsonschema

from support.fleet import DOMAIN, KIT

SCHEMA = f"jamf/{DOMAIN}.json"


class Schema(unittest.TestCase):
    def setUp(self):
        self.schema = json.loads((KIT / SCHEMA).read_text())
        self.validator = jsonschema.Draft7Validator(self.schema)

    def test_it_is_a_schema(self):
        jsonschema.Draft7Validator.check_schema(self.schema)

    def test_it_takes_identifiers_of_the_vendors_form(self):
        for team, partner in [("T2", "P1"), ("42", "007"), ("a" * 64, "A.b_c-9"), ("0", "z")]:
            self.assertTrue(self.validator.is_valid({"teamID": team, "partnerID": partner}), (team, partner))

    def test_it_refuses_identifiers_of_another_form(self):
        for value in ["", "a" * 65, "Pé", "a b", "-a", ".a", "_a", "a/b", "a\nb", "東京", 42, None, True, ["T2"], {}]:
            with self.subTest(value):
                self.assertFalse(self.validator.is_valid({"teamID": value, "partnerID": "P1"}))
                self.assertFalse(self.validator.is_valid({"teamID": "T2", "partnerID": value}))

    def test_it_refuses_one_without_the_other_and_any_third(self):
        for settings in [{}, {"teamID": "T2"}, {"partnerID": "P1"}, {"teamid": "T2", "partnerID": "P1"},
                         {"teamID": "T2", "partnerID": "P1", "more": "x"}, "T2", ["T2", "P1"]]:
            self.assertFalse(self.validator.is_valid(settings), settings)

    def test_it_takes_the_profiles_settings_once_they_are_filled_in(self):
        profile = plistlib.loads((KIT / "profiles/settings.mobileconfig").read_bytes())
        forced = profile["PayloadContent"][0]["PayloadContent"][DOMAIN]["Forced"][0]["mcx_preference_settings"]
        self.assertFalse(self.validator.is_valid(forced))
        self.assertTrue(self.validator.is_valid({key: "X1" for key in forced}))

    def test_what_it_shows_is_what_the_manifest_says(self):
        manifest = plistlib.loads((KIT / f"manifests/{DOMAIN}.plist").read_bytes())
        self.assertEqual(self.schema["title"], f"Quillmark Installer ({DOMAIN})")
        for key in manifest["pfm_subkeys"]:
            if not key["pfm_name"].startswith("Payload"):
                shown = self.schema["properties"][key["pfm_name"]]
                self.assertEqual((shown["title"], shown["description"], shown["pattern"]),
                                 (key["pfm_title"], key["pfm_description"], key["pfm_format"]))
