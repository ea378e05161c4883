"""The table of times says what the results say, and nothing where they say nothing."""

import unittest

from bench_case import BenchCase, entry

import bench_table
from bench_results import BenchmarkFailed


class BenchTableTest(BenchCase):
    def rows_of(self, *entries):
        return list(bench_table.table([self.write("some.json", *entries)]))[2:]

    def test_holds_a_benchmark_against_its_floor_with_the_same_arguments(self):
        rows = self.rows_of(
            entry("copyPicture/bytes:1", cpu_time=2.0),
            entry("copyPicture/bytes:2", cpu_time=1.0),
            entry("buildPayload/bytes:1", cpu_time=3.0),
        )
        self.assertEqual(rows[2], "| `buildPayload/bytes:1` | 3 ms |  | `copyPicture` | 1.50 |")

    def test_a_benchmark_that_waits_is_timed_by_the_clock_on_the_wall(self):
        rows = self.rows_of(entry("one"), entry("other/iterations:3/manual_time"))
        self.assertEqual(rows, ["| `one` | 1 ms |  |  |  |", "| `other` | 2 ms |  |  |  |"])

    def test_medians_count_where_there_are_any(self):
        rows = self.rows_of(
            entry("one", cpu_time=5.0),
            entry("one_mean", run_name="one", run_type="aggregate", aggregate_name="mean"),
            entry(
                "one_median",
                run_name="one",
                run_type="aggregate",
                aggregate_name="median",
                cpu_time=3.0,
            ),
        )
        self.assertEqual(rows, ["| `one` | 3 ms |  |  |  |"])

    def test_a_ratio_measured_in_turns_is_taken_over(self):
        rows = self.rows_of(
            entry("captureToPayload", ratio=1.052),
            entry("pictureToJpegFile/line/threads:2", ratio=0.0449),
        )
        self.assertTrue(rows[0].endswith("| the same calls bare | 1.05 |"), rows[0])
        self.assertTrue(rows[1].endswith("| TurboJPEG over the whole picture | 0.045 |"), rows[1])

    def test_an_error_and_an_empty_file_are_failures(self):
        failed = entry("one", error_occurred=True, error_message="no picture")
        with self.assertRaisesRegex(BenchmarkFailed, "one: no picture"):
            self.rows_of(failed)
        with self.assertRaisesRegex(BenchmarkFailed, "no results"):
            self.rows_of()


if __name__ == "__main__":
    unittest.main()
