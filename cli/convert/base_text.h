#pragma once

#include <cstdint>
#include <string>

#include "bases/number_writer.h"
#include "bases/powers.h"

namespace brindlex::cli {

/// `number` from base `from` in base `to`, as the component writes it, the number in base 10 as
/// text with a point. Failure kDefects with the component's own description, its number and the
/// operation that raised it.
std::string ConvertedNumber(const std::string& number, std::int32_t from, std::int32_t to,
                            const ConversionLimits& limits);

/// Every base that has digits, as a list in words: "2, 8, 10 and 60".
std::string BaseList();

}  // namespace brindlex::cli
