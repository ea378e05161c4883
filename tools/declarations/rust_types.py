"""Reads types as the generated Rust bindings of Apple's frameworks write them."""

import re
from dataclasses import dataclass, field

from .c_types import UnknownType
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

TOKEN = re.compile(r"\.\.\.|->|::|'\w+|\"[^\"]*\"|(?:r#)?[A-Za-z_]\w*|\d+|[^\s\w]")

# What the bindings have from elsewhere, and therefore do not declare.
KNOWN = {
    "bool": "bool", "i8": "i8", "i16": "i16", "i32": "i32", "i64": "i64", "isize": "i64",
    "u8": "u8", "u16": "u16", "u32": "u32", "u64": "u64", "usize": "u64", "f32": "f32",
    "f64": "f64",
    "c_char": "i8", "c_schar": "i8", "c_uchar": "u8", "c_short": "i16", "c_ushort": "u16",
    "c_int": "i32", "c_uint": "u32", "c_long": "i64", "c_ulong": "u64", "c_longlong": "i64",
    "c_ulonglong": "u64", "c_float": "f32", "c_double": "f64", "c_void": "void",
    "NSInteger": "i64", "NSUInteger": "u64", "CGFloat": "f64", "Boolean": "u8", "Bool": "bool",
    "CFIndex": "i64", "CFTypeID": "u64", "CFOptionFlags": "u64", "CFHashCode": "u64",
    "OSStatus": "i32", "OSType": "u32", "FourCharCode": "u32", "UniChar": "u16", "unichar": "u16",
    "pid_t": "i32", "uid_t": "u32", "boolean_t": "u32", "DispatchTime": "u64",
    "va_list": "va_list", "Float64": "f64",
    "CFTimeInterval": "f64", "NSTimeInterval": "f64", "NSRect": "CGRect", "NSPoint": "CGPoint",
    "NSSize": "CGSize", "CGRect": "CGRect", "CGPoint": "CGPoint", "CGSize": "CGSize",
    "uintptr_t": "u64", "NSRange": "NSRange", "NSZone": "NSZone",
    "NSFastEnumerationState": "NSFastEnumerationState",
    "CStr": "i8", "DispatchQoS": "qos_class_t", "DispatchOnce": "i64",
    "NSComparisonResult": "NSComparisonResult",
}  # fmt: skip
OBJECTS = {
    "AnyObject": "id", "AnyClass": "Class", "Sel": "SEL", "Self": "instancetype", "Imp": "IMP",
    "AnyProtocol": "Protocol", "Result": "id", 
    "NSObjectProtocol": "NSObject", "__DispatchObject": "DispatchObject",
}  # fmt: skip
FUNCTIONS = {"DispatchFunction": Type(FUNCTION, (VOID, pointer_to(VOID, NULLABLE)), NONNULL)}
# In C these are one type under several names.
SYNONYMS = {"CVImageBuffer": "CVBuffer", "CVPixelBuffer": "CVBuffer"}
OWNERS = {"Retained", "CFRetained", "DispatchRetained", "Allocated"}
BLOCKS = {"Block", "SendableBlock", "DynBlock"}


@dataclass
class RustNames:
    """What the bindings declare, as far as types need it."""

    aliases: dict[str, str] = field(default_factory=dict)
    structures: set[str] = field(default_factory=set)
    enumerations: dict[str, str] = field(default_factory=dict)


def parse(text: str, names: RustNames, generics: frozenset[str] = frozenset()) -> Type:
    parser = RustParser(TOKEN.findall(text), names, generics)
    type_ = parser.type()
    if parser.position != len(parser.tokens):
        raise UnknownType(f"cannot read the type '{text}'")
    return type_


class RustParser:
    """Reads one type after the other from a list of tokens."""

    def __init__(self, tokens: list[str], names: RustNames, generics: frozenset[str]) -> None:
        self.tokens = tokens
        self.names = names
        self.generics = generics
        self.position = 0

    def peek(self, ahead: int = 0) -> str:
        place = self.position + ahead
        return self.tokens[place] if place < len(self.tokens) else ""

    def take(self, expected: str = "") -> str:
        token = self.peek()
        if not token or (expected and token != expected):
            raise UnknownType(f"expected '{expected}' in '{' '.join(self.tokens)}'")
        self.position += 1
        return token

    def accept(self, *tokens: str) -> bool:
        if self.peek() in tokens:
            self.position += 1
            return True
        return False

    def type(self) -> Type:
        while self.accept("unsafe", "dyn") or self.peek().startswith("'"):
            if self.peek().startswith("'"):
                self.take()
                self.accept("+")
        if self.accept("&"):
            if self.peek().startswith("'"):
                self.take()
            self.accept("mut")
            return self.pointing(self.type(), NONNULL)
        if self.accept("*"):
            self.take()  # const or mut
            return self.pointing(self.type(), NULLABLE)
        if self.accept("("):
            self.take(")")
            return VOID
        if self.accept("["):
            element = self.type()
            while not self.accept("]"):
                self.take()
            return Type(ARRAY, (element,))
        if self.accept("!"):
            return VOID
        if self.accept("extern"):
            self.take()  # the name of the convention
        if self.accept("fn", "Fn"):
            return Type(FUNCTION, self.function(), NONNULL)
        return self.path()

    def pointing(self, pointee: Type, nullability: str) -> Type:
        """A pointer to a type; for an object that is the object itself."""
        if pointee.nullability == UNSPECIFIED:
            return pointee.with_nullability(nullability)
        return pointer_to(pointee, nullability)

    def function(self) -> tuple[Type, ...]:
        """The result and the parameters of a function type."""
        self.take("(")
        parameters = []
        while not self.accept(")"):
            if self.peek(1) == ":" and self.peek(2) != ":":
                self.position += 2
            parameters.append(Type(VARIADIC) if self.accept(VARIADIC) else self.type())
            self.accept(",")
        result = self.type() if self.accept("->") else VOID
        return (result, *parameters)

    def path(self) -> Type:
        name = self.take().removeprefix("r#")
        while self.accept("::"):
            name = self.take()
        if name == "ProtocolObject":
            return reference("id", *self.arguments())
        arguments = self.arguments()
        if name == "Option":
            return (
                arguments[0].with_nullability(NULLABLE)
                if arguments[0].is_reference()
                else arguments[0]
            )
        if name in OWNERS or name == "NonNull":
            return self.pointing(arguments[0], NONNULL)
        if name in BLOCKS:
            return Type(BLOCK, arguments[0].parts if arguments else (VOID,), UNSPECIFIED)
        return self.named(name, arguments)

    def arguments(self) -> tuple[Type, ...]:
        if not self.accept("<"):
            return ()
        arguments = []
        while not self.accept(">"):
            if self.peek().startswith("'"):
                self.take()
            else:
                arguments.append(self.type())
            self.accept(",", "+")
        return tuple(arguments)

    def named(self, name: str, arguments: tuple[Type, ...]) -> Type:
        """What a name stands for. An object is unspecified until something points to it."""
        if name in self.generics:
            return reference("id")
        if name in KNOWN:
            return Type(KNOWN[name])
        if name in FUNCTIONS:
            return FUNCTIONS[name]
        if name in OBJECTS:
            return reference(OBJECTS[name], *arguments)
        if name in self.names.enumerations or name in self.names.structures:
            return Type(name)
        if name in self.names.aliases:
            return parse(self.names.aliases[name], self.names, self.generics)
        name = SYNONYMS.get(name, name)
        return reference(name, *(arguments if not name.startswith("CF") else ()))
