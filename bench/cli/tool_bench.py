"""The program brindlex on one large file, beside programs that everyone has, on the same data.

usage: tool_bench.py PROGRAM FOLDER [--check] [--bytes N]

Makes a file of N bytes (1,000,000,000) in FOLDER, converts it, and lets jq and Miller read what came of
it. Prints the seconds of each, the best of several runs of the quick ones, and the peak of its memory;
then what the program is judged by, as ratios of this one run. With --check fails when a ratio is far from
its target. What it makes in FOLDER is deleted at the end.
"""

import argparse
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

TOLERATED = 1.25
MOST_MEGABYTES = 64
NAMES = ("Id", "Title", "Author", "Price", "Stock", "Flag", "When", "Note")
# Texts as people keep them: short, now and then with what must be escaped or lies beyond ASCII.
VALUES = ("Moby Dick", "Melville, Herman", "12.50", "-7", "True", "", "2001-03-04 05:06:07", "Größe",
          "The quick brown fox jumps over the lazy dog", 'a "quoted" word', "café", "Alpha")


def make_file(path: pathlib.Path, size: int) -> None:
    rows = random.Random(1)
    block = b"".join(
        b"".join(value.encode("windows-1252") + b"\xa5"
                 for value in (str(number), *rows.choices(VALUES, k=len(NAMES) - 1))) + b"\x8c"
        for number in range(20_000))
    with open(path, "wb") as file:
        written = file.write(b"".join(name.encode() + b"\xa5" for name in NAMES) + b"\x8c")
        while written < size:
            written += file.write(block)


def resident(pid: int) -> float:
    """The most memory that the process has had so far, in MB. What its parent had when it was begun
    does not count, as it would in the sums that the system gives at its end."""
    try:
        status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="utf-8")
    except OSError:
        return 0.0
    found = re.search(r"VmHWM:\s+(\d+) kB", status)
    return int(found.group(1)) / 1024 if found else 0.0


class Job:
    """What one command took: seconds, the best of its runs, and its largest memory."""

    def __init__(self, name: str, command: list[str], runs: int = 1) -> None:
        self.seconds, self.megabytes = float("inf"), 0.0
        for _ in range(runs):
            started = time.monotonic()
            process = subprocess.Popen(command, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
            while process.poll() is None:
                self.megabytes = max(self.megabytes, resident(process.pid))
                time.sleep(0.001)
            if process.returncode != 0:
                sys.exit(f"{' '.join(command)} exited with status {process.returncode}")
            self.seconds = min(self.seconds, time.monotonic() - started)
        print(f"{name:44}{self.seconds:9.2f} s{self.megabytes:9.1f} MB", flush=True)


def run(program: str, folder: pathlib.Path, size: int) -> list[str]:
    text, lines, table, back = (str(folder / name) for name in
                                ("data.txt", "data.jsonl", "data.csv", "back.txt"))
    make_file(pathlib.Path(text), size)
    print(f"{size / 1e6:,.0f} MB, {len(NAMES)} fields a record")
    wc = Job("wc -l", ["wc", "-l", text], 5)
    own = {
        "view": Job("brindlex view, the first page", [program, "view", text], 5),
        "check": Job("brindlex check", [program, "check", text], 5),
        "to-json": Job("brindlex to-json --lines",
                       [program, "to-json", "--lines", text, "-o", lines]),
        "to-csv": Job("brindlex to-csv", [program, "to-csv", text, "-o", table]),
    }
    os.sync()
    jq = Job("jq, reading that JSON", ["jq", "empty", lines])
    miller = Job("Miller, from that CSV to JSON", ["mlr", "--icsv", "--ojsonl", "cat", table])
    own["from-json"] = Job("brindlex from-json", [program, "from-json", lines, "-o", back])
    if subprocess.run(["cmp", text, back], check=False).returncode != 0:
        sys.exit("what came back is another file")

    print()
    failures = []

    def judge(what: str, ratio: float, target: float, is_least: bool) -> None:
        bound = "at least" if is_least else "at most"
        print(f"{what:56}{ratio:8.2f}   {bound} {target:g}")
        far = ratio * TOLERATED < target if is_least else ratio > target * TOLERATED
        if far:
            failures.append(what)

    # look_bench.py judges that one, on longer values.
    print(f"{'check, beside wc -l':56}{own['check'].seconds / wc.seconds:8.2f}")
    judge("to-json, times as fast as jq reads it", jq.seconds / own["to-json"].seconds, 5, True)
    judge("to-csv, times as fast as Miller converts it on",
          miller.seconds / own["to-csv"].seconds, 1, True)
    memory = max(job.megabytes for job in own.values())
    judge("the largest memory of any of them, MB", memory, MOST_MEGABYTES, False)
    return failures


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folder")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--bytes", type=int, default=1_000_000_000)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        failures = run(options.program, pathlib.Path(folder), options.bytes)
    if failures and options.check:
        print("far from the target: " + ", ".join(failures), file=sys.stderr)
        return 1
    return 0


sys.exit(main())
