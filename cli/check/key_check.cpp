#include "cli/check/key_check.h"

#include <algorithm>

namespace brindlex::cli {
namespace {

constexpr std::size_t kFirstSlots = 8;
constexpr std::uint64_t kNoCollection = UINT64_MAX;
constexpr std::size_t kLastDoubled = std::size_t{1} << 16U;
constexpr unsigned kRecordBits = 40;
constexpr std::uint64_t kRecordMask = (std::uint64_t{1} << kRecordBits) - 1;

}  // namespace

KeyCheck::KeyCheck(std::size_t mostSlots) : mostSlots_(mostSlots) {}

void KeyCheck::Begin(std::uint64_t collection) {
  if (isFirstPass_) partition_ = {collection, 0, 0, 0};
  isActive_ = partition_.collection == collection;
  if (!isActive_) return;
  slots_.assign(std::min(kFirstSlots, mostSlots_), Slot{});
  used_ = 0;
}

bool KeyCheck::IsInPartition(std::uint64_t low) const {
  return (low & ((std::uint64_t{1} << partition_.level) - 1)) == partition_.bits;
}

KeyCheck::Slot& KeyCheck::FindSlot(const Slot& sought) {
  // The lowest bits decide the partition, so the slot is chosen by the others.
  std::size_t at = static_cast<std::size_t>(sought.low >> 24U) & (slots_.size() - 1);
  for (;;) {
    Slot& slot = slots_[at];
    const bool isSame =
        slot.low == sought.low && slot.rest >> kRecordBits == sought.rest >> kRecordBits;
    if (slot.rest == 0 || isSame) return slot;
    at = (at + 1) & (slots_.size() - 1);
  }
}

void KeyCheck::Rehash(std::size_t slots) {
  std::vector<Slot> kept;
  kept.reserve(used_);
  for (const Slot& slot : slots_) {
    if (slot.rest != 0 && IsInPartition(slot.low)) kept.push_back(slot);
  }
  if (slots == slots_.size()) {
    std::fill(slots_.begin(), slots_.end(), Slot{});
  } else {
    slots_.clear();
    slots_.shrink_to_fit();
    slots_.resize(slots);
  }
  used_ = kept.size();
  for (const Slot& slot : kept) FindSlot(slot) = slot;
}

void KeyCheck::MakeRoom(std::uint64_t record) {
  while (used_ * 5 >= slots_.size() * 4) {
    if (slots_.size() < mostSlots_) {
      // A large table is not doubled: the old one beside the new would take half as much again.
      Rehash(slots_.size() < kLastDoubled ? slots_.size() * 2 : mostSlots_);
      continue;
    }
    Partition other = partition_;
    other.bits |= std::uint64_t{1} << partition_.level;
    ++other.level;
    other.reported = std::max(other.reported, record);
    deferred_.push_back(other);
    ++partition_.level;
    Rehash(slots_.size());
  }
}

std::optional<std::uint64_t> KeyCheck::Add(const KeyHash& key, std::uint64_t record) {
  if (!isActive_) return std::nullopt;
  const SipHash128 hash = key.Value();
  if (!IsInPartition(hash.low)) return std::nullopt;
  // The highest bit keeps a taken slot from looking empty.
  const std::uint64_t high = hash.high >> kRecordBits | std::uint64_t{1} << 23U;
  const Slot added{hash.low, high << kRecordBits | (record & kRecordMask)};
  Slot& slot = FindSlot(added);
  if (slot.rest != 0) {
    if (record <= partition_.reported) return std::nullopt;
    return slot.rest & kRecordMask;
  }
  slot = added;
  ++used_;
  MakeRoom(record);
  return std::nullopt;
}

bool KeyCheck::NextPass() {
  isFirstPass_ = false;
  isActive_ = false;
  // Others may go over the text once more; what was reported is not reported again then.
  partition_ = {};
  partition_.collection = kNoCollection;
  if (deferred_.empty()) return false;
  partition_ = deferred_.back();
  deferred_.pop_back();
  return true;
}

}  // namespace brindlex::cli
