#pragma once

// The body of TakeAtOnce, which is worth its speed only where it is expanded in place.

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <array>
#include <cstddef>
#include <limits>

#include "bases/place_value.h"

namespace brindlex {
namespace place_value {

inline constexpr int kLowPatterns = 128;
inline constexpr std::size_t kLanes = 8;

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
  std::array<std::array<double, kLanes>, kLowPatterns> excesses{};
  for (unsigned low = 0; low < unsigned{kLowPatterns}; ++low) {
    excesses[low][0] = low;
    for (unsigned s = 1; s <= 6; ++s) excesses[low][s] = Excess(low, s) - Excess(low, s - 1);
  }
  return excesses;
}();

/// The lower ends of the ranges as multiples of the power of two below the place value.
inline constexpr std::array<double, kLanes> kLowerEnds = {0, 2, 4, 8, 16, 32, 64, 128};

}  // namespace place_value

#if defined(__SSE2__)

template <int kDigitBits>
inline Taken TakeAtOnce(double rest, double place) {
  constexpr std::size_t kUsedLanes = kDigitBits < 6 ? 6 : 8;
  // Cuts a number below 2^51 when it is added and subtracted after 0.5 has been taken off.
  const __m128d cutter = _mm_set1_pd(0x1.8p52);
  constexpr double kSureDistance = 0.5 - 0x1p-38;
  constexpr double kLeastPlace = 0x1p-960;

  if (rest < place) return {rest, 0};
  rest -= place;
  if (rest < place) return {rest, 1};
  // The parts of the place value: never by way of its pattern, since a 32-bit machine is slow to
  // make a double of its halves.
  const __m128d places = _mm_set_sd(place);
  const __m128d lowMask = _mm_castsi128_pd(_mm_cvtsi32_si128(place_value::kLowPatterns - 1));
  const int low = _mm_cvtsi128_si32(_mm_castpd_si128(_mm_and_pd(places, lowMask)));
  const double high = _mm_cvtsd_f64(_mm_andnot_pd(lowMask, places));
  const __m128d exponentMask = _mm_set_sd(std::numeric_limits<double>::infinity());
  const double lead = _mm_cvtsd_f64(_mm_and_pd(places, exponentMask));
  const double inverse = 1 / place;
  const double quotient = rest * inverse;
  constexpr double kMostSteps = (1 << kDigitBits) - 1;
  if (!(quotient < kMostSteps) || place < kLeastPlace) {
    const Taken more = TakeStepwise(rest, place);
    return {more.rest, more.digit + 1};
  }

  const __m128d quotients = _mm_set1_pd(quotient);
  const __m128d end = _mm_set1_pd(lead * inverse);
  __m128d digits = _mm_setzero_pd();
  __m128d distance = _mm_setzero_pd();
  __m128d units = _mm_setzero_pd();
  for (std::size_t i = 0; i < kUsedLanes; i += 2) {
    const __m128d multiple = _mm_loadu_pd(place_value::kLowerEnds.data() + i);
    const __m128d lower = _mm_add_pd(_mm_mul_pd(end, multiple), _mm_set1_pd(0.5));
    const __m128d above = _mm_max_pd(_mm_sub_pd(quotients, lower), _mm_setzero_pd());
    const __m128d steps = _mm_sub_pd(_mm_add_pd(above, cutter), cutter);
    const __m128d over = _mm_sub_pd(above, steps);
    distance = _mm_max_pd(distance, _mm_max_pd(over, _mm_sub_pd(steps, above)));
    const __m128d excess =
        _mm_loadu_pd(place_value::kExcesses[static_cast<std::size_t>(low)].data() + i);
    units = _mm_add_pd(units, _mm_mul_pd(steps, excess));
    if (i == 0) digits = steps;
  }
  distance = _mm_max_sd(distance, _mm_unpackhi_pd(distance, distance));
  if (_mm_cvtsd_f64(distance) > kSureDistance) {
    const Taken more = TakeStepwise(rest, place);
    return {more.rest, more.digit + 1};
  }
  units = _mm_add_sd(units, _mm_unpackhi_pd(units, units));
  // Both products and both differences are exact.
  const double digit = _mm_cvtsd_f64(digits);
  const double unit = lead * 0x1p-52;
  return {(rest - digit * high) - _mm_cvtsd_f64(units) * unit,
          static_cast<std::int32_t>(digit) + 1};
}

#else

template <int kDigitBits>
inline Taken TakeAtOnce(double rest, double place) {
  return TakeStepwise(rest, place);
}

#endif

}  // namespace brindlex
