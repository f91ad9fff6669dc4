"""Runs the scripts of docs/tasks.md and compares what they print to what the page says they do.

usage: tasks_test.py WINE PAGE
"""

import re
import subprocess
import sys
import tempfile

SCRIPT = re.compile(r"^```vb\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PRINTS = re.compile(r"' -> (.*)$", re.MULTILINE)


def output_of(wine: str, script: str) -> list[str]:
    with tempfile.NamedTemporaryFile("w", suffix=".vbs", newline="\r\n") as file:
        file.write(script)
        file.flush()
        path = "Z:" + file.name.replace("/", "\\")
        result = subprocess.run(
            [wine, "cscript", "//nologo", path], stdout=subprocess.PIPE, timeout=120, check=True
        )
    return [line.rstrip() for line in result.stdout.decode("cp1252").splitlines()]


def main(wine: str, page: str) -> int:
    with open(page, encoding="utf-8") as file:
        scripts = SCRIPT.findall(file.read())
    failures = 0 if scripts else 1
    for script in scripts:
        expected = PRINTS.findall(script)
        actual = output_of(wine, script)
        if not expected or actual != expected:
            failures += 1
            print(f"expected {expected}\nprinted  {actual}\nby\n{script}")
    print(f"{len(scripts)} scripts, {failures} failures")
    return 1 if failures else 0


sys.exit(main(*sys.argv[1:]))
