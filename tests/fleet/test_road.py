"""The road of an administrator from the first check to the last."""

from support.case import MANAGED_MARKER
from support.fleet import BOTH, STANDARD, FleetTest


class Road(FleetTest):
    """An administrator's whole road, with Debian's shell and with bash in its POSIX mode, which is a Mac's /bin/sh."""

    def go(self, mac, *shell):
        self.assert_status(mac.check(*BOTH, shell=shell), 1)
        self.assert_status(mac.install(*BOTH, shell=shell), 0)
        self.assert_status(mac.check(*BOTH, shell=shell), 0)
        self.assert_status(mac.install(*BOTH, shell=shell), 0)
        self.assert_installed(mac, marker=MANAGED_MARKER)
        self.assert_status(mac.run("remove.sh", shell=shell), 0)
        self.assert_status(mac.check(*BOTH, shell=shell), 1)
        self.assert_status(mac.install("--team", "Pé", "--partner", "P1", shell=shell), 64)
        mac.leave_screen()
        self.assert_status(mac.install(*BOTH, shell=shell), 75)

    def test_of_an_administrators_mac(self):
        self.go(self.mac(), "/bin/sh")

    def test_of_an_administrators_mac_with_bash(self):
        self.go(self.mac(), "/bin/bash", "--posix")

    def test_of_a_standard_users_mac(self):
        self.go(self.mac(groups=STANDARD), "/bin/sh")

    def test_of_a_standard_users_mac_with_bash(self):
        self.go(self.mac(groups=STANDARD), "/bin/bash", "--posix")
