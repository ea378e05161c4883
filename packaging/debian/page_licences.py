#!/usr/bin/env python3
"""Says whose modules are in the supporter's page.

usage: page_licences.py LOCK MODULES COPYRIGHT_IN FOLDER

Reads an npm lock file and the folder of the modules that it names, and writes into FOLDER: copyright,
from its template, and page-licences.txt with the modules' own texts. Modules that only build the page
are left out. A module without a licence ends it, and so does one under a licence that the template
does not name.
"""

import json
import re
import sys
from pathlib import Path

BUILDERS = ("esbuild", "@esbuild/", "@types/", "undici-types")
DEBIAN_NAMES = {"MIT": "Expat", "BSD-3-Clause": "BSD-3-clause", "ISC": "ISC", "0BSD": "0BSD"}


def modules_of(lock, folder):
    for path, entry in sorted(json.loads(Path(lock).read_text())["packages"].items()):
        name = path.removeprefix("node_modules/")
        if path and not name.startswith(BUILDERS) and (Path(folder) / name).is_dir():
            yield name, entry["version"], Path(folder) / name


def text_of(folder):
    texts = [file for file in sorted(folder.iterdir()) if re.match(r"(?i)licen[cs]e", file.name)]
    if texts:
        return texts[0].read_text()
    readme = next((file for file in sorted(folder.iterdir()) if file.name.lower() == "readme.md"), None)
    section = re.search(r"(?ims)^#+ licen[cs]e.*", readme.read_text()) if readme else None
    return section[0] if section else "(no text of its own)"


def main(lock, modules_folder, template, target):
    holders, lines, texts = [], [], []
    for name, version, folder in modules_of(lock, modules_folder):
        licence = json.loads((folder / "package.json").read_text()).get("license")
        if licence not in DEBIAN_NAMES:
            sys.exit(f"error: {name} is under {licence!r}; name that licence in {template} first.")
        text = text_of(folder)
        found = re.findall(r"(?im)^\W*copyright (?:\(c\) )?(\d[^\n]*|(?!notice|holder)[A-Z][^\n]*)", text)
        holders += [holder.strip(" *_") for holder in found[:2]]
        lines.append(f"  - {name} {version} ({DEBIAN_NAMES[licence]})")
        texts.append(f"{name} {version}, {licence}\n\n{text.strip()}\n")
    text = Path(template).read_text()
    text = text.replace("@HOLDERS@", "\n".join(f" {holder}" for holder in dict.fromkeys(holders)))
    text = text.replace("@MODULES@", "\n".join(lines))
    Path(target, "copyright").write_text(text)
    Path(target, "page-licences.txt").write_text(("\n" + "-" * 80 + "\n\n").join(texts))


if __name__ == "__main__":
    main(*sys.argv[1:])
