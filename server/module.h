#pragma once

#include <windows.h>

#include <string>

namespace brindlex::module {

/// Remembers the DLL's own handle; called once, from DllMain.
void SetInstance(HINSTANCE instance) noexcept;

/// Remembers, or says, that the DLL goes because the process ends; told by DllMain.
void SetProcessEnding() noexcept;
bool IsProcessEnding() noexcept;

/// The full path of the DLL's own file. Throws RuntimeError.
std::wstring Path();

/// Counts what keeps the DLL loaded: objects, class factories and the locks of LockServer. Any
/// thread may count.
void AddUse() noexcept;
void ReleaseUse() noexcept;

/// True when nothing keeps the DLL loaded.
bool IsUnused() noexcept;

/// A member of everything that must keep the DLL loaded while it lives.
class Use {
 public:
  Use() noexcept { AddUse(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  ~Use() { ReleaseUse(); }
};

}  // namespace brindlex::module
