"""The completions offer what the program has, and nothing else."""

import os
import pathlib
import re
import shutil
import subprocess

import program
from program import expect, run

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "cli" / "completions"
COMPLETE_BASH = """
source "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
_brindlex
printf '%s\\n' "${COMPREPLY[@]}"
"""
# The functions of zsh's completion system are stood in for by ones that print what they are given.
COMPLETE_ZSH = """
_describe() { local offer; for offer in ${(P)2}; do print -r -- ${offer%%:*}; done }
_files() { print FILES }
compadd() { print -rl -- "$@" }
file=$1; shift
words=("$@"); CURRENT=$#
source $file
"""


def commands_of(*command: str) -> set[str]:
    return names("Subcommands", *command)


def options_of(*command: str) -> set[str]:
    return {name for names_ in names("Options", *command) for name in names_.split(",")}


def names(section: str, *command: str) -> set[str]:
    lines = run(*command, "--help").text.replace("\r", "").split("\n")
    found, inside = set(), False
    for line in lines:
        if line and not line.startswith(" "):
            inside = line == section + ":"
        elif inside and (match := re.match(r"  (\S+)", line)):
            found.add(match.group(1))
    return found


def offered(shell: list[str], script: str, file: str, *words: str, by_line: bool = False) -> set[str]:
    folder = os.path.dirname(program.COMMAND[-1])
    environment = {**os.environ, "PATH": folder + ":" + os.environ["PATH"]}
    done = subprocess.run([*shell, "-c", script, "complete", str(FOLDER / file), "brindlex", *words],
                          capture_output=True, env=environment, timeout=60, check=False)
    expect((shell, words, "errors"), b"", done.stderr)
    return set(done.stdout.decode().splitlines() if by_line else done.stdout.decode().split())


def check(shell: list[str], script: str, file: str, files: set[str]) -> None:
    def offers(*words: str) -> set[str]:
        return offered(shell, script, file, *words)

    expect("commands", commands_of(), offers(""))
    expect("beginning", {"to-json", "to-csv", "to-html"},
           {name for name in offers("to-") if name.startswith("to-")})
    expect("commands of a command", commands_of("collections"), offers("collections", ""))
    expect("options", options_of("to-json"), offers("to-json", "-"))
    expect("options of a command of a command", options_of("collections", "add"),
           offers("collections", "add", "lists.txt", "-"))
    expect("options after a file", True, "--infer" in offers("to-json", "a.txt", "--in"))
    expect("files", files, offers("to-json", ""))
    expect("files after --", files, offers("to-json", "--", "-"))
    expect("files to write", files, offers("to-json", "a.txt", "-o", ""))
    expect("encodings", True, "utf-8" in offers("to-json", "--encoding", "utf"))


def check_names(shell: list[str], script: str, file: str, folder: pathlib.Path, quoted: str, dashes: set[str]) -> None:
    books, lists = folder / "my books.txt", folder / "lists.txt"
    books.write_bytes(program.encoded("Title|Price|;a|1|;"))
    lists.write_bytes(program.encoded("DataString|Name|;A<>1<>|Books|;|Old ones|;"))

    def lines(*words: str) -> set[str]:
        return offered(shell, script, file, *words, by_line=True) - dashes

    expect("columns", {"Title", "Price"}, lines("view", f"'{books}'", "--columns", ""))
    expect("of an escaped path", {"Title", "Price"}, lines("check", str(books).replace(" ", "\\ "), "--key", ""))
    expect("collections", {"Books", quoted}, lines("view", str(lists), ""))
    expect("of a command of a command", {"Books", quoted}, lines("collections", "remove", str(lists), ""))
    expect("of an option", {"Books", quoted}, lines("cat", str(lists), "--collection", ""))
    expect("no file", set(), lines("view", f"$(touch {folder}/run)", "--columns", ""))
    expect("nothing was run", False, (folder / "run").exists())


def test_names_in_bash(folder: pathlib.Path) -> None:
    check_names(["bash", "--norc"], COMPLETE_BASH, "brindlex.bash", folder, "Old\\ ones", {""})
    expect("beginning", {"Price"}, offered(["bash", "--norc"], COMPLETE_BASH, "brindlex.bash", "view",
                                           str(folder / "my books.txt").replace(" ", "\\ "), "--columns", "P"))


def test_names_in_zsh(folder: pathlib.Path) -> None:
    check_names(["zsh", "-f"], COMPLETE_ZSH, "_brindlex", folder, "Old ones", {"--", ""})


def test_bash(_: pathlib.Path) -> None:
    # Nothing offered means that bash offers files.
    check(["bash", "--norc"], COMPLETE_BASH, "brindlex.bash", set())


def test_zsh(_: pathlib.Path) -> None:
    if shutil.which("zsh") is None:
        raise AssertionError("zsh is missing: ./dev setup installs it")
    check(["zsh", "-f"], COMPLETE_ZSH, "_brindlex", {"FILES"})


program.main(globals())
