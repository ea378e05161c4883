#!/usr/bin/env python3
"""Makes a folder that a compiler and a linker take for Apple's SDK, out of the stand-ins' headers.

Usage: mac_sdk.py CLANG SDK [FLUTTER-HEADERS...]
       mac_sdk.py --list ARCHIVE FILE

SDK has the headers of tests/macos/frameworks, and for each framework a list for the linker (.tbd)
of what they declare: a header's folder is its framework. tools/mac_symbols.txt names the rest.
SDK/products is what Flutter builds, its headers those of the folders FLUTTER-HEADERS if there are
any, and SDK/bin what only a Mac has in tools, which do nothing. The C and C++ libraries' headers
are this system's but for what must differ, of which SDK/overlay also suits programs of this system.
The second form writes a list for the linker of what a library of this system has.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
STAND_INS = ROOT / "tests/macos/frameworks"
SYMBOLS = ROOT / "tools/mac_symbols.txt"
LIBRARIES = Path("/usr/lib/x86_64-linux-gnu")
C_HEADERS = Path("/usr/include/x86_64-linux-gnu")
CXX_HEADERS = Path("/usr/include/c++/v1")
LLVM = Path("/usr/lib/llvm-19/bin")

FLUTTER = "FlutterMacOS"
PLUGINS = ("file_selector_macos", "shared_preferences_foundation")
NO_FRAMEWORKS = ("objc", "dispatch", "mach", "sys")
# What libc++ takes from macOS's <xlocale.h>.
XLOCALE = """#include <locale.h>
#include <stddef.h>
extern "C" {
int asprintf_l(char** text, locale_t locale, const char* format, ...);
int snprintf_l(char* text, size_t size, locale_t locale, const char* format, ...);
int sscanf_l(const char* text, locale_t locale, const char* format, ...);
}
"""
# What only Flutter's own headers need.
COCOA = "#import <AppKit/AppKit.h>\n#define API_UNAVAILABLE(...)\n@class NSCoder, NSMenu;\n"
# Makes the file that it is asked for, if any, with nothing in it.
TOOL = """#!/bin/sh
while [ $# -gt 1 ]; do case $1 in --compile | --output) : >"$2" ;; esac; shift; done
"""


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    # What is as it was need not be compiled again.
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def link(path, target):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.unlink(missing_ok=True)
    path.symlink_to(target)


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def types_of_a_mac(text):
    """The C library's <bits/types.h> with `int64_t` as it is on a Mac."""
    changed, count = re.subn(r"(signed long) (int __u?int64_t;)", r"\1 long \2", text)
    if count != 2:
        raise SystemExit("<bits/types.h> does not say what int64_t is")
    return changed


def make_c_headers(sdk):
    types = (C_HEADERS / "bits/types.h").read_text(encoding="utf-8")
    write(sdk / "overlay/bits/types.h", types_of_a_mac(types))
    include = sdk / "usr/include"
    link(include / "bits/types.h", sdk / "overlay/bits/types.h")
    # The system's own tell processors apart.
    write(include / "bits/wordsize.h", "#define __WORDSIZE 64\n")
    write(include / "xlocale.h", XLOCALE)
    for name in ("gnu/stubs.h", "AvailabilityMacros.h", "TargetConditionals.h"):
        write(include / name, "")
    link(include / "c++/v1", CXX_HEADERS)
    # With annotations libc++ says which of its functions are missing from the oldest macOS.
    site = (CXX_HEADERS / "__config_site").read_text(encoding="utf-8")
    without = "#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS"
    write(sdk / "site/__config_site", site.replace(without, ""))


def framework_folder(sdk, name):
    folder = {FLUTTER: "products"} | {plugin: f"products/{plugin}" for plugin in PLUGINS}
    return sdk / folder.get(name, "System/Library/Frameworks") / f"{name}.framework"


def make_headers(sdk, flutter_headers):
    """The frameworks' names."""
    names = []
    for entry in STAND_INS.iterdir():
        if not entry.is_dir() or entry.name in NO_FRAMEWORKS:
            link(sdk / "usr/include" / entry.name, entry)
            continue
        names.append(entry.name)
        headers = framework_folder(sdk, entry.name) / "Headers"
        if entry.name == FLUTTER and flutter_headers:
            write(framework_folder(sdk, "Cocoa") / "Headers/Cocoa.h", COCOA)
            for header in (header for folder in flutter_headers for header in folder.glob("*.h")):
                link(headers / header.name, header.resolve())
        else:
            link(headers, entry)
    (sdk / "products/App.framework").mkdir(parents=True, exist_ok=True)
    return names


def flags(sdk):
    """What makes a compiler take SDK for Apple's. __nonnull is a word of clang's there and a macro
    of this C library, whose macros for characters know another kind of locale."""
    words = f"-isysroot {sdk} -isystem {sdk}/site -U__nonnull -D_GNU_SOURCE -D__NO_CTYPE"
    return f"{words} -idirafter {C_HEADERS} -idirafter /usr/include"


def owner(header):
    """The framework or library that has what is declared in a header of SDK."""
    if ".framework/" in header:
        return header.split(".framework/")[0].rpartition("/")[2]
    return "objc" if "/objc/" in header else "System"


def symbols_of(node):
    """What the linker knows a declaration by."""
    name = node.get("mangledName", "")
    if node["kind"] == "ObjCInterfaceDecl":
        # A mere @class ends with the name.
        if node["range"]["end"]["offset"] == node["loc"]["offset"]:
            return []
        return [name, name.replace("_CLASS_", "_METACLASS_")]
    if node["kind"] in ("FunctionDecl", "VarDecl") and node.get("storageClass") != "static":
        return [name]
    return []


def declared(syntax_tree, sdk):
    """{framework or library: symbols} of what SDK's headers declare, as clang reads them."""
    file = ""

    def with_file(node):
        """clang names the file of a place only where it is another one than before."""
        nonlocal file
        if "offset" in node:
            file = node.setdefault("file", file)
        return node

    symbols = {}
    nodes = json.loads(syntax_tree, object_hook=with_file)["inner"]
    for node in nodes:
        if node["kind"] == "LinkageSpecDecl":
            nodes.extend(node.get("inner", ()))
        header = node.get("loc", {}).get("file", "")
        if header.startswith(f"{sdk}/"):
            symbols.setdefault(owner(header), set()).update(symbols_of(node))
    return symbols


def syntax_tree(clang, sdk, names):
    headers = [f"{name}/{name}.h" for name in names if name not in PLUGINS]
    headers += [f"{name}/{name}-Swift.h" for name in PLUGINS]
    headers += ["objc/message.h", "objc/runtime.h", "time.h"]
    write(sdk / "all.mm", "".join(f"#import <{header}>\n" for header in headers))
    command = [clang, "--target=arm64-apple-macos13", f"@{sdk}/flags", "-fsyntax-only", "-w"]
    command += [f"-F{framework_folder(sdk, name).parent}" for name in (FLUTTER, *PLUGINS)]
    return output_of(*command, "-Xclang", "-ast-dump=json", sdk / "all.mm")


def listed(text):
    """{framework or library: symbols} of a list in which a name with a colon precedes symbols."""
    symbols = {}
    for word in re.sub(r"#.*", "", text).split():
        if word.endswith(":"):
            found = symbols.setdefault(word[:-1], set())
        else:
            found.add(f"_{word}")
    return symbols


def exported(library):
    """What a library of this system has to link with, as it is called on a Mac."""
    shared = ["-D"] if ".so" in library.suffixes else []
    lines = output_of("nm", "-P", "--defined-only", "--extern-only", *shared, library).splitlines()
    return {"_" + line.split()[0].partition("@")[0] for line in lines if " " in line}


def write_linker_list(file, symbols):
    targets = "targets: [ arm64-macos, x86_64-macos ]"
    write(
        file,
        f"--- !tapi-tbd\ntbd-version: 4\n{targets}\ninstall-name: '/{file.stem}'\n"
        f"exports:\n  - {targets}\n    symbols: [ {', '.join(sorted(symbols))} ]\n...\n",
    )


def make_linker_lists(sdk, names, symbols):
    for name, others in listed(SYMBOLS.read_text(encoding="utf-8")).items():
        symbols.setdefault(name, set()).update(others)
    # Who links with Foundation need not name the language's own library.
    symbols["Foundation"] |= symbols["objc"]
    for name in names:
        write_linker_list(framework_folder(sdk, name) / f"{name}.tbd", symbols[name])
    write_linker_list(sdk / "usr/lib/libSystem.tbd", symbols["System"])
    cxx = exported(LIBRARIES / "libc++.so.1") | exported(LIBRARIES / "libc++abi.so.1")
    write_linker_list(sdk / "usr/lib/libc++.tbd", cxx | symbols["c++"])


def make_tools(sdk):
    for name in ("ditto", "ibtool", "iconutil"):
        write(sdk / "bin" / name, TOOL)
        (sdk / "bin" / name).chmod(0o755)
    # clang looks for them under these names.
    link(sdk / "bin/lipo", LLVM / "llvm-lipo")
    link(sdk / "bin/ld64.lld", LLVM / "ld64.lld")


def main(first, second, *others):
    if first == "--list":
        write_linker_list(Path(others[0]), exported(Path(second)))
        return
    sdk = Path(second).resolve()
    make_c_headers(sdk)
    names = make_headers(sdk, [Path(folder) for folder in others])
    write(sdk / "flags", flags(sdk))
    make_linker_lists(sdk, names, declared(syntax_tree(first, sdk, names), sdk))
    make_tools(sdk)


if __name__ == "__main__":
    main(*sys.argv[1:])
