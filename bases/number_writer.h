#pragma once

#include <cstdint>

#include "automation/text.h"
#include "bases/digit_buffer.h"

namespace brindlex {

/// The options of a conversion to text. A host passes them by reference, and changes are written
/// back to its variables.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of the arguments.
struct ConversionLimits {
  /// The most fractional digits to write; -1 for as many as the tolerance asks for, none when that
  /// is 0. Any other value below 1 means none.
  std::int32_t maxFractionDigits = -1;
  /// No further fractional digit is written once the rest is at or below it. A conversion
  /// replaces it by its absolute value.
  double tolerance = 1e-27;
  /// From 2 on: the number of integer digits is padded to a multiple of it.
  std::int32_t groupSize = 0;
};

/// Writes `x` in `base` (2 or more) into `buffer`: a "-" when it is negative, the integer digits,
/// and, as `limits` allows, "." and fractional digits, truncated and not rounded.
///
/// The digits are those of the plain method: DigitCount determines the first power of the base,
/// and each digit is the number of times that the power, rounded to double, can be subtracted from
/// what is left. A magnitude below 1 that has no integer digits gets "0", whatever the base's own
/// zero digit. In the bases that have no digits, only such a number without fraction is written.
///
/// Error 5 when `x` is 0. Error 6 when `x` is not finite or a power is beyond the largest double.
/// Error 13 of ConvertDigit, "Invalid digit for base" where a digit is as large as the base
/// (a count one short, a power rounded down) or "Unknown base". Below 1 / base the plain method has
/// no end: its powers sink to 0, which can be subtracted without end, until a counter overflows;
/// such an `x` gets error 6, or the error of the first digit that has one, at once.
///
/// `limits.tolerance` is not negative. After an error `buffer` may have grown by the digits before
/// the error. Any thread.
void WriteNumber(double x, std::int32_t base, const ConversionLimits& limits, DigitBuffer& buffer);

/// Appends to `text` as WriteNumber does; after an error `text` is as it was.
void AppendNumber(double x, std::int32_t base, const ConversionLimits& limits, Text& text);

}  // namespace brindlex
