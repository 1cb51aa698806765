"""The road of an administrator of a fleet, from the package to the removal."""

from support.case import MANAGED_MARKER
from support.fleet import AGENT, CLIENT, KIT, PEOPLE, RECEIPT, FleetTest
from support.tree import differences, tree


class Road(FleetTest):
    def test_of_the_package_to_everybody_and_away_again(self):
        mac = self.mac()
        before = mac.everything_else()
        mac.log_out("bob")
        self.assert_status(mac.install_package(), 0)
        report = mac.run("status")
        self.assert_verdict(report, "not-installed")
        for name, verdict in [("adam", "complete"), ("ann", "complete"), ("bob", "not-installed")]:
            self.assertEqual(report.of(name)["verdict"], verdict, mac.log_of("ann"))
        self.assertEqual(mac.marker.read_bytes(), MANAGED_MARKER)
        client = mac.at(f"{KIT}/Quillmark Installer.app/Contents/Resources/Quillmark.app")
        self.assertEqual(differences(tree(mac.at("/Users/ann/Applications/Quillmark.app")), tree(client)), {})
        mac.log_in("bob")
        self.assert_status(mac.at_login("bob"), 0)
        self.assert_verdict(mac.run("status"), "complete")
        self.assert_status(mac.at_login("bob"), 0)
        self.assertIn("everything of this person is there", mac.log_of("bob"))
        for name in ["adam", "bob"]:
            mac.log_out(name)
        self.assert_status(mac.install_package("1.1"), 0)
        report = mac.run("status")
        self.assertEqual([report.of(name)["verdict"] for name in PEOPLE], ["older-version", "complete", "older-version"])
        self.assertIn("kit=1.1\npackage=1.1\n", report.output)
        self.assert_status(mac.run("remove"), 0)
        for item in [AGENT, CLIENT, KIT, RECEIPT, *(f"/Users/{name}/Quillmark_Components" for name in PEOPLE),
                     *(f"/Users/{name}/Applications/Quillmark.app" for name in PEOPLE)]:
            self.assertFalse(mac.at(item).exists(), item)
        self.assertEqual(differences(mac.everything_else(), before), {})
