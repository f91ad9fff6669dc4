#pragma once

#include <cstdint>

#include "automation/text.h"

namespace brindlex {

/// How the platform reads numbers in text and writes them as text, by the user's locale. The number
/// bases leave to it what is not digits of a base. Every function is a pure reading: the same
/// arguments give the same result as long as the user's settings do not change. Implementations
/// must allow calls from any thread.
class NumberText {
 public:
  NumberText() = default;
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;
  virtual ~NumberText() = default;

  /// True when the whole of `text` reads as a number that is not beyond the largest double
  /// (`IsNumeric` of a string). Raises no error.
  virtual bool IsNumeric(TextView text) const = 0;

  /// The number that the whole of `text` reads as. Error 13 when it reads as none, 6 when it is
  /// beyond the largest double.
  virtual double ToDouble(TextView text) const = 0;

  /// As ToDouble, rounded half to even to a 32-bit whole number; error 6 when it does not fit.
  virtual std::int32_t ToWhole(TextView text) const = 0;

  /// The longest number that `text` begins with, blanks ignored, its point always "."; 0 when it
  /// begins with none (`Val`). Error 6 when it is beyond the largest double.
  virtual double LeadingNumber(TextView text) const = 0;

  /// `value` as text: 15 significant digits at most, an exponent where it is large or small.
  virtual Text ToText(double value) const = 0;

  /// Whether the text of `value` begins with the number 0, that is, LeadingNumber(ToText(value)) is
  /// 0, which an implementation may know without writing the text. Beside 0 itself that holds for
  /// magnitudes below 1 that are written with a decimal comma.
  virtual bool BeginsWithZero(double value) const { return LeadingNumber(ToText(value)) == 0; }
};

}  // namespace brindlex
