#!/usr/bin/env python3
"""End-to-end tests of the command line: what its users and scripts rely on.

    run.py --animpack PATH [--filter TEXT] [--fail-fast] [--no-memory-limit] [--list]

Speaks to the program only through its command line and reads what it writes; needs Python 3.11 and nothing else.
Ends with 1 if a test fails, and lists what was skipped and why. --no-memory-limit is for sanitizer builds, which
reserve more address space than the limit that broken files are tried under.
"""

import argparse
import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, "..", "..", "samples", "tools"))

import host  # noqa: E402  the folders above come first


def tests_of(suite):
    for entry in suite:
        if isinstance(entry, unittest.TestSuite):
            yield from tests_of(entry)
        else:
            yield entry


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--animpack", required=True, help="the program under test")
    arguments.add_argument("--filter", default="", help="only tests whose name holds this text")
    arguments.add_argument("--fail-fast", action="store_true", help="stop at the first failure")
    arguments.add_argument("--no-memory-limit", action="store_true")
    arguments.add_argument("--list", action="store_true", help="print the tests' names and stop")
    options = arguments.parse_args()
    host.PROGRAM = os.path.abspath(options.animpack)
    host.MEMORY_LIMIT = None if options.no_memory_limit else 2 << 30

    found = list(tests_of(unittest.defaultTestLoader.discover(HERE, "test_*.py", HERE)))
    chosen = [t for t in found if options.filter.lower() in t.id().lower()]
    if options.list:
        print("\n".join(t.id() for t in chosen))
        return 0
    if not chosen:
        print("no test matches '%s'" % options.filter, file=sys.stderr)
        return 2
    if not os.access(host.PROGRAM, os.X_OK):
        print("%s is not a program" % host.PROGRAM, file=sys.stderr)
        return 2
    result = unittest.TextTestRunner(verbosity=2, failfast=options.fail_fast).run(unittest.TestSuite(chosen))
    for test, reason in result.skipped:
        print("SKIPPED %s: %s" % (test.id(), reason), file=sys.stderr)
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
