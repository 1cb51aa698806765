"""Runs one test as "python3 -m unittest -v" does, and tells ctest by the exit status what became of it: 0 if it passed,
77 if it or a part of it was skipped and nothing failed, 1 otherwise.

usage, in the folder "tests": python3 -m support.run_test TEST
"""

import sys
import unittest

SKIPPED = 77


def status_of(result):
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.skipped else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(status_of(unittest.main(module=None, argv=sys.argv, verbosity=2, exit=False).result))
