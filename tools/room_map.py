#!/usr/bin/env python3
"""Draws which room of the project includes which, in docs/architecture.md.

The picture is a Mermaid graph between the lines "<!-- picture: rooms -->" and "<!-- end of picture
-->". An arrow that another way leads along as well is left out, and so is the seam, platform/*.h,
which every room may know.

Usage: room_map.py [--write] [project root]. Without --write nothing is written. Exit status: 0 the
document shows what the includes say, 1 it does not, 2 it has no place for the picture.
"""

import re
import sys
from pathlib import Path

import check_walls
import cpp_source

FOLDERS = ("Runner", "platform", "webui", "launchctl", "guardian")
DOCUMENT = "docs/architecture.md"
PLACE = re.compile(r"(<!-- picture: rooms -->\n).*?(<!-- end of picture -->)", re.DOTALL)


def room_of(path):
    """The folder of a source, but one room for each program and each back end other than Linux's."""
    parts = Path(path).parent.parts
    depth = 3 if parts[:2] == ("platform", "linux") else 2 if parts[0] == "platform" else 1
    return "/".join(parts[:depth])


def arrows(root):
    """What each room includes of the others."""
    known = {}
    for folder in FOLDERS:
        for path in cpp_source.source_files(root / folder):
            source = path.relative_to(root).as_posix()
            if "tests" in path.relative_to(root).parts:
                continue
            text = cpp_source.without_comments(path.read_text(encoding="utf-8"))
            mine = known.setdefault(room_of(source), set())
            for directive in check_walls.DIRECTIVE.finditer(text):
                header = check_walls.HEADER.fullmatch(directive[1])
                target = header and check_walls.project_path(root, source, header[1] or header[2])
                if target and (root / target).is_file():
                    mine.add(room_of(target))
    return {room: targets - {room, "platform"} for room, targets in known.items()}


def reached(known, room):
    """All rooms that a way leads to."""
    found, ahead = set(), set(known.get(room, ()))
    while ahead:
        found |= ahead
        ahead = {target for each in ahead for target in known.get(each, ())} - found
    return found


def picture(known):
    lines = ["```mermaid", "graph TD"]
    for room in sorted(known):
        for target in sorted(known[room]):
            others = known[room] - {target}
            if not any(target in reached(known, other) for other in others):
                lines.append(f'  {name(room)}["{room}/"] --> {name(target)}["{target}/"]')
    return "\n".join([*lines, "```", ""])


def name(room):
    return room.replace("/", "_")


def main(arguments):
    write = arguments[:1] == ["--write"]
    root = Path(arguments[1 if write else 0] if len(arguments) > write else ".").resolve()
    document = root / DOCUMENT
    text = document.read_text(encoding="utf-8")
    if not PLACE.search(text):
        print(f"{DOCUMENT} has no place for the picture of the rooms", file=sys.stderr)
        return 2
    drawing = picture(arrows(root))
    renewed = PLACE.sub(lambda match: match[1] + drawing + match[2], text)
    if write:
        document.write_text(renewed, encoding="utf-8")
    elif renewed != text:
        print(f"{DOCUMENT} is out of date: tools/room_map.py --write", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
