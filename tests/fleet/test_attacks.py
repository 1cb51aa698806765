"""What an administrator without a password, or a standard user, prepares for root and for the others, and swaps."""

import os
import re
import subprocess

from support.case import MANAGED_MARKER
from support.fleet import AGENT, CLIENT, KIT, NUMBERS, OTHER, FleetTest
from support.tree import differences

SECRET = "/private/etc/master.passwd"
LONG_SECONDS = 15  # less than the kit's own limit: nobody is to be waited for

# What lies in the way: made by root here, for a Mac lets everybody make hard links to files of others.
TRAPS = {
    "link_to_a_secret": lambda mac, place: place.symlink_to(SECRET),
    "link_to_nothing": lambda mac, place: place.symlink_to("/private/etc/planted"),
    "link_to_a_folder": lambda mac, place: place.symlink_to("/private/etc/ssh"),
    "pipe": lambda mac, place: (os.mkfifo(place), place.chmod(0o666)),
    "sparse_file": lambda mac, place: (place.touch(), place.chmod(0o666), os.truncate(place, 4 << 30)),
    "hard_link": lambda mac, place: place.hardlink_to(mac.at(SECRET)),
    "folder_of_roots": lambda mac, place: (place.mkdir(0o700), (place / "inside").write_text("root's\n")),
}
HOME_PLACES = [
    ["Quillmark_Components", "Applications/Quillmark.app", "Library/Logs/com.quillmark.fleet.log",
     "Library/Preferences/com.quillmark.customInstaller.plist"],
    ["Quillmark_Components/installationHelper.txt", "Quillmark_Components/client.up.tunnelblick.sh",
     "Quillmark_Components/QuillmarkGuard/built-for", "Applications/Quillmark.app/Contents/Info.plist",
     "Applications/Quillmark.app/Contents/MacOS/Quillmark"],
    ["Quillmark_Components/QuillmarkGuard", "Applications"],
]
SYSTEM_PLACES = [[CLIENT], [f"{CLIENT}/Contents/Info.plist"], [f"{CLIENT}/Contents/MacOS"]]


def clear(place):
    if place.is_dir() and not place.is_symlink():
        subprocess.run(["rm", "-rf", place], check=True)
    place.unlink(missing_ok=True)


class AttackTest(FleetTest):
    def limit(self, mac):
        for script in [mac.at(f"{KIT}/status"), mac.at(f"{KIT}/remove")]:
            script.write_text(re.sub("limited [26]0", "limited 5", script.read_text()))

    def assert_kept_to_itself(self, mac, before, *runs, longest=LONG_SECONDS):
        """Nothing but the package's and the people's own places has changed, and nobody's secrets are told."""
        for run in runs:
            self.assertLess(run.seconds, longest)
            self.assertNotIn("SECRET", run.output + run.errors)
            self.assertLess(len(run.output), 1 << 16)
        for path in [*mac.root.glob("Users/*/Library/Logs/*.log"), *mac.root.glob("Users/*/Quillmark_Components/*.txt")]:
            if path.is_file() and path.stat().st_size < 1 << 20 and path.stat().st_nlink == 1:
                self.assertNotIn("SECRET", path.read_text(errors="replace"))
        self.assertEqual(differences(mac.everything_else(), before), {})


class Traps(AttackTest):
    """At every place that a script touches: in Ann's home, and in /Applications, where Adam has put it."""

    def fall_into(self, trap):
        mac = self.furnished_mac()
        mac.log_out("adam")
        for home_places, system_places in zip(HOME_PLACES, SYSTEM_PLACES):
            clear(mac.at(CLIENT))
            self.assert_status(mac.install_package(agents=False), 0)
            for place in ["Applications", "Quillmark_Components"]:
                clear(mac.home / place)
            mac.give("ann", "/Users/ann/Applications", 0o700)
            mac.put_part("ann")
            before = mac.everything_else()
            for place in [mac.home / name for name in home_places] + [mac.at(name) for name in system_places]:
                clear(place)
                TRAPS[trap](mac, place)
            first = mac.run("status")
            self.assertIn(first.of("ann")["verdict"], ["incomplete", "other-identifiers", "cannot"], home_places)
            login = mac.at_login("ann")
            self.assert_kept_to_itself(mac, before, first, login, mac.run("status", "--json"), mac.run("remove"))


for name in TRAPS:
    setattr(Traps, f"test_a_{name}", lambda self, name=name: self.fall_into(name))


# Adam renames the client away, puts one thing after the other in its place, and the client back.
SWAP = f"""
        aside, place = "/Applications/aside", "{CLIENT}"
        def put(make):
            try:
                if os.path.isdir(place) and not os.path.islink(place): os.rename(place, aside)
            except OSError: pass
            try: os.unlink(place)
            except OSError: pass
            try: make()
            except OSError: pass
            for _ in range(200): os.path.lexists(place)
        put(lambda: os.symlink("/private/etc/ssh", place))
        put(lambda: os.symlink("/private/etc/planted", place))
        put(lambda: os.symlink("{OTHER}", place))
        put(lambda: os.mkfifo(place))
        put(lambda: os.symlink("/Users/ann/Library", place))
        put(lambda: os.rename(aside, place))
"""


class Swaps(AttackTest):
    def test_of_the_client_by_an_administrator_lead_root_nowhere(self):
        mac = self.furnished_mac()
        before = mac.everything_else()
        for _ in range(4):
            with mac.meanwhile("adam", SWAP.strip()):
                runs = [mac.run("status"), mac.execute("/private/tmp/postinstall", "package", "/", "/", "/"),
                        mac.run("at-login", user="ann"), mac.run("remove")]
            self.assertIn("user=root\n", runs[-1].output)
            for left in ["aside", "Quillmark.app"]:
                clear(mac.at(f"/Applications/{left}"))
            self.assert_kept_to_itself(mac, before, *runs)
            self.assert_status(mac.install_package(agents=False), 0)
            clear(mac.home / "Applications/Quillmark.app")
            clear(mac.home / "Quillmark_Components")
            mac.put_part("ann")

    def test_of_another_application_for_the_client_do_not_have_root_remove_it(self):
        mac = self.furnished_mac()
        before = mac.everything_else()
        clear(mac.at(CLIENT))
        mac.at(OTHER).rename(mac.at(CLIENT))
        removal = mac.run("remove")
        self.assert_status(removal, 70)
        self.assertIn("failed=/Applications/Quillmark.app was not the client and is now /Library/App", removal.output)
        [held] = mac.at("/Library/Application Support").glob(".quillmark.*/Quillmark.app")
        held.rename(mac.at(OTHER))
        self.assert_kept_to_itself(mac, before, removal)

    def test_of_ones_own_files_while_root_asks_for_the_status(self):
        mac = self.furnished_mac()
        before = mac.everything_else()
        marker = "/Users/ann/Quillmark_Components/installationHelper.txt"
        swap = f"""
        def put(make):
            try: os.unlink("{marker}")
            except OSError: pass
            make()
        put(lambda: os.mkfifo("{marker}"))
        put(lambda: open("{marker}", "wb").write({MANAGED_MARKER}))
        put(lambda: os.symlink("{SECRET}", "{marker}"))
"""
        self.limit(mac)
        with mac.meanwhile("ann", swap.strip()):
            runs = [mac.run("status") for _ in range(4)]
        self.assertEqual({run.of("bob")["verdict"] for run in runs}, {"complete"})
        self.assert_kept_to_itself(mac, before, *runs, mac.run("remove"), longest=30)


class Hanging(AttackTest):
    """Ann stops, or keeps from ending, what root runs as her."""

    def hinder(self, code):
        mac = self.furnished_mac()
        self.limit(mac)
        before = mac.everything_else()
        program = ("import glob, os, signal\nfor process in glob.glob('/proc/[0-9]*'):\n"
                   "    if os.stat(process).st_uid == 502 and 'at-login' not in open(process + '/cmdline').read()"
                   f" and int(process[6:]) != os.getpid():\n        {code}")
        mac.write("/private/tmp/hinder", f"while True:\n    try:\n        exec({program!r})\n    except OSError: pass\n")
        run = mac.execute("/bin/sh", "-c", f"/bin/sudo -H -u '#502' /usr/bin/python3 /private/tmp/hinder & "
                          f"'{KIT}/status'; '{KIT}/remove'")
        self.assertEqual(run.of("ann"), {"reason": "no-answer", "verdict": "cannot"})
        self.assertEqual(run.of("bob")["verdict"], "complete")
        self.assertIn("failed=part of ann, who did not answer\n", run.output)
        self.assert_kept_to_itself(mac, before, run, longest=45)

    def test_by_stopping_it(self):
        self.hinder("os.kill(int(process[6:]), signal.SIGSTOP)")

    def test_by_killing_it(self):
        self.hinder("os.kill(int(process[6:]), signal.SIGKILL)")


class Eyes(FleetTest):
    def test_what_only_root_can_read_is_not_there_for_a_person(self):
        mac = self.furnished_mac()
        for place in [CLIENT, f"{CLIENT}/Contents/Resources", f"{CLIENT}/Contents/Info.plist"]:
            mode = mac.at(place).stat().st_mode
            mac.at(place).chmod(0o700)
            report = mac.run("status")
            self.assertEqual((report.of("ann")["system_client"], report.verdict), ("incomplete", "incomplete"), place)
            mac.at(place).chmod(mode)
        self.assert_verdict(mac.run("status"), "complete")

    def test_a_folder_of_another_owner_is_removed_by_nobody(self):
        mac = self.furnished_mac()
        mac.give_tree("bob", mac.at(CLIENT))
        self.assert_status(mac.run("remove"), 70)
        self.assertTrue((mac.at(CLIENT) / "Contents/Info.plist").exists())

    def test_a_client_that_an_administrator_has_installed_is_removed_by_that_administrator(self):
        mac = self.furnished_mac()
        mac.give_tree("adam", mac.at(CLIENT))
        removal = mac.run("remove")
        self.assert_status(removal, 0)
        self.assertIn(f"user=adam\nremoved={CLIENT}\n", removal.output)


class Names(FleetTest):
    def beside(self, mac, user, place, script, *arguments):
        """Runs a script while one of the people runs a program of that path."""
        mac.at(place).parent.mkdir(parents=True, exist_ok=True)
        mac.at(place).unlink(missing_ok=True)
        subprocess.run(["cp", "/usr/bin/sleep", mac.at(place)], check=True)
        return mac.execute("/bin/sh", "-c", 'place=$1; number=$2; shift 2; /bin/sudo -H -u "#$number" "$place" 60 & '
                           'until ps -A -ww -o comm= | grep -qxF "$place"; do :; done; "$@"', "sh", place,
                           str(NUMBERS[user]), *script, *arguments)

    def test_somebody_elses_program_of_the_installers_name_blocks_neither_installation_nor_removal(self):
        mac = self.furnished_mac()
        place = "/Users/bob/Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
        self.beside(mac, "bob", place, ["/bin/sudo", "-H", "-u", "#502", f"{KIT}/at-login"])
        self.assertIn("everything of this person is there", mac.log_of("ann"))
        clear(mac.home / "Quillmark_Components")
        self.beside(mac, "bob", place, ["/bin/sudo", "-H", "-u", "#502", f"{KIT}/at-login"])
        self.assertNotIn("the installer is open", mac.log_of("ann"))
        self.beside(mac, "ann", f"/Users/ann{place[len('/Users/bob'):]}", ["/bin/sudo", "-H", "-u", "#502", f"{KIT}/at-login"])
        self.assertIn("the installer is open", mac.log_of("ann"))
        self.assert_status(self.beside(mac, "bob", place, [f"{KIT}/remove"]), 0)
        self.assertFalse(mac.at(AGENT).exists())

    def test_a_client_that_runs_is_named_and_quit_only_if_asked(self):
        for arguments, ends in [([], False), (["--quit"], True)]:
            mac = self.furnished_mac()
            after = f"'{KIT}/remove' {' '.join(arguments)}; sleep 0.2; ps -A -ww -o comm= | grep -c Quillmark"
            run = self.beside(mac, "ann", f"{CLIENT}/Contents/MacOS/Quillmark", ["/bin/sh", "-c", after])
            self.assertRegex(run.output, r"user=ann\nrunning=[0-9]+\n")
            self.assertEqual(run.output.splitlines()[-1] == "0", ends, run.output)
            self.assertFalse(mac.at(CLIENT).exists())
