#pragma once

#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

/// The probes of the system as hosts see them.
class CoEnvironment final : public Coclass<CoEnvironment, _clsEnvironment, ::clsEnvironment> {
 public:
  STDMETHODIMP GetOsName(BSTR* result) override;
  STDMETHODIMP IsWindowsVista(VARIANT_BOOL* result) override;
  STDMETHODIMP FindSystemFolder(long csidl, BSTR* result) override;
  STDMETHODIMP get_ReportListener(IDispatch** result) override;
  STDMETHODIMP putref_ReportListener(IDispatch* value) override;
};

}  // namespace brindlex
