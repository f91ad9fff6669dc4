"""Puts the default of the argument Tolerance, 1E-27, into a type library that widl wrote.

usage: typelib_tolerance.py IDL TYPELIB

widl reads no numbers with a point and writes 4 bytes for the default of a double. The description
has a stand-in there, once for each of two operations. Their defaults follow one another in
the library's table of values:

    double stand-in | long -1 | double stand-in        8 bytes each, padded with "WW"

The first two make room for the double; the second operation then shares both defaults of the first,
whose own -1 precedes them. A library without the stand-in stays as it is. Fails when it does not
look as expected.
"""

import struct
import sys

STAND_IN = 0x1E270000
TOLERANCE = 1e-27
VT_I4, VT_R8 = 3, 5
NONE = b"\xff" * 4  # no default
ZERO = struct.pack("<I", 0x80000000 | VT_I4 << 26)
VALUE_SEGMENT = 11


def entry(kind: int, value: int) -> bytes:
    return struct.pack("<HI", kind, value) + b"WW"


MINUS_ONE = entry(VT_I4, 0xFFFFFFFF)
DOUBLE = entry(VT_R8, STAND_IN)


def segment_offset(content: bytes) -> int:
    """Where the table of values begins in the file."""
    flags, types = struct.unpack_from("<I8xI", content, 0x14)
    directory = 0x54 + 4 * types + (4 if flags & 0x100 else 0)
    return struct.unpack_from("<I", content, directory + 16 * VALUE_SEGMENT)[0]


def replace_once(content: bytes, old: bytes, new: bytes) -> bytes:
    if content.count(old) != 1 or len(old) != len(new):
        raise ValueError(f"{old.hex(' ')} is there {content.count(old)} times, not once")
    return content.replace(old, new)


def patched(content: bytes) -> bytes:
    old = MINUS_ONE + DOUBLE + MINUS_ONE + DOUBLE
    new = MINUS_ONE + struct.pack("<Hd6s", VT_R8, TOLERANCE, b"W" * 6) + DOUBLE
    first = content.find(old) - segment_offset(content)
    content = replace_once(content, old, new)

    def defaults(at: int) -> bytes:
        return NONE * 2 + struct.pack("<II", at, at + 8) + ZERO + NONE

    return replace_once(content, defaults(first + 16), defaults(first))


def main(idl: str, typelib: str) -> None:
    with open(idl, encoding="utf-8") as file:
        if f"0x{STAND_IN:X}" not in file.read():
            return
    with open(typelib, "rb") as file:
        content = file.read()
    try:
        content = patched(content)
    except (ValueError, struct.error) as error:
        sys.exit(f"{typelib}: {error}")
    with open(typelib, "wb") as file:
        file.write(content)


if __name__ == "__main__":
    main(*sys.argv[1:])
