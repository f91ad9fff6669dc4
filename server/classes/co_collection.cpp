#include "server/classes/co_collection.h"

#include <limits>
#include <utility>

#include "platform/win32/automation/dispatch_adapter.h"
#include "platform/win32/automation/hresult.h"
#include "server/classes/classes.h"
#include "server/classes/the_platform.h"
#include "server/com/counted_object.h"

namespace brindlex {
namespace {

bool IsOmitted(const VARIANT& argument) { return IsMissing(argument) || argument.vt == VT_EMPTY; }

/// The text in `argument`, or null when it holds something else.
const BSTR* TextIn(const VARIANT& argument) {
  const VARIANT& actual = Dereferenced(argument);
  if (actual.vt == VT_BSTR) return &actual.bstrVal;
  // Null when the reference is null.
  if (actual.vt == (VT_BSTR | VT_BYREF)) return actual.pbstrVal;
  return nullptr;
}

std::optional<TextView> KeyIn(const VARIANT& argument) {
  if (IsOmitted(Dereferenced(argument))) return std::nullopt;
  const BSTR* const text = TextIn(argument);
  if (text == nullptr) throw RuntimeError(error_number::kTypeMismatch);
  return ViewOf(*text);
}

/// Enumerates a collection by position, and keeps it alive.
class EntryEnumerator final : public CountedObject<EntryEnumerator, IEnumVARIANT> {
 public:
  EntryEnumerator(CoCollection& collection, std::size_t position)
      : collection_(&collection), position_(position) {}

  STDMETHODIMP Next(ULONG wanted, VARIANT* entries, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (entries == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
    ULONG count = 0;
    for (; count < wanted && position_ < All().Count(); ++count) {
      VariantInit(&entries[count]);
      const HRESULT status = CopyValue(entries[count], All().At(position_ + 1).Get());
      if (FAILED(status)) return GiveUp(entries, count, status);
      ++position_;
    }
    if (fetched != nullptr) *fetched = count;
    return count == wanted ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    const std::size_t left = All().Count() - std::min(position_, All().Count());
    position_ += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumVARIANT** result) override {
    if (result == nullptr) return E_POINTER;
    *result = new (std::nothrow) EntryEnumerator(*collection_.Get(), position_);
    return *result == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  const KeyedList<Variant>& All() const { return collection_->Entries(); }

  HRESULT GiveUp(VARIANT* entries, ULONG count, HRESULT status) {
    position_ -= count;
    while (count > 0) VariantClear(&entries[--count]);
    return status;
  }

  ComPtr<CoCollection> collection_;
  std::size_t position_;
};

}  // namespace

CoCollection::~CoCollection() {
  // An entry that ends may use the collection, which is empty and consistent by then.
  while (entries_.Count() > 0) const auto ended = std::exchange(entries_, {});
}

const Variant& CoCollection::EntryAt(const VARIANT& index) const {
  if (const BSTR* const key = TextIn(index)) return entries_.At(ViewOf(*key));
  return entries_.At(PositionOf(index));
}

std::size_t CoCollection::PositionOf(const VARIANT& index) const {
  if (const BSTR* const key = TextIn(index)) return entries_.PositionOf(ViewOf(*key));
  const std::int32_t position = WholeNumberOf(index);
  if (position < 1 || static_cast<std::size_t>(position) > entries_.Count()) {
    throw RuntimeError(error_number::kSubscriptOutOfRange);
  }
  return static_cast<std::size_t>(position);
}

std::size_t CoCollection::PositionFor(const VARIANT& before, const VARIANT& after) const {
  const bool isBefore = !IsOmitted(Dereferenced(before));
  const bool isAfter = !IsOmitted(Dereferenced(after));
  if (isBefore && isAfter) throw RuntimeError(error_number::kInvalidCall);
  if (isBefore) return PositionOf(before);
  if (isAfter) return PositionOf(after) + 1;
  return entries_.Count() + 1;
}

STDMETHODIMP CoCollection::get_Item(VARIANT index, VARIANT* result) {
  return RunFor(result, [&] { Check(CopyValue(*result, EntryAt(index).Get())); });
}

STDMETHODIMP CoCollection::Add(VARIANT item, VARIANT key, VARIANT before, VARIANT after) {
  return Run([&] {
    constexpr std::size_t kMost = std::numeric_limits<long>::max();
    Variant entry(item);
    const std::optional<TextView> keyText = KeyIn(key);
    const std::size_t position = PositionFor(before, after);
    if (entries_.Count() == kMost) throw RuntimeError(error_number::kOverflow);
    entries_.Insert(position, std::move(entry), keyText);
  });
}

STDMETHODIMP CoCollection::get_Count(long* result) {
  return RunFor(result, [&] { *result = static_cast<long>(entries_.Count()); });
}

STDMETHODIMP CoCollection::Remove(VARIANT index) {
  return Run([&] {
    // Released at the end of this scope, when the collection is consistent again.
    const Variant removed = entries_.Remove(PositionOf(index));
  });
}

STDMETHODIMP CoCollection::get__NewEnum(IUnknown** result) {
  return RunFor(result, [&] { *result = new EntryEnumerator(*this, 0); });
}

namespace {

/// A CoCollection, without the way through IDispatch.
class DirectCollection : public Collection {
 public:
  explicit DirectCollection(ComPtr<CoCollection> collection) : collection_(std::move(collection)) {}

  std::int32_t Count() const override { return static_cast<std::int32_t>(All().Count()); }

  void ForEachObject(const VisitObject& visit) const override {
    Object object;
    for (std::size_t position = 1; position <= All().Count(); ++position) {
      object = ThePlatform().Dispatch().Wrap(ObjectOf(All().At(position).Get()));
      if (!visit(object)) return;
    }
  }

  void ForEachText(const VisitText& visit) const override {
    for (std::size_t position = 1; position <= All().Count(); ++position) {
      const VARIANT& entry = All().At(position).Get();
      const bool goesOn = entry.vt == VT_BSTR ? visit(ViewOf(entry.bstrVal))
                                              // A copy, since an object that is asked for its text
                                              // may take itself out.
                                              : visit(TextOf(Variant(entry).Get()));
      if (!goesOn) return;
    }
  }

  Object First() const override {
    return ThePlatform().Dispatch().Wrap(ObjectOf(All().At(1).Get()));
  }

  Text TextUnder(TextView key) const override {
    const VARIANT& entry = All().At(key).Get();
    if (entry.vt == VT_BSTR) return Text(ViewOf(entry.bstrVal));
    // A copy, since an object that is asked for its text may take itself out.
    return TextOf(Variant(entry).Get());
  }

  Object ObjectUnder(TextView key) const override {
    return ThePlatform().Dispatch().Wrap(ObjectOf(All().At(key).Get()));
  }

  void Add(Object entry, std::optional<TextView> key) override {
    IDispatch* const object =
        entry.IsNothing() ? nullptr : static_cast<IDispatch*>(entry.Self(ThePlatform().Dispatch()));
    All().Add(Variant::OfObject(object), key);
  }

  void Add(TextView entry, std::optional<TextView> key) override {
    All().Add(Variant::OfText(entry), key);
  }

  Object AsObject() const override {
    return ThePlatform().Dispatch().Wrap(ComPtr<IDispatch>(collection_.Get()));
  }

  bool IsOwn() const override { return true; }

 private:
  KeyedList<Variant>& All() const { return collection_->Entries(); }

  ComPtr<CoCollection> collection_;
};

}  // namespace

CollectionRef CollectionOf(IDispatch* collection) {
  if (collection == nullptr) return nullptr;
  ComPtr<IOwnCollection> own;
  if (SUCCEEDED(collection->QueryInterface(IOwnCollection::kId, own.ReceiveVoid()))) {
    return std::make_shared<DirectCollection>(ComPtr<CoCollection>(&own->OwnCollection()));
  }
  return std::make_shared<DispatchCollection>(ThePlatform().Dispatch(),
                                              ComPtr<IDispatch>(collection));
}

CollectionRef MakeCollection() {
  return std::make_shared<DirectCollection>(ComPtr<CoCollection>::Adopt(new CoCollection));
}

IDispatch* NewCollection() { return new CoCollection; }

}  // namespace brindlex
