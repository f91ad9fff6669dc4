#pragma once

#include <bit>
#include <cstdint>
#include <vector>

#include "bases/exact.h"

namespace brindlex {

/// Reproducible numbers to convert, the same in every build: whole-number arithmetic and exact
/// scaling only (by SplitMix64).
class NumberSource {
 public:
  explicit NumberSource(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Bits() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t bits = state_;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31U);
  }

  std::uint32_t Below(std::uint32_t limit) {
    return static_cast<std::uint32_t>(((Bits() >> 32U) * limit) >> 32U);
  }

  /// A positive double of any magnitude, denormals included.
  double AnyMagnitude() {
    for (;;) {
      const std::uint64_t bits = Bits() >> 1U;
      if (bits != 0 && bits < kInfinity) return std::bit_cast<double>(bits);
    }
  }

  /// A positive double with a random fraction, from 2^lowest to below 2^(lowest + count).
  double Magnitude(int lowest, std::uint32_t count) {
    const auto exponent = static_cast<std::uint64_t>(1023 + lowest) + Below(count);
    return std::bit_cast<double>((exponent << 52U) | (Bits() >> 12U));
  }

  /// A double up to 8 steps away from a power of `base`, positive and finite.
  double NearPower(std::int32_t base) {
    for (;;) {
      const auto exponent = static_cast<std::int32_t>(Below(600)) - 300;
      const auto power = std::bit_cast<std::uint64_t>(RoundedPower(base, exponent));
      const std::uint64_t bits = power + Below(17) - 8;
      if (power != 0 && bits - 1 < kInfinity - 1) return std::bit_cast<double>(bits);
    }
  }

  /// One of all sorts, with either sign, mostly such as users have: nine-digit whole numbers, three
  /// decimals, whole numbers to 2^53, any fraction, and now and then any magnitude at all.
  double Mixed() {
    const std::uint32_t sort = Below(32);
    const double magnitude = Sort(sort);
    return Below(4) == 0 ? -magnitude : magnitude;
  }

 private:
  static constexpr std::uint64_t kInfinity = 0x7FF0000000000000U;

  double Sort(std::uint32_t sort) {
    if (sort < 8) return static_cast<double>(Below(999999999) + 1);
    if (sort < 16) return static_cast<double>(Below(9999999) + 1) / 1000;
    if (sort < 20) return static_cast<double>(static_cast<std::int64_t>(Bits() >> 11U) + 1);
    if (sort < 30) return Magnitude(-2, 66);
    if (sort < 31) return Magnitude(-12, 1035);
    return AnyMagnitude();
  }

  std::uint64_t state_;
};

}  // namespace brindlex
