"""What a program finds in a root of tools/mac-root: the system, the home, the distribution, the caller's display."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from support.mac import INSTALLER
from support.mac_root import DOWNLOADS, LICENCE, RELEASE_COMMAND, MacRootTest

FRAMEWORKS = "/System/Library/Frameworks"


class MacShape(MacRootTest):
    def test_the_heading_of_each_release_is_read_from_a_licence_text_of_its_shape(self):
        start = "\\f0\\b SOFTWARE LICENSE AGREEMENT FOR "
        for release, ending in [("Sonoma", "macOS Sonoma\\\n"), ("15", "macOS Sequoia\\\n"), ("X", "macOS X\\\n"),
                                ("10.14", "macOS Mojave\n\\\n"), ("10.9", "OS X MAVERICKS\\\n")]:
            with self.subTest(release):
                text = self.inside(f"cat '{LICENCE}'", "--release", release)
                self.assertTrue(text.startswith("{\\rtf1"))
                self.assertIn(f"\n{start}{ending}", text)
        self.assertEqual(self.inside(RELEASE_COMMAND, "--release", "Monterey", "--release", "Ventura"),
                         "Monterey\nVentura\n")
        self.assertEqual(self.inside(RELEASE_COMMAND + " | od -An -tx1", "--release", b"S\xff"), " 53 ff 0a\n")
        self.assertEqual(self.inside(f"ls '{os.path.dirname(LICENCE)}'", "--no-licence"), "")

    def test_the_system(self):
        awk = subprocess.run(["original-awk", "-version"], capture_output=True, text=True, check=True).stdout
        self.assertEqual(self.inside(f"""
            uname -m; uname -s
            command -v awk; awk -version; /usr/bin/awk -version
            readlink /tmp /var /etc; touch /tmp/x; ls -d /private/tmp/x
            open -a 'Some App'; open https://example.com; cat "$HOME/Library/Logs/open.log"
            cat {FRAMEWORKS}/Security.framework/Security; grep -c 1404.47 {FRAMEWORKS}/AppKit.framework/Resources/Info.plist
            cd; pwd; ls; id -un; echo "$TMPDIR"; cd "$TMPDIR"; touch x; pwd -P
            """, "--processor", "a 'strange' one", "--appkit-version", "1404.47", "--home", "Ann Björk",
            "--no-user-applications", "--temporary", "/tmp/a b/c").split("\n"), [
                "a 'strange' one", os.uname().sysname, "/usr/local/bin/awk", *[awk.rstrip()] * 2,
                "private/tmp", "private/var", "private/etc", "/private/tmp/x", "-a Some App", "https://example.com",
                "no program loads this one", "1", "/Users/Ann Björk", "Downloads", "Library", "Ann Björk", "/tmp/a b/c",
                "/private/tmp/a b/c", ""])

    def test_the_distribution_lies_in_downloads_as_it_is_and_its_links_lead_to_nothing_of_the_host(self):
        distribution = self.folder / "distribution"
        shutil.copytree(self.distribution, distribution, symlinks=True)
        # Not in memory: with proot /dev is the host's, and so is /dev/shm.
        hidden = tempfile.TemporaryDirectory(dir="/var/tmp")
        self.addCleanup(hidden.cleanup)
        Path(hidden.name, "diary").write_text("private")
        (distribution / "components/link").symlink_to(hidden.name)
        self.assertEqual(self.inside(f"""
            cd "{DOWNLOADS}"; ls
            readlink components/link; cat components/link/diary || echo nothing there
            cd components/WGComponents; readlink current; stat -c '%a %n' Sonoma/*; cat current/*
            """, "--distribution", distribution).splitlines(), [
                INSTALLER, "components", hidden.name, "nothing there", "Sonoma", "744 Sonoma/Schlüssel ☃", "key"])

    def test_the_callers_display_and_the_files_that_sanitizers_name_are_handed_on(self):
        authority, suppressions = self.folder / "authority", self.folder / "lsan.supp"
        authority.write_text("cookie\n")
        suppressions.write_text("leak:nothing\n")
        environment = self.environment(DISPLAY=":4711", XAUTHORITY=str(authority),
                                       LSAN_OPTIONS=f"verbosity=0:suppressions={suppressions}")
        script = f"echo $DISPLAY; cat $XAUTHORITY {suppressions}"
        self.assertEqual(self.inside(script, environment=environment), ":4711\ncookie\nleak:nothing\n")
        environment["LSAN_OPTIONS"] = "suppressions=lsan.supp"
        self.assert_refused(self.mac_root(environment=environment), "LSAN_OPTIONS names lsan.supp", status=125)
