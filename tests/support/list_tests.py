"""Prints every test in the modules as unittest names it, one a line.

usage, in the folder "tests": python3 -m support.list_tests MODULE ...
"""

import sys
import unittest


def tests_in(suite):
    for item in suite:
        if isinstance(item, unittest.TestSuite):
            yield from tests_in(item)
        else:
            yield item.id()


def tests_of(module):
    loader = unittest.TestLoader()
    found = list(tests_in(loader.loadTestsFromName(module)))
    if loader.errors:
        sys.exit("\n".join(loader.errors))
    if not found:
        sys.exit(f"{module}: there is no test in it")
    return found


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    for argument in sys.argv[1:]:
        print(*tests_of(argument), sep="\n")
