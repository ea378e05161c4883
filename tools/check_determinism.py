#!/usr/bin/env python3
"""Fails when the program's decisions reach for time, chance or threads of their own.

Runner/ gets its clock, timers and queues as arguments. That is what lets a test replay a whole
support session, hours of it, in milliseconds and always with the same outcome.

Usage: check_determinism.py [project root]. Exit status: 0 all is well, 1 something forbidden was
found, 2 nothing could be checked.
"""

import re
import sys
from pathlib import Path

import cpp_source

FORBIDDEN = [
    (r"\w+_clock\b|\b(?:gettimeofday|clock_gettime|mach_absolute_time)\b", "reads a clock"),
    (r"(?<![\w.>])(?:time|clock)\s*\(|\b(?:localtime|gmtime|mktime)(?:_r)?\s*\(", "reads a clock"),
    (r"\b(?:sleep_for|sleep_until|nanosleep|usleep)\b|(?<![\w.>])sleep\s*\(", "sleeps"),
    (r"\bwait_(?:for|until)\b", "waits for time to pass"),
    (r"(?<![\w.>])(?:s?rand(?:om)?|[a-z]?rand48)\s*\(|\barc4random\w*", "asks for randomness"),
    (r"\b(?:random_device|mt19937\w*|minstd_rand0?|\w+_random_engine)\b", "asks for randomness"),
    (r"\bstd\s*::\s*(?:jthread|thread|async|this_thread)\b", "uses a thread of its own"),
    (r"\bpthread_\w+", "uses a thread of its own"),
    (r"#\s*include\s*<(?:ctime|chrono|random|thread|future)>", "includes time, chance or threads"),
]


def check_file(root, source):
    text = cpp_source.without_comments_and_texts((root / source).read_text(encoding="utf-8"))
    for pattern, what in FORBIDDEN:
        for found in re.finditer(pattern, text):
            line = text.count("\n", 0, found.start()) + 1
            yield f"{source}:{line}: {what}: {found[0].strip()}"


def main(arguments):
    root = Path(arguments[0]) if arguments else Path(__file__).resolve().parent.parent
    files = cpp_source.source_files(root / "Runner")
    sources = [path.relative_to(root).as_posix() for path in files]
    if not sources:
        print(f"no sources below {root / 'Runner'}", file=sys.stderr)
        return 2
    findings = [finding for source in sources for finding in check_file(root, source)]
    for finding in findings:
        print(finding, file=sys.stderr)
    print(f"{len(sources)} files checked, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
