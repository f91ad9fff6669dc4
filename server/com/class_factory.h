#pragma once

#include <unknwn.h>

#include <span>

namespace brindlex {

/// One creatable class of the DLL.
struct ClassDescription {
  const CLSID& classId;
  const IID& interfaceId;
  /// The class's name; its ProgIDs are "Brindlex.<name>" and "Brindlex.<name>.1".
  const wchar_t* name;
  /// Makes an object with one reference. Throws std::bad_alloc.
  IUnknown* (*create)();
};

/// All creatable classes, in the order of the type library.
std::span<const ClassDescription> Classes();

/// The class factory of the class `classId`, as the interface `interfaceId`.
/// CLASS_E_CLASSNOTAVAILABLE for a class that is not ours.
HRESULT GetClassFactory(REFCLSID classId, REFIID interfaceId, void** result) noexcept;

}  // namespace brindlex
