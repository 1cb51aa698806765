"""Which command lines tools/mac-root takes and which it refuses."""

import os
import shutil
import stat
import tempfile
from pathlib import Path

from support.mac import EXECUTABLE, INSTALLER
from support.mac_root import DOWNLOADS, MacRootTest


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

    def test_a_path_is_one_line(self):
        for option in ["--temporary", "--read-only", "--full"]:
            with self.subTest(option):
                self.assert_wrong(f"{option} '/tmp/a\\nb': a path is one line", option, "/tmp/a\nb")
        self.assert_wrong(f"--root '{self.folder}/a\\nb': a path is one line", "--root", f"{self.folder}/a\nb")
        self.assertEqual(list(self.folder.iterdir()), [self.temporary])

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

    def test_a_distribution_whose_program_is_a_folder_is_refused(self):
        (self.folder / "distribution" / EXECUTABLE).mkdir(parents=True)
        result = self.mac_root("--distribution", self.folder / "distribution")
        self.assert_refused(result, "holds no program Quillmark Installer.app/Contents", status=125)

    def test_a_distribution_whose_bundle_is_a_device_is_refused(self):
        (self.folder / "distribution").mkdir()
        (self.folder / "distribution" / INSTALLER).symlink_to("/dev/zero")
        result = self.mac_root("--distribution", self.folder / "distribution")
        self.assert_refused(result, "holds no program Quillmark Installer.app/Contents", status=125)

    def assert_named_and_not_copied(self, kind):
        distribution = self.folder / "distribution"
        shutil.copytree(self.distribution, distribution, symlinks=True)
        odd = distribution / "components/WGComponents/odd"
        try:
            os.mknod(odd, kind | 0o666, os.makedev(1, 5))  # the device never ends
        except PermissionError:
            self.skipTest("nobody may make a device here")
        result = self.mac_root("--distribution", distribution)
        self.assert_refused(result, f"{odd} is neither a file, a folder nor a link", status=125)
        self.assert_left_nothing()

    def test_a_pipe_in_a_distribution_is_named_and_never_opened(self):
        self.assert_named_and_not_copied(stat.S_IFIFO)

    def test_a_socket_in_a_distribution_is_named(self):
        self.assert_named_and_not_copied(stat.S_IFSOCK)

    def test_a_device_in_a_distribution_is_named_and_never_opened(self):
        self.assert_named_and_not_copied(stat.S_IFCHR)

    def test_a_link_in_a_distribution_stays_a_link_wherever_it_leads(self):
        distribution = self.folder / "distribution"
        shutil.copytree(self.distribution, distribution, symlinks=True)
        # Not in memory: with proot /dev is the host's, and so is /dev/shm.
        hidden = tempfile.TemporaryDirectory(dir="/var/tmp")
        self.addCleanup(hidden.cleanup)
        victim = Path(hidden.name) / "victim"
        victim.mkdir()
        (victim / "diary").write_text("private")
        for name, target in {"absolute": victim, "upwards": "../../../../../../../../victim"}.items():
            (distribution / "components" / name).symlink_to(target)
        found = self.inside(f"""
            cd "{DOWNLOADS}/components"
            readlink absolute upwards
            cat absolute/diary upwards/diary || echo nothing there
            """, "--distribution", distribution)
        self.assertEqual(found.splitlines(), [str(victim), "../../../../../../../../victim", "nothing there"])
        self.assertEqual([path.name for path in victim.iterdir()], ["diary"])

    def test_a_distribution_without_components_is_refused_unless_they_are_to_be_missing(self):
        distribution = self.folder / "distribution"
        shutil.copytree(self.distribution / INSTALLER, distribution / INSTALLER)
        result = self.mac_root("--distribution", distribution)
        self.assert_refused(result, "holds no components", status=125)
        self.inside("true", "--distribution", distribution, "--components", "missing")

    def test_stand_ins_that_are_not_there_are_refused(self):
        self.assert_refused(self.mac_root("--stand-ins", "/none"), "the stand-ins /none are not a folder", status=125)

    def test_a_security_framework_that_was_not_built_is_refused(self):
        result = self.mac_root("--root", self.root, "--security", self.folder / "none")
        self.assert_refused(result, "none is missing; build first", status=125)
        self.assertFalse(self.root.exists())
