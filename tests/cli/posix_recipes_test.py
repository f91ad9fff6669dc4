"""The recipes of the guide, run by the programs that they are written for."""

import os
import pathlib
import re
import shutil
import subprocess

import program
from program import encoded, expect

GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "tool.md"
HEAD = "Title|Author|Price|;"
EMMA, PERSUASION = "Emma|Austen|7|;", "Persuasion|Austen|9.50|;"
BOOKS = "".join([HEAD, PERSUASION, EMMA, "-|Zola|8|;", EMMA])
AUTHORS = "Author|Born|;Austen|1775|;Zola|1840|;"


def recipes() -> dict[str, str]:
    """The commands below each sentence of the section."""
    section = GUIDE.read_text(encoding="utf-8").split("\n## Recipes\n")[1].split("\n## ")[0]
    found = re.findall(r"\n\n([^\n]+(?:\n[^\n]+)*):\n\n```sh\n(.*?)```", section, re.DOTALL)
    return {sentence.replace("\n", " "): commands for sentence, commands in found}


def perform(folder: pathlib.Path, sentence: str, wanted: int = 0) -> str:
    (folder / "books.txt").write_bytes(encoded(BOOKS.replace(";", ";\r\n"), "utf-8-sig"))
    (folder / "authors.txt").write_bytes(encoded(AUTHORS))
    for tool in ("jq", "mlr", "sqlite3"):
        if shutil.which(tool) is None:
            raise AssertionError(f"{tool} is missing: ./dev setup installs it")
    own = {**os.environ, "PATH": os.path.dirname(program.COMMAND[-1]) + ":" + os.environ["PATH"]}
    commands = next(commands for known, commands in recipes().items() if known.startswith(sentence))
    done = subprocess.run(["bash", "-eo", "pipefail", "-c", commands], cwd=folder, env=own, capture_output=True,
                          timeout=120, check=False)
    expect((commands, done.stderr), wanted, done.returncode)
    return done.stdout.decode("utf-8")


def file(folder: pathlib.Path, name: str) -> str:
    content = (folder / name).read_bytes()
    expect("byte order mark", b"\xef\xbb\xbf", content[:3])
    text = content.decode("utf-8-sig").translate(str.maketrans("\xa5\u0152", "|;"))
    expect("record ends with a line break", text.count(";"), text.count(";\r\n"))
    return text.replace("\r\n", "")


def test_every_recipe_has_a_test(_: pathlib.Path) -> None:
    expect("recipes", 7, len(recipes()))


def test_filter_and_sort(folder: pathlib.Path) -> None:
    perform(folder, "Records that meet")
    expect("cheap", HEAD + EMMA + "-|Zola|8|;" + EMMA, file(folder, "cheap.txt"))
    expect("sorted", HEAD + "-|Zola|8|;" + EMMA + EMMA + PERSUASION, file(folder, "sorted.txt"))


def test_columns(folder: pathlib.Path) -> None:
    perform(folder, "Without some of the columns")
    expect("columns", "Title|Cost|;Persuasion|9.50|;Emma|7|;-|8|;Emma|7|;",
           file(folder, "titles.txt"))


def test_duplicates(folder: pathlib.Path) -> None:
    perform(folder, "Each record once")
    expect("once", HEAD + PERSUASION + EMMA + "-|Zola|8|;", file(folder, "once.txt"))


def test_join(folder: pathlib.Path) -> None:
    perform(folder, "The columns of another file")
    expect("joined", "Author|Born|Title|Price|;Austen|1775|Persuasion|9.50|;Austen|1775|Emma|7|;"
           "Zola|1840|-|8|;Austen|1775|Emma|7|;", file(folder, "joined.txt"))


def test_count(folder: pathlib.Path) -> None:
    lines = [line.split() for line in perform(folder, "How often").splitlines()]
    expect("count", [["Author", "count"], ["Austen", "3"], ["Zola", "1"]], lines)


def test_sqlite(folder: pathlib.Path) -> None:
    perform(folder, "Into SQLite")
    expect("updated", BOOKS.replace("|7|", "|8|"), file(folder, "updated.txt"))


def test_spreadsheet(folder: pathlib.Path) -> None:
    perform(folder, "In a spreadsheet")
    expect("edited", BOOKS, file(folder, "edited.txt"))


program.main(globals())
