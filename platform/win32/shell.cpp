#include "platform/win32/shell.h"

#include <atomic>

namespace brindlex {
namespace {

/// A function of the shell; null when it has none of that name.
template <class Function>
Function ShellFunction(const char* name) noexcept {
  // A failure is not for good.
  static std::atomic<HMODULE> loaded{nullptr};
  HMODULE shell = loaded;
  if (shell == nullptr) loaded = shell = LoadLibraryW(L"shell32.dll");
  auto* const found = shell == nullptr ? nullptr : GetProcAddress(shell, name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

}  // namespace

HRESULT SpecialFolderLocation(int csidl, PIDLIST_ABSOLUTE& list) noexcept {
  using Find = HRESULT(WINAPI*)(HWND owner, int csidl, PIDLIST_ABSOLUTE* list);
  list = nullptr;
  const auto find = ShellFunction<Find>("SHGetSpecialFolderLocation");
  return find == nullptr ? E_NOTIMPL : find(nullptr, csidl, &list);
}

BOOL PathFromIdList(PCIDLIST_ABSOLUTE list, char* path) noexcept {
  using Read = BOOL(WINAPI*)(PCIDLIST_ABSOLUTE list, char* path);
  const auto read = ShellFunction<Read>("SHGetPathFromIDList");
  return read == nullptr ? FALSE : read(list, path);
}

}  // namespace brindlex
