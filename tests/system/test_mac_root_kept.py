"""Roots of tools/mac-root that stay where they were assembled."""

import os
import shutil

from support.mac import INSTALLER
from support.mac_root import DOWNLOADS, RELEASE_COMMAND, MacRootTest


class KeptRoot(MacRootTest):
    def test_it_is_used_again_with_what_it_holds_and_with_the_options_of_the_new_call(self):
        places = self.assemble("--release", "Ventura", "--relocated", "--components", "missing").splitlines()
        self.assertEqual((places[0], places[3]), (f"root: {self.root}", "temporary folder: /private/var/folders/xx/T/"))
        (self.root / "Users/ann/Library/Preferences/kept.plist").touch()
        found = self.inside(f"""
            ls $HOME/Library/Preferences; touch /Applications/made
            {RELEASE_COMMAND}
            ls "{DOWNLOADS}" /private/var/folders/xx/T/AppTranslocation
            """, "--root", self.root)
        self.assertEqual(found.split("\n"), ["kept.plist", "Sonoma", f"{DOWNLOADS}:", INSTALLER, "components", "",
                                             "/private/var/folders/xx/T/AppTranslocation:", ""])
        self.assertTrue((self.root / "Applications/made").exists())

    def test_what_is_no_root_is_left_alone(self):
        victim = self.folder / "victim"
        victim.mkdir()
        (victim / "thesis").touch()
        link = self.folder / "link"
        link.symlink_to(victim)
        inside = self.distribution / "root"
        for root, reason in [(victim, "it is left alone"), (victim / "thesis", "is not a folder"),
                             (link, "is a symbolic link"), (inside, "lies inside the distribution")]:
            with self.subTest(reason):
                self.assert_refused(self.mac_root("--root", root), reason, status=125)
        self.assertEqual(os.listdir(victim), ["thesis"])
        self.assertFalse(inside.exists())

    def test_links_in_every_folder_that_a_program_may_change_do_not_lead_out_of_the_root(self):
        victim = self.folder / "victim"
        victim.mkdir()
        (victim / "diary").touch(mode=0o600)
        for place in ["$HOME/Applications", "$HOME/Downloads", "$HOME/Library", "$HOME/Library/Preferences",
                      "/private/var/folders", "/private/var/folders/xx/T", "/private/var/folders/xx/C"]:
            with self.subTest(place):
                self.inside(f"rm -rf {place}; ln -s {victim} {place}", "--root", self.root)
                self.assert_refused(self.mac_root("--root", self.root, "--relocated"), "leads out of the root",
                                    status=125)
                self.assertEqual([path.name for path in victim.iterdir()], ["diary"])
                self.assertEqual((victim / "diary").stat().st_mode & 0o777, 0o600)
                shutil.rmtree(self.root)
