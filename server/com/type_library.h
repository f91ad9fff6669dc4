#pragma once

#include <oaidl.h>

namespace brindlex {

/// The description of an interface or class in the DLL's own type library, whether or not that is
/// registered. The caller releases `*info`.
HRESULT LoadTypeInfo(REFGUID id, ITypeInfo** info) noexcept;

}  // namespace brindlex
