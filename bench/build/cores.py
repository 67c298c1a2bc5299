#!/usr/bin/env python3
"""How many times one core two cores are, for a cold build of many small takes, and what this machine can give.

    bench/build/cores.py ANIMPACK [--files 600] [--takes 4] [--runs 7] [--folder /dev/shm]

The ceiling is two builds of their own at once, one on each core: what the cores share they share there too. A folder in
memory leaves the disk out of it.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

MAKE_LARGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "samples", "tools", "make_large.py")


def seconds(*builds):
    """Wall clock of builds that start together, each of the words of its command."""
    start = time.monotonic()
    running = [subprocess.Popen(words, stdout=subprocess.DEVNULL) for words in builds]
    if any(process.wait() != 0 for process in running):
        sys.exit("cores: a build has failed")
    return time.monotonic() - start


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("animpack")
    parser.add_argument("--files", default="600")
    parser.add_argument("--takes", default="4")
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("--folder", default="/dev/shm")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="cores-", dir=options.folder) as folder:
        tree = os.path.join(folder, "tree")
        make = (sys.executable, MAKE_LARGE, "sources", tree, "--files", options.files, "--takes", options.takes)
        subprocess.run(make, check=True)
        count = 0

        def build(core=None):
            nonlocal count
            count += 1
            out = os.path.join(folder, "packed%d" % count)
            pinned = () if core is None else ("taskset", "-c", str(core))
            return (*pinned, options.animpack, "build", "-q", "--assets", tree, "--out", out)

        ratios, ceilings = [], []
        for _ in range(options.runs):
            one, both, two = seconds(build(0)), seconds(build(0), build(1)), seconds(build())
            ratios.append(one / two)
            ceilings.append(2 * one / both)
            print("one core %.3f s  two %.3f s  %.2f times  ceiling %.2f" % (one, two, ratios[-1], ceilings[-1]))
        print("median: %.2f times one core, ceiling %.2f" % (statistics.median(ratios), statistics.median(ceilings)))


if __name__ == "__main__":
    main()
