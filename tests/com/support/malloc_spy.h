#pragma once

#include <objidl.h>

namespace brindlex::testing {

/// Counts the blocks of COM's task allocator, which BSTRs come from as well as long as the process
/// runs with OANOCACHE=1 in its environment, and can make a chosen allocation fail. Installed once
/// per process, by the test program's main.
class MallocSpy : public IMallocSpy {
 public:
  static MallocSpy& Instance();

  /// Starts counting; fails the test program when the system does not take the spy.
  void Install();

  long LiveBlocks() const;

  /// Makes the allocation fail that comes after `passed` more, and, with `everAfter`, all after
  /// it.
  void FailAfter(long passed, bool everAfter = false);
  /// Stops failing; returns whether an allocation has failed since FailAfter.
  bool StopFailing();

  STDMETHODIMP QueryInterface(REFIID id, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }

  STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override;
  STDMETHODIMP_(void*) PostAlloc(void* block) override;
  STDMETHODIMP_(void*) PreFree(void* block, WINBOOL spied) override;
  STDMETHODIMP_(void) PostFree(WINBOOL spied) override;
  STDMETHODIMP_(SIZE_T)
  PreRealloc(void* block, SIZE_T size, void** replaced, WINBOOL spied) override;
  STDMETHODIMP_(void*) PostRealloc(void* block, WINBOOL spied) override;
  STDMETHODIMP_(void*) PreGetSize(void* block, WINBOOL spied) override;
  STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, WINBOOL spied) override;
  STDMETHODIMP_(void*) PreDidAlloc(void* block, WINBOOL spied) override;
  STDMETHODIMP_(int) PostDidAlloc(void* block, WINBOOL spied, int actual) override;
  STDMETHODIMP_(void) PreHeapMinimize() override {}
  STDMETHODIMP_(void) PostHeapMinimize() override {}

 private:
  bool ShallFail();

  volatile LONG live_ = 0;
  long untilFailure_ = -1;
  bool everAfter_ = false;
  bool hasFailed_ = false;
};

}  // namespace brindlex::testing
