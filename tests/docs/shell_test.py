"""Runs the shell blocks of the documentation in the order of each page, and compares what they print with what the
page shows.

usage: shell_test.py PROGRAM [--update]

Every block marked "sh" of the pages that blocks.py names is run by bash, all of a page in one folder, which is empty at
first. A block marked "text" right after one is what it prints; a line <!-- exits with status N --> before one is its exit
status, if that is not 0. With --update the pages get what was printed.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import blocks

TOOLS = ("git", "jq", "mlr", "sqlite3", "vd")
BLOCK = re.compile(r"(?:<!-- exits with status (\d) -->\n)?^```sh\n(.*?)^```$(?:\n\n```text\n(.*?)^```$)?",
                   re.MULTILINE | re.DOTALL)
# A record in the form of the file that the guide begins with: UTF-8, and a line break after each record end.
RECORD_END, LINE_BREAK = "\u0152".encode(), b"\r\n"
SAME_FORM = ("cheap", "sorted", "titles", "once", "joined", "updated", "edited", "kim", "library")


# What a page takes for granted.
ASSUMED = {
    "docs/faq.md": "printf 'Name,City\\nAnn,Oslo\\n' | brindlex from-csv - -o members.txt; "
                   "brindlex collections add lists.txt Shopping members.txt --in-place",
}


def environment(program: str, home: str) -> dict[str, str]:
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("GIT_", "LC_"))}
    return {**kept, "HOME": home, "LANG": "C.UTF-8", "TERM": "dumb", "NO_COLOR": "1",
            "PATH": os.path.dirname(os.path.abspath(program)) + ":" + kept["PATH"],
            "GIT_CONFIG_NOSYSTEM": "1", "GIT_PAGER": "cat",
            "GIT_AUTHOR_NAME": "a", "GIT_AUTHOR_EMAIL": "a@b", "GIT_COMMITTER_NAME": "a", "GIT_COMMITTER_EMAIL": "a@b"}


def prepare(program: str, page: str, folder: str) -> None:
    if page in ASSUMED:
        subprocess.run(["bash", "-euo", "pipefail", "-c", ASSUMED[page]], cwd=folder, check=True, timeout=120,
                       env=environment(program, folder))


def run_page(program: str, page: str, text: str, folder: str) -> tuple[str, int, list[str]]:
    """The page with what its blocks print, their number, and what is wrong with them."""
    failures: list[str] = []
    count = 0
    with tempfile.TemporaryDirectory() as home:
        own = environment(program, home)

        def run(match: re.Match) -> str:
            nonlocal count
            count += 1
            status, commands, shown = int(match[1] or 0), match[2], match[3]
            done = subprocess.run(["bash", "-euo", "pipefail", "-c", commands], cwd=folder, env=own, timeout=120,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  check=False)
            printed = done.stdout.decode("utf-8").replace("\r\n", "\n")
            # Columns are padded; a page has no blanks at the end of a line.
            printed = re.sub(r" +$", "", printed, flags=re.MULTILINE)
            if done.returncode != status:
                failures.append(f"{page}: exit status {done.returncode} instead of {status}\n{commands}{printed}")
            if shown is None:
                return match[0]
            if shown != printed:
                failures.append(f"{page}:\n{commands}shows:\n{shown}prints:\n{printed}")
            return match[0].removesuffix(shown + "```") + printed + "```"

        return BLOCK.sub(run, text), count, failures


def check_forms(folder: pathlib.Path) -> list[str]:
    """What the recipes are for: the result has the form of the original."""
    failures = []
    for name in SAME_FORM:
        content = (folder / f"{name}.txt").read_bytes()
        ends = content.count(RECORD_END)
        if ends < 2 or content.count(RECORD_END + LINE_BREAK) != ends:
            failures.append(f"{name}.txt does not have the encoding, the markers and the line breaks of books.txt")
    return failures


def check_carried(program: str) -> list[str]:
    """The format that --with-format carries: both forms of the example are the same file, from which they come again."""
    def convert(command: str, text: bytes, *options: str) -> bytes:
        return subprocess.run([program, command, "-", *options], input=text, stdout=subprocess.PIPE, check=True).stdout

    made, failures = set(), []
    for page in blocks.pages_with(blocks.CARRIED):
        for block in blocks.blocks_of(page):
            if blocks.TREATMENT[page, block.language] != blocks.CARRIED:
                continue
            file = convert(f"from-{block.language}", block.code.encode())
            made.add(file)
            again = convert(f"to-{block.language}", file, "--with-format").decode().replace("\r\n", "\n")
            if again != block.code:
                failures.append(f"{page} shows:\n{block.code}comes back as:\n{again}")
    return failures if len(made) == 1 else [*failures, "the examples of --with-format make different files"]


def main(program: str, *options: str) -> int:
    failures = [f"{tool} is missing: ./dev setup installs it" for tool in TOOLS
                if shutil.which(tool) is None]
    failures += check_carried(program)
    for page in blocks.pages_with(blocks.SHELL):
        path = blocks.ROOT / page
        text = path.read_text(encoding="utf-8")
        with tempfile.TemporaryDirectory() as folder:
            prepare(program, page, folder)
            shown, count, wrong = run_page(program, page, text, folder)
            if page == blocks.GUIDE:
                wrong += check_forms(pathlib.Path(folder))
        if "--update" in options and shown != text:
            path.write_text(shown, encoding="utf-8")
        failures += wrong if count else [f"{page} has no shell blocks"]
        print(f"{page}: {count} blocks")
    print("\n".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
