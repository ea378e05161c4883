"""The build for a Mac, as far as CMake can be asked about it elsewhere: it is configured for that
system with tools that do nothing. Nothing is compiled.

Usage: configuration_test.py CMAKE C_COMPILER CXX_COMPILER FOLDER_OF_GTESTS_CMAKE_FILES
"""

import os
import plistlib
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
TOOLS = ("ibtool", "iconutil", "ditto", "install_name_tool", "otool", "sw_vers")
FLUTTER = "FlutterMacOS.framework"
APP = "App.framework"
PLUGIN_NAMES = ("file_selector_macos", "shared_preferences_foundation")
PLUGINS = tuple(f"{name}/{name}.framework" for name in PLUGIN_NAMES)
# As `flutter build macos-framework` lays all of them out.
XCFRAMEWORKS = tuple(
    f"{name}.xcframework/macos-arm64_x86_64/{name}.framework"
    for name in ("FlutterMacOS", "App", *PLUGIN_NAMES)
)


class Configuration(unittest.TestCase):
    programs: list[str] = []

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.build = self.folder / "build"
        for name in TOOLS:
            self.write_tool(name, "exit 0")
        self.write_tool("xcrun", f'[ "$1" = --find ] && echo "{self.folder}/tools/$2"')

    def write_tool(self, name, script):
        tool = self.folder / "tools" / name
        tool.parent.mkdir(exist_ok=True)
        tool.write_text(f"#!/bin/sh\n{script}\n", encoding="utf-8")
        tool.chmod(0o755)

    def remove_tool(self, name):
        (self.folder / "tools" / name).unlink()

    def flutter_build(self, *frameworks):
        products = Path(tempfile.mkdtemp(dir=self.folder))
        for framework in frameworks:
            (products / framework).mkdir(parents=True)
        return products

    def configure(self, flutter="", target="13.0", testing="OFF"):
        """CMake's exit status and all that it says, on one line."""
        cmake, c_compiler, cxx_compiler, googletest = self.programs
        variables = {
            "CMAKE_SYSTEM_NAME": "Darwin",
            "CMAKE_C_COMPILER": c_compiler,
            "CMAKE_CXX_COMPILER": cxx_compiler,
            "CMAKE_C_COMPILER_WORKS": "1",
            "CMAKE_CXX_COMPILER_WORKS": "1",
            "CMAKE_OBJCXX_COMPILER_WORKS": "1",
            "CMAKE_INSTALL_NAME_TOOL": self.folder / "tools/install_name_tool",
            "CMAKE_OSX_SYSROOT": "/",
            "CMAKE_OSX_DEPLOYMENT_TARGET": target,
            "BUILD_TESTING": testing,
            "GTest_DIR": googletest,
            "QUORVIN_FLUTTER_BUILD": flutter,
        }
        command = [cmake, "-S", ROOT, "-B", self.build, "-G", "Ninja"]
        command += [f"-D{name}={value}" for name, value in variables.items()]
        environment = os.environ | {"PATH": f"{self.folder}/tools:{os.environ['PATH']}"}
        run = subprocess.run(command, capture_output=True, text=True, env=environment, check=False)
        return run.returncode, " ".join((run.stdout + run.stderr).split())

    def rules(self):
        return (self.build / "build.ninja").read_text(encoding="utf-8")

    def test_without_flutter_there_is_no_application(self):
        status, output = self.configure(testing="ON")
        self.assertEqual(status, 0, output)
        self.assertIn("QUORVIN_FLUTTER_BUILD is not set", output)
        for present in ("ScreenCapture.mm.o", "tests/unit/unit_tests"):
            self.assertIn(present, self.rules())
        for absent in ("Quorvin$ Support.app", "FlutterChannels.mm.o", "Window.mm.o"):
            self.assertNotIn(absent, self.rules())

    def test_everything_missing_in_flutters_build_is_named(self):
        status, output = self.configure(self.flutter_build(FLUTTER))
        self.assertNotEqual(status, 0)
        for framework in (*PLUGINS, APP):
            self.assertIn(f" {Path(framework).name} ", output)
        self.assertNotIn(f" {FLUTTER} ", output)
        self.assertIn("flutter build macos", output)

    def test_the_application_holds_nib_icon_and_frameworks(self):
        for layout in ((FLUTTER, APP, *PLUGINS), XCFRAMEWORKS):
            with self.subTest(layout=layout):
                shutil.rmtree(self.build, ignore_errors=True)
                self.expect_whole_application(self.flutter_build(*layout), layout)

    def expect_whole_application(self, products, layout):
        status, output = self.configure(products)
        self.assertEqual(status, 0, output)
        rules = self.rules()
        contents = "Quorvin$ Support.app/Contents"
        for name in ("MainMenu.nib", "AppIcon.icns"):
            self.assertIn(f"{contents}/Resources/{name}", rules)
        for framework in layout:
            path = products / framework
            self.assertIn(f"Contents/Frameworks/{path.name}", rules)
            if path.name != APP:
                self.assertRegex(rules, rf"-F{path.parent}\s")
        for framework in (
            "FlutterMacOS",
            "ScreenCaptureKit",
            "CoreMedia",
            "VideoToolbox",
            Path(PLUGINS[0]).stem,
        ):
            self.assertIn(f"-framework {framework}", rules)
        self.assertIn("FlutterChannels.mm.o", rules)
        info = plistlib.loads((self.build / "Runner/Info.plist").read_bytes())
        self.assertEqual(info["CFBundleIdentifier"], "com.quorvin.support")
        self.assertEqual(info["LSMinimumSystemVersion"], "13.0")

    def test_a_missing_tool_is_named(self):
        flutter = self.flutter_build(FLUTTER, APP, *PLUGINS)
        self.remove_tool("ibtool")
        status, output = self.configure(flutter)
        self.assertNotEqual(status, 0)
        self.assertIn("cannot be put together without ibtool", output)

    def test_the_oldest_system_must_be_known(self):
        status, output = self.configure(self.flutter_build(FLUTTER, APP, *PLUGINS), target="")
        self.assertNotEqual(status, 0)
        self.assertIn("CMAKE_OSX_DEPLOYMENT_TARGET is not set", output)

    def test_the_presets_for_a_mac_are_refused_elsewhere(self):
        command = [self.programs[0], "--preset", "macos", "-B", self.build]
        run = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=False)
        self.assertNotEqual(run.returncode, 0)
        self.assertIn('disabled preset "macos"', run.stderr)


if __name__ == "__main__":
    Configuration.programs = sys.argv[1:5]
    unittest.main(argv=sys.argv[:1])
