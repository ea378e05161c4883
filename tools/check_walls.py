#!/usr/bin/env python3
"""Fails on an include that crosses one of the project's walls.

The program's decisions (Runner/) know the system only through the plain headers in platform/, so
that they run unchanged on every system and on the tests' fake machine. Each back end stands alone
behind those headers. WALLS below says who may include what.

Usage: check_walls.py [project root]. Exit status: 0 all is well, 1 an include crosses a wall,
2 nothing could be checked.
"""

import os
import re
import sys
from pathlib import Path, PurePosixPath
from typing import NamedTuple

import cpp_source

# Headers of the C++20 standard library.
STANDARD_HEADERS = set(
    """
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
    cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
    csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
    exception execution filesystem format forward_list fstream functional future initializer_list
    iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource
    mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
    semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf
    string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo
    unordered_map unordered_set utility valarray variant vector version
    """.split()
)

# Paths that begin like this are the project's, whether or not the file exists.
PROJECT_FOLDERS = {"Runner", "platform", "webui", "launchctl", "guardian", "tests", "bench", "tools"}


class Wall(NamedTuple):
    """What the files of a part of the project may include. The patterns match whole paths; in
    `folders`, {own} stands for what the group of that name found in the file's path."""

    files: str
    folders: str
    any_library: bool
    rule: str


SEAM = r"platform/[^/]+\.h"
CODECS = r"platform/flutter/.+"
UNIX = r"platform/unix/.+"

# What each room of the back end for Linux may know of those before it. What lies beside the rooms puts
# them together and may know all of them.
ROOMS_OF_LINUX = {
    "frame": (),
    "x11": ("frame",),
    "system": ("x11",),
    "dispatch": ("system",),
    "capture": ("frame", "x11"),
    "jpeg": ("frame",),
    "video": ("frame",),
    "input": ("frame", "x11"),
    "link": (),
    "ui": ("dispatch", "link"),
}


def rooms_of_linux():
    before = set()
    for room, others in ROOMS_OF_LINUX.items():
        if not before.issuperset(others):
            raise ValueError(f"{room}/ closes a circle of rooms")
        before.add(room)
        known = "|".join((room, *others))
        named = ", ".join(f"{other}/" for other in others)
        yield Wall(
            rf"platform/linux/{room}/.+",
            rf"platform/linux/({known})/.+|{CODECS}|{UNIX}|{SEAM}",
            True,
            f"platform/linux/{room}/ may include of the back end only itself"
            + (f", {named}" if named else ""),
        )


# The first that matches a file counts.
WALLS = [
    Wall(
        r"Runner/.+",
        rf"Runner/.+|{SEAM}",
        False,
        "Runner/ may include only itself, the headers directly in platform/ and the standard "
        "library",
    ),
    Wall(
        r"platform/[^/]+",
        SEAM,
        False,
        "the headers directly in platform/ may include only each other and the standard library",
    ),
    Wall(
        r"platform/flutter/.+",
        rf"{CODECS}|{SEAM}",
        False,
        "platform/flutter/ may include only itself, the headers directly in platform/ and the "
        "standard library",
    ),
    Wall(
        UNIX,
        UNIX,
        True,
        "platform/unix/ may include only itself, the standard library, POSIX and GLib",
    ),
    *rooms_of_linux(),
    Wall(
        r"(?P<own>platform/[^/]+)/.+",
        rf"{{own}}/.+|{CODECS}|{UNIX}|{SEAM}",
        True,
        "a back end may include only itself, the headers directly in platform/, platform/flutter/, "
        "platform/unix/ and libraries",
    ),
    Wall(
        r"webui/tests/.+",
        rf"webui/.+|tests/[^/]+|{CODECS}|{UNIX}|{SEAM}",
        True,
        "webui/tests/ may include only what webui/ may and the headers directly in tests/",
    ),
    Wall(
        r"webui/delta/.+",
        rf"webui/delta/.+|{UNIX}|{SEAM}",
        False,
        "webui/delta/ may include only itself, the headers directly in platform/, platform/unix/ "
        "and the standard library",
    ),
    Wall(
        r"webui/trust/.+",
        rf"webui/trust/.+|{UNIX}|{SEAM}",
        True,
        "webui/trust/ may include only itself, the headers directly in platform/, platform/unix/ "
        "and libraries",
    ),
    Wall(
        r"webui/.+",
        rf"webui/.+|{CODECS}|{UNIX}|{SEAM}",
        True,
        "webui/ may include only itself, the headers directly in platform/, platform/flutter/, "
        "platform/unix/ and libraries",
    ),
    Wall(
        r"launchctl/.+",
        rf"launchctl/.+|{UNIX}",
        True,
        "launchctl/ may include only itself, platform/unix/ and libraries",
    ),
    Wall(
        r"guardian/.+",
        rf"guardian/.+|{UNIX}",
        True,
        "guardian/ may include only itself, platform/unix/ and libraries",
    ),
]

DIRECTIVE = re.compile(
    r"^[ \t]*(?:(?:#|%:)[ \t]*(?:include_next|include|import)|@import)\b(.*)$", re.M
)
HEADER = re.compile(r'[ \t]*(?:"([^"]+)"|<([^>]+)>)[ \t]*')


def wall_of(source):
    """The wall that holds for a file, with {own} filled in."""
    for wall in WALLS:
        match = re.fullmatch(wall.files, source)
        if match:
            own = {name: re.escape(text) for name, text in match.groupdict().items()}
            return wall._replace(folders=wall.folders.format(**own))
    raise LookupError(f"no wall for {source}")


def project_path(root, source, header):
    """The header as a path from the project's root, or None if it belongs to a library."""
    beside = os.path.normpath(os.path.join(os.path.dirname(source), header))
    from_root = os.path.normpath(header)
    for path in (beside, from_root):
        if not path.startswith("..") and (root / path).is_file():
            return path
    if PurePosixPath(from_root).parts[0] in PROJECT_FOLDERS:
        return from_root
    return None


def crosses(root, wall, source, operand):
    """What one include directive reaches for if that is not allowed, else None."""
    header = HEADER.fullmatch(operand)
    if header is None:  # a macro or a module: can only be a library's
        return None if wall.any_library else operand.strip()
    name = header[1] or header[2]
    path = project_path(root, source, name)
    if path is None:
        return None if wall.any_library or name in STANDARD_HEADERS else name
    return None if re.fullmatch(wall.folders, path) else path


def check_file(root, source):
    wall = wall_of(source)
    text = cpp_source.without_comments((root / source).read_text(encoding="utf-8"))
    for directive in DIRECTIVE.finditer(text):
        target = crosses(root, wall, source, directive[1])
        if target is not None:
            line = text.count("\n", 0, directive.start()) + 1
            yield f"{source}:{line}: includes {target}, but {wall.rule}"


def check(root):
    """The number of files checked and the list of crossings."""
    sources = [
        path.relative_to(root).as_posix()
        for folder in ("Runner", "platform", "webui", "launchctl", "guardian")
        for path in cpp_source.source_files(root / folder)
    ]
    return len(sources), [crossing for source in sources for crossing in check_file(root, source)]


def main(arguments):
    root = Path(arguments[0]) if arguments else Path(__file__).resolve().parent.parent
    files, crossings = check(root)
    if files == 0:
        print(f"no sources below {root}", file=sys.stderr)
        return 2
    for crossing in crossings:
        print(crossing, file=sys.stderr)
    print(f"{files} files checked, {len(crossings)} includes cross a wall")
    return 1 if crossings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
