"""Runs the script with which the workflow asks a hosted Mac for its name, on licences as Macs have them."""

import os
import subprocess

from support import REPOSITORY
from support.copies import ScratchFolder

import releases
from mac_root.assembly import LICENCE


class LicenceHeading(ScratchFolder):
    def ask(self, version, release):
        licence = self.scratch / LICENCE.lstrip("/")
        licence.parent.mkdir(parents=True, exist_ok=True)
        licence.write_text("ENGLISH\\\n" + releases.heading(release))
        tool = self.scratch / "sw_vers"
        tool.write_text(f"#!/bin/sh\necho {version}\n")
        tool.chmod(0o755)
        self.record = self.scratch / "build/heading.txt"
        return subprocess.run([REPOSITORY / ".github/scripts/licence-heading", self.record, self.scratch],
                              env={**os.environ, "PATH": f"{self.scratch}:{os.environ['PATH']}"},
                              capture_output=True, text=True, timeout=60)

    def test_a_name_of_the_list_is_recorded_and_passes(self):
        for version, release in [("10.14.6", "10.14"), ("15.7", "Sequoia"), ("26.1", "Tahoe 26"), ("26.1", "Tahoe 2")]:
            with self.subTest(version, release=release):
                outcome = self.ask(version, release)
                self.assertEqual(outcome.returncode, 0, outcome.stderr)
                self.assertIn(releases.heading(release), self.record.read_text())

    def test_a_name_that_the_list_has_not_or_not_for_this_version_fails(self):
        for version, release, name in [("26.1", "Tahoe", "Tahoe"), ("28.0", "New", "New"), ("15.7", "Sonoma", "Sonoma"),
                                       ("27.1", "seed", "")]:
            with self.subTest(version, release=release):
                outcome = self.ask(version, release)
                self.assertEqual(outcome.returncode, 1, outcome.stdout)
                self.assertIn(f"does not have {name!r} as the name of macOS {version}", outcome.stderr)
