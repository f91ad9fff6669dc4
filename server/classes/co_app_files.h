#pragma once

#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

/// The settings folders and the text files as hosts see them. What the host hands over belongs to
/// the thread, not to the object.
class CoAppFiles final : public Coclass<CoAppFiles, _clsAppFiles, ::clsAppFiles> {
 public:
  STDMETHODIMP StartUp(IDispatch* hostObject, BSTR appFolderName, BSTR companyFolderName) override;
  STDMETHODIMP GetWinSysDirFolder(IDispatch** result) override;
  STDMETHODIMP EnsureFolder(BSTR path, VARIANT_BOOL* result) override;
  STDMETHODIMP SettingsFolderAllUsers(BSTR* companyFolder, BSTR* result) override;
  STDMETHODIMP SaveTextFile(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                            VARIANT_BOOL* result) override;
  STDMETHODIMP ReadTextFile(BSTR path, VARIANT_BOOL quietIfMissing, BSTR* result) override;
  STDMETHODIMP FileNameFromPath(BSTR path, BSTR* result) override;
  STDMETHODIMP CopyFileKeepAttributes(BSTR source, BSTR destination) override;
  STDMETHODIMP SaveTextFileSafely(BSTR path, BSTR text, VARIANT_BOOL quietIfDenied,
                                  VARIANT_BOOL* result) override;
};

}  // namespace brindlex
