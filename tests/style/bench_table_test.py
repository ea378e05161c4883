"""The tables say what the results say, nothing where they say nothing, and are written whole."""

import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))

import bench_table
from bench_table import BenchmarkFailed

CONTEXT = {
    "date": "2026-11-21T16:02:14+00:00",
    "num_cpus": 2,
    "mhz_per_cpu": 2300,
    "load_avg": [0.0625, 0.5, 1.0],
}
MARK = "<!-- table: some -->"
END = "<!-- end of table -->"


def entry(name, **values):
    """A benchmark that ran once, as the library writes it down."""
    return {
        "name": name,
        "run_name": name,
        "run_type": "iteration",
        "real_time": 2.0,
        "cpu_time": 1.0,
        "time_unit": "ms",
        **values,
    }


class BenchTableTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, *entries):
        path = self.folder / name
        path.write_text(json.dumps({"context": CONTEXT, "benchmarks": entries}), encoding="utf-8")
        return path

    def lines_of(self, *entries):
        return list(bench_table.table([self.write("some.json", *entries)]))

    def rows_of(self, *entries):
        return self.lines_of(*entries)[2:]

    def test_holds_a_benchmark_against_its_floor_with_the_same_arguments(self):
        rows = self.rows_of(
            entry("copyFrame/bytes:1", cpu_time=2.0),
            entry("copyFrame/bytes:2", cpu_time=1.0),
            entry("buildPayload/bytes:1", cpu_time=3.0),
        )
        self.assertEqual(rows[2], "| `buildPayload/bytes:1` | 3 ms | `copyFrame` | 1.50 |")

    def test_a_benchmark_that_waits_is_timed_by_the_clock_on_the_wall(self):
        rows = self.rows_of(entry("one"), entry("other/iterations:3/manual_time"))
        self.assertEqual(rows, ["| `one` | 1 ms |", "| `other` | 2 ms |"])

    def test_medians_count_where_there_are_any(self):
        mean = {"run_name": "one", "run_type": "aggregate", "aggregate_name": "mean"}
        median = mean | {"aggregate_name": "median", "cpu_time": 3.0}
        rows = self.rows_of(
            entry("one", cpu_time=5.0), entry("one_mean", **mean), entry("one_median", **median)
        )
        self.assertEqual(rows, ["| `one` | 3 ms |"])

    def test_a_ratio_measured_in_turns_is_taken_over(self):
        rows = self.rows_of(
            entry("captureToPayload", ratio=1.052),
            entry("frameToJpegFile/line/threads:2", ratio=0.0449),
        )
        self.assertTrue(rows[0].endswith("| the same calls bare | 1.05 |"), rows[0])
        self.assertTrue(rows[1].endswith("| TurboJPEG over the whole picture | 0.045 |"), rows[1])

    def test_a_target_stands_beside_the_ratio(self):
        rows = self.rows_of(entry("costOfChange/1920x1080/line/manual_time", ratio=0.05))
        self.assertTrue(rows[0].endswith(" | 0.050 | 0.06 |"), rows[0])

    def test_a_table_of_one_program_shows_its_counters(self):
        lines = self.lines_of(entry("one", oursMs=0.41), entry("other", oursMs=4100.0, bareMs=2.0))
        self.assertEqual(lines[0], "| Benchmark | Time | oursMs | bareMs |")
        self.assertEqual(lines[2:], ["| `one` | 1 ms | 0.41 |  |", "| `other` | 1 ms | 4,100 | 2 |"])
        paths = [self.write("another.json", entry("another", oursMs=1.0)), self.folder / "some.json"]
        self.assertEqual(list(bench_table.table(paths))[0], "| Benchmark | Time |")

    def test_an_error_and_an_empty_file_are_failures(self):
        failed = entry("one", error_occurred=True, error_message="no picture")
        with self.assertRaisesRegex(BenchmarkFailed, "one: no picture"):
            self.rows_of(failed)
        with self.assertRaisesRegex(BenchmarkFailed, "no results"):
            self.rows_of()

    def renewed(self, text):
        path = self.folder / "document.md"
        path.write_text(text, encoding="utf-8")
        try:
            bench_table.main(["--renew", str(path), str(self.folder)])
        finally:
            self.written = path.read_text(encoding="utf-8")
        return self.written.splitlines()

    def test_only_what_stands_between_the_marks_is_replaced(self):
        self.write("some.json", entry("one"))
        lines = self.renewed(f"before\n{MARK}\nold\n{END}\nafter\n")
        self.assertEqual(lines[:2] + lines[-2:], ["before", MARK, END, "after"])
        self.assertEqual(lines[4], "| `one` | 1 ms |")
        self.assertEqual(
            lines[6],
            "Measured on 2026-11-21 on 2 processors of 2.3 GHz; load average before it began: "
            "0.0625.",
        )

    def test_a_missing_result_leaves_the_document_as_it_was(self):
        text = f"{MARK}\nold\n{END}\n"
        with self.assertRaises(FileNotFoundError):
            self.renewed(text)
        self.assertEqual(self.written, text)


if __name__ == "__main__":
    unittest.main()
