"""Roots of tools/mac-root that stay where they were assembled."""

import os
import shutil

from support.mac import EXECUTABLE, INSTALLER
from support.mac_root import DOWNLOADS, RELEASE_COMMAND, MacRootTest


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
            f"{DOWNLOADS}:", INSTALLER, "components", "", "/private/var/folders/xx/T/AppTranslocation:", ""])

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

    def test_a_link_is_refused_wherever_it_leads(self):
        victim = self.folder / "victim"
        victim.mkdir()
        for target in [victim, "nowhere"]:
            with self.subTest(target):
                self.root.symlink_to(target)
                self.assert_refused(self.mac_root("--root", self.root), f"{self.root} is a symbolic link", status=125)
                self.root.unlink()
        self.assertEqual(list(victim.iterdir()), [])
        self.assertFalse((self.folder / "nowhere").exists())

    def test_the_inside_of_the_distribution_is_refused(self):
        result = self.mac_root("--root", self.distribution / "root")
        self.assert_refused(result, "lies inside the distribution", status=125)
        self.assertFalse((self.distribution / "root").exists())

    def test_a_link_that_a_program_left_does_not_lead_out_of_the_root(self):
        victim = self.folder / "victim"
        victim.mkdir()
        self.inside(f"rm -r $HOME/Downloads; ln -s {victim} $HOME/Downloads", "--root", self.root)
        self.assert_refused(self.mac_root("--root", self.root), "leads out of the root", status=125)
        self.assertEqual(list(victim.iterdir()), [])

    def test_links_in_every_folder_that_a_program_may_change_do_not_lead_out_of_the_root(self):
        victim = self.folder / "victim"
        victim.mkdir()
        (victim / "diary").touch(mode=0o600)
        for place in ["$HOME/Applications", "$HOME/Library", "$HOME/Library/Preferences", "/private/var/folders",
                      "/private/var/folders/xx/T", "/private/var/folders/xx/C"]:
            with self.subTest(place):
                self.inside(f"rm -rf {place}; ln -s {victim} {place}", "--root", self.root)
                self.assert_refused(self.mac_root("--root", self.root, "--relocated"), "leads out of the root",
                                    status=125)
                self.assertEqual([path.name for path in victim.iterdir()], ["diary"])
                self.assertEqual((victim / "diary").stat().st_mode & 0o777, 0o600)
                shutil.rmtree(self.root)
