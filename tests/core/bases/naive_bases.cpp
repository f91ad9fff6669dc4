#include "tests/core/bases/naive_bases.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bases/base_tables.h"

namespace brindlex {
namespace {

/// A natural number of any length.
class Natural {
 public:
  Natural() = default;
  explicit Natural(std::uint64_t value) {
    for (; value != 0; value >>= 32U) parts_.push_back(static_cast<std::uint32_t>(value));
  }

  bool IsZero() const { return parts_.empty(); }

  friend Natural operator*(const Natural& left, const Natural& right) {
    Natural product;
    product.parts_.resize(left.parts_.size() + right.parts_.size());
    for (std::size_t i = 0; i < left.parts_.size(); ++i) {
      std::uint64_t carry = 0;
      for (std::size_t j = 0; j < right.parts_.size(); ++j) {
        carry += std::uint64_t{left.parts_[i]} * right.parts_[j] + product.parts_[i + j];
        product.parts_[i + j] = static_cast<std::uint32_t>(carry);
        carry >>= 32U;
      }
      product.parts_[i + right.parts_.size()] = static_cast<std::uint32_t>(carry);
    }
    return product.Trimmed();
  }

  friend Natural operator+(Natural left, const Natural& right) {
    left.parts_.resize(std::max(left.parts_.size(), right.parts_.size()) + 1);
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < left.parts_.size(); ++i) {
      carry += std::uint64_t{left.parts_[i]} + right.Part(i);
      left.parts_[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32U;
    }
    return left.Trimmed();
  }

  /// `left` is not less than `right`.
  friend Natural operator-(Natural left, const Natural& right) {
    std::int64_t borrow = 0;
    for (std::size_t i = 0; i < left.parts_.size(); ++i) {
      borrow += std::int64_t{left.parts_[i]} - right.Part(i);
      left.parts_[i] = static_cast<std::uint32_t>(borrow);
      borrow >>= 32U;
    }
    return left.Trimmed();
  }

  friend Natural operator<<(const Natural& left, unsigned bits) {
    Natural scale(std::uint64_t{1} << (bits % 32));
    scale.parts_.insert(scale.parts_.begin(), bits / 32, 0);
    return left * scale;
  }

  /// Truncated by `count` parts of 32 bits.
  Natural WithoutParts(std::size_t count) const {
    Natural rest;
    if (count < parts_.size()) {
      rest.parts_.assign(parts_.begin() + static_cast<std::ptrdiff_t>(count), parts_.end());
    }
    return rest;
  }

  /// Truncated.
  friend Natural operator/(Natural left, std::uint32_t divisor) {
    std::uint64_t rest = 0;
    for (std::size_t i = left.parts_.size(); i-- > 0;) {
      rest = rest << 32U | left.parts_[i];
      left.parts_[i] = static_cast<std::uint32_t>(rest / divisor);
      rest %= divisor;
    }
    return left.Trimmed();
  }

  friend bool operator<=(const Natural& left, const Natural& right) {
    if (left.parts_.size() != right.parts_.size()) return left.parts_.size() < right.parts_.size();
    return !std::lexicographical_compare(right.parts_.rbegin(), right.parts_.rend(),
                                         left.parts_.rbegin(), left.parts_.rend());
  }

 private:
  std::uint32_t Part(std::size_t index) const { return index < parts_.size() ? parts_[index] : 0; }
  Natural Trimmed() {
    while (!parts_.empty() && parts_.back() == 0) parts_.pop_back();
    return std::move(*this);
  }

  // Least first, the last not 0.
  std::vector<std::uint32_t> parts_;
};

/// A positive value as a fraction of natural numbers.
struct Ratio {
  Natural above;
  Natural below;

  /// Less than 0, 0 or more than 0 as the value is below, at or above significand * 2^exponent.
  int Compare(std::uint64_t significand, int exponent) const {
    const auto shift = static_cast<unsigned>(std::abs(exponent));
    Natural left = above;
    Natural right = Natural(significand) * below;
    (exponent >= 0 ? right : left) = (exponent >= 0 ? right : left) << shift;
    return (right <= left ? 1 : 0) - (left <= right ? 1 : 0);
  }
};

/// The positive double with the pattern `bits` as significand * 2^exponent.
std::pair<std::uint64_t, int> Parts(std::uint64_t bits) {
  const auto biased = static_cast<int>(bits >> 52U);
  const std::uint64_t fraction = bits & 0xFFFFFFFFFFFFFU;
  if (biased == 0) return {fraction, -1074};
  return {fraction | 0x10000000000000U, biased - 1075};
}

/// The double nearest to `ratio`, the even one of two, infinity where the doubles end.
double Nearest(const Ratio& ratio) {
  std::uint64_t reached = 0;
  std::uint64_t beyond = 0x7FF0000000000000U;
  while (beyond - reached > 1) {
    const std::uint64_t middle = reached + (beyond - reached) / 2;
    const auto [significand, exponent] = Parts(middle);
    (ratio.Compare(significand, exponent) >= 0 ? reached : beyond) = middle;
  }
  const auto [significand, exponent] = Parts(reached);
  const int side = ratio.Compare(2 * significand + 1, exponent - 1);
  if (side > 0 || (side == 0 && significand % 2 != 0)) ++reached;
  return std::bit_cast<double>(reached);
}

// Logarithms are sums in units of 2^-224.
constexpr unsigned kPlaces = 224;
constexpr std::size_t kPlaceParts = kPlaces / 32;

/// A value between two bounds, in units.
struct Bounds {
  Natural low;
  Natural high;
};

/// 2 * atanh(part / whole), for part / whole up to 1/3: twice the sum of z^(2k+1) / (2k+1).
Bounds TwiceAtanh(std::uint64_t part, std::uint64_t whole) {
  Natural quotient;
  for (unsigned bit = 0; bit < kPlaces; ++bit) {
    part *= 2;
    quotient = quotient * Natural(2) + Natural(part >= whole ? 1 : 0);
    if (part >= whole) part -= whole;
  }
  Bounds power{quotient, quotient + Natural(1)};
  const Bounds square{(power.low * power.low).WithoutParts(kPlaceParts),
                      (power.high * power.high).WithoutParts(kPlaceParts) + Natural(1)};
  Bounds sum;
  for (std::uint32_t odd = 1; !(power.high <= Natural(1)); odd += 2) {
    sum.low = sum.low + power.low / odd;
    sum.high = sum.high + power.high / odd + Natural(1);
    power.low = (power.low * square.low).WithoutParts(kPlaceParts);
    power.high = (power.high * square.high).WithoutParts(kPlaceParts) + Natural(1);
  }
  // All further terms together are below 2 units: each is at most a ninth of the one before.
  return {sum.low * Natural(2), (sum.high + Natural(2)) * Natural(2)};
}

double NearestOf(const Natural& units) { return Nearest({units, Natural(1) << kPlaces}); }

std::int64_t FloorOfQuotient(double x, std::int32_t base) {
  const double estimate = std::log(x) / std::log(static_cast<double>(base));
  if (std::abs(estimate - std::nearbyint(estimate)) > 1e-9) {
    return static_cast<std::int64_t>(std::floor(estimate));
  }
  return static_cast<std::int64_t>(std::floor(naive::Ln(x) / naive::Ln(base)));
}

std::int32_t Whole32(double value) {
  const double rounded = std::nearbyint(value);
  if (!(rounded >= -2147483648.0 && rounded <= 2147483647.0)) throw RuntimeError(6);
  return static_cast<std::int32_t>(rounded);
}

/// The row of `base` in the table; null for the bases that have no digits.
const BaseTable* RowOf(std::int32_t base) {
  for (const BaseTable& row : kBaseTables) {
    if (row.base == base) return &row;
  }
  return nullptr;
}

bool HasStyle(std::int32_t base, DigitStyle style) {
  const BaseTable* const row = RowOf(base);
  return row != nullptr && row->style == style;
}

Text DigitAt(double& x, std::int32_t position, std::int32_t base) {
  const double place = naive::Power(base, position);
  if (std::isinf(place)) throw RuntimeError(6);
  // Nothing can be subtracted 2^31 times, but to no avail.
  if (place == 0) throw RuntimeError(6);
  std::int32_t digit = 0;
  while (x >= place) {
    x -= place;
    if (digit == std::numeric_limits<std::int32_t>::max()) throw RuntimeError(6);
    ++digit;
  }
  return naive::ConvertDigit(digit, base);
}

}  // namespace

bool Outcome::operator==(const Outcome& other) const {
  return text == other.text &&
         std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(other.value) &&
         number == other.number && source == other.source && description == other.description &&
         std::bit_cast<std::uint64_t>(tolerance) == std::bit_cast<std::uint64_t>(other.tolerance);
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  const auto narrow = [](const Text& text) { return std::string(text.begin(), text.end()); };
  if (outcome.number != 0) {
    return out << "error " << outcome.number << " / " << narrow(outcome.source) << " / "
               << narrow(outcome.description);
  }
  return out << '"' << narrow(outcome.text) << "\" or " << outcome.value << ", tolerance "
             << outcome.tolerance;
}

namespace naive {

double Power(std::int32_t base, std::int32_t exponent) {
  static std::map<std::pair<std::int32_t, std::int32_t>, double> known;
  const auto [at, isNew] = known.try_emplace({base, exponent});
  if (!isNew) return at->second;
  // Far beyond all doubles on either side, whatever the base.
  if (exponent > 1100 || exponent < -1100) return at->second = exponent > 0 ? INFINITY : 0.0;
  Natural power(1);
  for (int i = 0; i < std::abs(exponent); ++i) {
    power = power * Natural(static_cast<std::uint32_t>(base));
  }
  return at->second = Nearest(exponent < 0 ? Ratio{Natural(1), power} : Ratio{power, Natural(1)});
}

double Ln(double x) {
  static std::map<double, double> known;
  const auto [at, isNew] = known.try_emplace(x);
  if (!isNew) return at->second;
  int exponent = 0;
  // x = part / 2^52 * 2^exponent with part / 2^52 from 1 to below 2.
  const double fraction = std::frexp(x, &exponent);
  const auto part = static_cast<std::uint64_t>(static_cast<std::int64_t>(std::ldexp(fraction, 53)));
  --exponent;
  const std::uint64_t one = std::uint64_t{1} << 52U;
  const Natural times(static_cast<std::uint64_t>(std::abs(exponent)));
  static const Bounds ofTwo = TwiceAtanh(1, 3);
  const Bounds ofPart = part == one ? Bounds{} : TwiceAtanh(part - one, part + one);
  Bounds bounds;
  if (exponent >= 0) {
    bounds = {times * ofTwo.low + ofPart.low, times * ofTwo.high + ofPart.high};
  } else {
    bounds = {times * ofTwo.low - ofPart.high, times * ofTwo.high - ofPart.low};
  }
  if (bounds.high.IsZero()) return at->second = 0;
  const double low = NearestOf(bounds.low);
  if (low != NearestOf(bounds.high)) std::abort();
  return at->second = exponent < 0 ? -low : low;
}

std::int32_t DigitCount(double x, std::int32_t groupSize, std::int32_t base) {
  if (x == 0) throw RuntimeError(5);
  if (!std::isfinite(x)) throw RuntimeError(6);
  const std::int32_t n = Whole32(static_cast<double>(FloorOfQuotient(x, base)) + 1);
  if (groupSize <= 1) return n;
  const double r = static_cast<double>(n) / groupSize;
  if (!(std::floor(r) < r)) return n;
  return Whole32(n + (std::floor(r) + 1 - r) * groupSize);
}

Text ConvertDigit(std::int32_t digit, std::int32_t base) {
  const std::string numeral = std::to_string(digit);
  if (digit >= base) throw RuntimeError(13, u"Invalid digit for base", u"ConvertDigit");
  if (HasStyle(base, DigitStyle::kNumeral)) return {numeral.begin(), numeral.end()};
  if (HasStyle(base, DigitStyle::kLetter)) {
    if (digit < 0) throw RuntimeError(5);
    return {RowOf(base)->alphabet[static_cast<std::size_t>(digit)]};
  }
  if (!HasStyle(base, DigitStyle::kSexagesimal))
    throw RuntimeError(13, u"Unknown base", u"ConvertDigit");
  std::string padded = "00";
  padded += numeral;
  padded += ":";
  return {padded.end() - 3, padded.end()};
}

std::int32_t DeconvertDigit(const Text& digitText, std::int32_t base, const NumberText& reading) {
  const auto invalid = [] {
    return RuntimeError(13, u"Invalid digit for base", u"DeconvertDigit");
  };
  if (HasStyle(base, DigitStyle::kNumeral)) {
    if (!reading.IsNumeric(digitText)) {
      throw RuntimeError(13, u"Invalid character", u"DeconvertDigit");
    }
    const std::int32_t digit = reading.ToWhole(digitText);
    if (digit >= base) throw invalid();
    return digit;
  }
  if (HasStyle(base, DigitStyle::kLetter)) {
    const std::size_t at = RowOf(base)->alphabet.find(digitText);
    if (at != Text::npos) return static_cast<std::int32_t>(at);
    throw RuntimeError(13, Text(RowOf(base)->noDigit), u"DeconvertDigit");
  }
  if (!HasStyle(base, DigitStyle::kSexagesimal)) {
    throw RuntimeError(13, u"Unknown base", u"DeconvertDigit");
  }
  if (digitText.size() != 3) throw invalid();
  if (digitText[2] != u':' || !reading.IsNumeric(digitText.substr(0, 2))) throw invalid();
  const std::int32_t digit = reading.ToWhole(digitText.substr(0, 2));
  if (digit >= base) throw invalid();
  return digit;
}

Text ConvertDec2Base(double x, std::int32_t base, ConversionLimits& limits) {
  if (base < 2) throw RuntimeError(13, u"Invalid base", u"ConvertDec2Base");
  limits.tolerance = std::fabs(limits.tolerance);
  const double tolerance = limits.tolerance;
  const std::int32_t most = limits.maxFractionDigits;
  Text result;
  if (x < 0) {
    result.push_back(u'-');
    x = -x;
  }
  const std::int32_t n = DigitCount(x, limits.groupSize, base);
  std::int32_t position = 0;
  if (n == 0) {
    result.push_back(u'0');
  } else {
    position = n;
    do {
      --position;
      result += DigitAt(x, position, base);
    } while (position != 0);
  }
  if (((most != -1 || tolerance <= 0) && most <= 0) || x <= tolerance) return result;
  result.push_back(u'.');
  for (;;) {
    if ((position <= -most && most != -1) || x <= tolerance) return result;
    --position;
    result += DigitAt(x, position, base);
  }
}

double ConvertBase2Dec(const Text& text, std::int32_t base, const NumberText& reading) {
  const auto fail = [](const char16_t* description) {
    return RuntimeError(13, description, u"ConvertBase2Dec");
  };
  if (base < 2) throw fail(u"Invalid Base");
  const std::size_t width = HasStyle(base, DigitStyle::kSexagesimal) ? 3 : 1;
  std::int64_t divisor = 0;
  int sign = 1;
  double value = 0;
  std::size_t i = 1;
  while (i <= text.size()) {
    const Text token = text.substr(i - 1, width);
    if (token[0] == u'.') {
      i = i + 1;
      if (divisor != 0) throw fail(u"More than one decimal point");
      divisor = 1;
    } else if (token[0] == u'-') {
      i = i + 1;
      if (!(value == 0 && divisor == 0)) throw fail(u"Invalid negation");
      sign = -sign;
    } else {
      i = i + width;
      const std::int32_t digit = DeconvertDigit(token, base, reading);
      value = base * value + digit;
      if (std::isinf(value)) throw RuntimeError(6);
      divisor = divisor * base;
      if (divisor > std::numeric_limits<std::int32_t>::max()) throw RuntimeError(6);
    }
  }
  if (divisor > 1) return value / static_cast<double>(divisor) * sign;
  return sign * value;
}

}  // namespace naive
}  // namespace brindlex
