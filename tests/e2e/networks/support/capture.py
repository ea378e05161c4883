#!/usr/bin/env python3
"""capture.py FILE: whatever passes the network that this runs in, the loopback included, until it is
ended. Says "ready" first."""

import socket
import sys

ALL = 0x0003

with open(sys.argv[1], "wb") as file, socket.socket(
    socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ALL)
) as packets:
    packets.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 26)
    print("ready", flush=True)
    while True:
        file.write(packets.recv(1 << 17))
        file.flush()
