"""A managed installation for each release and processor of the list, on the heading of its licence."""

import re

from support.case import BOTH, MANAGED_MARKER, SystemTest, installation_lines

from releases import RELEASES


class Releases(SystemTest):
    def install(self, release, processor):
        mac = self.mac("--release", release.name or release.version, "--processor", processor)
        installer = self.start(mac, *BOTH)
        self.assertEqual(installer.wait_for_end(), 0)
        folder = release.folder(processor)
        self.assertEqual(installer.console(), installation_lines(folder) if folder else [
            "Directory Created", "-" * 28, "the command printed nothing, so there is no last character to drop"])
        self.assert_applications(mac)
        self.assert_staged(mac, folder, MANAGED_MARKER)


def add_test(release, processor):
    name = re.sub(r"\W", "_", f"test_{release.version}_{release.name or 'has no name'}_on_{processor}")
    setattr(Releases, name, lambda self: self.install(release, processor))


for one in RELEASES:
    for of in one.processors:
        add_test(one, of)
