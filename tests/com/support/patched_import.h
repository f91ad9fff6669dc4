#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace brindlex::testing {

/// The functions that a loaded module imports by name.
std::vector<std::string> ImportsByName(HMODULE module);

/// While it lives, a loaded module calls `replacement` where it imports the function `name`.
class PatchedImport {
 public:
  /// Throws std::runtime_error when the module does not import the function by that name.
  PatchedImport(HMODULE module, const char* name, void* replacement);
  PatchedImport(const PatchedImport&) = delete;
  PatchedImport& operator=(const PatchedImport&) = delete;
  ~PatchedImport();

 private:
  void** place_;
  void* original_;
};

}  // namespace brindlex::testing
