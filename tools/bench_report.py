#!/usr/bin/env python3
"""Writes the tables of a Markdown file anew from the results of the benchmarks.

Usage: bench_report.py RESULTS_FOLDER FILE.md

A table stands between the lines "<!-- table: NAME -->" and "<!-- end of table -->". Its name is one
of those in TABLES below. Exit status 1 when a result is missing or a benchmark reported an error;
the file is left as it was then.
"""

import math
import re
import sys
from pathlib import Path

import bench_table
from bench_results import BenchmarkFailed, cases_of, read_context
from bench_table import ratio_text

TIMES = ("host", "capture", "jpeg", "video", "codec", "delivery", "payload")
CODECS = {"H264": "H.264", "Jpeg": "JPEG", "JpegOfLikeBytes": "JPEG, of like bytes"}
# At most so many times ffmpeg's processor time.
PEER_AIMS = {
    "movingH264": 0.65,
    "movingJpeg": 0.30,
    "movingJpegOfLikeBytes": 0.30,
    "busyH264": 0.65,
    "busyJpeg": 0.30,
    "busyJpegOfLikeBytes": 0.30,
    "stillH264": 0.05,
    "stillJpeg": 0.05,
}
# At most so many times the processor time of TurboJPEG over the whole screen.
CHANGE_AIMS = {"line": 0.06, "everything": 1.05}
CHANGES = {
    "none": "none",
    "caret": "a caret",
    "line": "a line of text",
    "quarter": "a quarter of the screen",
    "everything": "everything",
}


def time_text(milliseconds):
    return bench_table.time_text(milliseconds * 1e6)


def aim_text(aims, name):
    return f"{aims[name]:.2f}" if name in aims else ""


def markdown(header, alignment, rows):
    yield "| " + " | ".join(header) + " |"
    yield "|" + "|".join(alignment) + "|"
    for row in rows:
        yield "| " + " | ".join(row) + " |"


def ratio_for_each_picture(entry):
    """The ratio where one side brings fewer pictures; empty where the host brings none."""
    ours, peers = (
        entry[f"{side}ProcessorTime"] / (entry[f"{side}Pictures"] or math.inf)
        for side in ("ours", "peer")
    )
    return ratio_text(ours / peers) if ours > 0 else ""


def peer_rows(folder):
    for (name,), entry in cases_of(folder / "peer_bench.json", "hostBesideFfmpeg").items():
        scene, codec = re.fullmatch(f"(moving|busy|still)({'|'.join(CODECS)})", name).groups()

        def pair(counter, text):
            return f"{text(entry['ours' + counter])}, {text(entry['peer' + counter])}"

        yield (
            scene,
            CODECS[codec],
            pair("ProcessorTime", lambda seconds: time_text(seconds * 1e3)),
            ratio_text(entry["ratio"]),
            aim_text(PEER_AIMS, name),
            ratio_for_each_picture(entry),
            pair("Bytes", lambda count: f"{count / 1e6:.3g} MB"),
            pair("Pictures", lambda count: f"{count:.1f}"),
            pair("Psnr", lambda decibels: f"{decibels:.1f} dB"),
        )


def peer_table(folder):
    header = (
        "Desktop",
        "Codec",
        "Processor time a second: host, ffmpeg",
        "Host / ffmpeg",
        "Aim: at most",
        "For each picture",
        "Bytes a second",
        "Pictures a second",
        "PSNR",
    )
    return markdown(header, ["---", "---"] + ["---:"] * 7, peer_rows(folder))


def change_rows(folder):
    for (screen, change), entry in cases_of(folder / "change_bench.json", "costOfChange").items():
        ways = ("ours", "bare", "ffmpeg")
        times = [time_text(entry[f"{way}ProcessorMs"]) for way in ways]
        # What does not change is not waited for.
        waits = [] if change == "none" else [time_text(entry[f"{way}LatencyMs"]) for way in ways]
        aim = aim_text(CHANGE_AIMS, change)
        ratio = ratio_text(entry["ratio"])
        yield screen.replace("x", " x "), CHANGES[change], ", ".join(times), ratio, aim, ", ".join(waits)


def change_table(folder):
    header = (
        "Screen",
        "Change",
        "Processor time: host, TurboJPEG, ffmpeg",
        "Host / TurboJPEG",
        "Aim: at most",
        "Change to payload: host, TurboJPEG, ffmpeg",
    )
    return markdown(header, ["---", "---"] + ["---:"] * 4, change_rows(folder))


def times_table(folder):
    return bench_table.table(folder / f"{program}_bench.json" for program in TIMES)


def origin(path):
    """Where and when the results come from, and how busy the machine was."""
    context = read_context(path)
    load = context.get("load_avg") or ["unknown"]
    return (
        f"Measured on {context['date'][:10]} on {context['num_cpus']} processors of "
        f"{context['mhz_per_cpu'] / 1e3:.1f} GHz; load average before it began: {load[0]}."
    )


# What makes each table, and the results that tell where all of them come from.
TABLES = {
    "peers": (peer_table, "peer"),
    "changes": (change_table, "change"),
    "times": (times_table, "host"),
}


def with_new_tables(text, folder):
    def renewed(match):
        name = match.group("name")
        if name not in TABLES:
            raise BenchmarkFailed(f"there is no table of the name {name}")
        make, program = TABLES[name]
        lines = [*make(folder), "", origin(folder / f"{program}_bench.json")]
        return "\n".join([match.group("begin"), *lines, match.group("end")])

    pattern = re.compile(
        r"(?P<begin>^<!-- table: (?P<name>\w+) -->$).*?(?P<end>^<!-- end of table -->$)",
        re.MULTILINE | re.DOTALL,
    )
    return pattern.sub(renewed, text)


def main(folder, document):
    path = Path(document)
    path.write_text(
        with_new_tables(path.read_text(encoding="utf-8"), Path(folder)), encoding="utf-8"
    )


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except (BenchmarkFailed, FileNotFoundError) as failure:
        sys.exit(f"bench_report.py: {failure}")
