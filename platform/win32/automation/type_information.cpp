#include "platform/win32/automation/type_information.h"

#include <objbase.h>

#include <algorithm>
#include <new>
#include <utility>

#include "automation/keyed_list.h"
#include "automation/runtime_error.h"
#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/dispatch_adapter.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

/// Names in the order in which they came, each once, whatever its letter case. Constant time for
/// each name: a description may list 65,535 members at each of its levels.
class DistinctNames {
 public:
  void Add(TextView name) {
    if (names_.Find(name) == nullptr) names_.Add(Text(name), name);
  }

  std::vector<Text> All() const {
    std::vector<Text> all;
    for (std::size_t position = 1; position <= names_.Count(); ++position) {
      all.push_back(names_.At(position));
    }
    return all;
  }

 private:
  KeyedList<Text> names_;
};

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

Variant MemberOf(IDispatch& object, MemberName name, std::span<VARIANT> arguments = {}) {
  return Invoke(object, MemberId(object, name), kCallOrGet, arguments);
}

ComPtr<IDispatch> ObjectMemberOf(IDispatch& object, MemberName name,
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
  const DispatchAdapter adapter(nullptr);
  DistinctNames names;
  DispatchCollection(adapter, std::move(members)).ForEachObject([&](const Object& entry) {
    IDispatch& member = *static_cast<IDispatch*>(entry.Self(adapter));
    const Text name = TextOf(MemberOf(member, u"Name").Get());
    if (WholeNumberOf(MemberOf(member, u"InvokeKind").Get()) == INVOKE_PROPERTYGET) {
      names.Add(name);
    }
    return true;
  });
  return names.All();
}

// ---- The object's own type information ---------------------------------------------------------

/// A description that its ITypeInfo made, and that must be released to it.
template <class Description, void (STDMETHODCALLTYPE ITypeInfo::*kGiveBack)(Description*)>
class Described {
 public:
  /// What `get(&description)` yields. Its error; E_NOTIMPL if it succeeds without a description.
  template <class Get>
  Described(ITypeInfo& info, Get&& get) : info_(info) {
    CheckHost(get(&description_));
    if (description_ == nullptr) throw ErrorOf(E_NOTIMPL);
  }
  Described(const Described&) = delete;
  Described& operator=(const Described&) = delete;
  ~Described() { (info_.*kGiveBack)(description_); }

  const Description* operator->() const { return description_; }

 private:
  ITypeInfo& info_;
  Description* description_ = nullptr;
};

using DescribedType = Described<TYPEATTR, &ITypeInfo::ReleaseTypeAttr>;
using DescribedFunction = Described<FUNCDESC, &ITypeInfo::ReleaseFuncDesc>;
using DescribedVariable = Described<VARDESC, &ITypeInfo::ReleaseVarDesc>;

DescribedType TypeOf(ITypeInfo& info) {
  return {info, [&](TYPEATTR** type) { return info.GetTypeAttr(type); }};
}

void AddName(ITypeInfo& info, MEMBERID member, DistinctNames& names) {
  Bstr name;
  UINT count = 0;
  CheckHost(info.GetNames(member, name.Receive(), 1, &count));
  if (count == 1) names.Add(name.View());
}

/// True for what the automation itself adds, such as the members of IDispatch.
bool IsRestricted(WORD flags) { return (flags & FUNCFLAG_FRESTRICTED) != 0; }

void AddVariables(ITypeInfo& info, UINT count, DistinctNames& names) {
  for (UINT index = 0; index < count; ++index) {
    const DescribedVariable variable(
        info, [&](VARDESC** found) { return info.GetVarDesc(index, found); });
    if (variable->varkind == VAR_DISPATCH) AddName(info, variable->memid, names);
  }
}

void AddFunctions(ITypeInfo& info, UINT count, DistinctNames& names) {
  for (UINT index = 0; index < count; ++index) {
    const DescribedFunction function(
        info, [&](FUNCDESC** found) { return info.GetFuncDesc(index, found); });
    if (function->invkind == INVOKE_PROPERTYGET && !IsRestricted(function->wFuncFlags)) {
      AddName(info, function->memid, names);
    }
  }
}

/// What `info` inherits from, or null. A vtable interface describes only what it adds to that.
ComPtr<ITypeInfo> BaseOf(ITypeInfo& info) {
  const DescribedType type = TypeOf(info);
  if (type->typekind != TKIND_INTERFACE || type->cImplTypes == 0) return nullptr;
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> base;
  CheckHost(info.GetRefTypeOfImplType(0, &reference));
  CheckHost(info.GetRefTypeInfo(reference, base.Receive()));
  if (!base) throw ErrorOf(E_NOTIMPL);
  return base;
}

/// `info` and what it inherits from, in that order. Error 13 for more than 16 levels, as for a
/// chain of default properties: a description can name itself as its base.
std::vector<ComPtr<ITypeInfo>> LevelsOf(ComPtr<ITypeInfo> info) {
  constexpr std::size_t kMostLevels = 16;
  std::vector<ComPtr<ITypeInfo>> levels;
  for (; info; info = BaseOf(*levels.back().Get())) {
    if (levels.size() == kMostLevels) throw RuntimeError(error_number::kTypeMismatch);
    levels.push_back(std::move(info));
  }
  return levels;
}

std::vector<Text> NamesFromTypeInfo(IDispatch& object) {
  UINT count = 0;
  if (FAILED(object.GetTypeInfoCount(&count)) || count == 0) throw ErrorOf(E_NOTIMPL);
  ComPtr<ITypeInfo> info;
  CheckHost(object.GetTypeInfo(0, GetUserDefaultLCID(), info.Receive()));
  if (!info) throw ErrorOf(E_NOTIMPL);
  const std::vector<ComPtr<ITypeInfo>> levels = LevelsOf(std::move(info));
  DistinctNames names;
  // The names of a base come before those that are added to it.
  std::for_each(levels.rbegin(), levels.rend(), [&names](const ComPtr<ITypeInfo>& level) {
    ITypeInfo& described = *level.Get();
    const DescribedType type = TypeOf(described);
    AddVariables(described, type->cVars, names);
    AddFunctions(described, type->cFuncs, names);
  });
  return names.All();
}

}  // namespace

std::vector<Text> PropertyGetNamesOf(IDispatch& object) {
  if (const auto service = InformationService()) return NamesFromService(*service.Get(), object);
  return NamesFromTypeInfo(object);
}

}  // namespace brindlex
