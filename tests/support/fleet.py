"""A managed Mac with real user numbers: root's processes are root's, and those of its people are theirs."""

import contextlib
import hashlib
import os
import plistlib
import shutil
import stat
import subprocess
import sys
import time
import unittest
from typing import NamedTuple

from support import REPOSITORY
from support.case import MANAGED_MARKER, SystemTest
from support.mac import DISTRIBUTION, INSTALLER, Mac
from support.waiting import ending_with_us

MAKE_FLEET_ROOT = REPOSITORY / "tools/make-fleet-root"
STATE = "/private/var/db/stand-ins"
RECEIPT = "/private/var/db/receipts/com.quillmark.fleet"

DOMAIN = "com.quillmark.customInstaller"
KIT = "/Library/Application Support/Quillmark Installer"
AGENT = "/Library/LaunchAgents/com.quillmark.fleet.plist"
CLIENT = "/Applications/Quillmark.app"
OTHER = "/Applications/Other.app"

# Adam is an administrator; all are of the group staff.
NUMBERS = {"root": 0, "adam": 501, "ann": 502, "bob": 503}
PEOPLE = ["adam", "ann", "bob"]
STAFF, ADMIN = 20, 80

# What a run of the installer, or GNUstep in it, writes of a person's own.
OWN = ["Applications", "Quillmark_Components", "Library/Logs/com.quillmark.fleet.log", "Library/Preferences/.lck",
       f"Library/Preferences/{DOMAIN}.plist", "Library/Services", "GNUstep", ".cache"]


class Run(NamedTuple):
    status: int
    output: str
    errors: str
    seconds: float

    @property
    def verdict(self):
        return self.output.splitlines()[-1].removeprefix("verdict=")

    def of(self, user):
        """What is told of one of the people."""
        block = self.output.partition(f"user={user}\n")[2].partition("user=")[0]
        return dict(line.split("=", 1) for line in reversed(block.splitlines()))


class FleetMac(Mac):
    def __init__(self, shell="dash", awk="original-awk", release="Sonoma"):
        if os.geteuid() != 0:
            raise unittest.SkipTest("only root can be several people")
        super().__init__("--release", release)
        self.shell, self.awk = shell, shutil.which(awk)
        if shutil.which(shell) is None or self.awk is None:
            raise unittest.SkipTest(f"{shell} or {awk} is not installed")
        self.furnish()
        ran = self.execute("/usr/bin/setpriv", "--reuid=501", "--clear-groups", "/usr/bin/true")
        if ran.status != 0:
            raise unittest.SkipTest(f"no namespaces here: {ran.errors.strip()}")

    def furnish(self):
        shutil.rmtree(self.downloads)
        shutil.rmtree(self.temporary)
        (self.root / "bin").unlink()
        shutil.copytree(REPOSITORY / "tests/fleet/stand-ins", self.root / "bin")
        (self.root / "bin/sh").symlink_to(shutil.which(self.shell))
        # What mac-root has made for this, under what hides it here.
        shutil.copy(self.root / "usr/local/bin/uname", self.root / "bin/uname")
        self.write("/private/etc/passwd", "root:x:0:0:root:/private/var/root:/bin/sh\n" + "".join(
            f"{name}:x:{NUMBERS[name]}:{STAFF}:{name}:/Users/{name}:/bin/sh\n" for name in PEOPLE))
        self.write("/private/etc/group", f"wheel:x:0:\nstaff:x:{STAFF}:\nadmin:x:{ADMIN}:root,adam\n")
        for name in PEOPLE:
            self.give(name, f"/Users/{name}", 0o750)
            for folder in ["Applications", "Library", "Library/Logs", "Library/Preferences"]:
                self.give(name, f"/Users/{name}/{folder}", 0o700)
            self.give(name, f"/private/var/folders/{NUMBERS[name]}/T", 0o700)
            self.secret(name, f"/Users/{name}/secret")
        for folder in ["/private/var/root", STATE, "/private/var/db/receipts", "/Library/LaunchAgents",
                       "/Library/LaunchDaemons", "/Library/PrivilegedHelperTools", "/Library/Preferences",
                       "/Library/Managed Preferences", "/Library/Application Support", "/private/etc/ssh"]:
            self.at(folder).mkdir(parents=True, exist_ok=True)
        self.secret("root", "/private/etc/master.passwd")
        self.write("/private/etc/ssh/sshd_config", "PermitRootLogin no\n")
        self.write(f"{OTHER}/Contents/Info.plist", "somebody else's\n")
        self.write(f"{OTHER}/Contents/data", "worth keeping\n")
        self.at("/Applications").chmod(0o775)
        os.chown(self.at("/Applications"), 0, ADMIN)
        self.console = self.write(f"{STATE}/console", "")
        for name in PEOPLE:
            self.log_in(name)
        self.put_at_screen("ann")

    def write(self, inside, text):
        path = self.at(inside)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path

    def give(self, name, inside, mode):
        self.at(inside).mkdir(parents=True, exist_ok=True)
        self.at(inside).chmod(mode)
        os.chown(self.at(inside), NUMBERS[name], STAFF)

    def secret(self, name, inside):
        path = self.write(inside, plistlib.dumps({key: f"SECRET-{name}" for key in [
            "CFBundleVersion", "CFBundleShortVersionString", "CFBundleIdentifier", "CFBundleExecutable", "teamID"]}))
        path.chmod(0o600)
        os.chown(path, NUMBERS[name], STAFF)

    def log_in(self, name):
        self.write(f"{STATE}/session-{NUMBERS[name]}", "")

    def log_out(self, name):
        for kind in ["session", "agent"]:
            self.at(f"{STATE}/{kind}-{NUMBERS[name]}").unlink(missing_ok=True)

    def put_at_screen(self, name):
        os.chown(self.console, NUMBERS[name], 0)

    def set_identifiers(self, place="/Library/Managed Preferences", team="T2", partner="P1"):
        self.write(f"{place}/{DOMAIN}.plist", plistlib.dumps({"teamID": team, "partnerID": partner}))

    # What runs in it

    def command(self, *program):
        places = [(self.awk, os.path.realpath("/usr/bin/awk")), ("/usr", "/usr"), ("/tmp/.X11-unix", "/private/tmp/.X11-unix"),
                  *((path, f"/private{path}") for path in ["/etc/alternatives", "/etc/fonts", "/etc/ld.so.cache",
                                                           "/var/cache/fontconfig"])]
        mounts = [word for host, inside in sorted(places, key=lambda place: place[1]) if os.path.exists(host)
                  for word in ["--ro-bind", host, inside]]
        return ["bwrap", "--unshare-pid", "--unshare-ipc", "--unshare-uts", "--die-with-parent", "--cap-add", "ALL",
                "--bind", str(self.root), "/", *mounts, "--dev", "/dev", "--bind", str(self.console), "/dev/console",
                "--proc", "/proc", "--chdir", "/", "--setenv", "PATH", "/bin:/usr/bin", "--", *program]

    def execute(self, *program, display=False):
        start = time.monotonic()
        ran = subprocess.run([*([REPOSITORY / "tools/with-display"] if display else []), *ending_with_us(*self.command(*program))],
                             stdin=subprocess.DEVNULL, capture_output=True, check=False, timeout=120)
        return Run(ran.returncode, ran.stdout.decode(errors="replace"), ran.stderr.decode(errors="replace"),
                   time.monotonic() - start)

    def run(self, script, *arguments, user="root", **options):
        """Runs one of the kit's scripts where it is installed."""
        become = [] if user == "root" else ["/bin/sudo", "-H", "-u", f"#{NUMBERS[user]}"]
        return self.execute(*become, f"{KIT}/{script}", *arguments, **options)

    def at_login(self, user):
        return self.run("at-login", user=user, display=True)

    def log_of(self, user):
        return self.at(f"/Users/{user}/Library/Logs/com.quillmark.fleet.log").read_text()

    @contextlib.contextmanager
    def meanwhile(self, user, code):
        """Runs Python code as one of the people, over and over."""
        program = f"import os, shutil\nprint(flush=True)\nwhile True:\n    try:\n        {code}\n    except OSError: pass\n"
        process = subprocess.Popen(ending_with_us(*self.command("/bin/sudo", "-H", "-u", f"#{NUMBERS[user]}",
                                                                "/usr/bin/python3", "-c", program)),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        process.stdout.readline()
        try:
            yield
        finally:
            process.kill()
            process.communicate()

    # What Apple's installer does

    def make_package(self, version):
        package = self.folder / f"package-{version}"
        distribution = self.folder / f"distribution-{version}"
        shutil.copytree(DISTRIBUTION, distribution, symlinks=True)
        resources = distribution / INSTALLER / "Contents/Resources"
        for bundle in [distribution / INSTALLER, resources / "Quillmark.app"]:
            set_version(bundle, version)
        subprocess.run([sys.executable, MAKE_FLEET_ROOT, distribution, package], check=True)
        return package

    def install_package(self, version="1.0", agents=True):
        """Replaces no newer client; leaves the receipt; runs postinstall."""
        package = self.make_package(version)
        root = package / "root"
        skipped = version_of(self.at(CLIENT)) > version.split(".")
        for item in [CLIENT, KIT, AGENT]:
            if item == CLIENT and skipped:
                continue
            place, source = self.at(item), root / item.lstrip("/")
            if place.is_dir():
                shutil.rmtree(place)
            # With owners and modes, as everything is packed.
            subprocess.run(["cp", "-R", "-P", "-p", source, place], check=True)
        inside = sorted(str(path.relative_to(root)) for path in root.rglob("*"))
        self.write(RECEIPT, "\n".join(inside) + "\n")
        self.write(f"{RECEIPT}.version", version)
        shutil.copy(package / "scripts/postinstall", self.write("/private/tmp/postinstall", ""))
        vain = self.at(f"{STATE}/agents-run-in-vain")
        if not agents:
            vain.touch()
        ran = self.execute("/private/tmp/postinstall", "package", "/", "/", "/", display=agents)
        vain.unlink(missing_ok=True)
        shutil.rmtree(package)
        shutil.rmtree(self.folder / f"distribution-{version}")
        return ran

    def put_part(self, user, version="1.0"):
        """What an installation leaves of one of the people, for tests that need none."""
        home, resources = self.at(f"/Users/{user}"), self.at(f"{KIT}/{INSTALLER}/Contents/Resources")
        shutil.copytree(resources / "Quillmark.app", home / "Applications/Quillmark.app", symlinks=True)
        set_version(home / "Applications/Quillmark.app", version)
        staging = home / "Quillmark_Components"
        shutil.copytree(self.at(f"{KIT}/components/WGComponents/Sonoma"), staging, symlinks=True)
        for script in resources.glob("*.sh"):
            shutil.copy(script, staging)
        (staging / "installationHelper.txt").write_bytes(MANAGED_MARKER)
        for place in [home / "Applications/Quillmark.app", staging]:
            self.give_tree(user, place)

    def give_tree(self, user, place):
        for path in [place, *place.rglob("*")]:
            os.chown(path, NUMBERS[user], STAFF, follow_symlinks=False)

    # What nobody may touch

    def everything_else(self):
        """All that is neither the package's nor a person's own: kind, owner, mode and content."""
        own = [CLIENT, KIT, AGENT, RECEIPT, f"{RECEIPT}.version", STATE, "/dev", "/proc", "/usr", "/private/tmp",
               "/private/var/cache", *(f"/private/var/folders/{number}" for number in NUMBERS.values()),
               *(f"/Users/{name}/{place}" for name in PEOPLE for place in OWN)]
        left_out = {path.lstrip("/") for path in own}
        found = {}
        for parent, folders, files in os.walk(self.root):
            inside = os.path.relpath(parent, self.root)
            folders[:] = [name for name in folders if os.path.normpath(f"{inside}/{name}") not in left_out
                          and not name.startswith(".quillmark.")]
            for name in folders + files:
                path = os.path.normpath(f"{inside}/{name}")
                if path not in left_out:
                    found[path] = describe(self.root / path)
        return found


def describe(path):
    status = path.lstat()
    content = None
    if stat.S_ISLNK(status.st_mode):
        content = os.readlink(path)
    elif stat.S_ISREG(status.st_mode):
        content = hashlib.sha256(path.read_bytes()).hexdigest()
    return stat.filemode(status.st_mode), status.st_uid, status.st_gid, content


def set_version(bundle, version):
    path = bundle / "Contents/Info.plist"
    values = plistlib.loads(path.read_bytes())
    path.write_bytes(plistlib.dumps({**values, "CFBundleVersion": version, "CFBundleShortVersionString": version}))


def version_of(bundle):
    try:
        return plistlib.loads((bundle / "Contents/Info.plist").read_bytes())["CFBundleVersion"].split(".")
    except OSError:
        return []


class FleetTest(SystemTest):
    def mac(self, identifiers=True, **more):
        mac = FleetMac(**more)
        self.addCleanup(mac.remove)
        if identifiers:
            mac.set_identifiers()
        return mac

    def furnished_mac(self, **more):
        """With the package, and everybody's part."""
        mac = self.mac(**more)
        self.assert_status(mac.install_package(agents=False), 0)
        for name in PEOPLE:
            mac.put_part(name)
        return mac

    def assert_status(self, run, status):
        self.assertEqual(run.status, status, run.output + run.errors)

    def assert_verdict(self, run, verdict):
        self.assertEqual(run.verdict, verdict, run.output + run.errors)
