#!/usr/bin/env python3
"""Shows which lines of a folder's sources the tests ran, and fails when they are too few.

Usage: line_coverage.py LCOV-FILE FOLDER MINIMUM

LCOV-FILE is a tracefile (geninfo(1)); of its sources those below FOLDER count, which is given as a
path from the project's root. Exit status: 0 at least MINIMUM per cent of the lines ran, 1 fewer
did, 2 nothing could be counted.
"""

import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def read_tracefile(text):
    """For every source its lines and how often each ran: {path: {line: count}}."""
    sources = {}
    lines = {}
    for record in text.splitlines():
        kind, _, rest = record.partition(":")
        if kind == "SF":
            lines = sources.setdefault(rest, {})
        elif kind == "DA":
            number, count = rest.split(",")[:2]
            lines[int(number)] = max(int(count), lines.get(int(number), 0))
    return sources


def below(sources, folder, root=ROOT):
    """The sources of that folder, named by their paths from the root, in order."""
    prefix = f"{(root / folder).as_posix()}/"
    return {
        Path(path).relative_to(root).as_posix(): lines
        for path, lines in sorted(sources.items())
        if path.startswith(prefix)
    }


def ranges(numbers):
    """[3, 4, 5, 9] as "3-5, 9"."""
    runs = []
    for number in sorted(numbers):
        if runs and runs[-1][1] == number - 1:
            runs[-1][1] = number
        else:
            runs.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in runs)


def percentage(ran, total):
    return 100.0 * ran / total


def table(sources):
    """A line for every source, and the whole percentage."""
    rows = []
    all_ran = all_lines = 0
    for path, lines in sources.items():
        missed = [number for number, count in lines.items() if count == 0]
        ran = len(lines) - len(missed)
        all_ran += ran
        all_lines += len(lines)
        rows.append(
            f"{path:45} {ran:5} of {len(lines):5}  {percentage(ran, len(lines)):6.1f} %  "
            f"{'not run: ' + ranges(missed) if missed else ''}".rstrip()
        )
    whole = percentage(all_ran, all_lines)
    rows.append(f"{'all of it':45} {all_ran:5} of {all_lines:5}  {whole:6.1f} %")
    return rows, whole


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    tracefile, folder, minimum = arguments
    sources = below(read_tracefile(Path(tracefile).read_text(encoding="utf-8")), folder)
    sources = {path: lines for path, lines in sources.items() if lines}
    if not sources:
        print(f"{tracefile} knows no lines of sources below {folder}", file=sys.stderr)
        return 2
    rows, whole = table(sources)
    print("\n".join(rows))
    return 0 if whole >= float(minimum) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
