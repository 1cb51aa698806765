"""What remove.sh takes away, for everybody, and what it leaves."""

from support.fleet import BOTH, DOMAIN, STANDARD, FleetTest
from support.payload import SCRIPTS, VPN_FILES
from support.tree import tree

HELPER = "com.quillmark.customInstaller.Helper"
RIGHTS = ["com.example.apple-samplecode.EBAS.install", "com.example.apple-samplecode.EBAS.startWebService2"]
KEPT_RIGHTS = [f"kept=authorization right {right}, which other programs may own" for right in RIGHTS]
LOCK = "/var/run/com.quillmark.customInstaller.lock"


class RemoveTest(FleetTest):
    def removals(self, run, kind="removed"):
        return [line.removeprefix(f"{kind}=") for line in run.output.splitlines() if line.startswith(f"{kind}=")]


class Removing(RemoveTest):
    def test_a_mac_is_then_as_before_the_installation(self):
        mac = self.mac()
        mac.check()
        mac.make_mount_points()
        before = mac.everything()
        self.assert_status(mac.install(*BOTH), 0)
        run = mac.run("remove.sh")
        self.assert_status(run, 0)
        self.assertEqual(sorted(self.removals(run)), [
            "/Applications/Quillmark.app", "/Users/ann/Applications/Quillmark.app", "/Users/ann/Quillmark_Components",
            "/private/var/folders/xx/T/QuillmarkGuard"])
        scripts = {"Library/Management/install.sh", "Library/Management/remove.sh"}
        found = {path: item for path, item in mac.everything().items() if path not in scripts}
        self.assert_same_tree(found, before)
        self.assert_status(mac.check(*BOTH), 1)

    def test_the_installations_of_everybody_go(self):
        mac = self.installed_mac()
        mac.add_account("ben", 502, STANDARD, "/Users/ben", "/private/var/folders/yy/T")
        mac.add_account("service", 500, STANDARD, "/Users/service", "/private/var/folders/zz/T")
        for name in ["ben", "service"]:
            mac.write(f"/Users/{name}/Quillmark_Components/installationHelper.txt", "Device\nyes")
            mac.write(f"/Users/{name}/Applications/Quillmark.app/Contents/Info.plist", "")
            mac.write(f"/Users/{name}/Documents/mine", "")
        mac.write("/private/var/folders/yy/T/QuillmarkGuard/built-for", "Sonoma\n")
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertEqual(set(tree(mac.at("/Users/ben"))), {"Applications", "Documents", "Documents/mine"})
        self.assertEqual(tree(mac.at("/private/var/folders/yy/T")), {})
        self.assertIn("Quillmark_Components", set(tree(mac.at("/Users/service"))), "an account below 501")

    def test_nobody_need_be_at_the_screen(self):
        mac = self.installed_mac()
        mac.leave_screen()
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertFalse(mac.staging_folder.exists())
        self.assertFalse(mac.system_application.exists())

    def test_where_nothing_is_installed_nothing_is_removed(self):
        run = self.mac().run("remove.sh")
        self.assert_status(run, 0)
        self.assertEqual(run.output.splitlines(), KEPT_RIGHTS)

    def test_a_half_removed_client_and_its_copies_go(self):
        mac = self.mac()
        for name in ["Quillmark.app", ".Quillmark.app.new", ".Quillmark.app.old"]:
            mac.write(f"/Applications/{name}/Contents/x", "").parent.chmod(0o555)
        mac.write("/Applications/Other.app/Contents/x", "")
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertEqual([path.name for path in mac.at("/Applications").iterdir()], ["Other.app"])

    def test_the_defaults_of_everybody_and_of_the_mac_go(self):
        mac = self.mac()
        mac.set_own_defaults(teamID="T2", partnerID="P1")
        mac.add_account("ben", 502, STANDARD, "/Users/ben", "/private/var/folders/yy/T")
        mac.write_property_list(f"/Users/ben/Library/Preferences/{DOMAIN}.plist", {"teamID": "T2"})
        mac.write_property_list("/Users/ben/Library/Preferences/com.example.other.plist", {"teamID": "T2"})
        mac.write_property_list(f"/Library/Preferences/{DOMAIN}.plist", {"teamID": "T2"})
        run = mac.run("remove.sh")
        self.assert_status(run, 0)
        self.assertEqual(self.removals(run), [f"defaults ann's {DOMAIN}", f"defaults ben's {DOMAIN}",
                                              f"defaults /Library/Preferences/{DOMAIN}"])
        self.assertEqual([path.name for path in mac.at("/Users/ben/Library/Preferences").iterdir()],
                         ["com.example.other.plist"])

    def test_what_an_installation_through_the_helper_gathered_goes_with_it(self):
        mac = self.mac()
        mac.write("/private/var/folders/xx/T/Quillmark.app/Contents/x", "")
        for name in [*SCRIPTS, *VPN_FILES]:
            mac.write(f"/private/var/folders/xx/T/{name}", "")
        mac.write("/private/var/folders/xx/T/mine", "")
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertEqual([path.name for path in mac.temporary.iterdir()], ["mine"])

    def test_vpn_files_of_another_program_stay(self):
        mac = self.mac()
        for name in VPN_FILES:
            mac.write(f"/private/var/folders/xx/T/{name}", "")
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertEqual(sorted(path.name for path in mac.temporary.iterdir()), VPN_FILES)


class Helper(RemoveTest):
    def test_its_job_is_ended_and_its_files_go(self):
        mac = self.mac()
        job = mac.write(f"/private/var/db/stand-ins/jobs/{HELPER}", "")
        mac.write(f"/Library/LaunchDaemons/{HELPER}.plist", "")
        mac.write("/Library/LaunchDaemons/com.example.other.plist", "")
        mac.write(f"/Library/PrivilegedHelperTools/{HELPER}", "")
        run = mac.run("remove.sh")
        self.assert_status(run, 0)
        self.assertEqual(self.removals(run), [f"job {HELPER}", f"/Library/LaunchDaemons/{HELPER}.plist",
                                              f"/Library/PrivilegedHelperTools/{HELPER}"])
        self.assertFalse(job.exists())
        self.assertEqual([path.name for path in mac.at("/Library/LaunchDaemons").iterdir()],
                         ["com.example.other.plist"])


class Staying(RemoveTest):
    def test_the_authorization_rights_stay_and_it_says_so(self):
        self.assertEqual(self.mac().run("remove.sh").output.splitlines(), KEPT_RIGHTS)

    def test_a_profile_stays_and_it_says_what_that_means(self):
        mac = self.mac()
        mac.set_profile(teamID="T2", partnerID="P1")
        run = mac.run("remove.sh")
        self.assert_status(run, 0)
        self.assertEqual(run.output.splitlines(), [
            *KEPT_RIGHTS, f"kept=profile /Library/Managed Preferences/{DOMAIN}.plist, with which every later start of "
                          "the installer is a managed one"])
        self.assertTrue(mac.at(f"/Library/Managed Preferences/{DOMAIN}.plist").exists())


class Failing(RemoveTest):
    def test_what_cannot_be_removed_is_named_and_the_rest_goes(self):
        mac = self.installed_mac()
        mac.staging_folder.chmod(0o555)
        run = mac.run("remove.sh")
        self.assert_status(run, 70)
        self.assertEqual(self.removals(run, "failed"), ["/Users/ann/Quillmark_Components"])
        self.assertFalse(mac.system_application.exists())
        self.assertFalse(mac.user_application.exists())

    def test_an_argument_is_refused(self):
        self.assert_refused(self.mac().run("remove.sh", "--all"), 64, "'--all' is not known; there are no options")

    def test_whoever_is_not_root_is_refused(self):
        self.assert_refused(self.mac().run("remove.sh", user="ann"), 64, "run this as root")

    def test_nothing_is_removed_while_an_installation_is_at_work(self):
        mac = self.installed_mac()
        mac.bring("remove.sh")
        mac.replace_installer("unset STAND_IN_USER; /bin/sh /Library/Management/remove.sh; echo \"removal: $?\"")
        run = mac.run("install.sh", *BOTH)
        self.assertIn("removal: 75\n", run.output)
        self.assert_status(run, 0)

    def test_a_link_in_a_home_does_not_lead_root_astray(self):
        mac = self.mac()
        mac.write("/Users/ben/Quillmark.app/x", "")
        mac.write("/Users/ben/mine", "")
        mac.staging_folder.symlink_to("/Users/ben")
        self.assert_status(mac.run("remove.sh"), 0)
        self.assertFalse(mac.staging_folder.is_symlink())
        self.assertEqual(set(tree(mac.at("/Users/ben"))), {"Quillmark.app", "Quillmark.app/x", "mine"})
