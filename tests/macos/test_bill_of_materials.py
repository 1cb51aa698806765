"""Holds the bill of materials that comes with an archive against the archive, and once against the published schema."""

import hashlib
import json
import shutil
import subprocess
import warnings

import jsonschema

from support import REPOSITORY
from support.copies import DistributionCopy
from support.packing import ARCHIVE, BUNDLE, CONTENTS, package

PINNED = REPOSITORY / "tests/macos/bom-schema"
FETCHED = REPOSITORY / "build/bom-schema"
SCHEMA = FETCHED / "node_modules/@cyclonedx/cyclonedx-library/res/schema"


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def schemas():
    if not SCHEMA.exists():
        shutil.copytree(PINNED, FETCHED, dirs_exist_ok=True)
        subprocess.run(["npm", "ci", "--prefix", FETCHED, "--ignore-scripts", "--no-audit", "--no-fund"], check=True,
                       timeout=300)
    return [json.loads((SCHEMA / f"{name}.SNAPSHOT.schema.json").read_text())
            for name in ("bom-1.6", "spdx", "jsf-0.82")]


class BillOfMaterials(DistributionCopy):
    def bill(self):
        outcome = package("--for-inspection", self.copy, output=self.scratch)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        return json.loads((self.scratch / ARCHIVE).with_suffix(".cdx.json").read_text())

    def test_it_keeps_to_the_published_schema_of_cyclonedx_1_6(self):
        first, *others = schemas()
        with warnings.catch_warnings(record=True):  # newer versions of the library have another way, Debian's has not
            resolver = jsonschema.RefResolver.from_schema(first, store={one["$id"]: one for one in [first, *others]})
        validator = jsonschema.Draft7Validator(first, resolver=resolver)
        bill = self.bill()
        self.assertEqual([f"{error.json_path}: {error.message}" for error in validator.iter_errors(bill)], [])
        bill["components"][0]["components"][0]["hashes"][0]["content"] = "no digest"
        self.assertEqual(len(list(validator.iter_errors(bill))), 1, "the schema refuses nothing")

    def test_archive_and_every_file_of_it_are_in_it_once_with_their_digests_and_each_program_is_a_part(self):
        bill = self.bill()
        items = [item for part in bill["components"] for item in part.get("components", [part])]
        files = [path for path in self.copy.rglob("*") if path.is_file() and not path.is_symlink()]
        self.assertEqual(sorted((item["bom-ref"], item["hashes"][0]["content"]) for item in items),
                         sorted((str(path.relative_to(self.copy)), digest(path)) for path in files))
        self.assertEqual(bill["metadata"]["component"]["hashes"][0]["content"], digest(self.scratch / ARCHIVE))
        self.assertEqual({part["bom-ref"] for part in bill["components"] if part["type"] == "application"},
                         {BUNDLE, f"{CONTENTS}/Resources/Quillmark.app",
                          *(str(guard.relative_to(self.copy)) for guard in self.copy.glob("components/*/*/*Guard"))})
