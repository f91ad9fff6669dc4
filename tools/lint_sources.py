"""Prints the C and C++ sources of this tree that a compile database builds, zero-terminated.

usage: lint_sources.py ROOT BUILD_FOLDER [--without OTHER_BUILD_FOLDER] [--changed FILE...]

Omits other people's sources, generated ones, and those of the other database. With --changed, only the sources
among FILE..., and for each header among them one source that includes it, directly or through other headers: the
header is judged wherever it is included. A FILE is relative to ROOT. Every source is printed if a FILE decides how
all are judged (.clang-tidy).
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


class Includes:
    """Which files of this tree a file includes, itself and through others."""

    def __init__(self, root: pathlib.Path) -> None:
        self.root = root
        self.direct: dict[str, list[str]] = {}

    def of(self, name: str) -> list[str]:
        if name not in self.direct:
            text = (self.root / name).read_text(encoding="utf-8")
            folder = pathlib.PurePosixPath(name).parent
            found = [c for i in INCLUDE.findall(text) for c in (i, (folder / i).as_posix())]
            self.direct[name] = [c for c in found if (self.root / c).is_file()]
        return self.direct[name]

    def reached_from(self, name: str) -> set[str]:
        seen, open_names = set(), [name]
        while open_names:
            current = open_names.pop()
            if current not in seen:
                seen.add(current)
                open_names += self.of(current)
        return seen


def touched(root: pathlib.Path, sources: set[str], changed: set[str]) -> set[str]:
    """The SOURCES that are CHANGED, and for each changed header one that reaches it: if possible one that is chosen
    already or has the header's name. A header that no source reaches is another database's."""
    includes = Includes(root)
    reached = {source: includes.reached_from(source) for source in sorted(sources)}
    chosen = sources & changed
    for header in sorted(name for name in changed if name.endswith(".h")):
        users = [source for source in reached if header in reached[source]]
        stem = pathlib.PurePosixPath(header).with_suffix("")
        users.sort(key=lambda source: (source not in chosen, pathlib.PurePosixPath(source).with_suffix("") != stem))
        chosen |= set(users[:1])
    return chosen


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
        sources = touched(options.root, sources, set(options.changed))
    sys.stdout.write("".join(f"{options.root / source}\0" for source in sorted(sources)))


main()
