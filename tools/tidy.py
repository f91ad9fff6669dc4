"""Judges sources by clang-tidy, as many at once as there are processors; exits with 1 if it objects to any.

usage: tidy.py ROOT DATABASE_FOLDER [--clang-tidy PROGRAM] [--checks CHECKS] [COMPILER_ARGUMENT...] <SOURCES

SOURCES are paths, each ended by a zero byte. A source is judged by the first of its commands in the compile database, with
the COMPILER_ARGUMENTs, which start with a dash, added. One that was found clean is not judged again while its
preprocessed text, comments and macros included, the checks and clang-tidy are the same: ROOT/build/lint.clean notes that.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

UNKNOWN_TO_CLANG = {"-fno-reorder-blocks-and-partition"}
# The count of the warnings that were suppressed in other people's headers.
NOISE = re.compile(r"^\d+ warnings?( and \d+ errors?)? generated\.\n", re.MULTILINE)


def commands_of(database: pathlib.Path) -> dict[str, dict]:
    found: dict[str, dict] = {}
    for command in json.loads((database / "compile_commands.json").read_text(encoding="utf-8")):
        path = (pathlib.Path(command["directory"]) / command["file"]).resolve()
        found.setdefault(str(path), command)
    return found


class Judge:
    def __init__(self, options: argparse.Namespace, compiler_arguments: list[str]) -> None:
        self.commands = commands_of(options.database)
        self.compiler_arguments = compiler_arguments
        self.clean = options.root / "build/lint.clean"
        self.clean.mkdir(parents=True, exist_ok=True)
        self.tidy = [options.clang_tidy, "--quiet", f"--checks={options.checks}"]
        version = subprocess.run([options.clang_tidy, "--version"], check=True, capture_output=True).stdout
        self.rules = [version, (options.root / ".clang-tidy").read_bytes(),
                      *(os.fsencode(argument) for argument in [*self.tidy, *compiler_arguments])]

    def key(self, source: str, compiler: list[str], folder: str) -> str:
        text = subprocess.run([*compiler, "-E", "-dD", "-CC", source], cwd=folder, check=True, stdout=subprocess.PIPE).stdout
        digest = hashlib.sha256()
        for part in [*self.rules, os.fsencode(source), *map(os.fsencode, compiler), text]:
            digest.update(hashlib.sha256(part).digest())
        return digest.hexdigest()

    def judge(self, source: str) -> tuple[bool, str]:
        """Whether it is clean, and what is to be said of it."""
        command = self.commands[source]
        words = shlex.split(command["command"])
        del words[words.index("-o") : words.index("-o") + 2]
        words = [word for word in words if word not in {"-c", command["file"], source}]
        note = self.clean / self.key(source, words, command["directory"])
        if note.exists():
            return True, ""
        arguments = [word for word in words[1:] if word not in UNKNOWN_TO_CLANG] + self.compiler_arguments
        done = subprocess.run([*self.tidy, source, "--", *arguments], cwd=command["directory"], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if done.returncode == 0:
            note.touch()
        return done.returncode == 0, NOISE.sub("", done.stdout)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("root", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("database", type=pathlib.Path)
    parser.add_argument("--clang-tidy", default="clang-tidy-14")
    parser.add_argument("--checks", default="")
    options, compiler_arguments = parser.parse_known_args()

    sources = [source for source in sys.stdin.read().split("\0") if source]
    judge = Judge(options, compiler_arguments)
    dirty = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source, (is_clean, text) in zip(sources, pool.map(judge.judge, sources)):
            print(text, end="", flush=True)
            if not is_clean:
                dirty.append(source)
    for source in dirty:
        print(f"clang-tidy objects to {source}", file=sys.stderr)
    sys.exit(1 if dirty else 0)


main()
