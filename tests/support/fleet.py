"""A Mac that is managed: with accounts, somebody at the screen, a management tool that runs scripts, and profiles."""

import os
import plistlib
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path
from typing import NamedTuple

from support import REPOSITORY
from support.case import SystemTest
from support.mac import DISTRIBUTION, EXECUTABLE, INSTALLER, MAC_ROOT, NOTHING_RUN, Mac
from support.waiting import ending_with_us

KIT = REPOSITORY / "deploy"
WITH_DISPLAY = REPOSITORY / "tools/with-display"
STAND_INS = REPOSITORY / "tests/fleet/stand-ins"
STATE = "/private/var/db/stand-ins"

DOMAIN = "com.quillmark.customInstaller"
MANAGEMENT = "/Library/Management"
FLEET_COPY = "/Library/Application Support/Quillmark Installer"
BOTH = ["--team", "T2", "--partner", "P1"]

ADMINISTRATOR = "20 80"
STANDARD = "20"
LONGEST_RUN_SECONDS = 90
# What mac-root says where it has fewer rights than it would like; the scripts say nothing of the kind.
FALLING_BACK = re.compile(r"mac-root: falling back to .*\n(?:  .*\n)*")


class Run(NamedTuple):
    status: int
    output: str
    errors: str

    @property
    def findings(self):
        """What is printed as a key and its value."""
        return dict(line.split("=", 1) for line in self.output.splitlines())


class FleetMac(Mac):
    """Ann sits at the screen. A copy of the distribution lies where the management tool has put it."""

    def __init__(self, *options, groups=ADMINISTRATOR, home="ann", stand_ins=STAND_INS, **more):
        super().__init__("--stand-ins", stand_ins, *options, home=home, **more)
        self.accounts = []
        self.add_account("ann", 501, groups, self.home_inside, self.temporary_inside)
        self.put_at_screen("ann")
        self.copy_distribution()
        self.at("/var/run").mkdir(exist_ok=True)

    def add_account(self, name, number, groups, home, temporary):
        self.accounts.append(f"{name}:{number}:{groups}:{home}:{temporary}/\n")
        self.write(f"{STATE}/accounts", "".join(self.accounts))
        for folder in [home, temporary]:
            self.at(folder).mkdir(parents=True, exist_ok=True)

    def put_at_screen(self, name):
        self.write(f"{STATE}/console", name)

    def leave_screen(self):
        self.at(f"{STATE}/console").unlink()

    def copy_distribution(self):
        """As a fleet gets it: without the VPN files, which hold secrets and are not read by a managed run."""
        self.fleet_copy.mkdir(parents=True)
        shutil.copytree(DISTRIBUTION / INSTALLER, self.fleet_copy / INSTALLER, symlinks=True)
        shutil.copytree(DISTRIBUTION / "components/WGComponents", self.fleet_copy / "components/WGComponents",
                        symlinks=True)

    @property
    def fleet_copy(self):
        return self.at(FLEET_COPY)

    @property
    def payload(self):
        return self.fleet_copy / INSTALLER / "Contents/Resources"

    def replace_installer(self, script):
        """Puts a shell script in the place of the installer's program."""
        self.write(f"{FLEET_COPY}/{EXECUTABLE}", f"#!/bin/sh\n{script}\n").chmod(0o755)

    def write(self, inside, text):
        path = self.at(inside)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def read_state(self, name):
        path = self.at(f"{STATE}/{name}")
        return path.read_text().splitlines() if path.exists() else []

    def set_profile(self, **values):
        """Forces values by a profile. GNUstep knows of none, so its own domain has them too."""
        self.write_property_list(f"/Library/Managed Preferences/{DOMAIN}.plist", values)
        self.set_defaults(**values)

    def set_own_defaults(self, **values):
        """What "defaults write" would have written for Ann."""
        self.write_property_list(f"{self.home_inside}/Library/Preferences/{DOMAIN}.plist", values)
        self.set_defaults(**values)

    def write_property_list(self, inside, values):
        self.write(inside, "")
        self.at(inside).write_bytes(plistlib.dumps(values))

    def run(self, script, *arguments, shell=("/bin/sh",), user=None, display=False):
        """Runs a script of the kit, or a changed one, as the management tool does: as root unless a user is named."""
        place = self.bring(script)
        sudo = ["/bin/sudo", "-H", "-u", user] if user else []
        return self.execute(*sudo, *shell, place, *arguments, display=display)

    def bring(self, script):
        """Puts a script where the management tool keeps it; answers with the place."""
        if not isinstance(script, Path):
            script = KIT / script
        self.at(MANAGEMENT).mkdir(parents=True, exist_ok=True)
        shutil.copy(script, self.at(MANAGEMENT) / script.name)
        return f"{MANAGEMENT}/{script.name}"

    def execute(self, program, *arguments, display=False):
        command = [sys.executable, str(MAC_ROOT), *map(str, self.options), *self.faults, "--program", program, "--",
                   *map(os.fsdecode, arguments)]
        if display:
            if not shutil.which("Xvfb"):
                raise unittest.SkipTest("no virtual display without Xvfb (package xvfb)")
            command = [str(WITH_DISPLAY), *command]
        ran = subprocess.run(ending_with_us(*command), stdin=subprocess.DEVNULL, capture_output=True, check=False,
                             timeout=LONGEST_RUN_SECONDS)
        if NOTHING_RUN in ran.stderr:
            raise unittest.SkipTest(ran.stderr.decode().strip())
        errors = FALLING_BACK.sub("", ran.stderr.decode(errors="replace"))
        return Run(ran.returncode, ran.stdout.decode(errors="replace"), errors)

    def install(self, *arguments, **options):
        return self.run("install.sh", *arguments, display=True, **options)

    def check(self, *arguments, **options):
        return self.run("check.sh", *arguments, **options)


class FleetTest(SystemTest):
    def mac(self, *options, **more):
        mac = FleetMac(*options, **more)
        self.addCleanup(mac.remove)
        return mac

    def installed_mac(self, *options, **more):
        """A Mac on which the kit has installed."""
        mac = self.mac(*options, **more)
        self.assert_status(mac.install(*BOTH), 0)
        return mac

    def assert_status(self, run, status):
        self.assertEqual(run.status, status, run.output + run.errors)

    def assert_refused(self, run, status, reason):
        """A refusal prints its reason and nothing else."""
        self.assert_status(run, status)
        self.assertIn(reason, run.errors)
        self.assertEqual(run.output, "")
