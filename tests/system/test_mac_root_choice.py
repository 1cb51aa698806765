"""Which of its ways tools/mac-root takes to run a program, on machines that allow less and less."""

import os
import shutil
import sys

from support import REPOSITORY
from support.mac_root import (MacRootTest, failure_of, obstacle_of_bubblewrap, obstacle_of_bubblewrap_as_root,
                              obstacle_of_proot)

CONFINED = REPOSITORY / "tests/support/confined.py"
ANN = "uid=501(ann) gid=20(staff) groups=20(staff)\n"


class FallingBack(MacRootTest):
    def test_without_namespaces_of_users_root_does_it_and_says_why(self):
        self.need(obstacle_of_bubblewrap_as_root())
        result = self.mac_root("--program", "/usr/bin/id", prefix=self.without_namespaces("user"))
        self.assertEqual((result.stdout, result.returncode), (ANN, 0))
        self.assertIn("mac-root: falling back to bubblewrap-as-root:\n"
                      "  bubblewrap: bwrap: Creating new namespace failed", result.stderr)

    def test_without_any_namespace_proot_does_it_and_says_why(self):
        self.need(obstacle_of_proot())
        result = self.mac_root("--program", "/usr/bin/id", prefix=self.without_namespaces("user,mnt"))
        self.assertEqual((result.stdout, result.returncode), (ANN, 0))
        self.assertIn("mac-root: falling back to proot:\n  bubblewrap: ", result.stderr)
        self.assertIn("\n  bubblewrap-as-root: ", result.stderr)

    def test_root_without_other_users_does_it_by_proot_and_has_no_more_rights_than_an_ordinary_user(self):
        self.need(obstacle_of_proot())
        script = "id; grep CapEff /proc/self/status; mkdir -m 0555 /tmp/closed; touch /tmp/closed/x 2>&1 || true"
        result = self.mac_root("--program", "/bin/sh", "--", "-c", script, prefix=self.without_other_users())
        self.assertEqual(result.stdout, f"{ANN}CapEff:\t0000000000000000\n"
                                        "touch: cannot touch '/tmp/closed/x': Permission denied\n", result.stderr)
        self.assertIn("\n  bubblewrap-as-root: there is no user 501 in this namespace", result.stderr)

    def test_faults_are_refused_when_only_proot_is_left(self):
        result = self.mac_root("--full", "/Applications", prefix=self.without_namespaces("user,mnt"))
        self.assert_refused(result, "proot: cannot make anything read-only or full", status=125)

    def test_without_bubblewrap_proot_does_it(self):
        self.need(obstacle_of_proot())
        environment = self.environment(PATH=self.only("proot", "setpriv"))
        result = self.mac_root("--program", "/usr/bin/id", environment=environment)
        self.assertEqual((result.stdout, result.returncode), (ANN, 0))
        self.assertIn("bubblewrap: bwrap is not installed\n", result.stderr)

    def test_without_any_of_them_every_reason_is_told(self):
        result = self.mac_root(environment=self.environment(PATH=self.only()))
        self.assert_refused(result, "nothing can be run in the root:\n  bubblewrap: bwrap is not installed\n"
                                    "  bubblewrap-as-root: bwrap is not installed\n  proot: proot is not installed\n",
                            status=125)
        self.assert_left_nothing()

    def test_a_way_that_was_asked_for_is_not_replaced(self):
        result = self.mac_root("--way", "bubblewrap", environment=self.environment(PATH=self.only("proot", "setpriv")))
        self.assert_refused(result, "bubblewrap: bwrap is not installed", status=125)

    def need(self, obstacle):
        if obstacle:
            self.skipTest(obstacle)

    def without_namespaces(self, kinds):
        """What is put before a command so that it can make none of these kinds: nothing where none can be made anyway."""
        if obstacle_of_bubblewrap() and ("mnt" not in kinds or obstacle_of_bubblewrap_as_root()):
            return []
        return self.confined(kinds, 65536)

    def without_other_users(self):
        self.need_root()
        if obstacle_of_bubblewrap() and failure_of("setpriv", "--reuid=501", "true"):
            return []
        return self.confined("user", 1)

    def confined(self, kinds, users):
        self.need_root()
        prefix = [sys.executable, CONFINED, kinds, str(users)]
        self.need(failure_of(*prefix, "true"))
        return prefix

    def need_root(self):
        self.need("only root can forbid namespaces" if os.geteuid() != 0 else None)

    def only(self, *programs):
        """A search path with these programs only."""
        folder = self.folder / "programs"
        folder.mkdir()
        for program in programs:
            (folder / program).symlink_to(shutil.which(program))
        return str(folder)
