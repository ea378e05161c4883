#!/usr/bin/env python3
"""Turns JSON files of Google Benchmark into a Markdown table of ratios.

Usage: bench_table.py FILE.json...

A time alone says little on another machine; what it is compared with was measured by the same
program in the same run. Medians count where a file has repetitions. Exit status 1 when a file
holds no result or a benchmark reported an error.
"""

import json
import sys

# What each benchmark is held against: the cost that no implementation could avoid. Benchmarks
# that are such a floor themselves, or have none, are not listed.
FLOORS = {
    "encodeFrameEvent": "copyIntoFreshMemory",
    "decodeFrameEvent": "copyIntoFreshMemory",
    "readFrameFromStream": "copyIntoFreshMemory",
    "deliverOneFrame": "twoLocksAndOneTask",
}

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class BenchmarkFailed(Exception):
    pass


def read_results(path):
    """Time in nanoseconds and bytes per second (or None) by benchmark name, in file order.

    Processor time, except for benchmarks that say by their name that they also wait.
    """
    with open(path, encoding="utf-8") as file:
        entries = json.load(file)["benchmarks"]
    for entry in entries:
        if entry.get("error_occurred"):
            raise BenchmarkFailed(f"{entry['name']}: {entry.get('error_message')}")
    medians = [entry for entry in entries if entry.get("aggregate_name") == "median"]
    plain = [entry for entry in entries if entry["run_type"] == "iteration"]
    results = {}
    for entry in medians or plain:
        name = entry.get("run_name", entry["name"])
        clock = "real_time" if "/real_time" in name else "cpu_time"
        time = entry[clock] * NANOSECONDS[entry["time_unit"]]
        results[name] = (time, entry.get("bytes_per_second"))
    if not results:
        raise BenchmarkFailed(f"{path}: no results")
    return results


def floor_of(name, results):
    """The floor's name: the one with the same arguments, or else the one without any."""
    base, slash, arguments = name.partition("/")
    floor = FLOORS.get(base)
    for candidate in (f"{floor}{slash}{arguments}", floor):
        if candidate in results:
            return candidate
    return None


def time_text(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def rows(results):
    for name, (time, rate) in results.items():
        floor = floor_of(name, results)
        ratio = f"{time / results[floor][0]:.2f}" if floor else ""
        rate_text = f"{rate / 1e9:.2f} GB/s" if rate else ""
        yield f"`{name}`", time_text(time), rate_text, f"`{floor}`" if floor else "", ratio


def main(paths):
    print("| Benchmark | Time | Throughput | Against | Times as long |")
    print("|---|---:|---:|---|---:|")
    for path in paths:
        for row in rows(read_results(path)):
            print("| " + " | ".join(row) + " |")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except BenchmarkFailed as failure:
        sys.exit(f"bench_table.py: {failure}")
