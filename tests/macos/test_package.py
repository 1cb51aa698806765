"""Packs copies of the distribution, whole and damaged ones, and looks at what tools/package makes and refuses."""

import os
import plistlib
import shutil
import stat
import subprocess
import zipfile

from support import signature
from inspection import product
from support.copies import DistributionCopy
from support.packing import ARCHIVE, BUNDLE, CONTENTS, FOLDER, VERSION, package


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
        self.assertEqual({name.split("/")[0] for name in names}, {FOLDER})
        self.assertEqual({name.split("/")[1] for name in names if "/" in name},
                         {"Quillmark Installer.app", "components"})
        self.assertEqual(len(times), 1)

    def test_an_unpacking_tool_gets_modes_links_and_names_as_they_were(self):
        subprocess.run(["unzip", "-q", self.assert_packed(), "-d", self.scratch], check=True, timeout=60)
        unpacked = self.scratch / FOLDER
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

    def test_the_digests_are_those_of_what_lies_beside_them(self):
        folder = self.assert_packed().parent
        check = subprocess.run(["sha256sum", "--check", "--strict", "SHA256SUMS"], cwd=folder, stdout=subprocess.PIPE,
                               text=True, timeout=60)
        self.assertEqual(check.returncode, 0, check.stdout)
        self.assertEqual(sorted(line.split(":")[0] for line in check.stdout.splitlines()),
                         sorted(path.name for path in folder.iterdir() if path.name != "SHA256SUMS"))

    def test_an_archive_is_packed_again_to_the_same_bytes_whoever_packed_it(self):
        first = self.assert_packed("first")
        outcome = package("--for-inspection", first, output=self.scratch / "again")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertEqual((self.scratch / "again" / ARCHIVE).read_bytes(), first.read_bytes())

        self.copy.rename(self.scratch / FOLDER)
        subprocess.run(["zip", "-q", "-r", "-y", "another.zip", FOLDER], cwd=self.scratch, check=True, timeout=60)
        outcome = package("--for-inspection", self.scratch / "another.zip", output=self.scratch / "another")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertEqual((self.scratch / "another" / ARCHIVE).read_bytes(), first.read_bytes())


class ReleasableCopy(DistributionCopy):
    """A copy that may be released, for all that can be told without a Mac and a certificate."""

    def setUp(self):
        super().setUp()
        self.change("", SMPrivilegedExecutables={product.HELPER_LABEL: (
            f'identifier "{product.HELPER_LABEL}" and anchor apple generic and '
            'certificate leaf[subject.OU] = "ABCDE12345"')})
        self.change("Resources/Quillmark.app/Contents/", CFBundleIdentifier="com.quillmark.client")
        client = self.copy / CONTENTS / "Resources/Quillmark.app/Contents"
        (client / "Resources/tunnel.dat").chmod(0o644)
        (client / "CodeResources").write_bytes(b"ticket")
        signature.sign(self.copy / BUNDLE)

    def change(self, place, **values):
        path = self.copy / CONTENTS / f"{place}Info.plist"
        path.write_bytes(plistlib.dumps({**plistlib.loads(path.read_bytes()), **values}))

    def assert_refused_because_only(self, reason):
        outcome = package(self.copy, output=self.scratch / "out")
        self.assertNotEqual(outcome.returncode, 0, outcome.stdout)
        reasons = outcome.stdout.splitlines()
        self.assertEqual(reasons[0], "package: this is not a release (--for-inspection packs it all the same):")
        self.assertEqual(len(reasons), 2, outcome.stdout)
        self.assertIn(reason, reasons[1])
        self.assertEqual(list(self.scratch.glob("out/*")), [])


class Release(ReleasableCopy):
    def test_a_signed_one_with_the_vendors_payload_and_team_is_packed_under_the_version_alone(self):
        outcome = package(self.copy, output=self.scratch / "out")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertEqual(sorted(path.name for path in (self.scratch / "out").iterdir()),
                         [f"Quillmark-Installer-{VERSION}.cdx.json", f"Quillmark-Installer-{VERSION}.zip",
                          "SHA256SUMS"])
        self.assertIn("for macOS 10.8 and later, ", outcome.stdout)

    def test_it_is_called_so_for_inspection_too(self):
        outcome = package("--for-inspection", self.copy, output=self.scratch / "out")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertTrue((self.scratch / f"out/Quillmark-Installer-{VERSION}.zip").exists())

    def test_the_sample_payload_is_no_release(self):
        self.change("Resources/Quillmark.app/Contents/", CFBundleIdentifier="com.quillmark.sample")
        self.assert_refused_because_only("the payload is the sample")

    def test_a_requirement_that_names_nobodys_team_is_no_release(self):
        self.change("", SMPrivilegedExecutables={product.HELPER_LABEL: (
            f'identifier "{product.HELPER_LABEL}" and anchor apple generic and '
            'certificate leaf[subject.OU] = "0000000000"')})
        self.assert_refused_because_only("QUILLMARK_HELPER_REQUIREMENT names nobody's team")

    def test_no_requirement_is_no_release(self):
        for value in ({}, {product.HELPER_LABEL: ""}, "anchor apple"):
            with self.subTest(value):
                self.change("", SMPrivilegedExecutables=value)
                self.assert_refused_because_only("QUILLMARK_HELPER_REQUIREMENT names nobody's team")

    def test_an_ad_hoc_signature_is_no_release(self):
        signature.sign(self.copy / BUNDLE, flags=signature.HARDENED_RUNTIME | signature.ADHOC)
        self.assert_refused_because_only("the signature is ad hoc")

    def test_a_signature_of_the_executable_alone_is_no_release(self):
        shutil.rmtree(self.copy / CONTENTS / "_CodeSignature")
        self.assert_refused_because_only("the signature is ad hoc or none")

    def test_a_slice_without_a_signature_is_no_release(self):
        unsigned = (product.DISTRIBUTION / CONTENTS / "MacOS/Quillmark Installer").read_bytes()
        (self.copy / CONTENTS / "MacOS/Quillmark Installer").write_bytes(unsigned)
        self.assert_refused_because_only("the signature is ad hoc or none")

    def test_an_executable_that_cannot_be_read_is_no_release(self):
        (self.copy / CONTENTS / "MacOS/Quillmark Installer").write_bytes(b"rubbish")
        self.assert_refused_because_only("the signature is ad hoc or none")

    def test_a_signature_with_one_kind_of_digest_does_not_pass_the_inspection(self):
        signature.sign(self.copy / BUNDLE, digests=signature.DIGESTS[1:])
        outcome = package(self.copy, output=self.scratch / "out")
        self.assertNotEqual(outcome.returncode, 0)
        self.assertIn("test_a_signed_bundle_has_both_digests_and_the_hardened_runtime", outcome.stdout)


class Refusals(DistributionCopy):
    def assert_refused(self, *messages, arguments=("--for-inspection",)):
        outcome = package(*arguments, self.copy, output=self.scratch / "out")
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertTrue(outcome.stdout.startswith("package: "), outcome.stdout)
        for message in messages:
            self.assertIn(message, outcome.stdout)
        self.assertEqual(list(self.scratch.glob("out/*")), [], "an archive was left behind")

    def test_what_is_no_release_is_not_packed_as_one_and_every_reason_is_named(self):
        self.assert_refused("the signature is ad hoc", "names nobody's team", "the payload is the sample",
                            arguments=())

    def test_a_folder_that_is_no_distribution(self):
        information = self.copy / CONTENTS / "Info.plist"
        information.unlink()
        self.assert_refused(f"{BUNDLE}/Contents/Info.plist is missing")
        shutil.rmtree(self.copy / "components")
        self.assert_refused("this is no distribution: the folder components is missing")
        (self.copy / "components").write_text("a file")
        self.assert_refused("this is no distribution: the folder components is missing")
        shutil.rmtree(self.copy)
        self.assert_refused("this is no distribution")

    def test_an_incomplete_payload(self):
        (self.copy / "components/ta.key").unlink()
        shutil.rmtree(self.copy / "components/WGComponents/Sonoma/QuillmarkGuard")
        (self.copy / CONTENTS / "Resources/client.up.tunnelblick.sh").unlink()
        self.assert_refused("components/ta.key", "components/WGComponents/Sonoma/QuillmarkGuard",
                            "client.up.tunnelblick.sh")

    def test_an_executable_that_is_not_as_it_should_be(self):
        executable = self.copy / CONTENTS / "MacOS/Quillmark Installer"
        executable.write_bytes(executable.read_bytes().replace(b"_textView\0", b"_textViem\0"))
        self.assert_refused("test_the_delegate_has_its_variables_in_order")
        executable.write_bytes(b"rubbish")
        self.assert_refused("test_there_is_a_slice_for_each_processor")

    def test_a_property_list_that_is_none(self):
        for place in ("Info.plist", "Resources/Quillmark.app/Contents/Info.plist"):
            path = self.copy / CONTENTS / place
            whole = path.read_bytes()
            for content in (b"", b"rubbish", b"bplist00rubbish", b"<plist><date>soon</date></plist>"):
                with self.subTest(place, content=content):
                    path.write_bytes(content)
                    self.assert_refused("Info.plist is no property list")
            path.write_bytes(plistlib.dumps(["no", "dictionary"]))
            self.assert_refused("Info.plist is no dictionary")
            path.write_bytes(whole)

    def test_a_version_that_is_none(self):
        path = self.copy / CONTENTS / "Info.plist"
        information = plistlib.loads(path.read_bytes())
        for version in ("../../1.0.0", "", "1.0.0-beta", 1, "1.0\n"):
            with self.subTest(version):
                path.write_bytes(plistlib.dumps({**information, "CFBundleVersion": version}))
                self.assert_refused("has no version, but ")

    def test_what_the_finder_leaves_behind(self):
        (self.copy / "components/.DS_Store").write_bytes(b"")
        self.assert_refused("components/.DS_Store is the Finder's")

    def test_names_that_a_mac_takes_for_the_same(self):
        for first, second in (("name", "NAME"), ("stra\u00dfe", "STRASSE"), ("\u00e9t\u00e9", "e\u0301te\u0301")):
            with self.subTest(first):
                for name in (first, second):
                    (self.copy / "components" / name).write_text(name)
                self.assert_refused("are the same name on a Mac")
                for name in (first, second):
                    (self.copy / "components" / name).unlink()

    def test_names_that_not_every_system_takes(self):
        for name, message in ((b"two\nlines", r"components/two\nlines has a character"),
                              (b"back\\slash", r"components/back\slash has a character"),
                              (b"latin \xe9", r"components/latin \udce9 has a character")):
            with self.subTest(name):
                path = os.fsencode(self.copy / "components") + b"/" + name
                os.close(os.open(path, os.O_CREAT))
                self.assert_refused(message)
                os.unlink(path)

    def test_links_that_lead_out_or_nowhere(self):
        link = self.copy / "components/link"
        for target, message in (("../../elsewhere", "is a link out of the distribution"),
                                (self.copy / "components/ca.crt", "is a link out of the distribution"),
                                ("link", "is a link that leads to itself")):
            with self.subTest(target):
                link.symlink_to(target)
                self.assert_refused(f"components/link {message}")
                link.unlink()

    def test_a_pipe_or_a_device_is_named_and_never_opened(self):
        information = self.copy / CONTENTS / "Info.plist"
        information.unlink()
        os.mkfifo(information)
        self.assert_refused("Contents/Info.plist is neither a file, a folder nor a link")

    def test_special_bits_and_modes_that_shut_out_the_owner(self):
        for place, mode, message in (("ca.crt", 0o4755, "special bits do not ship"),
                                     ("WGComponents", 0o1777, "special bits do not ship"),
                                     ("ca.crt", 0o200, "its owner could not read it"),
                                     ("WGComponents", 0o644, "its owner could not read it")):
            path = self.copy / "components" / place
            was = stat.S_IMODE(path.stat().st_mode)
            with self.subTest(place, mode=mode):
                path.chmod(mode)
                self.assert_refused(f"components/{place} has the mode {mode:o}; {message}")
                path.chmod(was)

    def test_more_bytes_than_the_archives_format_holds_are_not_even_read(self):
        with (self.copy / "components/client.ovpn").open("r+b") as file:
            file.truncate(1 << 40)
        self.assert_refused("bytes are too many", f"The most are in components/client.ovpn: {1 << 40}")
