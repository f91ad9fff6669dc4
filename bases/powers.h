#pragma once

#include <cstdint>

#include "bases/base_tables.h"
#include "bases/double_bits.h"

namespace brindlex {

/// The table of `base`; null for the bases that have no digits.
constexpr const BaseTable* FindBaseTable(std::int32_t base) {
  for (const BaseTable& table : kBaseTables) {
    if (table.base == base) return &table;
  }
  return nullptr;
}

/// The pattern of the table's base raised to `exponent`, rounded to the nearest double: that of 0
/// or of a denormal where it is that small, that of infinity beyond the largest double.
inline std::uint64_t PowerBits(const BaseTable& table, std::int32_t exponent) {
  // Even of 2, and before a product or difference below can overflow.
  if (exponent > kExponentBias) return kInfinityBits;
  if (table.digitBits != 0) return PowerOfTwoBits(table.digitBits * exponent);
  const std::int32_t index = exponent - table.lowestPower;
  if (index < 0) return 0;
  const auto at = static_cast<std::size_t>(index);
  return at < table.powers.size() ? BitsOf(table.powers[at]) : kInfinityBits;
}

/// As PowerBits, as the double itself.
inline double Power(const BaseTable& table, std::int32_t exponent) {
  if (table.digitBits != 0 || exponent > kExponentBias) return FromBits(PowerBits(table, exponent));
  // Not by the pattern: on 32-bit machines a double is slow to make of its halves.
  const std::int32_t index = exponent - table.lowestPower;
  if (index < 0) return 0;
  const auto at = static_cast<std::size_t>(index);
  return at < table.powers.size() ? table.powers[at] : FromBits(kInfinityBits);
}

}  // namespace brindlex
