#include "automation/plain_decimal.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\n'; }

bool IsDigit(char unit) { return unit >= '0' && unit <= '9'; }

/// As many characters; a unit that is none becomes one that no number holds.
std::string Narrowed(TextView text) {
  std::string narrow;
  std::transform(text.begin(), text.end(), std::back_inserter(narrow),
                 [](char16_t unit) { return static_cast<char>(std::min<char16_t>(unit, 0x7F)); });
  return narrow;
}

std::size_t SkipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at;
}

bool HasSign(std::string_view text, std::size_t at) {
  return at < text.size() && (text[at] == '+' || text[at] == '-');
}

/// Where the exponent that begins at `at` ends; `at` itself when there is none.
std::size_t SkipExponent(std::string_view text, std::size_t at) {
  if (at >= text.size() || (text[at] != 'E' && text[at] != 'e')) return at;
  const std::size_t digits = at + 1 + (HasSign(text, at + 1) ? 1 : 0);
  const std::size_t end = SkipDigits(text, digits);
  return end == digits ? at : end;
}

/// How many characters of `text` form a number, from its beginning on; 0 when none do.
std::size_t NumberLength(std::string_view text) {
  const std::size_t first = HasSign(text, 0) ? 1 : 0;
  std::size_t end = SkipDigits(text, first);
  std::size_t digits = end - first;
  if (end < text.size() && text[end] == '.') {
    const std::size_t fraction = end + 1;
    end = SkipDigits(text, fraction);
    digits += end - fraction;
  }
  return digits == 0 ? 0 : SkipExponent(text, end);
}

/// Whether a number out of the doubles' range is so because it is too large. Its first digit other
/// than 0 is far before the point, or the exponent moves it there.
bool IsLarge(std::string_view number) {
  const std::size_t mantissaEnd = std::min(number.find_first_of("Ee"), number.size());
  const std::size_t point = std::min(number.find('.'), mantissaEnd);
  const std::size_t lead = number.find_first_of("123456789");
  const double places = static_cast<double>(point) - static_cast<double>(lead);
  double exponent = 0;
  for (std::size_t i = mantissaEnd; i < number.size(); ++i) {
    if (IsDigit(number[i])) exponent = 10 * exponent + (number[i] - '0');
  }
  return places + (number.find('-', mantissaEnd) == std::string_view::npos ? exponent : -exponent) >
         0;
}

/// The value of `number`, 0 when it is empty; none when it is beyond the largest double.
std::optional<double> FindValue(std::string_view number) {
  if (number.starts_with('+')) number.remove_prefix(1);
  double value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  if (IsLarge(number)) return std::nullopt;
  return 0;
}

/// As FindValue. Error 6 beyond the largest double.
double Value(std::string_view number) {
  const std::optional<double> value = FindValue(number);
  if (!value) throw RuntimeError(error_number::kOverflow);
  return *value;
}

/// The number that is the whole of `text` but for blanks around it; empty when it is none.
std::string WholeNumber(TextView text) {
  const auto isNoBlank = [](char16_t unit) { return !IsBlank(unit); };
  const auto* const first = std::find_if(text.begin(), text.end(), isNoBlank);
  const auto last = std::find_if(text.rbegin(), std::make_reverse_iterator(first), isNoBlank);
  std::string number = Narrowed(TextView(first, last.base()));
  if (NumberLength(number) != number.size()) number.clear();
  return number;
}

}  // namespace

bool IsPlainDecimal(TextView text) {
  const std::string number = WholeNumber(text);
  return !number.empty() && FindValue(number).has_value();
}

double PlainDecimalValue(TextView text) {
  const std::string number = WholeNumber(text);
  if (number.empty()) throw RuntimeError(error_number::kTypeMismatch);
  return Value(number);
}

double LeadingPlainDecimal(TextView text) {
  Text dense;
  std::copy_if(text.begin(), text.end(), std::back_inserter(dense),
               [](char16_t unit) { return !IsBlank(unit); });
  const std::string narrow = Narrowed(dense);
  return Value(std::string_view(narrow).substr(0, NumberLength(narrow)));
}

}  // namespace brindlex
