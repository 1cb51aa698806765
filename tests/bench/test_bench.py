"""The plain parts of tools/bench: statistics, the form of what it writes, the picture, and what it refuses."""

import contextlib
import importlib.machinery
import importlib.util
import io
import json
import unittest
import xml.etree.ElementTree

from bench import figures, picture
from bench.figures import Figure
from support import REPOSITORY

SLOWER = Figure(1, "sample payload", "s", [0.25, 0.5, 0.375], "shell script", [0.125, 0.125, 0.375])
ALONE = Figure(5, "arm64, imports", "", [120])


class Figures(unittest.TestCase):
    def test_the_ratio_is_the_median_of_the_pairs_not_that_of_the_medians(self):
        self.assertEqual(SLOWER.median / SLOWER.other, 3)
        self.assertEqual(SLOWER.ratio, 2)

    def test_the_difference_is_that_of_the_pairs(self):
        self.assertAlmostEqual(SLOWER.difference, 0.125)

    def test_a_single_value_is_its_own_spread(self):
        self.assertEqual(ALONE.spread, [120, 120])
        self.assertEqual((ALONE.ratio, ALONE.difference), (None, None))

    def test_the_spread_is_the_quartiles(self):
        self.assertEqual(figures.quartiles([5, 1, 4, 2, 3]), [2, 4])

    def test_values_without_a_partner_are_refused(self):
        with self.assertRaisesRegex(ValueError, "no pairs"):
            Figure(1, "a", "s", [1, 2], "b", [1])

    def test_nothing_measured_is_refused(self):
        with self.assertRaisesRegex(ValueError, "nothing was measured"):
            Figure(1, "a", "s", [])

    def test_a_figure_comes_back_from_json_as_it_was(self):
        for figure in [SLOWER, ALONE]:
            self.assertEqual(figures.from_json(json.loads(json.dumps(figure.as_json()))), figure)

    def test_times_memory_and_counts_are_told_in_units_that_are_read(self):
        told = [figures.text(*value) for value in [(0.0473, "s"), (2.5, "s"), (51200, "kB"), (116500, "bytes"), (7, "")]]
        self.assertEqual(told, ["47 ms", "2.50 s", "50.0 MiB", "116,500 bytes", "7"])

    def test_the_table_has_each_figure_beside_the_earlier_one_of_its_name(self):
        earlier = Figure(1, "sample payload", "s", [0.6], "shell script", [0.1])
        row = figures.table([SLOWER, ALONE], [earlier]).splitlines()[2]
        self.assertEqual(row, "| sample payload | 600 ms | 375 ms | 312 ms – 438 ms | shell script, 125 ms | 6.00 (+500 ms) | 2.00 (+125 ms) |")


class Picture(unittest.TestCase):
    def test_it_is_well_formed_and_tells_names_and_values(self):
        strange = Figure(3, "<& 1 GB", "kB", [2048], "10 MB", [1024])
        root = xml.etree.ElementTree.fromstring(picture.svg([SLOWER, strange, ALONE], "caption"))
        texts = [text.text for text in root.iter("{http://www.w3.org/2000/svg}text")]
        for text in ["sample payload", "375 ms", "125 ms, ratio 2.00", "<& 1 GB", "2.0 MiB", "caption"]:
            self.assertIn(text, texts)
        self.assertNotIn("arm64, imports", texts)

    def test_the_longest_bar_leaves_room_for_its_value(self):
        root = xml.etree.ElementTree.fromstring(picture.svg([SLOWER], "caption"))
        longest = max(float(bar.get("x")) + float(bar.get("width")) for bar in root.iter("{http://www.w3.org/2000/svg}rect"))
        self.assertLessEqual(longest, picture.WIDTH - picture.VALUES)

    def test_times_and_memory_of_one_measurement_have_scales_of_their_own(self):
        memory = Figure(1, "memory", "kB", [50_000], "shell script", [50_000])
        root = xml.etree.ElementTree.fromstring(picture.svg([SLOWER, memory], "caption"))
        lengths = [float(bar.get("width")) for bar in root.iter("{http://www.w3.org/2000/svg}rect")]
        self.assertEqual(lengths[0], lengths[2])

    def test_a_picture_of_nothing_is_refused(self):
        with self.assertRaisesRegex(ValueError, "no pair"):
            picture.svg([ALONE], "caption")


class Options(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        loader = importlib.machinery.SourceFileLoader("bench_command", str(REPOSITORY / "tools/bench"))
        cls.command = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
        loader.exec_module(cls.command)

    def refused(self, *words):
        with self.assertRaises(SystemExit) as end, contextlib.redirect_stderr(io.StringIO()) as errors:
            self.command.parse(words)
        self.assertEqual(end.exception.code, 2)
        self.assertIn("usage: bench", errors.getvalue())
        return errors.getvalue()

    def test_without_options_everything_is_measured_in_pairs(self):
        options = self.command.parse([])
        self.assertEqual((options.numbers, options.pairs, options.update_docs), ([1, 2, 3, 4, 5, 6], 15, False))

    def test_what_it_does_not_know_is_refused_with_its_usage(self):
        self.refused("--unknown")
        self.refused("word")
        self.refused("--only", "7")
        self.refused("--pairs", "0")
        self.refused("--pairs", "many")

    def test_documents_are_not_written_from_a_part_of_the_measurements(self):
        self.assertIn("leaves some out", self.refused("--update-docs", "--only", "1"))
