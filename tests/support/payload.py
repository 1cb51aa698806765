"""The names of what an installation brings besides the client."""

import subprocess

from support import REPOSITORY

SCRIPTS = ["client.up.tunnelblick.sh", "client.down.tunnelblick.sh"]
VPN_FILES = subprocess.run(REPOSITORY / "tools/vpn-files", check=True, capture_output=True, text=True).stdout.split()
