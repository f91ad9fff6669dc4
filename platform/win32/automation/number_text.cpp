#include "platform/win32/automation/number_text.h"

#include <oaidl.h>
#include <oleauto.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>

#include "automation/plain_decimal.h"
#include "automation/runtime_error.h"
#include "platform/win32/automation/floating_point_scope.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

HRESULT Read(TextView text, double& value) {
  Text terminated(text);
  const FloatingPointScope ownEnvironment;
  return VarR8FromStr(reinterpret_cast<wchar_t*>(terminated.data()), GetUserDefaultLCID(), 0,
                      &value);
}

/// `text` without blanks.
Text Dense(TextView text) {
  Text dense(text);
  std::erase_if(dense,
                [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\n'; });
  return dense;
}

/// The number that `dense` begins with; its exponent may begin with a "D".
double LeadingDecimal(Text dense) {
  std::replace_if(
      dense.begin(), dense.end(), [](char16_t unit) { return unit == u'D' || unit == u'd'; }, u'E');
  return LeadingPlainDecimal(dense);
}

/// The value of a hexadecimal digit; 16 when it is none. `unit` comes from Dense.
unsigned DigitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - unsigned{u'0'};
  if (unit >= u'A' && unit <= u'F') return unit - unsigned{u'A'} + 10;
  if (unit >= u'a' && unit <= u'f') return unit - unsigned{u'a'} + 10;
  return 16;
}

/// The number that `digits` begins with, in base 2^`bits`, as the whole number that it is the
/// pattern of.
double LeadingPattern(TextView digits, unsigned bits) {
  std::uint64_t pattern = 0;
  std::size_t at = 0;
  for (; at < digits.size() && DigitValue(digits[at]) >> bits == 0; ++at) {
    pattern = (pattern << bits) | DigitValue(digits[at]);
    if (pattern > std::numeric_limits<std::uint32_t>::max()) {
      throw RuntimeError(error_number::kOverflow);
    }
  }
  const bool isLong = at < digits.size() && digits[at] == u'&';
  if (!isLong && pattern <= std::numeric_limits<std::uint16_t>::max()) {
    return static_cast<std::int16_t>(pattern);
  }
  return static_cast<std::int32_t>(pattern);
}

}  // namespace

bool Win32NumberText::IsNumeric(TextView text) const {
  double value = 0;
  return SUCCEEDED(Read(text, value));
}

double Win32NumberText::ToDouble(TextView text) const {
  double value = 0;
  Check(Read(text, value));
  return value;
}

std::int32_t Win32NumberText::ToWhole(TextView text) const {
  Text terminated(text);
  LONG value = 0;
  const FloatingPointScope ownEnvironment;
  Check(
      VarI4FromStr(reinterpret_cast<wchar_t*>(terminated.data()), GetUserDefaultLCID(), 0, &value));
  return value;
}

double Win32NumberText::LeadingNumber(TextView text) const {
  Text dense = Dense(text);
  if (!dense.starts_with(u'&')) return LeadingDecimal(std::move(dense));
  const TextView rest = TextView(dense).substr(1);
  if (rest.starts_with(u'H') || rest.starts_with(u'h')) return LeadingPattern(rest.substr(1), 4);
  const bool named = rest.starts_with(u'O') || rest.starts_with(u'o');
  return LeadingPattern(rest.substr(named ? 1 : 0), 3);
}

Text Win32NumberText::ToText(double value) const {
  Bstr text;
  const FloatingPointScope ownEnvironment;
  Check(VarBstrFromR8(value, GetUserDefaultLCID(), 0, text.Receive()));
  return Text(text.View());
}

bool Win32NumberText::BeginsWithZero(double value) const {
  if (value == 0) return true;
  // From 1 on the first digit is another one; below 1 that depends on the decimal separator.
  return std::abs(value) < 1 && NumberText::BeginsWithZero(value);
}

}  // namespace brindlex
