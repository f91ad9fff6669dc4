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

/// The next of `entries`, in `entry`; false after the last.
bool Next(IEnumVARIANT& entries, Variant& entry) {
  // Some enumerators do not set how many they fetched, and some do not report their end.
  ULONG fetched = 1;
  const HRESULT status = entries.Next(1, entry.Receive(), &fetched);
  CheckHost(status);
  return status == S_OK && fetched == 1;
}

Variant ItemOf(IDispatch& collection, VARIANT& index) {
  DISPID item = DISPID_VALUE;
  try {
    item = MemberId(collection, u"Item");
  } catch (const RuntimeError& error) {
    if (error.number != error_number::kNoSuchMember) throw;
  }
  return Invoke(collection, item, kCallOrGet, {&index, 1});
}

Variant ItemAt(IDispatch& collection, std::int32_t position) {
  VARIANT index;
  index.vt = VT_I4;
  index.lVal = position;
  return ItemOf(collection, index);
}

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

template <class Visit>
void DispatchCollection::ForEach(Visit&& visit) const {
  Variant entry;
  if (const auto entries = EnumeratorOf(*object_.Get())) {
    while (Next(*entries.Get(), entry)) {
      if (!visit(entry.Get())) return;
    }
    return;
  }
  // Without an enumerator: positions from 1 to the count at the start.
  const std::int32_t count = Count();
  for (std::int32_t position = 1; position <= count; ++position) {
    entry = ItemAt(*object_.Get(), position);
    if (!visit(entry.Get())) return;
  }
}

void DispatchCollection::ForEachObject(const VisitObject& visit) const {
  Object object;
  ForEach([&](const VARIANT& entry) {
    object = adapter_.Wrap(ObjectOf(entry));
    return visit(object);
  });
}

void DispatchCollection::ForEachText(const VisitText& visit) const {
  ForEach([&](const VARIANT& entry) { return visit(TextOf(entry)); });
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
