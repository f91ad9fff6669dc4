#pragma once

#include <cstdint>

#include "automation/text.h"
#include "bases/number.h"
#include "bases/powers.h"

namespace brindlex {

/// The digits of the number bases that bases/bases.txt lists. Errors with number 13 carry the
/// operation's own name as their source. Any thread may call.

/// The characters that the digits of `base` are written with, value 0 first; empty for the bases
/// that have no digits.
constexpr TextView AlphabetOf(std::int32_t base) {
  const BaseTable* const table = FindBaseTable(base);
  return table == nullptr ? TextView() : table->alphabet;
}

/// Whether a digit of `base` is written as two numerals and a colon.
constexpr bool IsSexagesimal(std::int32_t base) {
  const BaseTable* const table = FindBaseTable(base);
  return table != nullptr && table->style == DigitStyle::kSexagesimal;
}

/// How many characters one digit of `base` takes: 3 in a sexagesimal base ("00:" to "59:"), else 1.
constexpr std::int32_t DigitWidth(std::int32_t base) { return IsSexagesimal(base) ? 3 : 1; }

/// The text of the digit with value `digit`.
///
/// Error 13 "Invalid digit for base" when `digit` is not less than `base`, whatever the base; error
/// 13 "Unknown base"; error 5 for a negative digit of an alphabet. Other negative digits pass: they
/// are written as the numeral with its sign, of which base 60 keeps the last two characters.
Text ConvertDigit(std::int32_t digit, std::int32_t base);

/// The value of the digit `digitText`.
///
/// Bases whose digits are numerals (2, 8, 10): the whole number that the text reads as; error 13
/// with BaseTable::noDigit when it reads as none, "Invalid digit for base" when it is not less than
/// `base`. A negative one is accepted.
/// Letters: the position of the text's first occurrence in the alphabet, so that "AB" is 10 in base
/// 16 and the empty text 0 in all; error 13 with BaseTable::noDigit when it does not occur.
/// Sexagesimal: two numeric characters, together less than `base`, and a colon; error 13 with
/// BaseTable::noDigit for anything else.
/// Other bases: error 13 "Unknown base". Error 6 when a number that was read does not fit 32 bits.
std::int32_t DeconvertDigit(TextView digitText, std::int32_t base, const NumberText& reading);

/// Raises the error that ConvertDigit raises when `digit` is not less than the base.
[[noreturn]] void RaiseInvalidDigit();

/// Raises the error that ConvertDigit raises for a base that has no digits.
[[noreturn]] void RaiseUnknownBase();

}  // namespace brindlex
