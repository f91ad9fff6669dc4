#include "server/com/type_library.h"

#include <oleauto.h>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/hresult.h"
#include "server/com/error_info.h"
#include "server/com/module.h"

namespace brindlex {

HRESULT LoadTypeInfo(REFGUID id, ITypeInfo** info) noexcept {
  try {
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(module::Path().c_str(), REGKIND_NONE, library.Receive()));
    return library->GetTypeInfoOfGuid(id, info);
  } catch (...) {
    return ReportCaughtError(id);
  }
}

}  // namespace brindlex
