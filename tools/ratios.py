"""Prints what the benchmarks measured as ratios, each beside its target.

usage: ratios.py NATIVE_FOLDER WINDOWS_FOLDER COMPONENT [--check]

Every ratio is of two times of one run, so that the machine's own speed cancels out. With --check,
fails when a ratio is worse than 1.25 times its target.
"""

import json
import os
import sys
from collections.abc import Callable

TOLERATED = 1.25


def medians(path: str) -> dict[str, float]:
    """Nanoseconds per field by benchmark."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    times = {
        run["run_name"]: run["per_field"] * 1e9
        for run in runs
        if run.get("aggregate_name") == "median" and "per_field" in run
    }
    if not times:
        sys.exit(f"{path} holds no benchmark")
    return times


def seconds(path: str) -> dict[str, tuple[float, float]]:
    """By the script's way and by the component, for each job."""
    with open(path, encoding="utf-8") as file:
        rows = [line.split() for line in file if line.strip()]
    return {f"{row[0]} {row[1]}": (float(row[2]), float(row[3])) for row in rows}


class Table:
    def __init__(self) -> None:
        self.failures: list[str] = []
        print(f"{'what':58}{'ns':>9}{'beside':>9}{'ratio':>8}{'target':>8}")

    def at_most(self, what: str, ours: float, beside: float, target: float) -> None:
        self._row(what, ours, beside, target, ours / beside > TOLERATED * target)

    def at_least(self, what: str, ours: float, beside: float, target: float) -> None:
        ratio = beside / ours
        shown = f"{ratio:.2f}x"
        print(f"{what:58}{ours:9.1f}{beside:9.1f}{shown:>8}{target:7.2f}x")
        if ratio * TOLERATED < target:
            self.failures.append(what)

    def _row(self, what: str, ours: float, beside: float, target: float, failed: bool) -> None:
        print(f"{what:58}{ours:9.1f}{beside:9.1f}{ours / beside:8.2f}{target:8.2f}")
        if failed:
            self.failures.append(what)


def growth(times: dict[str, float], name: str) -> tuple[float, float]:
    """The slowest and the fastest size."""
    sizes = [time for key, time in times.items() if key.split("/")[0] == name]
    return max(sizes), min(sizes)


def main(native: str, windows: str, component: str, *rest: str) -> int:
    com = medians(os.path.join(windows, "com_bench.json"))
    engine = medians(os.path.join(native, "engine_bench.json"))
    core = medians(os.path.join(native, "save_restore_bench.json"))
    script = seconds(os.path.join(windows, "compare.txt"))

    table = Table()
    of: Callable[[str], float] = lambda name: com[f"{name}/100000"]
    table.at_most("save, any objects : name + get", of("BM_Save"), of("BM_FloorNameAndGet"), 1.15)
    table.at_most("save, described : get alone", of("BM_SaveDescribed"), of("BM_FloorGet"), 1.15)
    table.at_most("save, own records : get alone", of("BM_SaveOwn"), of("BM_FloorGetOwn"), 0.33)
    table.at_most("restore, any objects : new + name + put",
                  of("BM_Restore"), of("BM_FloorNameAndPut"), 1.2)
    table.at_most("restore, described : new + put", of("BM_RestoreDescribed"), of("BM_FloorPut"), 1.2)
    large, small = "/1000000/10", "/100000/5"
    table.at_most("write 1,000,000 x 10 : copy into fresh memory",
                  engine["BM_Write" + large], engine["BM_CopyIntoFreshMemory" + large], 1.5)
    for size in (small, large):
        for ours, peer in (("Write", "WriteRapidJson"), ("Write", "WriteLibcsv"),
                           ("Walk", "WalkSimdJson"), ("Walk", "WalkLibcsv"),
                           ("Walk", "ParseRapidJson")):
            records, columns = size.strip("/").split("/")
            what = f"{ours.lower()} {int(records):,} x {columns} : {peer}"
            table.at_most(what, engine[f"BM_{ours}{size}"], engine[f"BM_{peer}{size}"], 1.0)
    for name in ("BM_Save", "BM_Restore", "BM_RestoreKeyed"):
        slowest, fastest = growth(core, name)
        table.at_most(f"{name[3:]}, slowest size : fastest", slowest, fastest, 1.5)
    per_field = 1e9 / 500000
    for job, (theirs, ours) in script.items():
        table.at_least(job, ours * per_field, theirs * per_field, 12.0)
    size = os.path.getsize(component) / 1000
    table.at_most("size of the DLL, kB : 700", size, 700, 1.0)

    if "--check" in rest and table.failures:
        print("worse than 1.25 times the target: " + "; ".join(table.failures), file=sys.stderr)
        return 1
    return 0


sys.exit(main(*sys.argv[1:]))
