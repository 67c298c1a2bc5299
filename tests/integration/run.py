#!/usr/bin/env python3
"""Runs the tests that need programs of others: run.py --animpack FILE [NAME]...

Each test_*.py beside this file is one module of unittest cases; `program` of integration.py tells them what they try.
A program that is not installed is a failure, never a skipped test.
"""

import argparse
import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import integration  # noqa: E402  the folder above comes first


def main() -> int:
    words = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    words.add_argument("--animpack", required=True, type=Path)
    words.add_argument("names", nargs="*", help="parts of file names; default: all")
    given = words.parse_args()
    integration.ANIMPACK = given.animpack.resolve(strict=True)

    suite = unittest.TestSuite()
    for path in sorted(HERE.glob("test_*.py")):
        if not given.names or any(name in path.stem for name in given.names):
            suite.addTests(unittest.defaultTestLoader.loadTestsFromName(path.stem))
    if suite.countTestCases() == 0:
        sys.exit("no test has such a name")
    return 0 if unittest.TextTestRunner(verbosity=2).run(suite).wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
