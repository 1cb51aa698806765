"""Prints the file, the class and the name of every test that unittest finds in the files, one test a line.

usage: list_tests.py FILE ...
"""

import sys
import unittest
from pathlib import Path


def tests_in(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from tests_in(item)
        else:
            yield item


def list_file(file):
    sys.path.insert(0, str(Path(file).resolve().parent))
    loader = unittest.TestLoader()
    found = [test.id().split(".")[-2:] for test in tests_in(loader.loadTestsFromName(Path(file).stem))]
    if loader.errors:
        sys.exit("\n".join(loader.errors))
    if not found:
        sys.exit(f"{file}: there is no test in it")
    for class_name, test_name in found:
        print(file, class_name, test_name)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    for argument in sys.argv[1:]:
        list_file(argument)
