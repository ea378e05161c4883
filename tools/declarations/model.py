"""How a type and a declaration are written down, whichever language they were read from.

Objects are spelled without their star ("NSArray<SCWindow>"), CoreFoundation references without
their "Ref" ("CVBuffer"), numbers by width ("i64"), other pointers with a star ("i32*"), blocks as
"void (^)(NSError)" and pointers to functions as "void (*)(i32)". Enumerations keep their names.
"""

from dataclasses import dataclass, field, replace
from typing import NamedTuple

NONNULL, NULLABLE, UNSPECIFIED = "!", "?", "."
POINTER, BLOCK, FUNCTION, ARRAY, VARIADIC = "*", "^", "fn", "[]", "..."


@dataclass(frozen=True)
class Type:
    """A scalar has an empty nullability, everything that can be nil one of the three marks. The
    parts are generic arguments, or what is pointed to, or a result and its parameters."""

    name: str
    parts: tuple["Type", ...] = ()
    nullability: str = ""

    def with_nullability(self, mark: str) -> "Type":
        return replace(self, nullability=mark)

    def is_reference(self) -> bool:
        return self.nullability != ""


VOID = Type("void")


def pointer_to(pointee: Type, nullability: str = UNSPECIFIED) -> Type:
    return Type(POINTER, (pointee,), nullability)


def reference(name: str, *parts: Type, nullability: str = UNSPECIFIED) -> Type:
    return Type(name, parts, nullability)


def spell(type_: Type) -> str:
    """The text of a type, without nullability."""
    if type_.name == POINTER:
        return spell(type_.parts[0]) + "*"
    if type_.name == ARRAY:
        return spell(type_.parts[0]) + "[]"
    if type_.name in (BLOCK, FUNCTION):
        mark = "^" if type_.name == BLOCK else "*"
        return f"{spell(type_.parts[0])} ({mark})({spell_all(type_.parts[1:])})"
    if type_.parts and any(spell(part) != "id" for part in type_.parts):
        return f"{type_.name}<{spell_all(type_.parts)}>"
    return type_.name


def spell_all(types: tuple[Type, ...]) -> str:
    return ", ".join(spell(type_) for type_ in types)


def marks(type_: Type) -> str:
    """The nullability of everything in a type that can be nil, in the order of reading. Generic
    arguments are left out, since no compiler checks them."""
    inner = type_.parts if type_.name in (POINTER, ARRAY, BLOCK, FUNCTION) else ()
    return type_.nullability + "".join(marks(part) for part in inner)


def unmarked(type_: Type) -> Type:
    """The type with nothing said about nil."""
    nullability = UNSPECIFIED if type_.is_reference() else ""
    return Type(type_.name, tuple(unmarked(part) for part in type_.parts), nullability)


class Signature(NamedTuple):
    """A function's or method's types; of a constant or a property only the result."""

    result: Type
    parameters: tuple[Type, ...] = ()
    is_optional: bool = False

    def text(self) -> str:
        return f"{spell(self.result)} ({spell_all(self.parameters)})"

    def unmarked(self) -> "Signature":
        parameters = tuple(unmarked(type_) for type_ in self.parameters)
        return Signature(unmarked(self.result), parameters, self.is_optional)

    def nullability(self) -> str:
        return marks(self.result) + "".join(marks(type_) for type_ in self.parameters)


class Declaration(NamedTuple):
    """One line of the list. Kinds: class, protocol, method, property, function, constant,
    enumeration, enumerator, structure. The notes are what C text says beside the types."""

    framework: str
    kind: str
    name: str
    signature: str = ""
    nullability: str = ""
    notes: str = ""


@dataclass
class Facts:
    """What an independent source says. Methods are under "-[Owner selector]"; a selector can be
    declared more than once on a class, in categories."""

    superclasses: dict[str, str] = field(default_factory=dict)
    conformances: dict[str, list[str]] = field(default_factory=dict)
    protocols: set[str] = field(default_factory=set)
    methods: dict[str, Signature] = field(default_factory=dict)
    unavailable: set[str] = field(default_factory=set)
    functions: dict[str, Signature] = field(default_factory=dict)
    constants: dict[str, Type] = field(default_factory=dict)
    enumerations: dict[str, str] = field(default_factory=dict)
    enumerators: dict[str, int] = field(default_factory=dict)
    structures: dict[str, str] = field(default_factory=dict)
    # Other names of numbers, which a list of C declarations can take for enumerations.
    numbers: dict[str, str] = field(default_factory=dict)


def method_name(is_instance: bool, owner: str, selector: str) -> str:
    return f"{'-' if is_instance else '+'}[{owner} {selector}]"


def wrapped(value: int, base: str) -> int:
    """A value as the integer type of its enumeration holds it."""
    if base[:1] == "u" and base[1:].isdigit():
        return value % (1 << int(base[1:]))
    return value
