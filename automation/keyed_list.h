#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "automation/key_index.h"
#include "automation/pool.h"
#include "automation/runtime_error.h"
#include "automation/text.h"

namespace brindlex {

/// An ordered collection with positions from 1 and optional keys that ignore letter case.
///
/// Reading by position or key and adding at the end take constant time; Insert and Remove take the
/// time of moving the following positions. A failure leaves the list as it was. Values are
/// destroyed only after the list is consistent again, so a value's destructor may use the list. Not
/// synchronized.
template <class T>
class KeyedList {
 public:
  KeyedList() = default;
  KeyedList(KeyedList&& other) noexcept
      : entries_(std::exchange(other.entries_, {})),
        keys_(std::exchange(other.keys_, {})),
        pool_(std::move(other.pool_)) {}
  KeyedList& operator=(KeyedList other) noexcept {
    std::swap(entries_, other.entries_);
    std::swap(keys_, other.keys_);
    std::swap(pool_, other.pool_);
    return *this;
  }
  KeyedList(const KeyedList&) = delete;
  ~KeyedList() {
    for (Entry* const entry : entries_) pool_.Destroy(entry);
  }

  std::size_t Count() const noexcept { return entries_.size(); }

  /// The value at `position`. Error 9 when the position is not 1 to Count().
  const T& At(std::size_t position) const {
    CheckPosition(position);
    return entries_[position - 1]->value;
  }

  /// The value under `key`, or null when there is none.
  const T* Find(TextView key) const {
    const KeyNode* const found = keys_.Find(key);
    return found == nullptr ? nullptr : &static_cast<const Entry*>(found)->value;
  }

  /// The value under `key`. Error 5 when there is none.
  const T& At(TextView key) const {
    const T* const found = Find(key);
    if (found == nullptr) throw RuntimeError(error_number::kInvalidCall);
    return *found;
  }

  /// The position of the value under `key`. Error 5 when there is none. Takes the time of looking
  /// at the positions after it.
  std::size_t PositionOf(TextView key) const {
    const KeyNode* const sought = keys_.Find(key);
    if (sought == nullptr) throw RuntimeError(error_number::kInvalidCall);
    const auto found = std::find_if(entries_.rbegin(), entries_.rend(),
                                    [sought](const Entry* entry) { return entry == sought; });
    return static_cast<std::size_t>(entries_.rend() - found);
  }

  /// Adds `value` at the end. Error 457 when `key` is in use.
  void Add(T value, std::optional<TextView> key = std::nullopt) {
    Insert(Count() + 1, std::move(value), key);
  }

  /// Adds `value` so that it gets `position`. Error 9 when the position is not 1 to Count() + 1,
  /// error 457 when `key` is in use.
  void Insert(std::size_t position, T value, std::optional<TextView> key = std::nullopt) {
    if (position < 1 || position > Count() + 1) {
      throw RuntimeError(error_number::kSubscriptOutOfRange);
    }
    const std::uint32_t hash = key ? KeyIndex::HashOf(*key) : 0;
    if (key && keys_.Find(*key, hash) != nullptr) throw RuntimeError(error_number::kKeyInUse);
    if (entries_.size() == entries_.capacity()) {
      entries_.reserve(std::max<std::size_t>(8, 2 * entries_.size()));
    }
    Text ownKey(key.value_or(TextView()));
    if (key) keys_.Prepare();
    Entry* const entry = pool_.Make(std::move(value));
    if (key) keys_.Insert(*entry, std::move(ownKey), hash);
    entries_.insert(std::next(entries_.begin(), static_cast<std::ptrdiff_t>(position - 1)), entry);
  }

  /// Takes the value at `position` out, with its key. Error 9 when the position is not 1 to
  /// Count().
  T Remove(std::size_t position) {
    CheckPosition(position);
    const auto at = std::next(entries_.begin(), static_cast<std::ptrdiff_t>(position - 1));
    Entry* const removed = *at;
    T value = std::move(removed->value);
    entries_.erase(at);
    if (removed->hasKey) keys_.Erase(*removed);
    pool_.Destroy(removed);
    return value;
  }

 private:
  struct Entry : KeyNode {
    explicit Entry(T&& v) : value(std::move(v)) {}
    T value;
  };

  void CheckPosition(std::size_t position) const {
    if (position < 1 || position > Count()) {
      throw RuntimeError(error_number::kSubscriptOutOfRange);
    }
  }

  std::vector<Entry*> entries_;
  KeyIndex keys_;
  Pool<Entry> pool_;
};

}  // namespace brindlex
