#pragma once

#include <cstddef>
#include <cstdint>

#include "bases/double_bits.h"
#include "bases/powers.h"

namespace brindlex {

/// The largest whole number not above `x`; `x` itself when it is not finite. Any thread.
double Floor(double x);

/// Whether `quotient` is reached by the quotient of logarithms of a double with the pattern `bits`.
inline bool ReachesQuotient(std::uint64_t bits, std::int32_t quotient, const BaseTable& table) {
  const std::int32_t index = quotient - table.lowestThreshold;
  if (index < 0) return true;
  const auto at = static_cast<std::size_t>(index);
  if (at >= table.slips.size()) return false;
  // A slip may be negative; the sum wraps to the right pattern.
  const auto slip = static_cast<std::uint64_t>(std::int64_t{table.slips[at]});
  return bits >= PowerBits(table, quotient) + slip;
}

/// The floor of ln(x) / ln(base), where both logarithms and the quotient are rounded to double one
/// after another; for the bases that have a table. Near a power of the base that rounding decides,
/// and it is reproduced to the bit. `x` is positive and finite. Constant time, no logarithm taken.
inline std::int32_t FloorOfQuotient(double x, const BaseTable& table) {
  // The logarithm to base 2 times 2^20, taken as linear between powers of 2: at most 0.09 too low.
  const auto log = ExponentOf(x) >= kLowestNormalExponent
                       ? static_cast<std::int32_t>(BitsOf(x) >> 32U) - (kExponentBias << 20)
                       : ExponentOf(x) << 20;
  // More than the error of table.logOfTwo and the slips can make up for.
  constexpr std::int64_t kGuard = std::int64_t{1} << 31;
  auto quotient = static_cast<std::int32_t>((std::int64_t{log} * table.logOfTwo - kGuard) >> 40);
  while (ReachesQuotient(BitsOf(x), quotient + 1, table)) ++quotient;
  return quotient;
}

/// As above for any `base` of 2 or more; takes the logarithms (RoundedLn) when there is no table.
std::int32_t FloorOfQuotient(double x, std::int32_t base);

/// `count` rounded up to a multiple of `groupSize`, also below 0 (-1 becomes 0); as it is when
/// `groupSize` is 1 or less. It is not above the largest whole number: `count` is a digit count.
inline std::int32_t PaddedToGroup(std::int32_t count, std::int32_t groupSize) {
  if (groupSize < 2) return count;
  // A remainder takes the sign of the count, so that below 0 cutting it off is rounding up.
  const std::int32_t over = count % groupSize;
  return over > 0 ? count + (groupSize - over) : count - over;
}

/// Error 5 when `x` is 0, error 6 when it is infinite or no number; it is not negative.
void CheckLogarithm(double x);

/// The number of integer digits that are written for the magnitude `x` in `base` (2 or more):
/// FloorOfQuotient + 1, padded to `groupSize`. The count is one short where the quotient rounds to
/// just below a whole number (1000 in base 10), one long where it rounds up to one, and 0 or less
/// below 1. Errors of CheckLogarithm.
std::int32_t DigitCount(double x, std::int32_t groupSize, std::int32_t base);

}  // namespace brindlex
