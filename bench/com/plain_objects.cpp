#include "bench/com/plain_objects.h"

#include <cwchar>

#include "server/Brindlex.h"

namespace brindlex::bench {
namespace {

constexpr DISPID kGetMemberNames = 100;
constexpr DISPID kGetNewObject = 101;

ComPtr<_clsCollection> NewMemberNames() {
  ComPtr<_clsCollection> names;
  CoCreateInstance(CLSID_clsCollection, nullptr, CLSCTX_INPROC_SERVER, IID__clsCollection,
                   names.ReceiveVoid());
  VARIANT missing;
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  for (const wchar_t* const name : kNames) {
    const Variant text(TextView(reinterpret_cast<const char16_t*>(name)));
    names->Add(text.Get(), text.Get(), missing, missing);
  }
  return names;
}

/// The names as records list them, in a collection of the component's: one for all, which lasts as
/// long as the program, since looking its class up takes as long as saving hundreds of records.
ComPtr<IDispatch> MemberNames() {
  static _clsCollection* const names = NewMemberNames().Detach();
  return ComPtr<IDispatch>(names);
}

HRESULT GiveObject(ComPtr<IDispatch> object, VARIANT* result) {
  result->vt = VT_DISPATCH;
  result->pdispVal = object.Detach();
  return S_OK;
}

}  // namespace

STDMETHODIMP PlainRecord::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) {
  for (std::size_t field = 0; field < kFields; ++field) {
    if (std::wcscmp(*names, kNames[field]) == 0) {
      *ids = static_cast<DISPID>(field) + 1;
      return S_OK;
    }
  }
  if (std::wcscmp(*names, L"GetMemberNames") != 0) return DISP_E_UNKNOWNNAME;
  *ids = kGetMemberNames;
  return S_OK;
}

STDMETHODIMP PlainRecord::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                 VARIANT* result, EXCEPINFO*, UINT*) {
  if (member == kGetMemberNames) return GiveObject(MemberNames(), result);
  if (member < 1 || member > static_cast<DISPID>(kFields)) return DISP_E_MEMBERNOTFOUND;
  Bstr& field = fields[static_cast<std::size_t>(member) - 1];
  if ((flags & DISPATCH_PROPERTYPUT) != 0) {
    *field.Receive() =
        SysAllocStringLen(params->rgvarg->bstrVal, SysStringLen(params->rgvarg->bstrVal));
    return S_OK;
  }
  result->vt = VT_BSTR;
  result->bstrVal = SysAllocStringLen(field.Get(), SysStringLen(field.Get()));
  return S_OK;
}

STDMETHODIMP PlainCreator::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) {
  if (std::wcscmp(*names, L"GetNewObject") != 0) return DISP_E_UNKNOWNNAME;
  *ids = kGetNewObject;
  return S_OK;
}

STDMETHODIMP PlainCreator::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                  EXCEPINFO*, UINT*) {
  auto record = ComPtr<PlainRecord>::Adopt(new PlainRecord);
  record->DescribeAs(recordInfo_);
  return GiveObject(ComPtr<IDispatch>(record.Get()), result);
}

}  // namespace brindlex::bench
