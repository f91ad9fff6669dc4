#include <algorithm>
#include <span>

#include "cli/compare/alignment.h"
#include "cli/compare/table_comparison.h"

namespace brindlex::cli {
namespace {

using Kind = RecordDifference::Kind;

/// The hashes of the compared values of a record, by the numbers of their columns.
std::vector<ContentHash> ValuesOf(const TableSource& source, const ComparedColumns& columns,
                                  const RecordDigest& record, std::size_t common) {
  const std::vector<RecordField> fields = ReadFields(source, record, columns.ids.size());
  std::vector<ContentHash> values(common);
  for (std::size_t column = 0; column < fields.size(); ++column) {
    if (columns.ids[column]) values[*columns.ids[column]] = fields[column].content;
  }
  return values;
}

/// How many values two records share; 0 if too few for one to come from the other.
std::size_t Similarity(const std::vector<ContentHash>& before,
                       const std::vector<ContentHash>& after) {
  std::size_t same = 0;
  for (std::size_t value = 0; value < before.size(); ++value) {
    if (before[value] == after[value]) ++same;
  }
  return same * 2 + 1 >= before.size() ? same : 0;
}

/// Reports the records of both tables between two matches.
class GapReporter {
 public:
  GapReporter(const TablePair& pair, const DifferenceHandler& handle)
      : pair_(pair), handle_(handle) {}

  void Report(std::span<const RecordDigest> before, std::span<const RecordDigest> after) {
    constexpr std::size_t kMostRecords = 64;
    constexpr std::size_t kMostValues = 100'000;
    const std::size_t all = before.size() + after.size();
    if (all <= kMostRecords && all * pair_.common <= kMostValues) {
      ReportBestPairs(before, after);
    } else {
      ReportInTurn(before, after);
    }
  }

 private:
  void Remove(const RecordDigest& record) { handle_({Kind::kRemoved, record, std::nullopt}); }
  void Add(const RecordDigest& record) { handle_({Kind::kAdded, std::nullopt, record}); }

  std::vector<ContentHash> Before(const RecordDigest& record) const {
    return ValuesOf(pair_.before, pair_.beforeColumns, record, pair_.common);
  }
  std::vector<ContentHash> After(const RecordDigest& record) const {
    return ValuesOf(pair_.after, pair_.afterColumns, record, pair_.common);
  }

  /// The first with the first, the second with the second.
  void ReportInTurn(std::span<const RecordDigest> before, std::span<const RecordDigest> after) {
    for (std::size_t at = 0; at < std::max(before.size(), after.size()); ++at) {
      const bool hasBoth = at < before.size() && at < after.size();
      if (hasBoth && Similarity(Before(before[at]), After(after[at])) > 0) {
        handle_({Kind::kChanged, before[at], after[at]});
        continue;
      }
      if (at < before.size()) Remove(before[at]);
      if (at < after.size()) Add(after[at]);
    }
  }

  /// The pairs that share the most values, in the order of both.
  void ReportBestPairs(std::span<const RecordDigest> before, std::span<const RecordDigest> after) {
    std::vector<std::vector<ContentHash>> olds;
    std::vector<std::vector<ContentHash>> news;
    if (!before.empty() && !after.empty()) {
      for (const RecordDigest& record : before) olds.push_back(Before(record));
      for (const RecordDigest& record : after) news.push_back(After(record));
    }
    // best[i][j] is what the records from i and from j on can share.
    std::vector<std::vector<std::size_t>> best(before.size() + 1,
                                               std::vector<std::size_t>(after.size() + 1));
    std::vector<std::vector<std::size_t>> shared = best;
    for (std::size_t i = olds.size(); i-- > 0;) {
      for (std::size_t j = news.size(); j-- > 0;) {
        shared[i][j] = Similarity(olds[i], news[j]);
        const std::size_t paired = shared[i][j] == 0 ? 0 : shared[i][j] + best[i + 1][j + 1];
        best[i][j] = std::max({best[i + 1][j], best[i][j + 1], paired});
      }
    }
    std::size_t j = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
      while (j < after.size() && best[i][j] > 0 && best[i][j] == best[i][j + 1]) Add(after[j++]);
      const bool isPair =
          j < after.size() && shared[i][j] > 0 && best[i][j] == shared[i][j] + best[i + 1][j + 1];
      if (isPair) {
        handle_({Kind::kChanged, before[i], after[j++]});
      } else {
        Remove(before[i]);
      }
    }
    while (j < after.size()) Add(after[j++]);
  }

  const TablePair& pair_;
  const DifferenceHandler& handle_;
};

/// The next records of a table.
class RecordWindow {
 public:
  RecordWindow(const TableSource& source, const ComparedColumns& columns, Progress* progress)
      : stream_(source, &columns, progress) {}

  /// Reads until there are `count` records, or the table ends.
  void Fill(std::size_t count) {
    records_.erase(records_.begin(), records_.begin() + static_cast<std::ptrdiff_t>(first_));
    first_ = 0;
    records_.reserve(count);
    RecordDigest record;
    while (records_.size() < count && !isAtEnd_) {
      isAtEnd_ = !stream_.Next(record);
      if (!isAtEnd_) records_.push_back(record);
    }
  }

  std::span<const RecordDigest> Records() const { return std::span(records_).subspan(first_); }
  void Consume(std::size_t count) { first_ += count; }
  bool IsAtEnd() const { return isAtEnd_; }

 private:
  RecordStream stream_;
  std::vector<RecordDigest> records_;
  std::size_t first_ = 0;
  bool isAtEnd_ = false;
};

std::vector<ContentHash> ContentsOf(std::span<const RecordDigest> records) {
  std::vector<ContentHash> contents;
  contents.reserve(records.size());
  for (const RecordDigest& record : records) contents.push_back(record.content);
  return contents;
}

class OrderComparison {
 public:
  OrderComparison(const TablePair& pair, const DifferenceHandler& handle, std::size_t window)
      : limit_(window),
        gaps_(pair, handle),
        progress_("comparing", pair.before.input->Size()),
        before_(pair.before, pair.beforeColumns, &progress_),
        after_(pair.after, pair.afterColumns, nullptr) {}

  void Run() {
    constexpr std::size_t kInStep = 1000;
    for (;;) {
      SkipEqual();
      if (before_.Records().empty() || after_.Records().empty()) {
        before_.Fill(kInStep);
        after_.Fill(kInStep);
        if (before_.Records().empty() && after_.Records().empty()) return;
        if (!before_.Records().empty() && !after_.Records().empty()) continue;
      }
      before_.Fill(limit_);
      after_.Fill(limit_);
      Resynchronize();
    }
  }

 private:
  void SkipEqual() {
    const auto before = before_.Records();
    const auto after = after_.Records();
    const std::size_t most = std::min(before.size(), after.size());
    std::size_t same = 0;
    while (same < most && before[same].content == after[same].content) ++same;
    before_.Consume(same);
    after_.Consume(same);
  }

  /// Reports and consumes the records of both windows up to the last match, after which more may
  /// come; but at least half of a window.
  void Resynchronize() {
    const auto before = before_.Records();
    const auto after = after_.Records();
    const auto matches = Align(ContentsOf(before), ContentsOf(after));
    std::size_t done = 0;
    std::size_t doneAfter = 0;
    for (std::size_t at = 0; at < matches.size(); ++at) {
      if (matches[at] == kUnmatched) continue;
      gaps_.Report(before.subspan(done, at - done),
                   after.subspan(doneAfter, matches[at] - doneAfter));
      done = at + 1;
      doneAfter = matches[at] + std::size_t{1};
    }
    const std::size_t end = EndOf(before_, done);
    const std::size_t endAfter = EndOf(after_, doneAfter);
    const std::size_t half = (limit_ + 1) / 2;
    const bool isStuck = done < half && doneAfter < half;
    if (isStuck || (before_.IsAtEnd() && after_.IsAtEnd())) {
      gaps_.Report(before.subspan(done, end - done),
                   after.subspan(doneAfter, endAfter - doneAfter));
      done = end;
      doneAfter = endAfter;
    }
    before_.Consume(done);
    after_.Consume(doneAfter);
  }

  /// Up to where a window is reported if nothing after `done` has a match.
  std::size_t EndOf(const RecordWindow& window, std::size_t done) const {
    const bool isLast = before_.IsAtEnd() && after_.IsAtEnd();
    const std::size_t size = window.Records().size();
    return isLast ? size : std::max(done, std::min(size, (limit_ + 1) / 2));
  }

  std::size_t limit_;
  GapReporter gaps_;
  Progress progress_;
  RecordWindow before_;
  RecordWindow after_;
};

}  // namespace

void CompareInOrder(const TablePair& pair, const DifferenceHandler& handle,
                    const ComparisonLimits& limits) {
  OrderComparison(pair, handle, limits.window).Run();
}

}  // namespace brindlex::cli
