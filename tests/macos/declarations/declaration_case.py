"""What the tests of the declaration tool share: its modules, and small folders of files."""

import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[3] / "tools"
sys.path.insert(0, str(TOOLS))


class DeclarationCase(unittest.TestCase):
    def folder(self, files: dict[str, str]) -> Path:
        """A folder with these files, until the test ends."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name, content in files.items():
            path = Path(folder.name) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(content, encoding="utf-8")
        return Path(folder.name)
