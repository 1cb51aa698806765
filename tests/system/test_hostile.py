"""What somebody gains who chooses the texts and paths that an installation takes, or its environment: the user's own rights
and no more."""

import shutil
import tempfile
from pathlib import Path

from support.case import BOTH, COMPONENT, MANAGED_MARKER, SystemTest, installation_lines
from support.mac import DISTRIBUTION, component
from support.tree import tree

USER_ID = "501\n"
# From the folder in which the component's one is looked for up to the root.
UP = "../../../../../.."


class HostileTest(SystemTest):
    def install(self, mac):
        """Answers with the console of a managed run."""
        installer = self.start(mac, *BOTH)
        self.assertEqual(installer.wait_for_end(), 0)
        return installer.console()


class HostileEnvironment(HostileTest):
    def test_a_path_that_leads_to_another_cp_runs_it_as_the_user_and_changes_the_component_only(self):
        mac = self.mac(variables={"PATH": "/private/tmp/hostile:/usr/local/bin:/usr/bin"})
        hostile = mac.at("/private/tmp/hostile/cp")
        hostile.parent.mkdir()
        hostile.write_text("#!/bin/sh\nid -u > $HOME/who\n")
        hostile.chmod(0o755)
        self.assertEqual(self.install(mac), installation_lines("Sonoma"))
        self.assertEqual((mac.home / "who").read_text(), USER_ID)
        self.assert_applications(mac)
        self.assert_staged(mac, None, MANAGED_MARKER)


class HostileTemporaryFolder(HostileTest):
    def test_a_command_in_its_path_is_run_with_the_users_rights_and_no_others(self):
        # It tells who runs it in the home, in the folder of all homes and in the root, where the user may not write.
        mac = self.mac(temporary="/private/var/folders/x;cd;id -u>who;cd ..;id -u>who;cd ..;id -u>who;/T")
        self.assertEqual(self.install(mac), installation_lines("Sonoma"))
        self.assertEqual((mac.home / "who").read_text(), USER_ID)
        self.assertEqual([place for place in ("/Users/who", "/who") if mac.at(place).exists()], [])
        self.assert_applications(mac)
        self.assert_staged(mac, None, MANAGED_MARKER)

    def test_what_somebody_else_left_there_and_cannot_be_removed_is_staged_in_the_components_place(self):
        """As in a temporary folder that others share: what is theirs cannot be removed, only copied."""
        mac = self.mac()
        planted = mac.temporary / COMPONENT
        (planted / "bin").mkdir(parents=True)
        (planted / "bin/wireguard").write_text("theirs\n")
        for folder in [planted / "bin", planted]:
            folder.chmod(0o555)
        before = tree(planted)
        self.assertEqual(self.install(mac), installation_lines("Sonoma"))
        self.assert_same_tree(tree(planted), before)
        self.assert_same_tree(tree(mac.staging_folder / COMPONENT), before)


class HostileReleaseText(HostileTest):
    def test_a_command_in_it_is_not_run(self):
        for release in ["$(id>$HOME/who)", "`id>$HOME/who`", "'; id>$HOME/who; '", "x' ; system(\"id>who\") ; '"]:
            with self.subTest(release):
                mac = self.mac("--release", release)
                self.assertEqual(self.install(mac), installation_lines(release))
                self.assertFalse((mac.home / "who").exists())
                self.assert_applications(mac)
                self.assert_staged(mac, None, MANAGED_MARKER)

    def test_one_that_leads_elsewhere_takes_what_its_user_may_read_and_nothing_else(self):
        release = f"{UP}/private/tmp/elsewhere"
        mac = self.mac("--release", release)
        elsewhere = mac.at("/private/tmp/elsewhere") / COMPONENT
        elsewhere.mkdir(parents=True)
        (elsewhere / "diary").write_text("mine\n")
        self.assertEqual(self.install(mac), installation_lines(release))
        self.assert_same_tree(tree(mac.staging_folder / COMPONENT), tree(elsewhere))
        shutil.rmtree(elsewhere)
        elsewhere.write_text("theirs\n")
        elsewhere.chmod(0)
        self.assertEqual(self.install(mac), installation_lines(release))
        self.assert_applications(mac)
        self.assert_staged(mac, None, MANAGED_MARKER)


class HostileComponents(HostileTest):
    def test_what_somebody_exchanged_beside_the_installer_is_installed_unseen(self):
        """No signature covers the folder, and the installer looks into nothing that it copies."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        distribution = Path(folder.name) / "distribution"
        shutil.copytree(DISTRIBUTION, distribution, symlinks=True)
        (distribution / "components/WGComponents/Sonoma" / COMPONENT / "bin/wireguard").write_text("theirs\n")
        mac = self.mac(distribution=distribution)
        self.assertEqual(self.install(mac), installation_lines("Sonoma"))
        self.assertEqual((mac.staging_folder / COMPONENT / "bin/wireguard").read_text(), "theirs\n")


class HostileLinks(HostileTest):
    def test_what_a_link_in_the_place_of_an_installed_item_leads_to_stays_as_it_is(self):
        """Whoever may write in the home or in Applications may plant them: the links are replaced, never followed."""
        mac = self.mac()
        victim = mac.at("/private/tmp/victim")
        (victim / "Contents").mkdir(parents=True)
        (victim / "Contents/diary").write_text("mine\n")
        before = tree(victim)
        for link in [mac.staging_folder, mac.system_application, mac.user_application, mac.temporary / COMPONENT]:
            link.symlink_to("/private/tmp/victim")
        self.assertEqual(self.install(mac), installation_lines("Sonoma"))
        self.assert_same_tree(tree(victim), before)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assert_same_tree(tree(mac.temporary / COMPONENT), tree(component("Sonoma")))
