#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <variant>
#include <vector>

#include "automation/collection.h"
#include "platform/memory/memory_object.h"

namespace brindlex {

/// A collection of a host that lives in memory: a plain list, searched from its start. It can be
/// made to fail at any use and to return a wrong count.
class MemoryCollection : public MemoryObject {
 public:
  enum class Use { kCount, kEnumerate, kNext, kLookUp, kAdd };

  /// A RuntimeError is an entry that raises it when it is read.
  using Value = std::variant<Text, Object, RuntimeError>;

  struct Entry {
    Value value;
    std::optional<Text> key;
  };

  using MemoryObject::MemoryObject;

  /// The entries as they are, past every hook.
  std::vector<Entry> entries;

  /// Runs before each use and may do anything, failing and changing the entries included.
  std::function<void(Use use)> onUse;

  /// Whether it counts as one of the component's own class.
  bool isOwn = false;

  /// What Count returns instead of the number of entries.
  std::optional<std::int32_t> claimedCount;
};

/// `object`, a MemoryCollection, as the component's operations see it; error 424 when it is
/// something else. The result shares the object: AsObject gives it back.
CollectionRef CollectionOf(const MemoryAdapter& adapter, Object object);

/// The MemoryCollection of `collection`, which CollectionOf or NewCollection returned.
MemoryCollection& CollectionIn(const MemoryAdapter& adapter, const CollectionRef& collection);

}  // namespace brindlex
