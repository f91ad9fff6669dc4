#include "bases/bases.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>

#include "automation/runtime_error.h"
#include "bases/powers.h"

namespace brindlex {
namespace {

[[noreturn]] void Raise(TextView operation, TextView description) {
  throw RuntimeError(error_number::kTypeMismatch, Text(description), Text(operation));
}

/// For each character below 128 its value as a numeral plus 1; 0 where it is none.
using Numerals = std::array<std::uint8_t, 128>;

/// How the digits of a base are read.
struct DigitReading {
  Numerals numerals{};
  /// How many characters a digit takes.
  std::uint8_t width = 1;
};

/// For each of kBaseTables, and at the end for the bases without digits.
constexpr auto kDigitReadings = [] {
  std::array<DigitReading, std::size(kBaseTables) + 1> readings{};
  for (std::size_t index = 0; index < std::size(kBaseTables); ++index) {
    const BaseTable& table = kBaseTables[index];
    DigitReading& digits = readings.at(index);
    for (std::uint8_t following = 0; const char16_t unit : table.alphabet) {
      digits.numerals.at(unit) = ++following;
    }
    digits.width = static_cast<std::uint8_t>(DigitWidth(table.base));
  }
  return readings;
}();

/// Reads the text of a number.
class NumberReader {
 public:
  NumberReader(std::int32_t base, const NumberText& reading)
      : NumberReader(base, kDigitReadings[FindBaseIndex(base)], reading) {}

  double Read(TextView text) {
    for (std::size_t at = 0; at < text.size();) {
      const char16_t unit = text[at];
      if (unit == u'.') {
        ReadPoint();
        ++at;
      } else if (unit == u'-') {
        ReadMinus();
        ++at;
      } else {
        AddDigit(DigitOf(text.substr(at, width_)));
        at += width_;
      }
    }
    return divisor_ != 0 ? value_ / divisor_ * sign_ : sign_ * value_;
  }

 private:
  NumberReader(std::int32_t base, const DigitReading& digits, const NumberText& reading)
      : base_(base),
        factor_(base),
        width_(digits.width),
        numerals_(digits.numerals),
        reading_(reading) {}

  /// Numerals are stored as one more than their value.
  static constexpr std::int32_t kNoNumeral = -1;

  /// The host's way to read a number is asked for what is no plain numeral only.
  std::int32_t DigitOf(TextView token) const {
    const std::int32_t digit = width_ == 1 ? NumeralAt(token, 0) : Sexagesimal(token);
    return digit != kNoNumeral ? digit : DeconvertDigit(token, base_, reading_);
  }

  std::int32_t NumeralAt(TextView token, std::size_t index) const {
    const char16_t unit = token[index];
    return unit < numerals_.size() ? numerals_[unit] - 1 : kNoNumeral;
  }

  /// Two numerals, together less than the base, and a colon.
  std::int32_t Sexagesimal(TextView token) const {
    if (token.size() != 3 || token[2] != u':') return kNoNumeral;
    const std::int32_t tens = NumeralAt(token, 0);
    const std::int32_t ones = NumeralAt(token, 1);
    if (tens == kNoNumeral || ones == kNoNumeral) return kNoNumeral;
    const std::int32_t digit = 10 * tens + ones;
    return digit < base_ ? digit : kNoNumeral;
  }

  void ReadPoint() {
    if (divisor_ != 0) Raise(u"ConvertBase2Dec", u"More than one decimal point");
    divisor_ = 1;
  }

  void ReadMinus() {
    if (value_ != 0 || divisor_ != 0) Raise(u"ConvertBase2Dec", u"Invalid negation");
    sign_ = -sign_;
  }

  void AddDigit(std::int32_t digit) {
    value_ = factor_ * value_ + digit;
    if (std::abs(value_) > std::numeric_limits<double>::max()) RaiseOverflow();
    const std::int64_t divisor = std::int64_t{divisor_} * base_;
    if (divisor > std::numeric_limits<std::int32_t>::max()) RaiseOverflow();
    divisor_ = static_cast<std::int32_t>(divisor);
  }

  [[noreturn]] static void RaiseOverflow() { throw RuntimeError(error_number::kOverflow); }

  std::int32_t base_;
  double factor_;
  std::size_t width_;
  const Numerals& numerals_;
  const NumberText& reading_;
  double value_ = 0;
  /// 0 before the point, then the base to the number of digits after it.
  std::int32_t divisor_ = 0;
  std::int32_t sign_ = 1;
};

/// What ConvertDec2Base does with a number that is numeric; `read` yields its value.
template <class Read>
void Write(std::int32_t base, ConversionLimits& limits, DigitBuffer& text, const Read& read) {
  if (base < 2) Raise(u"ConvertDec2Base", u"Invalid base");
  limits.tolerance = std::abs(limits.tolerance);
  WriteNumber(read(), base, limits, text);
}

}  // namespace

void ConvertDec2Base(const Number& number, std::int32_t base, ConversionLimits& limits,
                     const NumberText& reading, DigitBuffer& text) {
  if (!IsNumeric(number, reading)) Raise(u"ConvertDec2Base", u"Number must be decimal");
  Write(base, limits, text, [&] { return ToDouble(number, reading); });
}

Text ConvertDec2Base(const Number& number, std::int32_t base, ConversionLimits& limits,
                     const NumberText& reading) {
  DigitBuffer text;
  ConvertDec2Base(number, base, limits, reading, text);
  return Text(text.View());
}

double ConvertBase2Dec(TextView text, std::int32_t base, const NumberText& reading) {
  if (base < 2) Raise(u"ConvertBase2Dec", u"Invalid Base");
  return NumberReader(base, reading).Read(text);
}

std::optional<double> ConvertBase(const Number& number, std::int32_t fromBase, std::int32_t toBase,
                                  ConversionLimits& limits, const NumberText& reading,
                                  DigitBuffer& text) {
  const bool decimal = fromBase == 10;
  if (decimal && BeginsWithZero(number, reading)) {
    for (const char16_t unit : ConvertDigit(0, toBase)) text.Put(unit);
    return std::nullopt;
  }
  if (decimal && !IsNumeric(number, reading)) Raise(u"ConvertBase", u"Not a decimal number");
  const double value = decimal ? ToDouble(number, reading)
                               : ConvertBase2Dec(ToText(number, reading), fromBase, reading);
  if (toBase == 10) return value;
  Write(toBase, limits, text, [value] { return value; });
  return std::nullopt;
}

TextOrDouble ConvertBase(const Number& number, std::int32_t fromBase, std::int32_t toBase,
                         ConversionLimits& limits, const NumberText& reading) {
  DigitBuffer text;
  const auto value = ConvertBase(number, fromBase, toBase, limits, reading, text);
  if (value) return *value;
  return Text(text.View());
}

}  // namespace brindlex
