"""Prints the C and C++ sources of this tree that a compile database builds, zero-terminated.

usage: lint_sources.py ROOT BUILD_FOLDER [--without OTHER_BUILD_FOLDER] [--changed FILE...]

Omits other people's sources, generated ones, and those of the other database. With --changed, only the sources
among FILE... and those that include one of them, directly or through headers; a FILE is relative to ROOT. Every
source is printed if a FILE decides how all are judged (.clang-tidy).
"""

import argparse
import json
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+["<]([^">]+)[">]', re.MULTILINE)
JUDGES_ALL = {".clang-tidy"}


def compiled_sources(root: pathlib.Path, build_folder: str) -> set[str]:
    commands = json.loads((pathlib.Path(build_folder) / "compile_commands.json").read_text(encoding="utf-8"))
    found = set()
    for command in commands:
        path = (pathlib.Path(command["directory"]) / command["file"]).resolve()
        if path.suffix in (".cpp", ".c") and path.is_relative_to(root) and not path.is_relative_to(root / "build"):
            found.add(path.relative_to(root).as_posix())
    return found


def affected(root: pathlib.Path, sources: set[str], changed: set[str]) -> set[str]:
    """The sources that are in CHANGED or reach one of its files through includes."""
    includes = {}

    def included_by(name: str) -> list[str]:
        if name not in includes:
            text = (root / name).read_text(encoding="utf-8")
            folder = pathlib.PurePosixPath(name).parent
            found = [c for i in INCLUDE.findall(text) for c in (i, (folder / i).as_posix())]
            includes[name] = [c for c in found if (root / c).is_file()]
        return includes[name]

    def reaches(name: str) -> bool:
        seen, open_names = set(), [name]
        while open_names:
            current = open_names.pop()
            if current in changed:
                return True
            if current not in seen:
                seen.add(current)
                open_names += included_by(current)
        return False

    return {source for source in sources if reaches(source)}


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("root", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("build_folder")
    parser.add_argument("--without")
    parser.add_argument("--changed", nargs="*")
    options = parser.parse_args()

    sources = compiled_sources(options.root, options.build_folder)
    if not sources:
        sys.exit(f"{options.build_folder} builds no source of this tree")
    if options.without:
        sources -= compiled_sources(options.root, options.without)
    if options.changed is not None and not JUDGES_ALL & set(options.changed):
        sources = affected(options.root, sources, set(options.changed))
    sys.stdout.write("".join(f"{options.root / source}\0" for source in sorted(sources)))


main()
