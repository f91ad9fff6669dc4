#pragma once

#include <cstdint>
#include <optional>
#include <variant>

#include "automation/text.h"
#include "bases/digits.h"
#include "bases/number.h"
#include "bases/number_writer.h"

namespace brindlex {

/// The module mBases: converts numbers between the number bases that bases/bases.txt lists. Its
/// single-digit operations are in bases/digits.h.
///
/// The text of a number is an optional "-", integer digits and, perhaps, "." and fractional digits,
/// with no other characters. Errors are raised, none is caught; with number 13 they carry the
/// operation's own name as their source. Any thread may call.

/// A result of ConvertBase.
using TextOrDouble = std::variant<Text, double>;

/// `number` as text in `base`.
///
/// Error 13 "Number must be decimal" when it is not numeric, then error 13 "Invalid base" when
/// `base` is less than 2, then the errors of `number`'s own reading and of WriteNumber. Once the
/// first two checks have passed, and only then, limits.tolerance becomes its absolute value.
Text ConvertDec2Base(const Number& number, std::int32_t base, ConversionLimits& limits,
                     const NumberText& reading);

/// The same into an empty `text`, which is of no use after an error.
void ConvertDec2Base(const Number& number, std::int32_t base, ConversionLimits& limits,
                     const NumberText& reading, DigitBuffer& text);

/// The number whose text in `base` is `text`; 0 for the empty text.
///
/// Each digit multiplies what was read so far by the base, in double arithmetic, and adds itself;
/// after the point a 32-bit divisor grows along, by which the value is divided at the end. A
/// leading "-", and any further one while the value is 0, flips the sign.
///
/// Error 13 "Invalid Base" when `base` is less than 2; while reading from left to right, error 13
/// "More than one decimal point", error 13 "Invalid negation" for a "-" after a value other than 0
/// or after the point, the errors of DeconvertDigit, error 6 when the number exceeds the largest
/// double or the divisor 32 bits (at more fractional digits than 30 in base 2, 9 in base 10, 7 in
/// base 16, 5 in base 60).
double ConvertBase2Dec(TextView text, std::int32_t base, const NumberText& reading);

/// `number`, which is decimal or the text of a number in `fromBase`, in `toBase`.
///
/// A decimal number that begins with 0 (see BeginsWithZero) gives the text of the digit 0, also in
/// base 10. Otherwise the result is a double when `toBase` is 10 and text when it is another.
///
/// Error 13 "Not a decimal number" for a decimal number that is not numeric; the errors of the
/// three operations above; error 5 for a 0 that is not decimal. `limits` is used and changed by
/// ConvertDec2Base only.
TextOrDouble ConvertBase(const Number& number, std::int32_t fromBase, std::int32_t toBase,
                         ConversionLimits& limits, const NumberText& reading);

/// The same into an empty `text`, which is of no use after an error, unless the result is the
/// double that is returned.
std::optional<double> ConvertBase(const Number& number, std::int32_t fromBase, std::int32_t toBase,
                                  ConversionLimits& limits, const NumberText& reading,
                                  DigitBuffer& text);

}  // namespace brindlex
