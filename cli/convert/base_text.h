#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bases/number_writer.h"

namespace brindlex::cli {

/// `number` from base `from` in base `to`, as the component writes it, the number in base 10 as
/// text with a point. Failure kDefects with the component's own description, its number and the
/// operation that raised it.
std::string ConvertedNumber(const std::string& number, std::int32_t from, std::int32_t to,
                            const ConversionLimits& limits);

/// A decimal number in one base: its text, or why it has none.
struct BaseRow {
  std::int32_t base = 0;
  std::string text;
  std::string error;
};

/// Every base that has digits, as a list in words: "2, 8, 10 and 60".
std::string BaseList();

/// A decimal number in every base that has digits.
std::vector<BaseRow> BaseTable(const std::string& number, const ConversionLimits& limits);

}  // namespace brindlex::cli
