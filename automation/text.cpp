#include "automation/text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "automation/case_fold_table.h"

namespace brindlex {

Text DecimalText(std::int32_t number) {
  char digits[12];
  auto* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
  return {std::begin(digits), end};
}

char16_t FoldCaseAfterAscii(char16_t unit) noexcept {
  const auto* run =
      std::upper_bound(std::begin(kCaseFoldRuns), std::end(kCaseFoldRuns), unit,
                       [](char16_t sought, const CaseFoldRun& r) { return sought < r.first; });
  if (run == std::begin(kCaseFoldRuns)) return unit;
  --run;
  if (unit > run->last || (unit - run->first) % run->stride != 0) return unit;
  return static_cast<char16_t>(unit + run->offset);
}

bool EqualIgnoringCase(TextView left, TextView right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char16_t a, char16_t b) { return a == b || FoldCase(a) == FoldCase(b); });
}

Text ReplaceAll(TextView text, TextView sought, TextView replacement) {
  Text result;
  std::size_t from = 0;
  if (!sought.empty()) {
    for (std::size_t at = text.find(sought); at != TextView::npos; at = text.find(sought, from)) {
      result.append(text, from, at - from).append(replacement);
      from = at + sought.size();
    }
  }
  return result.append(text, from);
}

}  // namespace brindlex
