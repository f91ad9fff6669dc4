#include "bases/number_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

#include "automation/runtime_error.h"
#include "bases/digit_count.h"
#include "bases/digits.h"
#include "bases/double_bits.h"
#include "bases/exact.h"
#include "bases/place_value.h"
#include "bases/powers.h"

namespace brindlex {
namespace {

/// Below this all whole numbers are doubles and all their differences exact.
constexpr double kExactWholes = 0x1p53;
constexpr std::int32_t kMostWholeDigits = std::numeric_limits<double>::digits;

/// The digits of one base, which is a constant so that divisions by it become multiplications.
template <std::uint32_t kBase>
class Digits {
 public:
  static constexpr std::size_t kWidth = DigitWidth(kBase);

  /// Writes a digit that is less than the base so that it ends at `end`; returns its beginning.
  static char16_t* Write(std::uint32_t digit, char16_t* end) {
    if constexpr (IsSexagesimal(kBase)) {
      *--end = u':';
      *--end = static_cast<char16_t>(u'0' + digit % 10);
      *--end = static_cast<char16_t>(u'0' + digit / 10);
    } else {
      *--end = kAlphabet[digit];
    }
    return end;
  }

  static void Put(std::int32_t digit, DigitBuffer& buffer) {
    if (digit >= static_cast<std::int32_t>(kBase)) RaiseInvalidDigit();
    Write(static_cast<std::uint32_t>(digit), buffer.Room(kWidth) + kWidth);
  }

  /// Writes `count` digits of `whole`, kMostWholeDigits at most; its higher digits are all 0.
  static void PutWhole(std::uint64_t whole, std::int32_t count, DigitBuffer& buffer) {
    static_assert(kMostWholeDigits * kWidth <= DigitBuffer::kRoom);
    const std::size_t width = static_cast<std::size_t>(count) * kWidth;
    char16_t* const begin = buffer.Room(width);
    char16_t* end = begin + width;
    while (whole > std::numeric_limits<std::uint32_t>::max()) {
      auto part = static_cast<std::uint32_t>(whole % kChunk);
      whole /= kChunk;
      for (int i = 0; i < kChunkDigits; ++i, part /= kBase) end = Write(part % kBase, end);
    }
    auto rest = static_cast<std::uint32_t>(whole);
    if constexpr (kHasPairs) {
      for (; end - begin > 1; rest /= kPairCount) {
        end -= 2;
        std::memcpy(end, kPairs[rest % kPairCount].data(), sizeof kPairs.front());
      }
      if (end != begin) Write(rest % kBase, end);
    } else {
      for (; end != begin; rest /= kBase) end = Write(rest % kBase, end);
    }
  }

 private:
  static constexpr TextView kAlphabet = AlphabetOf(kBase);

  /// Two digits at a time, where their table is small.
  static constexpr bool kHasPairs = kBase <= 16;
  static constexpr std::uint32_t kPairCount = kAlphabet.size() * kAlphabet.size();
  static constexpr auto kPairs = [] {
    std::array<std::array<char16_t, 2>, kPairCount> pairs{};
    auto next = pairs.begin();
    for (const char16_t high : kAlphabet) {
      for (const char16_t low : kAlphabet) *next++ = {high, low};
    }
    return pairs;
  }();

  // As many digits as fit 32 bits, for a machine that divides no more bits at once.
  static constexpr std::uint64_t kChunk = [] {
    std::uint64_t power = 1;
    while (power * kBase <= std::numeric_limits<std::uint32_t>::max()) power *= kBase;
    return power;
  }();
  static constexpr int kChunkDigits = [] {
    int digits = 0;
    for (std::uint64_t rest = kChunk; rest > 1; rest /= kBase) ++digits;
    return digits;
  }();
};

bool HasFraction(double rest, const ConversionLimits& limits) {
  const bool wanted =
      limits.maxFractionDigits > 0 || (limits.maxFractionDigits == -1 && !(limits.tolerance <= 0));
  return wanted && !(rest <= limits.tolerance);
}

/// The first fractional places of a base, which are as many as the usual tolerance asks for.
inline constexpr std::size_t kNearPlaces = 20;

template <std::uint32_t kBase>
constexpr auto kNearPlaceValues = []<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
  constexpr BaseTable kTable = *FindBaseTable(kBase);
  return std::array{
      PlaceValue(kTable.powers[static_cast<std::size_t>(-1 - kTable.lowestPower) - kIndex])...};
}
(std::make_index_sequence<kNearPlaces>());

/// Writes one positive number.
template <std::uint32_t kBase>
class NumberWriter {
 public:
  NumberWriter(const ConversionLimits& limits, DigitBuffer& buffer)
      : limits_(limits), buffer_(buffer) {}

  void Write(double x, bool negative, std::int32_t count) {
    if (negative) buffer_.Put(u'-');
    double rest = x;
    if (count == 0) {
      buffer_.Put(u'0');
    } else {
      rest = PutInteger(x, count);
    }
    if (HasFraction(rest, limits_)) {
      buffer_.Put(u'.');
      if constexpr (kTable.digitBits != 0) {
        PutExactFraction(rest);
      } else {
        PutFraction(rest);
      }
    }
  }

  /// Follows the digits of an `x` below 1 / base to the error that ends them, at the latest where a
  /// place value is 0.
  [[noreturn]] static void RaiseEndless(double x, std::int32_t position) {
    for (double rest = x;;) {
      const Taken taken = TakeAt(rest, --position);
      if (taken.digit >= static_cast<std::int32_t>(kBase)) RaiseInvalidDigit();
      rest = taken.rest;
    }
  }

 private:
  static constexpr BaseTable kTable = *FindBaseTable(kBase);

  /// The digit at `position`, when the number is small enough to come that low.
  static Taken TakeAt(double rest, std::int32_t position) {
    // Few steps are quicker than finding out how many.
    if constexpr (kTable.powers.empty() || kBase < 16) {
      return TakeStepwise(rest, CheckedPower(position));
    } else {
      constexpr int kDigitBits = std::bit_width(kBase);
      const auto place = static_cast<std::size_t>(-1 - position);
      if (place < kNearPlaceValues<kBase>.size()) {
        return TakeAtOnce<kDigitBits>(rest, kNearPlaceValues<kBase>[place]);
      }
      return TakeAtOnce<kDigitBits>(rest, PlaceValue(CheckedPower(position)));
    }
  }

  static double CheckedPower(std::int32_t position) {
    const double place = Power(kTable, position);
    // Subtracting nothing never ends.
    if (place == 0) throw RuntimeError(error_number::kOverflow);
    return place;
  }

  /// Writes `count` integer digits and returns what they leave.
  double PutInteger(double rest, std::int32_t count) {
    if (PowerBits(kTable, count - 1) >= kInfinityBits) throw RuntimeError(error_number::kOverflow);
    // What a place value leaves is less than it, so that this ends at the last one.
    while (!(rest < kExactWholes)) {
      const Taken taken = TakeStepwise(rest, Power(kTable, --count));
      Digits<kBase>::Put(taken.digit, buffer_);
      rest = taken.rest;
    }
    return PutExactInteger(rest, count);
  }

  /// The last `count` digits, of a whole part that is exact.
  double PutExactInteger(double rest, std::int32_t count) {
    if (rest >= Power(kTable, count)) RaiseInvalidDigit();
    const auto whole = static_cast<std::int64_t>(rest);
    for (; count > kMostWholeDigits; --count) Digits<kBase>::Put(0, buffer_);
    Digits<kBase>::PutWhole(static_cast<std::uint64_t>(whole), count, buffer_);
    return rest - static_cast<double>(whole);
  }

  void PutFraction(double rest) {
    for (std::int32_t position = 0; !FractionEnds(rest, limits_.tolerance, position);) {
      const Taken taken = TakeAt(rest, --position);
      Digits<kBase>::Put(taken.digit, buffer_);
      rest = taken.rest;
    }
  }

  /// The fraction in a power of two, where no subtraction rounds: what is left moves up by a digit
  /// instead of the place value down, and its whole part is the digit.
  void PutExactFraction(double rest) {
    double tolerance = limits_.tolerance;
    for (std::int32_t position = 0; !FractionEnds(rest, tolerance, position);) {
      if (PowerBits(kTable, --position) == 0) throw RuntimeError(error_number::kOverflow);
      rest *= kBase;
      tolerance *= kBase;
      const auto digit = static_cast<std::int32_t>(rest);
      Digits<kBase>::Put(digit, buffer_);
      rest -= digit;
    }
  }

  bool FractionEnds(double rest, double tolerance, std::int32_t position) const {
    const std::int32_t most = limits_.maxFractionDigits;
    return (most != -1 && position <= -most) || rest <= tolerance;
  }

  const ConversionLimits& limits_;
  DigitBuffer& buffer_;
};

template <std::uint32_t kBase>
void Write(double x, const ConversionLimits& limits, DigitBuffer& buffer) {
  const double magnitude = std::abs(x);
  CheckLogarithm(magnitude);
  const std::int32_t count =
      PaddedToGroup(FloorOfQuotient(magnitude, *FindBaseTable(kBase)) + 1, limits.groupSize);
  if (count < 0) NumberWriter<kBase>::RaiseEndless(magnitude, count);
  NumberWriter<kBase>(limits, buffer).Write(magnitude, std::signbit(x), count);
}

/// A base that has no digits: at its first digit at the latest it fails.
void WriteWithoutDigits(double x, std::int32_t base, const ConversionLimits& limits,
                        DigitBuffer& buffer) {
  const double magnitude = std::abs(x);
  const std::int32_t count = DigitCount(magnitude, limits.groupSize, base);
  if (count == 0 && !HasFraction(magnitude, limits)) {
    if (std::signbit(x)) buffer.Put(u'-');
    buffer.Put(u'0');
    return;
  }
  const double place = RoundedPower(base, count - 1);
  if (BitsOf(place) == kInfinityBits) throw RuntimeError(error_number::kOverflow);
  const std::int32_t digit = CountSteps(magnitude, place);
  if (digit < 0) throw RuntimeError(error_number::kOverflow);
  if (digit >= base) RaiseInvalidDigit();
  RaiseUnknownBase();
}

using Writer = void (*)(double x, const ConversionLimits& limits, DigitBuffer& buffer);

/// The writer of each base, in the order of kBaseTables.
constexpr auto kWriters = []<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
  return std::array<Writer, sizeof...(kIndex)>{Write<kBaseTables[kIndex].base>...};
}
(std::make_index_sequence<kNoBaseTable>());

}  // namespace

void WriteNumber(double x, std::int32_t base, const ConversionLimits& limits, DigitBuffer& buffer) {
  const std::size_t index = FindBaseIndex(base);
  if (index == kNoBaseTable) return WriteWithoutDigits(x, base, limits, buffer);
  kWriters[index](x, limits, buffer);
}

void AppendNumber(double x, std::int32_t base, const ConversionLimits& limits, Text& text) {
  DigitBuffer buffer;
  WriteNumber(x, base, limits, buffer);
  text.append(buffer.View());
}

}  // namespace brindlex
