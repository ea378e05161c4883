#!/usr/bin/env python3
"""Writes platform/mac-keycodes.csv as a C++ table for the Linux back end.

Usage: key_table.py INPUT.csv OUTPUT.cpp
"""

import csv
import re
import sys


def symbols(meaning):
    """The characters that a key types without and with Shift, or two empty strings.

    Latin-1 characters and their X keysyms have the same numbers (X11/keysymdef.h).
    """
    pair = re.match(r"^(\S) / (\S)( |$)", meaning)
    single = re.match(r"^(\S) \(", meaning)
    found = pair.groups()[:2] if pair else single.groups() * 2 if single else ("", "")
    if any(ord(symbol) > 0xFF for symbol in found if symbol):
        raise ValueError(f"not in Latin-1: {meaning}")
    return found


def number(symbol):
    return f"0x{ord(symbol):02x}" if symbol else "0"


def row(entry):
    plain, shifted = symbols(entry["us_meaning"])
    return (
        f"    {{{entry['mac_keycode']}, {entry['evdev_code']}, XKB_KEY_{entry['x11_keysym']}, "
        f"{number(plain)}, {number(shifted)}}},  // {entry['us_meaning']}\n"
    )


def main():
    source, target = sys.argv[1:]
    with open(source, encoding="utf-8", newline="") as file:
        entries = [entry for entry in csv.DictReader(file) if entry["evdev_code"]]
    with open(target, "w", encoding="utf-8") as file:
        file.write("// Made by tools/key_table.py.\n")
        file.write("#include <xkbcommon/xkbcommon-keysyms.h>\n\n")
        file.write('#include "platform/linux/input/KeyMeaning.h"\n\n')
        file.write("namespace quorvin {\n\n")
        file.write(f"const std::array<KeyRow, {len(entries)}> keyRows{{{{\n")
        file.writelines(row(entry) for entry in entries)
        file.write("}};\n\n")
        file.write("std::span<const KeyRow> keyTable() {\n  return keyRows;\n}\n\n")
        file.write("}  // namespace quorvin\n")


if __name__ == "__main__":
    main()
