#include "server/runtime/emergency_pool.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <exception>

namespace brindlex {
namespace {

/// The thread whose next allocation fails; 0 for none.
std::atomic<DWORD> refusedThread{0};

/// Whether the calling thread's allocation must fail; true once for each time that was asked for.
bool IsAllocationRefused() noexcept {
  if (refusedThread.load(std::memory_order_relaxed) == 0) return false;
  DWORD self = GetCurrentThreadId();
  return refusedThread.compare_exchange_strong(self, 0);
}

/// Throws an exception that is allocated in the pool, so that the pool has its lock.
bool UsePoolOnce() noexcept {
  try {
    refusedThread = GetCurrentThreadId();
    throw 0;
  } catch (int) {
    return true;
  }
}

}  // namespace

void PrepareToThrow() noexcept {
  static const bool isPoolReady = UsePoolOnce();
  static_cast<void>(isPoolReady);
  static_cast<void>(std::uncaught_exceptions());
}

}  // namespace brindlex

// The linker sends every call of malloc here (--wrap=malloc): the run time uses its pool only after
// malloc has failed.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's names
extern "C" {
void* __real_malloc(std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return brindlex::IsAllocationRefused() ? nullptr : __real_malloc(size);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
