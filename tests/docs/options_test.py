"""docs/tool-reference.md has every option of every command, in the section of the command or in a group of options that
the section links to.

usage: options_test.py PROGRAM
"""

import re
import subprocess
import sys

import blocks

REFERENCE = "docs/tool-reference.md"
OPTION = re.compile(r"(?<![\w-])-(?:-[a-z][a-z-]*|[a-z])(?![\w-])")
# They are the same everywhere.
COMMON = {"--help", "-h", "--version"}


def sections() -> dict[str, str]:
    """By anchor, the text up to the next heading."""
    parts = re.split(r"^#+ (.*)$", (blocks.ROOT / REFERENCE).read_text(encoding="utf-8"), flags=re.MULTILINE)
    return {title.lower().replace(" ", "-"): text for title, text in zip(parts[1::2], parts[2::2])}


def help_of(program: str, *command: str) -> str:
    return subprocess.run([program, *command, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout


def names(text: str, heading: str) -> list[str]:
    """The commands or options that a help text lists below a heading."""
    _, found, listed = text.partition(f"\n{heading}:\n")
    listed = listed.split("\n\n")[0] if found else ""
    if heading == "Subcommands":
        return re.findall(r"^  (\S+)", listed, re.MULTILINE)
    starts = re.findall(r"^  (-\S+)", listed, re.MULTILINE)
    return [name for start in starts for name in OPTION.findall(start) if name not in COMMON]


def documented(known: dict[str, str], command: str) -> set[str]:
    text = known[command]
    groups = re.findall(r"\]\(#(options-[a-z-]+)\)", text)
    # The first column of a table, or the sentence that links to the groups.
    return set(OPTION.findall(text + "".join(known[group] for group in groups)))


def main(program: str) -> int:
    known = sections()
    failures = []
    commands = [name for name in names(help_of(program), "Subcommands") if name != "help"]
    for command in commands:
        text = help_of(program, command)
        options = set(names(text, "Options"))
        for inner in names(text, "Subcommands"):
            options |= set(names(help_of(program, command, inner), "Options"))
        missing = sorted(options - documented(known, command)) if command in known else ["its section"]
        if missing:
            failures.append(f"{REFERENCE}: {command} lacks {', '.join(missing)}")
        print(f"{command}: {len(options)} options")
    # No option is documented that no command has.
    every = {option for command in commands for option in OPTION.findall(help_of(program, command))}
    for command in ("add", "extract", "remove", "rename"):
        every |= set(OPTION.findall(help_of(program, "collections", command)))
    tables = "".join(line for text in known.values() for line in re.findall(r"^\| `-.*$", text, re.MULTILINE))
    failures += [f"{REFERENCE}: no command has {option}" for option in sorted(set(OPTION.findall(tables)) - every)]
    print("\n".join(failures))
    return 1 if failures or len(commands) < 10 else 0


sys.exit(main(*sys.argv[1:]))
