#!/usr/bin/env python3
"""Turns JSON files of Google Benchmark into Markdown tables of ratios.

Usage: bench_table.py FILE.json...
       bench_table.py --renew FILE.md RESULTS_FOLDER

The second form writes the tables of a document anew, each between the lines
"<!-- table: PROGRAM... -->" and "<!-- end of table -->". A table of one program shows what else that
program counted, too.

A time alone says little on another machine; what it is compared with was measured by the same
program in the same run. Medians count where a file has repetitions. Exit status 1 when a result is
missing or a benchmark reported an error; a document is left as it was then.
"""

import json
import re
import sys
from pathlib import Path

# What each benchmark is held against: the cost that no implementation could avoid. Benchmarks
# that are such a floor themselves, or have none, are not listed.
FLOORS = {
    "encodeFrameEvent": "copyIntoFreshMemory",
    "decodeFrameEvent": "copyIntoFreshMemory",
    "readFrameFromStream": "copyIntoFreshMemory",
    "deliverOneFrame": "twoLocksAndOneTask",
    "buildPayload": "copyFrame",
    "changeToPayloadAtLink": "bareFetchAndEncode",
    "applyToNothing": "postToNothing",
    "applyAndSettle": "bareMoveAndReply",
    "injectAndReply": "bareMoveAndReply",
    "moveFromLinkToScreen": "bareMoveToScreen",
}

# What benchmarks that measure their floor themselves, turn by turn, have for it.
OWN_FLOORS = {
    "frameToJpegFile": "TurboJPEG over the whole picture",
    "costOfChange": "TurboJPEG over the whole screen",
    "hostBesideFfmpeg": "ffmpeg",
}

# The ratio that is aimed at, at most, by the benchmark and its last argument.
TARGETS = {
    ("costOfChange", "line"): 0.06,
    ("costOfChange", "everything"): 1.05,
    ("hostBesideFfmpeg", "movingH264"): 0.65,
    ("hostBesideFfmpeg", "movingJpeg"): 0.30,
    ("hostBesideFfmpeg", "movingJpegOfLikeBytes"): 0.30,
    ("hostBesideFfmpeg", "busyH264"): 0.65,
    ("hostBesideFfmpeg", "busyJpeg"): 0.30,
    ("hostBesideFfmpeg", "busyJpegOfLikeBytes"): 0.30,
    ("hostBesideFfmpeg", "stillH264"): 0.05,
    ("hostBesideFfmpeg", "stillJpeg"): 0.05,
}

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
# What the library writes of a benchmark, beside which stand the counters of the benchmark itself.
LIBRARY_FIELDS = re.compile(
    "name|family_index|per_family_instance_index|run_name|run_type|repetitions|repetition_index|"
    "threads|iterations|real_time|cpu_time|time_unit|aggregate_name|aggregate_unit|"
    "items_per_second|bytes_per_second|ratio|label"
)
COLUMNS = ("Benchmark", "Time", "Throughput", "Against", "Times as long", "Target: at most")


class BenchmarkFailed(Exception):
    pass


def read(path):
    """What a file says of the run, and of each benchmark by name, in file order."""
    content = json.loads(Path(path).read_text(encoding="utf-8"))
    results = {}
    for entry in content["benchmarks"]:
        if entry.get("error_occurred"):
            raise BenchmarkFailed(f"{entry['name']}: {entry.get('error_message')}")
        name = entry.get("run_name", entry["name"])
        is_median = entry.get("aggregate_name") == "median"
        if is_median or (entry["run_type"] != "aggregate" and name not in results):
            results[name] = entry
    if not results:
        raise BenchmarkFailed(f"{path}: no results")
    return content["context"], results


def split_name(name):
    """What the benchmark is called, and its arguments without how it was run."""
    base, *arguments = name.split("/")
    options = re.compile(r"(iterations|repeats|min_time):|(real|manual|process)_time")
    return base, tuple(part for part in arguments if not options.match(part))


def nanoseconds(name, entry):
    """The processor's time, except for benchmarks that say by their name that they wait."""
    clock = "real_time" if re.search("/(real|manual)_time", name) else "cpu_time"
    return entry[clock] * NANOSECONDS[entry["time_unit"]]


def time_text(time):
    for unit in ("s", "ms", "us"):
        if time >= NANOSECONDS[unit]:
            return f"{time / NANOSECONDS[unit]:.3g} {unit}"
    return f"{time:.3g} ns"


def ratio_text(ratio):
    digits = 2 if ratio >= 0.1 else 3 if ratio >= 0.001 else 4
    return f"{ratio:.{digits}f}"


def throughput_text(entry):
    if "bytes_per_second" in entry:
        return f"{entry['bytes_per_second'] / 1e9:.2f} GB/s"
    return f"{entry['items_per_second']:,.0f} /s" if "items_per_second" in entry else ""


def floor_of(name, results):
    """The name of the floor's result: with the same arguments, or else one without any."""
    base, arguments = split_name(name)
    by_name = {split_name(other): other for other in results}
    floor = FLOORS.get(base)
    return by_name.get((floor, arguments)) or by_name.get((floor, ()))


def comparison(name, results):
    """What the benchmark is held against, and how many times as long it takes."""
    entry = results[name]
    if "ratio" in entry:
        return OWN_FLOORS.get(split_name(name)[0], "the same calls bare"), ratio_text(entry["ratio"])
    floor = floor_of(name, results)
    if floor is None:
        return "", ""
    times = nanoseconds(name, entry) / nanoseconds(floor, results[floor])
    return f"`{split_name(floor)[0]}`", ratio_text(times)


def row(name, results):
    """A line of the table by its columns."""
    base, arguments = split_name(name)
    entry = results[name]
    target = TARGETS.get((base, (arguments or ("",))[-1]))
    cells = (
        f"`{'/'.join([base, *arguments])}`",
        time_text(nanoseconds(name, entry)),
        throughput_text(entry),
        *comparison(name, results),
        "" if target is None else f"{target:.2f}",
    )
    return dict(zip(COLUMNS, cells))


def counters(entry):
    return {
        name: f"{value:,.0f}" if abs(value) >= 1000 else f"{value:.3g}"
        for name, value in entry.items()
        if not LIBRARY_FIELDS.fullmatch(name)
    }


def table(paths):
    """The lines of the table, without the columns that nothing would stand in."""
    rows = []
    for path in paths:
        _, results = read(path)
        for name, entry in results.items():
            rows.append(row(name, results) | (counters(entry) if len(paths) == 1 else {}))
    columns = [column for column in dict.fromkeys(key for each in rows for key in each)
               if any(each.get(column) for each in rows)]
    yield "| " + " | ".join(columns) + " |"
    yield "|" + "|".join("---" if each in ("Benchmark", "Against") else "---:" for each in columns) + "|"
    for each in rows:
        yield "| " + " | ".join(each.get(column, "") for column in columns) + " |"


def origin(path):
    """Where and when the results come from, and how busy the machine was."""
    context, _ = read(path)
    load = context.get("load_avg") or ["unknown"]
    return (
        f"Measured on {context['date'][:10]} on {context['num_cpus']} processors of "
        f"{context['mhz_per_cpu'] / 1e3:.1f} GHz; load average before it began: {load[0]}."
    )


def with_new_tables(text, folder):
    def renewed(match):
        paths = [folder / f"{program}.json" for program in match.group("programs").split()]
        lines = [match.group("begin"), *table(paths), "", origin(paths[0]), match.group("end")]
        return "\n".join(lines)

    pattern = re.compile(
        r"(?P<begin>^<!-- table: (?P<programs>[\w ]+) -->$).*?(?P<end>^<!-- end of table -->$)",
        re.MULTILINE | re.DOTALL,
    )
    return pattern.sub(renewed, text)


def main(arguments):
    if arguments[:1] == ["--renew"]:
        document, folder = map(Path, arguments[1:])
        text = with_new_tables(document.read_text(encoding="utf-8"), folder)
        document.write_text(text, encoding="utf-8")
    else:
        print("\n".join(table(arguments)))


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (BenchmarkFailed, FileNotFoundError) as failure:
        sys.exit(f"bench_table.py: {failure}")
