"""What a Mac's linker finds in which framework is read from where its headers declare it."""

import json
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import mac_sdk  # noqa: E402


def declaration(kind, name, file=None, length=0):
    place = {"offset": 10} | ({"file": file} if file else {})
    end = {"offset": 10 + length}
    return {"loc": place, "range": {"end": end}, "kind": kind, "mangledName": name}


class MacSdk(unittest.TestCase):
    def test_symbols_belong_to_the_folder_of_their_header(self):
        nodes = [
            declaration("FunctionDecl", "_printf", "/usr/include/stdio.h"),
            declaration("FunctionDecl", "_f", "/sdk/A.framework/Headers/A.h"),
            declaration("ObjCInterfaceDecl", "_OBJC_CLASS_$_Forward"),
            declaration("ObjCInterfaceDecl", "_OBJC_CLASS_$_C", length=9),
            declaration("VarDecl", "_kRuntime", "/sdk/usr/include/objc/runtime.h"),
        ]
        found = mac_sdk.declared(json.dumps({"inner": nodes}), "/sdk")
        classes = {"_OBJC_CLASS_$_C", "_OBJC_METACLASS_$_C"}
        self.assertEqual(found, {"A": {"_f"} | classes, "objc": {"_kRuntime"}})

    def test_only_the_integers_of_64_bits_change(self):
        text = "typedef signed long int __int64_t; typedef unsigned long int __uint64_t;"
        changed = text.replace("long int", "long long int")
        self.assertEqual(mac_sdk.types_of_a_mac(text + "long int x;"), changed + "long int x;")
        with self.assertRaises(SystemExit):
            mac_sdk.types_of_a_mac(changed)


if __name__ == "__main__":
    unittest.main()
