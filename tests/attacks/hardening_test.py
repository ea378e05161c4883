"""Looks at built programs and libraries for what the compiler and the linker were to put into them.

Usage: hardening_test.py --programs FILE... --libraries FILE...
"""

import argparse
import platform
import re
import subprocess
import sys
import unittest

PROGRAMS = []
LIBRARIES = []

# What an object says of itself where the processor can check jumps and returns.
CONTROL_FLOW = {"x86_64": ("IBT", "SHSTK"), "aarch64": ("BTI", "PAC")}


def readelf(option, file):
    return subprocess.run(
        ["readelf", "--wide", option, file], check=True, capture_output=True, text=True
    ).stdout


class Hardening(unittest.TestCase):
    def assert_each_program_has(self, option, pattern, without=()):
        """Looks for the pattern in what readelf says of each program but those named."""
        self.assertTrue(PROGRAMS)
        for program in PROGRAMS:
            if not program.endswith(tuple(without)):
                with self.subTest(program=program):
                    self.assertTrue(re.search(pattern, readelf(option, program)), pattern)

    def test_programs_can_be_loaded_anywhere(self):
        self.assert_each_program_has("--file-header", r"Type:\s+DYN ")
        self.assert_each_program_has("--program-headers", r"(?m)^\s+INTERP\s")

    def test_what_the_linker_filled_in_is_read_only_from_the_start(self):
        self.assert_each_program_has("--program-headers", r"(?m)^\s+GNU_RELRO\s")
        self.assert_each_program_has("--dynamic", r"\(FLAGS_1\)\s+Flags:.*\bNOW\b")

    def test_the_stack_holds_no_code(self):
        self.assert_each_program_has(
            "--program-headers", r"(?m)^\s+GNU_STACK(\s+0x\S+){5}\s+RW\s"
        )

    def test_a_stack_that_was_written_over_is_noticed(self):
        self.assert_each_program_has("--dyn-syms", r"\b__stack_chk_fail@")

    def test_writes_of_the_standard_library_are_checked(self):
        # Of the functions that are checked quorvin-launchctl uses none that needs it.
        self.assert_each_program_has(
            "--dyn-syms", r"\b__(?!stack_)\w+_chk@", without=["quorvin-launchctl"]
        )

    def test_jumps_can_be_checked_by_the_processor(self):
        marks = CONTROL_FLOW.get(platform.machine())
        if marks is None:  # no such processor feature
            return
        self.assertTrue(LIBRARIES)
        for library in LIBRARIES:
            members = re.split(r"(?m)^File: ", readelf("--notes", library))[1:]
            self.assertTrue(members, library)
            for member in members:
                for mark in marks:
                    with self.subTest(member=member.split("\n")[0], mark=mark):
                        self.assertTrue(re.search(rf"Properties:.*\b{mark}\b", member))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--programs", nargs="+", required=True)
    parser.add_argument("--libraries", nargs="+", required=True)
    given = parser.parse_args()
    PROGRAMS, LIBRARIES = given.programs, given.libraries
    unittest.main(argv=sys.argv[:1])
