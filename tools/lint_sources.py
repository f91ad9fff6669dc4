"""Prints the C and C++ sources of this tree in a compile database, zero-terminated.

usage: lint_sources.py ROOT BUILD_FOLDER [--without OTHER_BUILD_FOLDER]

Leaves out other people's sources, what is generated, and what the other database has.
"""

import json
import os
import sys


def sources(root: str, build_folder: str) -> set[str]:
    with open(os.path.join(build_folder, "compile_commands.json"), encoding="utf-8") as file:
        commands = json.load(file)
    paths = {os.path.normpath(os.path.join(c["directory"], c["file"])) for c in commands}
    generated = os.path.join(root, "build") + os.sep
    return {
        path
        for path in paths
        if path.startswith(root + os.sep) and not path.startswith(generated) and path.endswith((".cpp", ".c"))
    }


def main(root: str, build_folder: str, *rest: str) -> None:
    found = sources(root, build_folder)
    if rest:
        option, other = rest
        assert option == "--without", option
        found -= sources(root, other)
    sys.stdout.write("".join(path + "\0" for path in sorted(found)))


main(*sys.argv[1:])
