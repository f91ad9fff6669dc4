"""Writes the parts of docs/number-bases.md that follow from the table of bases.

usage: make_bases_page.py BASES PAGE [--check]

BASES is bases/bases.txt. A part is between the lines "<!-- made from the table of bases -->" and
"<!-- end -->"; the rest of the page is written by hand. With --check writes nothing, and fails when a
part is not what would be written.
"""

import pathlib
import re
import sys

import bases
import generated

PART = re.compile(r"(<!-- made from the table of bases -->\n)(.*?)(<!-- end -->)", re.DOTALL)


def digits(base: bases.Base) -> str:
    if base.digits == "sexagesimal":
        return f"`00:` to `{base.base - 1}:`, {base.digit_width} characters each"
    return f"`{base.alphabet}`"


def table(all_bases: list[bases.Base]) -> str:
    lines = ["| Base | Digits, 0 first | Fractional digits that can be read |", "|---|---|---|"]
    lines += [f"| {base.base} | {digits(base)} | {base.fraction_digits} |" for base in all_bases]
    return "\n".join([*lines, ""])


def main(source: str, path: str, *rest: str) -> int:
    page = pathlib.Path(path).read_text(encoding="utf-8")
    made, count = PART.subn(lambda match: match[1] + table(bases.read_bases(source)) + match[3], page)
    if count != 1:
        print(f"{path} has no place for the table of bases")
        return 1
    return generated.write_or_check(path, made, rest)


sys.exit(main(*sys.argv[1:]))
