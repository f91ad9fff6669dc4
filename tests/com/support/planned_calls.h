#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "tests/com/support/patched_import.h"

namespace brindlex::testing {

/// What becomes of one of the calls of the system that a module makes, counted from 1.
struct Plan {
  enum class Fate {
    /// The process ends before it, or after it.
    kEndBefore,
    kEndBehind,
    /// It does nothing and fails with `error`.
    kFail,
  };

  int call = 0;
  Fate fate = Fate::kFail;
  DWORD error = ERROR_GEN_FAILURE;
};

/// While it lives, the calls that a module makes of the system's functions for single files are
/// counted, and one of them goes as planned.
class PlannedCalls {
 public:
  /// What a process that is ended on plan says by its status.
  static constexpr UINT kEnded = 99;

  PlannedCalls(HMODULE module, const Plan& chosen);
  PlannedCalls(const PlannedCalls&) = delete;
  PlannedCalls& operator=(const PlannedCalls&) = delete;
  ~PlannedCalls();

  /// How many there were so far.
  static int Count();

 private:
  std::vector<std::unique_ptr<PatchedImport>> patches_;
};

}  // namespace brindlex::testing
