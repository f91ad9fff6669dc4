#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace brindlex {

/// How a digit is found: the place value is subtracted until what is left is below it. Every
/// subtraction rounds to double, and where the place value is no multiple of the last place of what
/// is left, that rounding shows in the following digits. So every function here yields what the
/// loop yields, to the bit.

/// A digit, and the rest for the following digits.
struct Taken {
  double rest;
  std::int32_t digit;
};

/// Subtracts `place` from `rest` while `rest` >= `place`, and counts. The loop itself; for a
/// positive `place` that goes into `rest` some hundred times at most.
Taken TakeStepwise(double rest, double place);

/// How often the loop subtracts `place` from `rest`, both finite, none negative; -1 when it does
/// not end within the range of a 32-bit counter. Jumps over the steps that all take away the same.
std::int32_t CountSteps(double rest, double place);

/// A place value with what TakeAtOnce needs of it, which takes longer to compute than a digit.
struct PlaceValue {
  static constexpr std::size_t kRanges = 8;

  explicit constexpr PlaceValue(double value);

  double place;
  double inverse;
  /// The place value without its last seven bits.
  double high{};
  /// Where each range begins, in place values; 1 more for the first step and 0.5 more so that
  /// rounding the part above it truncates.
  std::array<double, kRanges> lower{};
  /// By how much a step that ends in each range takes away more than in the range below.
  std::array<double, kRanges> excess{};
};

/// As TakeStepwise, without the loop where the machine has SSE2; for bases with large digits.
/// `kDigitBits`, 5 or 6, is a hint: `place` goes into `rest` less than 2^kDigitBits times.
///
/// In units of the last place of the place value P, a step whose result is in [2^(52+s), 2^(53+s))
/// rounds to a multiple of 2^s. It starts from such a multiple, which is even except perhaps
/// before the first step, so that the step takes away P rounded half to even to a multiple of 2^s:
/// always the same. Hence it is enough to know how many steps end in each such range. In exact
/// arithmetic that is the truncated quotient by P of the part above the range's lower end. All
/// roundings together stay below 2^-41 P, so that the true number can differ only when that
/// quotient is next to a whole number; then the loop decides.
template <int kDigitBits>
Taken TakeAtOnce(double rest, const PlaceValue& value);

}  // namespace brindlex

#include "bases/place_value_inl.h"
