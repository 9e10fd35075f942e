#!/usr/bin/env python3
"""Runs tests of the program kqdb.

Usage: run.py --program PATH [--launcher=COMMAND] [--without-line-editor] TEST...

TEST as unittest takes it: test_reading, test_reading.Tree.test_depth.
A launcher runs the program where the machine itself does not: a list with semicolons between its words.
A program is expected to have a line editor unless it was built without one.
"""
import argparse
import pathlib
import sys
import unittest

import program

sys.path.insert(0, str(pathlib.Path(__file__).parent))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path)
    parser.add_argument("--launcher", default="")
    parser.add_argument("--without-line-editor", action="store_true")
    parser.add_argument("tests", nargs="+")
    options = parser.parse_args()
    program.use(options.program.resolve(), [word for word in options.launcher.split(";") if word],
                line_editor=not options.without_line_editor)
    suite = unittest.defaultTestLoader.loadTestsFromNames(options.tests)
    result = unittest.TextTestRunner(verbosity=1).run(suite)
    sys.exit(0 if result.wasSuccessful() and result.testsRun else 1)


if __name__ == "__main__":
    main()
