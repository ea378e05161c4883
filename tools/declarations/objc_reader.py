"""Reads Objective-C headers as text, without what they include: Flutter's public ones."""

import re
from pathlib import Path

from .c_types import Names, UnknownType, parse
from .model import NONNULL, UNSPECIFIED, Facts, Signature, Type, method_name

COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
# Macros that say nothing about types.
MACRO = re.compile(
    r"\b(?:NS_SWIFT_\w+|API_\w+|FLUTTER_UNAVAILABLE|FLUTTER_DEPRECATED)\s*\((?:[^()]|\([^()]*\))*\)"
    r"|\b(?:FLUTTER_DARWIN_EXPORT|FLUTTER_EXPORT|NS_DESIGNATED_INITIALIZER|NS_REQUIRES_SUPER"
    r"|NS_REFINED_FOR_SWIFT|IBOutlet)\b|__attribute__\s*\(\(.*?\)\)"
)
UNAVAILABLE = re.compile(r"\b(?:NS_UNAVAILABLE|UNAVAILABLE_ATTRIBUTE)\b")
CONTAINER = re.compile(
    r"@(interface|protocol)\s+(\w+)\b(?:\s*:\s*(\w+))?(?:\s*\(\w*\))?\s*(?:<([^>]*)>)?"
    r"(?!\s*[;,])(.*?)@end",
    re.S,
)
METHOD = re.compile(r"^[ \t]*([-+])\s*(\([^;{]*);", re.M)
PROPERTY = re.compile(r"@property\s*(?:\(([^)]*)\))?([^;]*?)(\w+)\s*;")
TYPEDEF = re.compile(r"^typedef\s+(?!NS_|enum\b|struct\b)([^;{]*);", re.M)
ENUMERATION = re.compile(r"typedef\s+NS_(?:ENUM|OPTIONS)\((\w+),\s*(\w+)\)\s*\{(.*?)\}", re.S)
CONSTANT = re.compile(r"^extern\s+([^;()]*?)(\w+)\s*;", re.M)
# Classes and types of the system that these headers name without declaring them.
SYSTEM_CLASS = re.compile(r"\b(?:NS|CA|Flutter)[A-Z]\w*\b")
ASSUMED = {"CVPixelBufferRef": "struct __CVBuffer *", "FlutterDartVM": "void"}


class ObjcReader:
    """Gathers facts from all headers below a folder."""

    def __init__(self, folder: Path) -> None:
        self.facts = Facts()
        self.names = Names(typedefs=dict(ASSUMED))
        texts = [self.prepared(path) for path in sorted(folder.rglob("*.h"))]
        for text in texts:
            self.learn(text)
        for text in texts:
            self.read(text)

    def prepared(self, path: Path) -> str:
        text = COMMENT.sub(" ", path.read_text(encoding="utf-8"))
        return MACRO.sub("", re.sub(r"^\s*#(?!pragma).*?(?<!\\)$", "", text, flags=re.M))

    def learn(self, text: str) -> None:
        for base, name, _ in ENUMERATION.findall(text):
            self.names.enumerations.add(name)
            self.facts.enumerations[name] = parse(base, self.names).name
        for definition in TYPEDEF.findall(text):
            name = re.search(r"[\^*]\s*(\w+)\)", definition) or re.search(r"(\w+)\s*$", definition)
            if name:
                start, end = name.span(1)
                self.names.typedefs[name[1]] = definition[:start] + definition[end:]
        self.names.classes.update(SYSTEM_CLASS.findall(text))
        self.names.classes -= {*self.names.typedefs, *self.names.enumerations}

    def read(self, text: str) -> None:
        assumed = NONNULL if "NS_ASSUME_NONNULL_BEGIN" in text else UNSPECIFIED
        for kind, name, parent, protocols, body in CONTAINER.findall(text):
            if kind == "interface" and parent:
                self.facts.superclasses[name] = parent
            if kind == "protocol":
                self.facts.protocols.add(name)
            self.facts.conformances.setdefault(name, []).extend(re.findall(r"\w+", protocols))
            self.read_members(name, body, assumed)
        for type_, name in CONSTANT.findall(CONTAINER.sub("", text)):
            read = self.type(type_, assumed)
            if read:
                self.facts.constants[name] = read
        for _, enumeration, body in ENUMERATION.findall(text):
            self.read_enumerators(body)

    def type(self, text: str, assumed: str) -> Type | None:
        try:
            return self.assuming(parse(text, self.names), assumed)
        except UnknownType:
            return None

    def assuming(self, type_: Type, assumed: str) -> Type:
        """Inside an audited region a plain pointer is never nil; in blocks' types neither."""
        parts = tuple(self.assuming(part, assumed) for part in type_.parts)
        mark = assumed if type_.nullability == UNSPECIFIED else type_.nullability
        return Type(type_.name, parts, mark)

    def read_members(self, owner: str, body: str, assumed: str) -> None:
        for match in METHOD.finditer(body):
            self.read_method(
                owner, match[1] == "-", match[2], self.is_optional(body, match.start()), assumed
            )
        for match in PROPERTY.finditer(body):
            optional = self.is_optional(body, match.start())
            self.read_property(owner, match[1] or "", match[2], match[3], optional, assumed)

    def is_optional(self, body: str, place: int) -> bool:
        return re.findall(r"@(optional|required)\b", body[:place])[-1:] == ["optional"]

    def read_method(
        self, owner: str, is_instance: bool, text: str, optional: bool, assumed: str
    ) -> None:
        unavailable = bool(UNAVAILABLE.search(text))
        text = UNAVAILABLE.sub("", text)
        result, rest = bracketed(text)
        selector, types = "", []
        part = re.match(r"\s*(\w+)\s*(:?)", rest)
        while part:
            selector += part[1] + part[2]
            rest = rest[part.end() :]
            if part[2]:
                type_, rest = bracketed(rest)
                types.append(type_)
                rest = re.sub(r"^\s*\w+", "", rest)
            part = re.match(r"\s*(\w*)\s*(:)", rest)
        name = method_name(is_instance, owner, selector)
        if unavailable:
            self.facts.unavailable.add(name)
            return
        returned, parameters = self.type(result, assumed), [
            self.type(type_, assumed) for type_ in types
        ]
        if returned and None not in parameters:
            known = tuple(parameter for parameter in parameters if parameter)
            self.facts.methods[name] = Signature(returned, known, optional)

    def read_property(
        self, owner: str, attributes: str, type_text: str, name: str, optional: bool, assumed: str
    ) -> None:
        words = attributes.replace(",", " ").split()
        mark = next((word for word in words if word in ("nullable", "nonnull")), "")
        type_ = self.type(f"{mark} {type_text}", assumed)
        if type_ is None:
            return
        getter = next(
            (word.removeprefix("getter=") for word in words if word.startswith("getter=")), name
        )
        is_instance = "class" not in words
        self.facts.methods[method_name(is_instance, owner, getter)] = Signature(type_, (), optional)
        if "readonly" not in words:
            setter = f"set{name[0].upper()}{name[1:]}:"
            self.facts.methods[method_name(is_instance, owner, setter)] = Signature(
                Type("void"), (type_,), optional
            )

    def read_enumerators(self, body: str) -> None:
        value = -1
        for item in filter(str.strip, body.split(",")):
            match = re.fullmatch(r"\s*(\w+)\s*(?:=\s*(\S+)\s*)?", item)
            if match:
                given = match[2] or str(value + 1)
                known = self.facts.enumerators.get(given)
                value = known if known is not None else int(given, 0)
                self.facts.enumerators[match[1]] = value


def bracketed(text: str) -> tuple[str, str]:
    """The text in the bracket that comes first, and the text behind it."""
    start = text.index("(")
    depth = 0
    for place in range(start, len(text)):
        depth += (text[place] == "(") - (text[place] == ")")
        if depth == 0:
            return text[start + 1 : place], text[place + 1 :]
    raise UnknownType(f"a bracket is never closed in '{text}'")


def read_objc_headers(folder: Path) -> Facts:
    """The facts in all headers below a folder."""
    return ObjcReader(folder).facts
