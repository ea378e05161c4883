"""The key table's writer takes what it knows and fails on what it does not."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = Path(__file__).resolve().parents[2] / "tools" / "browser_keycodes.py"
HEADER = "mac_keycode,mac_name,us_meaning,evdev_code,evdev_name,x11_keysym\n"


def run_on(table):
    """Runs the tool: (exit status, what was written or None, complaints)."""
    with tempfile.TemporaryDirectory() as folder:
        source = Path(folder) / "table.csv"
        target = Path(folder) / "keycodes.js"
        source.write_text(table, encoding="utf-8")
        command = [sys.executable, "-B", str(TOOL), str(source), str(target)]
        run = subprocess.run(command, capture_output=True, text=True, check=False)
        written = target.read_text(encoding="utf-8") if target.exists() else None
        return run.returncode, written, run.stderr


class BrowserKeycodes(unittest.TestCase):
    def test_names_follow_from_those_of_linux(self):
        status, written, complaints = run_on(
            HEADER
            + "0,kVK_ANSI_A,a / A,30,KEY_A,a\n"
            + "29,kVK_ANSI_0,0 / ),11,KEY_0,0\n"
            + "64,kVK_F17,F17,187,KEY_F17,F17\n"
            + "82,kVK_ANSI_Keypad0,Keypad 0,82,KEY_KP0,KP_0\n"
            + "54,kVK_RightCommand,Right Command,126,KEY_RIGHTMETA,Super_R\n"
        )
        self.assertEqual((status, complaints), (0, ""))
        for entry in ("KeyA: 0,", "Digit0: 29,", "F17: 64,", "Numpad0: 82,", "MetaRight: 54,"):
            self.assertIn(f"\n  {entry}\n", written)

    def test_codes_without_a_key_and_keys_that_no_browser_sees_are_left_out(self):
        status, written, _ = run_on(
            HEADER
            + "52,,(unassigned),,,\n"
            + "63,kVK_Function,Fn,464,KEY_FN,XF86Fn\n"
            + "0,kVK_ANSI_A,a / A,30,KEY_A,a\n"
        )
        self.assertEqual(status, 0)
        self.assertEqual(written.count(": "), 2)  # of the entry and of the heading
        self.assertIn("KeyA: 0,", written)

    def test_a_key_without_a_known_name_is_an_error(self):
        status, written, complaints = run_on(HEADER + "5,kVK_New,new,700,KEY_NEW,New\n")
        self.assertEqual((status, written), (1, None))
        self.assertIn("KEY_NEW", complaints)

    def test_two_codes_for_one_key_are_an_error(self):
        row = "{},kVK_ANSI_A,a / A,30,KEY_A,a\n"
        status, written, complaints = run_on(HEADER + row.format(0) + row.format(1))
        self.assertEqual((status, written), (1, None))
        self.assertIn("KeyA", complaints)

    def test_what_is_no_table_is_an_error(self):
        for table in ("", "a,b\n1,2\n", HEADER, HEADER + "x,kVK_ANSI_A,a / A,30,KEY_A,a\n"):
            status, written, complaints = run_on(table)
            self.assertEqual((status, written), (1, None), table)
            self.assertNotIn("Traceback", complaints)


if __name__ == "__main__":
    unittest.main()
