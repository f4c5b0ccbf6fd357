#!/usr/bin/env python3
"""Reads the data-model source (see FORMAT.md), checks it, and derives the
figures of the embedded dictionary and the load lists from it.

    generate.py --check            parse, check, compare with counts.txt
    generate.py --counts           print the derived figures
    generate.py --output DIR       write the C++ data model into DIR

The work is done by the package igesgen beside this script.
"""

import argparse
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True  # nothing of the build lands in the source tree
sys.path.insert(0, HERE)

import igesgen  # noqa: E402


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output", metavar="DIR",
                        help="write the generated C++ into DIR (include/ and src/)")
    parser.add_argument("--check", action="store_true",
                        help="compare the derived figures with counts.txt")
    parser.add_argument("--counts", action="store_true", help="print the derived figures")
    args = parser.parse_args(argv)
    try:
        model = igesgen.load()
        counts = igesgen.derive_counts(model)
        if args.output:
            igesgen.emit(model, args.output)
    except igesgen.ModelError as error:
        print("error: %s" % error, file=sys.stderr)
        return 1
    if args.counts:
        for schema, figures in counts.items():
            for figure, number in figures.items():
                print("%-42s %-20s %d" % (schema, figure, number))
    if args.check:
        faults = igesgen.compare(counts, igesgen.read_expected(os.path.join(HERE, "counts.txt")))
        for fault in faults:
            print("error: %s" % fault, file=sys.stderr)
        return 1 if faults else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
