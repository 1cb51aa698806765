"""What a program finds in a root of tools/mac-root: the system, the home, the distribution."""

import os
import plistlib
import subprocess

from support.mac import INSTALLER
from support.mac_root import DOWNLOADS, LICENCE, RELEASE_COMMAND, RELOCATED_FOLDER, MacRootTest

SECURITY_RESOURCES = "/System/Library/Frameworks/Security.framework/Resources"


class MacShape(MacRootTest):
    def test_the_release_is_the_one_in_the_licence_text(self):
        self.assertEqual(self.inside(RELEASE_COMMAND), "Sonoma\n")
        self.assertEqual(self.inside(RELEASE_COMMAND, "--release", "Big Sur"), "Big Sur\n")

    def test_several_releases_are_several_headings(self):
        self.assertEqual(self.inside(RELEASE_COMMAND, "--release", "Monterey", "--release", "Ventura"),
                         "Monterey\nVentura\n")

    def test_a_release_may_hold_bytes_that_are_no_text(self):
        self.assertEqual(self.inside(RELEASE_COMMAND + " | od -An -tx1", "--release", b"S\xff"), " 53 ff 0a\n")

    def test_the_heading_has_the_shape_that_it_has_on_such_a_mac(self):
        start = "\\f0\\b SOFTWARE LICENSE AGREEMENT FOR "
        for release, ending in [("Sonoma", "macOS Sonoma\\\n"), ("15", "macOS Sequoia\\\n"), ("X", "macOS X\\\n"),
                                ("10.14", "macOS Mojave\n\\\n"), ("10.9", "OS X MAVERICKS\\\n")]:
            with self.subTest(release):
                text = self.inside(f"cat '{LICENCE}'", "--release", release)
                self.assertTrue(text.startswith("{\\rtf1"))
                self.assertIn(f"\n{start}{ending}", text)

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
            cat current/*"""), f"{INSTALLER}\ncomponents\nSonoma\n744 Sonoma/Schlüssel ☃\nkey\n")

    def test_the_components_can_be_missing_or_a_file(self):
        self.assertEqual(self.inside(f'ls "{DOWNLOADS}"', "--components", "missing"), f"{INSTALLER}\n")
        self.assertEqual(self.inside(f'cd "{DOWNLOADS}"; stat -c %F components', "--components", "file"),
                         "regular file\n")


class Relocated(MacRootTest):
    def test_the_installer_runs_from_the_relocated_copy(self):
        result = self.mac_root("--relocated")
        folder = RELOCATED_FOLDER.replace("*", "[0-9A-F-]{36}")
        self.assertRegex(result.stdout, f"^installer {folder}/{INSTALLER}/Contents/MacOS/")
        self.assertEqual(result.returncode, 7, result.stderr)

    def test_the_copy_is_alone_and_the_original_stays_with_its_components(self):
        for option in ["--relocated", "--relocated-without-original"]:
            with self.subTest(option):
                self.assertEqual(self.inside(f'cd {RELOCATED_FOLDER}; ls; ls "{DOWNLOADS}"', option),
                                 f"{INSTALLER}\n{INSTALLER}\ncomponents\n")

    def test_the_components_can_be_missing_beside_the_original(self):
        self.assertEqual(self.inside(f'ls "{DOWNLOADS}"', "--relocated", "--components", "missing"), f"{INSTALLER}\n")

    def test_nothing_is_relocated_otherwise(self):
        self.assertEqual(self.inside(f"ls /private/var/folders/xx/T; ls {SECURITY_RESOURCES}"), "")

    def test_the_security_framework_has_a_list_of_the_copy_and_its_original(self):
        for options, relocation in [
                (["--relocated"], {"Original": f"{DOWNLOADS}/{INSTALLER}", "QueryFails": False}),
                (["--relocated", "--home", "Ann B"],
                 {"Original": f"/Users/Ann B/Downloads/Quillmark Installer/{INSTALLER}", "QueryFails": False}),
                (["--relocated", "--relocation-query-fails"],
                 {"Original": f"{DOWNLOADS}/{INSTALLER}", "QueryFails": True}),
                (["--relocated-without-original"], {"QueryFails": False}),
                (["--relocated-without-original", "--relocation-query-fails"], {"QueryFails": True})]:
            with self.subTest(options):
                copy, relocations = self.inside(
                    f'realpath {RELOCATED_FOLDER}/"{INSTALLER}"; cat {SECURITY_RESOURCES}/Relocations.plist',
                    *options).split("\n", 1)
                self.assertEqual(plistlib.loads(relocations.encode()), {copy: relocation})

    def test_assembling_tells_the_relocated_path(self):
        self.assertRegex(self.assemble("--relocated"), "(?m)^installer: /private/var/folders/xx/T/AppTranslocation/")
