"""Of what ctest and GoogleTest write down, only what ran to a good end has passed."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import count_tests  # noqa: E402

CTEST = """<testsuite>
<testcase name="A.Passes" classname="A.Passes" status="run"/>
<testcase name="A.Fails" classname="A.Fails" status="fail"><failure message=""/></testcase>
<testcase name="A.Skips" classname="A.Skips" status="notrun"><skipped message=""/></testcase>
</testsuite>"""
GOOGLE_TEST = """<testsuites><testsuite name="A">
<testcase name="Passes" status="run" result="completed" classname="A"/>
<testcase name="Fails" status="run" result="completed" classname="A"><failure message=""/></testcase>
<testcase name="Skips" status="run" result="skipped" classname="A"><skipped message=""/></testcase>
<testcase name="IsDisabled" status="notrun" result="suppressed" classname="A"/>
</testsuite></testsuites>"""


class CountTestsTest(unittest.TestCase):
    def failed_of(self, results):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "results.xml"
            path.write_text(results, encoding="utf-8")
            return count_tests.failed_tests(path)

    def test_counts_what_ctest_wrote(self):
        self.assertEqual(self.failed_of(CTEST), (3, ["A.Fails", "A.Skips"]))

    def test_counts_what_google_test_wrote(self):
        self.assertEqual(self.failed_of(GOOGLE_TEST), (4, ["A.Fails", "A.Skips", "A.IsDisabled"]))


if __name__ == "__main__":
    unittest.main()
