"""Prints cli/text/width_table.h: which characters take two columns of a terminal, and which take none.

usage: make_width_table.py >cli/text/width_table.h

From Python's copy of the Unicode data, whose version is in the result. Two columns: East Asian Width
wide or fullwidth. None: marks that combine with the character before them, and characters of format,
but for the soft hyphen, which terminals show.
"""

import sys
import unicodedata

SOFT_HYPHEN = 0xAD


def columns(number: int) -> int:
    character = chr(number)
    category = unicodedata.category(character)
    if number != SOFT_HYPHEN and (category in ("Mn", "Me", "Cf") or 0x1160 <= number <= 0x11FF):
        return 0
    return 2 if unicodedata.east_asian_width(character) in "WF" else 1


def runs(wanted: int):
    first = None
    for number in range(sys.maxunicode + 2):
        is_in = number <= sys.maxunicode and columns(number) == wanted
        if is_in and first is None:
            first = number
        elif not is_in and first is not None:
            yield first, number - 1
            first = None


def table(name: str, wanted: int) -> str:
    rows = [f"{{0x{first:04X}, 0x{last:04X}}}" for first, last in runs(wanted)]
    return f"inline constexpr ColumnRun {name}[] = {{{', '.join(rows)}}};\n"


print(f"""#pragma once

// Made by tools/generate/make_width_table.py from the data of Unicode {unicodedata.unidata_version}.

namespace brindlex::cli {{

/// Characters from `first` to `last`, both included.
struct ColumnRun {{
  char32_t first;
  char32_t last;
}};

{table("kNoColumns", 0)}
{table("kTwoColumns", 2)}
}}  // namespace brindlex::cli""")
