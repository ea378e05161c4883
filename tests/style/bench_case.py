"""What the tests of the scripts that read benchmark results share."""

import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))


CONTEXT = {
    "date": "2026-11-21T16:02:14+00:00",
    "num_cpus": 2,
    "mhz_per_cpu": 2300,
    "load_avg": [0.0625, 0.5, 1.0],
}


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


class BenchCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, *entries):
        path = self.folder / name
        path.write_text(json.dumps({"context": CONTEXT, "benchmarks": entries}), encoding="utf-8")
        return path

    def write_changes(self, **changed):
        """The results of change_bench; the named values are those of a line on the small screen."""
        entries = []
        for screen in ("1920x1080", "2560x1600"):
            for change in ("none", "caret", "line", "quarter", "everything"):
                values = {
                    f"{way}{measure}": time
                    for way, time in (("ours", 0.4), ("bare", 8.0), ("ffmpeg", 25.0))
                    for measure in ("ProcessorMs", "LatencyMs")
                }
                if (screen, change) == ("1920x1080", "line"):
                    values.update(changed)
                name = f"costOfChange/{screen}/{change}/iterations:3/manual_time"
                entries.append(entry(name, ratio=0.05, **values))
        return self.write("change_bench.json", *entries)

    def write_peers(self):
        values = {
            "ProcessorTime": (0.21, 0.84),
            "Bytes": (875e3, 900e3),
            "Pictures": (29.9, 30.0),
            "Psnr": (20.1, 19.8),
        }
        counters = {}
        for name, (ours, peers) in values.items():
            counters.update({f"ours{name}": ours, f"peer{name}": peers})
        names = ("movingH264", "movingJpeg", "stillH264", "stillJpeg")
        self.write(
            "peer_bench.json",
            *(
                entry(f"hostBesideFfmpeg/{name}/iterations:5/manual_time", ratio=0.25, **counters)
                for name in names
            ),
        )
