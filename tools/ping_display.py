"""Connects to the local X display with the number given and ends the connection.

usage: ping_display.py NUMBER AUTHORITY_FILE

Exit status: 0 the display accepts a client that has the secret of the file, 1 it does not. The file is
one of make_authority.py.
"""

import socket
import struct
import sys

PROTOCOL = b"MIT-MAGIC-COOKIE-1"
SECRET_SIZE = 16
# The opening of the X protocol: least significant byte first, version 11.0, name and data of the
# authorization, the name with two bytes of padding.
OPENING = struct.pack("<BxHHHHxx", ord("l"), 11, 0, len(PROTOCOL), SECRET_SIZE) + PROTOCOL + b"\0\0"
ACCEPTED = b"\x01"


def answers(number: str, authority_file: str) -> bool:
    with open(authority_file, "rb") as file:
        # The last field of the file's only entry.
        secret = file.read()[-SECRET_SIZE:]
    with socket.socket(socket.AF_UNIX) as display:
        display.settimeout(20)
        display.connect("/tmp/.X11-unix/X" + number)
        display.sendall(OPENING + secret)
        return display.recv(1) == ACCEPTED


try:
    sys.exit(0 if answers(*sys.argv[1:]) else 1)
except OSError:
    sys.exit(1)
