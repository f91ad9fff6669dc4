#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "automation/hash_key.h"
#include "automation/text.h"

namespace brindlex {

/// What a keyed entry carries for its KeyIndex.
struct KeyNode {
  Text key;
  std::uint32_t hash = 0;
  bool hasKey = false;
};

/// Finds entries by key, without regard to letter case, in constant time on average.
///
/// A table with open addressing and linear probing that holds each entry's hash beside the
/// reference to it: it grows without touching the entries, and a look-up touches only those whose
/// hash agrees. The entries belong to the caller and must stay where they are.
///
/// The hash has a secret key, so that whoever chooses the keys cannot make them collide; nothing
/// that a caller sees depends on it.
class KeyIndex {
 public:
  /// The hash of `key`, by which it is found and inserted.
  static std::uint32_t HashOf(TextView key) noexcept { return IndexHashIgnoringCase(key); }

  /// The entry under `key`, or null.
  KeyNode* Find(TextView key) const noexcept {
    return count_ == 0 ? nullptr : Find(key, HashOf(key));
  }

  /// As Find(key); `hash` is HashOf(key).
  KeyNode* Find(TextView key, std::uint32_t hash) const noexcept;

  /// Makes room for one more entry, so that the next Insert cannot fail. Throws std::bad_alloc.
  void Prepare();

  /// Gives `node` its key, whose text the caller has made, and whose hash is `hash`. The key must
  /// not be in use, and Prepare must have been called since the last Insert.
  void Insert(KeyNode& node, Text key, std::uint32_t hash) noexcept;

  /// Forgets `node`, which has a key.
  void Erase(const KeyNode& node) noexcept;

 private:
  struct Slot {
    std::uint32_t hash = 0;
    KeyNode* node = nullptr;
  };

  /// The slot that holds `node`, or the first free one on its way.
  std::size_t SlotOf(std::uint32_t hash, const KeyNode* node) const noexcept;
  std::size_t Next(std::size_t slot) const noexcept { return (slot + 1) & (slots_.size() - 1); }
  std::size_t Home(std::uint32_t hash) const noexcept { return hash & (slots_.size() - 1); }

  /// A power of two in size, or empty.
  std::vector<Slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace brindlex
