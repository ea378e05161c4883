#!/usr/bin/env python3
"""What is in the Debian packages, and what becomes of a system that has them for a while, which is a
namespace (tests/deploy/in_namespace.sh).

usage: package_test.py FOLDER-OF-THE-PACKAGES [unittest's own arguments]
"""

import base64
import json
import os
import re
import resource
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PACKAGES = Path(sys.argv[1]).resolve()
PROGRAM, PLACE = "quorvin-support", "quorvin-support-place"
BUNDLE = Path("/usr/lib/quorvin-support/Quorvin Support.app")
INSTALLED_MAX_KIB = 5 * 1024
INSTALLING_MAX_S = 10
WAIT_S = 30
PICTURE = {
    **{"profile": "fast", "show_cursor": True, "codec": "jpeg", "max_width": 640, "max_height": 480},
    **{"bitrate_mbps": 2, "jpeg_quality": 60, "queue_depth": 3},
}
PLACES = (
    "usr/bin/quorvin-|usr/sbin/quorvin-|usr/lib/quorvin-support/|usr/share/quorvin-support-place/"
    "|usr/share/(applications|metainfo)/com[.]quorvin[.]support[.]"
    "|usr/share/bash-completion/completions/quorvin-support$"
    "|usr/share/icons/hicolor/(scalable|[0-9]+x[0-9]+)/apps/com[.]quorvin[.]support[.]"
    "|usr/share/man/man[18]/quorvin-|usr/share/(doc|lintian/overrides)/quorvin-support(-place)?(/|$)"
)


def run(*command, check=True, **options):
    done = subprocess.run(command, text=True, capture_output=True, **options)
    if check and done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}{done.stderr}")
    return done


def processor_time_of_children():
    """In seconds. How long they take beside that depends on what else this machine does."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def package(name):
    (found,) = PACKAGES.glob(f"{name}_*.deb")
    return found


def await_that(condition, what):
    end = time.monotonic() + WAIT_S
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"not within {WAIT_S} s: {what}")
        time.sleep(0.05)


def files_of_the_system():
    """Every file's mode and size, what dpkg keeps for itself and caches aside."""
    own = re.compile(r"/var/(lib/dpkg|log|cache)|/etc/ld[.]so[.]cache|.*[.]cache$|/usr/share/applications$")
    found = {}
    for top in ("/etc", "/usr", "/var"):
        for folder, folders, files in os.walk(top):
            for name in folders + files:
                path = os.path.join(folder, name)
                if not own.match(path):
                    state = os.lstat(path)
                    found[path] = None if name in folders else (state.st_mode, state.st_size)
    return found


class Page:
    """A page of the program, which speaks WebSocket (RFC 6455) with it."""

    def __init__(self, address):
        _, _, host, *path = address.split("/")
        name, port = host.split(":")
        self.socket = socket.create_connection((name, int(port)), timeout=WAIT_S)
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall(
            f"GET /{'/'.join(path)}ws HTTP/1.1\r\nHost: {host}\r\nUpgrade: websocket\r\n"
            f"Connection: Upgrade\r\nOrigin: http://{host}\r\nSec-WebSocket-Key: {key}\r\n"
            "Sec-WebSocket-Version: 13\r\n\r\n".encode()
        )
        self.incoming = self.socket.makefile("rb")
        assert b" 101 " in self.incoming.readline()
        while self.incoming.readline() != b"\r\n":
            pass

    def tell(self, message):
        text = json.dumps(message).encode()
        length = bytes([0x80 | len(text)])
        if len(text) > 125:
            length = b"\xfe" + len(text).to_bytes(2, "big")
        self.socket.sendall(b"\x81" + length + bytes(4) + text)

    def messages(self):
        """Texts as what they mean, pictures as their bytes."""
        while True:
            first, length = self.incoming.read(2)
            if length > 125:
                length = int.from_bytes(self.incoming.read(2 if length == 126 else 8), "big")
            body = self.incoming.read(length)
            if first & 15 == 2:
                self.tell({"ack": 1})
                yield body
            elif first & 15 == 1:
                message = json.loads(body)
                if message.get("event") == "question":
                    self.tell({"answer": message["word"]})
                yield message

    def call(self, number, method, arguments=None):
        self.tell({"id": number, "method": method, "arguments": arguments})
        return next(m for m in self.messages() if isinstance(m, dict) and m.get("id") == number)

    def await_picture(self):
        next(m for m in self.messages() if isinstance(m, bytes))

    def close(self):
        self.incoming.close()
        self.socket.close()


class Contents(unittest.TestCase):
    def test_lintian_finds_neither_errors_nor_warnings(self):
        run("lintian", "--allow-root", "--fail-on", "error,warning", package(PROGRAM), package(PLACE))

    def test_every_file_is_in_a_place_of_its_own(self):
        for name in (PROGRAM, PLACE):
            for line in run("dpkg-deb", "--contents", package(name)).stdout.splitlines():
                path = line.split(None, 5)[5].split(" -> ")[0].removeprefix("./")
                if path and not path.endswith("/"):
                    self.assertRegex(path, f"^({PLACES})")

    def test_no_package_runs_anything_when_it_comes_or_goes(self):
        for name in (PROGRAM, PLACE):
            with tempfile.TemporaryDirectory() as folder:
                run("dpkg-deb", "--control", package(name), folder)
                self.assertLessEqual(set(os.listdir(folder)), {"control", "md5sums"})

    def test_they_are_small(self):
        for name in (PROGRAM, PLACE):
            size = int(run("dpkg-deb", "--field", package(name), "Installed-Size").stdout)
            self.assertLess(size, INSTALLED_MAX_KIB)

    def test_the_desktop_understands_it(self):
        with tempfile.TemporaryDirectory() as folder:
            run("dpkg-deb", "--extract", package(PROGRAM), folder)
            share = Path(folder, "usr/share")
            run("desktop-file-validate", share / "applications/com.quorvin.support.desktop")
            run("appstreamcli", "validate", "--no-net", share / "metainfo/com.quorvin.support.metainfo.xml")
            for size in (16, 22, 24, 32, 48, 64, 128, 256):
                icon = share / f"icons/hicolor/{size}x{size}/apps/com.quorvin.support.png"
                # Width and height in the header of a PNG file.
                self.assertEqual(icon.read_bytes()[16:24], size.to_bytes(4, "big") * 2)
            for command in Path(folder, "usr/bin").iterdir():
                self.assertTrue((share / f"man/man1/{command.name}.1.gz").exists(), command)

    def test_the_completion_knows_what_the_program_does(self):
        with tempfile.TemporaryDirectory() as folder:
            run("dpkg-deb", "--extract", package(PROGRAM), folder)
            script = Path(folder, "usr/share/bash-completion/completions/quorvin-support")
            ask = '. "$1"; COMP_WORDS=(x --); COMP_CWORD=1; _quorvin_support; echo "${COMPREPLY[@]}"'
            offered = run("bash", "-c", ask, "bash", script).stdout.split()
            manual = run("zcat", Path(folder, "usr/share/man/man1/quorvin-support.1.gz")).stdout
            named = {f"-{option}" for option in re.findall(r"Fl (-[a-z-]+)", manual)}
            self.assertEqual(set(offered), named)


class Installed(unittest.TestCase):
    """Changes the system; each test leaves it without the packages."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.addCleanup(run, "dpkg", "--purge", PROGRAM, PLACE, check=False)
        self.home = self.folder / "home"
        self.runtime = self.folder / "run"
        self.home.mkdir()
        self.runtime.mkdir(0o700)
        self.environment = {
            **{key: os.environ[key] for key in ("PATH", "LANG") if key in os.environ},
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(self.runtime),
            "QUORVIN_WEBUI_OPEN": "0",
            "QUORVIN_LAUNCHCTL": "/bin/true",
            "NO_AT_BRIDGE": "1",
        }

    def older(self, name):
        """The same package with an older version."""
        tree, file = self.folder / "older", self.folder / f"{name}_0.0.1.deb"
        run("dpkg-deb", "--raw-extract", package(name), tree)
        control = tree / "DEBIAN/control"
        control.write_text(re.sub(r"(?m)^Version: .*", "Version: 0.0.1", control.read_text()))
        run("dpkg-deb", "--build", tree, file)
        return file

    @contextmanager
    def screen(self):
        read, write = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "800x600x24", "-nolisten", "tcp"],
            pass_fds=[write],
            stderr=subprocess.DEVNULL,
        )
        os.close(write)
        try:
            with os.fdopen(read) as number:
                self.environment["DISPLAY"] = ":" + number.readline().strip()
            yield
        finally:
            server.terminate()
            server.wait()

    @contextmanager
    def started(self):
        program = subprocess.Popen(["quorvin-support"], env=self.environment, stdout=subprocess.DEVNULL)
        try:
            leading = self.runtime / "com.quorvin.support/page-8765.html"
            await_that(leading.exists, "the program is ready")
            yield program, re.search(r'href="([^"]*)"', leading.read_text())[1]
        finally:
            program.terminate()
            self.assertEqual(program.wait(WAIT_S), 0)

    def command(self, *arguments):
        return run("quorvin-support", *arguments, check=False, env=self.environment)

    def test_a_session_goes_on_through_upgrade_removal_and_purge(self):
        older = self.older(PROGRAM)
        before = files_of_the_system()
        run("dpkg", "--install", older)
        with self.screen(), self.started() as (program, address):
            page = Page(address)
            self.addCleanup(page.close)
            page.tell({"show": {"customer": True, "picture": True}})
            answer = page.call(1, "startCapture", {"locallyAuthorized": True})
            self.assertNotIn("error", answer)
            page.await_picture()
            before_it = processor_time_of_children()
            run("dpkg", "--install", package(PROGRAM))
            self.assertLess(processor_time_of_children() - before_it, INSTALLING_MAX_S)
            for number, action in enumerate((None, "--remove", "--purge"), start=2):
                if action:
                    run("dpkg", action, PROGRAM)
                with self.subTest(action=action or "upgrade"):
                    changed = page.call(number, "configureStream", PICTURE | {"fps": 10 + number})
                    self.assertNotIn("error", changed)
                    page.await_picture()
                    self.assertIsNone(program.poll())
        after = files_of_the_system()
        self.assertEqual({p for p in before if before[p] != after.get(p)}, set())
        self.assertEqual(set(after) - set(before), set())

    def test_starts_and_shows_its_page(self):
        run("dpkg", "--install", package(PROGRAM))
        done = run("sh", ROOT / "packaging/debian/tests/start")
        self.assertIn("can be had", done.stdout)

    def test_can_be_put_into_applications_where_upgrades_reach_it(self):
        run("dpkg", "--install", package(PROGRAM))
        link = self.home / "Applications/Quorvin Support.app"
        with self.screen():
            refused = self.command("--install-unattended")
            self.assertEqual(refused.returncode, 1)
            self.assertIn("quorvin-support --install", refused.stderr)
            for _ in range(2):
                done = self.command("--install")
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertIn(f"{self.home}/Applications", done.stdout)
            self.assertEqual(os.readlink(link), str(BUNDLE))
            done = self.command("--install-unattended", "--name", "Desk")
            self.assertEqual(done.returncode, 0, done.stderr + done.stdout)
            agent = self.home / "Library/LaunchAgents/com.quorvin.support.unattended.plist"
            self.assertIn(f"{link}/Contents/Linux/quorvin-support", agent.read_text())
            (self.home / "Desktop").mkdir()
            with self.started() as (_, address):
                page = Page(address)
                self.addCleanup(page.close)
                self.assertNotIn("error", page.call(1, "createDesktopShortcut"))
            self.assertEqual(os.readlink(self.home / "Desktop/Quorvin Support.app"), str(link))

    def test_leaves_another_copy_in_applications_alone(self):
        run("dpkg", "--install", package(PROGRAM))
        other = self.home / "Applications/Quorvin Support.app"
        other.mkdir(parents=True)
        done = self.command("--install")
        self.assertEqual(done.returncode, 1)
        self.assertIn(str(other), done.stderr)
        self.assertFalse(other.is_symlink())

    def test_the_place_sets_up_nothing_by_itself(self):
        before = files_of_the_system()
        run("dpkg", "--install", "--force-depends", package(PLACE))
        added = set(files_of_the_system()) - set(before)
        self.assertEqual([path for path in added if not path.startswith("/usr/")], [])
        self.assertIn("HOST", run("quorvin-support-place", "--help").stdout)
        run("dpkg", "--purge", PLACE)
        self.assertEqual(set(files_of_the_system()), set(before))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
