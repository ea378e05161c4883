"""Reads C++ and Objective-C++ sources as the checks of the project's style need them."""

import re
from pathlib import Path

SUFFIXES = {".h", ".hh", ".hpp", ".inc", ".ipp", ".c", ".cc", ".cpp", ".cxx", ".m", ".mm"}

# In the order of precedence: a quotation mark in a comment opens no text, a comment's start in a
# text opens no comment, and the apostrophe in 1'000 does neither.
TOKEN = re.compile(
    r"""
      (?P<comment> //(?:\\\n|[^\n])* | /\*.*?(?:\*/|\Z) )
    | (?P<text> R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)"
              | "(?:\\.|[^"\\\n])*"
              | '(?:\\.|[^'\\\n])*' )
    | (?P<number> \b[0-9](?:[eEpP][+-]|'?[0-9A-Za-z_.])* )
    """,
    re.VERBOSE | re.DOTALL,
)


def source_files(folder):
    """The source files below a folder, in a fixed order."""
    files = (path for path in Path(folder).rglob("*") if path.is_file())
    return sorted(path for path in files if path.suffix in SUFFIXES)


def _blank(text):
    """As many lines, and nothing on them."""
    return " " + "\n" * text.count("\n")


def without_comments(source):
    """The source with its comments blanked out and its lines where they were."""
    return TOKEN.sub(lambda token: _blank(token[0]) if token["comment"] else token[0], source)


def without_comments_and_texts(source):
    """The source with comments and literal texts blanked out and its lines where they were."""
    return TOKEN.sub(
        lambda token: token[0] if token["number"] is not None else _blank(token[0]), source
    )
