#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

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
};

/// Every key that registering the DLL at `modulePath` makes, parents before children: the ProgIDs,
/// the classes, the type library and its interfaces.
std::vector<RegistryKey> KeysOf(const std::wstring& modulePath);

/// Writes `keys` below `classesRoot`. When one cannot be written, those written before are removed
/// again, those behind it are not touched, and the system's error is returned.
HRESULT WriteKeys(HKEY classesRoot, std::span<const RegistryKey> keys);

/// Removes `keys` from `classesRoot`: the values of ours, then every key that is empty without
/// them. What others have put below our keys stays, with the path to it. A key that is not there is
/// fine.
HRESULT RemoveKeys(HKEY classesRoot, std::span<const RegistryKey> keys);

}  // namespace brindlex
