#include "automation/key_index.h"

#include <utility>

namespace brindlex {
namespace {

constexpr std::size_t kFewestSlots = 16;

}  // namespace

KeyNode* KeyIndex::Find(TextView key, std::uint32_t hash) const noexcept {
  if (count_ == 0) return nullptr;
  for (std::size_t slot = Home(hash); slots_[slot].node != nullptr; slot = Next(slot)) {
    if (slots_[slot].hash == hash && EqualIgnoringCase(slots_[slot].node->key, key)) {
      return slots_[slot].node;
    }
  }
  return nullptr;
}

void KeyIndex::Prepare() {
  if (3 * (count_ + 1) <= 2 * slots_.size()) return;
  const std::size_t wanted = slots_.empty() ? kFewestSlots : 2 * slots_.size();
  const std::vector<Slot> before = std::exchange(slots_, std::vector<Slot>(wanted));
  for (const Slot& slot : before) {
    if (slot.node != nullptr) slots_[SlotOf(slot.hash, nullptr)] = slot;
  }
}

void KeyIndex::Insert(KeyNode& node, Text key, std::uint32_t hash) noexcept {
  node.key = std::move(key);
  node.hash = hash;
  node.hasKey = true;
  slots_[SlotOf(node.hash, nullptr)] = {node.hash, &node};
  ++count_;
}

void KeyIndex::Erase(const KeyNode& node) noexcept {
  std::size_t hole = SlotOf(node.hash, &node);
  // Entries after the hole move into it, unless that brings them before their home.
  for (std::size_t slot = Next(hole); slots_[slot].node != nullptr; slot = Next(slot)) {
    const std::size_t mask = slots_.size() - 1;
    const std::size_t fromHome = (slot - Home(slots_[slot].hash)) & mask;
    if (fromHome < ((slot - hole) & mask)) continue;
    slots_[hole] = slots_[slot];
    hole = slot;
  }
  slots_[hole] = {};
  --count_;
}

std::size_t KeyIndex::SlotOf(std::uint32_t hash, const KeyNode* node) const noexcept {
  std::size_t slot = Home(hash);
  while (slots_[slot].node != nullptr && slots_[slot].node != node) slot = Next(slot);
  return slot;
}

}  // namespace brindlex
