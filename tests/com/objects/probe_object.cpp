#include "tests/com/objects/probe_object.h"

#include <utility>

namespace brindlex::testing {

ComPtr<ProbeObject> ProbeObject::New(std::function<void()> atTheEnd) {
  return ComPtr<ProbeObject>::Adopt(new ProbeObject(std::move(atTheEnd)));
}

STDMETHODIMP ProbeObject::QueryInterface(REFIID id, void** result) {
  const bool known = id == IID_IUnknown || id == IID_IDispatch;
  *result = known ? this : nullptr;
  if (known) AddRef();
  return known ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) ProbeObject::Release() {
  const ULONG left = --references_;
  if (left > 0) return left;
  const auto atTheEnd = std::move(atTheEnd_);
  delete this;
  if (atTheEnd) atTheEnd();
  return 0;
}

STDMETHODIMP ProbeObject::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                 EXCEPINFO*, UINT*) {
  if (member != DISPID_VALUE) return DISP_E_MEMBERNOTFOUND;
  if (FAILED(failure)) return failure;
  result->vt = VT_I4;
  result->lVal = value;
  return S_OK;
}

}  // namespace brindlex::testing
