"""Checks the checks of the workflows, and runs what of their scripts runs on Linux."""

import shutil
import subprocess

from inspection import product
from support.copies import DistributionCopy, ScratchFolder
from support.mac import BUILD

REPOSITORY = product.REPOSITORY
SCRIPTS = REPOSITORY / ".github/scripts"


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)


class WorkflowForm(ScratchFolder):
    def setUp(self):
        super().setUp()
        shutil.copytree(REPOSITORY / ".github", self.scratch / ".github")
        for name in (".ci", "tools", "test"):
            (self.scratch / name).symlink_to(REPOSITORY / name)

    def check(self):
        return run(REPOSITORY / "tools/check-workflows", self.scratch)

    def assert_refused(self, message, old, new, workflow="macos"):
        """Replaces a text in one of the workflows and expects the message, and no other."""
        path = self.scratch / f".github/workflows/{workflow}.yml"
        text = path.read_text()
        self.assertIn(old, text)
        with self.subTest(message):
            path.write_text(text.replace(old, new, 1))
            outcome = self.check()
            self.assertEqual(outcome.returncode, 1, outcome.stdout)
            self.assertIn(message, outcome.stdout)
            self.assertEqual({line.split(": ")[0] for line in outcome.stdout.splitlines()},
                             {f".github/workflows/{workflow}.yml"}, outcome.stdout)
        path.write_text(text)

    def test_the_workflows_are_in_form(self):
        outcome = run(REPOSITORY / "tools/check-workflows")
        self.assertEqual((outcome.returncode, outcome.stdout), (0, "2 workflows are in form\n"))

    def test_a_folder_without_workflows_is_refused(self):
        shutil.rmtree(self.scratch / ".github/workflows")
        outcome = self.check()
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("there is no workflow in", outcome.stdout)

    def test_what_is_no_workflow_is_named(self):
        for text, message in (("name: [", "linux.yml: is no YAML: "), ("", "linux.yml: has no jobs"),
                              ("name: a\nname: b\njobs: {}", "the key name is there twice")):
            with self.subTest(text):
                (self.scratch / ".github/workflows/linux.yml").write_text(text)
                self.assertIn(message, self.check().stdout)

    def test_rights_that_are_not_least_are_named(self):
        self.assert_refused("the workflow must have permissions that are spelled out", "permissions:\n  contents: read",
                            "env:\n  A: b")
        self.assert_refused("the workflow must have permissions that are spelled out", "contents: read",
                            "contents: write")
        self.assert_refused("the workflow must have permissions that are spelled out",
                            "permissions:\n  contents: read", "permissions: write-all")
        self.assert_refused("job archive must have permissions that are spelled out", "  archive:\n",
                            "  archive:\n    permissions:\n      packages: write\n")
        self.assert_refused("runs with more rights than whoever set it off", "pull_request:", "pull_request_target:")
        self.assert_refused("job archive leaves the credentials of its checkout behind",
                            "persist-credentials: false", "fetch-depth: 1")
        self.assert_refused("names a secret", "needs: archive",
                            "needs: archive\n    env:\n      KEY: ${{ secrets.KEY }}")

    def test_an_action_that_is_not_pinned_is_named(self):
        commit = "de0fac2e4500dabe0009e67214ff5f5447ce83dd"
        for new in ("uses: actions/checkout@v6", "uses: actions/checkout@v6 # v6", f"uses: actions/checkout@{commit}",
                    "uses: actions/checkout@de0fac2 # v6.0.2", "uses: docker://alpine:3",
                    '"uses": actions/checkout@v6'):
            self.assert_refused("does not pin its action", f"uses: actions/checkout@{commit} # v6.0.2", new,
                                workflow="linux")

    def test_a_job_without_a_limit_or_on_a_moving_system_is_named(self):
        self.assert_refused("job archive has no timeout-minutes", "    timeout-minutes: 30\n", "")
        self.assert_refused("job archive has no timeout-minutes", "timeout-minutes: 30", "timeout-minutes: 600")
        self.assert_refused("job archive runs on ubuntu-latest", "ubuntu-24.04", "ubuntu-latest")
        self.assert_refused("job mac runs on macos-latest", "[macos-15,", "[macos-latest,")

    def test_a_workflow_that_does_not_replace_its_older_runs_is_named(self):
        self.assert_refused("has no concurrency group", "concurrency:\n  group: linux-${{ github.ref }}\n"
                            "  cancel-in-progress: true\n", "", workflow="linux")

    def test_another_shell_than_bash_is_named(self):
        self.assert_refused("does not make bash the shell", "shell: bash", "shell: sh")

    def test_a_script_that_is_not_there_or_cannot_be_run_is_named(self):
        self.assert_refused("job check, step 4 calls .ci/rum, which is no program here", "run: .ci/run",
                            "run: .ci/rum", workflow="linux")
        self.assert_refused("calls tools/build-mac, which is no program here", "tools/build-macos", "tools/build-mac")
        self.assert_refused("calls .github/scripts/window-of.swift, which is no program here",
                            "run: .github/scripts/licence-heading", "run: .github/scripts/window-of.swift")
        (self.scratch / "test").unlink()
        self.assert_refused("calls test, which is no program here", "./test", "./test --quiet")

    def test_a_script_that_shellcheck_does_not_like_is_named(self):
        self.assert_refused("SC2086", 'echo "The oldest macOS that this Xcode builds for: $target"', "echo $target")

    def test_an_expression_in_a_script_is_named(self):
        self.assert_refused("has an expression in its script", "sign build/archive", "sign '${{ github.head_ref }}'")


class InstallationCheck(DistributionCopy):
    """The check of a managed installation, on installations that are made by hand."""

    def setUp(self):
        super().setUp()
        self.home = self.scratch / "Users/ann"
        self.staging = self.home / "Quillmark_Components"
        self.resources = self.copy / "Quillmark Installer.app/Contents/Resources"
        self.staging.mkdir(parents=True)
        for applications in (self.scratch, self.home):
            shutil.copytree(self.resources / "Quillmark.app", applications / "Applications/Quillmark.app",
                            symlinks=True)
        for direction in ("up", "down"):
            shutil.copy(self.resources / f"client.{direction}.tunnelblick.sh", self.staging)
        shutil.copytree(self.copy / "components/WGComponents/Sequoia/QuillmarkGuard", self.staging / "QuillmarkGuard",
                        symlinks=True)
        self.marker = self.staging / "installationHelper.txt"
        self.marker.write_text("Rmm\npartner-2\nteam-1\nyes")
        self.name_release("Sequoia")

    def name_release(self, name):
        folder = self.scratch / "System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "OSXSoftwareLicense.rtf").write_text(
            f"{{\\rtf1\n\\b SOFTWARE LICENSE AGREEMENT FOR macOS {name}\\\nPLEASE READ\n}}\n")

    def check(self):
        return run(SCRIPTS / "check-installation", "--distribution", self.copy, "--team", "team-1", "--partner",
                   "partner-2", "--root", self.scratch, "--home", self.home)

    def assert_whole(self):
        outcome = self.check()
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        self.assertIn("The installation is whole", outcome.stdout)
        return outcome.stdout

    def assert_named(self, *messages):
        outcome = self.check()
        self.assertEqual(outcome.returncode, 1, outcome.stdout)
        named = [line.strip() for line in outcome.stdout.splitlines() if line.startswith("  ")]
        self.assertEqual(sorted(named), sorted(messages))

    def test_a_whole_one_passes(self):
        self.assert_whole()

    def test_a_macos_without_a_component_gets_none(self):
        self.name_release("Tahoe")
        self.assert_named(f"{self.staging}/QuillmarkGuard does not belong there")
        shutil.rmtree(self.staging / "QuillmarkGuard")
        self.assertIn("has no component for this macOS, which calls itself 'Tahoe'", self.assert_whole())

    def test_the_component_of_another_macos_is_named(self):
        self.name_release("Sonoma")
        self.assert_named(f"{self.staging}/QuillmarkGuard/bin/wireguard is not as in the distribution",
                          f"{self.staging}/QuillmarkGuard/built-for is not as in the distribution")

    def test_another_marker_is_named(self):
        self.marker.write_text("Rmm\nteam-1\npartner-2\nyes")
        self.assert_named(f"{self.marker} does not hold 'Rmm\\npartner-2\\nteam-1\\nyes'")
        self.marker.unlink()
        self.assert_named(f"{self.marker} does not hold 'Rmm\\npartner-2\\nteam-1\\nyes'")

    def test_what_is_missing_too_much_or_changed_is_named(self):
        client = self.scratch / "Applications/Quillmark.app"
        shutil.rmtree(self.home / "Applications/Quillmark.app")
        (client / "Contents/MacOS/Quillmark").chmod(0o644)
        (client / "Contents/Resources/tunnel.dat").write_bytes(b"")
        link = client / "Contents/Frameworks/QuillmarkKit.framework/Versions/Current"
        link.unlink()
        link.symlink_to("B")
        (client / "Contents/new").write_text("")
        (self.staging / "client.up.tunnelblick.sh").unlink()
        self.assert_named(f"{self.home}/Applications/Quillmark.app is missing",
                          f"{client}/Contents/MacOS/Quillmark is not as in the distribution",
                          f"{client}/Contents/Resources/tunnel.dat is not as in the distribution",
                          f"{link} is not as in the distribution",
                          f"{client}/Contents/new is not in the distribution",
                          f"{self.staging}/client.up.tunnelblick.sh is missing")


class InterfaceDescription(ScratchFolder):
    """The description of an interface file by which ibtool's and ours are compared."""

    def describe(self, text):
        interface, compiled = self.scratch / "MainMenu.xib", self.scratch / "MainMenu.nib"
        interface.write_text(text)
        outcome = run(REPOSITORY / "tools/compile-interface", interface, compiled)
        self.assertEqual(outcome.returncode, 0, outcome.stdout)
        program = BUILD / "tests/macos/describe_interface"
        outcome = subprocess.run([REPOSITORY / "tools/with-display", "--alone", program, compiled],
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60)
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        return outcome.stdout.splitlines()

    def test_it_tells_objects_connections_and_bindings_and_every_change_of_them(self):
        text = (REPOSITORY / "resources/MainMenu.xib").read_text()
        lines = self.describe(text)
        self.assertGreater(len(lines), 500)
        self.assertIn("application: delegate = delegate", lines)
        self.assertIn("delegate: outlet Window = window 0", lines)
        self.assertIn('window 0: title = "Quillmark Installer"', lines)
        for end in (": binding attributedTitle = installButtonTitle of delegate", ": action = installButtonClick:"):
            self.assertTrue([line for line in lines if line.endswith(end)], end)
        self.assertEqual(lines, self.describe(text))
        for old, new in (('selector="clickOnTC:"', 'selector="clickOnCT:"'),
                         ('<outlet property="andText" destination="And-Te-lbl"',
                          '<outlet property="andText" destination="Rea-Th-lbl"'),
                         ('keyPath="installButtonTitle"', 'keyPath="title"'),
                         ('x="98" y="406"', 'x="99" y="406"'),
                         ('title="Helper Version"', 'title="Helper version"')):
            with self.subTest(old):
                self.assertIn(old, text)
                # An old and a new line, or two of each: a control and its cell tell the same action.
                self.assertIn(len(set(self.describe(text.replace(old, new))) ^ set(lines)), (2, 4))
