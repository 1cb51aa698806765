"""The ways to run a program in a Mac-shaped root as an ordinary user, for machines that allow more or less."""

import contextlib
import os
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

from mac_root import newer_system_calls
from mac_root.assembly import GROUP_ID, USER_ID, Refusal, give

BECOME_USER = [f"--reuid={USER_ID}", f"--regid={GROUP_ID}", "--clear-groups"]
GIVE_UP_PRIVILEGES = ["--inh-caps=-all", "--bounding-set=-all"]
PAGE = os.sysconf("SC_PAGE_SIZE")
PAGES_OF_SMALL_VOLUME = 64
PROOT_END_SECONDS = 5


class Bubblewrap:
    """Namespaces of its own, that of users among them: the invoking user appears as the Mac's user."""
    name = "bubblewrap"
    needs = ["bwrap"]
    needs_root = False
    can_restrict = True
    privileges = ["--unshare-user", "--uid", str(USER_ID), "--gid", str(GROUP_ID), "--cap-drop", "ALL"]
    change_user = []

    def owner(self):
        return os.geteuid(), os.getegid()

    def run(self, root, mounts, environment, program, **streams):
        with contextlib.ExitStack() as fillers:
            command, inherited = self.command(root, mounts, program, fillers)
            process = subprocess.Popen(command, env=environment, pass_fds=inherited, **streams)
        return process.wait()

    def command(self, root, mounts, program, fillers):
        arguments = [shutil.which("bwrap"), *self.privileges, "--unshare-pid", "--unshare-ipc", "--unshare-uts",
                     "--die-with-parent", "--ro-bind", root, "/", "--dev", "/dev", "--proc", "/proc"]
        inherited = []
        for mount in mounts:
            if mount.kind == "full":
                # What takes up the one page lies in a folder that the user cannot empty.
                filler = fillers.enter_context(open_filler()).fileno()
                inherited.append(filler)
                arguments += ["--size", str(PAGE), "--perms", "0777", "--tmpfs", mount.inside,
                              "--perms", "0555", "--dir", f"{mount.inside}/.taken",
                              "--file", str(filler), f"{mount.inside}/.taken/space"]
            elif mount.kind == "small":
                size = str(PAGES_OF_SMALL_VOLUME * PAGE)
                arguments += ["--size", size, "--perms", "0777", "--tmpfs", mount.inside]
            else:
                arguments += ["--bind" if mount.kind == "changeable" else "--ro-bind", mount.host, mount.inside]
        return [*arguments, "--chdir", "/", "--", *self.change_user, *program], inherited


class BubblewrapAsRoot(Bubblewrap):
    """The same without a namespace of users: root makes the others and becomes the Mac's user inside."""
    name = "bubblewrap-as-root"
    needs = ["bwrap", "setpriv"]
    needs_root = True
    privileges = ["--cap-drop", "ALL", "--cap-add", "CAP_SETUID", "--cap-add", "CAP_SETGID"]
    change_user = ["/usr/bin/setpriv", *BECOME_USER, "--"]

    def owner(self):
        return USER_ID, GROUP_ID


class Proot:
    """No namespace at all: system calls are traced and their paths replaced. Nothing can be read-only or full or small."""
    name = "proot"
    needs = ["proot", "setpriv"]
    needs_root = False
    can_restrict = False

    def owner(self):
        return (USER_ID, GROUP_ID) if can_become_user() else (os.geteuid(), os.getegid())

    def run(self, root, mounts, environment, program, **streams):
        # proot lives on as long as any daemon that the program left behind, so the status comes by a pipe. Not by bash,
        # which would add to the program's environment.
        report, end = os.pipe()
        reporting = ["/usr/bin/dash", "-c", f'"$@" {end}>&-; echo $? >&{end}', "dash", *program]
        process = subprocess.Popen(self.command(root, mounts, reporting), env=environment, pass_fds=[end],
                                   preexec_fn=newer_system_calls.withhold, **streams)
        os.close(end)
        try:
            with open(report, encoding="ascii") as lines:
                status = lines.readline()
            return int(status) if status else process.wait()
        finally:
            # This lets proot end all that it traces, and then clean up in the host's /tmp, which a kill would not.
            process.send_signal(signal.SIGQUIT)
            try:
                process.wait(PROOT_END_SECONDS)
            except subprocess.TimeoutExpired:
                process.kill()

    def command(self, root, mounts, program):
        arguments = [shutil.which("proot")]
        if can_become_user():
            arguments = [shutil.which("setpriv"), *BECOME_USER, "--", *arguments]
        else:
            arguments += ["-i", f"{USER_ID}:{GROUP_ID}"]
            if os.geteuid() == 0:
                arguments = [shutil.which("setpriv"), *GIVE_UP_PRIVILEGES, "--", *arguments]
        arguments += ["-v", "-1", "-r", root, "-b", "/dev", "-b", "/proc"]
        for mount in mounts:
            arguments += ["-b", f"{mount.host}:{mount.inside}"]
        return [*arguments, "-w", "/", *program]


def open_filler():
    filler = tempfile.TemporaryFile()
    filler.write(bytes(PAGE))
    filler.seek(0)
    return filler


def can_become_user():
    """Whether this process is root and could be the Mac's user: root of a namespace may be the only user in it."""
    return os.geteuid() == 0 and is_mapped(USER_ID, "uid_map") and is_mapped(GROUP_ID, "gid_map")


def is_mapped(identifier, mapping):
    for line in Path("/proc/self", mapping).read_text(encoding="ascii").splitlines():
        first, _, count = map(int, line.split())
        if first <= identifier < first + count:
            return True
    return False


WAYS = [Bubblewrap(), BubblewrapAsRoot(), Proot()]


def choose(root, options, mounts, environment):
    """The first way, or the one asked for, by which a program really runs in the root."""
    obstacles = []
    for way in WAYS:
        if options.way in (None, way.name):
            obstacle = find_obstacle(way, root, options, mounts, environment)
            if obstacle is None:
                if obstacles:
                    print(f"mac-root: falling back to {way.name}:", *obstacles, sep="\n  ", file=sys.stderr)
                return way
            obstacles.append(f"{way.name}: {obstacle}")
    raise Refusal("\n  ".join(["nothing can be run in the root:", *obstacles]))


def find_obstacle(way, root, options, mounts, environment):
    for program in way.needs:
        if not shutil.which(program):
            return f"{program} is not installed"
    if way.needs_root and os.geteuid() != 0:
        return "only root can do that"
    if way.needs_root and not can_become_user():
        return f"there is no user {USER_ID} in this namespace, as /proc/self/uid_map shows"
    if not way.can_restrict and (options.read_only or options.full or options.small):
        return "cannot make anything read-only or full or small"
    give(root, options, *way.owner())
    with tempfile.TemporaryFile() as errors:
        status = way.run(root, mounts, environment, ["/usr/bin/true"],
                         stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=errors)
        errors.seek(0)
        return (errors.read().decode(errors="replace").strip() or f"ends with status {status}") if status else None
