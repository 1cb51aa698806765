"""Lets tools/fetch-package fetch from an npm of its own, which hands out what the test gives it."""

import base64
import hashlib
import json
import os
import subprocess
import tarfile

from inspection import product
from support.copies import ScratchFolder

NPM = """#!/bin/bash
echo "$*" >> "$HANDED_OUT.calls"
[ "$1" = pack ] && [ "$3" = --pack-destination ] && [ -f "$HANDED_OUT" ] || exit 1
cp "$HANDED_OUT" "$4/archive.tgz"
echo archive.tgz
"""


class Fetching(ScratchFolder):
    def setUp(self):
        super().setUp()
        self.package = self.scratch / "package.tgz"
        self.destination = self.scratch / "kept/headers"
        npm = self.scratch / "bin/npm"
        npm.parent.mkdir()
        npm.write_text(NPM)
        npm.chmod(0o755)
        content = self.scratch / "content"
        for name in ("LICENSE", "include/a.h", "include/b/c.h", "bin/program"):
            (content / name).parent.mkdir(parents=True, exist_ok=True)
            (content / name).write_text(name)
        with tarfile.open(self.package, "w:gz") as archive:
            archive.add(content, "package")
        self.lock(integrity="sha512-" + base64.b64encode(hashlib.sha512(self.package.read_bytes()).digest()).decode())

    def lock(self, **entry):
        lock = {"packages": {"node_modules/@some/headers": {"version": "1.2.3", **entry}}}
        (self.scratch / "package-lock.json").write_text(json.dumps(lock))

    def fetch(self, *paths, package="@some/headers"):
        environment = {**os.environ, "PATH": f"{self.scratch}/bin:{os.environ['PATH']}", "HANDED_OUT": self.package}
        return subprocess.run([product.REPOSITORY / "tools/fetch-package", self.scratch, package, self.destination,
                               *paths], env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=60)

    def calls(self):
        log = self.scratch / "package.tgz.calls"
        return log.read_text().splitlines() if log.exists() else []

    def files(self):
        return sorted(str(path.relative_to(self.destination)) for path in self.destination.rglob("*")
                      if path.is_file())

    def assert_refused(self, message, *paths, **options):
        outcome = self.fetch(*paths, **options)
        self.assertNotEqual(outcome.returncode, 0, outcome.stdout)
        self.assertIn(f"fetch-package: {message}", outcome.stdout)
        self.assertFalse(self.destination.exists())
        self.assertEqual(list(self.destination.parent.glob("*")), [], "something was left behind")

    def test_the_pinned_version_is_asked_for_and_only_what_is_named_is_kept_with_the_licence(self):
        outcome = self.fetch("include/b")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertTrue(self.calls()[0].endswith(" @some/headers@1.2.3"), self.calls())
        self.assertEqual(self.files(), ["LICENSE", "fetched", "include/b/c.h"])

    def test_what_was_fetched_before_is_not_fetched_again(self):
        self.fetch("include")
        self.assertEqual(self.fetch("include").returncode, 0)
        self.assertEqual(len(self.calls()), 1)

    def test_another_version_or_other_files_are_fetched_in_place_of_the_old_ones(self):
        self.fetch("include")
        self.fetch("bin")
        self.assertEqual(self.files(), ["LICENSE", "bin/program", "fetched"])
        lock = json.loads((self.scratch / "package-lock.json").read_text())
        self.lock(**{**lock["packages"]["node_modules/@some/headers"], "version": "1.2.4"})
        self.fetch("bin")
        self.assertEqual(len(self.calls()), 3)

    def test_another_package_than_the_pinned_one_is_refused(self):
        self.lock(integrity="sha512-" + base64.b64encode(bytes(64)).decode())
        self.assert_refused("@some/headers 1.2.3 is not the package that", "include")

    def test_a_package_that_the_lock_file_does_not_pin_is_refused(self):
        self.assert_refused(f"{self.scratch}/package-lock.json does not pin @some/tails", "include",
                            package="@some/tails")
        self.lock()
        self.assert_refused(f"{self.scratch}/package-lock.json does not pin @some/headers", "include")

    def test_a_package_that_lacks_a_file_is_refused(self):
        self.assert_refused("@some/headers 1.2.3 does not hold all of: LICENSE include lib", "include", "lib")

    def test_a_fetch_that_fails_says_so(self):
        self.package.unlink()
        self.assert_refused("npm could not fetch @some/headers 1.2.3", "include")

    def test_a_lock_file_that_is_missing_or_none_is_refused(self):
        lock = self.scratch / "package-lock.json"
        lock.write_text("{")
        self.assert_refused(f"{lock} is no lock file", "include")
        lock.unlink()
        self.assert_refused(f"there is no {lock}", "include")

    def test_too_few_arguments_are_answered_with_the_usage(self):
        outcome = self.fetch()
        self.assertEqual(outcome.returncode, 2)
        self.assertTrue(outcome.stdout.startswith("usage: fetch-package"))
