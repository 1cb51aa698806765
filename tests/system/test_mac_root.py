#!/usr/bin/env python3
"""Runs small programs in Mac-shaped roots and looks at what they find there.

usage: test_mac_root.py [Class[.test]]
"""

import contextlib
import ctypes.util
import os
import plistlib
import pty
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parent.parent.parent
MAC_ROOT = REPOSITORY / "tools/mac-root"
SECURITY_SOURCE = REPOSITORY / "src/platform/gnustep/security_framework/security_framework.mm"
PLAIN_PYTHON = "/usr/bin/python3"
DEADLINE_SECONDS = 10

DOWNLOADS = "/Users/ann/Downloads/Quillmark Installer"
BUNDLE = "Quillmark Installer.app"
EXECUTABLE = f"{BUNDLE}/Contents/MacOS/Quillmark Installer"
LICENCE = "/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf"
RELEASE_COMMAND = (f"awk '/SOFTWARE LICENSE AGREEMENT FOR macOS/' '{LICENCE}' | awk -F 'macOS ' '{{print $NF}}' | "
                   "awk '{print substr($0, 0, length($0)-1)}'")
RELOCATED_FOLDER = "/private/var/folders/xx/T/AppTranslocation/*/d"
RELOCATED_BUNDLE = f"{RELOCATED_FOLDER}/{BUNDLE}"

INSTALLER = """\
#!/bin/sh
echo "installer $0"
for argument; do echo "argument $argument"; done
exit 7
"""

shared = None


def setUpModule():
    global shared
    shared = Path(tempfile.mkdtemp(prefix="test-mac-root-", dir=folder_in_memory()))
    shared.chmod(0o755)
    distribution = shared / "distribution"
    (distribution / EXECUTABLE).parent.mkdir(parents=True)
    (distribution / EXECUTABLE).write_text(INSTALLER)
    (distribution / EXECUTABLE).chmod(0o755)
    (distribution / "components/WGComponents/Sonoma").mkdir(parents=True)
    (distribution / "components/WGComponents/Sonoma/Schlüssel ☃").write_text("key\n")
    (distribution / "components/WGComponents/Sonoma/Schlüssel ☃").chmod(0o744)
    (distribution / "components/WGComponents/current").symlink_to("Sonoma")
    (shared / "Security").write_text("no program loads this one\n")


def tearDownModule():
    shutil.rmtree(shared)


def folder_in_memory():
    """Where roots are made and removed twice as fast as on a disk, or None."""
    folder = "/dev/shm"
    usable = os.access(folder, os.W_OK) and not os.statvfs(folder).f_flag & os.ST_NOEXEC
    return folder if usable else None


class MacRootTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(dir=shared))
        self.folder.chmod(0o755)
        self.root = self.folder / "root"
        # Where temporary roots are made, so that what is left of them can be seen.
        self.temporary = self.folder / "temporary"
        self.temporary.mkdir()
        self.temporary.chmod(0o1777)

    def command(self, *arguments, python=sys.executable):
        return [python, MAC_ROOT, "--distribution", shared / "distribution", "--security", shared / "Security",
                *arguments]

    def environment(self, **variables):
        return {**os.environ, "TMPDIR": str(self.temporary), **variables}

    def mac_root(self, *arguments, environment=None, prefix=(), **options):
        return subprocess.run([*prefix, *self.command(*arguments)], env=environment or self.environment(), text=True,
                              capture_output=True, timeout=60, **options)

    def inside(self, script, *options, **more):
        """What the script prints inside a root; it has to succeed."""
        result = self.mac_root(*options, "--program", "/bin/sh", "--", "-ec", script, **more)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def assemble(self, *options):
        command = MacRootTest.command(self, "--root", self.root, "--assemble-only", *options)
        result = subprocess.run(command, env=self.environment(), capture_output=True, text=True, check=False)
        self.assertEqual((result.stderr, result.returncode), ("", 0))
        return result.stdout

    def assert_refused(self, result, message, status=2):
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertIn(message, result.stderr)
        self.assertEqual(result.stdout, "")

    def assert_left_nothing(self):
        self.assertEqual(list(self.temporary.iterdir()), [])


def until(condition):
    """Waits until the condition holds; answers whether it did."""
    deadline = time.monotonic() + DEADLINE_SECONDS
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.01)
    return True


def processes_with(argument):
    found = []
    for command_line in Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            if argument.encode() in command_line.read_bytes().split(b"\0"):
                found.append(command_line.parent.name)
    return found


def child_of(parent):
    return int(subprocess.run(["ps", "-o", "pid=", "--ppid", str(parent)],
                              capture_output=True, text=True, check=True).stdout)


def succeeds(*command):
    return shutil.which(command[0]) and subprocess.run(command, capture_output=True, check=False).returncode == 0


class CommandLine(MacRootTest):
    def assert_wrong(self, message, *arguments):
        result = self.mac_root(*arguments)
        self.assert_refused(result, message)
        self.assertIn("usage: mac-root", result.stderr)

    def test_the_help_tells_every_option(self):
        result = self.mac_root("--help")
        self.assertEqual(result.returncode, 0)
        for option in ["--root", "--assemble-only", "--program", "--release", "--no-licence", "--processor", "--home",
                       "--relocated", "--relocated-without-original", "--relocation-query-fails", "--appkit-version",
                       "--no-user-applications", "--read-only", "--full", "--components", "--temporary", "--display",
                       "--security", "--way", "--stand-ins"]:
            self.assertIn(f"  {option} ", result.stdout.replace("\n", " \n"))

    def test_an_unknown_option_is_refused_with_the_usage(self):
        self.assert_wrong("unrecognized arguments: --frobnicate", "--frobnicate")

    def test_a_shortened_option_is_refused(self):
        self.assert_wrong("unrecognized arguments: --relocate", "--relocate")

    def test_an_argument_without_the_separator_is_refused(self):
        self.assert_wrong("unrecognized arguments: stray", "stray")

    def test_assembling_only_needs_a_root(self):
        self.assert_wrong("--assemble-only needs --root", "--assemble-only")

    def test_assembling_only_refuses_what_is_for_a_program_that_runs(self):
        for arguments in [["--program", "/bin/sh"], ["--display", ":1"], ["--way", "proot"], ["--", "x"],
                          ["--read-only", "/Applications"], ["--full", "/Applications"]]:
            with self.subTest(arguments):
                self.assert_wrong("--assemble-only runs none", "--root", self.root, "--assemble-only", *arguments)

    def test_a_program_is_a_path_inside_the_root(self):
        self.assert_wrong("--program sh: a path inside the root starts with /", "--program", "sh")

    def test_a_release_makes_no_sense_without_a_licence(self):
        self.assert_wrong("--no-licence leaves out", "--release", "Ventura", "--no-licence")

    def test_a_release_is_one_line(self):
        self.assert_wrong("a heading is one line", "--release", "Ven\ntura")

    def test_a_failing_query_needs_a_relocation(self):
        self.assert_wrong("--relocation-query-fails needs --relocated", "--relocation-query-fails")

    def test_the_two_relocations_exclude_each_other(self):
        self.assert_wrong("not allowed with argument", "--relocated", "--relocated-without-original")

    def test_an_appkit_version_is_made_of_numbers(self):
        for version in ["", "new", "1404.", "1404,0"]:
            with self.subTest(version):
                self.assert_wrong("not a version number", "--appkit-version", version)

    def test_a_home_is_one_folder(self):
        for name in ["", "..", "a/b", "a:b"]:
            with self.subTest(name):
                self.assert_wrong("not the name of a user and a folder", "--home", name)

    def test_faults_and_the_temporary_folder_lie_where_the_user_can_write(self):
        for path in ["/System", "/", "/Applications/../Library", "/Users/bob", "/ApplicationsToo"]:
            with self.subTest(path):
                self.assert_wrong(f"--full {path}: lies in none of /Applications, /Users/ann", "--full", path)
        for option in ["--read-only", "--full", "--temporary"]:
            with self.subTest(option):
                self.assert_wrong(f"{option} /usr: lies in none of", option, "/usr")
                self.assert_wrong(f"{option} tmp: a path inside the root starts with /", option, "tmp")

    def test_a_folder_is_either_read_only_or_full(self):
        self.assert_wrong("cannot be both", "--read-only", "/tmp/x", "--full", "/private/tmp/x/")

    def test_proot_refuses_faults(self):
        for option in ["--read-only", "--full"]:
            with self.subTest(option):
                self.assert_wrong("--way proot cannot", "--way", "proot", option, "/Applications")

    def test_components_are_present_missing_or_a_file(self):
        self.assert_wrong("invalid choice: 'many'", "--components", "many")

    def test_a_missing_distribution_is_refused(self):
        result = self.mac_root("--distribution", self.folder / "none")
        self.assert_refused(result, "none is not a folder", status=125)

    def test_a_distribution_without_the_installer_is_refused(self):
        result = self.mac_root("--distribution", self.folder)
        self.assert_refused(result, "holds no program Quillmark Installer.app/Contents", status=125)

    def test_a_distribution_without_components_is_refused_unless_they_are_to_be_missing(self):
        distribution = self.folder / "distribution"
        shutil.copytree(shared / "distribution" / BUNDLE, distribution / BUNDLE)
        result = self.mac_root("--distribution", distribution)
        self.assert_refused(result, "holds no components", status=125)
        self.inside("true", "--distribution", distribution, "--components", "missing")

    def test_stand_ins_that_are_not_there_are_refused(self):
        self.assert_refused(self.mac_root("--stand-ins", "/none"), "the stand-ins /none are not a folder", status=125)

    def test_a_security_framework_that_was_not_built_is_refused(self):
        result = self.mac_root("--root", self.root, "--security", self.folder / "none")
        self.assert_refused(result, "none is missing; build first", status=125)
        self.assertFalse(self.root.exists())


class KeptRoot(MacRootTest):
    def test_it_is_left_with_what_the_program_did(self):
        self.inside("echo done > /Applications/made; echo more >> $HOME/made", "--root", self.root)
        self.assertEqual((self.root / "Applications/made").read_text(), "done\n")
        self.assertEqual((self.root / "Users/ann/made").read_text(), "more\n")

    def test_assembling_tells_where_things_are_and_runs_nothing(self):
        self.assertEqual(self.assemble().splitlines(), [
            f"root: {self.root}",
            f"installer: {DOWNLOADS}/{EXECUTABLE}",
            "home folder: /Users/ann",
            "temporary folder: /private/var/folders/xx/T/",
            "opened by 'open': /Users/ann/Library/Logs/open.log",
        ])
        self.assertTrue((self.root / DOWNLOADS.lstrip("/") / EXECUTABLE).exists())

    def test_it_is_used_again_with_what_it_holds_and_with_the_options_of_the_new_call(self):
        self.assemble("--release", "Ventura", "--relocated", "--components", "missing")
        (self.root / "Applications/Old.app").mkdir()
        (self.root / "Users/ann/Library/Preferences/kept.plist").touch()
        found = self.inside(f"""
            ls /Applications $HOME/Library/Preferences
            {RELEASE_COMMAND}
            ls "{DOWNLOADS}" /private/var/folders/xx/T/AppTranslocation
            ls /System/Library/Frameworks/Security.framework/Resources
            """, "--root", self.root)
        self.assertEqual(found.split("\n"), [
            "/Applications:", "Old.app", "", "/Users/ann/Library/Preferences:", "kept.plist", "Sonoma",
            f"{DOWNLOADS}:", BUNDLE, "components", "", "/private/var/folders/xx/T/AppTranslocation:", ""])

    def test_it_takes_a_new_home_beside_the_old_one(self):
        self.assemble()
        (self.root / "Users/ann/diary").touch()
        self.inside("touch $HOME/here", "--root", self.root, "--home", "bob")
        self.assertTrue((self.root / "Users/ann/diary").exists())
        self.assertTrue((self.root / "Users/bob/here").exists())

    def test_a_users_applications_folder_that_holds_something_is_not_thrown_away(self):
        self.assemble()
        (self.root / "Users/ann/Applications/Old.app").mkdir()
        result = self.mac_root("--root", self.root, "--no-user-applications")
        self.assert_refused(result, "/Users/ann/Applications cannot be removed: Directory not empty", status=125)
        self.assertTrue((self.root / "Users/ann/Applications/Old.app").exists())

    def test_a_folder_with_something_else_in_it_is_left_alone(self):
        self.root.mkdir()
        (self.root / "thesis").touch()
        self.assert_refused(self.mac_root("--root", self.root), "it is left alone", status=125)
        self.assertEqual(os.listdir(self.root), ["thesis"])

    def test_an_empty_folder_becomes_a_root(self):
        self.root.mkdir()
        self.inside("test -d /System", "--root", self.root)

    def test_a_file_is_refused(self):
        self.root.touch()
        self.assert_refused(self.mac_root("--root", self.root), "is not a folder", status=125)

    def test_the_inside_of_the_distribution_is_refused(self):
        result = self.mac_root("--root", shared / "distribution/root")
        self.assert_refused(result, "lies inside the distribution", status=125)
        self.assertFalse((shared / "distribution/root").exists())

    def test_a_link_that_a_program_left_does_not_lead_out_of_the_root(self):
        victim = self.folder / "victim"
        victim.mkdir()
        self.inside(f"rm -r $HOME/Downloads; ln -s {victim} $HOME/Downloads", "--root", self.root)
        self.assert_refused(self.mac_root("--root", self.root), "leads out of the root", status=125)
        self.assertEqual(list(victim.iterdir()), [])


class MacShape(MacRootTest):
    def test_the_release_is_the_one_in_the_licence_text(self):
        self.assertEqual(self.inside(RELEASE_COMMAND), "Sonoma\n")
        self.assertEqual(self.inside(RELEASE_COMMAND, "--release", "Big Sur"), "Big Sur\n")

    def test_several_releases_are_several_headings(self):
        self.assertEqual(self.inside(RELEASE_COMMAND, "--release", "Monterey", "--release", "Ventura"),
                         "Monterey\nVentura\n")

    def test_a_release_may_hold_bytes_that_are_no_text(self):
        self.assertEqual(self.inside(RELEASE_COMMAND + " | od -An -tx1", "--release", b"S\xff"), " 53 ff 0a\n")

    def test_every_line_of_the_licence_text_ends_with_one_backslash(self):
        text = self.inside(f"cat '{LICENCE}'").splitlines()
        self.assertIn("SOFTWARE LICENSE AGREEMENT FOR macOS Sonoma\\", text)
        self.assertTrue(text[0].startswith("{\\rtf1"))
        for line in text[2:-1]:
            self.assertRegex(line, r"[^\\]\\$|^\\$")

    def test_the_licence_text_can_be_missing(self):
        self.assertEqual(self.inside(f"ls '{os.path.dirname(LICENCE)}'", "--no-licence"), "")

    def test_the_processor_is_told_and_everything_else_about_the_system_is_real(self):
        self.assertEqual(self.inside("uname -m; uname -s; uname -sr"),
                         f"arm64\n{os.uname().sysname}\n{os.uname().sysname} {os.uname().release}\n")
        self.assertEqual(self.inside("uname -m", "--processor", "x86_64"), "x86_64\n")
        self.assertEqual(self.inside("uname -m", "--processor", "a 'strange' one"), "a 'strange' one\n")

    def test_awk_is_the_one_true_awk_wherever_it_is_looked_for(self):
        version = subprocess.run(["original-awk", "-version"], capture_output=True, text=True, check=True).stdout
        self.assertEqual(self.inside("command -v awk; awk -version; /usr/bin/awk -version"),
                         f"/usr/local/bin/awk\n{version}{version}")

    def test_stand_ins_are_found_in_bin_with_a_shell_and_the_tools_of_the_root(self):
        stand_ins = self.folder / "stand-ins"
        stand_ins.mkdir()
        (stand_ins / "id").write_text("#!/bin/sh\necho 0\n")
        (stand_ins / "id").chmod(0o755)
        self.assertEqual(self.inside("id -u; PATH=/bin; id -u; uname -m; type awk", "--stand-ins", stand_ins),
                         "501\n0\narm64\nawk is /bin/awk\n")

    def test_with_stand_ins_the_folders_of_all_users_can_be_changed(self):
        stand_ins = self.folder / "stand-ins"
        stand_ins.mkdir()
        self.inside("mkdir /Library/x /Users/ben && ! mkdir /System/x 2> /dev/null", "--stand-ins", stand_ins)

    def test_a_kept_root_has_its_own_programs_again_without_stand_ins(self):
        stand_ins = self.folder / "stand-ins"
        stand_ins.mkdir()
        self.assemble("--stand-ins", stand_ins)
        self.assemble()
        self.assertEqual(self.inside("readlink /bin", "--root", self.root), "usr/bin\n")

    def test_open_notes_its_arguments_one_call_a_line(self):
        self.assertEqual(self.inside("open -a 'Some App'; open https://example.com; cat $HOME/Library/Logs/open.log"),
                         "-a Some App\nhttps://example.com\n")

    def test_the_appkit_version_lies_in_its_framework(self):
        framework = "/System/Library/Frameworks/AppKit.framework"
        script = f"readlink {framework}/Resources {framework}/Versions/Current; cat {framework}/Resources/Info.plist"
        for options, version in [([], "2487.0"), (["--appkit-version", "1404.47"], "1404.47")]:
            resources, current, information = self.inside(script, *options).split("\n", 2)
            self.assertEqual((resources, current), ("Versions/Current/Resources", "C"))
            self.assertEqual(plistlib.loads(information.encode())["CFBundleVersion"], version)

    def test_the_security_framework_has_the_layout_of_a_framework(self):
        framework = "/System/Library/Frameworks/Security.framework"
        self.assertEqual(self.inside(f"realpath {framework}/Security {framework}/Resources; cat {framework}/Security"),
                         f"{framework}/Versions/A/Security\n{framework}/Versions/A/Resources\n"
                         "no program loads this one\n")

    def test_tmp_var_and_etc_lead_into_private(self):
        self.assertEqual(self.inside("readlink /tmp /var /etc; touch /tmp/x; ls /private/tmp"),
                         "private/tmp\nprivate/var\nprivate/etc\nx\n")

    def test_gnustep_is_told_the_folders_of_a_mac(self):
        configuration = self.inside("cat /etc/GNUstep/GNUstep.conf").splitlines()
        for line in ["GNUSTEP_USER_DIR_APPS=Applications", "GNUSTEP_LOCAL_APPS=/Applications",
                     "GNUSTEP_USER_DEFAULTS_DIR=Library/Preferences"]:
            self.assertIn(line, configuration)

    def test_the_home_has_the_folders_of_a_new_user(self):
        self.assertEqual(self.inside("cd $HOME; find . -type d -not -path './Downloads/*' | sort"),
                         ".\n./Applications\n./Downloads\n./Library\n./Library/Logs\n./Library/Preferences\n")

    def test_the_user_can_lack_an_applications_folder(self):
        self.assertEqual(self.inside("ls $HOME", "--no-user-applications"), "Downloads\nLibrary\n")
        self.assemble()
        self.assertEqual(self.inside("ls $HOME", "--no-user-applications", "--root", self.root), "Downloads\nLibrary\n")

    def test_a_home_may_hold_blanks(self):
        self.assertEqual(self.inside("cd ~; pwd; echo $HOME; id -un; getent passwd 501; ls Downloads",
                                     "--home", "Ann Björk"),
                         "/Users/Ann Björk\n/Users/Ann Björk\nAnn Björk\n"
                         "Ann Björk:x:501:20:Ann Björk:/Users/Ann Björk:/bin/sh\nQuillmark Installer\n")

    def test_the_temporary_folder_is_there_and_can_be_written_to(self):
        script = 'echo "$TMPDIR"; cd "$TMPDIR"; touch x; pwd -P'
        self.assertEqual(self.inside(script), "/private/var/folders/xx/T/\n/private/var/folders/xx/T\n")
        for path, real in [("/tmp/a b/c", "/private/tmp/a b/c"), ("/Users/ann/my tmp/", "/Users/ann/my tmp")]:
            self.assertEqual(self.inside(script, "--temporary", path), f"{path}\n{real}\n")

    def test_the_distribution_lies_in_downloads_as_it_is(self):
        self.assertEqual(self.inside(f"""
            cd "{DOWNLOADS}"
            ls
            cd components/WGComponents
            readlink current
            stat -c '%a %n' Sonoma/*
            cat current/*"""), f"{BUNDLE}\ncomponents\nSonoma\n744 Sonoma/Schlüssel ☃\nkey\n")

    def test_the_components_can_be_missing_or_a_file(self):
        self.assertEqual(self.inside(f'ls "{DOWNLOADS}"', "--components", "missing"), f"{BUNDLE}\n")
        self.assertEqual(self.inside(f'cd "{DOWNLOADS}"; stat -c %F components', "--components", "file"),
                         "regular file\n")

    def test_the_environment_is_that_of_a_fresh_login(self):
        environment = self.environment(SECRET="1", GNUSTEP_CONFIG_FILE="/x", LC_ALL="C", LSAN_OPTIONS="verbosity=0")
        environment.pop("DISPLAY", None)
        found = self.inside("env | sort", environment=environment).splitlines()
        self.assertEqual(found, [
            "HOME=/Users/ann", "LANG=C.UTF-8", "LOGNAME=ann", "LSAN_OPTIONS=verbosity=0",
            "PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "PWD=/", "TEMP=/private/var/folders/xx/T/",
            "TMPDIR=/private/var/folders/xx/T/", "USER=ann", "XDG_CACHE_HOME=/private/var/folders/xx/C"])
        self.inside("touch $XDG_CACHE_HOME/x")

    def test_files_that_the_sanitizers_and_the_coverage_name_can_be_reached(self):
        # Not in memory: what lies in /dev can be reached in the root by its owner only.
        folder = Path(tempfile.mkdtemp(dir="/var/tmp"))
        self.addCleanup(shutil.rmtree, folder)
        folder.chmod(0o755)
        suppressions = folder / "lsan.supp"
        suppressions.write_text("leak:nothing\n")
        profiles = folder / "profiles"
        profiles.mkdir()
        profiles.chmod(0o777)
        environment = self.environment(LSAN_OPTIONS=f"verbosity=0:suppressions={suppressions}",
                                       LLVM_PROFILE_FILE=f"{profiles}/%p.profraw")
        self.assertEqual(self.inside(f'cat {suppressions}; touch "${{LLVM_PROFILE_FILE}}"', environment=environment),
                         "leak:nothing\n")
        self.assertEqual(os.listdir(profiles), ["%p.profraw"])

    def test_a_suppressions_file_without_a_full_path_is_refused(self):
        result = self.mac_root(environment=self.environment(LSAN_OPTIONS="suppressions=lsan.supp"))
        self.assert_refused(result, "LSAN_OPTIONS names lsan.supp", status=125)


class Relocated(MacRootTest):
    def test_the_installer_runs_from_the_relocated_copy(self):
        result = self.mac_root("--relocated")
        self.assertRegex(result.stdout, f"^installer {RELOCATED_BUNDLE.replace('*', '[0-9A-F-]{36}')}/Contents/MacOS/")
        self.assertEqual(result.returncode, 7, result.stderr)

    def test_the_copy_is_alone_and_the_original_stays_with_its_components(self):
        for option in ["--relocated", "--relocated-without-original"]:
            with self.subTest(option):
                self.assertEqual(self.inside(f'cd {RELOCATED_FOLDER}; ls; ls "{DOWNLOADS}"', option),
                                 f"{BUNDLE}\n{BUNDLE}\ncomponents\n")

    def test_the_components_can_be_missing_beside_the_original(self):
        self.assertEqual(self.inside(f'ls "{DOWNLOADS}"', "--relocated", "--components", "missing"), f"{BUNDLE}\n")

    def test_nothing_is_relocated_otherwise(self):
        self.assertEqual(self.inside("ls /private/var/folders/xx/T"), "")

    def test_assembling_tells_the_relocated_path(self):
        self.assertRegex(self.assemble("--relocated"), "(?m)^installer: /private/var/folders/xx/T/AppTranslocation/")


class Display(MacRootTest):
    def test_without_a_display_there_is_none_inside(self):
        environment = self.environment()
        environment.pop("DISPLAY", None)
        self.assertEqual(self.inside('echo "${DISPLAY-none}"; ls -A /tmp', environment=environment), "none\n")

    def test_the_display_is_the_callers_unless_another_one_is_named(self):
        environment = self.environment(DISPLAY=":4711")
        self.assertEqual(self.inside("echo $DISPLAY", environment=environment), ":4711\n")
        self.assertEqual(self.inside("echo $DISPLAY", "--display", ":42", environment=environment), ":42\n")

    def test_an_x_server_can_be_reached_by_its_socket_file(self):
        for program in ["Xvfb", "xdpyinfo"]:
            if not shutil.which(program):
                self.skipTest(f"{program} is not installed")
        reading, writing = os.pipe()
        # Without its second socket, which has no file and can be reached from anywhere on the machine. That one also
        # tells servers that look for a number which are taken, so this server has a number of its own. It does not
        # reset when a client leaves, which would cost the next one its connection.
        server = subprocess.Popen(["Xvfb", f":{1000 + os.getpid() % 50000}", "-displayfd", str(writing), "-nolisten",
                                   "local", "-noreset"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        os.close(writing)
        with open(reading, encoding="ascii") as number:
            display = ":" + number.readline().strip()
        for way in EVERY_WAY:
            with self.subTest(way.name):
                if way.obstacle():
                    self.skipTest(way.obstacle())
                self.assertIn(f"name of display:    {display}",
                              self.inside("xdpyinfo", "--display", display, "--way", way.name))

    def test_the_callers_x_authority_can_be_read(self):
        authority = self.folder / "authority"
        authority.write_text("cookie\n")
        environment = self.environment(XAUTHORITY=str(authority))
        self.assertEqual(self.inside("cat $XAUTHORITY", "--display", ":42", environment=environment), "cookie\n")


class Way:
    """What every way has to do; each of the classes below is one way."""
    name = None

    def setUp(self):
        super().setUp()
        if self.obstacle():
            self.skipTest(self.obstacle())

    def command(self, *arguments, **options):
        return super().command("--way", self.name, *arguments, **options)

    def test_the_user_is_an_ordinary_one(self):
        self.assertEqual(self.inside("id; grep -E 'CapEff|NoNewPrivs' /proc/self/status"),
                         "uid=501(ann) gid=20(staff) groups=20(staff)\nCapEff:\t0000000000000000\nNoNewPrivs:\t1\n")

    def test_the_installer_gets_its_arguments_and_its_status_is_passed_on(self):
        result = self.mac_root("--", "-teamID", "a b", "--", "")
        self.assertEqual(result.stdout, f"installer {DOWNLOADS}/{EXECUTABLE}\n"
                                        "argument -teamID\nargument a b\nargument --\nargument \n")
        self.assertEqual(result.stderr, "")
        self.assertEqual(result.returncode, 7)

    def test_the_streams_are_passed_through(self):
        result = self.mac_root("--program", "/bin/sh", "--", "-c", "cat; echo trouble >&2", input="in and out")
        self.assertEqual((result.stdout, result.stderr), ("in and out", "trouble\n"))

    def test_a_program_that_a_signal_ends_has_the_status_of_a_shell(self):
        self.assertEqual(self.mac_root("--program", "/bin/sh", "--", "-c", "kill -TERM $$").returncode, 143)

    def test_a_program_that_is_not_there_is_reported(self):
        result = self.mac_root("--program", "/Applications/None")
        self.assertIn("/Applications/None: No such file or directory", result.stderr)
        self.assertIn(result.returncode, [1, 127])

    def test_the_users_folders_can_be_changed(self):
        self.assertEqual(self.inside("""
            for folder in /Applications "$HOME" "$HOME/Applications" "$TMPDIR" /tmp; do
              cp -R /etc/GNUstep "$folder/copy"
              mv "$folder/copy" "$folder/moved"
              stat -c '%U %n' "$folder/moved"
              rm -r "$folder/moved"
            done
            """), "ann /Applications/moved\nann /Users/ann/moved\nann /Users/ann/Applications/moved\n"
                  "ann /private/var/folders/xx/T//moved\nann /tmp/moved\n")

    def test_what_lay_in_a_kept_root_can_be_changed(self):
        self.assemble()
        (self.root / "Applications/Old.app").mkdir()
        (self.root / "Applications/Old.app/file").touch()
        self.inside("rm -r /Applications/Old.app", "--root", self.root)
        self.assertEqual(os.listdir(self.root / "Applications"), [])

    def test_the_host_is_not_seen(self):
        listed = self.inside("ls /; ls -a /Users /private/etc/passwd; ls -d /root /home /run || true").split()
        self.assertIn("Applications", listed)
        for name in ["root", "/root", "/home", "/run"]:
            self.assertNotIn(name, listed)

    def test_the_system_commands_answer_like_those_of_the_mac(self):
        self.assertEqual(self.inside(f"uname -m; {RELEASE_COMMAND}; open x; cat $HOME/Library/Logs/open.log"),
                         "arm64\nSonoma\nx\n")

    def test_a_daemon_that_is_left_behind_is_ended_and_the_root_is_removed(self):
        self.addCleanup(self.end_marked)
        self.inside(f"exec > /dev/null 2>&1; {self.daemons()} mkdir -m 0 /tmp/closed")
        self.assertEqual(processes_with(self.mark()), [])
        self.assert_left_nothing()

    def test_it_works_for_an_ordinary_user(self):
        result = self.run_by_an_ordinary_user()
        self.assertEqual((result.stdout, result.stderr, result.returncode), ("501\n", "", 0))
        self.assert_left_nothing()

    def run_by_an_ordinary_user(self):
        nobody = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        if os.geteuid() != 0:
            self.skipTest("this run is an ordinary user's anyway")
        if not succeeds(*nobody, PLAIN_PYTHON, MAC_ROOT, "--help"):
            self.skipTest(f"another user cannot run {MAC_ROOT} with {PLAIN_PYTHON}")
        script = "id -u; touch $HOME/x /Applications/x; mkdir -m 0 /tmp/closed"
        command = self.command("--program", "/bin/sh", "--", "-ec", script, python=PLAIN_PYTHON)
        return subprocess.run([*nobody, *command], env=self.environment(), capture_output=True, text=True, check=False)

    def test_the_callers_file_mode_mask_does_not_matter(self):
        self.inside(f'cat "{LICENCE}" "{DOWNLOADS}/components/WGComponents/current/"* > /dev/null; touch $HOME/x',
                    prefix=["sh", "-c", 'umask 077; exec "$@"', "sh"])

    def test_ending_mac_root_ends_everything(self):
        for number, status in [(signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 129), (signal.SIGKILL, -9)]:
            with self.subTest(number):
                tool = self.start()
                tool.send_signal(number)
                self.assertEqual(tool.wait(DEADLINE_SECONDS), status)
                # Only when mac-root is killed outright does the cleaning up end after it.
                self.assertTrue(until(lambda: not os.listdir(self.temporary)) if number == signal.SIGKILL
                                else not os.listdir(self.temporary))
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
        self.assertTrue(until(lambda: len(processes_with(self.mark())) == 3))
        return tool

    def daemons(self):
        """One that sleeps and one that makes files up to its last moment, which removing the root has to wait for."""
        writer = "mkdir /tmp/busy; cd /tmp/busy; while :; do number=$((number + 1)); : > $number; done"
        return f"setsid sleep {self.mark()} & setsid sh -c '{writer}' sh {self.mark()} &"

    def mark(self):
        return f"1000.{os.getpid()}"

    def end_marked(self):
        """What should be gone is not left to the machine when a test fails."""
        for process in processes_with(self.mark()):
            with contextlib.suppress(ProcessLookupError):
                os.kill(int(process), signal.SIGKILL)


class RestrictingWay(Way):
    def test_killing_the_keeper_that_mac_root_started_ends_everything(self):
        tool = self.start()
        os.kill(child_of(tool.pid), signal.SIGKILL)
        self.assertEqual(tool.wait(DEADLINE_SECONDS), 137)
        self.assertTrue(until(lambda: not processes_with(self.mark())))

    def test_the_system_is_read_only(self):
        self.assertEqual(self.inside("""
            for folder in / /System /Library /Users /etc /usr /usr/local/bin; do
              touch "$folder/x" 2>/dev/null && echo "$folder can be written to"
            done
            true"""), "")

    def test_the_relocated_copy_is_read_only(self):
        self.assertIn("Read-only file system",
                      self.inside(f"cd {RELOCATED_FOLDER}; touch x 2>&1 || true", "--relocated"))

    def test_a_read_only_folder_refuses_writing_and_removing(self):
        self.assemble()
        (self.root / "Applications/Old.app").mkdir()
        (self.root / "Applications/Old.app/file").touch()
        found = self.inside("""
            touch /Applications/New.app
            ! rm -r /Applications/Old.app 2>&1
            ! mkdir "$HOME/Quillmark_Components/x" 2>&1
            ! rmdir "$HOME/Quillmark_Components" 2>&1
            """, "--root", self.root, "--read-only", "/Applications/Old.app",
            "--read-only", "/Users/ann/Quillmark_Components")
        self.assertEqual([line.rpartition(": ")[2] for line in found.splitlines()],
                         ["Read-only file system"] * 2 + ["Device or resource busy"])
        self.assertEqual(sorted(os.listdir(self.root / "Applications")), ["New.app", "Old.app"])
        self.assertEqual(os.listdir(self.root / "Applications/Old.app"), ["file"])

    def test_a_link_cannot_be_made_read_only_instead_of_what_it_leads_to(self):
        self.assemble()
        (self.root / "Users/ann/link").symlink_to("/usr")
        result = self.mac_root("--root", self.root, "--read-only", "/Users/ann/link")
        self.assert_refused(result, "leads out of the root", status=125)

    def test_a_full_folder_has_no_room_even_when_it_is_emptied(self):
        found = self.inside("""
            for folder in /Applications "$HOME/Quillmark_Components"; do
              ls "$folder"
              mkdir "$folder/App.app"
              cp /etc/GNUstep/GNUstep.conf "$folder/App.app" 2>&1 || true
              rm -r "$folder/App.app"
              rm -r "$folder/.taken" 2>/dev/null || true
              dd if=/etc/hosts of="$folder/small" status=none 2>&1 || true
            done""", "--full", "/Applications/", "--full", "/Users/ann/Quillmark_Components")
        lines = found.splitlines()
        self.assertEqual(len(lines), 4, found)
        for line in lines:
            self.assertIn("No space left on device", line)

    def test_a_full_temporary_folder_hides_what_lay_there(self):
        self.assemble()
        (self.root / "private/var/folders/xx/T/old").touch()
        self.assertEqual(self.inside("ls $TMPDIR", "--root", self.root, "--full", "/var/folders/xx/T"), "")

    def test_a_read_only_folder_may_lie_in_a_full_one(self):
        self.assertIn("Read-only", self.inside("touch /Applications/Old.app/x 2>&1 || true",
                                               "--full", "/Applications", "--read-only", "/Applications/Old.app"))


class BubblewrapWay(RestrictingWay, MacRootTest):
    name = "bubblewrap"

    @staticmethod
    def obstacle():
        if not succeeds("bwrap", "--unshare-user", "--unshare-pid", "--ro-bind", "/", "/", "--proc", "/proc", "true"):
            return "bubblewrap cannot use namespaces of users here"
        return None

    def test_it_is_the_way_that_is_taken_without_a_word(self):
        result = subprocess.run([*MacRootTest.command(self), "--program", "/bin/sh", "--", "-c",
                                 "cat /proc/self/uid_map"],
                                env=self.environment(), capture_output=True, text=True, check=True)
        self.assertEqual(result.stdout.split(), ["501", str(os.geteuid()), "1"])
        self.assertEqual(result.stderr, "")

    def test_ctrl_c_at_a_terminal_ends_everything(self):
        process, terminal = pty.fork()
        if process == 0:
            os.execve(sys.executable, self.command("--program", "/bin/sh", "--", "-c",
                                                   f"echo started; exec sleep {self.mark()}"), self.environment())
        with os.fdopen(terminal, "rb+", buffering=0) as screen:
            self.assertEqual(screen.readline(), b"started\r\n")
            screen.write(b"\x03")
            self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), 130)
        self.assertEqual(processes_with(self.mark()), [])
        self.assert_left_nothing()


class BubblewrapAsRootWay(RestrictingWay, MacRootTest):
    name = "bubblewrap-as-root"

    @staticmethod
    def obstacle():
        if os.geteuid() != 0:
            return "only root can run bubblewrap without a namespace of users"
        if not succeeds("bwrap", "--unshare-pid", "--ro-bind", "/", "/", "--proc", "/proc", "true"):
            return "bubblewrap cannot use namespaces here"
        return None

    def test_no_namespace_of_users_is_made(self):
        self.assertEqual(self.inside("readlink /proc/self/ns/user").strip(), os.readlink("/proc/self/ns/user"))

    def test_it_works_for_an_ordinary_user(self):
        self.assert_refused(self.run_by_an_ordinary_user(), "bubblewrap-as-root: only root can do that", status=125)

    def test_the_groups_of_root_are_left_behind(self):
        self.assertEqual(self.inside("id -G", prefix=["setpriv", "--groups", "0,4,27"]), "20\n")

    def test_a_root_can_go_from_one_way_to_the_other(self):
        for way in [BubblewrapWay, BubblewrapAsRootWay, BubblewrapWay]:
            if not way.obstacle():
                self.inside("touch /Applications/x; rm /Applications/x; mkdir -p $HOME/y; touch $HOME/y/x",
                            "--root", self.root, "--way", way.name)


class ProotWay(Way, MacRootTest):
    name = "proot"

    @staticmethod
    def obstacle():
        return None if succeeds("proot", "-r", "/", "true") else "proot does not work here"

    def test_nothing_is_left_in_the_hosts_temporary_folder(self):
        before = set(Path("/tmp").glob("prooted-*"))
        tool = self.start()
        tool.terminate()
        tool.wait(DEADLINE_SECONDS)
        self.assertEqual(set(Path("/tmp").glob("prooted-*")) - before, set())


EVERY_WAY = [BubblewrapWay, BubblewrapAsRootWay, ProotWay]

# Becomes root of a namespace in which the named kinds of namespace cannot be made, and runs a command there.
WITHOUT_NAMESPACES = """
import ctypes, os, sys
reading, writing = os.pipe()
confined = os.getpid()
if os.fork() == 0:
    os.close(writing)
    if not os.read(reading, 1):
        os._exit(1)
    for kind in ["uid_map", "gid_map"]:
        with open(f"/proc/{confined}/{kind}", "w") as mapping:
            mapping.write("0 0 65536")
    os._exit(0)
CLONE_NEWUSER = 0x10000000
assert ctypes.CDLL(None).unshare(CLONE_NEWUSER) == 0
os.write(writing, b"x")
os.wait()
for kind in sys.argv[1].split(","):
    with open(f"/proc/sys/user/max_{kind}_namespaces", "w") as limit:
        limit.write("0")
os.execvp(sys.argv[2], sys.argv[2:])
"""


class FallingBack(MacRootTest):
    def without_namespaces(self, kinds):
        prefix = [sys.executable, "-c", WITHOUT_NAMESPACES, kinds]
        if os.geteuid() != 0 or not succeeds(*prefix, "true"):
            self.skipTest("namespaces cannot be forbidden here")
        return prefix

    def test_without_namespaces_of_users_root_does_it_and_says_why(self):
        if not shutil.which("bwrap"):
            self.skipTest("bwrap is not installed")
        result = self.mac_root("--program", "/usr/bin/id", prefix=self.without_namespaces("user"))
        self.assertEqual((result.stdout, result.returncode), ("uid=501(ann) gid=20(staff) groups=20(staff)\n", 0))
        self.assertIn("mac-root: falling back to bubblewrap-as-root:\n"
                      "  bubblewrap: bwrap: Creating new namespace failed", result.stderr)

    def test_without_any_namespace_proot_does_it_and_says_why(self):
        if ProotWay.obstacle():
            self.skipTest(ProotWay.obstacle())
        result = self.mac_root("--program", "/usr/bin/id", prefix=self.without_namespaces("user,mnt"))
        self.assertEqual((result.stdout, result.returncode), ("uid=501(ann) gid=20(staff) groups=20(staff)\n", 0))
        self.assertIn("mac-root: falling back to proot:\n  bubblewrap: ", result.stderr)
        self.assertIn("\n  bubblewrap-as-root: ", result.stderr)

    def test_faults_are_refused_when_only_proot_is_left(self):
        result = self.mac_root("--full", "/Applications", prefix=self.without_namespaces("user,mnt"))
        self.assert_refused(result, "proot: cannot make anything read-only or full", status=125)

    def test_without_bubblewrap_proot_does_it(self):
        if ProotWay.obstacle():
            self.skipTest(ProotWay.obstacle())
        environment = self.environment(PATH=self.only("proot", "setpriv"))
        result = self.mac_root("--program", "/usr/bin/id", environment=environment)
        self.assertEqual((result.stdout, result.returncode), ("uid=501(ann) gid=20(staff) groups=20(staff)\n", 0))
        self.assertIn("bubblewrap: bwrap is not installed\n", result.stderr)

    def test_without_any_of_them_every_reason_is_told(self):
        result = self.mac_root(environment=self.environment(PATH=self.only()))
        self.assert_refused(result, "nothing can be run in the root:\n  bubblewrap: bwrap is not installed\n"
                                    "  bubblewrap-as-root: bwrap is not installed\n  proot: proot is not installed\n",
                            status=125)
        self.assert_left_nothing()

    def test_a_way_that_was_asked_for_is_not_replaced(self):
        result = self.mac_root("--way", "bubblewrap", environment=self.environment(PATH=self.only("proot", "setpriv")))
        self.assert_refused(result, "bubblewrap: bwrap is not installed", status=125)

    def only(self, *programs):
        """A search path with these programs only."""
        folder = self.folder / "programs"
        folder.mkdir()
        for program in programs:
            (folder / program).symlink_to(shutil.which(program))
        return str(folder)


# Asks the framework like the installer does: opens it, asks, closes it; more than once.
RELOCATION_PROBE = """
import _ctypes, ctypes, glob, sys

def send(receiver, message, *arguments):
    selector = security.sel_registerName(message)
    method = security.objc_msg_lookup(ctypes.c_void_p(receiver), ctypes.c_void_p(selector))
    prototype = ctypes.CFUNCTYPE(ctypes.c_void_p, *[ctypes.c_void_p] * (2 + len(arguments)))
    return prototype(method)(receiver, selector, *arguments)

for _ in range(3):
    security = ctypes.CDLL("/System/Library/Frameworks/Security.framework/Security", mode=1)
    for name in ["objc_get_class", "sel_registerName", "objc_msg_lookup", "SecTranslocateCreateOriginalPathForURL"]:
        getattr(security, name).restype = ctypes.c_void_p
    security.SecTranslocateIsTranslocatedURL.restype = ctypes.c_ubyte
    pool = send(security.objc_get_class(b"NSAutoreleasePool"), b"new")
    path = ctypes.create_string_buffer(glob.glob(sys.argv[1])[0].encode())
    text = send(security.objc_get_class(b"NSString"), b"stringWithUTF8String:", ctypes.addressof(path))
    url = ctypes.c_void_p(send(security.objc_get_class(b"NSURL"), b"fileURLWithPath:", text))
    flag = ctypes.c_bool(False)
    succeeded = security.SecTranslocateIsTranslocatedURL(url, ctypes.byref(flag), None)
    original = security.SecTranslocateCreateOriginalPathForURL(url, None)
    send(pool, b"release")
    if original:
        pool = send(security.objc_get_class(b"NSAutoreleasePool"), b"new")
        answer = ctypes.string_at(send(send(original, b"path"), b"UTF8String")).decode()
        send(pool, b"release")
        assert send(original, b"retainCount") >= 1
        send(original, b"release")
    else:
        answer = None
    print(succeeded, flag.value, answer)
    _ctypes.dlclose(security._handle)
    # GNUstep's runtime would be left with pointers into nowhere.
    assert "Versions/A/Security" in open("/proc/self/maps").read(), "the framework was unloaded"

security = ctypes.CDLL("/System/Library/Frameworks/Security.framework/Security", mode=1)
security.SecTranslocateCreateOriginalPathForURL.restype = ctypes.c_void_p
flag = ctypes.c_bool(False)
print(security.SecTranslocateIsTranslocatedURL(None, ctypes.byref(flag), None), flag.value,
      security.SecTranslocateCreateOriginalPathForURL(None, None))
"""


class SecurityFramework(MacRootTest):
    @classmethod
    def setUpClass(cls):
        compiler = shutil.which("clang++-19")
        if not compiler or not ctypes.util.find_library("gnustep-base") or not os.access(PLAIN_PYTHON, os.X_OK):
            raise unittest.SkipTest(f"needs clang++-19, GNUstep's base library and {PLAIN_PYTHON}")
        cls.security = shared / "built/Security"
        cls.security.parent.mkdir()
        headers = subprocess.run(["gcc", "-print-file-name=include"], capture_output=True, text=True, check=True)
        subprocess.run([compiler, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-fobjc-runtime=gcc", "-fexceptions",
                        "-fobjc-exceptions", "-D_NATIVE_OBJC_EXCEPTIONS", "-DGNUSTEP_BASE_LIBRARY=1", "-DGNU_RUNTIME=1",
                        "-fconstant-string-class=NSConstantString", "-isystem", "/usr/include/GNUstep",
                        "-idirafter", headers.stdout.strip(), "-fPIC", "-shared", SECURITY_SOURCE,
                        "-o", cls.security, "-lgnustep-base", "-lobjc"], check=True)

    def ask(self, bundle, *options):
        """What the two calls say: success, flag, original."""
        result = self.mac_root("--security", self.security, *options, "--program", PLAIN_PYTHON,
                               "--", "-c", RELOCATION_PROBE, bundle)
        self.assertEqual(result.returncode, 0, result.stderr)
        *answers, of_nothing = result.stdout.splitlines()
        self.assertEqual(of_nothing, "0 False None")
        self.assertEqual(answers, answers[:1] * 3)
        return answers[0]

    def test_a_relocated_bundle_has_its_original_in_downloads(self):
        self.assertEqual(self.ask(RELOCATED_BUNDLE, "--relocated"), f"1 True {DOWNLOADS}/{BUNDLE}")

    def test_the_original_follows_the_home(self):
        self.assertEqual(self.ask(RELOCATED_BUNDLE, "--relocated", "--home", "Ann B"),
                         f"1 True /Users/Ann B/Downloads/Quillmark Installer/{BUNDLE}")

    def test_the_short_name_of_a_relocated_bundle_is_known_too(self):
        self.assertEqual(self.ask(RELOCATED_BUNDLE.removeprefix("/private"), "--relocated"),
                         f"1 True {DOWNLOADS}/{BUNDLE}")

    def test_the_original_can_be_unknown(self):
        self.assertEqual(self.ask(RELOCATED_BUNDLE, "--relocated-without-original"), "1 True None")

    def test_the_query_can_fail_although_it_sets_the_flag(self):
        self.assertEqual(self.ask(RELOCATED_BUNDLE, "--relocated", "--relocation-query-fails"),
                         f"0 True {DOWNLOADS}/{BUNDLE}")
        self.assertEqual(self.ask(RELOCATED_BUNDLE, "--relocated-without-original", "--relocation-query-fails"),
                         "0 True None")

    def test_another_bundle_is_not_relocated_and_is_its_own_original(self):
        self.assertEqual(self.ask(f"{DOWNLOADS}/{BUNDLE}", "--relocated"), f"1 False {DOWNLOADS}/{BUNDLE}")

    def test_nothing_is_relocated_when_nothing_is_listed(self):
        self.assertEqual(self.ask(f"{DOWNLOADS}/{BUNDLE}"), f"1 False {DOWNLOADS}/{BUNDLE}")


if __name__ == "__main__":
    unittest.main()
