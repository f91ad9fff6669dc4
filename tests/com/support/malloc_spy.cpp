#include "tests/com/support/malloc_spy.h"

#include <objbase.h>

#include <cstdlib>
#include <iostream>
#include <utility>

namespace brindlex::testing {

MallocSpy& MallocSpy::Instance() {
  static MallocSpy spy;
  return spy;
}

void MallocSpy::Install() {
  const char* const noCache = std::getenv("OANOCACHE");
  const bool cacheIsOff = noCache != nullptr && noCache[0] == '1';
  if (!cacheIsOff || FAILED(CoRegisterMallocSpy(this))) {
    std::cerr << "BSTRs cannot be counted: set OANOCACHE=1\n";
    std::exit(2);
  }
}

long MallocSpy::LiveBlocks() const { return live_; }

void MallocSpy::FailAfter(long passed, bool everAfter) {
  untilFailure_ = passed;
  everAfter_ = everAfter;
  hasFailed_ = false;
}

bool MallocSpy::StopFailing() {
  untilFailure_ = -1;
  everAfter_ = false;
  return std::exchange(hasFailed_, false);
}

bool MallocSpy::ShallFail() {
  if (untilFailure_ < 0) return everAfter_ && hasFailed_;
  if (untilFailure_-- > 0) return false;
  hasFailed_ = true;
  return true;
}

STDMETHODIMP MallocSpy::QueryInterface(REFIID id, void** result) {
  const bool known = id == IID_IUnknown || id == IID_IMallocSpy;
  *result = known ? this : nullptr;
  return known ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP_(SIZE_T) MallocSpy::PreAlloc(SIZE_T size) {
  // Nothing at all is what makes the allocation fail.
  return ShallFail() ? 0 : size;
}

STDMETHODIMP_(void*) MallocSpy::PostAlloc(void* block) {
  if (block != nullptr) InterlockedIncrement(&live_);
  return block;
}

STDMETHODIMP_(void*) MallocSpy::PreFree(void* block, WINBOOL spied) {
  if (block != nullptr && spied != FALSE) InterlockedDecrement(&live_);
  return block;
}

STDMETHODIMP_(void) MallocSpy::PostFree(WINBOOL) {}

STDMETHODIMP_(SIZE_T)
MallocSpy::PreRealloc(void* block, SIZE_T size, void** replaced, WINBOOL spied) {
  *replaced = block;
  if (size != 0 && ShallFail()) {
    // The block stays, but the system forgets that it was counted, and says so when it is freed.
    if (spied != FALSE) InterlockedDecrement(&live_);
    return 0;
  }
  if (block == nullptr) InterlockedIncrement(&live_);
  if (block != nullptr && size == 0 && spied != FALSE) InterlockedDecrement(&live_);
  return size;
}

STDMETHODIMP_(void*) MallocSpy::PostRealloc(void* block, WINBOOL) { return block; }
STDMETHODIMP_(void*) MallocSpy::PreGetSize(void* block, WINBOOL) { return block; }
STDMETHODIMP_(SIZE_T) MallocSpy::PostGetSize(SIZE_T size, WINBOOL) { return size; }
STDMETHODIMP_(void*) MallocSpy::PreDidAlloc(void* block, WINBOOL) { return block; }
STDMETHODIMP_(int) MallocSpy::PostDidAlloc(void*, WINBOOL, int actual) { return actual; }

}  // namespace brindlex::testing
