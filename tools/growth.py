"""Judges a benchmark's JSON output: the time per field must not grow with the collection.

usage: growth.py FILE

Prints, for each benchmark, the time per field at each size and the ratio of the slowest size to the
fastest. Fails when a ratio is above the limit.
"""

import json
import sys
from collections import defaultdict

LIMIT = 1.5


def times_per_field(path: str) -> dict[str, dict[int, float]]:
    """Nanoseconds per field by benchmark and number of records: the median of the repetitions."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    times: dict[str, dict[int, float]] = defaultdict(dict)
    for run in runs:
        if run.get("aggregate_name") == "median":
            name, records = run["run_name"].split("/")
            times[name][int(records)] = run["per_field"] * 1e9
    return times


def main(path: str) -> int:
    times = times_per_field(path)
    if not times:
        print(f"{path} holds no benchmark", file=sys.stderr)
        return 1
    worst = 0.0
    for name, by_size in times.items():
        ratio = max(by_size.values()) / min(by_size.values())
        worst = max(worst, ratio)
        row = ", ".join(f"{size:,} records {time:.1f}" for size, time in sorted(by_size.items()))
        print(f"{name}: ns per field: {row}; slowest to fastest {ratio:.2f}")
    if worst > LIMIT:
        print(f"the time per field grows by more than {LIMIT} times", file=sys.stderr)
    return 0 if worst <= LIMIT else 1


sys.exit(main(sys.argv[1]))
