#include "platform/memory/memory_collection.h"

#include <algorithm>
#include <utility>

namespace brindlex {
namespace {

using Use = MemoryCollection::Use;

template <class T>
T Taken(const MemoryCollection::Value& value, std::int32_t errorOtherwise) {
  if (const auto* const error = std::get_if<RuntimeError>(&value)) throw RuntimeError(*error);
  const T* const wanted = std::get_if<T>(&value);
  if (wanted == nullptr) throw RuntimeError(errorOtherwise);
  return *wanted;
}

Object TakenObject(const MemoryCollection::Value& value) {
  return Taken<Object>(value, error_number::kObjectRequired);
}

Text TakenText(const MemoryCollection::Value& value) {
  return Taken<Text>(value, error_number::kTypeMismatch);
}

void Announce(const MemoryCollection& collection, Use use) {
  // A copy, since the hook may replace itself.
  const auto onUse = collection.onUse;
  if (onUse) onUse(use);
}

/// What the component's operations hold while they use a MemoryCollection.
class View : public Collection {
 public:
  View(const MemoryAdapter& adapter, Object self)
      : self_(std::move(self)), collection_(adapter.In<MemoryCollection>(self_)) {}

  std::int32_t Count() const override {
    Announce(collection_, Use::kCount);
    return collection_.claimedCount.value_or(static_cast<std::int32_t>(collection_.entries.size()));
  }

  void ForEachObject(const VisitObject& visit) const override { ForEach(TakenObject, visit); }
  void ForEachText(const VisitText& visit) const override { ForEach(TakenText, visit); }

  Text TextUnder(TextView key) const override { return TakenText(Under(key)); }
  Object ObjectUnder(TextView key) const override { return TakenObject(Under(key)); }

  void Add(Object entry, std::optional<TextView> key) override { AddValue(std::move(entry), key); }
  void Add(TextView entry, std::optional<TextView> key) override { AddValue(Text(entry), key); }

  Object AsObject() const override { return self_; }
  bool IsOwn() const override { return collection_.isOwn; }

 private:
  /// Counts positions, so that it goes on over whatever the collection holds by then.
  template <class Taken, class Visit>
  void ForEach(Taken&& taken, const Visit& visit) const {
    Announce(collection_, Use::kEnumerate);
    for (std::size_t position = 0;; ++position) {
      Announce(collection_, Use::kNext);
      if (position >= collection_.entries.size()) return;
      const auto entry = taken(collection_.entries[position].value);
      if (!visit(entry)) return;
    }
  }

  const MemoryCollection::Entry* Find(TextView key) const {
    const auto found = std::find_if(
        collection_.entries.begin(), collection_.entries.end(),
        [key](const auto& entry) { return entry.key && EqualIgnoringCase(*entry.key, key); });
    return found == collection_.entries.end() ? nullptr : &*found;
  }

  const MemoryCollection::Value& Under(TextView key) const {
    Announce(collection_, Use::kLookUp);
    const MemoryCollection::Entry* const found = Find(key);
    if (found == nullptr) throw RuntimeError(error_number::kInvalidCall);
    return found->value;
  }

  void AddValue(MemoryCollection::Value value, std::optional<TextView> key) {
    Announce(collection_, Use::kAdd);
    if (key && Find(*key) != nullptr) throw RuntimeError(error_number::kKeyInUse);
    std::optional<Text> ownKey;
    if (key) ownKey.emplace(*key);
    collection_.entries.push_back({std::move(value), std::move(ownKey)});
  }

  const Object self_;
  MemoryCollection& collection_;
};

}  // namespace

CollectionRef CollectionOf(const MemoryAdapter& adapter, Object object) {
  auto* const self = static_cast<MemoryObject*>(object.Self(adapter));
  if (dynamic_cast<MemoryCollection*>(self) == nullptr) {
    throw RuntimeError(error_number::kObjectRequired);
  }
  return std::make_shared<View>(adapter, std::move(object));
}

MemoryCollection& CollectionIn(const MemoryAdapter& adapter, const CollectionRef& collection) {
  return adapter.In<MemoryCollection>(collection->AsObject());
}

}  // namespace brindlex
