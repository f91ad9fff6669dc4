#include "tests/core/failing_new.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace brindlex {
namespace {

std::size_t live = 0;
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;
/// The allocations until the one that fails, that one included; 0 when none is chosen any more.
std::size_t untilFailure = 0;
bool failing = false;
FailingNew::Extent failingExtent = FailingNew::Extent::kOnce;

bool MustFail() noexcept {
  if (failing) return failingExtent == FailingNew::Extent::kFromThere;
  failing = untilFailure != 0 && --untilFailure == 0;
  return failing;
}

std::size_t SizeOf(void* block) noexcept {
#ifdef _WIN32
  return _msize(block);
#else
  return malloc_usable_size(block);
#endif
}

void* Allocate(std::size_t size) {
  if (MustFail()) throw std::bad_alloc();
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++live;
  liveBytes += SizeOf(block);
  peakBytes = std::max(peakBytes, liveBytes);
  return block;
}

void* AllocateOrNull(std::size_t size) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

/// So that who still uses what was freed does not find what it looks for. By way of a volatile
/// pointer: compilers know that nobody may read it any more.
void Spoil(void* block, std::size_t size) noexcept {
  static void* (*const volatile kFill)(void*, int, std::size_t) = std::memset;
  kFill(block, 0xDD, size);
}

void Free(void* block) noexcept {
  if (block == nullptr) return;
  --live;
  const std::size_t size = SizeOf(block);
  liveBytes -= size;
  Spoil(block, size);
  std::free(block);
}

}  // namespace

std::size_t LiveAllocations() noexcept { return live; }

MemoryMeter::MemoryMeter() noexcept : atStart_(liveBytes) { peakBytes = liveBytes; }

std::size_t MemoryMeter::Peak() const noexcept { return peakBytes - atStart_; }

std::size_t MemoryMeter::Held() const noexcept { return liveBytes - std::min(atStart_, liveBytes); }

FailingNew::FailingNew(std::size_t nth, Extent extent) noexcept {
  untilFailure = nth;
  failing = false;
  failingExtent = extent;
}

FailingNew::~FailingNew() {
  untilFailure = 0;
  failing = false;
}

bool FailingNew::Failed() noexcept { return failing; }

}  // namespace brindlex

void* operator new(std::size_t size) { return brindlex::Allocate(size); }
void* operator new[](std::size_t size) { return brindlex::Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return brindlex::AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return brindlex::AllocateOrNull(size);
}
void operator delete(void* block) noexcept { brindlex::Free(block); }
void operator delete[](void* block) noexcept { brindlex::Free(block); }
void operator delete(void* block, std::size_t) noexcept { brindlex::Free(block); }
void operator delete[](void* block, std::size_t) noexcept { brindlex::Free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { brindlex::Free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { brindlex::Free(block); }
