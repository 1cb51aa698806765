"""Assembles the tree of a Mac-shaped root: what a Mac has at the paths that the installer looks at.

Paths inside the root are plain strings ("/Applications"); paths of the host are pathlib.Path. Everything that does
not come from the host's /usr, /dev and /proc lies in the tree as an ordinary file, so that it can be looked at, and
prepared, from outside.
"""

import os
import plistlib
import posixpath
import shlex
import shutil
import stat
from pathlib import Path

import releases

USER_ID = 501
GROUP_ID = 20

MARKER = "/.mac-root"
APPLICATIONS = "/Applications"
CACHES = "/private/var/folders/xx/C"
TEMPORARY = "/private/var/folders/xx/T/"
TRANSLOCATED = "/private/var/folders/xx/T/AppTranslocation/6C9B1C1E-52B5-4F0A-9C39-0D7E5B1F8A24"
TOOLS = "/usr/local/bin"
LICENCE = "/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf"
FRAMEWORKS = "/System/Library/Frameworks"

INSTALLER = "Quillmark Installer.app"
EXECUTABLE = f"{INSTALLER}/Contents/MacOS/Quillmark Installer"
COMPONENTS = "components"

MAC_LINKS = ["tmp", "var", "etc"]
HOST_LINKS = ["bin", "sbin", "lib", "lib32", "lib64", "libx32"]
AWK = "/usr/bin/original-awk"


class Refusal(Exception):
    """What was asked for cannot be done; the message is for the person who asked."""


def canonical(inside):
    """The path without "..", and with /tmp, /var and /etc replaced by what they lead to on a Mac."""
    path = posixpath.normpath("/" + inside.lstrip("/"))
    return "/private" + path if path.split("/")[1] in MAC_LINKS else path


def home_folder(options):
    return f"/Users/{options.home}"


def downloads(options):
    return f"{home_folder(options)}/Downloads/Quillmark Installer"


def changeable_folders(options):
    return [APPLICATIONS, home_folder(options), "/private/tmp", "/private/var"]


def installer_folder(options):
    return f"{TRANSLOCATED}/d" if options.translocated else downloads(options)


def installer_executable(options):
    return f"{installer_folder(options)}/{EXECUTABLE}"


def host_path(root, inside):
    """Where a path inside the root lies on the host."""
    path = root / canonical(inside).lstrip("/")
    # A program that ran in a kept root may have left a link which, followed from outside, leads into the host.
    if not path.resolve().is_relative_to(root):
        raise Refusal(f"{inside} goes through a symbolic link that leads out of the root {root}")
    return path


def check(options):
    """Makes sure that what a root is assembled from is there."""
    distribution = options.distribution
    if not distribution.is_dir():
        raise Refusal(f"the distribution {distribution} is not a folder")
    if not (distribution / EXECUTABLE).is_file() or not os.access(distribution / EXECUTABLE, os.X_OK):
        raise Refusal(f"the distribution {distribution} holds no program {EXECUTABLE}")
    if options.components == "present" and not (distribution / COMPONENTS).exists():
        raise Refusal(f"the distribution {distribution} holds no {COMPONENTS}; --components missing does without")
    if not options.security.is_file():
        raise Refusal(f"the Security framework's stand-in {options.security} is missing; build first, "
                      "or name the built file with --security")
    if not os.access(AWK, os.X_OK):
        raise Refusal(f"{AWK} is missing; install the package original-awk")


def prepare_folder(options):
    """The folder that was asked for, which is new, empty or a root already."""
    if Path(options.root).is_symlink():
        raise Refusal(f"{options.root} is a symbolic link; name the folder that it leads to")
    root = Path(options.root).resolve()
    if root.is_relative_to(options.distribution.resolve()):
        raise Refusal(f"the root {root} lies inside the distribution {options.distribution}")
    if root.exists() and not root.is_dir():
        raise Refusal(f"{root} is not a folder")
    root.mkdir(parents=True, exist_ok=True)
    if any(root.iterdir()) and not host_path(root, MARKER).is_file():
        raise Refusal(f"{root} is neither empty nor a root assembled by mac-root; it is left alone")
    return root


def assemble(root, options):
    """Makes everything in the root as the options say; what else a kept root holds stays as it is."""
    root.chmod(0o755)
    write(root, MARKER, "Assembled by mac-root, which may replace what lies here.\n")
    make_folders(root)
    write_accounts(root, options)
    write_gnustep_configuration(root)
    write_licence(root, options)
    write_appkit_version(root, options)
    write_security_framework(root, options)
    write_tools(root, options)
    make_home(root, options)
    make_folder(root, options.temporary).chmod(0o700)  # as on a Mac; GNUstep uses no other
    copy_distribution(root, options)
    copy_translocated_installer(root, options)


def make_folders(root):
    for folder in [APPLICATIONS, CACHES, "/dev", "/Library", "/proc", "/usr", "/Volumes"]:
        make_folder(root, folder)
    make_folder(root, "/private/tmp").chmod(0o1777)
    for name in MAC_LINKS:
        make_folder(root, f"/private/{name}")
        link(root, f"/{name}", f"private/{name}")
    for name in HOST_LINKS:
        if Path("/", name).is_symlink():
            link(root, f"/{name}", f"usr/{name}")


def write_accounts(root, options):
    write(root, "/etc/passwd", f"{options.home}:x:{USER_ID}:{GROUP_ID}:{options.home}:{home_folder(options)}:/bin/sh\n")
    write(root, "/etc/group", f"staff:x:{GROUP_ID}:{options.home}\n")
    write(root, "/etc/nsswitch.conf", "passwd: files\ngroup: files\nhosts: files\n")
    write(root, "/etc/hosts", "127.0.0.1 localhost\n")


def write_gnustep_configuration(root):
    write(root, "/etc/GNUstep/GNUstep.conf", """\
GNUSTEP_USER_DEFAULTS_DIR=Library/Preferences
GNUSTEP_USER_DIR_APPS=Applications
GNUSTEP_USER_DIR_LIBRARY=Library
GNUSTEP_LOCAL_APPS=/Applications
GNUSTEP_LOCAL_LIBRARY=/Library
GNUSTEP_LOCAL_USERS_DIR=/Users
GNUSTEP_NETWORK_APPS=/Applications
GNUSTEP_NETWORK_LIBRARY=/Library
GNUSTEP_NETWORK_USERS_DIR=/Users
GNUSTEP_SYSTEM_APPS=/usr/lib/GNUstep/Applications
GNUSTEP_SYSTEM_LIBRARY=/usr/lib/GNUstep
GNUSTEP_SYSTEM_LIBRARIES=/usr/lib
GNUSTEP_SYSTEM_TOOLS=/usr/bin
GNUSTEP_SYSTEM_USERS_DIR=/Users
""")


def write_licence(root, options):
    make_folder(root, posixpath.dirname(LICENCE))
    if options.no_licence:
        remove(host_path(root, LICENCE))
        return
    # As there, the heading is one line of several; the sentence below it names the agreement in other letters.
    headings = "".join(map(releases.heading, options.release))
    write(root, LICENCE, f"""\
{{\\rtf1\\ansi\\ansicpg1252
{{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica-Bold;\\f1\\fswiss\\fcharset0 Helvetica;}}
\\f0\\b\\fs24 ENGLISH\\
\\
{headings}\\f1\\b0 \\
This page grants nothing and asks nothing. It stands where a Mac keeps the software license agreement for macOS, so\\
that a program which reads the release name there finds one.\\
}}
""")


def write_appkit_version(root, options):
    framework = make_framework(root, "AppKit", "C")
    information = {"CFBundleIdentifier": "com.apple.AppKit", "CFBundleVersion": options.appkit_version}
    write(root, f"{framework}/Versions/C/Resources/Info.plist", plistlib.dumps(information))


def write_security_framework(root, options):
    framework = make_framework(root, "Security", "A")
    copy(options.security, host_path(root, f"{framework}/Versions/A/Security"))
    link(root, f"{framework}/Security", "Versions/Current/Security")

    relocations = f"{framework}/Versions/A/Resources/Relocations.plist"
    if not options.translocated:
        remove(host_path(root, relocations))
        return
    relocation = {"QueryFails": options.relocation_query_fails}
    if options.relocated:
        relocation["Original"] = f"{downloads(options)}/{INSTALLER}"
    write(root, relocations, plistlib.dumps({f"{TRANSLOCATED}/d/{INSTALLER}": relocation}))


def make_framework(root, name, version):
    framework = f"{FRAMEWORKS}/{name}.framework"
    make_folder(root, f"{framework}/Versions/{version}/Resources")
    link(root, f"{framework}/Versions/Current", version)
    link(root, f"{framework}/Resources", "Versions/Current/Resources")
    return framework


def write_tools(root, options):
    write(root, f"{TOOLS}/uname", f"""\
#!/bin/sh
if [ "$*" = -m ]; then
  printf '%s\\n' {shlex.quote(options.processor)}
else
  exec /usr/bin/uname "$@"
fi
""", executable=True)
    write(root, f"{TOOLS}/open", """\
#!/bin/sh
printf '%s\\n' "$*" >> "$HOME/Library/Logs/open.log"
exit 0
""", executable=True)
    link(root, f"{TOOLS}/awk", AWK)


def make_home(root, options):
    for folder in ["Downloads", "Library/Logs", "Library/Preferences"]:
        make_folder(root, f"{home_folder(options)}/{folder}")
    applications = f"{home_folder(options)}/Applications"
    if not options.no_user_applications:
        make_folder(root, applications)
    elif host_path(root, applications).exists():
        try:
            host_path(root, applications).rmdir()
        except OSError as error:
            raise Refusal(f"--no-user-applications: {applications} cannot be removed: {error.strerror}") from error


def copy_distribution(root, options):
    remove(host_path(root, downloads(options)))
    destination = make_folder(root, downloads(options))
    for item in options.distribution.iterdir():
        if item.name != COMPONENTS or options.components == "present":
            copy(item, destination / item.name)
    if options.components == "file":
        (destination / COMPONENTS).write_text("A file where the folder should be.\n")


def copy_translocated_installer(root, options):
    remove(host_path(root, TRANSLOCATED))
    if options.translocated:
        copy(options.distribution / INSTALLER, make_folder(root, f"{TRANSLOCATED}/d") / INSTALLER)


def make_folder(root, inside):
    path = host_path(root, inside)
    path.mkdir(parents=True, exist_ok=True)
    return path


def write(root, inside, content, executable=False):
    path = host_path(root, inside)
    path.parent.mkdir(parents=True, exist_ok=True)
    # The command line's names may hold bytes that are no text; they are written as they came.
    path.write_bytes(content if isinstance(content, bytes) else content.encode("utf-8", "surrogateescape"))
    path.chmod(0o755 if executable else 0o644)


def link(root, inside, target):
    folder, name = posixpath.split(inside)
    path = host_path(root, folder) / name
    remove(path)
    path.symlink_to(target)


def copy(source, destination):
    if source.is_dir() and not source.is_symlink():
        try:
            shutil.copytree(source, destination, symlinks=True, copy_function=copy_file)
        except shutil.Error as error:
            _, _, reason = error.args[0][0]
            raise Refusal(f"{source} cannot be copied: {reason}") from error
    else:
        remove(destination)
        copy_file(source, destination)


def copy_file(source, destination, **_):
    """A file, or a link as a link. Anything else would not end or is no part of a distribution."""
    kind = os.lstat(source).st_mode
    if not stat.S_ISREG(kind) and not stat.S_ISLNK(kind):
        raise Refusal(f"{os.fspath(source)} is neither a file, a folder nor a link")
    shutil.copy2(source, destination, follow_symlinks=False)


def remove(path):
    """Removes a file, a link or a tree, even one whose folders forbid it; it need not be there."""
    if path.is_dir() and not path.is_symlink():
        path.chmod(0o700)
        for folder, subfolders, _ in os.walk(path):
            for name in subfolders:
                if not os.path.islink(os.path.join(folder, name)):
                    os.chmod(os.path.join(folder, name), 0o700)
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def give(root, options, user, group):
    """Makes the user own what the user may change. Only root can do that, and only root needs to."""
    if os.geteuid() != 0:
        return
    for changeable in changeable_folders(options):
        top = host_path(root, changeable)
        os.chown(top, user, group)
        for folder, subfolders, files in os.walk(top):
            for name in subfolders + files:
                os.chown(os.path.join(folder, name), user, group, follow_symlinks=False)
