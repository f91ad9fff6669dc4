#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "bases/base_tables.h"
#include "bases/double_bits.h"

namespace brindlex {

/// The bases that have digits, ascending.
inline constexpr auto kBases = [] {
  std::array<std::int32_t, std::size(kBaseTables)> bases{};
  std::ranges::transform(kBaseTables, bases.begin(), &BaseTable::base);
  return bases;
}();

/// The index of the bases that have no digits.
inline constexpr std::size_t kNoBaseTable = std::size(kBaseTables);

/// The index in kBaseTables of every base up to the largest. Outside the function that reads it, so
/// that it is not copied for each call.
inline constexpr auto kBaseIndexes = [] {
  std::array<std::uint8_t, std::size_t{std::end(kBaseTables)[-1].base} + 1> indexes{};
  indexes.fill(kNoBaseTable);
  for (std::size_t index = 0; index < std::size(kBaseTables); ++index) {
    indexes.at(static_cast<std::size_t>(kBaseTables[index].base)) =
        static_cast<std::uint8_t>(index);
  }
  return indexes;
}();

/// The index of `base` in kBaseTables; kNoBaseTable for the bases that have no digits.
constexpr std::size_t FindBaseIndex(std::int32_t base) {
  // A negative base becomes a large number.
  const auto at = static_cast<std::size_t>(base);
  return at < kBaseIndexes.size() ? kBaseIndexes[at] : kNoBaseTable;
}

/// The table of `base`; null for the bases that have no digits.
constexpr const BaseTable* FindBaseTable(std::int32_t base) {
  const std::size_t index = FindBaseIndex(base);
  return index == kNoBaseTable ? nullptr : &kBaseTables[index];
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
