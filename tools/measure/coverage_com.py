"""Prints the branch coverage of the component's Windows half from what its tests have left.

usage: coverage_com.py ROOT BUILD_FOLDER GCOV

All instances of a template count together, and so do the copies of an inline function. What only
an exception takes is no branch, as the compiler makes one after every call; nor is what it makes
where the source decides nothing: the end of a list that is built in place, say.
"""

import collections
import json
import os
import pathlib
import re
import subprocess
import sys

FOLDERS = ("server/", "platform/win32/")
DECISION = re.compile(r"\b(if|for|while|do|switch|case|default)\b|[?]|&&|\|\|")


def exports(build: pathlib.Path, gcov: str):
    """What gcov says of every object file, as JSON."""
    for folder in ("CMakeFiles/Brindlex.dir", "CMakeFiles/brindlex_server.dir", "CMakeFiles/brindlex_win32.dir"):
        counts = sorted((build / "server" / folder).rglob("*.gcda"))
        if not counts:
            sys.exit(f"the tests have left no counts in {folder}")
        for path in counts:
            text = subprocess.run([gcov, "--json-format", "--stdout", "--branch-probabilities", str(path)],
                                  check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
            yield json.loads(text)


def relative(root: pathlib.Path, export, file) -> str:
    path = pathlib.Path(os.path.normpath(
        os.path.join(export["current_working_directory"], file["file"])))
    return path.relative_to(root).as_posix() if path.is_relative_to(root) else ""


def folded(counts: list[int], text: str) -> list[int]:
    """The branches of one line of a template: gcov has those of its instances in a row."""
    each = 2 * len(DECISION.findall(text))
    if len(counts) % each:
        return counts
    return [sum(counts[place::each]) for place in range(each)]


def main(root_name: str, build: str, gcov: str) -> int:
    root = pathlib.Path(root_name).resolve()
    # By file, then by line and shape: the instances of one line have as many branches each.
    found = collections.defaultdict(dict)
    for export in exports(pathlib.Path(build), gcov):
        for file in export["files"]:
            name = relative(root, export, file)
            if not name.startswith(FOLDERS):
                continue
            source = (root / name).read_text(encoding="utf-8").splitlines()
            for line in file["lines"]:
                text = source[line["line_number"] - 1].split("//")[0]
                if not DECISION.search(text):
                    continue
                counts = [branch["count"] for branch in line["branches"] if not branch["throw"]]
                # One way is left where the other was an exception's.
                if len(counts) < 2:
                    continue
                if name.endswith(".h"):
                    counts = folded(counts, text)
                key = line["line_number"], len(counts)
                before = found[name].get(key, [0] * len(counts))
                found[name][key] = [a + b for a, b in zip(before, counts)]
    taken, total = 0, 0
    print("%-44s %8s %7s  %s" % ("file", "branches", "taken", "lines with branches not taken"))
    for name in sorted(found):
        counts = [count for counts in found[name].values() for count in counts]
        missed = sorted({line for (line, _), counts in found[name].items() if 0 in counts})
        part = sum(count > 0 for count in counts)
        print("%-44s %8d %6.1f%%  %s" % (
            name, len(counts), 100 * part / len(counts), " ".join(map(str, missed))))
        taken, total = taken + part, total + len(counts)
    print("%-44s %8d %6.1f%%" % ("all", total, 100 * taken / total))
    return 0


sys.exit(main(*sys.argv[1:]))
