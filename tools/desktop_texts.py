#!/usr/bin/env python3
"""Writes those texts of the catalogues that programs say outside the pages as a C++ table.

Usage: desktop_texts.py OUTPUT.cpp CATALOGUE.json... The catalogues are named after their languages.
Exit status: 0 written, 1 a catalogue is none.
"""

import json
import sys
from pathlib import Path

GROUPS = ("notice.", "notification.")


def entries(catalogue):
    for name, text in json.loads(catalogue.read_text(encoding="utf-8")).items():
        if name.startswith(GROUPS):
            yield f'    {{"{name}", "{catalogue.stem}", {json.dumps(text)}}},\n'


def main(output, *catalogues):
    rows = [row for catalogue in catalogues for row in entries(Path(catalogue))]
    Path(output).write_text(
        '#include "platform/unix/DesktopText.h"\n\n#include <array>\n\nnamespace quorvin {\n\n'
        "std::span<const DesktopText> desktopTexts() {\n"
        f"  static constexpr std::array<DesktopText, {len(rows)}> texts{{{{\n{''.join(rows)}  }}}};\n"
        "  return texts;\n}\n\n}  // namespace quorvin\n",
        encoding="utf-8",
    )


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except (OSError, ValueError) as error:
        sys.exit(f"{sys.argv[0]}: {error}")
