"""The words of pages, notifications and windows are in the catalogues, all of them and no others."""

import json
import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LANGUAGES = ROOT / "webui/languages"
MARKUP = ["webui/page/index.html", "webui/page/supporter.html", "supporter/index.html"]
SCRIPTS = [*sorted((ROOT / "webui/page").glob("*.js")), *sorted((ROOT / "supporter").glob("*.js"))]
# Names, and what stands where no script runs.
NO_WORDS = {"Quorvin Support", "JPEG", "H.264", "This page needs JavaScript."}
PLURAL_FORMS = {"en": ["one", "other"], "de": ["one", "other"]}
PLURAL_FORMS["ar"] = ["zero", "one", "two", "few", "many", "other"]


def catalogue(language):
    texts = json.loads((LANGUAGES / f"{language}.json").read_text(encoding="utf-8"))
    return {name: text for name, text in texts.items() if not name.startswith("_")}


def strings(script):
    """The literals of a script without its comments; what a template inserts is an asterisk."""
    code = re.sub(r"^\s*//.*$|\s// .*$|^import .*$", "", script, flags=re.MULTILINE)
    for literal in re.finditer(r"'((?:[^'\\\n]|\\.)*)'|`((?:[^`\\]|\\.)*)`", code):
        text = literal[1] if literal[1] is not None else literal[2]
        inserted = re.findall(r"\$\{(.*?)\}", text) if literal[1] is None else []
        yield re.sub(r"\$\{.*?\}", "*", text)
        for expression in inserted:
            yield from strings(expression)


def is_sentence(text):
    """Whether somebody is to read it: several words that begin or end like a sentence."""
    return re.search(r"[A-Za-z]{2,}[,;:]? [a-z]+.*[a-z][.…!?]?$|[.…!?]$", text) is not None and bool(
        re.match(r"[A-Z*]\S* \S+ \S+|[A-Z][a-z]+(?: [a-z]+)*[.…!?]$", text)
    )


class Catalogues(unittest.TestCase):
    def setUp(self):
        self.english = catalogue("en")
        self.languages = sorted(path.stem for path in LANGUAGES.glob("*.json"))
        scripts = [path.read_text(encoding="utf-8") for path in SCRIPTS]
        self.strings = [text for script in scripts for text in strings(script)]
        self.markup = {name: (ROOT / name).read_text(encoding="utf-8") for name in MARKUP}
        builder = (ROOT / "supporter/build.mjs").read_text(encoding="utf-8")
        named = "".join([*self.markup.values(), builder])
        self.named = re.findall(r'data-text(?:-label)?="([^"]+)"', named)
        sources = [*(ROOT / "webui/remote").glob("*.cpp"), *(ROOT / "platform").rglob("*.cpp")]
        programs = "".join(path.read_text(encoding="utf-8") for path in sources)
        self.named += re.findall(r'desktopText\("([^"]+)"', programs)
        self.groups = {name.split(".")[0] for name in self.english}

    def forms_of(self, name):
        """All ids that a use of this one may mean."""
        ids = [name, f"{name}.what", f"{name}.next"]
        return ids + [f"{name}.{form}" for form in PLURAL_FORMS["en"]]

    def uses(self):
        """Patterns of ids, with an asterisk for what is known only when the page runs."""
        literal = [text for text in self.strings if re.fullmatch(r"[\w*]+(\.[\w*]+)+", text)]
        return self.named + [text for text in literal if text.split(".")[0] in self.groups]

    def test_every_use_has_a_text(self):
        for use in self.uses():
            patterns = [re.escape(form).replace(r"\*", r"\w+") for form in self.forms_of(use)]
            found = any(re.fullmatch("|".join(patterns), name) for name in self.english)
            self.assertTrue(found, f"{use} has no text")

    def test_every_text_has_a_use(self):
        patterns = [
            re.escape(form).replace(r"\*", r"\w+") for use in self.uses() for form in self.forms_of(use)
        ]
        used = re.compile("|".join(patterns))
        unused = [name for name in self.english if not used.fullmatch(name)]
        self.assertEqual(unused, [])

    def test_markup_has_no_words_of_its_own(self):
        for name, markup in self.markup.items():
            body = re.sub(r"<!--.*?-->", "", markup.split("</head>")[1], flags=re.DOTALL)
            words = [text.strip() for text in re.findall(r">([^<>]*[A-Za-z]{2}[^<>]*)<", body)]
            words += re.findall(r'(?:aria-label|title|alt)="([^"]+)"', body)
            self.assertEqual([text for text in words if text not in NO_WORDS], [], name)

    def test_scripts_have_no_words_of_their_own(self):
        self.assertEqual([text for text in self.strings if is_sentence(text)], [])

    def test_every_language_has_every_text_with_the_same_values(self):
        for language in self.languages:
            texts = catalogue(language)
            plural = {name[: -len(".other")] for name in self.english if name.endswith(".other")}
            forms = [f"{name}.{form}" for name in plural for form in PLURAL_FORMS[language]]
            own = {name for name in self.english if name.rpartition(".")[0] not in plural}
            self.assertEqual(set(texts), own | set(forms), language)
            for name in own:
                values = [sorted(re.findall(r"\{\w+\}", each[name])) for each in (self.english, texts)]
                self.assertEqual(*values, f"{name} in {language}")
            for name in plural:
                self.assertIn("{count}", texts[f"{name}.other"])

    def test_every_catalogue_is_offered_and_carried(self):
        script = (ROOT / "webui/page/language.js").read_text(encoding="utf-8")
        offered = re.findall(r"(\w+): '", script.split("languages = {")[1].split("}")[0])
        self.assertEqual(sorted(offered), self.languages)
        carried = (ROOT / "webui/page/page.gresource.xml").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r"<file>(\w+)\.json<", carried), self.languages)


if __name__ == "__main__":
    unittest.main()
