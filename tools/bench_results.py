"""Reads the JSON files of Google Benchmark, for the scripts that make tables and pictures of them."""

import json
import re


class BenchmarkFailed(Exception):
    pass


def read_context(path):
    """What the file says of the machine and the run."""
    with open(path, encoding="utf-8") as file:
        return json.load(file)["context"]


def read_entries(path):
    """What the file says of each benchmark, by name, in file order. Medians count where it has
    repetitions. Raises BenchmarkFailed when a benchmark reported an error or there is none."""
    with open(path, encoding="utf-8") as file:
        entries = json.load(file)["benchmarks"]
    for entry in entries:
        if entry.get("error_occurred"):
            raise BenchmarkFailed(f"{entry['name']}: {entry.get('error_message')}")
    results = {}
    for entry in entries:
        name = entry.get("run_name", entry["name"])
        is_median = entry.get("aggregate_name") == "median"
        if is_median or (entry["run_type"] != "aggregate" and name not in results):
            results[name] = entry
    if not results:
        raise BenchmarkFailed(f"{path}: no results")
    return results


def split_name(name):
    """What the benchmark is called, and its arguments without how it was run."""
    base, *arguments = name.split("/")
    options = re.compile(r"(iterations|repeats|min_time):|(real|manual|process)_time")
    return base, tuple(part for part in arguments if not options.match(part))


def cases_of(path, base):
    """The results of one benchmark by its arguments. Raises BenchmarkFailed when there is none."""
    cases = {}
    for name, entry in read_entries(path).items():
        found, arguments = split_name(name)
        if found == base:
            cases[arguments] = entry
    if not cases:
        raise BenchmarkFailed(f"{path}: no results of {base}")
    return cases
