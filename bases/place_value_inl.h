#pragma once

// What is worth its speed only where it is expanded in place.

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <bit>
#include <cstddef>

#include "bases/double_bits.h"
#include "bases/place_value.h"

namespace brindlex {
namespace place_value {

inline constexpr int kLowPatterns = 128;

/// By how much a step that ends in range s takes away more than the place value, in units, when the
/// place value ends in the seven bits `low`.
constexpr int Excess(unsigned low, unsigned s) {
  const unsigned span = 1U << s;
  const unsigned below = low % span;
  const bool up = 2 * below > span || (2 * below == span && (low / span) % 2 != 0);
  return (up ? static_cast<int>(span) : 0) - static_cast<int>(below);
}

/// For each low pattern: first the pattern itself, which the digit takes away beside multiples of
/// the rest of the place value; then, for s = 1 to 6, how much a step that ends in range s or above
/// adds to what the ranges below it have.
inline constexpr auto kExcesses = [] {
  std::array<std::array<double, PlaceValue::kRanges>, kLowPatterns> excesses{};
  for (unsigned low = 0; low < unsigned{kLowPatterns}; ++low) {
    excesses[low][0] = low;
    for (unsigned s = 1; s <= 6; ++s) excesses[low][s] = Excess(low, s) - Excess(low, s - 1);
  }
  return excesses;
}();

/// The lower ends of the ranges as multiples of the power of two below the place value.
inline constexpr std::array<double, PlaceValue::kRanges> kLowerEnds = {0, 2, 4, 8, 16, 32, 64, 128};

}  // namespace place_value

inline Taken TakeStepwise(double rest, double place) {
  Taken taken{rest, 0};
  while (taken.rest >= place) {
    taken.rest -= place;
    ++taken.digit;
  }
  return taken;
}

constexpr PlaceValue::PlaceValue(double value) : place(value), inverse(1 / value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const std::size_t low = bits % place_value::kLowPatterns;
  high = std::bit_cast<double>(bits - low);
  const auto lead = std::bit_cast<double>(bits & kInfinityBits);
  const double end = lead * inverse;
  const double unit = lead * 0x1p-52;
  for (std::size_t i = 0; i < kRanges; ++i) {
    lower[i] = end * place_value::kLowerEnds[i] + 1.5;
    excess[i] = place_value::kExcesses[low][i] * unit;
  }
}

#if defined(__SSE2__)

namespace place_value {

/// The steps that end in each range, in pairs of ranges.
struct RangeSteps {
  /// Of the two lowest ranges; the first is the digit, less one.
  __m128d lowest;
  /// What all steps together take away beside multiples of PlaceValue::high, as two summands.
  __m128d excess;
  /// The largest distance of a quotient from the whole number that it is rounded to.
  double distance;
};

/// Of steps that subtract `value` from `quotient` place values, less than 2^kDigitBits.
template <int kDigitBits>
[[gnu::always_inline]] inline RangeSteps StepsInRanges(double quotient, const PlaceValue& value) {
  // Truncates a number below 2^51 when it is added and subtracted after 0.5 has been taken off.
  const __m128d truncator = _mm_set1_pd(0x1.8p52);
  const __m128d quotients = _mm_set1_pd(quotient);
  __m128d distance = _mm_setzero_pd();
  const auto stepsFrom = [&](std::size_t i) {
    const __m128d lower = _mm_loadu_pd(value.lower.data() + i);
    const __m128d above = _mm_max_pd(_mm_sub_pd(quotients, lower), _mm_setzero_pd());
    const __m128d steps = _mm_sub_pd(_mm_add_pd(above, truncator), truncator);
    const __m128d over = _mm_andnot_pd(_mm_set1_pd(-0.0), _mm_sub_pd(above, steps));
    distance = _mm_max_pd(distance, over);
    return steps;
  };
  const __m128d lowest = stepsFrom(0);
  __m128d excess = _mm_mul_pd(lowest, _mm_loadu_pd(value.excess.data()));
  for (std::size_t i = 2; i <= kDigitBits; i += 2) {
    const __m128d steps = stepsFrom(i);
    excess = _mm_add_pd(excess, _mm_mul_pd(steps, _mm_loadu_pd(value.excess.data() + i)));
  }
  distance = _mm_max_sd(distance, _mm_unpackhi_pd(distance, distance));
  return {lowest, excess, _mm_cvtsd_f64(distance)};
}

}  // namespace place_value

template <int kDigitBits>
inline Taken TakeAtOnce(double rest, const PlaceValue& value) {
  constexpr double kSureDistance = 0.5 - 0x1p-38;
  constexpr double kLeastPlace = 0x1p-960;
  constexpr double kMostSteps = 1 << kDigitBits;
  const double place = value.place;
  if (rest < place) return {rest, 0};
  const double less = rest - place;
  if (less < place) return {less, 1};
  const auto takeRestStepwise = [less, place] {
    const Taken more = TakeStepwise(less, place);
    return Taken{more.rest, more.digit + 1};
  };
  const double quotient = rest * value.inverse;
  if (!(quotient < kMostSteps) || place < kLeastPlace) return takeRestStepwise();
  const auto [lowest, excess, distance] = place_value::StepsInRanges<kDigitBits>(quotient, value);
  if (distance > kSureDistance) return takeRestStepwise();
  // The product and both differences are exact.
  const double digit = _mm_cvtsd_f64(lowest);
  const __m128d sum = _mm_add_sd(excess, _mm_unpackhi_pd(excess, excess));
  return {(less - digit * value.high) - _mm_cvtsd_f64(sum), static_cast<std::int32_t>(digit) + 1};
}

#else

template <int kDigitBits>
inline Taken TakeAtOnce(double rest, const PlaceValue& value) {
  return TakeStepwise(rest, value.place);
}

#endif

}  // namespace brindlex
