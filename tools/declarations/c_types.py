"""Reads types as C and Objective-C write them."""

import re
from dataclasses import dataclass, field

from .model import (
    ARRAY,
    BLOCK,
    FUNCTION,
    NONNULL,
    NULLABLE,
    UNSPECIFIED,
    VARIADIC,
    VOID,
    Type,
    pointer_to,
    reference,
)

TOKEN = re.compile(r"\.\.\.|[A-Za-z_]\w*|\d+|[^\s\w]")

# Attributes, also as the macros that the compiler repeats.
NO_TYPE = re.compile(r"__attribute__\s*\(\(.*?\)\)|\bnoexcept\b|\b[A-Z]{2,}(?:_[A-Z]+)+\b")
ARGUMENT_LIST = re.compile(r"(?:struct )?__va_list_tag ?\*")
NULLABILITY = {
    "_Nonnull": NONNULL, "nonnull": NONNULL, "__nonnull": NONNULL,
    "_Nullable": NULLABLE, "nullable": NULLABLE, "__nullable": NULLABLE,
    "_Nullable_result": NULLABLE,
    "_Null_unspecified": UNSPECIFIED, "null_unspecified": UNSPECIFIED, "null_resettable": NULLABLE,
}  # fmt: skip
IGNORED = {
    "const", "volatile", "struct", "enum", "union", "__kindof", "restrict", "__restrict",
    "typename", "__strong", "__weak", "__autoreleasing", "__unsafe_unretained", "inout", "in",
    "out", "oneway",
}  # fmt: skip
WORDS = {
    "signed", "unsigned", "char", "short", "int", "long", "float", "double", "bool", "_Bool",
    "void",
}  # fmt: skip
# By the words in the order of the alphabet, "int" and "signed" left out.
NUMBERS = {
    "char": "i8", "char unsigned": "u8", "short": "i16", "short unsigned": "u16", "": "i32",
    "unsigned": "u32", "long": "i64", "long unsigned": "u64", "long long": "i64",
    "long long unsigned": "u64", "float": "f32", "double": "f64", "bool": "bool", "_Bool": "bool",
    "void": "void",
}  # fmt: skip
# Names whose meaning does not depend on how a header happens to spell them.
KNOWN = {
    "BOOL": "bool", "Boolean": "u8", "CGFloat": "f64", "unichar": "u16", "va_list": "va_list",
    "NSInteger": "i64", "NSUInteger": "u64", "UInt8": "u8", "UInt32": "u32", "pid_t": "i32",
    "int8_t": "i8", "int16_t": "i16", "int32_t": "i32", "int64_t": "i64", "size_t": "u64",
    "uint8_t": "u8", "uint16_t": "u16", "uint32_t": "u32", "uint64_t": "u64",
    "intptr_t": "i64", "uintptr_t": "u64",
}  # fmt: skip
REFERENCES = {"id", "Class", "instancetype", "SEL", "IMP"}


@dataclass
class Names:
    """What the names in types stand for."""

    classes: set[str] = field(default_factory=lambda: {"Protocol"})
    structures: set[str] = field(default_factory=set)
    enumerations: set[str] = field(default_factory=set)
    typedefs: dict[str, str] = field(default_factory=dict)
    type_parameters: set[str] = field(default_factory=set)


class UnknownType(ValueError):
    """A name in a type that nothing declares."""


def parse(text: str, names: Names) -> Type:
    """The type that a text spells; a name of what is declared with it is passed over."""
    text = ARGUMENT_LIST.sub("va_list", NO_TYPE.sub("", text))
    parser = Parser(TOKEN.findall(text), names)
    type_ = parser.type()
    if parser.position != len(parser.tokens):
        raise UnknownType(f"cannot read the type '{text}'")
    return type_


class Parser:
    """Reads one type after the other from a list of tokens."""

    def __init__(self, tokens: list[str], names: Names) -> None:
        self.tokens = tokens
        self.names = names
        self.position = 0
        self.mark = ""
        self.is_tag = False

    def peek(self, ahead: int = 0) -> str:
        place = self.position + ahead
        return self.tokens[place] if place < len(self.tokens) else ""

    def take(self, expected: str = "") -> str:
        token = self.peek()
        if not token or (expected and token != expected):
            raise UnknownType(f"expected '{expected}' in '{' '.join(self.tokens)}'")
        self.position += 1
        return token

    def skip_qualifiers(self) -> None:
        """Passes over qualifiers and remembers the nullability among them."""
        while self.peek() in IGNORED or self.peek() in NULLABILITY:
            self.is_tag = self.peek() in ("struct", "union")
            self.mark = NULLABILITY.get(self.take(), self.mark)

    def type(self) -> Type:
        outer, self.mark = self.mark, ""
        self.skip_qualifiers()
        result, is_class = self.base()
        result = self.marked(result)
        while True:
            if self.peek() == "*":
                self.take()
                if not is_class:
                    result = pointer_to(result)
                is_class = False
            elif self.peek() == "(" and self.peek(1) in ("*", "^"):
                result = self.declarator(result)
            elif self.peek() == "(":
                result = Type(FUNCTION, (result, *self.parameters()), UNSPECIFIED)
            elif self.peek() == "[":
                self.position = self.tokens.index("]", self.position) + 1
                result = Type(ARRAY, (result,))
            elif re.match(r"[A-Za-z_]", self.peek()) and self.is_declared_name():
                self.take()
            else:
                break
            result = self.marked(result)
        self.mark = outer
        return result

    def is_declared_name(self) -> bool:
        return self.peek() not in IGNORED and self.peek() not in NULLABILITY

    def marked(self, type_: Type) -> Type:
        self.skip_qualifiers()
        if self.mark and type_.is_reference():
            type_ = type_.with_nullability(self.mark)
            self.mark = ""
        return type_

    def base(self) -> tuple[Type, bool]:
        """The type before any star, and whether it is a class, which a star belongs to."""
        words = []
        while self.peek() in WORDS:
            words.append(self.take())
            self.skip_qualifiers()
        if words:
            kept = sorted(word for word in words if word not in ("int", "signed"))
            name = NUMBERS[" ".join(kept)]
            return (VOID if name == "void" else Type(name)), False
        name = self.take()
        if name in KNOWN:
            return Type(KNOWN[name]), False
        if name in REFERENCES:
            return reference(name, *self.arguments()), False
        if name in self.names.type_parameters:
            return reference("id", *self.arguments()), False
        if name in self.names.classes:
            return reference(name, *self.arguments()), True
        return self.named(name), False

    def arguments(self) -> tuple[Type, ...]:
        """Generic arguments or protocols in angle brackets."""
        if self.peek() != "<":
            return ()
        self.take("<")
        arguments = []
        while self.peek() != ">":
            name = self.peek()
            if self.peek(1) in (",", ">") and name not in REFERENCES | self.names.type_parameters:
                arguments.append(self.protocol_or_typedef())
            else:
                arguments.append(self.type())
            if self.peek() == ",":
                self.take()
        self.take(">")
        return tuple(arguments)

    def protocol_or_typedef(self) -> Type:
        name = self.take()
        if name in self.names.typedefs:
            return parse(self.names.typedefs[name], self.names)
        return reference(name)

    def declarator(self, result: Type) -> Type:
        """The rest of a block type or of a pointer to a function."""
        self.take("(")
        kind = BLOCK if self.take() == "^" else FUNCTION
        outer, self.mark = self.mark, ""
        self.skip_qualifiers()
        if self.peek() != ")":
            self.take()
            self.skip_qualifiers()
        self.take(")")
        mark, self.mark = self.mark or UNSPECIFIED, outer
        return Type(kind, (result, *self.parameters()), mark)

    def parameters(self) -> tuple[Type, ...]:
        self.take("(")
        parameters = []
        while self.peek() != ")":
            if self.peek() == VARIADIC:
                self.take()
                parameters.append(Type(VARIADIC))
            else:
                parameters.append(self.type())
            if self.peek() == ",":
                self.take()
        self.take(")")
        return () if parameters == [VOID] else tuple(parameters)

    def named(self, name: str) -> Type:
        """What a name of the program stands for."""
        if name in self.names.enumerations or name in self.names.structures:
            return Type(name.lstrip("_"))
        dispatch = re.fullmatch(r"dispatch_(\w+)_t", name)
        target = self.names.typedefs.get(name)
        if target is None and self.is_tag:
            return Type(name.lstrip("_"))
        if target is None:
            raise UnknownType(f"nothing declares the type '{name}'")
        if dispatch and is_opaque(target, self.names):
            words = dispatch.group(1).split("_")
            return reference("Dispatch" + "".join(word.capitalize() for word in words))
        if name.endswith("Ref") and is_opaque(target, self.names):
            return reference(name.removesuffix("Ref"))
        return parse(target, self.names)


def is_opaque(target: str, names: Names) -> bool:
    """Whether a typedef's text names something that only its own framework can look into."""
    words = [
        word for word in TOKEN.findall(target) if word not in IGNORED and word not in NULLABILITY
    ]
    if words[-1:] != ["*"] or words.count("*") != 1:
        return False
    return words[0] in names.classes or words[0] not in {*WORDS, *KNOWN, *names.typedefs} - {"void"}
