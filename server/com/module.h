#pragma once

#include <windows.h>

#include <string>

namespace brindlex::module {

/// Remembers the handle of the DLL, and keeps it loaded until the process ends, whatever the host
/// frees. Called once, from DllMain.
///
/// The C++ run time that is linked into the DLL takes thread-local storage and memory when the DLL
/// is loaded, and handles when it is used, and returns none of them: a host that loads and frees
/// the DLL a thousand times, used or not, would have no slot of thread-local storage left.
void KeepLoaded(HINSTANCE instance) noexcept;

/// The full path of the DLL's own file. Throws RuntimeError.
std::wstring Path();

/// Counts what is in use: objects, class factories and the locks of LockServer. Any thread may
/// count.
void AddUse() noexcept;
void ReleaseUse() noexcept;

/// True when nothing of the DLL is in use, which is what DllCanUnloadNow answers.
bool IsUnused() noexcept;

/// A member of everything that counts as a use of the DLL while it lives.
class Use {
 public:
  Use() noexcept { AddUse(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  ~Use() { ReleaseUse(); }
};

}  // namespace brindlex::module
