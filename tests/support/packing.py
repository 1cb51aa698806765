"""Runs tools/package, and knows the names of what goes in and comes out."""

import subprocess

from inspection import product

FOLDER = "Quillmark Installer"
BUNDLE = "Quillmark Installer.app"
CONTENTS = f"{BUNDLE}/Contents"
VERSION = product.project_version()
ARCHIVE = f"Quillmark-Installer-{VERSION}-for-inspection.zip"


def package(*arguments, output):
    """The output is named from where the tool is started, as people name it."""
    return subprocess.run([product.REPOSITORY / "tools/package", "--output", output.name, *arguments], cwd=output.parent,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120)
