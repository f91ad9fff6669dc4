#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "cli/compare/table_comparison.h"
#include "cli/io/failure.h"

namespace brindlex::cli {
namespace {

using Kind = RecordDifference::Kind;

/// Records that follow each other in both tables, by their numbers.
struct OrderedRun {
  std::uint64_t before = 0;
  std::uint64_t after = 0;
  std::uint64_t length = 0;
};

bool IsEarlier(const OrderedRun& left, const OrderedRun& right) { return left.after < right.after; }

/// The runs that have left their order: all but those whose records are the most that are in the
/// same order in both tables. Both are sorted by `after`.
std::vector<OrderedRun> MovedRuns(const std::vector<OrderedRun>& runs) {
  std::vector<std::uint64_t> starts;
  starts.reserve(runs.size());
  for (const OrderedRun& run : runs) starts.push_back(run.before);
  std::sort(starts.begin(), starts.end());
  struct Best {
    std::uint64_t records = 0;
    std::size_t last = SIZE_MAX;
  };
  // A Fenwick tree of the best order that ends at or before each start.
  std::vector<Best> tree(starts.size() + 1);
  std::vector<std::size_t> previous(runs.size(), SIZE_MAX);
  Best best;
  for (std::size_t at = 0; at < runs.size(); ++at) {
    const auto rank = static_cast<std::size_t>(
        std::lower_bound(starts.begin(), starts.end(), runs[at].before) - starts.begin());
    Best own;
    for (std::size_t node = rank; node > 0; node &= node - 1) {
      if (tree[node].records > own.records) own = tree[node];
    }
    previous[at] = own.last;
    own = {own.records + runs[at].length, at};
    for (std::size_t node = rank + 1; node < tree.size(); node += node & (~node + 1)) {
      if (own.records > tree[node].records) tree[node] = own;
    }
    if (own.records > best.records) best = own;
  }
  std::vector<bool> isKept(runs.size());
  for (std::size_t at = best.last; at != SIZE_MAX; at = previous[at]) isKept[at] = true;
  std::vector<OrderedRun> moved;
  for (std::size_t at = 0; at < runs.size(); ++at) {
    if (!isKept[at]) moved.push_back(runs[at]);
  }
  return moved;
}

/// The keys whose lowest `level` bits are `bits`. Of these, pairs of records up to `before` and up
/// to `after` have been reported.
struct Partition {
  unsigned level = 0;
  std::uint64_t bits = 0;
  std::uint64_t before = 0;
  std::uint64_t after = 0;

  bool Has(const ContentHash& key) const {
    return (key.low & ((std::uint64_t{1} << level) - 1)) == bits;
  }
};

/// Records that wait for one of the other table with the same key.
class Pending {
 public:
  std::size_t Size() const { return size_; }

  void Add(const RecordDigest& record) {
    queues_[record.key].records.push_back(record);
    ++size_;
  }

  /// Takes the first record of that key in file order out.
  std::optional<RecordDigest> Take(const ContentHash& key) {
    const auto found = queues_.find(key);
    if (found == queues_.end()) return std::nullopt;
    Queue& queue = found->second;
    const RecordDigest record = queue.records[queue.first++];
    if (queue.first == queue.records.size()) queues_.erase(found);
    --size_;
    return record;
  }

  /// Keeps the records whose keys are in `partition`.
  void Keep(const Partition& partition) {
    std::erase_if(queues_, [&](const auto& one) {
      const bool isDropped = !partition.Has(one.first);
      if (isDropped) size_ -= one.second.records.size() - one.second.first;
      return isDropped;
    });
  }

  /// Takes all records out, in file order.
  std::vector<RecordDigest> TakeAll() {
    std::vector<RecordDigest> all;
    all.reserve(std::exchange(size_, 0));
    while (!queues_.empty()) {
      const Queue queue = std::move(queues_.extract(queues_.begin()).mapped());
      const auto first = static_cast<std::ptrdiff_t>(queue.first);
      all.insert(all.end(), queue.records.begin() + first, queue.records.end());
    }
    std::sort(all.begin(), all.end(), [](const RecordDigest& left, const RecordDigest& right) {
      return left.number < right.number;
    });
    return all;
  }

 private:
  /// Those of one key, and how many of them have been taken out.
  struct Queue {
    std::vector<RecordDigest> records;
    std::size_t first = 0;
  };
  /// The hash is secret already; its low half tells partitions apart. Since it is noexcept, the
  /// table keeps no copy of it.
  struct High {
    std::size_t operator()(const ContentHash& key) const noexcept {
      return static_cast<std::size_t>(key.high);
    }
  };

  std::unordered_map<ContentHash, Queue, High> queues_;
  std::size_t size_ = 0;
};

class KeyComparison {
 public:
  KeyComparison(const TablePair& pair, const DifferenceHandler& handle,
                const ComparisonLimits& limits)
      : pair_(pair), handle_(handle), limits_(limits) {}

  bool Run() {
    deferred_.emplace_back();
    while (!deferred_.empty()) {
      partition_ = deferred_.back();
      deferred_.pop_back();
      RunPass();
    }
    if (hasTooManyRuns_ || !Compact(limits_.runs)) return false;
    ReportMoved(MovedRuns(runs_));
    return true;
  }

 private:
  void RunPass() {
    Progress progress("comparing", pair_.before.input->Size());
    RecordStream before(pair_.before, &pair_.beforeColumns, &progress);
    RecordStream after(pair_.after, &pair_.afterColumns);
    beforeRead_ = afterRead_ = 0;
    RecordDigest old;
    RecordDigest added;
    for (bool hasOld = true, hasNew = true; hasOld || hasNew;) {
      hasOld = hasOld && before.Next(old);
      hasNew = hasNew && after.Next(added);
      Take(hasOld ? &old : nullptr, hasNew ? &added : nullptr);
    }
    ReportRest(before_, Kind::kRemoved);
    ReportRest(after_, Kind::kAdded);
  }

  void Take(const RecordDigest* old, const RecordDigest* added) {
    const bool isInStep = before_.Size() + after_.Size() == 0 && old != nullptr &&
                          added != nullptr && old->key == added->key;
    if (isInStep) {
      beforeRead_ = old->number;
      afterRead_ = added->number;
      if (partition_.Has(old->key)) TakePair(*old, *added);
      return;
    }
    // The first may defer the key of the second.
    if (old != nullptr) {
      beforeRead_ = old->number;
      if (partition_.Has(old->key)) Match(*old, after_, before_);
    }
    if (added != nullptr) {
      afterRead_ = added->number;
      if (partition_.Has(added->key)) Match(*added, before_, after_);
    }
  }

  void Match(const RecordDigest& record, Pending& others, Pending& own) {
    const std::optional<RecordDigest> other = others.Take(record.key);
    if (!other) {
      own.Add(record);
      return MakeRoom();
    }
    if (&own == &before_) return TakePair(record, *other);
    TakePair(*other, record);
  }

  void TakePair(const RecordDigest& old, const RecordDigest& added) {
    if (old.number <= partition_.before && added.number <= partition_.after) return;
    if (old.content != added.content) handle_({Kind::kChanged, old, added});
    if (hasTooManyRuns_) return;
    if (!runs_.empty()) {
      OrderedRun& last = runs_.back();
      if (last.before + last.length == old.number && last.after + last.length == added.number) {
        ++last.length;
        return;
      }
    }
    if (runs_.size() >= 4 * limits_.runs) hasTooManyRuns_ = !Compact(2 * limits_.runs);
    runs_.push_back({old.number, added.number, 1});
  }

  /// Joins runs that follow each other, which different passes have found; whether there are at
  /// most so many of them then.
  bool Compact(std::size_t most) {
    std::sort(runs_.begin(), runs_.end(), IsEarlier);
    auto last = runs_.begin();
    for (const OrderedRun& run : runs_) {
      const bool isNext =
          last->before + last->length == run.before && last->after + last->length == run.after;
      if (isNext) {
        last->length += run.length;
      } else if (run.after != last->after) {
        *++last = run;
      }
    }
    if (!runs_.empty()) runs_.erase(last + 1, runs_.end());
    return runs_.size() <= most;
  }

  /// Defers half of the keys for as long as there are too many.
  void MakeRoom() {
    constexpr unsigned kMostLevels = 40;
    while (before_.Size() + after_.Size() > limits_.pending) {
      // So many halves are only left over by keys that are the same.
      if (partition_.level == kMostLevels) {
        throw ConversionError("more than " + std::to_string(limits_.pending) +
                              " records have the same key; another --key tells them apart");
      }
      Partition other = partition_;
      other.bits |= std::uint64_t{1} << partition_.level;
      ++other.level;
      other.before = std::max(other.before, beforeRead_);
      other.after = std::max(other.after, afterRead_);
      deferred_.push_back(other);
      ++partition_.level;
      before_.Keep(partition_);
      after_.Keep(partition_);
    }
  }

  void ReportRest(Pending& pending, Kind kind) {
    for (const RecordDigest& one : pending.TakeAll()) {
      if (kind == Kind::kRemoved) {
        handle_({kind, one, std::nullopt});
      } else {
        handle_({kind, std::nullopt, one});
      }
    }
  }

  void ReportMoved(const std::vector<OrderedRun>& moved) {
    if (moved.empty()) return;
    RecordStream after(pair_.after, &pair_.afterColumns);
    RecordDigest record;
    for (auto run = moved.begin(); run != moved.end() && after.Next(record);) {
      if (record.number < run->after) continue;
      RecordDigest old;
      old.number = run->before + (record.number - run->after);
      handle_({Kind::kMoved, old, record});
      if (record.number + 1 == run->after + run->length) ++run;
    }
  }

  const TablePair& pair_;
  const DifferenceHandler& handle_;
  const ComparisonLimits& limits_;
  std::vector<Partition> deferred_;
  Partition partition_;
  std::uint64_t beforeRead_ = 0;
  std::uint64_t afterRead_ = 0;
  Pending before_;
  Pending after_;
  std::vector<OrderedRun> runs_;
  bool hasTooManyRuns_ = false;
};

}  // namespace

bool CompareByKey(const TablePair& pair, const DifferenceHandler& handle,
                  const ComparisonLimits& limits) {
  return KeyComparison(pair, handle, limits).Run();
}

}  // namespace brindlex::cli
