"""The report writes tables between their marks, leaves everything else alone, and fails whole."""

import unittest

from bench_case import BenchCase, entry

import bench_report
from bench_results import BenchmarkFailed

END = "<!-- end of table -->"


class BenchReportTest(BenchCase):
    def renewed(self, text):
        path = self.folder / "document.md"
        path.write_text(text, encoding="utf-8")
        try:
            bench_report.main(self.folder, path)
        finally:
            self.written = path.read_text(encoding="utf-8")
        return self.written.splitlines()

    def test_only_what_stands_between_the_marks_is_replaced(self):
        self.write_peers()
        lines = self.renewed(f"before\n<!-- table: peers -->\nold\n{END}\nafter\n")
        self.assertEqual(lines[:2] + lines[-2:], ["before", "<!-- table: peers -->", END, "after"])
        self.assertNotIn("old", lines)
        self.assertEqual(len(lines), 4 + 6 + 2)

    def test_the_table_of_peers_shows_both_sides_the_ratio_and_the_aim(self):
        self.write_peers()
        lines = self.renewed(f"<!-- table: peers -->\n{END}\n")
        self.assertEqual(
            lines[3],
            "| moving | H.264 | 210 ms, 840 ms | 0.25 | 0.65 | 0.25 | 0.875 MB, 0.9 MB | 29.9, 30.0 "
            "| 20.1 dB, 19.8 dB |",
        )
        self.assertIn("| still | JPEG | ", lines[6])

    def test_the_table_of_changes_shows_all_three_ways(self):
        self.write_changes(oursProcessorMs=0.38)
        lines = self.renewed(f"<!-- table: changes -->\n{END}\n")
        self.assertEqual(
            lines[5],
            "| 1920 x 1080 | a line of text | 380 us, 8 ms, 25 ms | 0.050 | 0.06 "
            "| 400 us, 8 ms, 25 ms |",
        )
        self.assertTrue(lines[3].endswith(" | 0.050 |  |  |"), lines[3])
        self.assertEqual(len(lines), 2 + 2 + 10 + 2)

    def test_the_table_of_times_adds_up_the_programs(self):
        for program in bench_report.TIMES:
            self.write(f"{program}_bench.json", entry(f"{program}Benchmark"))
        lines = self.renewed(f"<!-- table: times -->\n{END}\n")
        self.assertEqual(len(lines), 2 + 2 + len(bench_report.TIMES) + 2)

    def test_below_a_table_stands_where_it_comes_from(self):
        self.write_peers()
        lines = self.renewed(f"<!-- table: peers -->\n{END}\n")
        self.assertEqual(
            lines[-2],
            "Measured on 2026-11-21 on 2 processors of 2.3 GHz; load average before it began: "
            "0.0625.",
        )

    def test_a_missing_result_leaves_the_file_as_it_was(self):
        text = f"<!-- table: peers -->\nold\n{END}\n"
        with self.assertRaises(FileNotFoundError):
            self.renewed(text)
        self.assertEqual(self.written, text)

    def test_a_table_that_nobody_makes_is_an_error(self):
        with self.assertRaisesRegex(BenchmarkFailed, "no table of the name pears"):
            self.renewed(f"<!-- table: pears -->\n{END}\n")


if __name__ == "__main__":
    unittest.main()
