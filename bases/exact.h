#pragma once

#include <cstdint>

namespace brindlex {

/// Powers and logarithms rounded once from a value that is exact, or known far beyond double
/// precision. Whole-number arithmetic only: no run time's mathematics, no mode of the
/// floating-point unit and no fused operation can change a bit. Slow (some ten microseconds); what
/// is needed often is kept in tables instead. Any thread; nothing is allocated.

/// base^exponent, rounded to the nearest double, ties to even: a denormal or 0 where it is that
/// small, infinity where it is beyond the largest double. `base` is 2 or more.
double RoundedPower(std::int32_t base, std::int32_t exponent);

/// The natural logarithm of `x`, rounded to the nearest double. `x` is positive and finite.
///
/// ln(m * 2^e) = e * ln 2 + 2 * atanh((m - 1) / (m + 1)) for 1 <= m < 2, summed as a power series
/// in fixed point with 224 binary places. Its error stays below 2^-206 and the result is at least
/// 2^-53, while no double's logarithm lies closer than about 2^-118, relatively, to a point halfway
/// between two doubles (V. Lefevre, J.-M. Muller, "Worst Cases for Correct Rounding of the
/// Elementary Functions in Double Precision"); so the rounding is always decided.
double RoundedLn(double x);

}  // namespace brindlex
