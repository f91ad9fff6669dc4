#pragma once

#include <windows.h>

#include <string>

namespace brindlex::testing {

/// Starts the program of `command`, and again when the system itself could not: under Wine one
/// process in some thousands ends while it is being started, and CreateProcessW fails with
/// ERROR_INTERNAL_ERROR. Any other failure is the caller's, by GetLastError. The handles of
/// `process` are the caller's to close.
inline bool StartProcess(const std::wstring& command, bool inheritsHandles, DWORD flags,
                         STARTUPINFOW& startup, PROCESS_INFORMATION& process) {
  constexpr int kMostAttempts = 4;
  for (int attempt = 1;; ++attempt) {
    // The system may write into it.
    std::wstring line = command;
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, inheritsHandles ? TRUE : FALSE,
                       flags, nullptr, nullptr, &startup, &process) != FALSE) {
      return true;
    }
    if (GetLastError() != ERROR_INTERNAL_ERROR || attempt == kMostAttempts) return false;
  }
}

}  // namespace brindlex::testing
