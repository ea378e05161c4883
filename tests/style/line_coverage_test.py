"""The line coverage report counts what the tracefile says and nothing else."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import line_coverage  # noqa: E402

ROOT = line_coverage.ROOT.as_posix()
TRACE = f"""SF:{ROOT}/platform/macos/A.mm
DA:3,1
DA:4,0
DA:5,0
DA:9,0
DA:10,7
end_of_record
SF:{ROOT}/platform/macos/B.mm
DA:1,2
end_of_record
SF:{ROOT}/platform/macos/A.mm
DA:9,1
end_of_record
SF:{ROOT}/Runner/C.cpp
DA:1,0
end_of_record
"""


class LineCoverageTest(unittest.TestCase):
    def run_on(self, trace, *arguments):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "trace.info"
            path.write_text(trace, encoding="utf-8")
            output = io.StringIO()
            with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
                status = line_coverage.main([str(path), *arguments])
        return status, output.getvalue()

    def test_adds_up_the_lines_of_the_folder(self):
        status, output = self.run_on(TRACE, "platform/macos", "60")
        self.assertEqual(status, 0)
        self.assertIn("4 of     6    66.7 %", output.splitlines()[-1])
        self.assertNotIn("Runner", output)

    def test_names_the_lines_that_did_not_run(self):
        _, output = self.run_on(TRACE, "platform/macos", "60")
        self.assertIn("not run: 4-5", output.splitlines()[0])
        self.assertNotIn("not run", output.splitlines()[1])

    def test_fails_below_the_minimum(self):
        status, _ = self.run_on(TRACE, "platform/macos", "67")
        self.assertEqual(status, 1)

    def test_does_not_pass_when_there_is_nothing_to_count(self):
        status, output = self.run_on(TRACE, "platform/mac", "0")
        self.assertEqual(status, 2)
        self.assertIn("knows no lines", output)


if __name__ == "__main__":
    unittest.main()
