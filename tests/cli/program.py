"""Runs the built program, natively or under Wine, on the same cases.

A test imports this, defines functions whose names begin with test_ and ends with
`program.main(globals())`; it is called as `TEST [EMULATOR] PROGRAM`.
"""

import os
import pathlib
import random
import subprocess
import sys
import tempfile
import traceback

# Some tests run it in another folder.
COMMAND = [os.path.abspath(part) for part in sys.argv[1:]]
# Windows knows a Unix path as one of drive Z.
IS_WINDOWS = bool(COMMAND) and COMMAND[-1].endswith(".exe")
SUCCESS, DEFECTS, USAGE, INPUT_OUTPUT = 0, 1, 2, 3
# Of the tests that have hundreds of cases, one case of so many is run: the plain build runs all, those where each run
# takes a second, with sanitizers or under Wine, a sample.
SAMPLE = int(os.environ.get("BRINDLEX_SAMPLE", "1"))
_dice = random.Random(SAMPLE)


def is_sampled() -> bool:
    """Whether the next case is run; the same ones in each run of a test."""
    return _dice.random() * SAMPLE < 1


def tables(sample: int) -> int:
    """How many random tables a test makes: `sample`, or as many as ./dev fuzz asks for."""
    return int(os.environ.get("BRINDLEX_TABLES", sample))


def seed(own: int) -> int:
    """What random tables start from; ./dev fuzz names another one, to be given again after a failure."""
    return int(os.environ.get("BRINDLEX_SEED", own))


class Result:
    def __init__(self, done: subprocess.CompletedProcess):
        self.code = done.returncode
        self.output = done.stdout
        self.errors = done.stderr.decode("utf-8", "replace").replace("\r\n", "\n")

    @property
    def text(self) -> str:
        """The data, as UTF-8."""
        return self.output.decode("utf-8")


def run(*arguments: str, stdin: bytes = b"", environment: dict[str, str] | None = None,
        folder: pathlib.Path | None = None) -> Result:
    """Runs the program; nothing of what it prints is changed."""
    own = {**os.environ, "NO_COLOR": "", **(environment or {})}
    done = subprocess.run([*COMMAND, *arguments], input=stdin, capture_output=True, timeout=120,
                          env=own, cwd=folder, check=False)
    return Result(done)


def path(of: pathlib.Path) -> str:
    """The path of a file, as the program takes it."""
    return "Z:" + str(of).replace("/", "\\") if IS_WINDOWS else str(of)


def encoded(text: str, encoding: str = "windows-1252") -> bytes:
    """A text with | ; for the outer markers and < > for the inner ones."""
    return text.translate(str.maketrans("|;<>", "¥Œ»Š")).encode(encoding)


def expect(what: object, wanted: object, got: object) -> None:
    if wanted != got:
        raise AssertionError(f"{what}\nwanted: {wanted!r}\ngot:    {got!r}")


def contains(part: str, whole: str) -> None:
    if part not in whole:
        raise AssertionError(f"{part!r} is not in {whole!r}")


def main(functions: dict) -> None:
    tests = {name: test for name, test in functions.items() if name.startswith("test_")}
    failed = 0
    for name, test in tests.items():
        with tempfile.TemporaryDirectory() as folder:
            try:
                test(pathlib.Path(folder))
                print(f"ok {name}")
            except Exception:  # every test is reported, whatever went wrong
                failed += 1
                print(f"FAILED {name}")
                traceback.print_exc(file=sys.stdout)
    print(f"{len(tests)} tests, {failed} failed")
    sys.exit(1 if failed or not tests else 0)
