#!/usr/bin/env python3
"""Counts the tests of JUnit files as ctest and GoogleTest write them.

Prints "<passed> <failed>" and then the name of each test that did not pass, one a line. A test
that was skipped, disabled or could not be run did not pass.
"""

import sys
import xml.etree.ElementTree as ElementTree


def passed(case):
    """GoogleTest says of a test that failed that it was run, and adds what failed."""
    ended_well = case.get("status") == "run" and case.get("result", "completed") == "completed"
    return ended_well and case.find("failure") is None


def name_of(case):
    """ctest knows only whole names, and writes them twice."""
    name, suite = case.get("name", "?"), case.get("classname")
    return name if suite in (None, name) else f"{suite}.{name}"


def failed_tests(path):
    """The number of tests in the file, and the names of those that did not pass."""
    cases = list(ElementTree.parse(path).getroot().iter("testcase"))
    return len(cases), [name_of(case) for case in cases if not passed(case)]


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
