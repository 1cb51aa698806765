"""What the scripts of the package say and do in the situations of a fleet, under each shell and awk of a Mac."""

import json
import re
import subprocess

from support import REPOSITORY
from support.case import INTERACTIVE_MARKER, managed_marker
from support.fleet import CLIENT, DOMAIN, KIT, STATE, FleetTest, set_version
from support.mac import EXECUTABLE

LICENCE = "/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf"
HELPER = f"{DOMAIN}.Helper"


class Shells(FleetTest):
    def work_under(self, shell, awk):
        mac = self.furnished_mac(shell=shell, awk=awk)
        (mac.home / "Quillmark_Components/installationHelper.txt").write_bytes(INTERACTIVE_MARKER)
        report = mac.run("status", "--json")
        self.assertEqual(report.errors, "")
        told = json.loads(report.output)
        self.assertEqual([person["verdict"] for person in told["people"]], ["complete", "other-identifiers", "complete"])
        self.assertEqual(mac.run("status", "--for-release", "Big Sur").of("bob")["component_expected"], "osM1")
        login = mac.at_login("ann")
        self.assertEqual((login.status, login.errors), (0, ""))
        self.assert_verdict(mac.run("status", user="ann"), "complete")
        self.assert_limits(mac)
        removal = mac.run("remove", "--quit")
        self.assertEqual((removal.status, removal.errors), (0, ""))

    def assert_limits(self, mac):
        """64 KiB and a time, whatever the command does about it; what keeps its output open has not answered."""
        for command, size, least, most in [("yes", 65536, 0, 2), ("echo all", 4, 0, 2), ("sleep 60", 0, 1, 3),
                                           ("sh -c 'trap \"\" TERM; echo one; sleep 60; sleep 60'", 0, 3, 6),
                                           ("sh -c 'echo two; sleep 60 & sleep 60'", 0, 1, 6)]:
            run = mac.execute("/bin/sh", "-c", f". '{KIT}/common'; limited 1 {command} | wc -c")
            self.assertEqual((int(run.output), run.errors), (size, ""), command)
            self.assertTrue(least <= run.seconds < most + 2, f"{command}: {run.seconds}")

    def test_dash_and_original_awk(self):
        self.work_under("dash", "original-awk")

    def test_bash_and_mawk(self):
        self.work_under("bash", "mawk")

    def test_zsh_and_original_awk(self):
        self.work_under("zsh", "original-awk")


class Verdicts(FleetTest):
    def test_of_a_person_whose_part_lacks_something(self):
        mac = self.furnished_mac()
        staging, applications = mac.home / "Quillmark_Components", mac.home / "Applications"
        self.assert_verdict(mac.run("status", "--at-screen"), "complete")
        for change, finding, verdict in [
                (lambda: set_version(applications / "Quillmark.app", "0.9"), ("user_client", "older"), "older-version"),
                (lambda: set_version(applications / "Quillmark.app", "1.0.1"), ("user_client", "newer"), "complete"),
                (lambda: (staging / "installationHelper.txt").write_bytes(managed_marker("T2", "P1")), ("marker", "other"),
                 "other-identifiers"),
                (lambda: (staging / "client.up.tunnelblick.sh").unlink(), ("scripts", "absent"), "incomplete"),
                (lambda: subprocess.run(["rm", "-r", staging, applications / "Quillmark.app"], check=True),
                 ("marker", "absent"), "not-installed")]:
            change()
            report = mac.run("status", "--at-screen")
            self.assert_verdict(report, verdict)
            self.assertEqual(report.of("ann")[finding[0]], finding[1])
            self.assertEqual(report.status, 0 if verdict == "complete" else 1)

    def test_of_what_cannot_be_installed_have_a_reason_and_the_agent_does_nothing(self):
        mac = self.furnished_mac()
        subprocess.run(["rm", "-r", mac.home / "Quillmark_Components"], check=True)
        licence = mac.at(LICENCE).read_text()
        settings = f"/Library/Managed Preferences/{DOMAIN}.plist"
        for reason, change, undo in [
                ("identifiers", mac.at(settings).unlink, mac.set_identifiers),
                ("identifiers", lambda: mac.set_identifiers(team="-x"), mac.set_identifiers),
                ("identifiers", lambda: mac.set_identifiers(partner="Pé"), mac.set_identifiers),
                ("identifiers", lambda: mac.set_identifiers(team="T" * 65), mac.set_identifiers),
                ("path", lambda: mac.write(f"{STATE}/temporary-502", "/private/var/a b/T/"),
                 lambda: mac.at(f"{STATE}/temporary-502").unlink()),
                ("release", lambda: mac.write(LICENCE, "nothing"), lambda: mac.write(LICENCE, licence)),
                ("component", lambda: mac.write(LICENCE, licence.replace("Sonoma", "Tahoe")),
                 lambda: mac.write(LICENCE, licence))]:
            change()
            report = mac.run("status", "--at-screen")
            self.assertEqual((report.of("ann")["reason"], report.verdict, report.status), (reason, "cannot", 0))
            self.assert_status(mac.run("at-login", user="ann"), 0)
            self.assertIn(f"nothing can be installed: {reason}", mac.log_of("ann"))
            undo()
        self.assert_verdict(mac.run("status", "--at-screen"), "incomplete")

    def test_of_another_release_are_told_before_the_upgrade(self):
        mac = self.furnished_mac()
        for release, verdict, component in [("Sonoma", "complete", "Sonoma"), ("Sequoia", "incomplete", "Sequoia"),
                                            ("Big Sur", "incomplete", "osM1"), ("Tahoe", "cannot", "Tahoe")]:
            report = mac.run("status", "--for-release", release)
            self.assert_verdict(report, verdict)
            self.assertEqual(report.of("ann")["component_expected"], component)
        self.assert_status(mac.run("status", "--for-release", "a;b"), 64)
        self.assert_status(mac.run("status", "--everything"), 64)


class Identifiers(FleetTest):
    def test_are_what_a_profile_or_root_has_set_and_never_what_the_person_has(self):
        mac = self.mac(identifiers=False)
        mac.install_package(agents=False)
        mac.set_identifiers("/Users/ann/Library/Preferences", team="Own")
        self.assertEqual(mac.run("status", user="ann").of("ann")["team"], "(none)")
        for place, team in [("/Library/Preferences", "Set"), ("/Library/Managed Preferences", "Forced"),
                            ("/Library/Managed Preferences/ann", "Hers")]:
            mac.set_identifiers(place, team=team)
            self.assertEqual(mac.run("status", user="ann").of("ann")["team"], team)
        self.assertEqual(mac.run("status", user="bob").of("bob")["team"], "Forced")
        mac.at_login("ann")
        self.assertEqual((mac.home / "Quillmark_Components/installationHelper.txt").read_bytes(), managed_marker("P1", "Hers"))


class Versions(FleetTest):
    def test_a_client_that_updated_itself_is_not_put_back(self):
        mac = self.furnished_mac()
        for place in [CLIENT, "/Users/ann/Applications/Quillmark.app"]:
            set_version(mac.at(place), "2.0")
        self.assert_status(mac.install_package("1.1"), 0)
        for place in [CLIENT, "/Users/ann/Applications/Quillmark.app"]:
            self.assertIn(b"<string>2.0", mac.at(f"{place}/Contents/Info.plist").read_bytes())
        self.assert_verdict(mac.run("status", "--at-screen"), "complete")


class Agent(FleetTest):
    def test_ends_an_installer_that_does_not_end_by_itself(self):
        mac = self.furnished_mac()
        subprocess.run(["rm", "-r", mac.home / "Quillmark_Components"], check=True)
        script = mac.at(f"{KIT}/at-login")
        script.write_text(script.read_text().replace("limitInSeconds=300", "limitInSeconds=1"))
        mac.write(f"{KIT}/{EXECUTABLE}", "#!/bin/sh\nexec sleep 60\n")
        self.assertLess(mac.run("at-login", user="ann").seconds, 15)
        self.assertIn("the installer ended with the status 143", mac.log_of("ann"))


class Postinstall(FleetTest):
    def test_with_nobody_logged_in_or_in_setup_assistant_ends_well_and_writes_nothing(self):
        mac = self.mac()
        for name in ["adam", "ann", "bob"]:
            mac.log_out(name)
        before = mac.everything_else()
        for number in [0, 248]:
            mac.put_at_screen("root")
            subprocess.run(["chown", str(number), mac.console], check=True)
            self.assert_status(mac.install_package(), 0)
        self.assertEqual(mac.everything_else(), before)
        self.assert_verdict(mac.run("status"), "not-installed")
        report = mac.run("status", "--at-screen", "--json")
        self.assertEqual(json.loads(report.output), {"kit": "1.0", "package": "1.0", "people": [], "verdict": "nobody"})
        self.assert_status(report, 0)


class Removal(FleetTest):
    def test_takes_the_helpers_job_and_tool_and_leaves_and_names_rights_and_settings(self):
        mac = self.furnished_mac()
        tools = [f"/Library/LaunchDaemons/{HELPER}.plist", f"/Library/PrivilegedHelperTools/{HELPER}"]
        for path in [*tools, f"{STATE}/job-{HELPER}", "/private/var/folders/502/T/ca.crt"]:
            mac.write(path, "")
        removal = mac.run("remove")
        self.assert_status(removal, 0)
        for line in [f"removed=job {HELPER}", *(f"removed={path}" for path in tools),
                     "kept=authorization right com.example.apple-samplecode.EBAS.install, which other programs may own",
                     f"kept=/Library/Managed Preferences/{DOMAIN}.plist"]:
            self.assertIn(line, removal.output.splitlines())
        self.assertTrue(mac.at("/private/var/folders/502/T/ca.crt").exists())

    def test_by_a_person_takes_that_persons_part_with_what_the_helper_left(self):
        mac = self.furnished_mac()
        for name in ["Quillmark.app/Contents/Info.plist", "client.key"]:
            mac.write(f"/private/var/folders/502/T/{name}", "")
        subprocess.run(["chown", "-R", "502:20", mac.at("/private/var/folders/502/T")], check=True)
        mac.log_out("ann")
        removal = mac.run("remove", user="ann")
        self.assert_status(removal, 0)
        self.assertEqual(list(mac.at("/private/var/folders/502/T").iterdir()), [])
        self.assertEqual([person["verdict"] for person in json.loads(mac.run("status", "--json").output)["people"]],
                         ["complete", "not-installed", "complete"])


class Consoles(FleetTest):
    def test_what_is_pasted_is_five_lines_at_most_and_tells_the_verdict(self):
        mac = self.furnished_mac()
        found = {}
        for snippet in sorted((REPOSITORY / "deploy/consoles").iterdir()):
            self.assertLessEqual(len(snippet.read_text().splitlines()), 5)
            mac.write(f"/private/tmp/{snippet.name}", snippet.read_text())
            found[snippet.stem] = mac.execute("/bin/sh", f"/private/tmp/{snippet.name}")
        self.assertEqual(found["jamf-extension-attribute"].output, "<result>complete</result>\n")
        self.assertEqual(found["intune-custom-attribute"].output, "complete\n")
        self.assertEqual(found["iru-audit"].status, 0)
        mac.run("remove")
        for name, status, output in [("jamf-extension-attribute", 0, "<result>not-installed</result>\n"),
                                     ("intune-custom-attribute", 0, "not-installed\n"), ("iru-audit", 127, "")]:
            run = mac.execute("/bin/sh", f"/private/tmp/{name}.sh")
            self.assertEqual((run.status, run.output), (status, output))

    def test_the_readme_shows_them_as_they_are(self):
        shown = re.findall(r"```sh\n(#!/bin/sh\n.*?)```", (REPOSITORY / "deploy/README.md").read_text(), re.DOTALL)
        self.assertEqual(sorted(shown), sorted(path.read_text() for path in (REPOSITORY / "deploy/consoles").iterdir()))
