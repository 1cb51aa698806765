"""Packs copies of the distribution, whole and damaged ones, and looks at what tools/package makes and refuses."""

import os
import plistlib
import stat
import subprocess
import zipfile

from support import signature
from support.copies import DistributionCopy, ScratchFolder
from support.packing import ARCHIVE, BUNDLE, CONTENTS, FOLDER, VERSION, package
from support.tree import tree
from inspection import product

INFORMATION = f"{CONTENTS}/Info.plist"
CLIENT_INFORMATION = f"{CONTENTS}/Resources/Quillmark.app/Contents/Info.plist"
EXECUTABLE = f"{CONTENTS}/MacOS/Quillmark Installer"


class PackedCopy(DistributionCopy):
    def assert_packed(self, *given, output="out"):
        outcome = package(*given, output=self.scratch / output)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        return self.scratch / output / ARCHIVE

    def assert_refused(self, *messages, given=("--for-inspection",)):
        outcome = package(*given, self.copy, output=self.scratch / "refused")
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        for message in ("package: ", *messages):
            self.assertIn(message, outcome.stdout)
        self.assertEqual(list(self.scratch.glob("refused/*")), [], "an archive was left behind")
        return outcome.stdout

    def change(self, place, **values):
        path = self.copy / place
        path.write_bytes(plistlib.dumps({**plistlib.loads(path.read_bytes()), **values}))


class Archive(PackedCopy):
    def test_an_unpacking_tool_gets_modes_links_and_names_as_they_were(self):
        packed = self.assert_packed("--for-inspection", self.copy)
        subprocess.run(["unzip", "-q", packed, "-d", self.scratch], check=True, timeout=60)
        found = tree(self.scratch / FOLDER)
        self.assertEqual(found, tree(self.copy))
        self.assertIn("link", {item.kind for item in found.values()})
        self.assertEqual({item.mode for item in found.values() if item.kind == "file"}, {"0o755", "0o644", "0o600"})

    def test_the_same_files_give_the_same_bytes_whenever_they_were_made_and_out_of_an_archive_too(self):
        first = self.assert_packed("--for-inspection", self.copy)
        for path in self.copy.rglob("*"):
            os.utime(path, (0, 1_000_000_000), follow_symlinks=False)
        second = self.assert_packed("--for-inspection", self.copy, output="second")
        third = self.assert_packed("--for-inspection", first, output="third")
        self.assertEqual(first.read_bytes(), second.read_bytes())
        self.assertEqual(first.read_bytes(), third.read_bytes())
        with zipfile.ZipFile(first) as archive:
            names = [entry.filename.rstrip("/").split("/") for entry in archive.infolist()]
        self.assertEqual(names, sorted(names))
        self.assertEqual({name[0] for name in names}, {FOLDER})
        sums = subprocess.run(["sha256sum", "--check", "--strict", "SHA256SUMS"], cwd=first.parent, timeout=60,
                              stdout=subprocess.PIPE, text=True)
        self.assertEqual(sums.stdout.splitlines(), [f"{ARCHIVE.replace('.zip', '.cdx.json')}: OK", f"{ARCHIVE}: OK"])


class Release(PackedCopy):
    """Copies that may be released, for all that can be told without a Mac and a certificate, and others."""

    def setUp(self):
        super().setUp()
        self.change(INFORMATION, SMPrivilegedExecutables={product.HELPER_LABEL: (
            f'identifier "{product.HELPER_LABEL}" and anchor apple generic and '
            f'certificate leaf[subject.OU] = "{signature.TEAM}"')})
        self.change(CLIENT_INFORMATION, CFBundleIdentifier="com.quillmark.client")
        client = (self.copy / CLIENT_INFORMATION).parent
        (client / "Resources/tunnel.dat").chmod(0o644)
        (client / "CodeResources").write_bytes(b"ticket")
        signature.sign(self.copy / BUNDLE)

    def test_a_signed_one_with_the_vendors_payload_and_team_is_packed_under_the_version_alone(self):
        self.assert_packed(self.copy)
        self.assertEqual({path.name for path in (self.scratch / "out").iterdir()}, {
            f"Quillmark-Installer-{VERSION}.cdx.json", f"Quillmark-Installer-{VERSION}.zip", "SHA256SUMS"})

    def test_every_reason_why_it_is_none_is_told(self):
        executable = self.copy / EXECUTABLE
        whole, unsigned = executable.read_bytes(), (product.DISTRIBUTION / EXECUTABLE).read_bytes()
        ad_hoc = signature.signed(unsigned, "com.quillmark.customInstaller", signature.ADHOC, signature.DIGESTS, None)
        for content in (unsigned, ad_hoc, b"rubbish"):
            executable.write_bytes(content)
            self.assert_no_release("the signature is ad hoc or none")
        executable.write_bytes(whole)
        seal = self.copy / CONTENTS / "_CodeSignature"
        seal.rename(self.scratch / "seal")
        self.assert_no_release("the signature is ad hoc or none")
        (self.scratch / "seal").rename(seal)
        self.change(CLIENT_INFORMATION, CFBundleIdentifier="com.quillmark.sample")
        self.change(INFORMATION, SMPrivilegedExecutables={
            product.HELPER_LABEL: 'certificate leaf[subject.OU] = "0000000000"'})
        self.assert_no_release("QUILLMARK_HELPER_REQUIREMENT names nobody's team", "the payload is the sample")

    def assert_no_release(self, *reasons):
        told = self.assert_refused("this is not a release", given=()).splitlines()[1:]
        self.assertEqual(len(told), len(reasons), told)
        for line, reason in zip(told, reasons):
            self.assertIn(reason, line)

    def test_what_its_own_archive_gives_back_is_inspected(self):
        signature.sign(self.copy / BUNDLE, digests=signature.DIGESTS[1:])
        self.assert_refused("test_a_signed_bundle_has_both_digests_and_the_hardened_runtime", given=())


class RefusedDistributions(PackedCopy):
    def test_what_does_not_ship_is_named(self):
        components = self.copy / "components"
        for message, name, make in (
                ("is the Finder's", ".DS_Store", lambda path: path.touch()),
                ("are the same name on a Mac", "CA.CRT", lambda path: path.touch()),
                ("has a character in its name", "two\nlines", lambda path: path.touch()),
                ("is a link out of the distribution", "link", lambda path: path.symlink_to("../../elsewhere")),
                ("is a link that leads to itself", "link", lambda path: path.symlink_to("link")),
                ("is neither a file, a folder nor a link", "pipe", os.mkfifo),
                ("special bits do not ship", "root", lambda path: (path.touch(), path.chmod(0o4755))),
                ("its owner could not read it", "mine", lambda path: (path.touch(), path.chmod(0o200))),
                ("bytes are too many", "large", lambda path: (path.touch(), os.truncate(path, 1 << 40)))):
            with self.subTest(name):
                make(components / name)
                self.assert_refused(message)
                (components / name).unlink()


class HostileArchives(ScratchFolder):
    """Archives that somebody made to do harm: nothing of them is left, here or elsewhere."""

    FOLDERS = [(f"{FOLDER}/{name}", stat.S_IFDIR | 0o755, "") for name in ("", f"{BUNDLE}/", "components/")]

    def test_each_is_refused_and_nothing_of_it_is_left(self):
        file, link = stat.S_IFREG | 0o644, stat.S_IFLNK | 0o777
        archive, inside = self.scratch / "hostile.zip", f"{FOLDER}/components"
        for message, *entries in (
                ("is missing", (f"{inside}/../../../victim", file, "")),
                ("is missing", ("../victim", file, "")),
                ("stripped absolute path", (str(self.scratch / "victim"), file, "")),
                ("is not directory", (f"{inside}/bin", link, "../../.."), (f"{inside}/bin/victim", file, "")),
                ("components/bin is a link out of the", *self.FOLDERS, (f"{inside}/bin", link, "/usr/bin")),
                ("the folder Quillmark Installer is missing", (FOLDER, link, product.DISTRIBUTION.as_posix()))):
            with self.subTest(message, entries=entries[-1]):
                with zipfile.ZipFile(archive, "w") as packed:
                    for name, mode, content in entries:
                        information = zipfile.ZipInfo(name)
                        information.external_attr = mode << 16
                        packed.writestr(information, content)
                outcome = package("--for-inspection", archive, output=self.scratch / "out")
                self.assertEqual(outcome.returncode, 1, outcome.stdout)
                self.assertRegex(outcome.stdout, f"^package: .*{message}")
                self.assertEqual(sorted(path.name for path in self.scratch.rglob("*")), ["hostile.zip", "out"])
