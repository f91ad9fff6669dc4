"""The program brindlex on one large file, beside programs that everyone has, on the same data.

usage: tool_bench.py PROGRAM FOLDER [--check] [--bytes N] [--duckdb FOLDER]

Makes a file of N bytes (1,000,000,000) in FOLDER, converts it, and lets jq, Miller and DuckDB (of which
--duckdb names the folder of its npm package) read what came of it. Prints the processor time of each, the
best of two interleaved runs, that without the system's part, and the peak of its memory; then what the program
is judged by, as ratios of this one run. With --check fails when a ratio is far from its target. What it makes in
FOLDER is deleted at the end.

A written file lies in pages of memory until it is on the disk. Where new pages are dear, the system takes more
for them than any program takes for their content, and several times more in one run than in the next. So
what a conversion to JSON or CSV takes is judged without the system's part; the whole is printed beside it.
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
ROUNDS = 2
# What a command may take, in times of check on the same records.
TIMES_CHECK = {"to-csv": 15, "to-json": 15, "from-json": 40, "from-csv": 40, "diff": 3}
# What is judged without the system's part.
WRITERS = ("to-csv", "to-json")
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
    """A command, and what it took: the least processor time of its runs, in all and without what the
    system took for it, and its largest memory. The clock would measure the disk and the other programs
    of the machine as well."""

    def __init__(self, name: str, command: list[str], output: str | None = None) -> None:
        self.name, self.command, self.output = name, command, output
        self.seconds, self.own_seconds, self.megabytes = float("inf"), float("inf"), 0.0

    def run(self) -> None:
        # So that its pages are free for the new one.
        if self.output is not None:
            pathlib.Path(self.output).unlink(missing_ok=True)
        process = subprocess.Popen(self.command, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        while True:
            self.megabytes = max(self.megabytes, resident(process.pid))
            pid, status, usage = os.wait4(process.pid, os.WNOHANG)
            if pid != 0:
                break
            time.sleep(0.001)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f"{' '.join(self.command)} exited with status {process.returncode}")
        self.seconds = min(self.seconds, usage.ru_utime + usage.ru_stime)
        self.own_seconds = min(self.own_seconds, usage.ru_utime)


def make_jobs(program: str, folder: pathlib.Path, duckdb: str | None) -> dict[str, Job]:
    text, same, other, lines, table, back = (
        str(folder / name) for name in
        ("data.txt", "same.txt", "utf-8.txt", "data.jsonl", "data.csv", "back.txt"))

    def own(name: str, *arguments: str) -> Job:
        output = arguments[arguments.index("-o") + 1] if "-o" in arguments else None
        return Job(f"brindlex {name}", [program, *name.split(), *arguments], output)

    jobs = {
        "wc": Job("wc -l", ["wc", "-l", text]),
        "view": own("view", text),
        "check": own("check", text),
        "diff": own("diff", text, same),
        "recode": own("recode", text, "--to-encoding", "utf-8", "--force", "-o", other),
        "diff-forms": Job("brindlex diff, one of them in UTF-8", [program, "diff", text, other]),
        "to-json": own("to-json --lines", text, "--force", "-o", lines),
        "to-csv": own("to-csv", text, "--force", "-o", table),
        "from-json": own("from-json", lines, "--force", "-o", back),
        "from-csv": own("from-csv", table, "--force", "-o", back),
        "jq": Job("jq, reading that JSON", ["jq", "empty", lines]),
        "Miller": Job("Miller, from that CSV to JSON", ["mlr", "--icsv", "--ojsonl", "cat", table]),
    }
    if duckdb is not None:
        script = str(pathlib.Path(__file__).with_name("duckdb_csv.js"))
        jobs["DuckDB"] = Job("DuckDB, from that CSV to JSON",
                             ["node", script, duckdb, table, str(folder / "duckdb.jsonl")])
    return jobs


def run(program: str, folder: pathlib.Path, size: int, duckdb: str | None) -> list[str]:
    text = folder / "data.txt"
    make_file(text, size)
    subprocess.run(["cp", text, folder / "same.txt"], check=True)
    jobs = make_jobs(program, folder, duckdb)
    for _ in range(ROUNDS):
        for name, job in jobs.items():
            job.run()
            if name.startswith("from-") and subprocess.run(
                    ["cmp", text, folder / "back.txt"], check=False).returncode != 0:
                sys.exit(f"{name}: what came back is another file")
    print(f"{size / 1e6:,.0f} MB, {len(NAMES)} fields a record; processor time, without the system's, memory")
    for job in jobs.values():
        print(f"{job.name:44}{job.seconds:9.2f} s{job.own_seconds:9.2f} s{job.megabytes:9.1f} MB")
    print()
    failures = []

    def judge(what: str, ratio: float, target: float, is_least: bool) -> None:
        bound = "at least" if is_least else "at most"
        print(f"{what:56}{ratio:8.2f}   {bound} {target:g}")
        far = ratio * TOLERATED < target if is_least else ratio > target * TOLERATED
        if far:
            failures.append(what)

    check = jobs["check"].seconds
    # look_bench.py judges that one, on longer values.
    print(f"{'check, beside wc -l':56}{check / jobs['wc'].seconds:8.2f}")
    for name, target in TIMES_CHECK.items():
        seconds = jobs[name].seconds
        if name in WRITERS:
            print(f"{name + ', times check, with the pages of its file':56}{seconds / check:8.2f}")
            judge(f"{name}, times check", jobs[name].own_seconds / check, target, False)
        else:
            judge(f"{name}, times check", seconds / check, target, False)
    judge("to-json, times as fast as jq reads it",
          jobs["jq"].seconds / jobs["to-json"].seconds, 3, True)
    for peer in ("Miller", "DuckDB"):
        if peer in jobs:
            judge(f"to-csv, times as fast as {peer} converts it on",
                  jobs[peer].seconds / jobs["to-csv"].seconds, 1, True)
    memory = max(job.megabytes for job in jobs.values() if job.command[0] == program)
    judge("the largest memory of any of them, MB", memory, MOST_MEGABYTES, False)
    return failures


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folder")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--bytes", type=int, default=1_000_000_000)
    parser.add_argument("--duckdb")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        failures = run(options.program, pathlib.Path(folder), options.bytes, options.duckdb)
    if failures and options.check:
        print("far from the target: " + ", ".join(failures), file=sys.stderr)
        return 1
    return 0


sys.exit(main())
