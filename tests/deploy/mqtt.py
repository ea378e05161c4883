"""A client of MQTT 3.1.1 (https://docs.oasis-open.org/mqtt/mqtt/v3.1.1/mqtt-v3.1.1.html) that can also
do what none should, over TCP, TLS or WebSocket."""

import base64
import os
import socket
import ssl
import struct

CONNECT, CONNACK, PUBLISH, PUBACK, PUBREC, PUBREL, PUBCOMP = 1, 2, 3, 4, 5, 6, 7
SUBSCRIBE, SUBACK, PINGREQ, PINGRESP, DISCONNECT = 8, 9, 12, 13, 14
ANSWER_S = 10


class Gone(Exception):
    """The broker has closed the connection."""


def text(value):
    value = value.encode() if isinstance(value, str) else value
    return struct.pack(">H", len(value)) + value


def packet(kind, flags, body):
    length, left = b"", len(body)
    while True:
        left, digit = left >> 7, left & 0x7F
        length += bytes([digit | (0x80 if left else 0)])
        if not left:
            return bytes([kind << 4 | flags]) + length + body


class WebSocket:
    """The binary messages of RFC 6455 as if they were a socket."""

    def __init__(self, stream, host, path):
        self.stream, self.pending = stream, b""
        key = base64.b64encode(os.urandom(16)).decode()
        stream.sendall(
            f"GET {path} HTTP/1.1\r\nHost: {host}\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            f"Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n"
            "Sec-WebSocket-Protocol: mqtt\r\n\r\n".encode()
        )
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            head += self.some(stream.recv(1))
        if not head.startswith(b"HTTP/1.1 101 "):
            stream.close()
            raise Gone(head.split(b"\r\n")[0].decode())

    @staticmethod
    def some(data):
        if not data:
            raise Gone()
        return data

    def exactly(self, count):
        data = b""
        while len(data) < count:
            data += self.some(self.stream.recv(count - len(data)))
        return data

    def sendall(self, data):
        head = bytes([0x82, 0xFE]) + struct.pack(">H", len(data))
        if len(data) > 0xFFFF:
            head = bytes([0x82, 0xFF]) + struct.pack(">Q", len(data))
        self.stream.sendall(head + bytes(4) + data)

    def recv(self, count):
        while not self.pending:
            first, length = self.exactly(2)
            if length == 126:
                (length,) = struct.unpack(">H", self.exactly(2))
            body = self.exactly(length)
            if first & 0xF == 8:
                return b""
            if first & 0xF == 2:
                self.pending = body
        data, self.pending = self.pending[:count], self.pending[count:]
        return data

    def settimeout(self, seconds):
        self.stream.settimeout(seconds)

    def close(self):
        self.stream.close()


def connect(address, trust=None, path=None):
    """A stream to (host, port): with a file of certificates to trust over TLS, with a path over
    WebSocket."""
    stream = socket.create_connection(address, timeout=ANSWER_S)
    if trust is not None:
        stream = ssl.create_default_context(cafile=trust).wrap_socket(
            stream, server_hostname=address[0]
        )
    return stream if path is None else WebSocket(stream, address[0], path)


class Client:
    def __init__(self, stream, name, user=None, will=None, keep_alive=20, retain_will=False):
        self.stream, self.number, self.arrived = stream, 0, []
        flags, rest = 2, b""
        if will is not None:
            flags |= 0x0C | (0x20 if retain_will else 0)  # quality of service 1
            rest += text(will[0]) + text(will[1])
        if user is not None:
            flags |= 0x80
            rest += text(user)
        head = text("MQTT") + bytes([4, flags]) + struct.pack(">H", keep_alive)
        self.send(packet(CONNECT, 0, head + text(name) + rest))
        self.refusal = self.wait(CONNACK)[1]

    def send(self, data):
        try:
            self.stream.sendall(data)
        except OSError as error:
            raise Gone() from error

    def exactly(self, count):
        data = b""
        while len(data) < count:
            try:
                more = self.stream.recv(count - len(data))
            except (ConnectionError, ssl.SSLError) as error:
                raise Gone() from error
            if not more:
                raise Gone()
            data += more
        return data

    def next(self):
        """(kind, flags, body) of the next packet."""
        (first,), length, shift = self.exactly(1), 0, 0
        while True:
            (digit,) = self.exactly(1)
            length |= (digit & 0x7F) << shift
            shift += 7
            if digit < 0x80:
                return first >> 4, first & 0xF, self.exactly(length)

    def wait(self, wanted):
        """The body of the next packet of that kind; messages on the way go to `arrived`."""
        while True:
            kind, flags, body = self.next()
            if kind == PUBLISH:
                self.take(flags, body)
            if kind == PUBREL:
                self.send(packet(PUBCOMP, 0, body))
            if kind == wanted:
                return body

    def take(self, flags, body):
        (length,) = struct.unpack(">H", body[:2])
        topic, rest = body[2 : 2 + length].decode(), body[2 + length :]
        quality = flags >> 1 & 3
        if quality:
            number, rest = rest[:2], rest[2:]
            self.send(packet(PUBREC if quality == 2 else PUBACK, 0, number))
        self.arrived.append((topic, rest))

    def numbered(self):
        self.number += 1
        return struct.pack(">H", self.number)

    def subscribe(self, topic, quality=2):
        self.send(packet(SUBSCRIBE, 2, self.numbered() + text(topic) + bytes([quality])))
        return self.wait(SUBACK)[2]

    def publish(self, topic, payload, quality=2, retain=False):
        """Returns when the broker has it."""
        number = self.numbered() if quality else b""
        flags = quality << 1 | (1 if retain else 0)
        self.send(packet(PUBLISH, flags, text(topic) + number + payload))
        if quality == 2:
            self.wait(PUBREC)
            self.send(packet(PUBREL, 2, number))
            self.wait(PUBCOMP)

    def settle(self):
        """Everything that the broker had for this client before it asked is in `arrived` then."""
        self.send(packet(PINGREQ, 0, b""))
        self.wait(PINGRESP)
        return self.arrived

    def leave(self):
        self.send(packet(DISCONNECT, 0, b""))
        self.stream.close()

    def break_off(self):
        """Without a word, so that the broker says its will."""
        self.stream.close()
