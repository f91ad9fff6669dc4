#include "bases/digit_count.h"

#include <limits>

#include "automation/runtime_error.h"
#include "bases/exact.h"
#include "bases/powers.h"

namespace brindlex {

double Floor(double x) {
  constexpr double kAllWhole = 0x1p52;
  if (!(x > -kAllWhole && x < kAllWhole)) return x;
  const auto part = static_cast<double>(static_cast<std::int64_t>(x));
  return part > x ? part - 1 : part;
}

std::int32_t FloorOfQuotient(double x, std::int32_t base) {
  if (const BaseTable* const table = FindBaseTable(base)) return FloorOfQuotient(x, *table);
  return static_cast<std::int32_t>(Floor(RoundedLn(x) / RoundedLn(base)));
}

void CheckLogarithm(double x) {
  if (x == 0) throw RuntimeError(error_number::kInvalidCall);
  if (!(x <= std::numeric_limits<double>::max())) throw RuntimeError(error_number::kOverflow);
}

std::int32_t DigitCount(double x, std::int32_t groupSize, std::int32_t base) {
  CheckLogarithm(x);
  return PaddedToGroup(FloorOfQuotient(x, base) + 1, groupSize);
}

}  // namespace brindlex
