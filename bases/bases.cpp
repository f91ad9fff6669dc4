#include "bases/bases.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

[[noreturn]] void Raise(TextView operation, TextView description) {
  throw RuntimeError(error_number::kTypeMismatch, Text(description), Text(operation));
}

constexpr std::int8_t kNoDigit = -1;
constexpr std::size_t kAsciiUnits = 128;
using DigitValues = std::array<std::int8_t, kAsciiUnits>;

/// For each character below 128 its value as a digit, for bases whose digits are one character.
constexpr DigitValues ValuesIn(TextView alphabet) {
  DigitValues values{};
  values.fill(kNoDigit);
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    values[alphabet[i]] = static_cast<std::int8_t>(i);
  }
  return values;
}

const DigitValues& ValuesOf(std::int32_t base) {
  static constexpr DigitValues kNone = ValuesIn({});
  static constexpr DigitValues k2 = ValuesIn(kAlphabet16.substr(0, 2));
  static constexpr DigitValues k8 = ValuesIn(kAlphabet16.substr(0, 8));
  static constexpr DigitValues k10 = ValuesIn(kAlphabet16.substr(0, 10));
  static constexpr DigitValues k16 = ValuesIn(kAlphabet16);
  static constexpr DigitValues k26 = ValuesIn(kAlphabet26);
  static constexpr DigitValues k30 = ValuesIn(kAlphabet30);
  static constexpr DigitValues k31 = ValuesIn(kAlphabet31);
  static constexpr DigitValues k32 = ValuesIn(kAlphabet32);
  switch (base) {
    case 2:
      return k2;
    case 8:
      return k8;
    case 10:
      return k10;
    case 16:
      return k16;
    case 26:
      return k26;
    case 30:
      return k30;
    case 31:
      return k31;
    case 32:
      return k32;
    default:
      return kNone;
  }
}

bool IsSexagesimal(TextView token) {
  return token.size() == 3 && token[0] >= u'0' && token[0] <= u'5' && token[1] >= u'0' &&
         token[1] <= u'9' && token[2] == u':';
}

/// What a text has been read as, so far.
class NumberReader {
 public:
  NumberReader(std::int32_t base, const NumberText& reading)
      : base_(base), factor_(base), values_(ValuesOf(base)), reading_(reading) {}

  double Read(TextView text) {
    const auto width = static_cast<std::size_t>(DigitWidth(base_));
    for (std::size_t at = 0; at < text.size();) {
      const char16_t unit = text[at];
      if (unit == u'.') {
        PassPoint();
        ++at;
      } else if (unit == u'-') {
        PassMinus();
        ++at;
      } else {
        PassDigit(DigitOf(text.substr(at, width)));
        at += width;
      }
    }
    return divisor_ != 0 ? value_ / divisor_ * sign_ : sign_ * value_;
  }

 private:
  std::int32_t DigitOf(TextView token) const {
    const char16_t unit = token[0];
    if (unit < kAsciiUnits && values_[unit] != kNoDigit) return values_[unit];
    if (base_ == 60 && IsSexagesimal(token)) return (unit - u'0') * 10 + (token[1] - u'0');
    return DeconvertDigit(token, base_, reading_);
  }

  void PassPoint() {
    if (divisor_ != 0) Raise(u"ConvertBase2Dec", u"More than one decimal point");
    divisor_ = 1;
  }

  void PassMinus() {
    if (value_ != 0 || divisor_ != 0) Raise(u"ConvertBase2Dec", u"Invalid negation");
    sign_ = -sign_;
  }

  void PassDigit(std::int32_t digit) {
    value_ = factor_ * value_ + digit;
    if (std::abs(value_) > std::numeric_limits<double>::max()) RaiseOverflow();
    const std::int64_t divisor = std::int64_t{divisor_} * base_;
    if (divisor > std::numeric_limits<std::int32_t>::max()) RaiseOverflow();
    divisor_ = static_cast<std::int32_t>(divisor);
  }

  [[noreturn]] static void RaiseOverflow() { throw RuntimeError(error_number::kOverflow); }

  std::int32_t base_;
  double factor_;
  const DigitValues& values_;
  const NumberText& reading_;
  double value_ = 0;
  /// 0 before the point, then the base to the number of digits behind it.
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
