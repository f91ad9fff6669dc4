"""What looking at a file of 1 GB costs: brindlex check and brindlex view beside wc -l, and their memory.

usage: look_bench.py PROGRAM FOLDER [--check]

The file is made in FOLDER, once. Runs alternate, so that what else the machine does meets all of them, and
the best of each counts. With --check, fails when a ratio or the memory is beyond its target.
"""

import os
import pathlib
import random
import subprocess
import sys
import time

SIZE = 1_000_000_000
ROUNDS = 7
MEGA = 1e6
# Ratios to wc -l, and MB.
CHECK_TARGET = 2.0
MEMORY_TARGET = 64


def rows(seed: int, field_end: str, record_end: str) -> bytes:
    random_ = random.Random(seed)
    lines = []
    for number in range(20_000):
        price = f"{random_.randrange(100)}.{random_.randrange(100):02}"
        colour = random_.choice(["red", "green", "blue", ""])
        fields = [f"Title {number} of a book", price, colour, random_.choice(["True", "False"])]
        lines.append("".join(field + field_end for field in fields) + record_end)
    return "".join(lines).encode("cp1252")


def fill(stream, field_end: str, record_end: str) -> None:
    stream.write(f"Title{field_end}Price{field_end}Colour{field_end}Sold{field_end}{record_end}".encode("cp1252"))
    block = rows(1, field_end, record_end)
    for _ in range(SIZE // len(block)):
        stream.write(block)


def make(folder: pathlib.Path) -> tuple[pathlib.Path, pathlib.Path]:
    """A collection that stands alone, and the same one inside a file of several."""
    alone, several = folder / "alone.txt", folder / "several.txt"
    if not several.exists():
        folder.mkdir(parents=True, exist_ok=True)
        with alone.open("wb") as stream:
            fill(stream, "¥", "Œ")
        with several.open("wb") as stream:
            stream.write("DataString¥Name¥Œ".encode("cp1252"))
            fill(stream, "»", "Š")
            stream.write("¥Books¥Œ".encode("cp1252"))
    return alone, several


def run(command: list[str]) -> tuple[float, float]:
    """Seconds, and the most memory at a time in MB."""
    began = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - began
    if os.waitstatus_to_exitcode(status) != 0:
        raise SystemExit(f"{command} failed")
    return seconds, usage.ru_maxrss / 1024


def main(program: str, folder: str, *rest: str) -> None:
    alone, several = map(str, make(pathlib.Path(folder)))
    commands = {
        "wc -l": ["wc", "-l", alone],
        "check": [program, "check", alone],
        "check, in one of several collections": [program, "check", several],
        "view, the first page": [program, "view", alone],
    }
    best = dict.fromkeys(commands, (float("inf"), 0.0))
    for _ in range(ROUNDS):
        for name, command in commands.items():
            seconds, memory = run(command)
            best[name] = (min(best[name][0], seconds), max(best[name][1], memory))

    base = best["wc -l"][0]
    print(f"\n1 GB, the best of {ROUNDS} alternating runs\n")
    print("| | seconds | as many times wc -l | MB of memory |\n|---|---|---|---|")
    failed = []
    for name, (seconds, memory) in best.items():
        print(f"| {name} | {seconds:.3f} | {seconds / base:.2f} | {memory:.0f} |")
        if name.startswith("check") and seconds / base > CHECK_TARGET:
            failed.append(f"{name}: {seconds / base:.2f} times wc -l, more than {CHECK_TARGET}")
        if memory > MEMORY_TARGET:
            failed.append(f"{name}: {memory:.0f} MB, more than {MEMORY_TARGET}")
    if "--check" in rest and failed:
        raise SystemExit("\n".join(failed))


main(*sys.argv[1:])
