#!/usr/bin/env python3
"""Writes automation/case_fold_table.h from Python's Unicode database.

The table holds Unicode simple case folding (statuses C and S of CaseFolding.txt) for the Basic
Multilingual Plane, as runs of code units that fold by the same offset. A to Z are left out: the
caller handles them first.
"""
import sys
import unicodedata


def simple_fold(code):
    char = chr(code)
    for folded in (char.casefold(), char.lower()):
        if len(folded) == 1 and ord(folded) < 0x10000:
            return ord(folded)
    return code


def runs():
    found = []
    for code in range(0x80, 0x10000):
        if 0xD800 <= code <= 0xDFFF:
            continue
        offset = simple_fold(code) - code
        if offset == 0:
            continue
        if found and found[-1]["offset"] == offset:
            run = found[-1]
            gap = code - run["last"]
            if gap <= 2 and run["stride"] in (0, gap):
                run["last"], run["stride"] = code, gap
                continue
        found.append({"first": code, "last": code, "stride": 0, "offset": offset})
    return found


def main():
    print("#pragma once")
    print()
    print("// Made by tools/generate/make_case_fold_table.py from Unicode %s." % unicodedata.unidata_version)
    print()
    print("#include <cstdint>")
    print()
    print("namespace brindlex {")
    print()
    print("/// Code units first, first + stride, ... last fold to themselves plus offset.")
    print("struct CaseFoldRun {")
    print("  char16_t first;")
    print("  char16_t last;")
    print("  std::int32_t stride;")
    print("  std::int32_t offset;")
    print("};")
    print()
    print("/// Ordered by first; the runs do not overlap.")
    print("inline constexpr CaseFoldRun kCaseFoldRuns[] = {")
    for run in runs():
        print("    {0x%04X, 0x%04X, %d, %d}," % (run["first"], run["last"], run["stride"] or 1, run["offset"]))
    print("};")
    print()
    print("}  // namespace brindlex")


if __name__ == "__main__":
    sys.exit(main())
