#include "server/private_heap.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>

#include "server/exception_reserve.h"
#include "server/module.h"

namespace {

/// Made with the first allocation, which comes before any constructor has run; null before that.
constinit std::atomic<HANDLE> theHeap{nullptr};
constinit std::atomic<bool> isGone{false};

HANDLE Heap() noexcept {
  HANDLE heap = theHeap.load(std::memory_order_acquire);
  if (heap != nullptr || isGone) return heap;
  HANDLE made = HeapCreate(0, 0, 0);
  if (made == nullptr || theHeap.compare_exchange_strong(heap, made)) return made;
  HeapDestroy(made);
  return heap;
}

void* Allocate(DWORD flags, std::size_t size) noexcept {
  if (brindlex::IsAllocationRefused()) return nullptr;
  auto* const heap = Heap();
  return heap == nullptr ? nullptr : HeapAlloc(heap, flags, size);
}

}  // namespace

// The linker's names for the functions, which the whole DLL calls by way of this file.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __wrap_malloc(std::size_t size) { return Allocate(0, size); }

void* __wrap_calloc(std::size_t count, std::size_t size) {
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return nullptr;
  return Allocate(HEAP_ZERO_MEMORY, bytes);
}

void __wrap_free(void* block) {
  // A thread that was ended at the process's end may have left the heap locked.
  if (brindlex::module::IsProcessEnding()) return;
  auto* const heap = theHeap.load(std::memory_order_acquire);
  if (block != nullptr && heap != nullptr) HeapFree(heap, 0, block);
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (block == nullptr) return Allocate(0, size);
  if (size == 0) {
    __wrap_free(block);
    return nullptr;
  }
  auto* const heap = theHeap.load(std::memory_order_acquire);
  return heap == nullptr ? nullptr : HeapReAlloc(heap, 0, block, size);
}

char* __wrap__strdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  auto* const copy = static_cast<char*>(Allocate(0, size));
  if (copy != nullptr) std::memcpy(copy, text, size);
  return copy;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace brindlex {

void DestroyPrivateHeap() noexcept {
  isGone = true;
  auto* const heap = theHeap.exchange(nullptr);
  if (heap != nullptr) HeapDestroy(heap);
}

}  // namespace brindlex
