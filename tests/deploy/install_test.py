#!/usr/bin/env python3
"""What deploy/install does to a server, which is a namespace (in_namespace.sh)."""

import os
import shutil
import unittest
from pathlib import Path

import mqtt
import place
from place import HOST, WORK

WRITTEN = ("/etc/quorvin-place", "/etc/systemd/system", "/usr/local", "/etc/nginx")
SETTINGS = Path("/etc/quorvin-place")


def state_of(folders):
    """Every file's place, time and content."""
    found = {}
    for folder in folders:
        for path in sorted(Path(folder).rglob("*")):
            if path.is_file() and path.stat().st_size < 1 << 20:
                found[str(path)] = (path.stat().st_mode, path.read_bytes())
    return found


class InstallTest(unittest.TestCase):
    def setUp(self):
        self.place = place.Installation()

    def tearDown(self):
        for path in ("/etc/quorvin-place", "/usr/local/lib/quorvin-place", "/etc/letsencrypt"):
            shutil.rmtree(path, ignore_errors=True)
        for pattern in ("systemd/system/quorvin-*", "nginx/sites-*/quorvin-*", "nginx/sites-enabled/x"):
            for path in Path("/etc").glob(pattern):
                path.unlink()

    def refuses(self, expected, *arguments):
        before = state_of(WRITTEN)
        done = self.place.install(*arguments, check=False)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn(expected, done.stderr)
        self.assertEqual(state_of(WRITTEN), before)

    def calls(self):
        return self.place.calls.read_text()

    def test_does_the_same_when_it_is_run_again(self):
        self.place.install_with_certificate()
        first = state_of(WRITTEN)
        self.assertIn("systemctl start quorvin-limits.service", self.calls())
        self.place.install_with_certificate()
        self.assertEqual(state_of(WRITTEN), first)
        self.assertIn("systemctl restart quorvin-place.service\n", self.calls())
        self.assertNotIn("systemctl restart quorvin-broker", self.calls())

    def test_restarts_what_has_changed(self):
        self.place.install_with_certificate()
        acl = SETTINGS / "acl"
        acl.write_text(acl.read_text() + "# Written by deploy/install, an older one\n")
        self.place.install_with_certificate()
        restarted = [line for line in self.calls().splitlines() if "restart quorvin-" in line][-1]
        self.assertIn("quorvin-broker.service", restarted)
        self.assertNotIn("quorvin-relay.service", restarted)

    def test_keeps_its_secrets_to_those_who_need_them(self):
        self.place.install_with_certificate()
        for path, mode in (
            (SETTINGS / "relay-secret", 0o600),
            (SETTINGS / "turnserver.conf", 0o640),
            (SETTINGS / "tls" / "key.pem", 0o640),
        ):
            self.assertEqual(path.stat().st_mode & 0o777, mode, path)
        self.assertEqual((SETTINGS / "turnserver.conf").group(), "turnserver")
        self.assertEqual((SETTINGS / "tls" / "key.pem").group(), "quorvin-place")

    def test_turns_off_only_services_that_came_with_it(self):
        self.place.install_with_certificate()
        self.assertNotIn("disable", self.calls())
        self.assertNotIn("apt-get", self.calls())
        self.place.fresh.touch()
        self.place.install_with_certificate()
        self.assertIn("systemctl disable --now --quiet mosquitto coturn", self.calls())
        self.assertRegex(self.calls(), "apt-get install .*nginx-light")

    def test_asks_for_a_certificate_and_takes_what_is_renewed(self):
        place.make_certificate(self.place.obtained)
        self.place.install(HOST, "--email", "ann@place.test")
        self.assertRegex(self.calls(), "certbot certonly .*--email ann@place.test .*-d place.test")
        served = (SETTINGS / "tls" / "fullchain.pem").read_bytes()
        self.assertEqual(served, (self.place.obtained / "fullchain.pem").read_bytes())

        place.make_certificate(self.place.obtained)
        hook = "/etc/letsencrypt/renewal-hooks/deploy/quorvin-place"
        for lineage, expected in (("other.test", served), (HOST, None)):
            folder = WORK / "live" / lineage
            shutil.copytree(self.place.obtained, folder)
            environment = {**self.place.environment, "RENEWED_LINEAGE": str(folder)}
            place.run(hook, env=environment)
            now = (SETTINGS / "tls" / "fullchain.pem").read_bytes()
            self.assertEqual(now == served, expected is not None)
        self.assertIn("systemctl try-reload-or-restart quorvin-broker", self.calls())

    def test_says_when_no_certificate_is_to_be_had(self):
        done = self.place.install(HOST, check=False)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("no certificate for place.test: does it lead to this server", done.stderr)

    def test_refuses_what_is_no_host(self):
        for wrong in ("place", "Place.test", "1.2.3.4", "place.test;id", "-x.test", "a..b", "a/b.c"):
            with self.subTest(wrong):
                done = self.place.install("--certificate", "/x", "/y", wrong, check=False)
                self.assertNotEqual(done.returncode, 0)

    def test_refuses_certificates_that_do_not_fit(self):
        own, other = self.place.certificate, place.make_certificate(WORK / "other")
        foreign = place.make_certificate(WORK / "foreign", "elsewhere.test")
        ended = place.make_certificate(WORK / "ended", days=1)
        for folder, key, expected in (
            (foreign, foreign, "is not for place.test"),
            (own, other, "is not the key of"),
            (ended, ended, "ends within a day"),
            (WORK / "none", own, "cannot be read"),
        ):
            pair = (str(folder / "fullchain.pem"), str(key / "privkey.pem"))
            with self.subTest(expected):
                self.refuses(expected, HOST, "--certificate", *pair)

    def test_leaves_what_is_somebody_elses(self):
        unit = Path("/etc/systemd/system/quorvin-broker.service")
        unit.write_text("[Service]\nExecStart=/bin/true\n")
        done = self.place.install_with_certificate(check=False)
        self.assertIn("is there already and not from here", done.stderr)
        self.assertEqual(unit.read_text(), "[Service]\nExecStart=/bin/true\n")

    def test_says_who_has_the_name_or_the_port_already(self):
        site = Path("/etc/nginx/sites-enabled/x")
        site.write_text("server { listen 80; server_name www.test place.test; }\n")
        done = self.place.install_with_certificate(check=False)
        self.assertIn(f"nginx already serves place.test: {site}", done.stderr)
        site.unlink()
        with mqtt.socket.create_server(("", 8883)):
            done = self.place.install_with_certificate(check=False)
        self.assertIn("port 8883 is in use by another program", done.stderr)

    def test_takes_a_site_back_that_nginx_does_not_take(self):
        Path("/etc/nginx/sites-enabled/x").write_text("nonsense;\n")
        done = self.place.install_with_certificate(check=False)
        self.assertIn("nginx does not take the place's site", done.stderr)
        self.assertFalse(os.path.lexists("/etc/nginx/sites-enabled/quorvin-place-http"))

    def test_writes_units_that_systemd_takes(self):
        self.place.install_with_certificate()
        units = map(str, Path("/etc/systemd/system").glob("quorvin-*"))
        done = place.run("systemd-analyze", "verify", "--man=no", *units, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
