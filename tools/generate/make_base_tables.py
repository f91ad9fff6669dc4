#!/usr/bin/env python3
"""Writes bases/base_tables.h: the powers of the number bases and where their digit counts change.

Everything is computed exactly or far beyond double precision and rounded once, so that no run
time's log or pow decides a digit:

- A power b^k is an exact fraction; Python rounds the division of whole numbers correctly.
- A logarithm is taken to 60 decimal digits and rounded once to a double. No double's logarithm
  comes closer than about 36 digits to a rounding boundary (Lefevre and Muller's worst cases), so
  the rounding is right; the script checks the distance it relies on nevertheless.
- The quotient of two rounded logarithms grows with its dividend, so the least double whose quotient
  reaches k is found by halving an interval of bit patterns. It lies near b^k and is written down as
  its distance from the rounded power, in steps from one double to the next.

The output is to be passed through clang-format.
"""
import math
import struct
import sys
from decimal import Decimal, getcontext
from fractions import Fraction

BASES = (2, 8, 10, 16, 26, 30, 31, 32, 60)
POWERS_OF_TWO = (2, 8, 16, 32)
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


def check_rounding():
    """Python's own roundings, against the definition: no double is nearer to b^k."""
    for base in BASES:
        for exponent in (-300, -100, -23, -7, 23, 40, 150):
            bits = power_bits(base, exponent)
            if not 0 < bits < LARGEST_BITS:
                continue
            exact = Fraction(base) ** exponent
            error = abs(Fraction(from_bits(bits)) - exact)
            for other in (bits - 1, bits + 1):
                assert error <= abs(Fraction(from_bits(other)) - exact)


def print_array(kind, name, values):
    print("inline constexpr %s %s[] = {" % (kind, name))
    print(", ".join(values))
    print("};")
    print()


def main():
    check_rounding()
    rows = []
    print("#pragma once")
    print()
    print("// Made by tools/generate/make_base_tables.py.")
    print()
    print("#include <cstdint>")
    print("#include <span>")
    print()
    print("namespace brindlex {")
    print()
    for base in BASES:
        powers, lowest_power = [], 0
        if base not in POWERS_OF_TWO:
            lowest_power = min(k for k in range(-400, 0) if power_bits(base, k) != 0)
            exponent = lowest_power
            while power_bits(base, exponent) != INFINITY_BITS:
                powers.append(from_bits(power_bits(base, exponent)).hex())
                exponent += 1
            print_array("double", "kPowersOf%d" % base, powers)
        log_base = rounded_log(float(base))
        lowest_count = quotient_floor(1, log_base) + 1
        highest_count = quotient_floor(LARGEST_BITS, log_base)
        slips = [
            str(threshold_bits(base, log_base, count) - power_bits(base, count))
            for count in range(lowest_count, highest_count + 1)
        ]
        print_array("std::int16_t", "kSlipsOf%d" % base, slips)
        powers_name = "kPowersOf%d" % base if powers else "{}"
        bits = base.bit_length() - 1 if base in POWERS_OF_TWO else 0
        log_of_two = math.floor(2**20 * math.log(2) / math.log(base))
        rows.append(
            "{%d, %d, %d, %d, %s, %d, kSlipsOf%d}"
            % (base, bits, log_of_two, lowest_power, powers_name, lowest_count, base)
        )
    print("/// What there is to know of one base by heart.")
    print("struct BaseTable {")
    print("  std::int32_t base;")
    print("  /// How many bits one digit has; 0 when the base is no power of two.")
    print("  std::int32_t digitBits;")
    print("  /// The logarithm of 2 to this base, times 2^20, cut.")
    print("  std::int32_t logOfTwo;")
    print("  /// The least exponent whose power does not round to 0; 0 for a power of two.")
    print("  std::int32_t lowestPower;")
    print("  /// The correctly rounded powers from lowestPower to the last that is finite; empty for a")
    print("  /// power of two.")
    print("  std::span<const double> powers;")
    print("  /// The least k that a quotient of logarithms ln(x) / ln(base) reaches for some doubles only.")
    print("  std::int32_t lowestThreshold;")
    print("  /// For k from lowestThreshold: how many doubles the least x whose quotient reaches k lies")
    print("  /// behind the rounded power base^k. Beyond the last entry no double reaches k.")
    print("  std::span<const std::int16_t> slips;")
    print("};")
    print()
    print("/// Ordered by base.")
    print("inline constexpr BaseTable kBaseTables[] = {")
    for row in rows:
        print("    %s," % row)
    print("};")
    print()
    print("}  // namespace brindlex")


if __name__ == "__main__":
    sys.exit(main())
