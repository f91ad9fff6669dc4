#pragma once

#include <cstdint>
#include <span>

#include "automation/text.h"

namespace brindlex {

/// How a base writes and reads its digits.
enum class DigitStyle {
  /// As the decimal number that the digit is.
  kNumeral,
  /// As one character of the alphabet, which has one for each digit.
  kLetter,
  /// As two numerals and a colon: "00:" to "59:".
  kSexagesimal,
};

/// What is known of one base: its digits, from bases/bases.txt, and what follows from its number
/// alone.
struct BaseTable {
  std::int32_t base;
  DigitStyle style;
  /// The characters that digits are written with, value 0 first.
  TextView alphabet;
  /// The description of the error for a text that is no digit of the base.
  TextView noDigit;
  /// How many bits one digit has; 0 when the base is no power of two.
  std::int32_t digitBits;
  /// The logarithm of 2 to this base, times 2^20, truncated.
  std::int32_t logOfTwo;
  /// The least k that a quotient of logarithms ln(x) / ln(base) reaches for some doubles only.
  std::int32_t lowestThreshold;
  /// The least exponent whose power does not round to 0; 0 for a power of two.
  std::int32_t lowestPower;
  /// The correctly rounded powers from lowestPower to the last that is finite; empty for a
  /// power of two.
  std::span<const double> powers;
  /// For k from lowestThreshold: the distance, in doubles, from the rounded power base^k to the
  /// least x whose quotient reaches k. After the last entry no double reaches k.
  std::span<const std::int16_t> slips;
};

}  // namespace brindlex
