"""Reads Rust bindings of Apple's frameworks (the sources of the objc2 crates).

Nearly all are written by a program from Apple's headers, so a few regular expressions find
everything: every method has its selector above it, and every function, constant and enumerator its
own name. What is written by hand there is read as far as it follows the same forms.
"""

import ast
import operator
import re
import warnings
from collections.abc import Iterator
from pathlib import Path

from .c_types import UnknownType
from .model import (
    NONNULL,
    NULLABLE,
    VOID,
    Facts,
    Signature,
    Type,
    method_name,
    pointer_to,
    reference,
    spell,
    wrapped,
)
from .rust_types import KNOWN, RustNames, parse

# Comments, except those that tell of something that the bindings cannot express.
COMMENT = re.compile(r"^[ \t]*//(?! [-+]\S+ \(unavailable\)| TODO: pub fn).*$", re.M)
ATTRIBUTES = r"(?:\s*#\[[^\n]*\])*\s*"
ALIAS = re.compile(r"^pub type (\w+)(?:<[^=]*>)? =\s*([^;]+);", re.M)
NEWTYPE = re.compile(r"^pub struct (\w+)\(pub(?:\(crate\))? ([^)]+)\);", re.M)
CLOSED = re.compile(
    r"#\[repr\((\w+)\)\][^\n]*" + ATTRIBUTES + r"pub enum (\w+) \{(.*?)^\}", re.M | re.S
)
STRUCTURE = re.compile(r"^pub struct (\w+) \{\n(.*?)^\}", re.M | re.S)
FIELD = re.compile(r"^    pub (?:r#)?(\w+): (.+),$", re.M)
CLASS = re.compile(r"extern_class!\((.*?)^\);", re.M | re.S)
PROTOCOL = re.compile(
    r"extern_protocol!\(.*?pub unsafe trait (\w+)\s*(?::([^{]*))?\{(.*?)^\);", re.M | re.S
)
CONFORMANCE = re.compile(r"unsafe impl(?:<[^{]*?>)? (\w+) for (\w+)[<\s]")
CATEGORY = re.compile(r"mod private_(\w+) \{")
OWNER = re.compile(
    r"^(?:impl(?P<generics><[^{]*?>)? (?P<class>\w+)(?:<[^{]*>)? \{"
    r"|[ \t]*pub unsafe trait (?P<trait>\w+))",
    re.M,
)
METHOD = re.compile(
    r"(?P<optional>#\[optional\]\s*(?:#\[[^\n]*\]\s*)*)?"
    r"#\[unsafe\(method\((?P<selector>[\w:]+)\)\)\]"
    + ATTRIBUTES
    + r"(?:pub )?(?:unsafe )?fn (?:r#)?\w+"
)
UNAVAILABLE = re.compile(r"^ *// ([-+])(\S+) \(unavailable\)", re.M)
# A method written by hand tells its selector only by what it sends.
SENDING = re.compile(r"\bfn \w+(?=\()(?:(?!\bfn ).)*?msg_send!\[\w+, (?P<message>[^\]]+)\]", re.S)
FOREIGN = re.compile(r'(?:extern "C(?:-unwind)?"|extern_c(?:_unwind)?!) \{')
FUNCTION = re.compile(r"\bfn (?:r#)?(\w+)\(")
UNEXPRESSED = re.compile(r"^ *// TODO: (pub fn (\w+)\(.*)$", re.M)
STATIC = re.compile(r"pub static (\w+):\s*([^;=]+?)(?: = [^;]*)?;")
NEVER_NIL = "marked as returning non-null"
CONSTANT = re.compile(r"^pub const (\w+): (\w+) =\s*([^;]+);", re.M)
ENUMERATORS = re.compile(r"^    impl (\w+): \w+ \{(.*?)^    \}|^impl (\w+) \{(.*?)^\}", re.M | re.S)
ENUMERATOR = re.compile(
    r'(?:#\[doc\(alias = "(\w+)"\)\]' + ATTRIBUTES + r")?(?:pub )?const (\w+)(?:: Self)? = ([^;]+);"
)
VALUED = re.compile(r"^    pub struct (\w+)\(pub (\w+)\) \{(.*?)^    \}", re.M | re.S)
CLOSED_ENUMERATOR = re.compile(
    r'(?:#\[doc\(alias = "(\w+)"\)\]' + ATTRIBUTES + r")?^ {4,8}(\w+) = ([^,]+),", re.M
)
LIMITS = {"NSUIntegerMax": 2**64 - 1, "NSIntegerMax": 2**63 - 1}
NOT_BINDINGS = {"tests", "examples", "benches", "test-ui", "__macros"}
PRIMARY = {"NSObjectProtocol": "NSObject"}
OPERATORS = {
    ast.BitOr: operator.or_, ast.LShift: operator.lshift, ast.Add: operator.add,
    ast.Sub: operator.sub, ast.BitAnd: operator.and_, ast.Mult: operator.mul,
}  # fmt: skip


def closing(text: str, start: int) -> int:
    """The place after the bracket that closes the one at `start`."""
    opener = text[start]
    closer = {"(": ")", "{": "}"}[opener]
    depth = 0
    for place in range(start, len(text)):
        depth += (text[place] == opener) - (text[place] == closer)
        if depth == 0:
            return place + 1
    raise UnknownType(f"'{opener}' is never closed")


def split_arguments(text: str) -> list[str]:
    """The parts between the commas that are outside of all brackets."""
    parts, depth, current = [], 0, ""
    for before, character in zip(" " + text, text):
        depth += (character in "(<[") - (character in ")]" or (character == ">" and before != "-"))
        if character == "," and depth == 0:
            parts.append(current)
            current = ""
        else:
            current += character
    return [part.strip() for part in [*parts, current] if part.strip()]


class RustReader:
    """Gathers facts from many files: first all names, then what is declared with them."""

    def __init__(self, folder: Path) -> None:
        self.facts = Facts()
        self.names = RustNames()
        self.expressions: dict[str, tuple[str, str]] = {}
        paths = [
            path
            for path in sorted(folder.rglob("*.rs"))
            if path.is_file() and not NOT_BINDINGS.intersection(path.parts)
        ]
        texts = [COMMENT.sub("", path.read_text(encoding="utf-8")) for path in paths]
        for text in texts:
            self.learn(text)
        for text in texts:
            self.read(text)
        for name in (*KNOWN, *self.names.aliases):
            number = self.base(name)
            if number in KNOWN.values() and number != name:
                self.facts.numbers[name] = number
        for name, (base, _) in self.expressions.items():
            value = self.value(name)
            if value is not None:
                self.facts.enumerators[name] = wrapped(value, base)

    def learn(self, text: str) -> None:
        self.names.aliases.update(ALIAS.findall(text))
        for name, base in NEWTYPE.findall(text):
            if name not in KNOWN:
                self.names.enumerations[name] = base
        for name, base, _ in VALUED.findall(text):
            if name not in KNOWN:
                self.names.enumerations[name] = base
        for base, name, _ in CLOSED.findall(text):
            self.names.enumerations[name] = base
        self.names.structures.update(
            name for name, body in STRUCTURE.findall(text) if FIELD.search(body)
        )

    def read(self, text: str) -> None:
        self.read_classes(text)
        self.read_methods(text)
        self.read_foreign(text)
        self.read_enumerations(text)
        for name, body in STRUCTURE.findall(text):
            fields = [f"{field}: {self.base(type_)}" for field, type_ in FIELD.findall(body)]
            if fields:
                self.facts.structures[name] = ", ".join(fields)

    def base(self, text: str) -> str:
        try:
            return spell(parse(text, self.names))
        except UnknownType:
            return f"unreadable: {text}"

    def read_classes(self, text: str) -> None:
        for body in CLASS.findall(text):
            name = re.search(r"pub struct (\w+)", body)
            parents = re.search(r"#\[unsafe\(super\((\w+)", body)
            if name:
                self.facts.superclasses[name[1]] = parents[1] if parents else ""
        for protocol, owner in CONFORMANCE.findall(text):
            self.conform(owner, protocol)
        for protocol, inherited, _ in PROTOCOL.findall(text):
            self.facts.protocols.add(protocol)
            for parent in re.findall(r"\w+", inherited):
                self.conform(protocol, parent)

    def conform(self, owner: str, protocol: str) -> None:
        self.facts.conformances.setdefault(owner, []).append(PRIMARY.get(protocol, protocol))

    def read_methods(self, text: str) -> None:
        """Methods belong to the last owner that was named above them."""
        owners = list(OWNER.finditer(text))
        categories = set(CATEGORY.findall(text))
        for index, owner in enumerate(owners):
            end = owners[index + 1].start() if index + 1 < len(owners) else len(text)
            body = text[owner.end() : end]
            name = owner["class"] or owner["trait"]
            if name in categories:
                name = self.extended_class(name)
            generics = frozenset(re.findall(r"(\w+):", owner["generics"] or ""))
            for method in METHOD.finditer(body):
                self.read_method(name, method, body, generics)
            for method in SENDING.finditer(body) if PRIMARY.get(name, name) == "NSObject" else ():
                words = re.findall(r"(\w+):", method["message"])
                selector = "".join(f"{word}:" for word in words) or method["message"].strip()
                start = method.start() + method[0].index("(")
                self.add_method(PRIMARY.get(name, name), selector, start, body, generics, False)
            for sign, selector in UNAVAILABLE.findall(body):
                self.facts.unavailable.add(f"{sign}[{name} {selector}]")

    def extended_class(self, category: str) -> str:
        """The class that a category is on; its trait is named after both."""
        known = [
            name for name in (*self.facts.superclasses, "NSObject") if category.startswith(name)
        ]
        return max(known, key=len, default=category)

    def read_method(
        self, owner: str, match: re.Match[str], body: str, generics: frozenset[str]
    ) -> None:
        start = body.index("(", match.end())
        self.add_method(owner, match["selector"], start, body, generics, bool(match["optional"]))

    def add_method(
        self,
        owner: str,
        selector: str,
        start: int,
        body: str,
        generics: frozenset[str],
        is_optional: bool,
    ) -> None:
        """Adds the method whose arguments begin with the bracket at `start`."""
        end = closing(body, start)
        arguments = split_arguments(body[start + 1 : end - 1])
        result = re.match(r"\s*->\s*([^;{]*?)\s*(?:\bwhere\b[^;{]*)?[;{]", body[end:])
        is_instance = any(
            re.match(r"(?:&(?:mut )?|mut )?self\b|this:", argument) for argument in arguments
        )
        if result and result[1] == "Retained<NSObject>":
            return  # some object of a class that this file does not know
        types = [argument.partition(":")[2] for argument in arguments if self.is_passed(argument)]
        name = method_name(is_instance, owner, selector.removesuffix("_"))
        try:
            signature = self.signature(types, result[1] if result else "()", selector, generics)
        except (UnknownType, IndexError):
            return
        self.facts.methods[name] = signature._replace(is_optional=is_optional)

    def is_passed(self, argument: str) -> bool:
        """Whether an argument is one of the method's own, not its receiver or a proof of thread."""
        return not re.match(r"(?:&(?:'\w+ )?(?:mut )?|mut )?self\b|this:|_?mtm:", argument)

    def signature(
        self, types: list[str], result: str, selector: str, generics: frozenset[str]
    ) -> Signature:
        parameters = [parse(type_, self.names, generics) for type_ in types]
        returned = re.fullmatch(r"Result<(.*), Retained<(\w+)>>", result, re.S)
        if not selector.endswith("_") or not returned:
            return Signature(parse(result, self.names, generics), tuple(parameters))
        error = reference(returned[2], nullability=NULLABLE)
        parameters.append(pointer_to(error, NULLABLE))
        if returned[1] == "()":
            return Signature(Type("bool"), tuple(parameters))
        value = parse(returned[1], self.names, generics)
        return Signature(value.with_nullability(NULLABLE), tuple(parameters))

    def read_foreign(self, text: str) -> None:
        for block in FOREIGN.finditer(text):
            end = closing(text, block.end() - 1)
            body = text[block.end() : end - 1]
            wrapper = FOREIGN.split(text[end:], 1)[0]
            for function in FUNCTION.finditer(body):
                self.read_function(function[1], body, function.end() - 1, NEVER_NIL in wrapper)
                if block[0].startswith("extern_c") and function[1] in self.facts.functions:
                    self.facts.functions[function[1]] = self.facts.functions[function[1]].unmarked()
        for function in UNEXPRESSED.finditer(text):
            self.read_function(function[2], function[1], function[1].index("("), False)
        for name, type_ in STATIC.findall(text):
            self.read_static(name, type_)

    def read_function(self, name: str, body: str, start: int, never_nil: bool) -> None:
        end = closing(body, start)
        result = re.match(r"\s*->\s*([^;]*)", body[end:])
        arguments = [
            part
            for part in split_arguments(body[start + 1 : end - 1])
            if not part.startswith("_mtm")
        ]
        try:
            parameters = tuple(
                Type("...") if part == "..." else parse(part.partition(":")[2], self.names)
                for part in arguments
            )
            returned = parse(result[1], self.names) if result else VOID
            returned = returned.with_nullability(NONNULL) if never_nil else returned
        except (UnknownType, IndexError):
            return
        self.facts.functions[name] = Signature(returned, parameters)

    def read_static(self, name: str, type_: str) -> None:
        try:
            self.facts.constants[name] = parse(type_, self.names)
        except UnknownType:
            return

    def read_enumerations(self, text: str) -> None:
        for name, base in NEWTYPE.findall(text):
            self.facts.enumerations[name] = self.base(base)
        for name, base, body in VALUED.findall(text):
            self.facts.enumerations[KNOWN.get(name, name)] = self.base(base)
            for alias, own, value in CLOSED_ENUMERATOR.findall(body):
                self.remember(name, alias, own, value)
        for base, name, body in CLOSED.findall(text):
            self.facts.enumerations[name] = self.base(base)
            for alias, own, value in CLOSED_ENUMERATOR.findall(body):
                self.remember(name, alias, own, value)
        for flags, flags_body, name, body in ENUMERATORS.findall(text):
            for alias, own, value in ENUMERATOR.findall(flags_body or body):
                self.remember(flags or name, alias, own, value)
        for name, type_, value in CONSTANT.findall(text):
            if type_ != "Self":
                self.expressions[name] = (self.base(type_), value)

    def remember(self, enumeration: str, alias: str, own: str, value: str) -> None:
        """Keeps an enumerator under its C name, and for other values under its Rust name."""
        base = self.base(self.names.enumerations.get(enumeration, "i32"))
        self.expressions[alias or own] = (base, value)
        self.expressions.setdefault(f"{enumeration}_{own}", (base, value))

    def value(self, name: str) -> int | None:
        """The value of an enumerator or constant, or None if it is not a whole number."""
        if name in LIMITS:
            return LIMITS[name]
        base, text = self.expressions[name]
        text = re.sub(r"\b(?:Self|\w+)\(([^()]*)\)", r"(\1)", text)
        text = re.sub(r"\b(\w+)::(\w+)(?:\.0|\.bits\(\))?", r"\1_\2", text)
        text = re.sub(r"\.0\b|\bas \w+", "", text).replace("!", "~")
        try:
            with warnings.catch_warnings():
                warnings.simplefilter("error", SyntaxWarning)  # a number with Rust's suffix
                return self.evaluate(ast.parse(f"({text})", mode="eval").body)
        except (SyntaxError, KeyError, TypeError, RecursionError):
            return None

    def evaluate(self, node: ast.expr) -> int:
        if isinstance(node, ast.Constant) and isinstance(node.value, int):
            return node.value
        if isinstance(node, ast.Name):
            value = self.value(node.id)
            if value is None:
                raise KeyError(node.id)
            return value
        if isinstance(node, ast.UnaryOp):
            inner = self.evaluate(node.operand)
            return ~inner if isinstance(node.op, ast.Invert) else -inner
        if isinstance(node, ast.BinOp):
            calculate = OPERATORS[type(node.op)]
            return int(calculate(self.evaluate(node.left), self.evaluate(node.right)))
        raise TypeError(ast.dump(node))


def read_bindings(folder: Path) -> Facts:
    """The facts in all bindings below a folder."""
    return RustReader(folder).facts
