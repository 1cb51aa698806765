"""What a program finds around it in a Mac-shaped root: mounted places and environment."""

import os
import re
from dataclasses import dataclass
from pathlib import Path

from mac_root.assembly import (AWK, CACHES, TOOLS, TRANSLOCATED, Refusal, canonical, changeable_folders, home_folder,
                               host_path, make_folder)

X_SOCKETS = Path("/tmp/.X11-unix")
X_AUTHORITY = "/private/var/run/Xauthority"
SANITIZER_VARIABLES = ["ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "ASAN_SYMBOLIZER_PATH", "LLVM_PROFILE_FILE"]


@dataclass(frozen=True)
class Mount:
    """What lies at a path inside the root. A full one is a volume of its own without a free byte,
    a small one has room for a few files."""
    inside: str
    host: Path
    kind: str  # "read-only", "changeable", "full" or "small"


def environment(options):
    variables = {
        "PATH": f"{TOOLS}:/usr/bin:/bin:/usr/sbin:/sbin",
        "HOME": home_folder(options),
        "USER": options.home,
        "LOGNAME": options.home,
        "TMPDIR": options.temporary,
        "TEMP": options.temporary,  # where GNUstep looks for it
        "XDG_CACHE_HOME": CACHES,
        "LANG": "C.UTF-8",
    }
    if display(options):
        variables["DISPLAY"] = display(options)
        if x_authority().is_file():
            variables["XAUTHORITY"] = X_AUTHORITY
    for name in SANITIZER_VARIABLES:
        if name in os.environ:
            variables[name] = os.environ[name]
    return variables


def mounts(root, options):
    """The mounts, parents before what lies in them, each with a place in the root to be mounted on."""
    found = [Mount(folder, host_path(root, folder), "changeable") for folder in changeable_folders(options)]
    found += [
        Mount("/usr", Path("/usr"), "read-only"),
        Mount(TOOLS, host_path(root, TOOLS), "read-only"),
        Mount(os.path.realpath("/usr/bin/awk"), Path(AWK), "read-only"),
        # Debian's GNUstep finds its drawing backend through one of these links.
        *existing_on_host("/etc/alternatives"),
        *existing_on_host("/etc/fonts"),
        *existing_on_host("/etc/ld.so.cache"),
        *existing_on_host("/var/cache/fontconfig"),
    ]
    if display(options):
        found += existing_on_host(str(X_SOCKETS))
        if x_authority().is_file():
            found.append(Mount(X_AUTHORITY, x_authority(), "read-only"))
    if options.libraries:
        found.append(Mount("/libraries", options.libraries, "read-only"))
    if options.translocated:
        found.append(Mount(TRANSLOCATED, host_path(root, TRANSLOCATED), "read-only"))
    found += sanitizer_mounts()
    found += [Mount(inside, host_path(root, inside), "read-only") for inside in options.read_only]
    found += [Mount(inside, host_path(root, inside), "full") for inside in options.full]
    found += [Mount(inside, host_path(root, inside), "small") for inside in options.small]
    found.sort(key=lambda mount: mount.inside)
    for mount in found:
        make_mount_point(root, mount)
    return found


def existing_on_host(path):
    return [Mount(canonical(path), Path(path), "read-only")] if Path(path).exists() else []


def sanitizer_mounts():
    """A suppressions file is to be read, and a coverage profile to be written, under its name on the host."""
    found = []
    for name in SANITIZER_VARIABLES:
        for file in re.findall(r"(?:^|[:, ])suppressions=([^:, ]+)", os.environ.get(name, "")):
            found += existing_on_host(absolute(file, name))
    if "LLVM_PROFILE_FILE" in os.environ:
        folder = os.path.dirname(absolute(os.environ["LLVM_PROFILE_FILE"], "LLVM_PROFILE_FILE"))
        if Path(folder).is_dir():
            found.append(Mount(canonical(folder), Path(folder), "changeable"))
    return found


def absolute(file, variable):
    if not os.path.isabs(file):
        raise Refusal(f"{variable} names {file}, which cannot be found inside the root; name its full path")
    return file


def make_mount_point(root, mount):
    place = host_path(root, mount.inside)
    if not place.exists():
        if mount.host.is_file():
            make_folder(root, os.path.dirname(mount.inside))
            place.touch()
        else:
            make_folder(root, mount.inside)


def display(options):
    return os.environ.get("DISPLAY") if options.display is None else options.display


def x_authority():
    return Path(os.environ.get("XAUTHORITY", Path.home() / ".Xauthority"))
