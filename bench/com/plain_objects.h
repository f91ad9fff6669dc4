#pragma once

#include <oaidl.h>

#include <array>
#include <vector>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"

namespace brindlex::bench {

inline constexpr std::size_t kFields = 5;
inline constexpr std::array<const wchar_t*, kFields> kNames = {L"Title", L"Author", L"Year",
                                                               L"Price", L"Remarks"};

/// IUnknown and the parts of IDispatch that late binding without type information needs; counted
/// from one reference.
class PlainDispatch : public IDispatch {
 public:
  PlainDispatch() = default;
  PlainDispatch(const PlainDispatch&) = delete;
  PlainDispatch& operator=(const PlainDispatch&) = delete;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    if (id == IID_IUnknown || id == IID_IDispatch) {
      *result = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *result = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (described_ == nullptr) return E_NOTIMPL;
    described_->AddRef();
    *info = described_;
    return S_OK;
  }

  /// Type information that the object gives out as its own from now on.
  void DescribeAs(ITypeInfo* described) { described_ = described; }

 protected:
  virtual ~PlainDispatch() = default;

 private:
  ULONG references_ = 1;
  ITypeInfo* described_ = nullptr;
};

/// A record of five texts, as a host's C++ class is: ids by comparing names, values as BSTRs.
class PlainRecord : public PlainDispatch {
 public:
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

  std::array<Bstr, kFields> fields;
};

/// Makes PlainRecords, by GetNewObject; described as `described`, which may be null.
class PlainCreator : public PlainDispatch {
 public:
  explicit PlainCreator(ITypeInfo* described) : recordInfo_(described) {}

  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

 private:
  ITypeInfo* recordInfo_;
};

}  // namespace brindlex::bench
