#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindlex::cli {

/// What the values of a column have in common, learnt from valid records; it shows whether a value
/// belongs there. Values are bytes of the file's encoding.
class ColumnProfile {
 public:
  /// Learns from a value; at least a few are needed before anything is refused.
  void Learn(std::string_view value);

  /// False when `value` has not what all values of the column have: that they are numbers, hold no
  /// letters, are never empty, or are a few that come again and again.
  bool Fits(std::string_view value) const;

 private:
  std::uint64_t count_ = 0;
  bool areNumbers_ = true;
  bool holdNoLetters_ = true;
  bool areNeverEmpty_ = true;
  std::uint64_t notEmpty_ = 0;
  std::set<std::string, std::less<>> values_;
};

/// A run of neighbouring fields that are one value: `count` of them, from `first` on (from 0).
struct Join {
  std::size_t first = 0;
  std::size_t count = 0;
};

/// `values` with that run made one, `marker` between its parts.
std::vector<std::string> Joined(const std::vector<std::string>& values, const Join& join,
                                std::string_view marker);

}  // namespace brindlex::cli
