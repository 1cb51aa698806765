"""Packs copies of the distribution, whole and damaged ones, and looks at what tools/package makes and refuses."""

import hashlib
import json
import os
import plistlib
import shutil
import stat
import subprocess
import warnings
import zipfile

import jsonschema

from support import product, signature
from support.copies import DistributionCopy

TOP = "Quillmark Installer"
BUNDLE = "Quillmark Installer.app"
CONTENTS = f"{BUNDLE}/Contents"
VERSION = product.project_version()
ARCHIVE = f"Quillmark-Installer-{VERSION}-for-inspection.zip"
SCHEMA = product.REPOSITORY / "build/bom-schema"


def package(*arguments, output):
    return subprocess.run([product.REPOSITORY / "tools/package", "--output", output, *arguments],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120)


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


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

        self.copy.rename(self.scratch / TOP)
        subprocess.run(["zip", "-q", "-r", "-y", "another.zip", TOP], cwd=self.scratch, check=True, timeout=60)
        outcome = package("--for-inspection", self.scratch / "another.zip", output=self.scratch / "another")
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertEqual((self.scratch / "another" / ARCHIVE).read_bytes(), first.read_bytes())


class BillOfMaterials(DistributionCopy):
    @classmethod
    def setUpClass(cls):
        subprocess.run([product.REPOSITORY / "tools/fetch-package", product.REPOSITORY / "tests/macos/bom-schema",
                        "@cyclonedx/cyclonedx-library", SCHEMA, "res/schema"], check=True, timeout=300)
        schemas = [json.loads((SCHEMA / "res/schema" / f"{name}.SNAPSHOT.schema.json").read_text())
                   for name in ("bom-1.6", "spdx", "jsf-0.82")]
        with warnings.catch_warnings(record=True):  # newer versions of the library have another way, Debian's has not
            resolver = jsonschema.RefResolver.from_schema(schemas[0], store={one["$id"]: one for one in schemas})
        cls.validator = jsonschema.Draft7Validator(schemas[0], resolver=resolver)

    def bill(self, output="out"):
        outcome = package("--for-inspection", self.copy, output=self.scratch / output)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        return json.loads((self.scratch / output / ARCHIVE).with_suffix(".cdx.json").read_text())

    def problems(self, bill):
        return [f"{error.json_path}: {error.message}" for error in self.validator.iter_errors(bill)]

    def test_it_keeps_to_the_published_schema_of_cyclonedx_1_6(self):
        bill = self.bill()
        self.assertEqual((bill["bomFormat"], bill["specVersion"]), ("CycloneDX", "1.6"))
        self.assertEqual(self.problems(bill), [])
        bill["components"][0]["components"][0]["hashes"][0]["content"] = "no digest"
        bill["serialNumber"] = "1"
        self.assertEqual(len(self.problems(bill)), 2, "the schema refuses nothing")

    def test_every_file_of_the_archive_is_in_it_once_with_its_digest(self):
        listed = {}
        for component in self.bill()["components"]:
            for item in component.get("components", [component]):
                self.assertNotIn(item["bom-ref"], listed)
                listed[item["bom-ref"]], = [one["content"] for one in item["hashes"] if one["alg"] == "SHA-256"]
        files = [path for path in self.copy.rglob("*") if path.is_file() and not path.is_symlink()]
        self.assertEqual(listed, {str(path.relative_to(self.copy)): digest(path) for path in files})

    def test_installer_client_guards_scripts_and_other_components_are_parts_of_their_own(self):
        bill = self.bill()
        parts = {component["bom-ref"]: component for component in bill["components"]}
        self.assertEqual(parts[BUNDLE]["version"], VERSION)
        self.assertEqual(parts[f"{CONTENTS}/Resources/Quillmark.app"]["version"], "1")
        self.assertEqual({reference for reference, part in parts.items() if part["type"] == "application"},
                         {BUNDLE, f"{CONTENTS}/Resources/Quillmark.app",
                          *(f"components/WGComponents/{mac}/QuillmarkGuard"
                            for mac in ("Sequoia", "Sonoma", "Ventura", "osIntel", "osM1"))})
        self.assertEqual({part["name"] for part in parts.values() if part["type"] == "file"},
                         {"client.up.tunnelblick.sh", "client.down.tunnelblick.sh", "ca.crt", "client.crt",
                          "client.key", "client.ovpn", "login.conf", "ta.key"})
        self.assertEqual(bill["dependencies"], [{"ref": ARCHIVE, "dependsOn": sorted(parts)}])

    def test_a_helper_tool_is_a_part_of_its_own(self):
        tool = f"{CONTENTS}/Library/LaunchServices/{product.HELPER_LABEL}"
        (self.copy / tool).parent.mkdir(parents=True)
        (self.copy / tool).write_bytes(b"no real tool")
        parts = {component["bom-ref"]: component for component in self.bill()["components"]}
        self.assertEqual(parts[tool]["type"], "application")

    def test_it_describes_the_archive_that_lies_beside_it(self):
        described = self.bill()["metadata"]["component"]
        archive = digest(self.scratch / "out" / ARCHIVE)
        self.assertEqual((described["name"], described["version"]), ("Quillmark Installer", VERSION))
        self.assertEqual(described["hashes"], [{"alg": "SHA-256", "content": archive}])
        self.assertEqual(described["externalReferences"], [{"type": "distribution", "url": ARCHIVE,
                                                            "hashes": [{"alg": "SHA-256", "content": archive}]}])

    def test_the_same_archive_has_the_same_bill_and_another_one_another_serial_number(self):
        first = self.bill("first")
        self.assertEqual(first, self.bill("second"))
        (self.copy / "components/ca.crt").write_text("another certificate\n")
        self.assertNotEqual(first["serialNumber"], self.bill("third")["serialNumber"])


class ReleasableCopy(DistributionCopy):
    """A copy that may be released, for all that can be told without a Mac and a certificate."""

    def setUp(self):
        super().setUp()
        self.change("", SMPrivilegedExecutables={product.HELPER_LABEL: (
            f'identifier "{product.HELPER_LABEL}" and anchor apple generic and '
            'certificate leaf[subject.OU] = "ABCDE12345"')})
        self.change("Resources/Quillmark.app/Contents/", CFBundleIdentifier="com.quillmark.client")
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
        self.assert_refused_because_only("the signature is ad hoc")

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
        self.assert_refused("test_the_delegate_has_its_seventeen_variables_in_order")
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


class Entry:
    """What an archive is to hold: a file's mode and content, or whatever else is wanted in their place."""

    def __init__(self, name, mode=stat.S_IFREG | 0o644, content=b"", system=3, flags=0, method=zipfile.ZIP_DEFLATED):
        self.content = content
        self.information = zipfile.ZipInfo(name)
        self.information.filename = name  # ZipInfo changes some
        self.information.external_attr = mode << 16
        self.information.create_system = system
        self.information.compress_type = method
        self.information.flag_bits = flags


def folder(name):
    return Entry(f"{name}/", stat.S_IFDIR | 0o755)


def link(name, target):
    return Entry(name, stat.S_IFLNK | 0o777, target.encode())


class HostileArchives(DistributionCopy):
    def setUp(self):
        super().setUp()
        shutil.rmtree(self.copy)
        self.archive = self.scratch / "hostile.zip"

    def write(self, *entries):
        with warnings.catch_warnings(record=True), zipfile.ZipFile(self.archive, "w") as file:
            for entry in entries:
                file.writestr(entry.information, entry.content)

    def assert_refused(self, message):
        outcome = package("--for-inspection", self.archive, output=self.scratch / "out")
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        self.assertTrue(outcome.stdout.startswith("package: "), outcome.stdout)
        self.assertIn(message, outcome.stdout)
        self.assertEqual(sorted(str(path.relative_to(self.scratch)) for path in self.scratch.rglob("*")),
                         ["hostile.zip", "out"], "something was written")

    def assert_each_refused(self, *cases):
        for message, *entries in cases:
            with self.subTest(message):
                self.write(*entries)
                self.assert_refused(message)

    def test_names_that_lead_elsewhere(self):
        components = folder(f"{TOP}/components")
        self.assert_each_refused(
            ('../evil does not lie in the folder "Quillmark Installer"', Entry("../evil")),
            ('/etc/evil does not lie in the folder "Quillmark Installer"', Entry("/etc/evil")),
            ('Another/evil does not lie in the folder "Quillmark Installer"', Entry("Another/evil")),
            ("../evil is no name below the distribution", Entry(f"{TOP}/../evil")),
            ("components/../../evil is no name below the distribution", components,
             Entry(f"{TOP}/components/../../evil")),
            ("components/./evil is no name below the distribution", components, Entry(f"{TOP}/components/./evil")),
            ("components//evil is no name below the distribution", components, Entry(f"{TOP}/components//evil")),
            (r"components/..\evil has a character in its name", components, Entry(f"{TOP}/components/..\\evil")))

    def test_names_that_are_there_twice(self):
        components = folder(f"{TOP}/components")
        self.assert_each_refused(
            ("components/ca.crt is there twice", components, Entry(f"{TOP}/components/ca.crt"),
             Entry(f"{TOP}/components/ca.crt", content=b"another")),
            ("components is there twice", components, components),
            ("components/CA.crt and components/ca.crt are the same name on a Mac", components,
             Entry(f"{TOP}/components/ca.crt"), Entry(f"{TOP}/components/CA.crt")))

    def test_names_that_cannot_be_shown_or_read(self):
        components = folder(f"{TOP}/components")
        self.assert_each_refused(
            (r"components/\x1b[31mred has a character in its name", components, Entry(f"{TOP}/components/\x1b[31mred")))
        self.write(components, Entry(f"{TOP}/components/latin_"))
        self.archive.write_bytes(self.archive.read_bytes().replace(b"latin_", b"latin\xe9"))
        self.assert_refused("is not named in UTF-8")

    def test_files_below_a_link_or_a_file(self):
        self.assert_each_refused(
            ("components/bin/evil comes before the folder that it lies in, or that is none",
             folder(f"{TOP}/components"), link(f"{TOP}/components/bin", "/usr/bin"),
             Entry(f"{TOP}/components/bin/evil")),
            ("components/evil comes before the folder that it lies in, or that is none",
             Entry(f"{TOP}/components"), Entry(f"{TOP}/components/evil")),
            ("components/evil comes before the folder that it lies in, or that is none",
             Entry(f"{TOP}/components/evil"), folder(f"{TOP}/components")))

    def test_links_that_lead_out(self):
        self.assert_each_refused(
            ("components/bin is a link out of the distribution", folder(f"{TOP}/{BUNDLE}"),
             folder(f"{TOP}/components"), link(f"{TOP}/components/bin", "/usr/bin")),
            ("components/up is a link out of the distribution", folder(f"{TOP}/{BUNDLE}"),
             folder(f"{TOP}/components"), link(f"{TOP}/components/up", "../..")),
            ("components/long is a link of 5000 bytes", folder(f"{TOP}/components"),
             link(f"{TOP}/components/long", "x" * 5000)))

    def test_what_is_neither_a_file_a_folder_nor_a_link(self):
        components = folder(f"{TOP}/components")
        for kind in (stat.S_IFCHR, stat.S_IFBLK, stat.S_IFIFO, stat.S_IFSOCK, 0):
            with self.subTest(kind):
                self.write(components, Entry(f"{TOP}/components/odd", kind | 0o644))
                self.assert_refused("components/odd is neither a file, a folder nor a link")
        self.assert_each_refused(
            ("components/modeless is neither a file, a folder nor a link", components,
             Entry(f"{TOP}/components/modeless", system=0)),
            ("components/root has the mode 4755; special bits do not ship", components,
             Entry(f"{TOP}/components/root", stat.S_IFREG | 0o4755)))

    def test_what_does_not_belong_into_a_distribution(self):
        self.assert_each_refused(
            ("Install.pkg does not belong into a distribution", Entry(f"{TOP}/Install.pkg")),
            ("components/.DS_Store is the Finder's and does not ship", folder(f"{TOP}/components"),
             Entry(f"{TOP}/components/.DS_Store")),
            ('__MACOSX does not lie in the folder "Quillmark Installer"', folder(TOP), folder("__MACOSX")))

    def change_listed_size(self, size):
        """Of the last entry, in the archive's directory, where unpacking tools look."""
        content = bytearray(self.archive.read_bytes())
        at = content.rindex(b"PK\1\2") + 24
        content[at:at + 4] = size.to_bytes(4, "little")
        self.archive.write_bytes(content)

    def test_sizes_that_are_huge_or_untrue(self):
        self.write(folder(f"{TOP}/components"), Entry(f"{TOP}/components/ca.crt", content=b"certificate" * 1000))
        self.change_listed_size(0xF0000000)
        self.assert_refused("bytes are too many; the archive's format holds 2147483647. The most are in "
                            "components/ca.crt: 4026531840")
        self.change_listed_size(10)
        self.assert_refused("hostile.zip cannot be unpacked: Bad CRC-32")

    def test_more_entries_than_the_format_holds(self):
        self.write(folder(f"{TOP}/components"),
                   *(Entry(f"{TOP}/components/{number}", method=zipfile.ZIP_STORED) for number in range(0xFFFF)))
        self.assert_refused("65536 entries are too many")

    def test_ways_of_packing_that_not_every_system_knows(self):
        self.assert_each_refused(
            ("components/ca.crt is encrypted or packed in a way that not every system knows",
             folder(f"{TOP}/components"), Entry(f"{TOP}/components/ca.crt", method=zipfile.ZIP_BZIP2)))
        self.write(folder(f"{TOP}/components"), Entry(f"{TOP}/components/ca.crt"))
        content = bytearray(self.archive.read_bytes())
        content[content.rindex(b"PK\1\2") + 8] |= 1
        self.archive.write_bytes(content)
        self.assert_refused("components/ca.crt is encrypted")

    def test_what_is_no_archive_or_a_part_of_one(self):
        self.write(folder(f"{TOP}/components"), Entry(f"{TOP}/components/ca.crt", content=os.urandom(1000)))
        whole = self.archive.read_bytes()
        for content in (b"", b"rubbish", whole[:-10], whole[200:], whole[:300] + whole[301:]):
            with self.subTest(len(content)):
                self.archive.write_bytes(content)
                self.assert_refused("hostile.zip cannot be unpacked: ")
