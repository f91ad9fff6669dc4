#pragma once

#include <oaidl.h>

#include <string>
#include <vector>

#include "platform/win32/automation/com_ptr.h"

namespace brindlex::testing {

/// The type library in the DLL's file, loaded without registering it.
ComPtr<ITypeLib> OwnTypeLibrary();

/// The vtable half of a dual interface of the DLL's own type library.
ComPtr<ITypeInfo> VtableTypeOf(REFIID interfaceId);

/// The type's own name.
std::wstring NameOf(ITypeInfo& type);

/// The type's own functions in vtable order, each as it would be declared, such as
/// "2 get Find([in] BSTR Name, [in, optional] VARIANT Depth) long".
std::vector<std::wstring> DeclarationsOf(ITypeInfo& type);

/// The names of those of the type's functions that have no help text.
std::vector<std::wstring> FunctionsWithoutHelp(ITypeInfo& type);

/// A description that the type gives out and takes back.
template <class Description, auto kGet, auto kGiveBack>
class TypeDescription {
 public:
  template <class... Which>
  explicit TypeDescription(ITypeInfo& type, Which... which) : type_(type) {
    (type_.*kGet)(which..., &description_);
  }
  TypeDescription(const TypeDescription&) = delete;
  TypeDescription& operator=(const TypeDescription&) = delete;
  ~TypeDescription() {
    if (description_ != nullptr) (type_.*kGiveBack)(description_);
  }

  explicit operator bool() const { return description_ != nullptr; }
  const Description* operator->() const { return description_; }

 private:
  ITypeInfo& type_;
  Description* description_ = nullptr;
};

using TypeAttributes =
    TypeDescription<TYPEATTR, &ITypeInfo::GetTypeAttr, &ITypeInfo::ReleaseTypeAttr>;
using FunctionDescription =
    TypeDescription<FUNCDESC, &ITypeInfo::GetFuncDesc, &ITypeInfo::ReleaseFuncDesc>;

/// The names of a function and its parameters.
std::vector<std::wstring> NamesOf(ITypeInfo& type, const FunctionDescription& function);

}  // namespace brindlex::testing
