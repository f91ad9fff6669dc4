#include "tests/com/objects/scripted_object.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "automation/runtime_error.h"

namespace brindlex::testing {
namespace {

std::u16string_view View(const wchar_t* text) {
  return {reinterpret_cast<const char16_t*>(text), wcslen(text)};
}

BSTR BstrOrNull(const std::u16string& text) { return text.empty() ? nullptr : NewBstr(text); }

void Tell(const Outcome& outcome, EXCEPINFO& exception) {
  exception.scode = outcome.scode;
  exception.wCode = outcome.code;
  exception.bstrDescription = BstrOrNull(outcome.description);
  exception.bstrSource = BstrOrNull(outcome.source);
}

/// What the deferred fill-in fills in, between the call and its asking.
Outcome deferredOutcome;

HRESULT STDMETHODCALLTYPE FillIn(EXCEPINFO* exception) {
  if (SUCCEEDED(deferredOutcome.fillIn)) Tell(deferredOutcome, *exception);
  return deferredOutcome.fillIn;
}

HRESULT End(const Outcome& outcome, EXCEPINFO* exception) {
  if (outcome.status != DISP_E_EXCEPTION || exception == nullptr) return outcome.status;
  if (outcome.deferred) {
    deferredOutcome = outcome;
    exception->pfnDeferredFillIn = FillIn;
  } else {
    Tell(outcome, *exception);
  }
  return outcome.status;
}

/// What a call that has done its work returns.
HRESULT Done(HRESULT status, const Outcome& outcome) {
  return SUCCEEDED(status) ? outcome.status : status;
}

/// `value` as a call hands it out: a copy, or the same reference.
HRESULT HandOut(const VARIANT& value, VARIANT* result) {
  if (result == nullptr) return S_OK;
  if ((value.vt & VT_BYREF) == 0) return CopyValue(*result, value);
  *result = value;
  return S_OK;
}

Arguments InOrder(const DISPPARAMS& params) {
  Arguments arguments;
  for (UINT place = params.cArgs; place > 0; --place)
    arguments.push_back(&params.rgvarg[place - 1]);
  return arguments;
}

HRESULT Set(ScriptedMember& member, const DISPPARAMS& params, EXCEPINFO* exception) {
  if (params.cArgs != 1 || params.cNamedArgs != 1 ||
      params.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
    return DISP_E_BADPARAMCOUNT;
  }
  if (member.whenSet) member.whenSet();
  if (FAILED(member.let.status)) return End(member.let, exception);
  return Done(CopyValue(*member.value.Receive(), params.rgvarg[0]), member.let);
}

HRESULT Read(ScriptedMember& member, const DISPPARAMS& params, VARIANT* result,
             EXCEPINFO* exception) {
  if (member.whenRead) member.whenRead();
  if (FAILED(member.get.status)) return End(member.get, exception);
  if (member.leave) {
    if (result != nullptr) member.leave(*result);
    return member.get.status;
  }
  if (!member.body) {
    if (params.cArgs != 0) return DISP_E_BADPARAMCOUNT;
    return Done(HandOut(member.value.Get(), result), member.get);
  }
  const Variant yielded = member.body(InOrder(params));
  return Done(HandOut(yielded.Get(), result), member.get);
}

}  // namespace

ScriptedMember& ScriptedObject::Add(ScriptedMember member) {
  return *members_.emplace_back(std::make_unique<ScriptedMember>(std::move(member)));
}

ScriptedMember& ScriptedObject::Property(std::u16string_view name, Variant value) {
  return Add({std::u16string(name), nextId_++, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT,
              std::move(value)});
}

ScriptedMember& ScriptedObject::Method(std::u16string_view name,
                                       std::function<Variant(const Arguments&)> body) {
  ScriptedMember& member = Add({std::u16string(name), nextId_++, DISPATCH_METHOD});
  member.body = std::move(body);
  return member;
}

ScriptedMember& ScriptedObject::operator[](std::u16string_view name) {
  ScriptedMember* const member = Find(name, true);
  if (member == nullptr) throw std::out_of_range("no such member");
  return *member;
}

ScriptedMember* ScriptedObject::Find(std::u16string_view name, bool exactly) {
  const auto found = std::find_if(members_.begin(), members_.end(), [=](const auto& member) {
    return exactly ? member->name == name : EqualIgnoringCase(member->name, name);
  });
  return found == members_.end() ? nullptr : found->get();
}

STDMETHODIMP ScriptedObject::QueryInterface(REFIID id, void** result) {
  const bool known = id == IID_IUnknown || id == IID_IDispatch ||
                     (isExtended && id == __uuidof(IDispatchEx)) ||
                     (marker != IID_NULL && id == marker);
  *result = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) ScriptedObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP ScriptedObject::GetTypeInfoCount(UINT* count) {
  *count = typeInfo || newTypeInfo ? 1 : 0;
  return typeInfoCountStatus;
}

STDMETHODIMP ScriptedObject::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  *info = nullptr;
  ++typeInfosAsked;
  if (newTypeInfo) typeInfo = newTypeInfo();
  if (typeInfoStatus != S_OK) return typeInfoStatus;
  if (!typeInfo) return E_NOTIMPL;
  *info = ComPtr<ITypeInfo>(typeInfo).Detach();
  return S_OK;
}

STDMETHODIMP ScriptedObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  ++namesAsked;
  if (FAILED(namesStatus)) return namesStatus;
  std::fill_n(ids, count, DISPID_UNKNOWN);
  const ScriptedMember* const member = Find(View(names[0]), false);
  if (member == nullptr || count != 1) return DISP_E_UNKNOWNNAME;
  ids[0] = member->id;
  return S_OK;
}

STDMETHODIMP ScriptedObject::GetDispID(BSTR name, DWORD flags, DISPID* id) {
  *id = DISPID_UNKNOWN;
  if (FAILED(extendedNamesStatus)) return extendedNamesStatus;
  const ScriptedMember* const member = Find(ViewOf(name), (flags & fdexNameCaseInsensitive) == 0);
  if (member == nullptr) return DISP_E_UNKNOWNNAME;
  *id = member->id;
  return S_OK;
}

HRESULT ScriptedObject::Run(ScriptedMember& member, WORD flags, const DISPPARAMS& params,
                            VARIANT* result, EXCEPINFO* exception) {
  try {
    return flags == DISPATCH_PROPERTYPUT ? Set(member, params, exception)
                                         : Read(member, params, result, exception);
  } catch (const Fails& fails) {
    return End(fails.outcome, exception);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const RuntimeError&) {
    return E_OUTOFMEMORY;
  }
}

STDMETHODIMP ScriptedObject::Invoke(DISPID id, REFIID reserved, LCID, WORD flags,
                                    DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                    UINT* wrongArgument) {
  const bool hasPlaces = result != nullptr && exception != nullptr && wrongArgument != nullptr;
  if (!hasPlaces || reserved != IID_NULL) ++callsWithoutPlaces;
  const auto member = std::find_if(members_.begin(), members_.end(), [=](const auto& m) {
    return m->id == id && (m->kinds & flags) != 0;
  });
  if (member == members_.end()) return DISP_E_MEMBERNOTFOUND;
  const ComPtr<ScriptedObject> alive(this);
  const HRESULT status = Run(**member, flags, *params, result, exception);
  if (status == E_OUTOFMEMORY) ++callsWithoutMemory;
  return status;
}

// ---- Collections -------------------------------------------------------------------------------

class ScriptedEnumerator : public IEnumVARIANT {
 public:
  explicit ScriptedEnumerator(ForeignCollection& collection) : collection_(&collection) {
    ++ScriptedObject::alive;
  }
  ScriptedEnumerator(const ScriptedEnumerator&) = delete;
  ScriptedEnumerator& operator=(const ScriptedEnumerator&) = delete;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool known = id == IID_IUnknown || id == IID_IEnumVARIANT;
    *result = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP Next(ULONG, VARIANT* entry, ULONG* fetched) override {
    const HRESULT status = collection_->whenFetched ? collection_->whenFetched() : S_OK;
    if (status != S_OK) {
      if (fetched != nullptr) *fetched = 0;
      return status;
    }
    const bool isPastEnd = passed_ >= collection_->entries_.size();
    if (fetched != nullptr && (isPastEnd || collection_->reportsFetched))
      *fetched = isPastEnd ? 0 : 1;
    if (isPastEnd) return collection_->endsWithoutFalse ? S_OK : S_FALSE;
    if (++passed_ == collection_->failing_) {
      if (fetched != nullptr) *fetched = 0;
      return collection_->failure_.status;
    }
    return HandOut(collection_->entries_[passed_ - 1].value.Get(), entry);
  }
  STDMETHODIMP Skip(ULONG) override { return E_NOTIMPL; }
  STDMETHODIMP Reset() override { return E_NOTIMPL; }
  STDMETHODIMP Clone(IEnumVARIANT**) override { return E_NOTIMPL; }

 private:
  virtual ~ScriptedEnumerator() { --ScriptedObject::alive; }

  ULONG references_ = 1;
  ComPtr<ForeignCollection> collection_;
  std::size_t passed_ = 0;
};

ForeignCollection::ForeignCollection(bool hasEnumerator) {
  Property(u"Count");
  (*this)[u"Count"].body = [this](const Arguments&) {
    return claimedCount ? claimedCount() : Number(static_cast<std::int32_t>(entries_.size()));
  };
  Add({u"Item", DISPID_VALUE, DISPATCH_PROPERTYGET | DISPATCH_METHOD});
  (*this)[u"Item"].body = [this](const Arguments& arguments) { return ItemAt(arguments); };
  if (!hasEnumerator) return;
  Add({u"_NewEnum", DISPID_NEWENUM, DISPATCH_PROPERTYGET});
  (*this)[u"_NewEnum"].body = [this](const Arguments&) {
    ++enumeratorsMade_;
    return Of(VT_UNKNOWN, static_cast<IUnknown*>(new ScriptedEnumerator(*this)));
  };
}

ComPtr<ForeignCollection> ForeignCollection::OfNames(
    const std::vector<std::u16string_view>& names) {
  auto collection = New();
  for (const auto name : names) collection->AddEntry(Variant::OfText(name), name);
  return collection;
}

void ForeignCollection::AddEntry(Variant entry, std::u16string_view key) {
  entries_.push_back({std::move(entry), std::u16string(key)});
}

void ForeignCollection::FailAt(std::size_t position, Outcome outcome) {
  failing_ = position;
  failure_ = std::move(outcome);
}

Variant ForeignCollection::ItemAt(const Arguments& arguments) {
  if (arguments.size() != 1) throw Fails{{DISP_E_BADPARAMCOUNT}};
  const VARIANT& index = *arguments[0];
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    if (index.vt == VT_BSTR) return EqualIgnoringCase(entry.key, ViewOf(index.bstrVal));
    return index.vt == VT_I4 && &entry - entries_.data() + 1 == index.lVal;
  });
  if (found == entries_.end()) {
    const bool byKey = index.vt == VT_BSTR;
    throw Fails{Outcome::Raise(static_cast<HRESULT>(byKey ? 0x800A0005 : 0x800A0009))};
  }
  if (static_cast<std::size_t>(found - entries_.begin()) + 1 == failing_) throw Fails{failure_};
  Variant item;
  if (FAILED(HandOut(found->value.Get(), item.Receive()))) throw std::bad_alloc();
  return item;
}

ComPtr<ScriptedObject> NewCreator(std::function<ComPtr<IDispatch>()> make) {
  auto creator = ScriptedObject::New();
  creator->Method(u"GetNewObject", [make = std::move(make)](const Arguments&) {
    return Variant::OfObject(make().Get());
  });
  return creator;
}

Variant Plain(VARTYPE type, const void* value, std::size_t size) {
  Variant made;
  VARIANT& raw = made.Get();
  if (type == VT_DECIMAL) {
    std::memcpy(&raw, value, size);
  } else {
    std::memcpy(&raw.llVal, value, std::min(size, sizeof raw.llVal));
  }
  raw.vt = type;
  return made;
}

}  // namespace brindlex::testing
