"""Links a slice of the product again, as its build does but for what a check wants different."""

import shlex
import subprocess

from inspection import product

TREES = {architecture: product.REPOSITORY / f"build/macos-{architecture}" for architecture in ("x86_64", "arm64")}


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=500, **options)


def link(architecture, target, *options):
    """The outcome of the linker, which writes to the target."""
    listed = run(["ninja", "-C", TREES[architecture], "-t", "commands", "src/Quillmark Installer"]).stdout
    command = listed.rstrip().splitlines()[-1].removeprefix(": && ").removesuffix(" && :")
    words = [str(target) if word == "src/Quillmark Installer" else word for word in shlex.split(command)]
    assert str(target) in words, command
    return run([*words, *options], cwd=TREES[architecture])
