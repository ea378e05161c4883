"""The picture shows every result once, at its place, and is whole or not made at all."""

import unittest
from xml.etree import ElementTree

from bench_case import BenchCase, entry

import change_chart
from bench_results import BenchmarkFailed

SVG = "{http://www.w3.org/2000/svg}"


class ChangeChartTest(BenchCase):
    def drawn(self):
        picture = self.folder / "picture.svg"
        change_chart.main(self.folder / "change_bench.json", picture)
        return ElementTree.parse(picture).getroot()

    def marks(self, drawing, shape, way):
        return [mark for mark in drawing.iter(SVG + shape) if mark.get("class") == way]

    def test_every_way_has_a_mark_for_each_change_and_one_in_the_legend(self):
        self.write_changes()
        drawing = self.drawn()
        for shape, way in (("circle", "ours"), ("rect", "bare"), ("polygon", "ffmpeg")):
            # Five processor times and four latencies, on two screens.
            self.assertEqual(len(self.marks(drawing, shape, way)), 1 + 2 * (5 + 4))

    def test_a_decade_is_as_long_everywhere(self):
        axis = change_chart.axis_for([0.02, 30.0])
        self.assertEqual(list(axis.decades()), [-2, -1, 0, 1, 2])
        self.assertAlmostEqual(axis.place(100), change_chart.PANEL_WIDTH)
        self.assertAlmostEqual(axis.place(0.2) - axis.place(0.02), axis.place(0.1))

    def test_a_dearer_change_lies_further_to_the_right(self):
        self.write_changes(oursProcessorMs=4.0)
        circles = self.marks(self.drawn(), "circle", "ours")[1:6]
        places = [float(circle.get("cx")) for circle in circles]
        self.assertEqual([place > places[0] for place in places], [False, False, True, False, False])

    def test_the_numbers_stand_beside_the_marks(self):
        self.write_changes(oursLatencyMs=0.123, ffmpegLatencyMs=234.5)
        texts = [text.text for text in self.drawn().iter(SVG + "text")]
        self.assertIn("0.12", texts)
        self.assertIn("234", texts)

    def test_nothing_is_drawn_of_results_that_lack_something(self):
        self.write("change_bench.json", entry("costOfChange/1920x1080/caret", oursProcessorMs=1.0))
        with self.assertRaisesRegex(BenchmarkFailed, "no result"):
            self.drawn()
        self.assertFalse((self.folder / "picture.svg").exists())

    def test_a_time_of_nothing_is_an_error(self):
        self.write_changes(oursProcessorMs=0.0)
        with self.assertRaisesRegex(BenchmarkFailed, "cannot be drawn"):
            self.drawn()


if __name__ == "__main__":
    unittest.main()
