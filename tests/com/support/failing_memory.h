#pragma once

#include <windows.h>

#include <vector>

#include "environment/report.h"
#include "tests/com/support/patched_import.h"

namespace brindlex::testing {

/// Where an allocation fails: in COM's task memory, from which the BSTRs of everybody come, or in
/// the run time's heap, which the DLL's own code uses.
enum class Memory { kTask, kHeap };

/// Makes chosen allocations of a loaded DLL fail while it lives, and counts what the DLL
/// holds of the run time's heap. A box that opens where memory has run out could fail as well, so
/// the DLL's reports go into a list here and not to the screen. One at a time, on one thread.
class FailingMemory {
 public:
  explicit FailingMemory(HMODULE module);
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
  ~FailingMemory();

  /// Fails the allocation that comes after `passed` more, and, with `everAfter`, all after it.
  static void FailAfter(Memory memory, long passed, bool everAfter);
  /// Stops failing; returns whether an allocation has failed since FailAfter.
  static bool StopFailing();

  /// The blocks of that heap that the DLL has allocated and not freed since the beginning.
  static long LiveBlocks();

  /// The reports that the DLL has shown since the last call.
  static std::vector<Report> Shown();

 private:
  PatchedImport malloc_;
  PatchedImport calloc_;
  PatchedImport realloc_;
  PatchedImport free_;
  PatchedImport messageBox_;
};

}  // namespace brindlex::testing
