"""What the application bundle is made of says what it has to say."""

import os
import plistlib
import re
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

ROOT = Path(__file__).resolve().parents[3]
PACKAGING = ROOT / "packaging/macos"
VALUES = {
    "QUORVIN_PRODUCT_NAME": "Quorvin Support",
    "QUORVIN_BUNDLE_IDENTIFIER": "com.quorvin.support",
    "PROJECT_VERSION": "1.2.3",
    "CMAKE_OSX_DEPLOYMENT_TARGET": "13.0",
}


class InfoPlist(unittest.TestCase):
    def setUp(self):
        text = (PACKAGING / "Info.plist.in").read_text(encoding="utf-8")
        self.info = plistlib.loads(re.sub(r"@(\w+)@", lambda name: VALUES[name[1]], text).encode())

    def assert_says(self, **expected):
        self.assertEqual({key: self.info.get(key) for key in expected}, expected)

    def test_it_names_the_product(self):
        self.assert_says(
            CFBundleName="Quorvin Support",
            CFBundleExecutable="Quorvin Support",
            CFBundleIdentifier="com.quorvin.support",
            CFBundlePackageType="APPL",
            CFBundleShortVersionString="1.2.3",
            CFBundleVersion="1.2.3",
            CFBundleIconFile="AppIcon",
        )

    def test_it_starts_appkit_with_the_main_nib(self):
        self.assert_says(NSPrincipalClass="NSApplication", NSMainNibFile="MainMenu")
        self.assertTrue((PACKAGING / "MainMenu.xib").exists())

    def test_it_asks_for_the_oldest_system_that_is_supported(self):
        self.assert_says(LSMinimumSystemVersion="13.0", NSHighResolutionCapable=True)

    def test_it_belongs_to_the_dock(self):
        self.assertNotIn("LSUIElement", self.info)
        self.assertNotIn("LSBackgroundOnly", self.info)

    def test_it_says_why_a_permission_is_asked_for(self):
        for key in ("NSScreenCaptureUsageDescription", "NSDesktopFolderUsageDescription"):
            self.assertTrue(self.info[key].startswith("Quorvin Support "), key)


class Entitlements(unittest.TestCase):
    def entitlements(self, name):
        return plistlib.loads((PACKAGING / name).read_bytes())

    def test_a_released_program_has_no_sandbox_and_no_exceptions(self):
        self.assertEqual(
            self.entitlements("QuorvinSupport.entitlements"),
            {"com.apple.security.app-sandbox": False},
        )

    def test_what_apple_grants_is_the_only_addition_to_a_release(self):
        self.assertEqual(
            self.entitlements("QuorvinSupportPersistent.entitlements"),
            self.entitlements("QuorvinSupport.entitlements")
            | {"com.apple.developer.persistent-content-capture": True},
        )

    def test_a_debug_build_may_compile_while_it_runs(self):
        self.assertEqual(
            self.entitlements("QuorvinSupportDebug.entitlements"),
            {
                "com.apple.security.app-sandbox": False,
                "com.apple.security.cs.allow-jit": True,
                "com.apple.security.get-task-allow": True,
            },
        )


class Signing(unittest.TestCase):
    def sign(self, *arguments):
        """The exit status of sign.sh, and the arguments of every codesign that it ran."""
        with tempfile.TemporaryDirectory() as folder:
            application = Path(folder) / "A.app"
            for name in ("B.framework", "C.framework"):
                (application / "Contents/Frameworks" / name).mkdir(parents=True)
            tool = Path(folder) / "codesign"
            tool.write_text('#!/bin/sh\necho "$@"\n', encoding="utf-8")
            tool.chmod(0o755)
            command = [
                PACKAGING / "sign.sh",
                *(word.replace("APP", str(application)) for word in arguments),
            ]
            path = {"PATH": f"{folder}:{os.environ['PATH']}"}
            run = subprocess.run(
                command, capture_output=True, text=True, env=os.environ | path, check=False
            )
            return run.returncode, run.stdout.replace(f"{folder}/", "").splitlines()

    def test_frameworks_are_signed_before_what_holds_them(self):
        status, calls = self.sign("Somebody", "APP")
        common = "--force --options runtime --timestamp --sign Somebody"
        entitlements = PACKAGING / "QuorvinSupport.entitlements"
        self.assertEqual(status, 0)
        self.assertEqual(
            calls,
            [
                f"{common} A.app/Contents/Frameworks/B.framework",
                f"{common} A.app/Contents/Frameworks/C.framework",
                f"{common} --entitlements {entitlements} A.app",
            ],
        )

    def test_other_entitlements_can_be_given(self):
        calls = self.sign("Somebody", "APP", "Other.entitlements")[1]
        self.assertTrue(calls[-1].endswith("--entitlements Other.entitlements A.app"), calls[-1])

    def test_a_signature_for_this_machine_has_no_hardened_runtime(self):
        for call in self.sign("-", "APP")[1]:
            self.assertTrue(call.startswith("--force --timestamp=none --sign - "), call)

    def test_wrong_usage_signs_nothing(self):
        self.assertEqual(self.sign("Somebody"), (2, []))


class MainMenu(unittest.TestCase):
    def setUp(self):
        self.document = ElementTree.parse(PACKAGING / "MainMenu.xib").getroot()
        with_ids = [node for node in self.document.iter() if "id" in node.attrib]
        self.nodes = {node.get("id"): node for node in with_ids}
        self.assertEqual(len(self.nodes), len(with_ids), "ids are used twice")

    def outlet(self, owner, name):
        """What an outlet of a top-level object is connected to."""
        outlet = self.nodes[owner].find(f"connections/outlet[@property='{name}']")
        return self.nodes[outlet.get("destination")]

    def test_the_owner_is_the_application_and_has_the_delegate(self):
        self.assertEqual(self.nodes["-2"].get("customClass"), "NSApplication")
        self.assertEqual(self.outlet("-2", "delegate").get("customClass"), "AppDelegate")

    def test_the_delegate_knows_menu_and_window(self):
        delegate = self.outlet("-2", "delegate").get("id")
        self.assertEqual(self.outlet(delegate, "applicationMenu").get("systemMenu"), "apple")
        self.assertEqual(self.outlet(delegate, "mainFlutterWindow").tag, "window")

    def test_the_one_window_is_shown_and_outlives_its_closing(self):
        (window,) = self.document.iter("window")
        self.assertEqual(window.get("customClass"), "MainFlutterWindow")
        self.assertEqual(window.get("title"), "Quorvin Support")
        self.assertEqual(window.get("releasedWhenClosed"), "NO")
        self.assertEqual(window.get("visibleAtLaunch"), "YES")

    def test_its_classes_are_those_of_the_back_end(self):
        source = (ROOT / "platform/macos/NibClasses.mm").read_text(encoding="utf-8")
        for name in ("AppDelegate", "MainFlutterWindow"):
            self.assertRegex(source, rf"@implementation {name}\b")

    def test_the_menus_offer_what_people_expect(self):
        actions = {action.get("selector") for action in self.document.iter("action")}
        self.assertLessEqual(
            {
                "orderFrontStandardAboutPanel:", "hide:", "hideOtherApplications:", "terminate:",
                "cut:", "copy:", "paste:", "selectAll:", "performMiniaturize:", "performZoom:",
            },
            actions,
        )  # fmt: skip

    def test_every_connection_leads_somewhere(self):
        for connection in self.document.iter("outlet"):
            self.assertIn(connection.get("destination"), self.nodes)
        for connection in self.document.iter("action"):
            self.assertIn(connection.get("target"), self.nodes)


class Icon(unittest.TestCase):
    def test_every_picture_has_the_size_that_its_name_says(self):
        expected = {}
        for points in (16, 32, 128, 256, 512):
            expected[f"icon_{points}x{points}.png"] = points
            expected[f"icon_{points}x{points}@2x.png"] = 2 * points
        found = {path.name: path for path in (PACKAGING / "AppIcon.iconset").iterdir()}
        self.assertEqual(set(found), set(expected))
        for name, path in found.items():
            signature, size = struct.unpack(">8s8x8s", path.read_bytes()[:24])
            self.assertEqual(signature, b"\x89PNG\r\n\x1a\n", name)
            self.assertEqual(struct.unpack(">II", size), (expected[name], expected[name]), name)

    def test_its_drawing_is_well_formed(self):
        self.assertTrue(ElementTree.parse(PACKAGING / "AppIcon.svg").getroot().tag.endswith("svg"))


if __name__ == "__main__":
    unittest.main()
