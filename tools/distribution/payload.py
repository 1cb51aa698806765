"""A payload, before anybody ships it: what it lacks, which Macs it serves, and what in it would fail on a Mac.

A payload is looked at in two places, which may be one: a folder with the client application and the scripts, which are
the installer's resources in a distribution, and a folder with "components".
"""

import ctypes
import difflib
import os
import plistlib
import re
import stat
import subprocess
import sys
import unicodedata
from pathlib import Path

import releases
from inspection import macho

CLIENT = "Quillmark.app"
SCRIPTS = ["client.up.tunnelblick.sh", "client.down.tunnelblick.sh"]
GUARDS = "components/WGComponents"
INSTALLER = "com.quillmark.customInstaller"
QUARANTINE = "com.apple.quarantine"

# For one processor, in both orders of bytes, and for several; the last begins a Java class as well, which then has a
# version where a Mach-O has a number of slices.
MACH_O = [b"\xce\xfa\xed\xfe", b"\xcf\xfa\xed\xfe", b"\xfe\xed\xfa\xce", b"\xfe\xed\xfa\xcf", b"\xca\xfe\xba\xbe"]
LOWEST_JAVA_VERSION = 45

# HFS+ leaves these characters as they are, and takes all others apart.
LEFT_WHOLE = "\u2000-\u2fff\uf900-\ufaff\U0002f800-\U0002faff"


def component_folders(folder):
    return sorted(path.name for path in (folder / GUARDS).glob("*") if path.is_dir())


def lacking(resources, folder):
    """The parts without which nothing is built: they are missing, or a component's folder has no component."""
    vpn_files = subprocess.run([Path(__file__).parent.parent / "vpn-files"], stdout=subprocess.PIPE, text=True,
                               check=True, timeout=60).stdout.split()
    guards = dict.fromkeys([*releases.BY_PROCESSOR.values(), *component_folders(folder)])
    needed = [*((resources, part) for part in [f"{CLIENT}/Contents/Info.plist", *SCRIPTS]),
              *((folder, f"components/{file}") for file in vpn_files),
              *((folder, f"{GUARDS}/{name}/QuillmarkGuard") for name in guards)]
    return [part for place, part in needed if not (place / part).exists()]


def service(folder):
    """For each Mac that there is, a line that says whether it finds its component, by the name that it looks for."""
    for release in releases.RELEASES:
        for processor in release.processors:
            wanted = release.folder(processor)
            served = "served" if (folder / GUARDS / wanted / "QuillmarkGuard").exists() else "NOT SERVED"
            verdict = f"{wanted:15} {served}" if wanted else "no name: an installation ends there"
            yield f"{release.version:6} {processor:7} {verdict:36} {release.known}"


def near_misses(folder):
    present = component_folders(folder)
    likely = {release.version: release.name for release in reversed(releases.RELEASES) if release.name}
    unserved = [name for name in likely.values() if name not in present]
    for found in present:
        meant = difflib.get_close_matches(found, unserved, n=1)
        if found not in releases.folders() and meant:
            yield f"{GUARDS}/{found}", f"no Mac looks there; did you mean {meant[0]!r}?"


def doubts(resources, folder):
    """What would fail on a Mac: the path in the payload, and the reason."""
    yield from near_misses(folder)
    team = expected_team(resources)
    yield from client_doubts(resources, team)
    tops = [*((resources, top) for top in [CLIENT, *SCRIPTS]), (folder, "components")]
    for place, top in [(place, top) for place, top in tops if (place / top).exists()]:
        seen = {}
        for path in [place / top, *sorted((place / top).rglob("*"))]:
            name = path.relative_to(place).as_posix()
            other = seen.setdefault(decomposed(name).casefold(), name)
            if other != name:
                yield name, f"the same name on a Mac as {other}"
            yield from ((name, reason) for reason in item_doubts(path, is_sealed=top == CLIENT, team=team))


def item_doubts(path, is_sealed, team):
    mode = path.lstat().st_mode
    if stat.S_ISDIR(mode) and mode & 0o555 != 0o555:
        yield f"not everybody may search it: its mode is {stat.S_IMODE(mode):o}"
    if stat.S_ISREG(mode) and mode & 0o444 != 0o444:
        yield f"not everybody may read it: its mode is {stat.S_IMODE(mode):o}"
    # What lies in the client is sealed by the installer's signature as well as by its own.
    if path.name != decomposed(path.name) and (
            is_sealed or any((parent / "_CodeSignature").exists() for parent in path.parents)):
        yield "its accents are part of their letters; HFS+ takes them apart, and the seal of the bundle breaks"
    if is_quarantined(path):
        yield f"it has the attribute {QUARANTINE}, and so will its copies; xattr -d -r removes it"
    if stat.S_ISREG(mode) and os.access(path, os.R_OK):
        yield from code_doubts(path, team)


def decomposed(name):
    return re.sub(f"[^{LEFT_WHOLE}]+", lambda letters: unicodedata.normalize("NFD", letters[0]), name)


def is_quarantined(path):
    if path.name.startswith("._"):  # where a Mac puts the attributes of a file that it writes to a foreign volume
        return path.is_file() and QUARANTINE.encode() in path.read_bytes()
    if sys.platform == "linux":
        return any(QUARANTINE in name for name in os.listxattr(path, follow_symlinks=False))
    # Python has no call for it there. The last argument is XATTR_NOFOLLOW of <sys/xattr.h>.
    return ctypes.CDLL(None).getxattr(os.fsencode(path), QUARANTINE.encode(), None, 0, 0, 1) >= 0


def code_doubts(path, team):
    with path.open("rb") as file:
        start = file.read(8)
    if start[:4] not in MACH_O or (
            start[:4] == MACH_O[-1] and int.from_bytes(start[4:], "big") >= LOWEST_JAVA_VERSION):
        return
    try:
        slices = macho.slices(path)
        signatures = [one.code_directories() for one in slices.values()]
    except Exception as error:  # a damaged one raises anything
        yield f"a Mach-O that is not for 64-bit Intel or Apple silicon alone, or damaged: {error}"
        return
    if "arm64" not in slices:
        yield "it has no code for Apple silicon, and macOS 27 is the last that translates Intel's"
    teams = {directory.team for directories in signatures for directory in directories}
    if not all(signatures):
        yield "it is not signed"
    elif teams != {team}:
        yield f"its signature is of {shown(teams)}, the installer's of {shown([team])}"


def shown(teams):
    return " and ".join(f"team {team}" if team else "no team" for team in sorted(teams))


def information(bundle):
    try:
        found = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())
    except Exception:  # a damaged one raises anything, and whoever needs it says so
        return {}
    return found if isinstance(found, dict) else {}


def team_of(executable):
    try:
        return macho.slices(executable)["arm64"].code_directories()[0].team
    except Exception:  # none, unsigned or damaged
        return ""


def expected_team(resources):
    """The installer's team; while the installer is unsigned or not there, that of its helper tool or of the client."""
    installer = resources.parent.parent
    blessed = str(information(installer).get("SMPrivilegedExecutables", ""))
    named = re.search(r'subject\.OU\] = "((?!0{10})[A-Z0-9]{10})"', blessed)
    client = resources / CLIENT
    return (team_of(installer / "Contents/MacOS/Quillmark Installer") or (named[1] if named else "") or
            team_of(client / "Contents/MacOS" / str(information(client).get("CFBundleExecutable"))))


def client_doubts(resources, team):
    contents = f"{CLIENT}/Contents"
    if not (resources / contents / "CodeResources").exists():
        yield f"{contents}/CodeResources", "no ticket is stapled to the client, which often starts first without network"
    policy = information(resources / CLIENT).get("NSUpdateSecurityPolicy")
    allowed = policy.get("AllowProcesses") if isinstance(policy, dict) else None
    by_team = allowed.items() if isinstance(allowed, dict) else []
    if policy is not None and not any(isinstance(names, list) and INSTALLER in names
                                      for of, names in by_team if of == team or not team):
        yield f"{contents}/Info.plist", f"NSUpdateSecurityPolicy does not let {INSTALLER} replace the client"
