"""tools/mac_first_run.sh with commands of the test's own. Usage: first_run_test.py MACOS_FACTS"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = sys.argv.pop()
ROOT = Path(__file__).resolve().parents[3]
SCRIPT = "a checkout/tools/mac_first_run.sh"
XIB = "a checkout/packaging/macos/MainMenu.xib"
FACTS = "build/macos-dev/tests/macos/facts/macos_facts"
CONFIG = "prefix/lib/cmake/GTest/GTestConfig.cmake"
NOTE = 'printf "%s, " "${0##*/}" "$@" >>calls'
FAKES = {
    "bin/brew": 'cd "${0%/bin/brew}"; echo "$PWD/prefix"',
    "bin/cmake": NOTE,
    "bin/codesign": NOTE,
    "bin/ctest": 'printf "50%% tests passed\\n 7 - Contract.It (Failed)\\nsee $HOME/log\\n"; exit 8',
    "bin/ninja": "",
    "bin/sleep": "exec /bin/sleep 0.05",
    "bin/sw_vers": "echo 14.5",
    "bin/sysctl": "echo 17179869184",
    "bin/xcodebuild": "",
    "bin/xcrun": 'if [ "$1" = ibtool ]; then cp "$4" "$3"; fi',
    CONFIG: "",
    f"a checkout/{FACTS}": """case "$1/$2" in
/) printf 'display-sleep 600\\nstuck 3\\nbroken 600\\n' ;;
stuck/) exec /bin/sleep 600 ;;
broken/) kill -ABRT $$ ;;
stuck/* | broken/*) echo "| $1 | $2 |" ;;
*) exec "$PROGRAM" "$@" ;;
esac""",
}
REPORT = """macOS 14.5, 17179869184, 17179869184, 16 GB
50% tests passed
 7 - Contract.It (Failed)

| Question | What the host counts on | What was seen | Agrees |
|---|---|---|---|
| Whose sleep does the activity of a session hold off? | the system's, not the display's | """ """\
the system's no, the display's no | NO |
| stuck | no answer within 3 s |
| broken | ended with status 134 |
"""


class FirstRun(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for name, script in FAKES.items():
            self.write(name, f"#!/bin/sh\n{script}\n")
        for name in ("bash", "cat", "cut", "dirname", "env", "grep", "sed", "tee", "cp"):
            (self.folder / "bin" / name).symlink_to(shutil.which(name))
        self.write(SCRIPT, (ROOT / "tools/mac_first_run.sh").read_text(encoding="utf-8"))
        self.write(XIB, (ROOT / "packaging/macos/MainMenu.xib").read_text(encoding="utf-8"))

    def write(self, name, script):
        (self.folder / name).parent.mkdir(parents=True, exist_ok=True)
        (self.folder / name).write_text(script, encoding="utf-8")
        (self.folder / name).chmod(0o755)

    def complaints(self):
        environment = {"PATH": f"{self.folder}/bin", "HOME": "/Users/me", "PROGRAM": PROGRAM}
        command = [self.folder / SCRIPT, "-DA=two words"]
        run = subprocess.run(command, capture_output=True, env=os.environ | environment, check=False)
        self.assertEqual(run.returncode, 1)  # a test fails, if nothing is missing
        return run.stderr.decode()

    def test_builds_signs_and_reports(self):
        self.complaints()
        calls = f"cmake, --preset, macos-dev, -DCMAKE_PREFIX_PATH={self.folder}/prefix, -DA=two words, "
        calls += f"cmake, --build, --preset, macos-dev, codesign, --force, --sign, -, {FACTS}, "
        for name, text in (("calls", calls), ("build/mac-report.txt", REPORT)):
            written = (self.folder / "a checkout" / name).read_text(encoding="utf-8")
            self.assertEqual(written, text)
        nib = (self.folder / "a checkout/build/facts.nib").read_text(encoding="utf-8")
        self.assertIn('customClass="FactDelegate"', nib)

    def test_names_all_that_is_missing(self):
        for name in ("bin/cmake", CONFIG):
            (self.folder / name).unlink()
        self.write("bin/sw_vers", "#!/bin/sh\necho 12.7.1\n")
        complaints = self.complaints()
        for remedy in ("Software Update", "brew install cmake", "brew install googletest"):
            self.assertIn(remedy, complaints)
        self.assertNotIn("ninja", complaints)


if __name__ == "__main__":
    unittest.main()
