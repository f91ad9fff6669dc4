#include "server/exception_reserve.h"

#include <windows.h>

#include <atomic>
#include <exception>

namespace brindlex {
namespace {

/// The thread whose next allocation finds no memory; 0 for none.
std::atomic<DWORD> refusedThread{0};

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

bool IsAllocationRefused() noexcept {
  if (refusedThread.load(std::memory_order_relaxed) == 0) return false;
  DWORD self = GetCurrentThreadId();
  return refusedThread.compare_exchange_strong(self, 0);
}

void PrepareToThrow() noexcept {
  static const bool isReserveReady = DrawUponReserve();
  static_cast<void>(isReserveReady);
  static_cast<void>(std::uncaught_exceptions());
}

}  // namespace brindlex
