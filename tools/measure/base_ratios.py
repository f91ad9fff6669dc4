"""Judges the number bases' benchmark by its JSON output: how it compares with what stands beside it.

usage: base_ratios.py FILE

Prints the median times and their ratios for each base. Fails when whole numbers take more than 3
times std::to_chars, reading more than 3 times std::from_chars, or the textbook less than 5 times as
long as the component for fractions.
"""

import json
import sys
from collections import defaultdict

MOST_OF_STANDARD = 3.0
LEAST_OF_TEXTBOOK = 5.0


def medians(path: str) -> dict[str, dict[int, float]]:
    """Nanoseconds per conversion by benchmark and base."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    times: dict[str, dict[int, float]] = defaultdict(dict)
    for run in runs:
        if run.get("aggregate_name") == "median":
            name, base = run["run_name"].rsplit("/", 1)
            times[name][int(base)] = run["cpu_time"]
    return times


def print_table(times: dict[str, dict[int, float]], kind: str, others: list[str]) -> None:
    """A line for each base: our time, and for each of the others its time as a multiple of ours."""
    print(f"{kind + ', base':16}{'ours, ns':>10}" + "".join(f"{other:>20}" for other in others))
    for base, ours in sorted(times[f"{kind}/component"].items()):
        columns = [f"{base:16}{ours:10.1f}"]
        for other in others:
            theirs = times[f"{kind}/{other}"].get(base)
            columns.append(f"{'' if theirs is None else f'{theirs / ours:.2f} times':>20}")
        print("".join(columns))
    print()


def failures(times: dict[str, dict[int, float]]) -> list[str]:
    found = []
    for kind, standard in (("whole", "to_chars"), ("read", "from_chars")):
        for base, theirs in times[f"{kind}/{standard}"].items():
            if times[f"{kind}/component"][base] > MOST_OF_STANDARD * theirs:
                found.append(f"{kind}, base {base}: more than {MOST_OF_STANDARD} times {standard}")
    for base, theirs in times["fraction/textbook"].items():
        if theirs < LEAST_OF_TEXTBOOK * times["fraction/component"][base]:
            found.append(f"fraction, base {base}: less than {LEAST_OF_TEXTBOOK} times as fast")
    return found


def main(path: str) -> int:
    times = medians(path)
    if not times:
        print(f"{path} holds no benchmark", file=sys.stderr)
        return 1
    print_table(times, "whole", ["textbook", "component_new_text", "to_chars", "gmp"])
    print_table(times, "fraction", ["textbook", "component_new_text"])
    print_table(times, "read", ["textbook", "from_chars"])
    found = failures(times)
    for failure in found:
        print(failure, file=sys.stderr)
    return 1 if found else 0


sys.exit(main(*sys.argv[1:]))
