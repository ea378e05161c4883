#!/usr/bin/env python3
"""Every error that a person can meet has its row in docs/troubleshooting.md, and every row its error."""

import json
import pathlib
import re
import sys
import unittest

root = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(root / "tools"))
import troubleshooting  # noqa: E402

# Of the pages' texts these name errors, but for stages in which nothing is wrong.
ERRORS = re.compile(r"((?:error|problem|guest|stage)\.\w+)\.what$")
FINE = {"guest.preparing", "guest.waiting", "guest.waitingForLink", "guest.asking", "guest.ended",
        "guest.withdrawn", "stage.joining", "stage.asked", "stage.connecting", "stage.over",
        "stage.stopped", "stage.disconnected", "stage.departed", "stage.left"}
MORE = ["connection.lost", "headline.unknown.what", "help.linkVersion", "help.linkUnreadable",
        "picture.unreadable"]

# What these say follows the words of one row, and says by itself what is wrong.
DETAILS = {"webui/remote/RemoteConfig.cpp": "webui.remote",
           "launchctl/AgentFile.cpp": "launchctl.file"}
CALL = re.compile(r"\b(?:runtime_error|system_error|LaunchctlError|StartUpError|failure|failUsage"
                  r"|writeToStandardError|fprintf)\(")
PROGRAMS = ["webui", "launchctl", "guardian", "platform/linux", "platform/unix", "Runner"]
# Where messages stand apart from the call that writes them.
ALONE = ["Runner/AppDelegate.cpp", "platform/linux/system/Permissions.cpp", "webui/WebServer.cpp"]
SCRIPTS = ["run", "tools/script-lib.sh", "tools/remote-demo-lib.sh", "deploy/install"]
TOKEN = re.compile(r'R"\((.*?)\)"|"((?:[^"\\]|\\.)*)"|(//[^\n]*)|([^"\s])', re.S)


def joined(parts):
    """The words of a message, with "…" for whatever only the program knows."""
    text = re.sub(r"%[sd]|\$\{[^}]*\}|\$\w+", "…", "".join(parts))
    text = text.replace('\\"', '"').replace("\\n", "").replace("\\`", "`")
    return re.sub(r"…[\s…]*…", "…", text).strip(" …")


def argument_of(source, start):
    """What stands between the parentheses of a call that has just been opened."""
    depth, parts = 1, []
    for token in TOKEN.finditer(source, start):
        raw, plain, comment, other = token.groups()
        if comment:
            continue
        depth += {"(": 1, ")": -1}.get(other, 0)
        if depth == 0:
            break
        if other is None:
            parts.append(raw if raw is not None else plain)
        elif other not in "()," and parts[-1:] != ["…"]:
            parts.append("…")
    return joined(parts)


def said_by_program(path, source):
    if path in ALONE:
        found = re.findall(r'(?:"(?:[^"\\]|\\.)*"\s*)+', source)
        texts = ["".join(re.findall(r'"((?:[^"\\]|\\.)*)"', one)) for one in found]
        texts = [text for text in texts if text.endswith(".\\n")]
    else:
        texts = [argument_of(source, call.end()) for call in CALL.finditer(source)]
    return [joined([text]) for text in texts if len(re.findall(r"[A-Za-z]{2,}", text)) > 1
            and not re.fullmatch(r"quorvin-[\w-]+:", text)]


def said_by_script(source):
    source = source.replace("\\\n", "")
    return [joined([re.sub(r'" +"', " ", text[1:-1])]) for text in
            re.findall(r'\bfail ("(?:[^"\\]|\\.)*"(?: +"(?:[^"\\]|\\.)*")*)', source)]


def said_by_all():
    said = {}
    for folder in PROGRAMS:
        for file in sorted((root / folder).rglob("*.cpp")):
            path = str(file.relative_to(root))
            if "/tests/" in path:
                continue
            for text in said_by_program(path, file.read_text()):
                said.setdefault(text, path)
    for path in SCRIPTS:
        for text in said_by_script((root / path).read_text()):
            said.setdefault(text, path)
    return said


def catalogue():
    return json.loads((root / "webui/languages/en.json").read_text("utf-8"))


def errors_of_pages():
    """What the pages say of errors, by the codes that they link to."""
    texts = catalogue()
    codes = [found[1] for found in map(ERRORS.match, texts) if found and found[1] not in FINE]
    return {code: texts[f"{code}.what"] for code in codes} | {
        name.removesuffix(".what"): texts[name] for name in MORE}


def table():
    text = (root / "docs/troubleshooting.md").read_text("utf-8")
    return [row for row in troubleshooting.rows_of(text) if not isinstance(row, str)]


class TheTable(unittest.TestCase):
    maxDiff = None

    def test_has_each_code_once(self):
        codes = [row[0] for row in table()]
        self.assertEqual(sorted(codes), sorted(set(codes)))

    def test_says_what_the_pages_say(self):
        said = {code: says for code, says, *_ in table() if "`" not in says}
        self.assertEqual(said, errors_of_pages())

    def test_is_what_the_pages_link_to(self):
        source = (root / "webui/page/helplink.js").read_text("utf-8")
        linked = re.compile("".join(re.findall(r"'(\^[^']*|\|[^']*)'", source)).replace("\\\\", "\\"))
        texts = {name.removesuffix(".what") for name in catalogue()} - {"error.more"}
        codes = set(errors_of_pages()) - {"connection.lost", "picture.unreadable"}
        self.assertEqual({name for name in texts if linked.match(name)} & codes, codes)
        self.assertEqual({name for name in texts if linked.match(name)} - codes, set())

    def test_says_what_programs_and_scripts_say_and_nothing_else(self):
        rows = {says: code for code, cell, *_ in table() if "`" in cell
                for says in re.findall(r"`([^`]*)`", cell)}
        unused = dict(rows)
        without = []
        for text, path in said_by_all().items():
            fits = [says for says in rows if matches(says, text)]
            for says in fits:
                unused.pop(says, None)
            if not fits and DETAILS.get(path) not in rows.values():
                without.append(f"{path}: {text}")
        self.assertEqual(without, [], "these have no row")
        self.assertEqual(sorted(unused), [], "these rows have no message")


class ThePage(unittest.TestCase):
    def test_has_a_place_for_each_row_and_no_dead_link(self):
        page = troubleshooting.page_of((root / "docs/troubleshooting.md").read_text("utf-8"), "a.css")
        places = re.findall(r' id="([^"]*)"', page)
        self.assertEqual(places, [row[0] for row in table()])
        self.assertLessEqual(set(re.findall(r'href="#([^"]*)"', page)), set(places))
        self.assertNotIn("`", page)

    def test_shows_what_looks_like_markup(self):
        page = troubleshooting.page_of("| a.b | `<x>` & **c** | [d](e.md) | [f](#g) |", "a.css")
        self.assertIn("<code>&lt;x&gt;</code> &amp; <strong>c</strong>", page)
        self.assertIn("<p>d</p>", page)
        self.assertIn('<a href="#g">f</a>', page)


def matches(says, text):
    """Whether a row's words are the message's; "…" at their end stands for the rest of it."""
    if says.endswith("…"):
        return text.startswith(says.strip("… "))
    return text == says.strip("… ")


if __name__ == "__main__":
    unittest.main()
