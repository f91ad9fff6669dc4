#include "server/exception_reserve.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <exception>

namespace {

/// The thread whose next allocation finds no memory; 0 for none.
std::atomic<DWORD> refusedThread{0};

bool IsRefused() noexcept {
  if (refusedThread.load(std::memory_order_relaxed) == 0) return false;
  DWORD self = GetCurrentThreadId();
  return refusedThread.compare_exchange_strong(self, 0);
}

}  // namespace

// The linker's names for the allocation function, which the whole DLL calls by way of this file.
extern "C" void* __real_malloc(std::size_t size);   // NOLINT
extern "C" void* __wrap_malloc(std::size_t size) {  // NOLINT
  return IsRefused() ? nullptr : __real_malloc(size);
}

namespace brindlex {
namespace {

/// Throws an exception that comes from the reserve.
bool DrawUponReserve() noexcept {
  try {
    refusedThread = GetCurrentThreadId();
    throw 0;
  } catch (int) {
    return true;
  }
}

}  // namespace

void PrepareToThrow() noexcept {
  static const bool isReserveReady = DrawUponReserve();
  static_cast<void>(isReserveReady);
  static_cast<void>(std::uncaught_exceptions());
}

}  // namespace brindlex
