"""What every command does alike: help, usage, exit codes."""

import pathlib

import program
from program import USAGE, SUCCESS, contains, expect, run


def test_version(_: pathlib.Path) -> None:
    result = run("--version")
    expect("code", SUCCESS, result.code)
    expect("text", "brindlex 1.0.0\n", result.text)
    expect("errors", "", result.errors)


def test_help_shows_examples_first(_: pathlib.Path) -> None:
    for flag in ("--help", "-h", *(["/?"] if program.IS_WINDOWS else [])):
        result = run(flag)
        expect("code", SUCCESS, result.code)
        expect("order", True, result.text.index("Examples:") < result.text.index("Usage:"))


def test_wrong_usage(_: pathlib.Path) -> None:
    for arguments in ((), ("no-such-command",), ("--no-such-option",)):
        result = run(*arguments)
        expect(arguments, USAGE, result.code)
        expect("output", b"", result.output)
        contains("brindlex: ", result.errors)


def test_a_wrong_command_gets_the_nearest_one(_: pathlib.Path) -> None:
    for wrong, nearest in (("chek", "check"), ("tojson", "to-json"), ("vieuw", "view"), ("colections", "collections")):
        result = run(wrong, "a.txt")
        expect(wrong, USAGE, result.code)
        contains(f'there is no command "{wrong}"; did you mean {nearest}?', result.errors)
    expect("nothing alike", False, "did you mean" in run("1234567890").errors)


def test_help_of_a_command(_: pathlib.Path) -> None:
    expect("program", run("--help").text, run("help").text)
    expect("command", run("view", "--help").text, run("help", "view").text)
    contains("--replace", run("help", "collections", "add").text)
    contains("did you mean view?", run("help", "veiw").errors)


program.main(globals())
