#!/usr/bin/env python3
"""Turns JSON files of Google Benchmark into a Markdown table of ratios.

Usage: bench_table.py FILE.json...

A time alone says little on another machine; what it is compared with was measured by the same
program in the same run. Medians count where a file has repetitions. Exit status 1 when a file
holds no result or a benchmark reported an error.
"""

import re
import sys
from typing import NamedTuple, Optional

from bench_results import BenchmarkFailed, read_entries, split_name

# What each benchmark is held against: the cost that no implementation could avoid. Benchmarks
# that are such a floor themselves, or have none, are not listed.
FLOORS = {
    "encodeFrameEvent": "copyIntoFreshMemory",
    "decodeFrameEvent": "copyIntoFreshMemory",
    "readFrameFromStream": "copyIntoFreshMemory",
    "deliverOneFrame": "twoLocksAndOneTask",
    "buildPayload": "copyPicture",
    "changeToPayloadAtLink": "bareFetchAndEncode",
    "applyToNothing": "postToNothing",
    "applyAndSettle": "bareMoveAndReply",
    "injectAndReply": "bareMoveAndReply",
    "moveFromLinkToScreen": "bareMoveToScreen",
}

# What benchmarks that measure their floor themselves, turn by turn, have for it.
OWN_FLOORS = {"pictureToJpegFile": "TurboJPEG over the whole picture"}

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Result(NamedTuple):
    """The time is the processor's, except for benchmarks that say by their name that they wait."""

    nanoseconds: float
    bytes_per_second: Optional[float]
    ratio: Optional[float]  # of a benchmark that measures its floor itself, turn by turn


def read_results(path):
    """Results by benchmark name, in file order."""
    results = {}
    for name, entry in read_entries(path).items():
        clock = "real_time" if re.search("/(real|manual)_time", name) else "cpu_time"
        time = entry[clock] * NANOSECONDS[entry["time_unit"]]
        results[name] = Result(time, entry.get("bytes_per_second"), entry.get("ratio"))
    return results


def floor_of(name, results):
    """The name of the floor's result: with the same arguments, or else one without any."""
    base, arguments = split_name(name)
    by_name = {split_name(other): other for other in results}
    floor = FLOORS.get(base)
    return by_name.get((floor, arguments)) or by_name.get((floor, ()))


def time_text(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def ratio_text(ratio):
    digits = 2 if ratio >= 0.1 else 3 if ratio >= 0.001 else 4
    return f"{ratio:.{digits}f}"


def comparison(name, results):
    """What the benchmark is held against, and how many times as long it takes."""
    own = results[name]
    if own.ratio is not None:
        floor = OWN_FLOORS.get(split_name(name)[0], "the same calls bare")
        return floor, ratio_text(own.ratio)
    floor = floor_of(name, results)
    if floor is None:
        return "", ""
    return f"`{split_name(floor)[0]}`", ratio_text(own.nanoseconds / results[floor].nanoseconds)


def rows(results):
    for name, result in results.items():
        base, arguments = split_name(name)
        rate = f"{result.bytes_per_second / 1e9:.2f} GB/s" if result.bytes_per_second else ""
        yield (
            f"`{'/'.join([base, *arguments])}`",
            time_text(result.nanoseconds),
            rate,
            *comparison(name, results),
        )


def table(paths):
    """The lines of the table."""
    yield "| Benchmark | Time | Throughput | Against | Times as long |"
    yield "|---|---:|---:|---|---:|"
    for path in paths:
        for row in rows(read_results(path)):
            yield "| " + " | ".join(row) + " |"


if __name__ == "__main__":
    try:
        print("\n".join(table(sys.argv[1:])))
    except BenchmarkFailed as failure:
        sys.exit(f"bench_table.py: {failure}")
