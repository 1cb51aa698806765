"""make-fleet-kit makes what is committed, refuses bad sources by name, and writes nowhere else."""

import os
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from support import REPOSITORY
from support.fleet import DOMAIN, KIT
from support.tree import tree

TOOL = REPOSITORY / "tools/make-fleet-kit"
MANIFEST = f"manifests/{DOMAIN}.plist"


def make_fleet_kit(*arguments, **options):
    return subprocess.run([sys.executable, TOOL, *arguments], capture_output=True, text=True, check=False, **options)


def made_scripts():
    return sorted(path for path in KIT.rglob("*.sh") if "src" not in path.parts)


class Committed(unittest.TestCase):
    def test_the_committed_files_are_what_the_tool_makes(self):
        run = make_fleet_kit("--check")
        self.assertEqual((run.stdout, run.stderr, run.returncode), ("", "", 0))

    def test_there_is_a_script_for_each_job(self):
        self.assertEqual([str(path.relative_to(KIT)) for path in made_scripts()], [
            "check.sh", "install.sh", "intune/custom-attribute.sh", "jamf/extension-attribute.sh", "jamf/install.sh",
            "kandji/audit.sh", "munki/installcheck.sh", "munki/uninstall.sh", "munki/uninstallcheck.sh", "remove.sh"])

    def test_each_script_stands_alone(self):
        for path in made_scripts():
            text = path.read_text()
            self.assertTrue(text.startswith("#!/bin/sh\n"), path)
            self.assertTrue(os.access(path, os.X_OK), path)
            self.assertNotRegex(text, r"(?m)^\s*(\.|source) |# include", path)

    def test_no_script_takes_programs_from_an_inherited_path_or_reads_a_switch_from_the_environment(self):
        for path in made_scripts():
            text = path.read_text()
            self.assertIn("\nPATH=/bin:/usr/bin:/sbin:/usr/sbin\nexport PATH\n", text, path)
            set_here = set(re.findall(r"(?<![\w{$-])(\w+)=", text)) | set(re.findall(r"\bfor (\w+)\b", text))
            read = set(re.findall(r"\$\{?([A-Za-z_]\w*)", re.sub(r"(?m)^ *#.*", "", text)))
            self.assertLessEqual(read - {"NF"}, set_here, path)  # NF is awk's

    def test_each_script_is_read_by_the_shells_of_debian_and_of_a_mac(self):
        for shell in [["dash"], ["bash", "--posix"]]:
            for path in made_scripts():
                run = subprocess.run([*shell, "-n", path], capture_output=True, text=True, check=False)
                self.assertEqual((run.stderr, run.returncode), ("", 0), path)

    @unittest.skipUnless(shutil.which("shellcheck"), "no shellcheck (package shellcheck)")
    def test_shellcheck_finds_nothing(self):
        run = subprocess.run(["shellcheck", "--shell=sh", *made_scripts()], capture_output=True, text=True, check=False)
        self.assertEqual((run.stdout, run.returncode), ("", 0))

    def test_the_readme_names_every_file_that_an_administrator_takes(self):
        readme = (KIT / "README.md").read_text()
        for path in KIT.rglob("*"):
            name = str(path.relative_to(KIT))
            if path.is_file() and not name.startswith("src/") and name != "README.md":
                self.assertIn(f"`{name}`", readme)


class KitTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kit-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.kit = self.folder / "kit"
        shutil.copytree(KIT, self.kit)

    def change(self, name, old, new):
        text = (self.kit / name).read_text()
        self.assertIn(old, text)
        (self.kit / name).write_text(text.replace(old, new))

    def assert_refused(self, reason):
        """It says why, and nothing in the folder is other than before."""
        before = tree(self.folder)
        for arguments in [[], ["--check"]]:
            run = make_fleet_kit(*arguments, self.kit)
            self.assertEqual((run.stdout, run.returncode), ("", 1))
            self.assertEqual(run.stderr.count("\n"), 1, run.stderr)
            self.assertIn(f"make-fleet-kit: {reason}", run.stderr)
            self.assertEqual(tree(self.folder), before)


class Making(KitTest):
    def test_a_part_that_changes_changes_every_script_that_has_it(self):
        self.change("src/parts/lock.sh", "an hour", "one hour")
        run = make_fleet_kit("--check", self.kit)
        self.assertEqual((run.stdout.splitlines(), run.returncode), (
            [f"{name} is not what its sources make" for name in
             ["install.sh", "jamf/install.sh", "munki/uninstall.sh", "remove.sh", "munki/Quillmark.pkginfo"]], 1))
        self.assertEqual(make_fleet_kit(self.kit).returncode, 0)
        self.assertIn("one hour", (self.kit / "jamf/install.sh").read_text())
        self.assertEqual(make_fleet_kit("--check", self.kit).stdout, "")

    def test_everything_that_is_made_can_be_made_anew(self):
        made = [path for path in self.kit.rglob("*")
                if path.is_file() and path.suffix in (".sh", ".pkginfo", ".json") and "src" not in path.parts]
        before = tree(self.kit)
        for path in made:
            path.unlink()
        run = make_fleet_kit("--check", self.kit)
        self.assertEqual(len(run.stdout.splitlines()), len(made))
        self.assertEqual(make_fleet_kit(self.kit).returncode, 0)
        self.assertEqual(tree(self.kit), before)

    def test_a_script_without_a_source_is_named(self):
        (self.kit / "old.sh").write_text("#!/bin/sh\n")
        self.assertEqual(make_fleet_kit("--check", self.kit).stdout, "old.sh has no source\n")

    def test_a_script_that_cannot_be_run_is_named(self):
        (self.kit / "install.sh").chmod(0o644)
        self.assertEqual(make_fleet_kit("--check", self.kit).stdout,
                         "install.sh is executable, or is not, by mistake\n")

    def test_a_change_of_the_manifest_is_one_of_the_schema(self):
        self.change(MANIFEST, "{0,63}", "{0,31}")
        self.assertEqual(make_fleet_kit("--check", self.kit).stdout,
                         f"jamf/{DOMAIN}.json is not what its sources make\n")


class CommandLine(unittest.TestCase):
    def test_unknown_and_empty_arguments_are_refused_with_the_usage(self):
        for arguments in [["--frobnicate"], ["--chec"], [""], ["a", "b"]]:
            run = make_fleet_kit(*arguments)
            self.assertEqual((run.stdout, run.returncode), ("", 2), arguments)
            self.assertIn("usage: make-fleet-kit", run.stderr)

    def test_the_help_tells_what_it_does(self):
        run = make_fleet_kit("--help")
        self.assertEqual(run.returncode, 0)
        self.assertIn("--check", run.stdout)

    def test_the_current_folder_may_be_the_kit(self):
        run = make_fleet_kit("--check", ".", cwd=KIT)
        self.assertEqual((run.stdout, run.stderr, run.returncode), ("", "", 0))

    def test_a_folder_that_is_no_kit_is_refused(self):
        with tempfile.TemporaryDirectory() as folder:
            run = make_fleet_kit(folder)
            self.assertEqual((run.returncode, run.stderr), (1, f"make-fleet-kit: {folder}/src is not a folder\n"))
            self.assertEqual(os.listdir(folder), [])
        run = make_fleet_kit("/none")
        self.assertEqual((run.returncode, run.stderr), (1, "make-fleet-kit: /none/src is not a folder\n"))


class BadScripts(KitTest):
    def test_an_include_that_is_no_part(self):
        for name in ["none", "../install", "/etc/passwd", "", "lock.sh"]:
            with self.subTest(name):
                shutil.copy(KIT / "src/check.sh", self.kit / "src/check.sh")
                self.change("src/check.sh", "# include: basics", f"# include: {name}")
                self.assert_refused(f"src/check.sh includes {name!r}, which is not in src/parts")

    def test_an_include_that_is_there_twice(self):
        self.change("src/check.sh", "# include: basics", "# include: talk")
        self.assert_refused("src/check.sh includes 'talk' twice")

    def test_a_part_that_includes_another_or_starts_like_a_script(self):
        for text in ["# include: lock\n", "#!/bin/sh\n"]:
            (self.kit / "src/parts/users.sh").write_text(text)
            self.assert_refused("src/parts/users.sh: a part neither starts with a #! line nor includes another")

    def test_a_part_that_nobody_includes(self):
        (self.kit / "src/parts/dead.sh").write_text("x=1\n")
        self.assert_refused("src/parts/dead.sh is included nowhere")

    def test_a_script_for_another_shell(self):
        self.change("src/remove.sh", "#!/bin/sh\n", "#!/bin/bash\n")
        self.assert_refused("src/remove.sh does not start with #!/bin/sh")

    def test_a_last_line_without_an_end(self):
        for name in ["src/remove.sh", "src/parts/users.sh"]:
            text = (self.kit / name).read_text()
            (self.kit / name).write_text(text.rstrip("\n"))
            self.assert_refused(f"{name} does not end with the end of a line")
            (self.kit / name).write_text(text)

    def test_characters_that_do_not_belong_in_a_script(self):
        path = self.kit / "src/parts/users.sh"
        good = path.read_bytes()
        for bad, reason in [(b"\r\n", "holds a control character"), (b"\0", "holds a control character"),
                            (b"\x1b[2J", "holds a control character"), ("\u202e".encode(), "is not ASCII"),
                            (b"\xff", "is not ASCII")]:
            path.write_bytes(good + bad + b"\n")
            run = make_fleet_kit(self.kit)
            self.assertEqual(run.returncode, 1)
            self.assertIn("make-fleet-kit: src/parts/users.sh", run.stderr)
            self.assertIn(reason, run.stderr)

    def test_a_part_that_is_missing_huge_or_no_plain_file(self):
        path = self.kit / "src/parts/users.sh"
        path.write_text("#" * (1 << 20) + "\n")
        self.assert_refused("src/parts/users.sh has more than 1048576 bytes")
        path.unlink()
        os.mkfifo(path)
        self.assert_refused("src/parts/users.sh is not a plain file")
        path.unlink()
        self.assert_refused("src/munki/uninstall.sh includes 'users', which is not in src/parts")

    def test_a_source_that_is_a_link(self):
        secret = self.folder / "secret.sh"
        secret.write_text("secret=1\n")
        for name in ["src/parts/users.sh", "src/remove.sh", "src/parts", "src/munki", "src"]:
            with self.subTest(name):
                shutil.rmtree(self.kit)
                shutil.copytree(KIT, self.kit)
                (self.kit / name).rename(self.folder / "moved")
                (self.kit / name).symlink_to(secret if name.endswith(".sh") else "../../kit-elsewhere")
                self.assert_refused(f"{name} is a symbolic link")
                moved = self.folder / "moved"
                shutil.rmtree(moved) if moved.is_dir() else moved.unlink()


class BadPropertyLists(KitTest):
    def test_a_manifest_that_is_no_property_list(self):
        for text in ["", "x", "<plist", "<plist><dict><key>a</key></dict></plist>",
                     "<plist><integer>x</integer></plist>", "<plist>" + "<array>" * 5000 + "</array>" * 5000 + "</plist>",
                     '<!DOCTYPE plist [<!ENTITY a "aaaa">]><plist><string>&a;</string></plist>']:
            with self.subTest(text[:60]):
                (self.kit / MANIFEST).write_text(text)
                run = make_fleet_kit(self.kit)
                self.assertEqual((run.returncode, run.stdout), (1, ""))
                self.assertRegex(run.stderr, f"^make-fleet-kit: {MANIFEST} is not a (property list|dictionary)")

    def test_a_domain_that_would_be_written_elsewhere(self):
        for domain in ["../../x.y", "/tmp/x.y", "x", "", "a..b", "a.b\n", ".a.b", "a b.c", "a.b/../../c.d"]:
            with self.subTest(domain):
                shutil.copy(KIT / MANIFEST, self.kit / MANIFEST)
                self.change(MANIFEST, f"<key>pfm_domain</key>\n\t<string>{DOMAIN}</string>",
                            f"<key>pfm_domain</key>\n\t<string>{domain}</string>")
                self.assert_refused(f"{MANIFEST}: the domain {domain!r} is not a reversed domain name")

    def test_a_manifest_that_is_not_named_after_its_domain(self):
        self.change(MANIFEST, f"<key>pfm_domain</key>\n\t<string>{DOMAIN}</string>",
                    "<key>pfm_domain</key>\n\t<string>com.example.x</string>")
        self.assert_refused(f"{MANIFEST} is not named after its domain com.example.x")

    def test_two_manifests_or_none(self):
        shutil.copy(self.kit / MANIFEST, self.kit / "manifests/second.plist")
        self.assert_refused("manifests holds 2 property lists instead of one")
        shutil.rmtree(self.kit / "manifests")
        self.assert_refused("manifests holds 0 property lists instead of one")

    def test_keys_that_cannot_become_fields(self):
        good = plistlib.loads((self.kit / MANIFEST).read_bytes())
        team = next(key for key in good["pfm_subkeys"] if key["pfm_name"] == "teamID")
        for change, reason in [({"pfm_type": "data"}, "the type 'data' of 'teamID' is none of string"),
                               ({"pfm_type": 7}, "pfm_type of 'teamID' is missing or of another type"),
                               ({"pfm_title": ["x"]}, "pfm_title of 'teamID' is missing or of another type"),
                               ({"pfm_format": "["}, "the format of 'teamID' is no regular expression"),
                               ({"pfm_name": "partnerID"}, "the key 'partnerID' is there twice")]:
            with self.subTest(change):
                keys = [{**key, **change} if key is team else key for key in good["pfm_subkeys"]]
                (self.kit / MANIFEST).write_bytes(plistlib.dumps({**good, "pfm_subkeys": keys}))
                self.assert_refused(f"{MANIFEST}: {reason}")
        (self.kit / MANIFEST).write_bytes(plistlib.dumps({**good, "pfm_subkeys": ["x"]}))
        self.assert_refused(f"{MANIFEST}: a key is not a dictionary")
        (self.kit / MANIFEST).write_bytes(plistlib.dumps({**good, "pfm_subkeys": []}))
        self.assert_refused(f"{MANIFEST} has no key of its own")

    def test_a_pkginfo_that_sets_what_is_made(self):
        path = self.kit / "src/munki/Quillmark.pkginfo"
        good = plistlib.loads(path.read_bytes())
        for key in ["version", "installcheck_script", "installer_item_location"]:
            path.write_bytes(plistlib.dumps({**good, key: "x"}))
            self.assert_refused(f"src/munki/Quillmark.pkginfo: {key} is not to be set there")


class BadPlaces(KitTest):
    def test_nothing_is_written_through_a_link(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir()
        (elsewhere / "install.sh").write_text("mine\n")
        for name, target in [("install.sh", "../elsewhere/install.sh"), ("jamf", "../elsewhere"),
                             ("munki/Quillmark.pkginfo", "/dev/null"), ("remove.sh", "../nowhere")]:
            with self.subTest(name):
                place = self.kit / name
                shutil.rmtree(place) if place.is_dir() else place.unlink()
                place.symlink_to(target)
                before = tree(self.folder)
                run = make_fleet_kit(self.kit)
                self.assertEqual((run.returncode, run.stderr), (1, f"make-fleet-kit: {name} is a symbolic link\n"))
                self.assertEqual(tree(self.folder), before)
                place.unlink()
                self.assertEqual(make_fleet_kit(self.kit).returncode, 0)

    def test_nothing_that_is_no_file_is_replaced(self):
        (self.kit / "install.sh").unlink()
        (self.kit / "install.sh").mkdir()
        before = tree(self.folder)
        run = make_fleet_kit(self.kit)
        self.assertEqual((run.returncode, run.stderr),
                         (1, "make-fleet-kit: install.sh is in the way: it is not a plain file\n"))
        self.assertEqual(tree(self.folder), before)
