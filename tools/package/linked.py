"""Checks the list of third-party parts against what the builds really contain.

usage: linked.py ROOT

Fails when a file of somebody else is linked or compiled into a binary and no part of parts.py has it for
that binary, or when a part is listed for a binary that contains nothing of it.
"""

import os
import re
import subprocess
import sys

from parts import BINARIES, PARTS

ARCHIVE = re.compile(r"^(?:LOAD )?(/?[^\s()]+\.(?:a|o|so[.\d]*))(?=[(\s]|$)", re.MULTILINE)
# Where the build keeps the objects of each kind of binary.
# What is somebody else's although it is in the tree: copies of header libraries, and unpacked packages.
COPIED = re.compile(r"/build/(\w+/cli/include|tools)/")
OBJECTS = {
    "component": re.compile(r"server/|CMakeFiles/brindlex_(core|csv)"),
    "program": re.compile(r"cli/|CMakeFiles/brindlex_core"),
}


def linked_files(build: str, name: str) -> set[str]:
    """The archives and objects that the linker's map names."""
    with open(os.path.join(build, name + ".map"), encoding="utf-8", errors="replace") as file:
        names = set(ARCHIVE.findall(file.read()))
    return {os.path.realpath(os.path.join(build, path)) for path in names}


def compiled_headers(build: str, kind: str) -> set[str]:
    """The headers that were compiled into the objects of a kind of binary."""
    output = subprocess.run(["ninja", "-C", build, "-t", "deps"], check=True, text=True,
                            stdout=subprocess.PIPE).stdout
    found = set()
    for entry in output.split("\n\n"):
        head, _, rest = entry.partition("\n")
        if OBJECTS[kind].match(head):
            found |= {os.path.normpath(os.path.join(build, line.strip())) for line in rest.split("\n") if line}
    return found


def problems(root: str, binary: str) -> list[str]:
    preset, name = BINARIES[binary]
    build = os.path.join(root, "build", preset)
    paths = linked_files(build, name) | compiled_headers(build, binary.partition("-")[0])
    assert len(paths) > 100, f"{binary}: the build names only {len(paths)} files"
    expected = {part.name for part in PARTS if binary in part.binaries}
    found, wrong = set(), []
    for path in sorted(paths):
        owners = {part.name for part in PARTS if any(re.search(marker, path) for marker in part.markers)}
        is_ours = path.startswith(root + os.sep) and not COPIED.search(path)
        if not owners & expected and not is_ours:
            wrong.append(f"{binary}: no part is listed for {path}")
        found |= owners
    return wrong + [f"{binary}: contains nothing of {part}" for part in sorted(expected - found)]


def main(root: str) -> None:
    wrong = [line for binary in BINARIES for line in problems(os.path.realpath(root), binary)]
    if wrong:
        sys.exit("\n".join(wrong[:40]))
    print(f"{len(PARTS)} third-party parts in {len(BINARIES)} binaries, all listed")


if __name__ == "__main__":
    main(sys.argv[1])
