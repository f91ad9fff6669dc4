#include "cli/compare/alignment.h"

#include <algorithm>
#include <tuple>

namespace brindlex::cli {
namespace {

constexpr int kMostEdits = 1000;
constexpr int kMostLevels = 20;

/// Parts of both lists that are to be matched with each other.
struct Range {
  std::uint32_t beforeBegin;
  std::uint32_t beforeEnd;
  std::uint32_t afterBegin;
  std::uint32_t afterEnd;
  int level;

  bool IsEmpty() const { return beforeBegin == beforeEnd || afterBegin == afterEnd; }
};

struct Match {
  std::uint32_t before;
  std::uint32_t after;
};

class Aligner {
 public:
  Aligner(std::span<const ContentHash> before, std::span<const ContentHash> after)
      : before_(before), after_(after), matches_(before.size(), kUnmatched) {}

  std::vector<std::uint32_t> Run() {
    ranges_.push_back({0, static_cast<std::uint32_t>(before_.size()), 0,
                       static_cast<std::uint32_t>(after_.size()), 0});
    while (!ranges_.empty()) {
      Range range = ranges_.back();
      ranges_.pop_back();
      TrimEnds(range);
      if (range.IsEmpty()) continue;
      if (FindEdits(range)) continue;
      // What has neither few edits nor records of its own stays unmatched.
      if (range.level < kMostLevels) Divide(range);
    }
    return std::move(matches_);
  }

 private:
  void TrimEnds(Range& range) {
    while (!range.IsEmpty() && before_[range.beforeBegin] == after_[range.afterBegin]) {
      matches_[range.beforeBegin++] = range.afterBegin++;
    }
    while (!range.IsEmpty() && before_[range.beforeEnd - 1] == after_[range.afterEnd - 1]) {
      matches_[--range.beforeEnd] = --range.afterEnd;
    }
  }

  /// The records that both parts have exactly once, in the order of `before`.
  std::vector<Match> CommonOnes(const Range& range) const {
    struct Entry {
      ContentHash content;
      std::uint32_t index;
      bool isAfter;
    };
    std::vector<Entry> entries;
    for (std::uint32_t at = range.beforeBegin; at < range.beforeEnd; ++at)
      entries.push_back({before_[at], at, false});
    for (std::uint32_t at = range.afterBegin; at < range.afterEnd; ++at)
      entries.push_back({after_[at], at, true});
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
      return std::tie(left.content, left.isAfter) < std::tie(right.content, right.isAfter);
    });
    std::vector<Match> matches;
    for (std::size_t at = 0; at < entries.size();) {
      std::size_t end = at + 1;
      while (end < entries.size() && entries[end].content == entries[at].content) ++end;
      if (end - at == 2 && !entries[at].isAfter && entries[at + 1].isAfter) {
        matches.push_back({entries[at].index, entries[at + 1].index});
      }
      at = end;
    }
    std::sort(matches.begin(), matches.end(),
              [](const Match& left, const Match& right) { return left.before < right.before; });
    return matches;
  }

  /// The longest part of `matches` in which `after` rises too.
  static std::vector<Match> LongestRise(const std::vector<Match>& matches) {
    std::vector<std::uint32_t> ends;
    std::vector<std::uint32_t> previous(matches.size(), kUnmatched);
    for (std::uint32_t at = 0; at < matches.size(); ++at) {
      const auto place = std::lower_bound(ends.begin(), ends.end(), at,
                                          [&](std::uint32_t left, std::uint32_t right) {
                                            return matches[left].after < matches[right].after;
                                          });
      if (place != ends.begin()) previous[at] = *(place - 1);
      if (place == ends.end()) {
        ends.push_back(at);
      } else {
        *place = at;
      }
    }
    std::vector<Match> rise;
    for (std::uint32_t at = ends.empty() ? kUnmatched : ends.back(); at != kUnmatched;
         at = previous[at]) {
      rise.push_back(matches[at]);
    }
    std::reverse(rise.begin(), rise.end());
    return rise;
  }

  /// Matches the common ones, and leaves the parts between them for later.
  void Divide(const Range& range) {
    const std::vector<Match> anchors = LongestRise(CommonOnes(range));
    Range rest = range;
    rest.level = range.level + 1;
    for (const Match& anchor : anchors) {
      matches_[anchor.before] = anchor.after;
      ranges_.push_back(
          {rest.beforeBegin, anchor.before, rest.afterBegin, anchor.after, rest.level});
      rest.beforeBegin = anchor.before + 1;
      rest.afterBegin = anchor.after + 1;
    }
    if (!anchors.empty()) ranges_.push_back(rest);
  }

  /// How far the edit script goes on along equal records on the diagonal `shift`.
  int Follow(const Range& range, int at, int shift) const {
    const auto most = static_cast<int>(range.beforeEnd - range.beforeBegin);
    const auto mostAfter = static_cast<int>(range.afterEnd - range.afterBegin);
    while (at < most && at - shift < mostAfter &&
           before_[range.beforeBegin + static_cast<std::uint32_t>(at)] ==
               after_[range.afterBegin + static_cast<std::uint32_t>(at - shift)]) {
      ++at;
    }
    return at;
  }

  /// `row` has the furthest points after one edit fewer, by the diagonal plus kMostEdits + 1.
  /// Whether the furthest point on the diagonal `shift` comes from an insertion.
  static bool IsInserted(const std::vector<int>& row, int edits, int shift) {
    const auto middle = row.begin() + kMostEdits + 1;
    return shift == -edits || (shift != edits && middle[shift - 1] < middle[shift + 1]);
  }

  static int Start(const std::vector<int>& row, int edits, int shift) {
    if (edits == 0) return 0;
    const auto middle = row.begin() + kMostEdits + 1;
    return IsInserted(row, edits, shift) ? middle[shift + 1] : middle[shift - 1] + 1;
  }

  /// Matches what a shortest edit script keeps; false if that takes too many edits.
  bool FindEdits(const Range& range) {
    const auto count = static_cast<int>(range.beforeEnd - range.beforeBegin);
    const auto countAfter = static_cast<int>(range.afterEnd - range.afterBegin);
    // Of each number of edits the points before it, for the way back.
    std::vector<std::vector<int>> rows;
    std::vector<int> row(2 * kMostEdits + 3, 0);
    const auto middle = row.begin() + kMostEdits + 1;
    for (int edits = 0; edits <= kMostEdits; ++edits) {
      rows.emplace_back(middle - edits, middle + edits + 1);
      for (int shift = -edits; shift <= edits; shift += 2) {
        const int start = Start(row, edits, shift);
        middle[shift] = start;
        if (start > count || start - shift > countAfter) continue;
        const int furthest = middle[shift] = Follow(range, start, shift);
        if (furthest < count || furthest - shift < countAfter) continue;
        TraceBack(range, rows, edits, shift);
        return true;
      }
    }
    return false;
  }

  /// The furthest points that `edits` edits start from are in `rows[edits]`.
  void TraceBack(const Range& range, const std::vector<std::vector<int>>& rows, int edits,
                 int shift) {
    int end = static_cast<int>(range.beforeEnd - range.beforeBegin);
    std::vector<int> row(2 * kMostEdits + 3, 0);
    const auto middle = row.begin() + kMostEdits + 1;
    for (;; --edits) {
      const std::vector<int>& kept = rows[static_cast<std::size_t>(edits)];
      std::copy(kept.begin(), kept.end(), middle - edits);
      const int start = Start(row, edits, shift);
      for (int at = start; at < end; ++at) {
        matches_[range.beforeBegin + static_cast<std::uint32_t>(at)] =
            range.afterBegin + static_cast<std::uint32_t>(at - shift);
      }
      if (edits == 0) return;
      const bool isInserted = IsInserted(row, edits, shift);
      end = isInserted ? middle[shift + 1] : middle[shift - 1];
      shift += isInserted ? 1 : -1;
    }
  }

  std::span<const ContentHash> before_;
  std::span<const ContentHash> after_;
  std::vector<std::uint32_t> matches_;
  std::vector<Range> ranges_;
};

}  // namespace

std::vector<std::uint32_t> Align(std::span<const ContentHash> before,
                                 std::span<const ContentHash> after) {
  return Aligner(before, after).Run();
}

}  // namespace brindlex::cli
