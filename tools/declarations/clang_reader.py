"""Lists what the stand-in headers declare, as the compiler understands them."""

import json
import re
import subprocess
import tempfile
from collections.abc import Iterator
from pathlib import Path
from typing import Any

from .c_types import Names, UnknownType, parse
from .model import FUNCTION, Declaration, Signature, Type, marks, method_name, spell, wrapped

Node = dict[str, Any]
COMPILER = "clang++-19"
FLAGS = [
    "-x", "objective-c++", "-std=c++20", "-fobjc-runtime=macosx-10.15", "-fblocks", "-fsyntax-only",
    "-Xclang", "-ast-dump=json",
]  # fmt: skip


class CannotRead(Exception):
    """The compiler does not understand the headers."""


def public_headers(frameworks: Path) -> list[Path]:
    """What a program imports: X/X.h where there is one, else every header of the folder. The other
    headers of a framework come with that one, or are the stand-in's own affair."""
    headers: list[Path] = []
    for folder in sorted(path for path in frameworks.glob("*") if path.is_dir()):
        umbrella = folder / f"{folder.name}.h"
        headers += [umbrella] if umbrella.exists() else sorted(folder.glob("*.h"))
    return headers


def read_headers(frameworks: Path, compiler: str = COMPILER) -> list[Declaration]:
    """Every declaration in the public headers below a folder, sorted."""
    headers = public_headers(frameworks)
    if not headers:
        return []
    imports = "".join(f"#import <{header.relative_to(frameworks)}>\n" for header in headers)
    with tempfile.TemporaryDirectory() as folder:
        source = Path(folder) / "all.mm"
        source.write_text(imports, encoding="utf-8")
        command = [compiler, *FLAGS, f"-I{frameworks}", str(source)]
        run = subprocess.run(command, capture_output=True, text=True, check=False)
    if run.returncode != 0:
        raise CannotRead(f"the headers do not compile:\n{run.stderr}")
    return Reader(json.loads(run.stdout), frameworks.resolve()).declarations()


def name_files(node: Any, file: str = "") -> str:
    """Writes the file into every location: the compiler gives it only where it changes."""
    if isinstance(node, list):
        for item in node:
            file = name_files(item, file)
    elif isinstance(node, dict):
        if "offset" in node and "tokLen" in node:
            file = node.setdefault("file", file)
        else:
            for item in node.values():
                file = name_files(item, file)
    return file


def location(node: Node) -> Node:
    """Where a declaration is written, outside of the macros that it uses."""
    place: Node = node.get("loc", {})
    outside: Node = place.get("expansionLoc", place)
    return outside


def descendants(node: Node) -> Iterator[Node]:
    for child in node.get("inner", ()):
        yield child
        yield from descendants(child)


class Reader:
    """Turns one syntax tree into declarations."""

    def __init__(self, tree: Node, frameworks: Path) -> None:
        name_files(tree)
        self.frameworks = frameworks
        self.texts: dict[str, bytes] = {}
        self.found: set[Declaration] = set()
        self.typedef_of: dict[str, str] = {}
        self.top = list(self.unwrapped(tree))
        self.names = Names()
        for node in self.top:
            self.learn(node)

    def unwrapped(self, node: Node) -> Iterator[Node]:
        """The declarations outside of any type, those in extern "C" included."""
        for child in node.get("inner", ()):
            if child.get("kind") == "LinkageSpecDecl":
                yield from self.unwrapped(child)
            elif not child.get("isImplicit") or child.get("kind") == "TypedefDecl":
                yield child

    def learn(self, node: Node) -> None:
        """Remembers what a name stands for, wherever it is declared."""
        kind, name = node.get("kind"), node.get("name")
        if kind == "EnumDecl":
            self.names.enumerations.add(
                name or node.get("fixedUnderlyingType", {}).get("qualType", "")
            )
        elif not name:
            return
        elif kind in ("ObjCInterfaceDecl", "ObjCCompatibleAliasDecl"):
            self.names.classes.add(name)
        elif kind in ("TypedefDecl", "TypeAliasDecl"):
            self.names.typedefs[name] = node["type"]["qualType"]
            for inner in descendants(node):
                self.typedef_of.setdefault(inner.get("decl", {}).get("id", ""), name)
            if node["type"]["qualType"] in (f"struct {name}", name):
                self.names.structures.add(name)
        elif kind in ("CXXRecordDecl", "RecordDecl") and node.get("completeDefinition"):
            self.names.structures.add(name)

    def declarations(self) -> list[Declaration]:
        for node in self.top:
            framework = self.framework(node)
            reader = getattr(self, f"read_{node.get('kind')}", None)
            if framework and reader:
                try:
                    reader(framework, node)
                except UnknownType as error:
                    raise CannotRead(f"{framework}: {node.get('name')}: {error}") from error
        return sorted(self.found)

    def framework(self, node: Node) -> str:
        """The framework whose public header holds a declaration, or nothing."""
        file = location(node).get("file", "")
        if not file or file.endswith("Control.h"):
            return ""
        path = Path(file).resolve()
        return (
            path.relative_to(self.frameworks).parts[0]
            if path.is_relative_to(self.frameworks)
            else ""
        )

    def add(self, *parts: str) -> None:
        self.found.add(Declaration(*parts))

    def type(self, node: Node, key: str = "type") -> Type:
        return parse(node[key]["qualType"], self.names)

    def read_ObjCInterfaceDecl(self, framework: str, node: Node) -> None:
        if not self.is_defined(node):
            return
        superclass = node.get("super", {}).get("name", "")
        protocols = ", ".join(protocol["name"] for protocol in node.get("protocols", ()))
        self.add(framework, "class", node["name"], superclass, "", protocols)
        self.read_members(framework, node, node["name"])

    def is_defined(self, node: Node) -> bool:
        """Whether a class or protocol is more than announced."""
        return "@end" in self.text_between(node["range"]["begin"], node["range"]["end"], more=4)

    def read_ObjCCategoryDecl(self, framework: str, node: Node) -> None:
        self.read_members(framework, node, node["interface"]["name"])

    def read_ObjCProtocolDecl(self, framework: str, node: Node) -> None:
        if not self.is_defined(node):
            return
        protocols = ", ".join(protocol["name"] for protocol in node.get("protocols", ()))
        self.add(framework, "protocol", node["name"], protocols)
        self.read_members(framework, node, node["name"])

    def read_members(self, framework: str, owner: Node, name: str) -> None:
        members = owner.get("inner", ())
        parameters = {node["name"] for node in members if node.get("kind") == "ObjCTypeParamDecl"}
        self.names.type_parameters = parameters or self.names.type_parameters
        for member in members:
            optional = self.is_optional(owner, member)
            if member.get("kind") == "ObjCMethodDecl" and not member.get("isImplicit"):
                self.read_method(framework, member, name, optional)
            elif member.get("kind") == "ObjCPropertyDecl":
                self.read_property(framework, member, name, optional)

    def read_method(self, framework: str, node: Node, owner: str, optional: bool) -> None:
        name = method_name(bool(node.get("instance")), owner, node["name"])
        if any(child.get("kind") == "UnavailableAttr" for child in node.get("inner", ())):
            self.add(framework, "method", name, "", "", "unavailable")
            return
        signature = Signature(self.type(node, "returnType"), self.parameters(node))
        self.add_signature(framework, "method", name, signature, "optional" if optional else "")

    def parameters(self, node: Node) -> tuple[Type, ...]:
        inner = node.get("inner", ())
        types = [self.type(child) for child in inner if child.get("kind") == "ParmVarDecl"]
        return (*types, Type("...")) if node.get("variadic") else tuple(types)

    def add_signature(
        self, framework: str, kind: str, name: str, signature: Signature, notes: str = ""
    ) -> None:
        self.add(framework, kind, name, signature.text(), signature.nullability(), notes)

    def read_property(self, framework: str, node: Node, owner: str, optional: bool) -> None:
        type_ = self.type(node)
        notes = ["optional"] if optional else []
        notes += [
            word
            for word in ("class", "readonly", "copy", "strong", "retain", "weak", "assign")
            if node.get(word)
        ]
        notes += [
            f"{which}={node[which]['name']}" for which in ("getter", "setter") if which in node
        ]
        self.add(
            framework,
            "property",
            f"{owner}.{node['name']}",
            spell(type_),
            marks(type_),
            " ".join(notes),
        )

    def is_optional(self, owner: Node, member: Node) -> bool:
        """Whether a member stands below @optional, which the syntax tree does not tell."""
        if owner.get("kind") != "ObjCProtocolDecl":
            return False
        before = self.text_between(owner["range"]["begin"], member["range"]["begin"])
        return re.findall(r"@(optional|required)\b", before)[-1:] == ["optional"]

    def text_between(self, begin: Node, end: Node, more: int = 0) -> str:
        begin, end = begin.get("expansionLoc", begin), end.get("expansionLoc", end)
        file = begin.get("file", "")
        if file not in self.texts:
            self.texts[file] = Path(file).read_bytes()
        return self.texts[file][begin["offset"] : end["offset"] + more].decode("utf-8", "replace")

    def read_FunctionDecl(self, framework: str, node: Node) -> None:
        whole = self.type(node)
        if whole.name == FUNCTION:
            variadic = (Type("..."),) if node.get("variadic") else ()
            parameters = tuple(part for part in whole.parts[1:] if part.name != "...") + variadic
            self.add_signature(
                framework, "function", node["name"], Signature(whole.parts[0], parameters)
            )

    def read_VarDecl(self, framework: str, node: Node) -> None:
        type_ = self.type(node)
        self.add(framework, "constant", node["name"], spell(type_), marks(type_))

    def read_EnumDecl(self, framework: str, node: Node) -> None:
        spelled = node.get("fixedUnderlyingType", {})
        base = spell(
            parse(spelled.get("desugaredQualType", spelled.get("qualType", "int")), self.names)
        )
        name = node.get("name") or spelled.get("qualType", "")
        is_named = "name" in node or name in self.names.typedefs
        if is_named and any(
            child.get("kind") == "EnumConstantDecl" for child in node.get("inner", ())
        ):
            self.add(framework, "enumeration", name, base)
        value = -1
        for child in node.get("inner", ()):
            if child.get("kind") == "EnumConstantDecl":
                given = [
                    inner["value"]
                    for inner in descendants(child)
                    if inner.get("kind") == "ConstantExpr"
                ]
                value = int(given[0]) if given else value + 1
                self.add(
                    framework, "enumerator", child["name"], str(wrapped(value, base)), "", name
                )

    def read_CXXRecordDecl(self, framework: str, node: Node) -> None:
        fields = [child for child in node.get("inner", ()) if child.get("kind") == "FieldDecl"]
        name = node.get("name") or self.typedef_of.get(node["id"], "")
        if node.get("completeDefinition") and fields and name:
            text = ", ".join(f"{child['name']}: {spell(self.type(child))}" for child in fields)
            self.add(framework, "structure", name.lstrip("_"), text)
