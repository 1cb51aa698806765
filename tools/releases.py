"""The releases of macOS, by what the installer knows them by: the heading of the licence that the Setup Assistant shows.

The probe takes what follows the last "macOS " of that line, without the line's last character, for the name of the
release. Which character that is differs, and so a release may have another name here than in the world.
"""

from typing import NamedTuple

# What the probe read on a real system's text; and what follows from Apple's naming or from another program's tests.
MEASURED, INFERRED = "measured on a sample", "inferred"
INTEL, APPLE_SILICON = "x86_64", "arm64"
BY_PROCESSOR = {INTEL: "osIntel", APPLE_SILICON: "osM1"}


class Release(NamedTuple):
    version: str
    heading: str  # as RTF, from "FOR" on
    name: str  # what the probe makes of it; empty where it finds no heading, and the installation ends
    known: str
    processors: tuple = (INTEL, APPLE_SILICON)

    def folder(self, processor):
        """Where below WGComponents such a Mac looks for its component."""
        return BY_PROCESSOR[processor] if self.name in ("Big Sur", "Monterey") else self.name


# A release stands here twice for as long as nobody has seen how its heading ends.
RELEASES = [
    Release("10.8", "OS X MOUNTAIN LION\\", "", INFERRED, (INTEL,)),
    Release("10.9", "OS X MAVERICKS\\", "", MEASURED, (INTEL,)),
    Release("10.10", "OS X YOSEMITE\\", "", MEASURED, (INTEL,)),
    Release("10.11", "OS X EL CAPITAN\\", "", MEASURED, (INTEL,)),
    Release("10.12", "macOS Sierra\\", "Sierra", MEASURED, (INTEL,)),
    Release("10.13", "macOS High Sierra\\", "High Sierra", MEASURED, (INTEL,)),
    Release("10.14", "macOS Mojave\n\\", "Mojav", MEASURED, (INTEL,)),
    Release("10.15", "macOS Catalina\\", "Catalina", MEASURED, (INTEL,)),
    Release("11", "macOS Big Sur\\", "Big Sur", MEASURED),
    Release("12", "macOS Monterey\\", "Monterey", MEASURED),
    Release("13", "macOS Ventura\\", "Ventura", MEASURED),
    Release("14", "macOS Sonoma\\", "Sonoma", MEASURED),
    Release("15", "macOS Sequoia\\", "Sequoia", MEASURED),
    Release("26", "macOS Tahoe 26\\", "Tahoe 26", INFERRED),
    Release("26", "macOS Tahoe 26\n\\", "Tahoe 2", INFERRED),
    Release("27", "macOS Golden Gate 27\\", "Golden Gate 27", INFERRED, (APPLE_SILICON,)),
    Release("27", "macOS Golden Gate\\", "Golden Gate", INFERRED, (APPLE_SILICON,)),
    Release("seed", "APPLE CONFIDENTIAL macOS PRE-RELEASE SEED SOFTWARE\\", "", MEASURED),
]


def heading(release):
    """The licence's heading of a release by its version or its name here, or one with any other name."""
    shape = next((one.heading for one in RELEASES if release in (one.version, one.name) and release),
                 f"macOS {release}\\")
    return f"\\f0\\b SOFTWARE LICENSE AGREEMENT FOR {shape}\n"


def of_version(version):
    """The rows of a version with all its numbers, such as 10.14.6 or 26.1."""
    return [one for one in RELEASES if f"{version}.".startswith(f"{one.version}.")]


def folders():
    """The folders of components that serve every Mac, each once, in order."""
    return list(dict.fromkeys(one.folder(processor) for one in RELEASES if one.name for processor in one.processors))
