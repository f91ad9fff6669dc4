// What a program in C++ brings along: its record, a book with a title and a price, and the creator
// that the component asks for new ones. Both are late-bound objects, IDispatch and nothing else.
#pragma once

#include <windows.h>
// After windows.h.
#include <oleauto.h>

#include <initializer_list>

#include "Brindlex.h"

namespace books {

/// What a late-bound object needs beside its members. The objects live on one thread.
class LateBound : public IDispatch {
 public:
  virtual ~LateBound() = default;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    const bool isOurs = id == IID_IUnknown || id == IID_IDispatch;
    *result = isOurs ? static_cast<IDispatch*>(this) : nullptr;
    if (isOurs) AddRef();
    return isOurs ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    *info = nullptr;
    return DISP_E_BADINDEX;
  }

 private:
  ULONG references_ = 1;
};

class Book final : public LateBound {
 public:
  explicit Book(const wchar_t* title = L"", double price = 0)
      : title_(SysAllocString(title)), price_(price) {}
  ~Book() override { SysFreeString(title_); }

  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    constexpr const wchar_t* kNames[] = {L"Title", L"Price", L"GetMemberNames"};
    *ids = DISPID_UNKNOWN;
    for (DISPID id = kTitle; id <= kGetMemberNames; ++id) {
      if (lstrcmpiW(names[0], kNames[id - kTitle]) == 0) *ids = id;
    }
    return *ids == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
  }

  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO*, UINT*) override {
    if ((flags & DISPATCH_PROPERTYPUT) != 0) return Put(id, arguments->rgvarg[0]);
    return result == nullptr ? S_OK : Get(id, *result);
  }

 private:
  enum : DISPID { kTitle = 1, kPrice, kGetMemberNames };

  HRESULT Get(DISPID id, VARIANT& result) const {
    switch (id) {
      case kTitle:
        result.vt = VT_BSTR;
        result.bstrVal = SysAllocString(title_);
        return S_OK;
      case kPrice:
        result.vt = VT_R8;
        result.dblVal = price_;
        return S_OK;
      case kGetMemberNames:
        result.vt = VT_DISPATCH;
        return MemberNames(&result.pdispVal);
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

  /// Restoring brings every value as text, and the property converts it.
  HRESULT Put(DISPID id, VARIANT& value) {
    VARIANT converted{};
    const HRESULT status = VariantChangeType(&converted, &value, 0, id == kTitle ? VT_BSTR : VT_R8);
    if (FAILED(status)) return status;
    if (id == kTitle) {
      SysFreeString(title_);
      title_ = converted.bstrVal;
    } else {
      price_ = converted.dblVal;
    }
    return S_OK;
  }

  /// The fields in the order in which they are written, each under itself as key.
  static HRESULT MemberNames(IDispatch** result) {
    _clsCollection* names = nullptr;
    const HRESULT status = CoCreateInstance(CLSID_clsCollection, nullptr, CLSCTX_INPROC_SERVER,
                                            IID__clsCollection, reinterpret_cast<void**>(&names));
    if (FAILED(status)) return status;
    VARIANT omitted{};
    omitted.vt = VT_ERROR;
    omitted.scode = DISP_E_PARAMNOTFOUND;
    for (const wchar_t* const text : {L"Title", L"Price"}) {
      VARIANT name{};
      name.vt = VT_BSTR;
      name.bstrVal = SysAllocString(text);
      names->Add(name, name, omitted, omitted);
      VariantClear(&name);
    }
    *result = names;
    return S_OK;
  }

  BSTR title_;
  double price_;
};

class CreateBook final : public LateBound {
 public:
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    *ids = lstrcmpiW(names[0], L"GetNewObject") == 0 ? 1 : DISPID_UNKNOWN;
    return *ids == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    result->vt = VT_DISPATCH;
    result->pdispVal = new Book;
    return S_OK;
  }
};

}  // namespace books
