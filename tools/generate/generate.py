"""Brings every generated file of the tree up to date.

usage: generate.py ROOT [--check]

With --check writes nothing, and fails when a file is not what would be written. Files that are made at
build time, such as the manifest and the dispatch tables, are the build's business.
"""

import pathlib
import subprocess
import sys

IDL = "server/Brindlex.idl"
BASES = "bases/bases.txt"
# Generator, source, generated file.
FILES = (
    ("make_reference.py", IDL, "docs/reference.md"),
    ("make_pascal.py", IDL, "examples/pascal/Brindlex_TLB.pas"),
    ("make_type_library_text.py", IDL, "tests/com/interface/type_library.txt"),
    ("make_base_tables.py", BASES, "bases/base_tables.h"),
    ("make_bases_page.py", BASES, "docs/number-bases.md"),
)
FORMATTER = "clang-format-14"


def main(root: str, *options: str) -> int:
    tools = pathlib.Path(__file__).parent
    status = 0
    for generator, source, made in FILES:
        command = [sys.executable, "-B", str(tools / generator), source, made, *options]
        status |= subprocess.run(command, cwd=root, check=False).returncode
        if made.endswith(".h") and not options:
            subprocess.run([FORMATTER, "-i", made], cwd=root, check=True)
    return status


sys.exit(main(*sys.argv[1:]))
