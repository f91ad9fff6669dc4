#!/usr/bin/env python3
"""Writes what is known of the number bases as a header: digits, powers, and where digit counts change.

usage: make_base_tables.py BASES HEADER [--check]

BASES is bases/bases.txt. With --check writes nothing, and fails when HEADER says anything else than what
would be written; its layout is clang-format's, through which the caller has it pass.

Everything is computed exactly or far beyond double precision and rounded once, so that no run
time's log or pow decides a digit:

- A power b^k is an exact fraction; Python rounds the division of whole numbers correctly.
- A logarithm is taken to 60 decimal digits and rounded once to a double. No double's logarithm
  comes closer than about 36 digits to a rounding boundary (Lefevre and Muller's worst cases), so
  the rounding is right; the script checks the distance it relies on nevertheless.
- The quotient of two rounded logarithms grows with its dividend, so the least double whose quotient
  reaches k is found by halving an interval of bit patterns. It lies near b^k and is written down as
  its distance from the rounded power, in steps from one double to the next.
"""
import math
import pathlib
import re
import struct
import sys
from decimal import Decimal, getcontext
from fractions import Fraction

import bases

LARGEST_BITS = 0x7FEFFFFFFFFFFFFF
INFINITY_BITS = 0x7FF0000000000000

getcontext().prec = 60


def from_bits(bits):
    return struct.unpack("<d", struct.pack("<Q", bits))[0]


def to_bits(value):
    return struct.unpack("<Q", struct.pack("<d", value))[0]


def rounded_log(value):
    """The natural logarithm of a positive double, correctly rounded."""
    exact = Decimal(value).ln()
    nearest = float(exact)
    if nearest != 0.0:
        for neighbour in (math.nextafter(nearest, -math.inf), math.nextafter(nearest, math.inf)):
            middle = (Decimal(nearest) + Decimal(neighbour)) / 2
            assert abs(exact - middle) > abs(exact) * Decimal("1e-50")
    return nearest


def power_bits(base, exponent):
    """The bit pattern of b^k, rounded to the nearest double; that of infinity beyond the largest."""
    try:
        if exponent >= 0:
            return to_bits(float(base**exponent))
        return to_bits(1 / base**-exponent)
    except OverflowError:
        return INFINITY_BITS


def quotient_floor(bits, log_base):
    return math.floor(rounded_log(from_bits(bits)) / log_base)


def threshold_bits(base, log_base, count):
    """The bit pattern of the least double whose rounded quotient is `count` or more."""
    near = min(max(power_bits(base, count), 1), LARGEST_BITS)
    reach = 4
    while True:
        low, high = max(near - reach, 0), min(near + reach, LARGEST_BITS)
        low_below = low == 0 or quotient_floor(low, log_base) < count
        if low_below and quotient_floor(high, log_base) >= count:
            break
        reach *= 4
    while high - low > 1:
        middle = (low + high) // 2
        if quotient_floor(middle, log_base) >= count:
            high = middle
        else:
            low = middle
    return high


def check_rounding(base):
    """Python's own roundings, against the definition: no double is nearer to b^k."""
    for exponent in (-300, -100, -23, -7, 23, 40, 150):
        bits = power_bits(base, exponent)
        if not 0 < bits < LARGEST_BITS:
            continue
        exact = Fraction(base) ** exponent
        error = abs(Fraction(from_bits(bits)) - exact)
        for other in (bits - 1, bits + 1):
            assert error <= abs(Fraction(from_bits(other)) - exact)


def array_lines(kind, name, values):
    return [f"inline constexpr {kind} {name}[] = {{", ", ".join(values), "};", ""]


def base_lines(row):
    """The arrays of one base, and its row in the table."""
    base = row.base
    lines, powers, lowest_power = [], [], 0
    bits = base.bit_length() - 1 if base & (base - 1) == 0 else 0
    if not bits:
        lowest_power = min(k for k in range(-400, 0) if power_bits(base, k) != 0)
        exponent = lowest_power
        while power_bits(base, exponent) != INFINITY_BITS:
            powers.append(from_bits(power_bits(base, exponent)).hex())
            exponent += 1
        lines += array_lines("double", f"kPowersOf{base}", powers)
    log_base = rounded_log(float(base))
    lowest_count = quotient_floor(1, log_base) + 1
    highest_count = quotient_floor(LARGEST_BITS, log_base)
    slips = [
        str(threshold_bits(base, log_base, count) - power_bits(base, count))
        for count in range(lowest_count, highest_count + 1)
    ]
    lines += array_lines("std::int16_t", f"kSlipsOf{base}", slips)
    log_of_two = math.floor(2**20 * math.log(2) / math.log(base))
    return lines, (
        f'{{{base}, DigitStyle::k{row.digits.capitalize()}, u"{row.alphabet}", u"{row.no_digit}", {bits}, '
        f"{log_of_two}, {lowest_count}, {lowest_power}, {f'kPowersOf{base}' if powers else '{}'}, "
        f"kSlipsOf{base}}}"
    )


def header(all_bases):
    lines = [
        "#pragma once",
        "",
        "// Made from bases/bases.txt by tools/generate/make_base_tables.py.",
        "",
        "#include <cstdint>",
        "",
        '#include "bases/base_table.h"',
        "",
        "namespace brindlex {",
        "",
    ]
    rows = []
    for base in all_bases:
        check_rounding(base.base)
        arrays, row = base_lines(base)
        lines += arrays
        rows.append(f"    {row},")
    lines += ["/// Ordered by base.", "inline constexpr BaseTable kBaseTables[] = {", *rows, "};"]
    return "\n".join([*lines, "", "}  // namespace brindlex", ""])


def main(source, path, *rest):
    text = header(bases.read_bases(source))
    file = pathlib.Path(path)
    if not rest:
        file.write_text(text, encoding="ascii", newline="\n")
        return 0
    # A formatter moves whitespace only.
    written = file.read_text(encoding="ascii")
    if re.sub(r"\s", "", written) == re.sub(r"\s", "", text):
        return 0
    print(f"{path} is out of date; run ./dev generate")
    return 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
