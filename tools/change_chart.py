#!/usr/bin/env python3
"""Draws what a change of the screen costs as an SVG picture, from the results of change_bench.

Usage: change_chart.py change_bench.json PICTURE.svg

Exit status 1 when results are missing or a benchmark reported an error.
"""

import math
import sys
from typing import NamedTuple
from xml.sax.saxutils import escape

from bench_results import BenchmarkFailed, cases_of

CHANGES = {
    "none": "nothing",
    "caret": "a caret",
    "line": "a line of text",
    "quarter": "a quarter",
    "everything": "everything",
}
SCREENS = {"1920x1080": "1920 × 1080", "2560x1600": "2560 × 1600 scaled to 1920 × 1200"}
WAYS = {"ours": "host", "bare": "TurboJPEG, whole screen", "ffmpeg": "ffmpeg x11grab, mjpeg"}
MEASURES = {
    "ProcessorMs": "Processor time for each change, in milliseconds",
    "LatencyMs": "From the change to the payload, in milliseconds",
}

WIDTH = 920
LEFT = 128
GAP = 60
PANEL_WIDTH = (WIDTH - LEFT - GAP - 40) / 2
TOP = 92
ROW_HEIGHT = 44
PANEL_HEAD = 48
AXIS_HEIGHT = 44

STYLE = """
svg { font-family: system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; }
.card { fill: #ffffff; stroke: #d1d9e0; }
text { fill: #1f2328; font-size: 13px; }
.title { font-size: 17px; font-weight: 600; }
.head { font-weight: 600; }
.muted { fill: #59636e; font-size: 12px; }
.value { font-size: 11px; }
.grid { stroke: #e3e8ed; }
.span { stroke: #c4ccd4; stroke-width: 2; }
.ours { fill: #0969da; }
.bare { fill: #bc4c00; }
.ffmpeg { fill: #57606a; }
@media (prefers-color-scheme: dark) {
  .card { fill: #151b23; stroke: #3d444d; }
  text { fill: #f0f6fc; }
  .muted { fill: #9198a1; }
  .grid { stroke: #2a313a; }
  .span { stroke: #4a525c; }
  .ours { fill: #4493f8; }
  .bare { fill: #f0883e; }
  .ffmpeg { fill: #9ea7b3; }
}
"""


class Axis(NamedTuple):
    """A logarithmic axis over whole decades of milliseconds."""

    first: int
    last: int

    def place(self, value):
        share = (math.log10(value) - self.first) / (self.last - self.first)
        return share * PANEL_WIDTH

    def decades(self):
        return range(self.first, self.last + 1)


def axis_for(values):
    if not values or min(values) <= 0:
        raise BenchmarkFailed("a time that is not more than nothing cannot be drawn")
    first = math.floor(math.log10(min(values)))
    return Axis(first, max(math.ceil(math.log10(max(values))), first + 1))


def number_text(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.2g}"


def text(x, y, content, kind="", anchor="start"):
    kind = f' class="{kind}"' if kind else ""
    return f'<text x="{x:.1f}" y="{y:.1f}"{kind} text-anchor="{anchor}">{escape(content)}</text>'


def line(x1, y1, x2, y2, kind):
    return f'<line class="{kind}" x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}"/>'


def mark(way, x, y):
    """A shape of its own for each way, so that nobody needs to tell the colours apart."""
    if way == "ours":
        return f'<circle class="ours" cx="{x:.1f}" cy="{y:.1f}" r="5.5"/>'
    if way == "bare":
        return f'<rect class="bare" x="{x - 4.5:.1f}" y="{y - 4.5:.1f}" width="9" height="9"/>'
    points = f"{x:.1f},{y - 6.5:.1f} {x + 6.5:.1f},{y:.1f} {x:.1f},{y + 6.5:.1f} {x - 6.5:.1f},{y:.1f}"
    return f'<polygon class="ffmpeg" points="{points}"/>'


def row(axis, left, y, times):
    places = {way: left + axis.place(time) for way, time in times.items()}
    yield line(min(places.values()), y, max(places.values()), y, "span")
    # Ours last, so that it lies on top where two meet.
    for way in reversed(WAYS):
        yield mark(way, places[way], y)
    for way, time in times.items():
        # Neighbours on the axis get their numbers on two sides.
        below = way == "bare"
        yield text(places[way], y + (18 if below else -10), number_text(time), "value", "middle")


def panel(axis, left, top, title, rows):
    """Rows are the times of each way by the name of the change."""
    bottom = top + PANEL_HEAD + len(rows) * ROW_HEIGHT
    yield text(left, top + 14, title, "muted")
    for decade in axis.decades():
        x = left + axis.place(10.0**decade)
        yield line(x, top + 26, x, bottom, "grid")
        yield text(x, bottom + 17, f"{10.0**decade:g}", "muted", "middle")
    for index, times in enumerate(rows.values()):
        yield from row(axis, left, top + PANEL_HEAD + (index + 0.5) * ROW_HEIGHT, times)


def legend():
    x = 24
    for way, name in WAYS.items():
        yield mark(way, x + 6, 62)
        yield text(x + 18, 66, name)
        x += 52 + 7.2 * len(name)


def times_of(cases, screen, measure):
    """{change: {way: milliseconds}}; what does not change has no latency."""
    changes = [change for change in CHANGES if measure != "LatencyMs" or change != "none"]
    try:
        return {
            change: {way: cases[screen, change][way + measure] for way in WAYS}
            for change in changes
        }
    except KeyError as missing:
        raise BenchmarkFailed(f"there is no result {missing}") from missing


def section(cases, measure, top):
    """One measure: a panel for each screen on a common axis. Its drawing and its height."""
    panels = {screen: times_of(cases, screen, measure) for screen in SCREENS}
    rows_of_all = [times for rows in panels.values() for times in rows.values()]
    axis = axis_for([time for times in rows_of_all for time in times.values()])
    drawing = [text(24, top + 14, MEASURES[measure], "head")]
    body = top + 22
    for index, (screen, rows) in enumerate(panels.items()):
        left = LEFT + index * (PANEL_WIDTH + GAP)
        drawing += panel(axis, left, body, SCREENS[screen], rows)
    names = next(iter(panels.values()))
    for index, change in enumerate(names):
        y = body + PANEL_HEAD + (index + 0.5) * ROW_HEIGHT
        drawing.append(text(LEFT - 22, y + 4, CHANGES[change], anchor="end"))
    return drawing, 22 + PANEL_HEAD + len(names) * ROW_HEIGHT + AXIS_HEIGHT


def chart(cases):
    drawing = [text(24, 34, "What a change of the screen costs", "title"), *legend()]
    height = TOP
    for measure in MEASURES:
        part, part_height = section(cases, measure, height)
        drawing += part
        height += part_height
    head = (
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}"'
        f' width="{WIDTH}" height="{height}" role="img">'
    )
    title = "<title>Processor time and latency by how much of the screen changes</title>"
    card = f'<rect class="card" x="0.5" y="0.5" width="{WIDTH - 1}" height="{height - 1}" rx="8"/>'
    return "\n".join([head, title, f"<style>{STYLE}</style>", card, *drawing, "</svg>"]) + "\n"


def main(results, picture):
    drawing = chart(cases_of(results, "costOfChange"))
    with open(picture, "w", encoding="utf-8") as file:
        file.write(drawing)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except (BenchmarkFailed, FileNotFoundError) as failure:
        sys.exit(f"change_chart.py: {failure}")
