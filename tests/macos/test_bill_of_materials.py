"""Reads the bill of materials that comes with an archive, and holds it against the archive and the published schema."""

import hashlib
import json
import warnings

import jsonschema

import releases
from inspection import product
from support.copies import DistributionCopy
from support.packing import ARCHIVE, BUNDLE, CONTENTS, VERSION, package
from support.payload import SCRIPTS, VPN_FILES

SCHEMA = product.REPOSITORY / "build/bom-schema/res/schema"


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class BillOfMaterials(DistributionCopy):
    @classmethod
    def setUpClass(cls):
        schemas = [json.loads((SCHEMA / f"{name}.SNAPSHOT.schema.json").read_text())
                   for name in ("bom-1.6", "spdx", "jsf-0.82")]
        with warnings.catch_warnings(record=True):  # newer versions of the library have another way, Debian's has not
            resolver = jsonschema.RefResolver.from_schema(schemas[0], store={one["$id"]: one for one in schemas})
        cls.validator = jsonschema.Draft7Validator(schemas[0], resolver=resolver)

    def bill(self, output="out"):
        outcome = package("--for-inspection", self.copy, output=self.scratch / output)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        return json.loads((self.scratch / output / ARCHIVE).with_suffix(".cdx.json").read_text())

    def problems(self, bill):
        return [f"{error.json_path}: {error.message}" for error in self.validator.iter_errors(bill)]

    def test_it_keeps_to_the_published_schema_of_cyclonedx_1_6(self):
        bill = self.bill()
        self.assertEqual((bill["bomFormat"], bill["specVersion"]), ("CycloneDX", "1.6"))
        self.assertEqual(self.problems(bill), [])
        bill["components"][0]["components"][0]["hashes"][0]["content"] = "no digest"
        bill["serialNumber"] = "1"
        self.assertEqual(len(self.problems(bill)), 2, "the schema refuses nothing")

    def test_every_file_of_the_archive_is_in_it_once_with_its_digest(self):
        listed = {}
        for component in self.bill()["components"]:
            for item in component.get("components", [component]):
                self.assertNotIn(item["bom-ref"], listed)
                listed[item["bom-ref"]], = [one["content"] for one in item["hashes"] if one["alg"] == "SHA-256"]
        files = [path for path in self.copy.rglob("*") if path.is_file() and not path.is_symlink()]
        self.assertEqual(listed, {str(path.relative_to(self.copy)): digest(path) for path in files})

    def test_installer_client_guards_scripts_and_other_components_are_parts_of_their_own(self):
        bill = self.bill()
        parts = {component["bom-ref"]: component for component in bill["components"]}
        self.assertEqual(parts[BUNDLE]["version"], VERSION)
        self.assertEqual(parts[f"{CONTENTS}/Resources/Quillmark.app"]["version"], "1")
        self.assertEqual({reference for reference, part in parts.items() if part["type"] == "application"},
                         {BUNDLE, f"{CONTENTS}/Resources/Quillmark.app",
                          *(f"components/WGComponents/{mac}/QuillmarkGuard" for mac in releases.folders())})
        self.assertEqual({part["name"] for part in parts.values() if part["type"] == "file"},
                         {*SCRIPTS, *VPN_FILES})
        self.assertEqual(bill["dependencies"], [{"ref": ARCHIVE, "dependsOn": sorted(parts)}])

    def test_a_helper_tool_is_a_part_of_its_own(self):
        tool = f"{CONTENTS}/Library/LaunchServices/{product.HELPER_LABEL}"
        (self.copy / tool).parent.mkdir(parents=True)
        (self.copy / tool).write_bytes(b"no real tool")
        parts = {component["bom-ref"]: component for component in self.bill()["components"]}
        self.assertEqual(parts[tool]["type"], "application")

    def test_it_describes_the_archive_that_lies_beside_it(self):
        described = self.bill()["metadata"]["component"]
        archive = digest(self.scratch / "out" / ARCHIVE)
        self.assertEqual((described["name"], described["version"]), ("Quillmark Installer", VERSION))
        self.assertEqual(described["hashes"], [{"alg": "SHA-256", "content": archive}])
        self.assertEqual(described["externalReferences"], [{"type": "distribution", "url": ARCHIVE,
                                                            "hashes": [{"alg": "SHA-256", "content": archive}]}])

    def test_the_same_archive_has_the_same_bill_and_another_one_another_serial_number(self):
        first = self.bill("first")
        self.assertEqual(first, self.bill("second"))
        (self.copy / "components/ca.crt").write_text("another certificate\n")
        self.assertNotEqual(first["serialNumber"], self.bill("third")["serialNumber"])
