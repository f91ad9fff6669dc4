#include "cli/check/column_profile.h"

#include <algorithm>

#include "cli/text/table.h"

namespace brindlex::cli {
namespace {

/// Fewer values say nothing about a column.
constexpr std::uint64_t kEnough = 3;
constexpr std::uint64_t kEnoughForFew = 50;
constexpr std::size_t kFew = 12;

bool HasLetter(std::string_view value) {
  return std::any_of(value.begin(), value.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           static_cast<unsigned char>(c) >= 0x80;
  });
}

}  // namespace

void ColumnProfile::Learn(std::string_view value) {
  ++count_;
  if (value.empty()) {
    areNeverEmpty_ = false;
    return;
  }
  ++notEmpty_;
  areNumbers_ = areNumbers_ && IsNumber(value);
  holdNoLetters_ = holdNoLetters_ && !HasLetter(value);
  constexpr std::size_t kLong = 100;
  if (values_.size() <= kFew) values_.emplace(value.substr(0, kLong));
}

bool ColumnProfile::Fits(std::string_view value) const {
  if (value.empty()) return count_ < kEnough || !areNeverEmpty_;
  if (notEmpty_ >= kEnoughForFew && values_.size() <= kFew &&
      values_.find(value) == values_.end()) {
    return false;
  }
  if (notEmpty_ < kEnough) return true;
  if (areNumbers_) return IsNumber(value);
  return !holdNoLetters_ || !HasLetter(value);
}

std::vector<std::string> Joined(const std::vector<std::string>& values, const Join& join,
                                std::string_view marker) {
  std::vector<std::string> joined;
  for (std::size_t at = 0; at < values.size(); ++at) {
    if (at > join.first && at < join.first + join.count) {
      joined.back().append(marker).append(values[at]);
    } else {
      joined.push_back(values[at]);
    }
  }
  return joined;
}

}  // namespace brindlex::cli
