#pragma once

#include <oaidl.h>

#include <span>

namespace brindlex {

/// One creatable class of the DLL.
struct ClassDescription {
  const CLSID& classId;
  const IID& interfaceId;
  /// The class's name; its ProgIDs are "Brindlex.<name>" and "Brindlex.<name>.1".
  const wchar_t* name;
  /// Makes an object with one reference. Throws std::bad_alloc.
  IDispatch* (*create)();
};

/// The class factory of the class `classId` among `classes`, as the interface `interfaceId`.
/// CLASS_E_CLASSNOTAVAILABLE if the class is not among them. `classes` must outlive the factory.
HRESULT GetClassFactory(std::span<const ClassDescription> classes, REFCLSID classId,
                        REFIID interfaceId, void** result) noexcept;

}  // namespace brindlex
