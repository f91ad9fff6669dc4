#include "platform/win32/type_information.h"

#include <objbase.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/win32/com_ptr.h"
#include "platform/win32/dispatch_family.h"
#include "platform/win32/hresult.h"
#include "platform/win32/late_binding.h"
#include "platform/win32/variant.h"

namespace brindlex {
namespace {

void AddOnce(TextView name, std::vector<Text>& names) {
  const bool known = std::any_of(names.begin(), names.end(), [name](const Text& other) {
    return EqualIgnoringCase(name, other);
  });
  if (!known) names.emplace_back(name);
}

// ---- The type-library information service ------------------------------------------------------

constexpr CLSID kTypeLibraryInformation = {
    0x8B21775E, 0x717D, 0x11CE, {0xAB, 0x5B, 0xD4, 0x12, 0x03, 0xC1, 0x00, 0x00}};

/// The service, or null where it is not registered or cannot be loaded.
ComPtr<IDispatch> InformationService() {
  ComPtr<IDispatch> service;
  const HRESULT status = CoCreateInstance(kTypeLibraryInformation, nullptr, CLSCTX_INPROC_SERVER,
                                          __uuidof(IDispatch), service.ReceiveVoid());
  if (status == E_OUTOFMEMORY) throw std::bad_alloc();
  return FAILED(status) ? nullptr : service;
}

Variant MemberOf(IDispatch& object, TextView name, std::span<VARIANT> arguments = {}) {
  return Invoke(object, MemberId(object, Bstr(name).Get()), kCallOrGet, arguments);
}

ComPtr<IDispatch> ObjectMemberOf(IDispatch& object, TextView name,
                                 std::span<VARIANT> arguments = {}) {
  auto member = ObjectOf(MemberOf(object, name, arguments).Get());
  if (!member) throw RuntimeError(error_number::kObjectNotSet);
  return member;
}

std::vector<Text> NamesFromService(IDispatch& service, IDispatch& object) {
  Variant argument = Variant::OfObject(&object);
  const auto interfaceInfo =
      ObjectMemberOf(service, u"InterfaceInfoFromObject", {&argument.Get(), 1});
  auto members = ObjectMemberOf(*interfaceInfo.Get(), u"Members");
  const DispatchFamily family(nullptr);
  const auto walk = DispatchCollection(family, std::move(members)).Enumerate();
  std::vector<Text> names;
  for (Object entry; walk->NextObject(entry);) {
    IDispatch& member = *static_cast<IDispatch*>(entry.Self(family));
    const Text name = TextOf(MemberOf(member, u"Name").Get());
    if (WholeNumberOf(MemberOf(member, u"InvokeKind").Get()) == INVOKE_PROPERTYGET) {
      AddOnce(name, names);
    }
  }
  return names;
}

// ---- The object's own type information ---------------------------------------------------------

/// A description that its ITypeInfo made, and that goes back to it.
template <class Description, void (STDMETHODCALLTYPE ITypeInfo::*kGiveBack)(Description*)>
class Described {
 public:
  explicit Described(ITypeInfo& info) : info_(info) {}
  Described(const Described&) = delete;
  Described& operator=(const Described&) = delete;
  ~Described() {
    if (description_ != nullptr) (info_.*kGiveBack)(description_);
  }

  Description** Receive() { return &description_; }
  const Description* operator->() const { return description_; }

 private:
  ITypeInfo& info_;
  Description* description_ = nullptr;
};

using DescribedType = Described<TYPEATTR, &ITypeInfo::ReleaseTypeAttr>;
using DescribedFunction = Described<FUNCDESC, &ITypeInfo::ReleaseFuncDesc>;
using DescribedVariable = Described<VARDESC, &ITypeInfo::ReleaseVarDesc>;

void AddName(ITypeInfo& info, MEMBERID member, std::vector<Text>& names) {
  Bstr name;
  UINT count = 0;
  CheckHost(info.GetNames(member, name.Receive(), 1, &count));
  if (count == 1) AddOnce(name.View(), names);
}

/// True for what the automation itself adds, such as the members of IDispatch.
bool IsRestricted(WORD flags) { return (flags & FUNCFLAG_FRESTRICTED) != 0; }

void AddInheritedNames(ITypeInfo& info, const TYPEATTR& type, std::vector<Text>& names);

void AddNames(ITypeInfo& info, std::vector<Text>& names) {
  DescribedType type(info);
  CheckHost(info.GetTypeAttr(type.Receive()));
  AddInheritedNames(info, *type.operator->(), names);
  for (UINT index = 0; index < type->cVars; ++index) {
    DescribedVariable variable(info);
    CheckHost(info.GetVarDesc(index, variable.Receive()));
    if (variable->varkind == VAR_DISPATCH) AddName(info, variable->memid, names);
  }
  for (UINT index = 0; index < type->cFuncs; ++index) {
    DescribedFunction function(info);
    CheckHost(info.GetFuncDesc(index, function.Receive()));
    if (function->invkind == INVOKE_PROPERTYGET && !IsRestricted(function->wFuncFlags)) {
      AddName(info, function->memid, names);
    }
  }
}

/// A vtable interface describes only what it adds to the one that it inherits from.
void AddInheritedNames(ITypeInfo& info, const TYPEATTR& type, std::vector<Text>& names) {
  if (type.typekind != TKIND_INTERFACE || type.cImplTypes == 0) return;
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> inherited;
  CheckHost(info.GetRefTypeOfImplType(0, &reference));
  CheckHost(info.GetRefTypeInfo(reference, inherited.Receive()));
  AddNames(*inherited.Get(), names);
}

std::vector<Text> NamesFromTypeInfo(IDispatch& object) {
  UINT count = 0;
  if (FAILED(object.GetTypeInfoCount(&count)) || count == 0) throw ErrorOf(E_NOTIMPL);
  ComPtr<ITypeInfo> info;
  CheckHost(object.GetTypeInfo(0, GetUserDefaultLCID(), info.Receive()));
  if (!info) throw ErrorOf(E_NOTIMPL);
  std::vector<Text> names;
  AddNames(*info.Get(), names);
  return names;
}

}  // namespace

std::vector<Text> PropertyGetNamesOf(IDispatch& object) {
  if (const auto service = InformationService()) return NamesFromService(*service.Get(), object);
  return NamesFromTypeInfo(object);
}

}  // namespace brindlex
