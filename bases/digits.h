#pragma once

#include <cstddef>
#include <cstdint>

#include "automation/text.h"
#include "bases/number.h"

namespace brindlex {

/// The digits of the number bases 2, 8, 10, 16, 26, 30, 31, 32 and 60. Errors with number 13 carry
/// the operation's own name as their source. Any thread may call.

/// The characters that digits are written with, value 0 first. They are part of the external
/// format.
inline constexpr TextView kAlphabet16 = u"0123456789ABCDEF";
inline constexpr TextView kAlphabet26 = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
inline constexpr TextView kAlphabet30 = u"123456789BCDFGHJKLMNPQRSTVWXYZ";
inline constexpr TextView kAlphabet31 = u"23456789ABCDEFGHJKLMNPQRSTVWXYZ";
inline constexpr TextView kAlphabet32 = u"123456789ABCDEFGHJKLMNPQRSTVWXYZ";

/// The digits of `base`, of which each is one character; of base 60 the numerals that a digit is
/// written with. Empty for the bases that have no digits.
constexpr TextView AlphabetOf(std::int32_t base) {
  switch (base) {
    case 2:
    case 8:
    case 10:
      return kAlphabet16.substr(0, static_cast<std::size_t>(base));
    case 16:
      return kAlphabet16;
    case 26:
      return kAlphabet26;
    case 30:
      return kAlphabet30;
    case 31:
      return kAlphabet31;
    case 32:
      return kAlphabet32;
    case 60:
      return AlphabetOf(10);
    default:
      return {};
  }
}

/// How many characters one digit of `base` takes: 3 in base 60 ("00:" to "59:"), else 1.
constexpr std::int32_t DigitWidth(std::int32_t base) { return base == 60 ? 3 : 1; }

/// The text of the digit with value `digit`.
///
/// Error 13 "Invalid digit for base" when `digit` is not less than `base`, whatever the base; error
/// 13 "Unknown base"; error 5 for a negative digit of an alphabet. Other negative digits pass: they
/// are written as the numeral with its sign, of which base 60 keeps the last two characters.
Text ConvertDigit(std::int32_t digit, std::int32_t base);

/// The value of the digit `digitText`.
///
/// Bases 2, 8, 10: the whole number that the text reads as; error 13 "Invalid character" when it
/// reads as none, "Invalid digit for base" when it is not less than `base`. A negative one passes.
/// Other alphabets: where the text first occurs in the alphabet, so that "AB" is 10 in base 16 and
/// the empty text 0 in all; error 13 "Invalid digit for base" (base 16) or "Invalid Alpha
/// Character" when it does not occur. Base 60: error 13 "Invalid digit for base" for anything but
/// two numeric characters, below 60, and a colon. Other bases: error 13 "Unknown base". Error 6
/// when a number that was read does not fit 32 bits.
std::int32_t DeconvertDigit(TextView digitText, std::int32_t base, const NumberText& reading);

/// Raises the error that ConvertDigit raises when `digit` is not less than the base.
[[noreturn]] void RaiseInvalidDigit();

/// Raises the error that ConvertDigit raises for a base that has no digits.
[[noreturn]] void RaiseUnknownBase();

}  // namespace brindlex
