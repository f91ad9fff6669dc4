#include "bases/exact.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <iterator>

#include "bases/double_bits.h"

namespace brindlex {
namespace {

using Limb = std::uint32_t;
constexpr int kLimbBits = 32;

/// significand * 2^(exponent - 63), and a little more when `sticky`, rounded to a double. The
/// significand's top bit is set.
double RoundToDouble(std::uint64_t significand, bool sticky, int exponent) {
  if (exponent > kExponentBias) return FromBits(kInfinityBits);
  if (exponent < kLowestExponent - 1) return 0.0;
  const int precision = std::min(kFractionBits + 1, exponent - kLowestExponent + 1);
  const int dropped = 64 - precision;
  const std::uint64_t kept = dropped == 64 ? 0 : significand >> dropped;
  const std::uint64_t half = std::uint64_t{1} << (dropped - 1);
  const std::uint64_t below = significand & (half - 1);
  const bool up = (significand & half) != 0 && (below != 0 || sticky || (kept & 1U) != 0);
  // The leading bit of a normal number adds 1 to the exponent field, a carry out of it one more.
  const int field = std::max(exponent - kLowestNormalExponent, 0);
  return FromBits((static_cast<std::uint64_t>(field) << kFractionBits) + kept + (up ? 1 : 0));
}

/// A run of limbs, least first, read as one number.
template <std::size_t kSize>
struct Limbs {
  std::array<Limb, kSize> limb{};

  constexpr bool IsZero() const {
    return std::all_of(limb.begin(), limb.end(), [](Limb l) { return l == 0; });
  }

  /// Of a number that is not zero.
  int BitLength() const {
    const auto top = std::find_if(limb.rbegin(), limb.rend(), [](Limb l) { return l != 0; });
    const auto below = std::distance(top, limb.rend()) - 1;
    return static_cast<int>(below) * kLimbBits + static_cast<int>(std::bit_width(*top));
  }

  bool Bit(int index) const {
    const auto at = static_cast<unsigned>(index);
    return index >= 0 && ((limb[at / kLimbBits] >> (at % kLimbBits)) & 1U) != 0;
  }

  constexpr void SetBit(int index) {
    const auto at = static_cast<unsigned>(index);
    limb[at / kLimbBits] |= Limb{1} << (at % kLimbBits);
  }

  constexpr void MultiplyBy(Limb factor) {
    std::uint64_t carry = 0;
    for (Limb& l : limb) {
      carry += std::uint64_t{l} * factor;
      l = static_cast<Limb>(carry);
      carry >>= kLimbBits;
    }
  }

  constexpr void DivideBy(Limb divisor) {
    std::uint64_t rest = 0;
    for (auto l = limb.rbegin(); l != limb.rend(); ++l) {
      rest = (rest << kLimbBits) | *l;
      *l = static_cast<Limb>(rest / divisor);
      rest %= divisor;
    }
  }

  constexpr void Add(const Limbs& other) {
    std::uint64_t carry = 0;
    auto added = other.limb.begin();
    for (Limb& l : limb) {
      carry += std::uint64_t{l} + *added++;
      l = static_cast<Limb>(carry);
      carry >>= kLimbBits;
    }
  }

  void Subtract(const Limbs& other) {
    std::uint64_t borrow = 0;
    auto taken = other.limb.begin();
    for (Limb& l : limb) {
      const std::uint64_t difference = std::uint64_t{l} - *taken++ - borrow;
      l = static_cast<Limb>(difference);
      borrow = difference >> 63U;
    }
  }

  bool Reaches(const Limbs& other) const {
    return !std::lexicographical_compare(limb.rbegin(), limb.rend(), other.limb.rbegin(),
                                         other.limb.rend());
  }

  /// The number, not zero, times 2^scale, rounded to a double.
  double Rounded(int scale) const {
    const int top = BitLength() - 1;
    std::uint64_t significand = 0;
    for (int bit = top; bit > top - 64; --bit) {
      significand = (significand << 1U) | (Bit(bit) ? 1U : 0U);
    }
    bool sticky = false;
    for (int bit = top - 64; bit >= 0 && !sticky; --bit) sticky = Bit(bit);
    return RoundToDouble(significand, sticky, top + scale);
  }
};

// Room for a product that has just passed the last power that matters, and for its double.
using Whole = Limbs<36>;
constexpr int kBitsBeyondAllPowers = 1077;

/// 1 / divisor, by long division.
double RoundedReciprocal(const Whole& divisor) {
  const int length = divisor.BitLength();
  Whole rest;
  rest.SetBit(length - 1);
  std::uint64_t quotient = 0;
  for (int bit = 0; bit < 64; ++bit) {
    rest.MultiplyBy(2);
    quotient <<= 1U;
    if (rest.Reaches(divisor)) {
      rest.Subtract(divisor);
      quotient |= 1U;
    }
  }
  // A power of two gives 0.111... without end here, which rounds to its value.
  return RoundToDouble(quotient, !rest.IsZero(), -length);
}

// One limb before the point, the others after it.
constexpr std::size_t kFixedSize = 8;
using Fixed = Limbs<kFixedSize>;
constexpr int kPlaces = (kFixedSize - 1) * kLimbBits;

constexpr Fixed Product(const Fixed& left, const Fixed& right) {
  std::array<Limb, 2 * kFixedSize> wide{};
  Limb* lowest = wide.data();
  for (const Limb one : left.limb) {
    std::uint64_t carry = 0;
    Limb* place = lowest++;
    for (const Limb other : right.limb) {
      carry += std::uint64_t{one} * other + *place;
      *place++ = static_cast<Limb>(carry);
      carry >>= kLimbBits;
    }
    *place = static_cast<Limb>(carry);
  }
  Fixed product;
  std::copy_n(wide.begin() + kFixedSize - 1, kFixedSize, product.limb.begin());
  return product;
}

/// part / whole, for part < whole < 2^63.
constexpr Fixed Ratio(std::uint64_t part, std::uint64_t whole) {
  Fixed ratio;
  for (int bit = kPlaces - 1; bit >= 0; --bit) {
    part *= 2;
    if (part >= whole) {
      part -= whole;
      ratio.SetBit(bit);
    }
  }
  return ratio;
}

/// 2 * atanh(part / whole), for part / whole up to 1/3.
constexpr Fixed TwiceAtanh(std::uint64_t part, std::uint64_t whole) {
  Fixed power = Ratio(part, whole);
  const Fixed square = Product(power, power);
  Fixed sum;
  for (Limb odd = 1; !power.IsZero(); odd += 2) {
    Fixed term = power;
    term.DivideBy(odd);
    sum.Add(term);
    power = Product(power, square);
  }
  sum.MultiplyBy(2);
  return sum;
}

constexpr Fixed kLnOf2 = TwiceAtanh(1, 3);

}  // namespace

double RoundedPower(std::int32_t base, std::int32_t exponent) {
  // The negation of the least whole number has no room in 32 bits.
  const bool isReciprocal = exponent < 0;
  const std::int64_t times = isReciprocal ? -std::int64_t{exponent} : exponent;
  Whole power;
  power.SetBit(0);
  for (std::int64_t i = 0; i < times; ++i) {
    power.MultiplyBy(static_cast<Limb>(base));
    if (power.BitLength() >= kBitsBeyondAllPowers) {
      return isReciprocal ? 0.0 : FromBits(kInfinityBits);
    }
  }
  return isReciprocal ? RoundedReciprocal(power) : power.Rounded(0);
}

double RoundedLn(double x) {
  constexpr std::uint64_t kOne = std::uint64_t{1} << kFractionBits;
  const int exponent = ExponentOf(x);
  const std::uint64_t bits = BitsOf(x);
  const std::uint64_t significand = exponent >= kLowestNormalExponent
                                        ? (bits & kFractionMask) | kOne
                                        : bits << (kLowestNormalExponent - exponent);
  Fixed sum = kLnOf2;
  sum.MultiplyBy(static_cast<Limb>(std::abs(exponent)));
  const Fixed rest = TwiceAtanh(significand - kOne, significand + kOne);
  if (exponent < 0) {
    sum.Subtract(rest);
  } else {
    sum.Add(rest);
  }
  if (sum.IsZero()) return 0.0;
  const double magnitude = sum.Rounded(-kPlaces);
  return exponent < 0 ? -magnitude : magnitude;
}

}  // namespace brindlex
