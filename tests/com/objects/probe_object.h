#pragma once

#include <oaidl.h>

#include <functional>

#include "platform/win32/automation/com_ptr.h"

namespace brindlex::testing {

/// An object of the host's that counts its references and reports its end.
class ProbeObject : public IDispatch {
 public:
  /// With one reference; `atTheEnd` runs when the last one is released.
  static ComPtr<ProbeObject> New(std::function<void()> atTheEnd = nullptr);

  ULONG References() const { return references_; }
  /// What its default property yields, unless that fails.
  long value = 0;
  HRESULT failure = S_OK;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                      UINT*) override;

 private:
  explicit ProbeObject(std::function<void()> atTheEnd) : atTheEnd_(std::move(atTheEnd)) {}
  virtual ~ProbeObject() = default;

  ULONG references_ = 1;
  std::function<void()> atTheEnd_;
};

}  // namespace brindlex::testing
