"""As much of a TURN client (https://www.rfc-editor.org/rfc/rfc8656) as shows what a relay allows."""

import hashlib
import hmac
import os
import socket
import struct

MAGIC = 0x2112A442
ALLOCATE, PERMIT = 0x003, 0x008
ERROR_CODE, REALM, NONCE, USERNAME, INTEGRITY = 0x0009, 0x0014, 0x0015, 0x0006, 0x0008
PEER, TRANSPORT = 0x0012, 0x0019
UDP = bytes([17, 0, 0, 0])
WELL = 0


def attribute(kind, value):
    return struct.pack(">HH", kind, len(value)) + value + bytes(-len(value) % 4)


def peer(address, port=9):
    """An IPv4 address as the attributes have it."""
    packed = bytes(a ^ b for a, b in zip(socket.inet_aton(address), struct.pack(">I", MAGIC)))
    return struct.pack(">BBH", 0, 1, port ^ MAGIC >> 16) + packed


class Relay:
    def __init__(self, address, username, password):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.settimeout(10)
        self.socket.connect(address)
        self.username, self.password = username, password
        self.realm = self.nonce = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def ask(self, method, body):
        """The error code of the answer, or WELL."""
        transaction = os.urandom(12)
        if self.nonce is not None:
            body += attribute(USERNAME, self.username.encode())
            body += attribute(REALM, self.realm) + attribute(NONCE, self.nonce)
            head = struct.pack(">HHI", method, len(body) + 24, MAGIC) + transaction
            key = hashlib.md5(b":".join((self.username.encode(), self.realm, self.password.encode())))
            body += attribute(INTEGRITY, hmac.new(key.digest(), head + body, hashlib.sha1).digest())
        self.socket.send(struct.pack(">HHI", method, len(body), MAGIC) + transaction + body)
        return self.read_answer(self.socket.recv(2048))

    def read_answer(self, data):
        (kind,) = struct.unpack(">H", data[:2])
        at, code = 20, WELL
        while at < len(data):
            name, length = struct.unpack(">HH", data[at : at + 4])
            value = data[at + 4 : at + 4 + length]
            if name == ERROR_CODE:
                code = value[2] * 100 + value[3]
            elif name == REALM:
                self.realm = value
            elif name == NONCE:
                self.nonce = value
            at += 4 + length + -length % 4
        assert (kind & 0x110 == 0x110) == (code != WELL)
        return code

    def allocate(self):
        self.ask(ALLOCATE, attribute(TRANSPORT, UDP))  # says realm and nonce
        return self.ask(ALLOCATE, attribute(TRANSPORT, UDP))

    def permit(self, address):
        return self.ask(PERMIT, attribute(PEER, peer(address)))
