#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/automation/dispatch_adapter.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

constexpr std::int32_t kNotSupported = 445;

/// The scripting run time's dictionary. Asking its Item for an absent key adds the key, so its
/// Exists has to be asked first.
constexpr IID kDictionary = {
    0x42C642C1, 0x97E1, 0x11CF, {0x97, 0x8F, 0x00, 0xA0, 0x24, 0x63, 0xE0, 0x6F}};

/// The entries that Next yields, as the host has them.
class VariantEnumerator : public Enumerator {
 public:
  explicit VariantEnumerator(const DispatchAdapter& adapter) : adapter_(adapter) {}

  bool NextObject(Object& entry) override {
    if (!Next(current_)) return false;
    entry = adapter_.Wrap(ObjectOf(current_.Get()));
    return true;
  }

  bool NextText(Text& entry) override {
    if (!Next(current_)) return false;
    entry = TextOf(current_.Get());
    return true;
  }

 private:
  virtual bool Next(Variant& entry) = 0;

  const DispatchAdapter& adapter_;
  Variant current_;
};

class NewEnumEnumerator : public VariantEnumerator {
 public:
  NewEnumEnumerator(const DispatchAdapter& adapter, ComPtr<IEnumVARIANT> entries)
      : VariantEnumerator(adapter), entries_(std::move(entries)) {}

 private:
  bool Next(Variant& entry) override {
    // Some enumerators do not set how many they fetched, and some do not report their end.
    ULONG fetched = 1;
    const HRESULT status = entries_->Next(1, entry.Receive(), &fetched);
    CheckHost(status);
    return status == S_OK && fetched == 1;
  }

  ComPtr<IEnumVARIANT> entries_;
};

Variant ItemOf(IDispatch& collection, VARIANT& index) {
  DISPID item = DISPID_VALUE;
  try {
    item = MemberId(collection, u"Item");
  } catch (const RuntimeError& error) {
    if (error.number != error_number::kNoSuchMember) throw;
  }
  return Invoke(collection, item, kCallOrGet, {&index, 1});
}

/// For a collection without an enumerator: positions from 1 to the count at the start.
class PositionEnumerator : public VariantEnumerator {
 public:
  PositionEnumerator(const DispatchAdapter& adapter, ComPtr<IDispatch> collection,
                     std::int32_t count)
      : VariantEnumerator(adapter), collection_(std::move(collection)), count_(count) {}

 private:
  bool Next(Variant& entry) override {
    if (position_ >= count_) return false;
    VARIANT index;
    index.vt = VT_I4;
    index.lVal = ++position_;
    entry = ItemOf(*collection_.Get(), index);
    return true;
  }

  ComPtr<IDispatch> collection_;
  std::int32_t count_;
  std::int32_t position_ = 0;
};

ComPtr<IEnumVARIANT> EnumeratorOf(IDispatch& collection) {
  Variant yielded;
  try {
    yielded = Invoke(collection, DISPID_NEWENUM, kCallOrGet);
  } catch (const RuntimeError& error) {
    if (error.number != error_number::kNoSuchMember && error.number != kNotSupported) throw;
    return nullptr;
  }
  const VARIANT& value = yielded.Get();
  if ((value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) || value.punkVal == nullptr) {
    return nullptr;
  }
  return ComPtr<IUnknown>(value.punkVal).As<IEnumVARIANT>();
}

bool IsDictionary(IDispatch& collection) {
  ComPtr<IUnknown> dictionary;
  return SUCCEEDED(collection.QueryInterface(kDictionary, dictionary.ReceiveVoid()));
}

Variant EntryUnder(IDispatch& collection, TextView key) {
  if (IsDictionary(collection)) {
    Variant sought(key);
    const Variant exists =
        Invoke(collection, MemberId(collection, u"Exists"), kCall, {&sought.Get(), 1});
    if (WholeNumberOf(exists.Get()) == 0) throw RuntimeError(error_number::kInvalidCall);
  }
  Variant sought(key);
  return ItemOf(collection, sought.Get());
}

}  // namespace

std::int32_t DispatchCollection::Count() const {
  const DISPID count = MemberId(*object_.Get(), u"Count");
  return WholeNumberOf(Invoke(*object_.Get(), count, kCallOrGet).Get());
}

std::unique_ptr<Enumerator> DispatchCollection::Enumerate() const {
  if (auto entries = EnumeratorOf(*object_.Get())) {
    return std::make_unique<NewEnumEnumerator>(adapter_, std::move(entries));
  }
  return std::make_unique<PositionEnumerator>(adapter_, object_, Count());
}

Text DispatchCollection::TextUnder(TextView key) const {
  return TextOf(EntryUnder(*object_.Get(), key).Get());
}

Object DispatchCollection::ObjectUnder(TextView key) const {
  return adapter_.Wrap(ObjectOf(EntryUnder(*object_.Get(), key).Get()));
}

void DispatchCollection::Add(Object /*entry*/, std::optional<TextView> /*key*/) {
  throw RuntimeError(kNotSupported);
}

void DispatchCollection::Add(TextView /*entry*/, std::optional<TextView> /*key*/) {
  throw RuntimeError(kNotSupported);
}

}  // namespace brindlex
