"""The model by itself, where it is more than a list of steps."""

import unittest

from torture.failures import outcome, outcomes
from torture.model import Files, Item, Text, headings
from torture.shell import commands

FOLDER = Item("folder", 0o755)


def words(line):
    return commands(line, lambda pattern: [pattern.replace("*", "1"), pattern.replace("*", "2")])


class Shell(unittest.TestCase):
    def test_blanks_part_words_and_quotes_hold_them_together(self):
        self.assertEqual(words("cp -R /a b 'c d'\"e f\""), [["cp", "-R", "/a", "b", "c de f"]])

    def test_an_operator_ends_a_command(self):
        self.assertEqual(words("cp /a;b|c&d"), [["cp", "/a"], ["b"], ["c"], ["d"]])

    def test_what_the_shell_cannot_read_is_not_run_at_all(self):
        for line in ["cp /a(b", "cp 'a", 'cp "a', "cp `a", "true; cp a)"]:
            self.assertEqual(words(line), [])

    def test_a_command_whose_output_cannot_be_redirected_is_not_run(self):
        self.assertEqual(words("cp /a>b /c; d"), [["d"]])

    def test_unknown_variables_and_commands_leave_nothing(self):
        self.assertEqual(words("cp /a$x/b`c`d $ e$"), [["cp", "/a/bd", "$", "e$"]])

    def test_patterns_become_what_they_match(self):
        self.assertEqual(words("cp a* '*'"), [["cp", "a1", "a2", "*"]])

    def test_a_comment_begins_only_at_a_word(self):
        self.assertEqual(words("cp a#b #c"), [["cp", "a#b"]])


class FileSystem(unittest.TestCase):
    def files(self, **items):
        tree = {"/home": FOLDER, **{f"/home/{path}": item for path, item in items.items()}}
        return Files(tree, ["/home"], [])

    def test_a_link_to_itself_leads_nowhere(self):
        self.assertFalse(self.files(a=Item("link", 0, "/home/a")).exists("/home/a"))

    def test_a_pattern_finds_names_and_stays_if_there_are_none(self):
        files = self.files(a1=FOLDER, a2=FOLDER)
        self.assertEqual(files.glob("/home/a*"), ["/home/a1", "/home/a2"])
        self.assertEqual(files.glob("/home/b*"), ["/home/b*"])

    def test_nothing_is_removed_from_a_folder_that_may_not_be_written(self):
        files = self.files(a=Item("folder", 0o555))
        files.items["/home/a/b"] = Item("file", 0o644, b"")
        self.assertFalse(files.remove("/home/a"))
        self.assertTrue(files.exists("/home/a/b"))

    def test_cp_merges_folders_and_writes_into_old_files(self):
        files = self.files(a=FOLDER, b=FOLDER)
        files.items |= {"/home/a/x": Item("file", 0o755, b"new"), "/home/b/a": FOLDER,
                        "/home/b/a/x": Item("file", 0o600, b"old"), "/home/b/a/y": Item("file", 0o600, b"kept")}
        files.cp(["/home/a", "/home/b"])
        self.assertEqual(files.items["/home/b/a/x"], Item("file", 0o600, b"new"))
        self.assertEqual(files.items["/home/b/a/y"].content, b"kept")


class Texts(unittest.TestCase):
    def test_of_a_heading_the_end_counts_less_a_byte(self):
        self.assertEqual(headings(b"SOFTWARE LICENSE AGREEMENT FOR macOS or macOS Big Sur\\\nmacOS X\n"), b"Big Sur\n")
        self.assertEqual(headings(None), b"")

    def test_a_text_with_open_middle_equals_only_what_begins_and_ends_so(self):
        self.assertEqual(Text(b"Rmm\n", b"\nyes"), b"Rmm\n(a)\nyes")
        self.assertNotEqual(Text(b"Rmm\n", b"\nyes"), b"Rmm\nyes")


class Failures(unittest.TestCase):
    def test_every_pair_of_file_operations_is_in_the_table_for_both_installations(self):
        pairs = [row for row in outcomes() if row[0]]
        self.assertEqual(len(pairs), 2 * 12 * 11 // 2)

    def test_without_a_failure_the_old_is_gone(self):
        self.assertNotIn("old: old", outcome(managed=True)[-1])
