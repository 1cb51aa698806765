"""What each of the ways has to do in which tools/mac-root runs a program, and which of them it takes."""

import contextlib
import os
import shutil
import signal
import subprocess

from support.mac import EXECUTABLE, MAC_ROOT
from support.mac_root import DOWNLOADS, RELEASE_COMMAND, RELOCATED_FOLDER, MacRootTest, failure_of, obstacle_of
from support.processes import child_of, processes_with
from support.waiting import DEADLINE_SECONDS, until

PLAIN_PYTHON = "/usr/bin/python3"
ANN = "uid=501(ann) gid=20(staff) groups=20(staff)\n"


class Way:
    """What every way has to do; each of the classes below is one way."""
    name = None

    def setUp(self):
        super().setUp()
        obstacle = obstacle_of(self.name)
        if obstacle:
            self.skipTest(obstacle)

    def command(self, *arguments, **options):
        return super().command("--way", self.name, *arguments, **options)

    def test_the_user_is_an_ordinary_one_who_has_just_logged_in_to_a_mac(self):
        self.assertEqual(self.inside("id; grep -E 'CapEff|NoNewPrivs' /proc/self/status"),
                         f"{ANN}CapEff:\t0000000000000000\nNoNewPrivs:\t1\n")
        environment = self.environment(SECRET="1", GNUSTEP_CONFIG_FILE="/x", LC_ALL="C", LSAN_OPTIONS="verbosity=0")
        environment.pop("DISPLAY", None)
        self.assertEqual(self.inside("env | sort; touch $XDG_CACHE_HOME/x", environment=environment).splitlines(), [
            "HOME=/Users/ann", "LANG=C.UTF-8", "LOGNAME=ann", "LSAN_OPTIONS=verbosity=0",
            "PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "PWD=/", "TEMP=/private/var/folders/xx/T/",
            "TMPDIR=/private/var/folders/xx/T/", "USER=ann", "XDG_CACHE_HOME=/private/var/folders/xx/C"])
        self.assertEqual(self.inside(f"uname -m; {RELEASE_COMMAND}; open x; cat $HOME/Library/Logs/open.log"),
                         "arm64\nSonoma\nx\n")

    def test_arguments_streams_and_status_are_passed_on_and_nothing_else(self):
        result = self.mac_root("--", "-teamID", "a b", "--", "")
        self.assertEqual(result.stdout, f"installer {DOWNLOADS}/{EXECUTABLE}\n"
                                        "argument -teamID\nargument a b\nargument --\nargument \n")
        self.assertEqual((result.stderr, result.returncode), ("", 7))
        result = self.mac_root("--program", "/bin/sh", "--", "-c", "cat; echo trouble >&2; kill -TERM $$", input="in")
        self.assertEqual((result.stdout, result.stderr.splitlines()[0], result.returncode), ("in", "trouble", 143))
        self.assertIn(self.mac_root("--program", "/Applications/None").returncode, [1, 127])
        descriptors = [os.open("/dev/null", os.O_RDONLY) for _ in range(9)]
        self.addCleanup(lambda: [os.close(descriptor) for descriptor in descriptors])
        # The last one is that of the folder itself.
        self.assertEqual(self.inside("ls /proc/self/fd", pass_fds=descriptors), "0\n1\n2\n3\n")

    def test_the_users_folders_can_be_changed_and_what_lay_in_a_kept_root_too(self):
        self.assemble()
        (self.root / "Applications/Old.app").mkdir()
        self.assertEqual(self.inside("""
            rmdir /Applications/Old.app
            for folder in /Applications "$HOME/Applications" "$TMPDIR" /tmp; do
              cp -R /etc/GNUstep "$folder/copy"; stat -c '%U' "$folder/copy"; rm -r "$folder/copy"
            done""", "--root", self.root), "ann\n" * 4)

    def test_the_host_is_not_seen(self):
        self.assertEqual(self.inside("ls -d /Applications /root /home /run 2> /dev/null || true"), "/Applications\n")

    def test_what_a_program_leaves_behind_is_ended_and_removed_whoever_runs_it(self):
        self.addCleanup(self.end_marked)
        script = f"exec > /dev/null 2>&1; {self.daemons()} mkdir -m 0 /tmp/closed"
        self.inside(script)
        self.assertEqual(processes_with(self.mark()), [])
        self.assert_left_nothing()
        nobody = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        if failure_of(*nobody, PLAIN_PYTHON, MAC_ROOT, "--help"):
            self.skipTest("nobody else can run it here, who is an ordinary user")
        command = self.command("--program", "/bin/sh", "--", "-c", script, python=PLAIN_PYTHON)
        status = subprocess.run([*nobody, *command], env=self.environment(), stderr=subprocess.DEVNULL).returncode
        self.assertEqual(status, 125 if self.name == "bubblewrap-as-root" else 0)
        self.assertEqual(processes_with(self.mark()), [])
        self.assert_left_nothing()

    def test_ending_mac_root_ends_everything(self):
        for number, status in [(signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129), (signal.SIGKILL, -9)]:
            with self.subTest(number):
                tool = self.start()
                tool.send_signal(number)
                self.assertEqual(tool.wait(DEADLINE_SECONDS), status)
                # Only when mac-root is killed outright does the cleaning up end after it, with the removal of the root.
                if number == signal.SIGKILL:
                    until(lambda: not os.listdir(self.temporary), "the end of the root")
                self.assert_left_nothing()
                self.assertEqual(processes_with(self.mark()), [])

    def start(self):
        """mac-root with a program, and with two daemons of that program, that run for long."""
        script = f"{self.daemons()} echo started; exec sleep {self.mark()}"
        tool = subprocess.Popen(self.command("--program", "/bin/sh", "--", "-c", script), text=True,
                                env=self.environment(), stdout=subprocess.PIPE)
        self.addCleanup(tool.stdout.close)
        self.addCleanup(self.end_marked)
        self.addCleanup(tool.kill)
        self.assertEqual(tool.stdout.readline(), "started\n")
        until(lambda: len(processes_with(self.mark())) == 3, "the program and its two daemons")
        return tool

    def daemons(self):
        """One that sleeps and one that makes files up to its last moment, which removing the root has to wait for. They
        have a thousand names, so that a machine on which it outlives its test has no more of them."""
        writer = "mkdir /tmp/busy; cd /tmp/busy; while :; do number=$(((number + 1) % 1000)); : > $number; done"
        return f"setsid sleep {self.mark()} & setsid sh -c '{writer}' sh {self.mark()} &"

    def mark(self):
        return f"1000.{os.getpid()}"

    def end_marked(self):
        """What should be gone is not left to the machine when a test fails."""
        for process in processes_with(self.mark()):
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)


class RestrictingWay(Way):
    def test_killing_the_keeper_that_mac_root_started_ends_everything(self):
        tool = self.start()
        os.kill(child_of(tool.pid), signal.SIGKILL)
        self.assertEqual(tool.wait(DEADLINE_SECONDS), 137)
        until(lambda: not processes_with(self.mark()), "the end of the program and its daemons")

    def test_what_is_read_only_and_what_is_full(self):
        """A full folder has no room even when it is emptied; one that is read-only may lie in it."""
        lines = self.inside(f"""
            for folder in / /System /Users /usr/local/bin {RELOCATED_FOLDER} /Applications/Old.app; do
              touch "$folder/x" 2>&1 || true
            done
            for folder in /Applications "$HOME/Quillmark_Components"; do
              cp /etc/GNUstep/GNUstep.conf "$folder" 2>&1 || true
              rm -r "$folder/GNUstep.conf" "$folder/.taken" 2> /dev/null || true
              dd if=/etc/hosts of="$folder/small" status=none 2>&1 || true
            done""", "--relocated", "--read-only", "/Applications/Old.app", "--full", "/Applications/",
            "--full", "/Users/ann/Quillmark_Components").splitlines()
        self.assertEqual([line.rpartition(": ")[2] for line in lines],
                         [*["Read-only file system"] * 6, *["No space left on device"] * 4], lines)


class BubblewrapWay(RestrictingWay, MacRootTest):
    name = "bubblewrap"


class BubblewrapAsRootWay(RestrictingWay, MacRootTest):
    name = "bubblewrap-as-root"

    def test_the_groups_of_root_are_left_behind(self):
        self.assertEqual(self.inside("id -G", prefix=["setpriv", "--groups", "0,4,27"]), "20\n")


class ProotWay(Way, MacRootTest):
    name = "proot"


class Choice(MacRootTest):
    def test_the_next_way_is_taken_where_a_machine_refuses_one_and_the_reasons_are_told(self):
        real, programs = shutil.which("bwrap"), self.folder / "programs"
        programs.mkdir()
        for name in ["proot", "setpriv"]:
            if shutil.which(name):
                (programs / name).symlink_to(shutil.which(name))
        for refused, way, told in [("*--unshare-user*", "bubblewrap-as-root", "  bubblewrap: no\n"),
                                   ("*", "proot", "  bubblewrap: no\n  bubblewrap-as-root: no\n")]:
            with self.subTest(way):
                if obstacle_of(way):
                    self.skipTest(obstacle_of(way))
                (programs / "bwrap").write_text(f'#!/bin/sh\ncase $* in {refused}) echo no >&2; exit 1; esac\n'
                                                f'exec {real} "$@"\n')
                (programs / "bwrap").chmod(0o755)
                result = self.mac_root("--program", "/usr/bin/id", environment=self.environment(PATH=str(programs)))
                self.assertEqual((result.stdout, result.stderr), (ANN, f"mac-root: falling back to {way}:\n{told}"))


class CallersFiles(MacRootTest):
    def test_the_display_and_the_files_that_sanitizers_name_are_handed_on(self):
        authority, suppressions = self.folder / "authority", self.folder / "lsan.supp"
        authority.write_text("cookie\n")
        suppressions.write_text("leak:nothing\n")
        environment = self.environment(DISPLAY=":4711", XAUTHORITY=str(authority),
                                       LSAN_OPTIONS=f"verbosity=0:suppressions={suppressions}")
        self.assertEqual(self.inside(f"echo $DISPLAY; cat $XAUTHORITY {suppressions}", environment=environment),
                         ":4711\ncookie\nleak:nothing\n")
