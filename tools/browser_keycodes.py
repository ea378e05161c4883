#!/usr/bin/env python3
"""Writes the page's table from the names that browsers have for keys to macOS virtual key codes.

The input is platform/mac-keycodes.csv. Browsers name keys by their place on the keyboard (W3C, "UI
Events KeyboardEvent code Values", https://www.w3.org/TR/uievents-code/), as Linux does, so that a
name follows from that of the Linux key.

Usage: browser_keycodes.py mac-keycodes.csv keycodes.js. Exit status: 0 written, 1 a key is not
known or the input is none.
"""

import csv
import re
import sys
from pathlib import Path

RULES = [
    (re.compile(r"KEY_([A-Z])"), r"Key\1"),
    (re.compile(r"KEY_([0-9])"), r"Digit\1"),
    (re.compile(r"KEY_(F[0-9]+)"), r"\1"),
    (re.compile(r"KEY_KP([0-9])"), r"Numpad\1"),
]

NAMES = {
    "KEY_102ND": "IntlBackslash",
    "KEY_APOSTROPHE": "Quote",
    "KEY_BACKSLASH": "Backslash",
    "KEY_BACKSPACE": "Backspace",
    "KEY_CAPSLOCK": "CapsLock",
    "KEY_COMMA": "Comma",
    "KEY_COMPOSE": "ContextMenu",
    "KEY_DELETE": "Delete",
    "KEY_DOT": "Period",
    "KEY_DOWN": "ArrowDown",
    "KEY_END": "End",
    "KEY_ENTER": "Enter",
    "KEY_EQUAL": "Equal",
    "KEY_ESC": "Escape",
    "KEY_GRAVE": "Backquote",
    "KEY_HANGEUL": "Lang1",
    "KEY_HANJA": "Lang2",
    "KEY_HOME": "Home",
    "KEY_INSERT": "Insert",
    "KEY_KPASTERISK": "NumpadMultiply",
    "KEY_KPCOMMA": "NumpadComma",
    "KEY_KPDOT": "NumpadDecimal",
    "KEY_KPENTER": "NumpadEnter",
    "KEY_KPEQUAL": "NumpadEqual",
    "KEY_KPMINUS": "NumpadSubtract",
    "KEY_KPPLUS": "NumpadAdd",
    "KEY_KPSLASH": "NumpadDivide",
    "KEY_LEFT": "ArrowLeft",
    "KEY_LEFTALT": "AltLeft",
    "KEY_LEFTBRACE": "BracketLeft",
    "KEY_LEFTCTRL": "ControlLeft",
    "KEY_LEFTMETA": "MetaLeft",
    "KEY_LEFTSHIFT": "ShiftLeft",
    "KEY_MINUS": "Minus",
    "KEY_MUTE": "AudioVolumeMute",
    "KEY_NUMLOCK": "NumLock",
    "KEY_PAGEDOWN": "PageDown",
    "KEY_PAGEUP": "PageUp",
    "KEY_RIGHT": "ArrowRight",
    "KEY_RIGHTALT": "AltRight",
    "KEY_RIGHTBRACE": "BracketRight",
    "KEY_RIGHTCTRL": "ControlRight",
    "KEY_RIGHTMETA": "MetaRight",
    "KEY_RIGHTSHIFT": "ShiftRight",
    "KEY_RO": "IntlRo",
    "KEY_SEMICOLON": "Semicolon",
    "KEY_SLASH": "Slash",
    "KEY_SPACE": "Space",
    "KEY_TAB": "Tab",
    "KEY_UP": "ArrowUp",
    "KEY_VOLUMEDOWN": "AudioVolumeDown",
    "KEY_VOLUMEUP": "AudioVolumeUp",
    "KEY_YEN": "IntlYen",
}

# Keys that no browser tells of: keyboards use them within themselves.
UNSEEN = {"KEY_FN"}


class UnknownKey(Exception):
    pass


def browser_name(evdev_name):
    """The name that browsers give the key, None for a key that they do not see."""
    if evdev_name in UNSEEN:
        return None
    if evdev_name in NAMES:
        return NAMES[evdev_name]
    for pattern, replacement in RULES:
        match = pattern.fullmatch(evdev_name)
        if match:
            return match.expand(replacement)
    raise UnknownKey(f"browsers' name for {evdev_name} is not known")


def key_codes(lines):
    """Maps browsers' names to key codes, in the order of the lines."""
    codes = {}
    for row in csv.DictReader(lines):
        if not row["evdev_name"]:
            continue  # a code that stands for no key
        name = browser_name(row["evdev_name"])
        if name is None:
            continue
        if name in codes:
            raise UnknownKey(f"{name} would have the codes {codes[name]} and {row['mac_keycode']}")
        codes[name] = int(row["mac_keycode"])
    if not codes:
        raise UnknownKey("there are no keys in the input")
    return codes


def module_text(codes):
    entries = "".join(f"  {name}: {code},\n" for name, code in codes.items())
    return (
        "// Written by tools/browser_keycodes.py: the macOS virtual key code of each\n"
        "// KeyboardEvent.code.\n\n"
        f"export const keyCodes = {{\n{entries}}};\n"
    )


def main():
    source, target = sys.argv[1:]
    try:
        with open(source, encoding="utf-8", newline="") as lines:
            text = module_text(key_codes(lines))
    except (UnknownKey, KeyError, ValueError) as error:
        print(f"{source}: {error}", file=sys.stderr)
        return 1
    Path(target).write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
