"""Checks that built files have what makes a mistake in memory harder to use, by their own headers.

usage: hardening_test.py NM READELF FILE... -- LIBRARY...

FILE is a program or DLL for Windows, 32-bit or 64-bit, or a program for Linux. LIBRARY is a static library
that goes into it: code that calls the stack protector shows there, since the files themselves have no symbols.
"""

import struct
import subprocess
import sys

HIGH_ENTROPY, DYNAMIC_BASE, NX = 0x20, 0x40, 0x100
RELOCATIONS_STRIPPED, LARGE_ADDRESSES = 0x1, 0x20
WRITABLE_CODE = 0x80000000 | 0x20000000


def pe_faults(data: bytes):
    (header,) = struct.unpack_from("<I", data, 0x3C)
    if data[header:header + 4] != b"PE\0\0":
        yield "is not a program file"
        return
    sections, size, characteristics = struct.unpack_from("<2xH12xHH", data, header + 4)
    optional = header + 24
    is_64 = struct.unpack_from("<H", data, optional)[0] == 0x20B
    base = struct.unpack_from("<Q", data, optional + 24)[0] if is_64 else None
    (flags,) = struct.unpack_from("<H", data, optional + 70)
    directories = optional + (112 if is_64 else 96)
    relocations = struct.unpack_from("<II", data, directories + 5 * 8)
    if not flags & DYNAMIC_BASE:
        yield "is always loaded at the same address"
    if characteristics & RELOCATIONS_STRIPPED or not relocations[1]:
        yield "has no relocations"
    if not flags & NX:
        yield "can run data"
    if is_64 and not flags & HIGH_ENTROPY:
        yield "uses few bits for its address"
    if is_64 and base <= 0xFFFFFFFF:
        yield f"has its base at {base:#x}"
    if is_64 and not characteristics & LARGE_ADDRESSES:
        yield "cannot be loaded above 2 GB"
    for index in range(sections):
        section = optional + size + index * 40
        name = data[section:section + 8].rstrip(b"\0").decode()
        (rights,) = struct.unpack_from("<I", data, section + 36)
        if rights & WRITABLE_CODE == WRITABLE_CODE:
            yield f"has the section {name}, which can be written and run"


def output(*command: str) -> str:
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=60, text=True).stdout


def elf_faults(readelf: str, path: str):
    header = output(readelf, "-hW", path)
    segments = output(readelf, "-lW", path)
    dynamic = output(readelf, "-dW", path)
    symbols = output(readelf, "--dyn-syms", "-W", path)
    if "DYN (" not in header:
        yield "is always loaded at the same address"
    if "GNU_RELRO" not in segments or "BIND_NOW" not in dynamic:
        yield "has addresses of functions that can be written"
    stack = [line.split() for line in segments.splitlines() if "GNU_STACK" in line]
    if len(stack) != 1 or "E" in stack[0][6]:
        yield "has a stack that can be run"
    for line in segments.splitlines():
        words = line.split()
        if words[:1] == ["LOAD"] and "W" in words[6:-1] and "E" in words[6:-1]:
            yield "has memory that can be written and run"
    if "RPATH" in dynamic or "RUNPATH" in dynamic:
        yield "looks for libraries in a folder of its own"
    if "__stack_chk_fail" not in symbols:
        yield "has no stack protector"
    if "_chk@" not in symbols.replace("__stack_chk_fail", ""):
        yield "has no checked functions of the C library"


def library_faults(nm: str, path: str):
    if "__stack_chk_fail" not in output(nm, "-u", path):
        yield "is compiled without the stack protector"


def faults_of(path: str, readelf: str):
    with open(path, "rb") as file:
        data = file.read()
    return elf_faults(readelf, path) if data.startswith(b"\x7fELF") else pe_faults(data)


def check_the_check() -> None:
    """A file with none of it has every fault."""
    for magic, optional_size, count in ((0x20B, 240, 6), (0x10B, 224, 3)):
        header = b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", 0x40)
        header += b"PE\0\0" + struct.pack("<HH12xHH", 0, 1, optional_size, RELOCATIONS_STRIPPED)
        header += struct.pack("<H", magic).ljust(optional_size, b"\0")
        header += b".text".ljust(8, b"\0").ljust(36, b"\0") + struct.pack("<I", WRITABLE_CODE)
        found = list(pe_faults(header))
        assert len(found) == count + 1, found


def main(nm: str, readelf: str, *paths: str) -> None:
    check_the_check()
    end = paths.index("--")
    files, libraries = paths[:end], paths[end + 1:]
    assert files and libraries
    found = [f"{path} {fault}" for path in files for fault in faults_of(path, readelf)]
    found += [f"{path} {fault}" for path in libraries for fault in library_faults(nm, path)]
    assert not found, "\n".join(found)


main(*sys.argv[1:])
print(f"{sys.argv[0]}: done")
