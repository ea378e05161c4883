"""What the tests of the style checks share: a check run on a small project of the test's own."""

import contextlib
import importlib
import io
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[2] / "tools"
sys.path.insert(0, str(TOOLS))


class StyleCheckCase(unittest.TestCase):
    script = None  # its name, without ".py"

    @contextlib.contextmanager
    def project_of(self, files):
        with tempfile.TemporaryDirectory() as root:
            for name, content in files.items():
                path = Path(root) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(content, encoding="utf-8")
            yield root

    def run_on(self, files):
        """What the check says of a project of these files: (exit status, complaints). A process of
        its own would take most of the time."""
        with self.project_of(files) as root:
            complaints = io.StringIO()
            with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(complaints):
                status = importlib.import_module(self.script).main([root])
            return status, complaints.getvalue()

    def assert_exits_with(self, status, files):
        """Starts the script as a program."""
        with self.project_of(files) as root:
            command = [sys.executable, "-B", str(TOOLS / f"{self.script}.py"), root]
            run = subprocess.run(command, capture_output=True, text=True, check=False)
            self.assertEqual(run.returncode, status, run.stderr)

    def assert_passes(self, files):
        self.assertEqual(self.run_on(files), (0, ""))

    def assert_fails(self, files, *complaints):
        status, output = self.run_on(files)
        self.assertEqual(status, 1, output)
        self.assertEqual(len(output.splitlines()), len(complaints), output)
        for line, complaint in zip(output.splitlines(), complaints):
            self.assertIn(complaint, line)
