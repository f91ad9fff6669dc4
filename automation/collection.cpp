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
  Object first;
  if (!Enumerate()->NextObject(first)) {
    throw RuntimeError(error_number::kSubscriptOutOfRange);
  }
  return first;
}

class InnerCollection::EntryEnumerator : public Enumerator {
 public:
  explicit EntryEnumerator(const KeyedList<Entry>& entries) : entries_(entries) {}

  bool NextObject(Object& entry) override {
    if (position_ >= entries_.Count()) return false;
    entry = AsObjectEntry(entries_.At(++position_));
    return true;
  }

  bool NextText(Text& entry) override {
    if (position_ >= entries_.Count()) return false;
    entry = AsText(entries_.At(++position_));
    return true;
  }

 private:
  const KeyedList<Entry>& entries_;
  std::size_t position_ = 0;
};

std::unique_ptr<Enumerator> InnerCollection::Enumerate() const {
  return std::make_unique<EntryEnumerator>(entries_);
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
