"""A short part of what tools/torture does, the same each time."""

import random
import unittest

from support.mac import BUILD
from torture import cases, kills

SEED = "short"
FAULTS = BUILD / "tests/torture/faults.so"


class Cases(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = cases.open_desktop()
        cls.addClassCleanup(cls.desktop.close)

    def test_random_macs_end_as_the_model_says(self):
        for number in range(4):
            case = cases.draw(SEED, number)
            with self.subTest(case):
                self.assertIsNone(cases.fails(case, self.desktop))

    def test_a_difference_from_the_model_is_found_and_reduced(self):
        case = {"home": "bj\u00f6rn", "decoy": "file", "staging": "folder"}

        def fails(case):
            return "staging" in case and "a difference"

        self.assertEqual(cases.reduce(case, fails), {"staging": "folder"})
        place = cases.make_place(case)
        self.addCleanup(place.close)
        found = place.items()
        (place.at(place.home) / "stray").write_text("stray\n")
        with self.assertRaisesRegex(cases.Mismatch, "stray: file 0644 .*, expected nothing"):
            cases.compare_trees(place.items(), found)


class Disturbed(unittest.TestCase):
    def session(self, small=None):
        desktop = cases.open_desktop()
        self.addCleanup(desktop.close)
        session = kills.Session(desktop, small, FAULTS)
        self.addCleanup(session.close)
        return session

    def test_after_kills_an_undisturbed_run_leaves_what_a_clean_one_leaves(self):
        session = self.session()
        for number in range(2):
            with self.subTest(number):
                kills.kill(session, random.Random(f"{SEED}/{number}"))

    def test_after_two_installers_at_once_an_undisturbed_run_leaves_what_a_clean_one_leaves(self):
        kills.double(self.session(), random.Random(SEED))

    def test_after_a_full_volume_has_space_again_a_run_leaves_what_a_clean_one_leaves(self):
        kills.fill(self.session(lambda place: "/Applications"), random.Random(SEED))

    def test_under_failing_calls_it_ends_and_the_next_run_leaves_what_a_clean_one_leaves(self):
        kills.fault(self.session(), random.Random(SEED))
