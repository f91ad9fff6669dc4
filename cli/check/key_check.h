#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "cli/format/key_hash.h"

namespace brindlex::cli {

/// Finds keys that come twice, in bounded memory: when the table is full, half of all keys, chosen
/// by their hashes, is deferred to another pass over the same text, and again as often as it takes.
///
///     do { read the text, with Begin for each collection and Add for each key }
///     while (check.NextPass());
///
/// Add reports each duplicate once over all passes.
class KeyCheck {
 public:
  /// Room for about `mostSlots` * 4/5 keys in a pass, 16 bytes each; a power of two, at least 8.
  explicit KeyCheck(std::size_t mostSlots);

  /// A collection begins: its keys are its own. `collection` identifies it within the text.
  void Begin(std::uint64_t collection);

  /// The record that has the same key, if there is an earlier one and it has not been reported
  /// before. `record` counts upwards from 1 within a collection.
  std::optional<std::uint64_t> Add(const KeyHash& key, std::uint64_t record);

  /// Goes on to what was deferred; false if nothing was, and then further passes report nothing.
  bool NextPass();

  /// Whether NextPass will have something to do.
  bool NeedsPass() const { return !deferred_.empty(); }

 private:
  struct Slot {
    std::uint64_t low = 0;
    /// 24 bits of the hash above 40 bits of the record's number; 0 for an empty slot.
    std::uint64_t rest = 0;
  };
  /// The keys whose lowest `level` bits are `bits`; those of records up to `reported` were
  /// compared.
  struct Partition {
    std::uint64_t collection = 0;
    unsigned level = 0;
    std::uint64_t bits = 0;
    std::uint64_t reported = 0;
  };

  bool IsInPartition(std::uint64_t low) const;
  Slot& FindSlot(const Slot& sought);
  void MakeRoom(std::uint64_t record);
  void Rehash(std::size_t slots);

  std::size_t mostSlots_;
  std::vector<Slot> slots_;
  std::size_t used_ = 0;
  Partition partition_;
  bool isFirstPass_ = true;
  bool isActive_ = true;
  std::vector<Partition> deferred_;
};

}  // namespace brindlex::cli
