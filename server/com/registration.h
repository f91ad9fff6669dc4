#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

#include "server/com/class_factory.h"

namespace brindlex {

/// One registry key of ours below the classes root, and the values that it holds. Keys that exist
/// only to hold others are listed as well.
struct RegistryKey {
  struct Value {
    /// Empty for the key's default value.
    std::wstring name;
    std::wstring text;
  };

  /// Relative to the classes root.
  std::wstring path;
  std::vector<Value> values;
  /// True for a key that 32-bit and 64-bit programs read in the same place, so that the DLLs of
  /// both write it.
  bool isShared = false;
  /// True for the key of a class that names the DLL's file. Where programs of the other bitness see
  /// it too, the DLL of that bitness is registered.
  bool namesServer = false;
};

/// Every key that registering `classes` with the DLL at `modulePath` makes, parents before
/// children: the ProgIDs, the classes, the type library and its interfaces.
std::vector<RegistryKey> KeysOf(std::span<const ClassDescription> classes,
                                const std::wstring& modulePath);

/// One classes root as 32-bit and 64-bit programs see it: those of the DLL's own bitness and of the
/// other. On 32-bit Windows both are the same.
struct ClassesRoot {
  HKEY own;
  HKEY other;
};

/// The right that opens a key as programs of the other bitness see it.
constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

/// Writes `keys` below `root.own`. When one cannot be written, those written before are removed
/// again, the following ones are not touched, and the system's error is returned.
HRESULT WriteKeys(const ClassesRoot& root, std::span<const RegistryKey> keys);

/// Removes `keys` from `root.own`: the values of ours, then every key that is empty without
/// them. What others have put below our keys stays, with the path to it. A key that does not exist
/// is no failure. While the DLL of the other bitness is registered below `root.other`, shared keys
/// stay. Returns the first error of the system.
HRESULT RemoveKeys(const ClassesRoot& root, std::span<const RegistryKey> keys);

}  // namespace brindlex
