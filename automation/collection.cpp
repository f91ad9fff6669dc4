#include "automation/collection.h"

#include <utility>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

const Text& AsText(const std::variant<Text, Object>& entry) {
  const Text* const text = std::get_if<Text>(&entry);
  if (text == nullptr) throw RuntimeError(error_number::kTypeMismatch);
  return *text;
}

const Object& AsObjectEntry(const std::variant<Text, Object>& entry) {
  const Object* const object = std::get_if<Object>(&entry);
  if (object == nullptr) throw RuntimeError(error_number::kObjectRequired);
  return *object;
}

}  // namespace

Object Collection::First() const {
  std::optional<Object> first;
  ForEachObject([&first](const Object& entry) {
    first = entry;
    return false;
  });
  if (!first) throw RuntimeError(error_number::kSubscriptOutOfRange);
  return *std::move(first);
}

void InnerCollection::ForEachObject(const VisitObject& visit) const {
  for (std::size_t position = 1; position <= entries_.Count(); ++position) {
    const Object entry = AsObjectEntry(entries_.At(position));
    if (!visit(entry)) return;
  }
}

void InnerCollection::ForEachText(const VisitText& visit) const {
  for (std::size_t position = 1; position <= entries_.Count(); ++position) {
    if (!visit(AsText(entries_.At(position)))) return;
  }
}

Text InnerCollection::TextUnder(TextView key) const { return AsText(entries_.At(key)); }

Object InnerCollection::ObjectUnder(TextView key) const { return AsObjectEntry(entries_.At(key)); }

void InnerCollection::Add(Object entry, std::optional<TextView> key) {
  entries_.Add(std::move(entry), key);
}

void InnerCollection::Add(TextView entry, std::optional<TextView> key) {
  entries_.Add(Text(entry), key);
}

Object InnerCollection::AsObject() const { throw RuntimeError(error_number::kObjectRequired); }

}  // namespace brindlex
