"""Packs copies of the distribution, whole and damaged ones, and looks at what tools/package makes and refuses."""

import os
import shutil
import stat
import subprocess
import zipfile

from support import product
from support.copies import DistributionCopy

TOP = "Quillmark Installer"
APPLICATION = f"{TOP}/Quillmark Installer.app"
ARCHIVE = f"Quillmark-Installer-{product.project_version()}-for-inspection.zip"


def package(*arguments, output):
    return subprocess.run([product.REPOSITORY / "tools/package", "--output", output, *arguments],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120)


class Archive(DistributionCopy):
    def assert_packed(self, output="out"):
        outcome = package("--for-inspection", self.copy, output=self.scratch / output)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        return self.scratch / output / ARCHIVE

    def test_two_runs_give_the_same_bytes_whenever_the_files_were_made(self):
        first = self.assert_packed("first").read_bytes()
        for path in self.copy.rglob("*"):
            os.utime(path, (0, 1_000_000_000), follow_symlinks=False)
        self.assertEqual(first, self.assert_packed("second").read_bytes())

    def test_everything_lies_in_one_folder_in_order_with_one_time(self):
        with zipfile.ZipFile(self.assert_packed()) as archive:
            names = [entry.filename.rstrip("/") for entry in archive.infolist()]
            times = {entry.date_time for entry in archive.infolist()}
        self.assertEqual(names, sorted(names, key=lambda name: name.split("/")))
        self.assertEqual({name.split("/")[0] for name in names}, {TOP})
        self.assertEqual({name.split("/")[1] for name in names if "/" in name},
                         {"Quillmark Installer.app", "components"})
        self.assertEqual(len(times), 1)

    def test_an_unpacking_tool_gets_modes_links_and_names_as_they_were(self):
        subprocess.run(["unzip", "-q", self.assert_packed(), "-d", self.scratch], check=True, timeout=60)
        unpacked = self.scratch / TOP
        originals = sorted(path.relative_to(self.copy) for path in self.copy.rglob("*"))
        self.assertEqual(sorted(path.relative_to(unpacked) for path in unpacked.rglob("*")), originals)
        links = 0
        for path in originals:
            was, became = self.copy / path, unpacked / path
            self.assertEqual(stat.S_IFMT(became.lstat().st_mode), stat.S_IFMT(was.lstat().st_mode), path)
            if was.is_symlink():
                links += 1
                self.assertEqual(os.readlink(became), os.readlink(was))
            else:
                self.assertEqual(became.stat().st_mode, was.stat().st_mode, path)
        self.assertGreater(links, 0)

    def test_the_name_of_what_is_no_release_says_so(self):
        self.assertTrue(self.assert_packed().exists())


class Refusals(DistributionCopy):
    def assert_refused(self, *messages, arguments=("--for-inspection",)):
        outcome = package(*arguments, self.copy, output=self.scratch / "out")
        self.assertNotEqual(outcome.returncode, 0, outcome.stdout)
        self.assertTrue(outcome.stdout.startswith("package: "), outcome.stdout)
        for message in messages:
            self.assertIn(message, outcome.stdout)
        self.assertEqual(list(self.scratch.glob("out/*")), [], "an archive was left behind")

    def test_what_is_no_release_is_not_packed_as_one_and_every_reason_is_named(self):
        self.assert_refused("the application is not signed", "names nobody's team", "the payload is the sample",
                            arguments=())

    def test_a_folder_that_is_no_distribution(self):
        shutil.rmtree(self.copy / "components")
        self.assert_refused("components is missing")
        shutil.rmtree(self.copy)
        self.copy.mkdir()
        self.assert_refused("is no distribution")

    def test_an_incomplete_payload(self):
        (self.copy / "components/ta.key").unlink()
        shutil.rmtree(self.copy / "components/WGComponents/Sonoma/QuillmarkGuard")
        (self.copy / "Quillmark Installer.app/Contents/Resources/client.up.tunnelblick.sh").unlink()
        self.assert_refused("components/ta.key", "components/WGComponents/Sonoma/QuillmarkGuard",
                            "client.up.tunnelblick.sh")

    def test_what_the_finder_leaves_behind(self):
        (self.copy / "components/.DS_Store").write_bytes(b"")
        self.assert_refused("components/.DS_Store")

    def test_a_link_out_of_the_distribution(self):
        (self.copy / "components/elsewhere").symlink_to("../../elsewhere")
        self.assert_refused("components/elsewhere is a link out of the distribution")

    def test_an_executable_that_is_not_as_it_should_be(self):
        executable = self.copy / "Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
        executable.write_bytes(executable.read_bytes().replace(b"_textView\0", b"_textViem\0"))
        self.assert_refused("test_the_delegate_has_its_seventeen_variables_in_order")
