"""Holds the stand-ins' declarations against what independent sources say."""

import re
from collections.abc import Iterator
from enum import Enum
from pathlib import Path
from typing import NamedTuple

from .model import NONNULL, NULLABLE, Declaration, Facts, Signature, Type, marks, spell
from .objc_reader import read_objc_headers
from .rust_reader import read_bindings

# Where Flutter's sources keep the public headers of its macOS framework.
FLUTTER_HEADERS = ("darwin/common/framework/Headers", "darwin/macos/framework/Headers")


# Names of one thing that C keeps apart and the bindings do not.
SAME = {
    "CFType": "void*",
    "DispatchQueueGlobal": "DispatchQueue",
    "dispatch_source_type_s": "DispatchSourceType",
}


class Verdict(Enum):
    AGREED = "agreed"
    DIFFERING = "differing"
    NULLABILITY = "differing in nullability only"
    NOT_FOUND = "not found"


class Result(NamedTuple):
    verdict: Verdict
    declaration: Declaration
    expected: str = ""


def read_sources(folder: Path) -> Facts | None:
    """All facts in a folder, or None if it holds no source that is understood."""
    facts = Facts()
    found = False
    if any(folder.rglob("*.rs")):
        add(facts, read_bindings(folder))
        found = True
    for part in FLUTTER_HEADERS:
        for headers in sorted(
            path for path in folder.rglob(part.split("/")[-1]) if str(path).endswith(part)
        ):
            add(facts, read_objc_headers(headers))
            found = True
    return facts if found else None


def add(facts: Facts, more: Facts) -> None:
    for name in Facts.__dataclass_fields__:
        getattr(facts, name).update(getattr(more, name))


class Comparison:
    """One result for every declaration, in their order."""

    def __init__(self, facts: Facts) -> None:
        self.facts = facts

    def results(self, declarations: list[Declaration]) -> list[Result]:
        return [self.compare(declaration) for declaration in declarations]

    def compare(self, declaration: Declaration) -> Result:
        method = getattr(self, f"compare_{declaration.kind}")
        result: Result = method(declaration)
        return result

    def ancestors(self, owner: str) -> Iterator[str]:
        """The class or protocol and all that it inherits from, nearest first."""
        waiting, seen = [owner], set[str]()
        while waiting:
            name = waiting.pop(0)
            if name and name not in seen:
                seen.add(name)
                yield name
                waiting.append(self.facts.superclasses.get(name, ""))
                waiting.extend(self.facts.conformances.get(name, ()))

    def method(self, name: str) -> tuple[str, Signature] | None:
        """A method under its own name or that of an ancestor, with that name."""
        sign, owner, selector = name[0], name[2:].split(" ")[0], name.split(" ")[1]
        for ancestor in self.ancestors(owner):
            inherited = f"{sign}[{ancestor} {selector}"
            if inherited in self.facts.methods:
                return inherited, self.facts.methods[inherited]
        return None

    def judge(self, declaration: Declaration, expected: str, nullability: str = "") -> Result:
        if declaration.signature != expected and self.plain(declaration.signature) != self.plain(
            expected
        ):
            return Result(Verdict.DIFFERING, declaration, expected)
        if contradicts(declaration.nullability, nullability):
            return Result(Verdict.NULLABILITY, declaration, nullability)
        return Result(Verdict.AGREED, declaration)

    def plain(self, text: str) -> str:
        """A signature with every name of a number replaced by that number."""
        names = {**self.facts.numbers, **SAME}
        return re.sub(r"\w+", lambda word: names.get(word[0], word[0]), text)

    def not_found(self, declaration: Declaration) -> Result:
        return Result(Verdict.NOT_FOUND, declaration)

    def compare_class(self, declaration: Declaration) -> Result:
        expected = self.facts.superclasses.get(declaration.name)
        return (
            self.not_found(declaration) if expected is None else self.judge(declaration, expected)
        )

    def compare_protocol(self, declaration: Declaration) -> Result:
        if declaration.name not in self.facts.protocols:
            return self.not_found(declaration)
        inherited = set(self.ancestors(declaration.name))
        wrong = [
            name for name in declaration.signature.split(", ") if name and name not in inherited
        ]
        return (
            Result(Verdict.DIFFERING, declaration, ", ".join(sorted(inherited)))
            if wrong
            else Result(Verdict.AGREED, declaration)
        )

    def compare_method(self, declaration: Declaration) -> Result:
        if declaration.notes == "unavailable":
            return self.compare_unavailable(declaration)
        found = self.method(declaration.name)
        if found is None:
            return self.not_found(declaration)
        name, signature = found
        owner = declaration.name[2:].split(" ")[0]
        if name == declaration.name and signature.is_optional != ("optional" in declaration.notes):
            return Result(
                Verdict.DIFFERING, declaration, "optional" if signature.is_optional else "required"
            )
        if (
            declaration.signature.startswith(f"{owner} ")
            and spell(signature.result) == "instancetype"
        ):
            return self.judge(
                declaration,
                f"{owner} {signature.text().removeprefix('instancetype ')}",
                signature.nullability(),
            )
        return self.judge(declaration, signature.text(), signature.nullability())

    def compare_unavailable(self, declaration: Declaration) -> Result:
        if declaration.name in self.facts.unavailable:
            return Result(Verdict.AGREED, declaration)
        if declaration.name in self.facts.methods:
            return Result(Verdict.DIFFERING, declaration, "available")
        owner, selector = declaration.name[2:-1].split(" ")
        # The bindings repeat these two on every class that allows them.
        is_left_out = owner in self.facts.superclasses and selector in ("init", "new")
        return Result(Verdict.AGREED, declaration) if is_left_out else self.not_found(declaration)

    def compare_property(self, declaration: Declaration) -> Result:
        owner, name = declaration.name.split(".")
        words = declaration.notes.split()
        sign = "+" if "class" in words else "-"
        names = dict(word.split("=") for word in words if "=" in word)
        getter = self.method(f"{sign}[{owner} {names.get('getter', name)}]")
        if getter is None:
            return self.not_found(declaration)
        expected = getter[1].result
        if "readonly" not in words:
            selector = names.get("setter", f"set{name[0].upper()}{name[1:]}:")
            setter = self.method(f"{sign}[{owner} {selector}]")
            if setter is None:
                return Result(
                    Verdict.DIFFERING, declaration, f"{spell(expected)}, and there is no setter"
                )
        return self.judge(declaration, spell(expected), marks(expected))

    def compare_function(self, declaration: Declaration) -> Result:
        signature = self.facts.functions.get(declaration.name)
        if signature is None:
            return self.not_found(declaration)
        return self.judge(declaration, signature.text(), signature.nullability())

    def compare_constant(self, declaration: Declaration) -> Result:
        type_: Type | None = self.facts.constants.get(declaration.name)
        return (
            self.judge(declaration, spell(type_), marks(type_))
            if type_
            else self.not_found(declaration)
        )

    def compare_enumeration(self, declaration: Declaration) -> Result:
        name = declaration.name
        base = self.facts.enumerations.get(name) or self.facts.numbers.get(name)
        return self.judge(declaration, base) if base else self.not_found(declaration)

    def compare_enumerator(self, declaration: Declaration) -> Result:
        value = self.facts.enumerators.get(declaration.name)
        return self.not_found(declaration) if value is None else self.judge(declaration, str(value))

    def compare_structure(self, declaration: Declaration) -> Result:
        fields = self.facts.structures.get(declaration.name)
        return self.judge(declaration, fields) if fields else self.not_found(declaration)


def contradicts(declared: str, expected: str) -> bool:
    """Whether one side says that something is never nil and the other that it can be."""
    pairs = set(zip(declared, expected))
    return (NONNULL, NULLABLE) in pairs or (NULLABLE, NONNULL) in pairs
