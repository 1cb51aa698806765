"""A short part of what tools/torture does, the same each time."""

import random
import unittest

from support.desktop import Desktop
from torture import kills

SEED = "short"


class Disturbed(unittest.TestCase):
    def session(self, small=None):
        desktop = Desktop()
        self.addCleanup(desktop.close)
        session = kills.Session(desktop, small)
        self.addCleanup(session.close)
        return session

    def test_after_kills_an_undisturbed_run_leaves_what_a_clean_one_leaves(self):
        session = self.session()
        for number in range(3):
            with self.subTest(number):
                kills.kill(session, random.Random(f"{SEED}/{number}"))

    def test_after_two_installers_at_once_an_undisturbed_run_leaves_what_a_clean_one_leaves(self):
        kills.pair(self.session(), random.Random(SEED))

    def test_after_a_full_volume_has_space_again_a_run_leaves_what_a_clean_one_leaves(self):
        kills.full_volume(self.session("/Applications"), random.Random(SEED))

    def test_under_failing_calls_it_ends_and_the_next_run_leaves_what_a_clean_one_leaves(self):
        kills.failing_calls(self.session(), random.Random(SEED))
