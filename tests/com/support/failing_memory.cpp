#include "tests/com/support/failing_memory.h"

#include <cstdlib>
#include <utility>

#include "tests/com/support/malloc_spy.h"

namespace brindlex::testing {
namespace {

long liveBlocks = 0;
long untilFailure = -1;
bool failsEverAfter = false;
bool hasFailed = false;
std::vector<Report> shown;

bool HeapShallFail() {
  if (untilFailure < 0) return failsEverAfter && hasFailed;
  if (untilFailure-- > 0) return false;
  hasFailed = true;
  return true;
}

void* Counted(void* block) {
  if (block != nullptr) ++liveBlocks;
  return block;
}

void* Allocate(std::size_t size) { return HeapShallFail() ? nullptr : Counted(std::malloc(size)); }

void* AllocateZeros(std::size_t count, std::size_t size) {
  return HeapShallFail() ? nullptr : Counted(std::calloc(count, size));
}

void* Resize(void* block, std::size_t size) {
  if (HeapShallFail()) return nullptr;
  return block == nullptr ? Counted(std::malloc(size)) : std::realloc(block, size);
}

void Free(void* block) {
  if (block != nullptr) --liveBlocks;
  std::free(block);
}

std::u16string Units(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

/// What the test itself allocates never fails: its memory is not the DLL's.
int WINAPI ShowInList(HWND, const wchar_t* text, const wchar_t* caption, UINT) {
  shown.push_back({Units(caption), Units(text)});
  return IDOK;
}

}  // namespace

FailingMemory::FailingMemory(HMODULE module)
    : malloc_(module, "malloc", reinterpret_cast<void*>(Allocate)),
      calloc_(module, "calloc", reinterpret_cast<void*>(AllocateZeros)),
      realloc_(module, "realloc", reinterpret_cast<void*>(Resize)),
      free_(module, "free", reinterpret_cast<void*>(Free)),
      messageBox_(module, "MessageBoxW", reinterpret_cast<void*>(ShowInList)) {
  liveBlocks = 0;
  StopFailing();
}

FailingMemory::~FailingMemory() {
  StopFailing();
  Shown();
}

void FailingMemory::FailAfter(Memory memory, long passed, bool everAfter) {
  if (memory == Memory::kTask) {
    MallocSpy::Instance().FailAfter(passed, everAfter);
    return;
  }
  hasFailed = false;
  failsEverAfter = everAfter;
  untilFailure = passed;
}

bool FailingMemory::StopFailing() {
  untilFailure = -1;
  failsEverAfter = false;
  const bool heapFailed = std::exchange(hasFailed, false);
  const bool taskFailed = MallocSpy::Instance().StopFailing();
  return heapFailed || taskFailed;
}

long FailingMemory::LiveBlocks() { return liveBlocks; }

std::vector<Report> FailingMemory::Shown() { return std::exchange(shown, {}); }

}  // namespace brindlex::testing
