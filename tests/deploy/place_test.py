#!/usr/bin/env python3
"""A place as deploy/install sets it up, on a server that is a namespace (in_namespace.sh): broker, relay
and web server run with the files that it has written, and strangers try what they can."""

import base64
import hashlib
import hmac
import json
import os
import ssl
import subprocess
import time
import unittest
import urllib.request
from pathlib import Path

import mqtt
import place
from place import CLIENT, HOST, SERVER, WORK
from turn import WELL, Relay

A, B = "a" * 32, "b" * 32
SETTINGS = Path("/etc/quorvin-place")


def setUpModule():
    place.make_network()


class RunningPlace(unittest.TestCase):
    """The installation, running."""

    @classmethod
    def setUpClass(cls):
        cls.place = place.Installation()
        cls.place.install_with_certificate()
        cls.trust = str(cls.place.certificate / "fullchain.pem")
        place.renew_place()
        cls.broker = cls.start(place.Unit("quorvin-broker"))
        cls.relay = cls.start(place.Unit("quorvin-relay"))
        cls.web = subprocess.Popen(["nginx", "-g", "daemon off;"])
        cls.addClassCleanup(cls.web.wait, 30)
        cls.addClassCleanup(cls.web.terminate)
        place.listens(443, 3478, 5349, 8883, 9001)

    @classmethod
    def start(cls, unit):
        cls.addClassCleanup(unit.stop)
        return unit.start()

    def client(self, name, **options):
        stream = mqtt.connect((HOST, 8883), self.trust)
        self.addCleanup(stream.close)
        return mqtt.Client(stream, name, **options)

    def web_client(self, name, **options):
        stream = mqtt.connect((HOST, 443), self.trust, "/mqtt")
        self.addCleanup(stream.close)
        return mqtt.Client(stream, name, **options)

    def accepted(self, *arguments, **options):
        client = self.client(*arguments, **options)
        self.assertEqual(client.refusal, 0)
        return client


class BrokerTest(RunningPlace):
    def test_carries_what_the_two_sides_say(self):
        customer = self.accepted(A, user="4829")
        for topic in (f"quorvin/1/{A}", "quorvin/1/place/4829", "quorvin/1/gone/beef"):
            customer.subscribe(topic)
        supporter = self.web_client(B, will=("quorvin/1/gone/beef", b"1"))
        supporter.subscribe(f"quorvin/1/{B}")
        largest = os.urandom(16_442)
        supporter.publish("quorvin/1/place/4829", largest)
        supporter.publish(f"quorvin/1/{A}", b"join")
        customer.publish(f"quorvin/1/{B}", largest)
        self.assertEqual(supporter.settle(), [(f"quorvin/1/{B}", largest)])
        self.assertEqual(
            customer.settle(), [("quorvin/1/place/4829", largest), (f"quorvin/1/{A}", b"join")]
        )
        supporter.break_off()
        place.until("the will", lambda: len(customer.settle()) == 3)
        self.assertEqual(customer.arrived[-1], ("quorvin/1/gone/beef", b"1"))

    def test_takes_debians_own_clients(self):
        options = ["-h", HOST, "-p", "8883", "--cafile", self.trust, "-q", "2"]
        listening = ["stdbuf", "-oL", "mosquitto_sub", *options, "-i", A, "-t", f"quorvin/1/{A}"]
        listening += ["-C", "1", "-W", "20", "-d"]
        with subprocess.Popen(listening, text=True, stdout=subprocess.PIPE) as customer:
            seen = ""
            while "SUBACK" not in seen:
                seen += customer.stdout.readline()
            place.run("mosquitto_pub", *options, "-i", B, "-t", f"quorvin/1/{A}", "-m", "hello")
            self.assertIn("hello", customer.stdout.read())

    def everything_said(self):
        """Says one of each that is meant for others."""
        speaker = self.accepted("c" * 32)
        speaker.publish("quorvin/1/gone/beef", b"1")
        for topic in ("quorvin/1/place/4829", f"quorvin/1/place/{A}", f"quorvin/1/{A}"):
            speaker.publish(topic, b"secret")
        speaker.leave()

    def test_lets_nobody_read_what_is_for_others(self):
        wide = ("#", "+/#", "quorvin/#", "quorvin/1/#", "quorvin/1/+", "quorvin/1/place/+", "+/+/+", "$SYS/#")
        exact = (f"quorvin/1/{A}", "quorvin/1/place/4829", f"$share/all/quorvin/1/{A}", "$share/all/#")
        for_customer = (f"quorvin/1/{A}", b"secret")
        gone = {("quorvin/1/gone/beef", b"1")}
        customer = self.accepted(A, user="4829")
        customer.subscribe(f"quorvin/1/{A}")
        for name, user in (
            (B, None),
            (B, "1234"),
            ("+", "+"),
            ("#", "#"),
            ("+/#", "482+"),
            (A + "/#", "4829/#"),
            (B, "+"),
            (B, "#"),
            ("$SYS", "$SYS"),
            (A.upper(), " 4829"),
            (A + "\x7f", "4829 "),
        ):
            with self.subTest(name=name, user=user):
                try:
                    stranger = self.accepted(name, user=user)
                    for topic in wide + exact:
                        stranger.subscribe(topic)
                except mqtt.Gone:
                    continue  # nor can it listen
                customer.arrived.clear()
                self.everything_said()
                place.until("the message", lambda: for_customer in customer.settle())
                self.assertLessEqual(set(stranger.settle()), gone)
                stranger.stream.close()

    def test_lets_nobody_write_elsewhere(self):
        # Somebody whose name is a part of the topic could read it, were it delivered.
        for topic, name in (
            ("quorvin/1/x/y", "x/y"),
            ("quorvin/1/place/1/2", "place/1/2"),
            ("quorvin/1/gone/1/2", "gone/1/2"),
            ("quorvin/1", "x"),
            ("quorvin/2/x", "x"),
            ("$SYS/broker/x", "x"),
            ("x", "x"),
        ):
            with self.subTest(topic):
                reader = self.accepted(name)
                for wanted in ("#", topic):
                    reader.subscribe(wanted)
                writer = self.accepted(B)
                writer.publish(topic, b"anything")
                writer.publish(f"quorvin/1/gone/{len(topic)}", b"1")
                until = f"quorvin/1/gone/{len(topic)}"
                place.until("what may be said", lambda: until in dict(reader.settle()))
                self.assertEqual(set(reader.arrived), {(until, b"1")})
                for client in (reader, writer):
                    client.stream.close()

    def test_keeps_nothing_for_later(self):
        with self.assertRaises(mqtt.Gone):
            self.accepted(B).publish(f"quorvin/1/{A}", b"kept", retain=True)
        for will in ("quorvin/1/gone/1", f"quorvin/1/{A}"):
            try:
                client = self.client(B, will=(will, b"kept"), retain_will=True)
                self.assertNotEqual(client.refusal, 0)
            except mqtt.Gone:
                pass
        late = self.accepted(A)
        late.subscribe(f"quorvin/1/{A}")
        late.subscribe("quorvin/1/gone/1")
        self.assertEqual(late.settle(), [])

    def test_carries_nothing_larger_than_there_is(self):
        customer = self.accepted(A)
        customer.subscribe(f"quorvin/1/{A}")
        for number, connect in enumerate((self.accepted, self.web_client)):
            client = connect(f"{number}" * 32)
            client.publish(f"quorvin/1/{A}", bytes(16_443))
            client.publish(f"quorvin/1/{A}", b"%d" % number)
        self.assertEqual([payload for _, payload in customer.settle()], [b"0", b"1"])
        with self.assertRaises(mqtt.Gone):
            self.accepted(B).publish(f"quorvin/1/{A}", bytes(17_000))

    def test_is_there_for_others_while_some_announce_much(self):
        for number in range(40):
            client = self.web_client(f"{number:032}")
            announced = bytes([mqtt.PUBLISH << 4, 0xFF, 0xFF, 0xFF, 0x7F])
            client.send(announced + mqtt.text(f"quorvin/1/{A}") + bytes(1000))
        self.assertEqual(self.accepted(A).settle(), [])
        self.assertEqual(self.web_client(B).settle(), [])

    def test_takes_only_clients_that_name_themselves(self):
        try:
            self.assertNotEqual(self.client("").refusal, 0)
        except mqtt.Gone:
            pass

    def test_keeps_a_hundred_messages_at_most_for_one_who_does_not_read(self):
        sleeper, speaker = self.accepted(A), self.accepted(B)
        sleeper.subscribe(f"quorvin/1/{A}")
        for _ in range(400):
            speaker.publish(f"quorvin/1/{A}", bytes(1000))
        # Those that await its word, and those that wait behind them.
        place.until("what was kept", lambda: len(sleeper.settle()) >= 120)
        speaker.publish(f"quorvin/1/{A}", b"last")
        place.until("what came then", lambda: sleeper.settle()[-1][1] == b"last")
        self.assertEqual(len(sleeper.arrived), 121)

    def test_takes_a_renewed_certificate_without_losing_anybody(self):
        client = self.accepted(A)
        renewed = place.make_certificate(WORK / "renewed")
        environment = self.place.environment
        script = "/usr/local/lib/quorvin-place/take_certificate"
        place.run(script, *(str(renewed / n) for n in ("fullchain.pem", "privkey.pem")), env=environment)
        self.broker.reload()
        self.relay.reload()
        trust = ssl.create_default_context(cafile=str(renewed / "fullchain.pem"))
        for port in (8883, 5349):
            def is_new(port=port):
                with trust.wrap_socket(mqtt.socket.create_connection((HOST, port)), server_hostname=HOST):
                    return True

            place.until(f"the new certificate on port {port}", is_new)
        self.assertEqual(client.settle(), [])
        pair = (str(self.place.certificate / n) for n in ("fullchain.pem", "privkey.pem"))
        place.run(script, *pair, env=environment)
        self.broker.reload()
        self.relay.reload()


class LimitsTest(RunningPlace):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.addClassCleanup(place.run, "nft", "flush", "ruleset")
        limits = Path("/etc/systemd/system/quorvin-limits.service").read_text()
        command = next(line for line in limits.splitlines() if line.startswith("ExecStart="))
        place.run(*command.removeprefix("ExecStart=").split())

    def test_one_address_gets_so_many_connections_at_a_time(self):
        opened = []
        with place.elsewhere():
            with self.assertRaises(ConnectionRefusedError):
                while len(opened) < 300:
                    opened.append(mqtt.socket.create_connection((SERVER, 8883), timeout=30))
                    self.addCleanup(opened[-1].close)
        self.assertEqual(len(opened), 200)
        self.accepted(A)  # others are not shut out

    def test_one_address_opens_so_many_connections_a_second(self):
        start = time.monotonic()
        with place.elsewhere():
            for _ in range(150):
                mqtt.socket.create_connection((SERVER, 5349), timeout=30).close()
        self.assertGreater(time.monotonic() - start, 3)

    def test_one_address_gets_so_many_bytes_through(self):
        with place.elsewhere():
            client = self.accepted(B)
            start, count = time.monotonic(), 160
            for _ in range(count):
                client.publish(f"quorvin/1/{A}", bytes(16_000))
        seconds = time.monotonic() - start
        self.assertGreater(seconds, (count * 16_000 - 1_100_000) / 262_144 / 2)


class RelayTest(RunningPlace):
    def credentials(self, share="0"):
        text = Path(f"/run/quorvin-place/{share}/place.json").read_text(encoding="utf-8")
        server = json.loads(text)["iceServers"][1]
        return server["username"], server["credential"]

    def relay_for(self, username, password):
        relay = Relay((SERVER, 3478), username, password)
        self.addCleanup(relay.socket.close)
        return relay

    def password_for(self, username):
        secret = (SETTINGS / "relay-secret").read_bytes().strip()
        digest = hmac.new(secret, username.encode(), hashlib.sha1).digest()
        return base64.b64encode(digest).decode()

    def test_takes_fresh_credentials_for_half_a_day(self):
        username, password = self.credentials()
        self.assertEqual(self.relay_for(username, password).allocate(), WELL)
        self.assertEqual(password, self.password_for(username))
        self.assertAlmostEqual(int(username.split(":")[0]), time.time() + 12 * 3600, delta=300)

    def test_refuses_old_and_wrong_ones(self):
        old = f"{int(time.time()) - 10}:0"
        fresh, password = self.credentials()
        later = str(int(fresh.split(":")[0]) + 9999) + ":0"
        for username, wrong in (
            (old, self.password_for(old)),
            (fresh, password[::-1]),
            (later, password),
            ("anybody", "anything"),
        ):
            with self.subTest(username):
                self.assertEqual(self.relay_for(username, wrong).allocate(), 401)

    def test_reaches_only_the_internet(self):
        relay = self.relay_for(*self.credentials())
        self.assertEqual(relay.allocate(), WELL)
        for address in (
            *("0.0.0.1", "10.1.0.2", "100.64.0.1", "127.0.0.1", "169.254.169.254", "172.16.0.1"),
            *("172.31.255.255", "192.0.0.1", "192.168.1.1", "198.18.0.1", "224.0.0.1", "255.255.255.255"),
        ):
            with self.subTest(address):
                self.assertEqual(relay.permit(address), 403)
        self.assertEqual(relay.permit(CLIENT), WELL)

    def test_one_share_does_not_use_up_the_relay(self):
        mine = self.credentials("1")
        taken = [self.relay_for(*mine).allocate() for _ in range(101)]
        self.assertEqual(taken, [WELL] * 100 + [486])
        self.assertEqual(self.relay_for(*self.credentials("2")).allocate(), WELL)


class WebPlace(RunningPlace):
    def get(self, path, scheme="https"):
        trust = ssl.create_default_context(cafile=self.trust)
        with urllib.request.urlopen(f"{scheme}://{HOST}{path}", context=trust, timeout=10) as answer:
            return answer.headers, answer.read()


class WebLimitTest(WebPlace):
    def test_bounds_what_one_address_asks(self):
        codes = []
        for _ in range(90):
            try:
                self.get("/")
                codes.append(200)
            except urllib.error.HTTPError as error:
                codes.append(error.code)
                error.close()
        self.assertIn(503, codes)
        self.assertEqual(codes[:40], [200] * 40)


class WebTest(WebPlace):
    def test_serves_the_page_with_the_rules_for_it(self):
        for path in ("/", "/place.json"):
            headers, _ = self.get(path)
            policy = headers["Content-Security-Policy"]
            self.assertIn("default-src 'none'; script-src 'self';", policy)
            self.assertIn("connect-src 'self' wss://place.test;", policy)
            self.assertIn("frame-ancestors 'none'", policy)
            self.assertEqual(headers["Strict-Transport-Security"], "max-age=31536000")
            self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
            self.assertEqual(headers["Referrer-Policy"], "no-referrer")
        self.assertIn(b"<title>Page</title>", self.get("/")[1])
        self.assertIsNone(self.get("/")[0]["Access-Control-Allow-Origin"])

    def test_says_what_pages_have_to_know(self):
        headers, body = self.get("/place.json")
        self.assertEqual(headers["Access-Control-Allow-Origin"], "*")
        self.assertEqual(headers["Cache-Control"], "no-store")
        said = json.loads(body)
        self.assertEqual(said["broker"], "wss://place.test/mqtt")
        self.assertEqual(said["iceServers"][0], {"urls": ["stun:place.test:3478"]})
        self.assertTrue(said["iceServers"][1]["credential"])
        self.assertTrue(said["iceServers"][1]["username"].endswith(":0"))  # this address ends in 0

    def test_leads_to_the_safe_way(self):
        class Stay(urllib.request.HTTPRedirectHandler):
            def redirect_request(self, *_):
                return None

        with self.assertRaises(urllib.error.HTTPError) as caught:
            urllib.request.build_opener(Stay).open(f"http://{HOST}/x?y", timeout=10)
        caught.exception.close()
        self.assertEqual(caught.exception.code, 301)
        self.assertEqual(caught.exception.headers["Location"], f"https://{HOST}/x?y")

    def test_gives_the_broker_to_browsers_only_at_its_place(self):
        with self.assertRaises(mqtt.Gone):
            mqtt.connect((HOST, 443), self.trust, "/")
        with self.assertRaises(OSError):
            mqtt.connect((SERVER, 9001))


if __name__ == "__main__":
    unittest.main(verbosity=2)
