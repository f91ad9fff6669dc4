"""Takes the time of its making out of a type library that widl wrote.

usage: strip_typelib_time.py TYPELIB

widl records the time twice, as text and as seconds, and has no option to leave it out; two builds
of the same sources would differ by it. Fails when the file does not look as expected.
"""

import re
import sys

# The text, padding up to 4 bytes, then the seconds as VT_UI4 (0x13, 0) with their own padding.
MADE = re.compile(
    rb"(Created by WIDL version [\w.]+ at )(\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4})"
    rb"(\nW*\x13\0)(.{4})(?=WW)",
    re.DOTALL,
)
EPOCH = b"Thu Jan  1 00:00:00 1970"


def main(path: str) -> None:
    with open(path, "rb") as file:
        content = file.read()
    stripped, count = MADE.subn(rb"\g<1>" + EPOCH + rb"\g<3>" + bytes(4), content)
    if count != 1 or len(stripped) != len(content):
        sys.exit(f"{path}: the time of its making was found {count} times, not once")
    with open(path, "wb") as file:
        file.write(stripped)


main(*sys.argv[1:])
