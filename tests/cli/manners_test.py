"""What every command does alike: help, usage, exit codes."""

import pathlib

import program
from program import USAGE, FINE, contains, expect, run


def test_version(_: pathlib.Path) -> None:
    result = run("--version")
    expect("code", FINE, result.code)
    expect("text", "brindlex 1.0.0\n", result.text)
    expect("errors", "", result.errors)


def test_help_shows_examples_first(_: pathlib.Path) -> None:
    for flag in ("--help", "-h", *(["/?"] if program.IS_WINDOWS else [])):
        result = run(flag)
        expect("code", FINE, result.code)
        expect("order", True, result.text.index("Examples:") < result.text.index("Usage:"))


def test_wrong_usage(_: pathlib.Path) -> None:
    for arguments in ((), ("no-such-command",), ("--no-such-option",)):
        result = run(*arguments)
        expect(arguments, USAGE, result.code)
        expect("output", b"", result.output)
        contains("brindlex: ", result.errors)


program.main(globals())
