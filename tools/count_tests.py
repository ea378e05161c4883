#!/usr/bin/env python3
"""Counts the tests of JUnit files as ctest writes them.

Prints "<passed> <failed>" and then the name of each test that did not pass, one a line. A test
that was skipped, disabled or could not be run did not pass.
"""

import sys
import xml.etree.ElementTree as ElementTree


def failed_tests(path):
    """The number of tests in the file, and the names of those that did not pass."""
    cases = list(ElementTree.parse(path).getroot().iter("testcase"))
    failed = [case.get("name", "?") for case in cases if case.get("status") != "run"]
    return len(cases), failed


def main(paths):
    total = 0
    failed = []
    for path in paths:
        count, names = failed_tests(path)
        total += count
        failed += names
    print(total - len(failed), len(failed))
    for name in failed:
        print(name)


if __name__ == "__main__":
    main(sys.argv[1:])
