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
  /// True for what 32-bit and 64-bit programs read in one and the same place, so that the DLLs of
  /// both widths write it.
  bool isShared = false;
};

/// Every key that registering the DLL at `modulePath` makes, parents before children: the ProgIDs,
/// the classes, the type library and its interfaces.
std::vector<RegistryKey> KeysOf(const std::wstring& modulePath);

/// One classes root as the programs of both widths see it. On 32-bit Windows both are the same.
struct ClassesRoot {
  HKEY own;
  HKEY other;
};

/// The right that opens a key as programs of the other width see it.
constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

/// Writes `keys` below `root.own`. When one cannot be written, those written before are removed
/// again, those behind it are not touched, and the system's error is returned.
HRESULT WriteKeys(const ClassesRoot& root, std::span<const RegistryKey> keys);

/// Removes `keys` from `root.own`: the values of ours, then every key that is empty without
/// them. What others have put below our keys stays, with the path to it. A key that is not there is
/// fine. While the DLL of the other width is registered below `root.other`, what both share stays.
HRESULT RemoveKeys(const ClassesRoot& root, std::span<const RegistryKey> keys);

}  // namespace brindlex
