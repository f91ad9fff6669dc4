#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "cli/compare/record_stream.h"

namespace brindlex::cli {

/// Two tables and what is compared of them; everything must outlive the comparison.
struct TablePair {
  TableSource before;
  TableSource after;
  ComparedColumns beforeColumns;
  ComparedColumns afterColumns;
  /// How many columns are compared.
  std::size_t common = 0;
};

/// A difference between two tables. A record that is only in one of them has no other side.
struct RecordDifference {
  enum class Kind { kAdded, kRemoved, kChanged, kMoved };

  Kind kind = Kind::kChanged;
  std::optional<RecordDigest> before;
  std::optional<RecordDigest> after;
};

/// What a comparison reports to; may throw.
using DifferenceHandler = std::function<void(const RecordDifference&)>;

/// Bounds of the memory, smaller in tests.
struct ComparisonLimits {
  /// Records of each table among which matches are looked for when the tables are out of step.
  std::size_t window = 100'000;
  /// Records that wait for the one with the same key; runs of records that have kept their order.
  std::size_t pending = 200'000;
  std::size_t runs = 250'000;
};

/// Compares records in file order, and reports the differences in this order. Where the tables are
/// out of step, the next `limits.window` records of each are aligned; a removed and an added record
/// between two matches are one that was changed if at least half of their values are the same.
void CompareInOrder(const TablePair& pair, const DifferenceHandler& handle,
                    const ComparisonLimits& limits = {});

/// Compares the records with equal keys, the first of one key with the first, the second with the
/// second. Memory is taken by the records whose match has not been read yet: none while the tables
/// are in the same order. With more than `limits.pending` of them half of all keys, chosen by their
/// hashes, is deferred to another pass over both files.
///
/// Reports changed records as their matches are found, then in each pass the removed and the added
/// ones, and in the end the moved ones: as few as account for the new order. Returns false if they
/// are too many to be found, which takes more than `limits.runs` runs of records that have kept
/// their order.
bool CompareByKey(const TablePair& pair, const DifferenceHandler& handle,
                  const ComparisonLimits& limits = {});

}  // namespace brindlex::cli
