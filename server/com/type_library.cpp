#include "server/type_library.h"

#include <oleauto.h>

#include "platform/win32/com_ptr.h"
#include "platform/win32/hresult.h"
#include "server/error_info.h"
#include "server/module.h"

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
