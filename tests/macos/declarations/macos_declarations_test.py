import subprocess
import sys
import unittest

from declaration_case import TOOLS, DeclarationCase

HEADER = "typedef enum Mode : int Mode;\nenum Mode : int { ModeA = 3 };\n"
SOURCE = "pub struct Mode(pub c_int);\nimpl Mode {\n    pub const ModeA: Self = Self(3);\n}\n"


class MacosDeclarations(DeclarationCase):
    def setUp(self):
        self.headers = self.folder({"Fw/Fw.h": HEADER})
        self.list = self.headers / "list.tsv"

    def run_tool(self, *arguments):
        command = [sys.executable, "-B", str(TOOLS / "macos_declarations.py"), *map(str, arguments)]
        command += ["--headers", str(self.headers), "--list", str(self.list)]
        run = subprocess.run(command, capture_output=True, text=True, check=False)
        return run.returncode, run.stdout + run.stderr

    def change_header(self, before, after):
        path = self.headers / "Fw/Fw.h"
        path.write_text(path.read_text().replace(before, after))

    def test_a_written_list_is_up_to_date(self):
        self.assertEqual(self.run_tool("write")[0], 0)
        self.assertEqual(self.run_tool("check"), (0, ""))

    def test_a_missing_list_is_out_of_date(self):
        status, output = self.run_tool("check")
        self.assertEqual(status, 1)
        self.assertIn("only in the headers: Fw enumerator ModeA 3 Mode", output)

    def test_a_changed_declaration_is_shown_with_the_command_that_helps(self):
        self.run_tool("write")
        self.change_header("ModeA = 3", "ModeA = 4")
        status, output = self.run_tool("check")
        self.assertEqual(status, 1)
        self.assertIn("only in the headers: Fw enumerator ModeA 4 Mode", output)
        self.assertIn("only in the list: Fw enumerator ModeA 3 Mode", output)
        self.assertIn("tools/macos_declarations.py write", output)

    def test_headers_that_do_not_compile_are_an_error(self):
        self.change_header("enum", "enumm")
        self.assertEqual(self.run_tool("check")[0], 2)

    def test_a_list_is_compared_with_sources(self):
        self.run_tool("write")
        status, output = self.run_tool("compare", self.folder({"a.rs": SOURCE}))
        self.assertEqual(status, 0, output)
        self.assertIn("2 agreed, 0 differing", output)

    def test_a_difference_is_shown_with_both_sides(self):
        self.run_tool("write")
        wrong = self.folder({"a.rs": SOURCE.replace("Self(3)", "Self(5)")})
        status, output = self.run_tool("compare", wrong)
        self.assertEqual(status, 1)
        self.assertIn("1 agreed, 1 differing", output)
        self.assertIn("differing: Fw enumerator ModeA\n    here:   3 Mode\n    source: 5", output)

    def test_without_sources_nothing_counts_as_checked(self):
        self.run_tool("write")
        for folder in (self.folder({"notes.txt": ""}), self.headers / "missing"):
            status, output = self.run_tool("compare", folder)
            self.assertEqual(status, 3)
            self.assertTrue(output.startswith("not checked"), output)


if __name__ == "__main__":
    unittest.main()
