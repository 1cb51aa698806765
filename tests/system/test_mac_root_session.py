"""What tools/mac-root hands on of the caller's: the display, and what sanitizers and coverage need."""

import os
import shutil
import tempfile
from pathlib import Path

from support.mac_root import MacRootTest


class SanitizersAndCoverage(MacRootTest):
    def test_files_that_they_name_can_be_reached(self):
        # Not in memory: what lies in /dev can be reached in the root by its owner only.
        folder = Path(tempfile.mkdtemp(dir="/var/tmp"))
        self.addCleanup(shutil.rmtree, folder)
        folder.chmod(0o755)
        suppressions = folder / "lsan.supp"
        suppressions.write_text("leak:nothing\n")
        profiles = folder / "profiles"
        profiles.mkdir()
        profiles.chmod(0o777)
        environment = self.environment(LSAN_OPTIONS=f"verbosity=0:suppressions={suppressions}",
                                       LLVM_PROFILE_FILE=f"{profiles}/%p.profraw")
        self.assertEqual(self.inside(f'cat {suppressions}; touch "${{LLVM_PROFILE_FILE}}"', environment=environment),
                         "leak:nothing\n")
        self.assertEqual(os.listdir(profiles), ["%p.profraw"])

    def test_a_suppressions_file_without_a_full_path_is_refused(self):
        result = self.mac_root(environment=self.environment(LSAN_OPTIONS="suppressions=lsan.supp"))
        self.assert_refused(result, "LSAN_OPTIONS names lsan.supp", status=125)


class Display(MacRootTest):
    def test_without_a_display_there_is_none_inside(self):
        environment = self.environment()
        environment.pop("DISPLAY", None)
        self.assertEqual(self.inside('echo "${DISPLAY-none}"; ls -A /tmp', environment=environment), "none\n")

    def test_the_display_is_the_callers_unless_another_one_is_named(self):
        environment = self.environment(DISPLAY=":4711")
        self.assertEqual(self.inside("echo $DISPLAY", environment=environment), ":4711\n")
        self.assertEqual(self.inside("echo $DISPLAY", "--display", ":42", environment=environment), ":42\n")

    def test_the_callers_x_authority_can_be_read(self):
        authority = self.folder / "authority"
        authority.write_text("cookie\n")
        environment = self.environment(XAUTHORITY=str(authority))
        self.assertEqual(self.inside("cat $XAUTHORITY", "--display", ":42", environment=environment), "cookie\n")
