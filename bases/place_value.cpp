#include "bases/place_value.h"

#include <limits>

#include "bases/digit_count.h"
#include "bases/double_bits.h"

namespace brindlex {

std::int32_t CountSteps(double rest, double place) {
  constexpr double kMostSteps = std::numeric_limits<std::int32_t>::max();
  double steps = 0;
  while (rest >= place) {
    const double less = rest - place;
    if (less == rest) return -1;
    rest = less;
    steps += 1;
    if (rest < 4 * place) continue;
    // Up to the next power of two below, every step takes away the place value as rounded here.
    const double lower = FromBits(PowerOfTwoBits(ExponentOf(rest)));
    const double step = (lower + place) - lower;
    // A little less than fits, so that rounding cannot yield less.
    const double jump = Floor((rest - lower) / place * (1 - 0x1p-20));
    rest -= jump * step;
    steps += jump;
  }
  return steps <= kMostSteps ? static_cast<std::int32_t>(steps) : -1;
}

}  // namespace brindlex
