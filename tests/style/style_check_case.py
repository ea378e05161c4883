"""What the tests of the style checks share: a check run on a small project of the test's own."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[2] / "tools"


class StyleCheckCase(unittest.TestCase):
    script = None

    def run_on(self, files):
        """Runs the script on a project of these files: (exit status, complaints)."""
        with tempfile.TemporaryDirectory() as root:
            for name, content in files.items():
                path = Path(root) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(content, encoding="utf-8")
            command = [sys.executable, "-B", str(TOOLS / self.script), root]
            run = subprocess.run(command, capture_output=True, text=True, check=False)
            return run.returncode, run.stderr

    def assert_passes(self, files):
        self.assertEqual(self.run_on(files), (0, ""))

    def assert_fails(self, files, *complaints):
        status, output = self.run_on(files)
        self.assertEqual(status, 1, output)
        self.assertEqual(len(output.splitlines()), len(complaints), output)
        for line, complaint in zip(output.splitlines(), complaints):
            self.assertIn(complaint, line)
