#include "platform/portable_number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "automation/plain_decimal.h"
#include "automation/runtime_error.h"

namespace brindlex {

bool PortableNumberText::IsNumeric(TextView text) const { return IsPlainDecimal(text); }

double PortableNumberText::ToDouble(TextView text) const { return PlainDecimalValue(text); }

std::int32_t PortableNumberText::ToWhole(TextView text) const {
  const double value = ToDouble(text);
  double whole = std::floor(value);
  const double over = value - whole;
  if (over > 0.5 || (over == 0.5 && std::fmod(whole, 2) != 0)) ++whole;
  using Limits = std::numeric_limits<std::int32_t>;
  if (whole < Limits::min() || whole > Limits::max()) throw RuntimeError(error_number::kOverflow);
  return static_cast<std::int32_t>(whole);
}

double PortableNumberText::LeadingNumber(TextView text) const { return LeadingPlainDecimal(text); }

Text PortableNumberText::ToText(double value) const {
  constexpr int kSignificantDigits = 15;
  char digits[32];
  const auto result = std::to_chars(std::begin(digits), std::end(digits), value,
                                    std::chars_format::general, kSignificantDigits);
  std::replace(std::begin(digits), result.ptr, 'e', 'E');
  return {std::begin(digits), result.ptr};
}

}  // namespace brindlex
