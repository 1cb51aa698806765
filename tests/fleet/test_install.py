"""What install.sh does for the person at the screen, and when it does nothing."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from support.case import MANAGED_MARKER
from support.fleet import BOTH, FLEET_COPY, KIT, STANDARD, STAND_INS, FleetTest
from support.mac import DISTRIBUTION, EXECUTABLE, INSTALLER
from support.tree import tree

LOCK = "/var/run/com.quillmark.customInstaller.lock"
HANGING = "exec tail -f /dev/null"
DEAF = "trap '' TERM; tail -f /dev/null"
NOTES_ITS_ARGUMENTS = 'printf "%s\\n" "$@" > "$HOME/arguments"'


class Installing(FleetTest):
    def test_an_administrator_gets_everything_and_the_status_of_the_check(self):
        mac = self.mac()
        run = mac.install(*BOTH)
        self.assert_status(run, 0)
        self.assertEqual(run.findings["verdict"], "complete")
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assertEqual(mac.read_state("chown"), [])

    def test_a_standard_user_gets_everything_with_the_system_client_completed_by_root(self):
        mac = self.mac(groups=STANDARD)
        run = mac.install(*BOTH)
        self.assert_status(run, 0)
        self.assertEqual(run.findings["administrator"], "no")
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assertEqual(mac.read_state("chown"), ["-R -h 0:0 /Applications/.Quillmark.app.new"])
        self.assert_nothing_is_left_beside(mac)

    def test_an_older_client_of_a_standard_user_is_replaced_and_not_filled_up(self):
        mac = self.mac(groups=STANDARD)
        mac.put_older_installation()
        self.assert_status(mac.install(*BOTH), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assert_nothing_is_left_beside(mac)

    def test_a_client_that_an_administrator_cannot_replace_is_replaced_by_root(self):
        mac = self.mac()
        mac.put_older_installation()
        (mac.system_application / "Contents").chmod(0o555)
        mac.system_application.chmod(0o555)
        self.assert_status(mac.install(*BOTH), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assert_nothing_is_left_beside(mac)

    def test_a_half_removed_client_is_made_whole(self):
        for groups in ["20 80", STANDARD]:
            with self.subTest(groups):
                mac = self.installed_mac(groups=groups)
                shutil.rmtree(mac.system_application / "Contents/MacOS")
                (mac.user_application / "Contents/Info.plist").unlink()
                self.assert_status(mac.install(*BOTH), 0)
                self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_a_second_run_ends_as_the_first(self):
        for groups in ["20 80", STANDARD]:
            with self.subTest(groups):
                mac = self.installed_mac(groups=groups)
                (mac.staging_folder / "mine").write_text("mine\n")
                self.assert_status(mac.install(*BOTH), 0)
                self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_a_second_run_with_other_identifiers_writes_those(self):
        mac = self.installed_mac()
        self.assert_status(mac.install("--team", "T4", "--partner", "P3"), 0)
        self.assert_installed(mac, marker=b"Rmm\nP3\nT4\nyes")

    def test_an_applications_folder_is_made_for_a_user_who_has_none(self):
        mac = self.mac("--no-user-applications")
        self.assert_status(mac.install(*BOTH), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_on_big_sur_the_component_is_the_processors(self):
        mac = self.mac("--release", "Big Sur", "--processor", "x86_64")
        run = mac.install(*BOTH)
        self.assert_status(run, 0)
        self.assertEqual(run.findings["component"], "osIntel")
        self.assert_installed(mac, "osIntel", marker=MANAGED_MARKER)

    def test_the_installer_may_lie_elsewhere(self):
        mac = self.mac()
        mac.fleet_copy.rename(mac.at("/Library/elsewhere"))
        self.assert_status(mac.install(*BOTH, "--from", "/Library/elsewhere"), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_the_lines_of_a_pasted_script_may_be_filled_in(self):
        mac = self.mac()
        pasted = mac.folder / "pasted.sh"
        text = (KIT / "install.sh").read_text()
        pasted.write_text(text.replace("\nteam=''\n", "\nteam='T2'\n").replace("\npartner=''\n", "\npartner='P1'\n"))
        self.assert_status(mac.run(pasted, display=True), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def assert_nothing_is_left_beside(self, mac):
        self.assertEqual([path.name for path in mac.at("/Applications").iterdir()], ["Quillmark.app"])
        self.assertFalse(mac.at(LOCK).exists())


class Identifiers(FleetTest):
    def arguments_of_the_installer(self, mac, *arguments):
        mac.replace_installer(NOTES_ITS_ARGUMENTS)
        mac.run("install.sh", *arguments)
        return (mac.home / "arguments").read_text().split()

    def test_they_are_launch_arguments_when_no_profile_sets_them(self):
        self.assertEqual(self.arguments_of_the_installer(self.mac(), *BOTH), ["-teamID", "T2", "-partnerID", "P1"])

    def test_a_profile_sets_both_and_nothing_need_be_given(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        run = mac.install()
        self.assert_status(run, 0)
        self.assertEqual(run.findings["team_from"], "profile")
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assertEqual(self.arguments_of_the_installer(mac), [])

    def test_a_profile_of_the_user_comes_before_one_of_the_mac(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        mac.write_property_list("/Library/Managed Preferences/ann/com.quillmark.customInstaller.plist",
                                {"teamID": "T4", "partnerID": "P3"})
        self.assertEqual(mac.check().findings["team"], "T4")

    def test_a_profile_is_stronger_than_what_is_given(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        run = mac.install("--team", "T4", "--partner", "P3")
        self.assert_status(run, 0)
        self.assertEqual((run.findings["team"], run.findings["partner_from"]), ("T2", "profile"))
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_what_a_profile_leaves_out_is_given(self):
        mac = self.mac()
        mac.set_profile(teamID="T2")
        self.assertEqual(self.arguments_of_the_installer(mac, "--partner", "P1"), ["-partnerID", "P1"])

    def test_numbers_of_a_profile_are_identifiers_too(self):
        mac = self.mac()
        mac.set_profile(teamID=42, partnerID=7)
        self.assert_status(mac.install(), 0)
        self.assert_installed(mac, marker=b"Rmm\n7\n42\nyes")

    def test_the_users_own_defaults_will_do(self):
        mac = self.mac()
        mac.set_own_defaults(teamID="T2", partnerID="P1")
        run = mac.install()
        self.assert_status(run, 0)
        self.assertEqual(run.findings["partner_from"], "defaults")
        self.assert_installed(mac, marker=MANAGED_MARKER)

    def test_the_longest_one_is_taken(self):
        longest = "A" + "z9._-" * 12 + "abc"
        self.assertEqual(len(longest), 64)
        self.assertIn(longest, self.arguments_of_the_installer(self.mac(), "--team", longest, "--partner", "7"))


class RefusingTest(FleetTest):
    def assert_refuses(self, mac, status, reason, *arguments):
        """The script ends with that status, says why, and has touched nothing."""
        mac.make_mount_points()
        mac.write("/Library/Management/install.sh", "")
        before = tree(mac.root, leave_out=["Library/Management/install.sh"])
        self.assert_refused(mac.run("install.sh", *arguments), status, reason)
        self.assert_same_tree(tree(mac.root, leave_out=["Library/Management/install.sh"]), before)


class WrongUse(RefusingTest):
    def test_identifiers_of_another_form_are_refused(self):
        mac = self.mac()
        bad = ["Pé", "東京", "a b", "-a", ".a", "_a", "a/b", "a\nb", "a\n", "a;b", "(a)", "<*I5>", "{}", '"a"', "a" * 65,
               "$(id)", "*"]
        run = mac.execute("/bin/sh", "-c", """
            for identifier; do
              /bin/sh "$0" --team "$identifier" --partner P1; echo $?
              /bin/sh "$0" --team T2 --partner "$identifier"; echo $?
            done""", mac.bring("install.sh"), *bad)
        self.assertEqual(run.output.split(), ["64"] * 2 * len(bad))
        self.assertEqual(run.errors.count("is not of the form"), 2 * len(bad))

    def test_a_refusal_leaves_everything_as_it_was(self):
        self.assert_refuses(self.mac(), 64, "the partner's identifier 'Pé' is not of the form", "--team", "T2",
                            "--partner", "Pé")

    def test_a_profile_with_a_non_ascii_identifier_is_refused(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="Pé")
        self.assert_refuses(mac, 64, "the partner's identifier in the profile is not of the form")

    def test_a_profile_that_was_not_filled_in_is_refused(self):
        mac = self.mac()
        mac.set_profile(teamID="[team identifier]", partnerID="[partner identifier]")
        self.assert_refuses(mac, 64, "the team's identifier in the profile is not of the form")

    def test_a_profile_with_an_empty_identifier_is_refused(self):
        mac = self.mac()
        mac.set_profile(teamID="", partnerID="P1")
        self.assert_refuses(mac, 64, "the team's identifier in the profile is not of the form", *BOTH)

    def test_a_missing_identifier_is_refused(self):
        self.assert_refuses(self.mac(), 64, "the partner's identifier is neither given nor set", "--team", "T2")

    def test_unknown_and_empty_options_are_refused(self):
        mac = self.mac()
        for arguments in [["--frobnicate"], ["T2"], ["--team"], ["--team", ""], [""], ["--tea", "T2"]]:
            with self.subTest(arguments):
                self.assert_refused(mac.run("install.sh", *arguments), 64, "quillmark: ")

    def test_whoever_is_not_root_is_refused(self):
        mac = self.mac()
        self.assert_refused(mac.run("install.sh", *BOTH, user="ann"), 64, "run this as root")


class NobodyThere(RefusingTest):
    def test_nobody_at_the_screen_touches_nothing(self):
        mac = self.mac()
        mac.leave_screen()
        self.assert_refuses(mac, 75, "nobody is at the screen", *BOTH)

    def test_the_systems_own_accounts_are_nobody(self):
        for name in ["", "root", "loginwindow", "_mbsetupuser"]:
            with self.subTest(name):
                mac = self.mac()
                mac.put_at_screen(name)
                self.assert_refuses(mac, 75, "nobody is at the screen", *BOTH)


class UnfitPaths(RefusingTest):
    def test_a_blank_or_a_shell_character_in_the_home_is_refused(self):
        for home in ["Ann B", "a$b", "a;b", "a'b", "a*b", "a\\b"]:
            with self.subTest(home):
                self.assert_refuses(self.mac(home=home), 65, f"shell character in '/Users/{home}'", *BOTH)

    def test_each_character_that_means_something_to_a_shell_is_found_by_either_shell(self):
        text = (KIT / "install.sh").read_text()
        function = text[text.index("survives_shell() {"):]
        function = function[:function.index("\n}\n") + 3]
        fit, unfit = "/Users/jörg+東京=1%,@~#^.-_:!", " \t\r\v\f\n\x01\x7f\"'`\\$&;|<>*?[](){}"
        for shell in [["dash"], ["bash", "--posix"]]:
            script = f'{function}for path; do survives_shell "$path"; echo $?; done'
            told = subprocess.run([*shell, "-c", script, "sh", fit, *(f"/Users/a{sign}b" for sign in unfit)],
                                  env={"PATH": os.environ["PATH"]}, stdout=subprocess.PIPE, text=True, check=True)
            self.assertEqual(told.stdout.split(), ["0"] + ["1"] * len(unfit), shell)

    def test_a_blank_in_the_temporary_folder_is_refused(self):
        mac = self.mac(temporary="/private/var/folders/x x/T")
        self.assert_refuses(mac, 65, "shell character in '/private/var/folders/x x/T/'", *BOTH)

    def test_letters_of_other_scripts_and_harmless_signs_are_not(self):
        mac = self.mac(home="jörg+東京=1%@~#^")
        self.assert_status(mac.install(*BOTH), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)


class Missing(RefusingTest):
    def test_without_components_the_installer_is_not_started(self):
        mac = self.mac()
        shutil.rmtree(mac.fleet_copy / "components")
        self.assert_refuses(mac, 69, f"'{FLEET_COPY}/components' is not there", *BOTH)

    def test_without_the_installer(self):
        mac = self.mac()
        shutil.rmtree(mac.fleet_copy)
        self.assert_refuses(mac, 69, "Quillmark Installer' is not there", *BOTH)

    def test_without_its_payload(self):
        for name in ["Quillmark.app", "client.up.tunnelblick.sh", "client.down.tunnelblick.sh"]:
            with self.subTest(name):
                mac = self.mac()
                item = mac.payload / name
                item.rename(mac.fleet_copy / INSTALLER / name)
                self.assert_refuses(mac, 69, f"Contents/Resources/{name}' is not there", *BOTH)

    def test_without_the_licence_text(self):
        self.assert_refuses(self.mac("--no-licence"), 69, "does not name this Mac's release", *BOTH)

    def test_with_a_licence_text_whose_heading_names_no_release(self):
        self.assert_refuses(self.mac("--release", ""), 69, "does not name this Mac's release", *BOTH)

    def test_without_a_component_for_this_release(self):
        self.assert_refuses(self.mac("--release", "Tahoe"), 69,
                            f"there is no component for this Mac: '{FLEET_COPY}/components/WGComponents/Tahoe/", *BOTH)

    def test_with_two_headings(self):
        self.assert_refuses(self.mac("--release", "Sonoma", "--release", "Sequoia"), 69,
                            "there is no component for this Mac", *BOTH)

    def test_without_a_home(self):
        mac = self.mac()
        mac.add_account("ben", 502, STANDARD, "/Users/ben", "/private/var/folders/yy/T")
        mac.put_at_screen("ben")
        mac.at("/Users/ben").rmdir()
        self.assert_refuses(mac, 69, "the home folder '/Users/ben' is not there", *BOTH)


class Hanging(FleetTest):
    """The limit is reached soon, for "sleep" returns at once here."""

    def mac(self, *options, **more):
        folder = super().mac().folder / "stand-ins"
        shutil.copytree(STAND_INS, folder)
        (folder / "sleep").symlink_to("/usr/bin/true")
        return super().mac(*options, stand_ins=folder, **more)

    def test_an_installer_that_does_not_end_is_ended_after_the_limit(self):
        mac = self.mac()
        mac.replace_installer(HANGING)
        self.assert_refused(mac.run("install.sh", *BOTH), 70, "did not end within 300 seconds and has been ended")
        self.assertFalse(mac.at(LOCK).exists())

    def test_an_installer_that_is_deaf_is_killed_with_all_that_it_started(self):
        mac = self.mac()
        mac.replace_installer(DEAF)
        script = '/bin/sh "$@"; echo "status $?"; /bin/ps -A -o comm='
        mac.run("install.sh", *BOTH)
        run = mac.execute("/bin/sh", "-c", script, "sh", "/Library/Management/install.sh", *BOTH)
        self.assertIn("status 70\n", run.output)
        self.assertNotIn("tail", run.output)

    def test_an_installer_that_ends_in_time_is_not_ended(self):
        mac = self.mac()
        mac.replace_installer("exit 7")
        self.assert_status(mac.run("install.sh", *BOTH), 3)


class OneAtATime(FleetTest):
    def test_a_second_script_does_not_start_while_the_first_is_at_work(self):
        mac = self.mac()
        # The second one is root too, like the first, and not the user as whom the installer runs.
        mac.replace_installer('unset STAND_IN_USER; printf "%s\\n" "$@" >> "$HOME/starts"; '
                              '/bin/sh /Library/Management/install.sh --team T4 --partner P3; echo "second: $?"')
        run = mac.run("install.sh", *BOTH)
        self.assertIn("second: 75\n", run.output)
        self.assertIn("another installation or removal is at work", run.errors)
        self.assertEqual((mac.home / "starts").read_text().split(), ["-teamID", "T2", "-partnerID", "P1"])

    def test_a_lock_whose_owner_has_gone_is_taken_over(self):
        mac = self.mac()
        mac.write(f"{LOCK}/owner", "999999\n")
        self.assert_starts(mac)

    def test_a_lock_whose_owner_lives_is_respected(self):
        run = self.run_beside_a_lock(self.mac(), "now")
        self.assert_refused(run, 75, "another installation or removal is at work")

    def test_a_lock_that_has_just_been_made_is_respected(self):
        mac = self.mac()
        mac.at(LOCK).mkdir()
        self.assert_refused(mac.run("install.sh", *BOTH), 75, "another installation or removal is at work")

    def test_a_lock_older_than_an_hour_is_taken_over_whoever_has_its_owners_number_now(self):
        mac = self.mac()
        mac.replace_installer(NOTES_ITS_ARGUMENTS)
        self.assert_status(self.run_beside_a_lock(mac, "61 minutes ago"), 3)
        self.assertTrue((mac.home / "arguments").exists())
        self.assertFalse(mac.at(LOCK).exists())

    def run_beside_a_lock(self, mac, made):
        """Runs the script while there is a lock made at that time, whose owner lives."""
        return mac.execute("/bin/sh", "-c", f"""
            mkdir {LOCK}
            echo $$ > {LOCK}/owner
            touch -d '{made}' {LOCK}
            /bin/sh "$@" || exit""", "sh", mac.bring("install.sh"), *BOTH)

    def test_of_many_that_find_a_stale_lock_one_starts(self):
        mac = self.mac()
        mac.write(f"{LOCK}/owner", "999999\n")
        mac.replace_installer('echo start >> "$HOME/starts"; sleep 3')
        mac.bring("install.sh")
        run = mac.execute("/bin/sh", "-c", """
            for i in 1 2 3 4 5 6; do
              { /bin/sh /Library/Management/install.sh --team T2 --partner P1; echo "ended=$?"; } &
            done
            wait""")
        statuses = sorted(line for line in run.output.splitlines() if line.startswith("ended="))
        self.assertEqual(statuses, ["ended=3"] + ["ended=75"] * 5)
        self.assertEqual((mac.home / "starts").read_text(), "start\n")
        self.assertFalse(mac.at(LOCK).exists())

    def test_an_installer_that_a_person_has_open_is_waited_for(self):
        downloaded = Path(tempfile.mkdtemp()) / "downloaded"
        self.addCleanup(shutil.rmtree, downloaded.parent)
        shutil.copytree(DISTRIBUTION, downloaded, symlinks=True)
        shutil.copy("/usr/bin/tail", downloaded / EXECUTABLE)
        mac = self.mac(distribution=downloaded)
        mac.bring("install.sh")
        run = mac.execute("/bin/sh", "-c", """
            "$0" -f /dev/null &
            until /bin/ps -A -o comm= | grep -q "Quillmark Installer$"; do sleep 0.1; done
            /bin/sh /Library/Management/install.sh --team T2 --partner P1
            echo "ended=$?"
            kill $!""", mac.places["installer"])
        self.assertEqual(run.output, "ended=75\n")
        self.assertIn("the installer is open; it has to be quit first", run.errors)
        self.assertFalse(mac.at(LOCK).exists())

    def test_a_script_that_the_management_tool_ends_takes_its_installer_with_it(self):
        mac = self.mac()
        mac.replace_installer(f'touch "$HOME/started"; {HANGING}')
        mac.bring("install.sh")
        run = mac.execute("/bin/sh", "-c", """
            /bin/sh /Library/Management/install.sh --team T2 --partner P1 &
            until [ -e "$HOME/started" ]; do sleep 0.1; done
            kill $!
            wait $!
            echo "ended=$?"
            /bin/ps -A -o comm=""")
        self.assertIn("ended=143\n", run.output)
        self.assertNotIn("tail", run.output)
        self.assertFalse(mac.at(LOCK).exists())

    def assert_starts(self, mac):
        mac.replace_installer(NOTES_ITS_ARGUMENTS)
        self.assert_status(mac.run("install.sh", *BOTH), 3)
        self.assertTrue((mac.home / "arguments").exists())
        self.assertFalse(mac.at(LOCK).exists())
