"""Makes the man page of brindlex from the help that the program itself shows.

usage: make_man.py PROGRAM PAGE [--check]

With --check nothing is written: the page must be the one that would be.
"""

import pathlib
import re
import subprocess
import sys

HEAD = r""".\" Made by tools/generate/make_man.py from the program's own help.
.TH BRINDLEX 1 "" "brindlex @version@" "User Commands"
.SH NAME
brindlex \- show, check, convert and repair collections kept as delimited text
.SH SYNOPSIS
.B brindlex
.I COMMAND
.RI [ OPTION ...]
.RI [ ARGUMENT ...]
.SH DESCRIPTION
A file holds one collection of records, with a header of field names, or several collections by name.
The program detects which of the two it is, the markers and the encoding; options override each.
Data goes to standard output, everything else to standard error.
A file is written as a whole or not at all, and an existing one is overwritten only with
.BR \-\-force .
.B \-
is standard input or output,
.B \-\-
ends the options. The program never asks anything.
"""
TAIL = r""".SH EXIT STATUS
.TP
.B 0
Success: no defects.
.TP
.B 1
The input was read and has defects, or cannot be converted as it is; with diff, the files differ.
.TP
.B 2
Usage error: the command line is wrong, or asks for what cannot be done.
.TP
.B 3
I/O error: a file could not be read or written; with diff, or not be compared.
.SH ENVIRONMENT
.TP
.B NO_COLOR
Set and not empty: no colours, not even on a terminal.
.TP
.B PAGER
The command through which view shows what is longer than the terminal; set to nothing, none.
.SH SEE ALSO
.BR jq (1),
.BR iconv (1)
"""


def help_of(program: str, *command: str) -> list[str]:
    done = subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True,
                          timeout=60)
    return done.stdout.split("\n")


def sections(lines: list[str]) -> dict[str, list[str]]:
    """The lines below each heading; those above the first under ""."""
    found: dict[str, list[str]] = {"": []}
    name = ""
    for line in lines:
        heading = re.fullmatch(r"([A-Z][a-z]+):(.*)", line)
        if heading:
            name = heading.group(1)
            found[name] = [heading.group(2).strip()] if heading.group(2) else []
        elif line.strip():
            found[name].append(line)
    return found


def items(lines: list[str]) -> list[tuple[str, str]]:
    """Name and description; a description may begin below a long name."""
    found: list[tuple[str, str]] = []
    for line in lines:
        item = re.match(r"  (\S.*?)(?:  +(.*))?$", line)
        if item:
            found.append((item.group(1), item.group(2) or ""))
        else:
            name, text = found[-1]
            found[-1] = (name, (text + " " + line.strip()).strip())
    return found


def roff(text: str) -> str:
    text = text.replace("\\", r"\e").replace("-", r"\-").replace("'", r"\(aq")
    return r"\&" + text if text.startswith(".") else text


def bold(name: str) -> str:
    name = re.sub(r" (REQUIRED|\.\.\.|Excludes: .*)$", "", name)
    option, _, value = name.partition(" ")
    return rf"\fB{roff(option)}\fR" + (rf" \fI{roff(value)}\fR" if value else "")


def listed(lines: list[str]) -> list[str]:
    page = []
    for name, text in items(lines):
        if not name.startswith("-h,"):
            page += [".TP", bold(name), roff(text)]
    return page


def command_page(program: str, *command: str) -> list[str]:
    parts = sections(help_of(program, *command))
    page = [".SS " + roff(" ".join(command))]
    page += [roff(line) for line in parts[""]]
    page += [".PP", rf"\fBbrindlex {roff(' '.join(command))}\fR"
             + roff(parts["Usage"][0].removeprefix("brindlex " + " ".join(command)))]
    page += listed(parts.get("Positionals", [])) + listed(parts.get("Options", []))
    if "Examples" in parts:
        page += [".PP", "Examples:", ".PP", ".nf", ".RS 4"]
        page += [roff(line.removeprefix("  ")) for line in parts["Examples"]] + [".RE", ".fi"]
    for name, _ in items(parts.get("Subcommands", [])):
        page += command_page(program, *command, name)
    return page


def make(program: str) -> str:
    version = subprocess.run([program, "--version"], capture_output=True, text=True, check=True,
                             timeout=60).stdout.split()[-1]
    commands = items(sections(help_of(program))["Subcommands"])
    page = [HEAD.replace("@version@", version) + ".SH COMMANDS"]
    for name, _ in commands:
        page += command_page(program, name)
    return "\n".join(page) + "\n" + TAIL


def main() -> int:
    program, page = sys.argv[1], pathlib.Path(sys.argv[2])
    made = make(program)
    if "--check" not in sys.argv:
        page.write_text(made, encoding="utf-8")
    elif page.read_text(encoding="utf-8") != made:
        print(f"{page} is not what the program's help makes: tools/generate/make_man.py {program} {page}")
        return 1
    return 0


sys.exit(main())
