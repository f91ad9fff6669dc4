"""Writes an X authority file with a new secret, which only its owner can read.

usage: make_authority.py FILE

A display that is started with this file accepts only clients that know the secret, and a client that
has it in XAUTHORITY finds the secret for a local display of any number.
"""

import os
import secrets
import struct
import sys

# An entry for displays of every address and number.
ANY_FAMILY, ANY_ADDRESS, ANY_NUMBER = 0xFFFF, b"", b""
PROTOCOL = b"MIT-MAGIC-COOKIE-1"
SECRET_SIZE = 16


def entry(secret: bytes) -> bytes:
    parts = (ANY_ADDRESS, ANY_NUMBER, PROTOCOL, secret)
    return struct.pack(">H", ANY_FAMILY) + b"".join(struct.pack(">H", len(p)) + p for p in parts)


def main(path: str) -> None:
    # Under another name first: another process never reads half a file, or one of another owner.
    temporary = f"{path}.{os.getpid()}"
    with open(os.open(temporary, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600), "wb") as file:
        file.write(entry(secrets.token_bytes(SECRET_SIZE)))
    os.replace(temporary, path)


main(sys.argv[1])
