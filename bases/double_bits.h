#pragma once

#include <bit>
#include <cstdint>

namespace brindlex {

/// The parts of an IEEE double, for positive values. The patterns of positive doubles are ordered
/// as the doubles are, and neighbours differ by 1.

inline constexpr std::uint64_t kInfinityBits = 0x7FF0000000000000U;
inline constexpr std::uint64_t kFractionMask = 0x000FFFFFFFFFFFFFU;
inline constexpr int kFractionBits = 52;
inline constexpr int kExponentBias = 1023;
inline constexpr int kLowestNormalExponent = -1022;
inline constexpr int kLowestExponent = -1074;

inline std::uint64_t BitsOf(double value) { return std::bit_cast<std::uint64_t>(value); }
inline double FromBits(std::uint64_t bits) { return std::bit_cast<double>(bits); }

/// The greatest e with 2^e <= `value`; `value` is positive and finite.
inline int ExponentOf(double value) {
  const std::uint64_t bits = BitsOf(value);
  const int biased = static_cast<int>(bits >> kFractionBits);
  if (biased != 0) return biased - kExponentBias;
  return kLowestExponent + static_cast<int>(std::bit_width(bits)) - 1;
}

/// The pattern of 2^exponent as a double: that of 0 below the least denormal, that of infinity
/// beyond the largest double.
inline std::uint64_t PowerOfTwoBits(int exponent) {
  if (exponent > kExponentBias) return kInfinityBits;
  if (exponent >= kLowestNormalExponent) {
    return static_cast<std::uint64_t>(exponent + kExponentBias) << kFractionBits;
  }
  if (exponent < kLowestExponent) return 0;
  return std::uint64_t{1} << (exponent - kLowestExponent);
}

}  // namespace brindlex
