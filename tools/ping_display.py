"""Connects to the local X display with the number given and ends the connection.

Succeeds when the display accepts a client, fails otherwise.
"""

import socket
import sys

# The opening of the X protocol: least significant byte first, version 11.0, no authorization.
OPENING = b"l\0\x0b\0" + bytes(8)
ACCEPTED = b"\x01"


def answers(number: str) -> bool:
    with socket.socket(socket.AF_UNIX) as display:
        display.settimeout(20)
        display.connect("/tmp/.X11-unix/X" + number)
        display.sendall(OPENING)
        return display.recv(1) == ACCEPTED


try:
    sys.exit(0 if answers(sys.argv[1]) else 1)
except OSError:
    sys.exit(1)
