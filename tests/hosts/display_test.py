"""The display that the tests run on accepts its owner's programs and no others.

usage: display_test.py ROOT WINE

Another user of the machine tries as well, which takes root, or sudo without a password.
"""

import os
import pathlib
import socket
import stat
import struct
import subprocess
import sys

ROOT, WINE = pathlib.Path(sys.argv[1]), sys.argv[2]
AUTHORITY = ROOT / "build/wine.authority"
PING = ROOT / "tools/ping_display.py"
PYTHON = "/usr/bin/python3"
PROTOCOL = b"MIT-MAGIC-COOKIE-1"
REFUSED = 0

# Run as another user, who finds this program on its standard input.
AS_ANOTHER = """
import os, socket, sys
assert os.getuid() != int(sys.argv[3]), "still the same user"
try:
    open(sys.argv[2], "rb")
    sys.exit("the authority file is open to another user")
except PermissionError:
    pass
for path in "/tmp/.X11-unix/X" + sys.argv[1], chr(0) + "/tmp/.X11-unix/X" + sys.argv[1]:
    with socket.socket(socket.AF_UNIX) as display:
        display.settimeout(20)
        display.connect(path)
        display.sendall(b"l" + bytes([0, 11, 0]) + bytes(8))
        answer = display.recv(1)
        if answer != bytes([0]):
            sys.exit(f"the display answers {answer!r} to another user, not its refusal")
print("refused")
"""


def display_number() -> str:
    environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
    subprocess.run([WINE, "cmd.exe", "/c", "exit", "0"], env=environment, timeout=100, check=True)
    return (ROOT / "build/wine.display").read_text(encoding="ascii").split()[0]


def answer(number: str, name: bytes, secret: bytes) -> int:
    """The first byte that the display sends to a client with this authorization."""
    padded = name + bytes(-len(name) % 4)
    opening = struct.pack("<BxHHHHxx", ord("l"), 11, 0, len(name), len(secret)) + padded + secret
    with socket.socket(socket.AF_UNIX) as display:
        display.settimeout(20)
        display.connect("/tmp/.X11-unix/X" + number)
        display.sendall(opening)
        return display.recv(1)[0]


def test_only_the_owner_reads_the_secret() -> None:
    status = AUTHORITY.stat()
    assert stat.S_IMODE(status.st_mode) == 0o600, oct(status.st_mode)
    assert status.st_uid == os.getuid(), status.st_uid


def test_the_owner_is_accepted(number: str) -> None:
    subprocess.run([PYTHON, "-IS", PING, number, AUTHORITY], check=True)


def test_a_client_without_the_secret_is_refused(number: str) -> None:
    assert answer(number, b"", b"") == REFUSED
    assert answer(number, PROTOCOL, bytes(16)) == REFUSED


def test_another_user_is_refused(number: str) -> None:
    if os.getuid() == 0:
        as_another = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]
    else:
        as_another = ["sudo", "-n", "-u", "nobody"]
    done = subprocess.run([*as_another, PYTHON, "-IS", "-", number, AUTHORITY, str(os.getuid())],
                          input=AS_ANOTHER, capture_output=True, text=True, timeout=60, check=False)
    assert done.stdout == "refused\n", f"as another user (needs root or sudo): {done.stderr}"


def main() -> None:
    number = display_number()
    test_only_the_owner_reads_the_secret()
    test_the_owner_is_accepted(number)
    test_a_client_without_the_secret_is_refused(number)
    test_another_user_is_refused(number)


main()
