#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace brindlex {

/// The attributes that a program can give to a file.
inline constexpr DWORD kSettableAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
    FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

/// The path of an open file, links followed; empty if the system cannot say: Windows XP knows
/// neither the function nor links to files.
inline std::wstring FinalPathOf(HANDLE file) {
  using FinalPath = DWORD(WINAPI*)(HANDLE, LPWSTR, DWORD, DWORD);
  const auto finalPath = reinterpret_cast<FinalPath>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetFinalPathNameByHandleW")));
  std::wstring found(32768, L'\0');
  const DWORD size =
      finalPath == nullptr ? 0 : finalPath(file, found.data(), static_cast<DWORD>(found.size()), 0);
  found.resize(size < found.size() ? size : 0);
  return found;
}

/// Whether `code` says of a file system that it has no permissions at all.
inline bool SaysNoPermissions(DWORD code) {
  return code == ERROR_NOT_SUPPORTED || code == ERROR_INVALID_FUNCTION ||
         code == ERROR_CALL_NOT_IMPLEMENTED;
}

/// Reads a file's access-control list by `query(buffer, size, &needed)`, which calls
/// GetFileSecurityW or GetKernelObjectSecurity. Returns the system's error code; ERROR_SUCCESS with
/// an empty `descriptor` if the file system has no permissions.
template <class Query>
DWORD ReadPermissions(std::vector<std::byte>& descriptor, Query&& query) {
  descriptor.resize(256);
  DWORD needed = 0;
  while (query(descriptor.data(), static_cast<DWORD>(descriptor.size()), &needed) == FALSE) {
    const DWORD code = GetLastError();
    if (SaysNoPermissions(code)) {
      descriptor.clear();
      return ERROR_SUCCESS;
    }
    // A file system that always wants more than it says would be asked for ever.
    if (code != ERROR_INSUFFICIENT_BUFFER || needed <= descriptor.size()) return code;
    descriptor.resize(needed);
  }
  return ERROR_SUCCESS;
}

/// Gives a file the list that ReadPermissions read, by `update(descriptor)`, which calls
/// SetFileSecurityW or SetKernelObjectSecurity. Returns the system's error code; ERROR_SUCCESS if
/// the file system has no permissions.
template <class Update>
DWORD WritePermissions(std::vector<std::byte> descriptor, Update&& update) {
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  // Without this request the system forgets which entries were inherited.
  if (GetSecurityDescriptorControl(descriptor.data(), &control, &revision) != FALSE &&
      (control & SE_DACL_AUTO_INHERITED) != 0) {
    SetSecurityDescriptorControl(descriptor.data(), SE_DACL_AUTO_INHERIT_REQ,
                                 SE_DACL_AUTO_INHERIT_REQ);
  }
  if (update(descriptor.data()) != FALSE) return ERROR_SUCCESS;
  const DWORD code = GetLastError();
  return SaysNoPermissions(code) ? ERROR_SUCCESS : code;
}

}  // namespace brindlex
