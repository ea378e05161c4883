#!/usr/bin/env python3
"""Keeps the stand-ins for Apple's and Flutter's frameworks honest.

What the stand-in headers declare is listed in tests/macos/declarations/declarations.tsv, so that a
change of a declaration is seen, and can be compared with independent sources of the same
interfaces. A false declaration would pass every test here and fail on a Mac.

Usage:
  macos_declarations.py check           the list says what the headers say
  macos_declarations.py write           writes the list anew from the headers
  macos_declarations.py compare FOLDER  holds the list against the sources in a folder: generated
                                        Rust bindings (github.com/madsmtm/objc2-generated) and
                                        Flutter's public macOS headers

Options: --headers FOLDER, --list FILE. Exit status: 0 all is well, 1 the list is out of date or a
declaration differs, 2 the headers cannot be read, 3 nothing was compared since the folder holds no
sources.
"""

import argparse
import sys
from collections import Counter
from pathlib import Path

from declarations.clang_reader import CannotRead, read_headers
from declarations.comparison import Comparison, Result, Verdict, read_sources
from declarations.model import Declaration

ROOT = Path(__file__).resolve().parents[1]
HEADERS = ROOT / "tests/macos/frameworks"
LIST = ROOT / "tests/macos/declarations/declarations.tsv"
COLUMNS = "\t".join(Declaration._fields)
REWRITE = "tools/macos_declarations.py write"


def to_text(declarations: list[Declaration]) -> str:
    lines = ["\t".join(declaration).rstrip("\t") for declaration in declarations]
    return "\n".join([COLUMNS, *lines]) + "\n"


def from_text(text: str) -> list[Declaration]:
    return [Declaration(*line.split("\t")) for line in text.splitlines()[1:]]


def write(headers: Path, list_file: Path) -> int:
    declarations = read_headers(headers)
    list_file.write_text(to_text(declarations), encoding="utf-8")
    print(f"{len(declarations)} declarations written to {list_file}")
    return 0


def check(headers: Path, list_file: Path) -> int:
    declared = set(read_headers(headers))
    listed = set(from_text(list_file.read_text(encoding="utf-8")) if list_file.exists() else ())
    for declaration in sorted(declared - listed):
        print(f"only in the headers: {describe(declaration)}", file=sys.stderr)
    for declaration in sorted(listed - declared):
        print(f"only in the list: {describe(declaration)}", file=sys.stderr)
    if declared != listed:
        print(
            f"{list_file.name} is out of date; compare and rewrite it: {REWRITE}", file=sys.stderr
        )
        return 1
    return 0


def describe(declaration: Declaration) -> str:
    return " ".join(part for part in declaration if part)


def compare(folder: Path, list_file: Path) -> int:
    facts = read_sources(folder) if folder.is_dir() else None
    if facts is None:
        print(f"not checked: there are no bindings and no Flutter headers in {folder}")
        return 3
    declarations = from_text(list_file.read_text(encoding="utf-8"))
    results = Comparison(facts).results(declarations)
    counts = Counter(result.verdict for result in results)
    print(", ".join(f"{counts[verdict]} {verdict.value}" for verdict in Verdict))
    for verdict in Verdict:
        for result in results:
            if result.verdict is verdict is not Verdict.AGREED:
                report(result)
    return 1 if counts[Verdict.DIFFERING] else 0


def report(result: Result) -> None:
    declaration = result.declaration
    print(f"{result.verdict.value}: {declaration.framework} {declaration.kind} {declaration.name}")
    if result.verdict is not Verdict.NOT_FOUND:
        ours = (
            declaration.nullability
            if result.verdict is Verdict.NULLABILITY
            else declaration.signature
        )
        print(f"    here:   {ours} {declaration.notes}".rstrip())
        print(f"    source: {result.expected}")


def main() -> int:
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("command", choices=["check", "write", "compare"])
    parser.add_argument("folder", nargs="?", type=Path, help="the sources to compare with")
    parser.add_argument("--headers", type=Path, default=HEADERS)
    parser.add_argument("--list", type=Path, default=LIST)
    arguments = parser.parse_args()
    if arguments.command == "compare":
        if arguments.folder is None:
            parser.error("compare needs the folder of the sources")
        return compare(arguments.folder, arguments.list)
    try:
        return {"check": check, "write": write}[arguments.command](
            arguments.headers, arguments.list
        )
    except CannotRead as error:
        print(error, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
