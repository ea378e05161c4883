#!/usr/bin/env python3
"""Makes a page for people of the table in docs/troubleshooting.md, in which each row has its place.

usage: troubleshooting.py TABLE PAGE STYLESHEET
"""

import html
import pathlib
import re
import sys

FRAME = """<!doctype html>
<html lang="en" dir="ltr">
<head>
  <meta charset="utf-8">
  <meta name="viewport" content="width=device-width, initial-scale=1">
  <meta name="color-scheme" content="light dark">
  <title>Help · Quorvin Support</title>
  <link rel="icon" type="image/svg+xml" href="icon.svg">
  <link rel="stylesheet" href="{style}">
</head>
<body>
  <header class="top"><h1>Help · Quorvin Support</h1></header>
  <main class="rows">
{body}
  </main>
</body>
</html>
"""


def rows_of(text):
    """Yields a heading as text, and a row as (code, what it says, what it means, what to do)."""
    for line in text.splitlines():
        if line.startswith("## "):
            yield line[3:]
        cells = re.fullmatch(r"\| ([\w.]+) \| (.*?) \| (.*?) \| (.*?) \|", line)
        if cells and cells[1] != "Code":
            yield cells.groups()


def markup(text):
    """What is used of Markdown in a cell. Links lead within the page; others are only words here."""
    text = html.escape(text, quote=False).replace("&lt;br&gt;", "<br>")
    text = re.sub(r"`([^`]*)`", r"<code>\1</code>", text)
    text = re.sub(r"\*\*([^*]*)\*\*", r"<strong>\1</strong>", text)
    text = re.sub(r"\[([^]]*)\]\((#[^)]*)\)", r'<a href="\2">\1</a>', text)
    return re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text)


def page_of(text, style):
    body = []
    for row in rows_of(text):
        if isinstance(row, str):
            body.append(f"    <h2>{markup(row)}</h2>")
        else:
            code, says, means, to_do = row
            body.append(f'    <section class="card" id="{code}" tabindex="-1">\n'
                        f"      <h3>{markup(says)}</h3>\n      <p>{markup(means)}</p>\n"
                        f"      <p><strong>What to do:</strong> {markup(to_do)}</p>\n    </section>")
    return FRAME.format(style=html.escape(style), body="\n".join(body))


if __name__ == "__main__":
    table, page, style = sys.argv[1:]
    pathlib.Path(page).write_text(page_of(pathlib.Path(table).read_text("utf-8"), style), "utf-8")
