"""Prints the coverage of the core from what llvm-cov has exported. Fails when a branch is not taken
that has no reason here, or when one is taken that has.

usage: coverage_table.py ROOT EXPORT.json
"""

import collections
import json
import pathlib
import sys

CORE = ("automation", "environment", "persistence", "bases", "appfiles")

# By file, line of the source, and side of the condition: why no test takes it.
REASONS: dict[tuple[str, str, str], str] = {}


def branches_of(file, source: list) -> dict:
    """How often the condition at each place was true and false, over all instances of a template.
    What the compiler decides is no branch."""
    found = collections.defaultdict(lambda: [0, 0])
    for line, column, end_line, end_column, taken, not_taken, *_ in file["branches"]:
        if "constexpr" in source[line - 1][:column - 1]:
            continue
        counts = found[line, column, end_line, end_column]
        counts[0] += taken
        counts[1] += not_taken
    return found


def percent(part: int, whole: int) -> str:
    return f"{100 * part / whole:6.1f}%" if whole else "      -"


def row(name: str, lines, branches) -> str:
    return "%-44s %5d %s %7d %s" % (
        name, lines[1], percent(*lines), branches[1], percent(*branches))


def main(root: str, export: str) -> int:
    data = json.loads(pathlib.Path(export).read_text(encoding="utf-8"))["data"][0]
    totals, missed, unused = ([0, 0], [0, 0]), [], dict(REASONS)
    print("%-44s %5s %7s %7s %7s" % ("file", "lines", "run", "branches", "taken"))
    for file in sorted(data["files"], key=lambda file: file["filename"]):
        path = pathlib.Path(file["filename"]).resolve()
        name = path.relative_to(pathlib.Path(root).resolve()).as_posix() \
            if path.is_relative_to(pathlib.Path(root).resolve()) else ""
        if not name.startswith(tuple(folder + "/" for folder in CORE)):
            continue
        source = path.read_text(encoding="utf-8").splitlines()
        found = branches_of(file, source)
        for (line, column, *_), counts in sorted(found.items()):
            for side, count in zip(("true", "false"), counts):
                if count == 0:
                    reason = unused.pop((name, source[line - 1].strip(), side), "")
                    missed.append((f"{name}:{line}:{column}: never {side}", reason))
        summary = file["summary"]["lines"]
        lines = (summary["covered"], summary["count"])
        branches = (sum(count > 0 for counts in found.values() for count in counts),
                    2 * len(found))
        print(row(name, lines, branches))
        for total, counted in zip(totals, (lines, branches)):
            total[0] += counted[0]
            total[1] += counted[1]
    print(row("all", *totals))
    print(f"\n{len(missed)} branches not taken")
    for branch, reason in missed:
        print(f"{branch}: {reason or 'no reason is known'}")
    for branch in unused:
        print(f"{': '.join(branch)}: has a reason, and is taken")
    return 0 if totals[0][1] and not unused and all(reason for _, reason in missed) else 1


sys.exit(main(*sys.argv[1:]))
