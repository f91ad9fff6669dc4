#include "tests/com/objects/typed_record.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace brindlex::testing {
namespace {

void Require(HRESULT status, const char* what) {
  if (FAILED(status)) throw std::runtime_error(what);
}

ComPtr<ITypeLib> LoadOwnLibrary() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  ComPtr<ITypeLib> library;
  Require(LoadTypeLibEx(path, REGKIND_NONE, library.Receive()), "no type library in the program");
  return library;
}

}  // namespace

ComPtr<ITypeInfo> TestTypeInfo(REFGUID id) {
  ComPtr<ITypeInfo> info;
  Require(LoadOwnLibrary()->GetTypeInfoOfGuid(id, info.Receive()), "no such type");
  return info;
}

ComPtr<ITypeInfo> VtableInfoOf(const ComPtr<ITypeInfo>& dual) {
  constexpr UINT kVtableHalf = static_cast<UINT>(-1);
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> info;
  Require(dual->GetRefTypeOfImplType(kVtableHalf, &reference), "not dual");
  Require(dual->GetRefTypeInfo(reference, info.Receive()), "not dual");
  return info;
}

STDMETHODIMP TypedRecord::QueryInterface(REFIID id, void** result) {
  const bool known = id == IID_IUnknown || id == IID_IDispatch || id == IID__TypedRecord ||
                     id == IID__DerivedRecord;
  *result = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) TypedRecord::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP TypedRecord::GetTypeInfoCount(UINT* count) {
  *count = 1;
  return S_OK;
}

STDMETHODIMP TypedRecord::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  *info = ComPtr<ITypeInfo>(described_).Detach();
  return S_OK;
}

STDMETHODIMP TypedRecord::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  return DispGetIDsOfNames(info_.Get(), names, count, ids);
}

STDMETHODIMP TypedRecord::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                 VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) {
  return info_->Invoke(static_cast<_DerivedRecord*>(this), id, flags, params, result, exception,
                       wrongArgument);
}

}  // namespace brindlex::testing
