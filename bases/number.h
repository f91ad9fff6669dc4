#pragma once

#include <cstdint>
#include <variant>

#include "automation/runtime_error.h"
#include "automation/text.h"
#include "platform/number_text.h"

namespace brindlex {

/// A number that has a text of its own: currency, decimal, date.
struct WrittenNumber {
  double value;
  TextView text;
  /// The result of the platform's numeric test of the variant; false for a date.
  bool numeric;
};

/// A value whose conversion failed because it is neither number nor text. Reading it raises
/// `error`, which the platform chooses: 94 for a null, 91 or 438 for an object, 13 for an array.
struct ConversionFailed {
  RuntimeError error;
};

/// A value that is to be read as a number: empty, a flag (True is -1), a whole number, a double, or
/// one of the above. Text is borrowed; its owner must outlive the Number.
using Number = std::variant<std::monostate, bool, std::int32_t, double, TextView, WrittenNumber,
                            ConversionFailed>;

/// The numeric test of a variant: a number, or text that reads as one. Never fails.
bool IsNumeric(const Number& number, const NumberText& reading);

/// The number as a double; empty is 0. Errors of NumberText::ToDouble, or of a ConversionFailed.
double ToDouble(const Number& number, const NumberText& reading);

/// The number as text; empty has none, a flag is "True" or "False". The error of a
/// ConversionFailed.
Text ToText(const Number& number, const NumberText& reading);

/// Whether the leading-number value of ToText(number) is 0. The error of a ConversionFailed, error
/// 6 of NumberText::LeadingNumber.
bool BeginsWithZero(const Number& number, const NumberText& reading);

}  // namespace brindlex
