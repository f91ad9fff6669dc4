// What the compiler's stack protector needs on Windows: the value that stands between a function's
// arrays and its return address, and what happens when a function finds it changed. The compiler's
// own library for this opens a cryptographic provider while the program or DLL is loaded, which
// loads DLLs under the loader's lock, and writes to the console.

#include <windows.h>

#include <cstdint>
#include <initializer_list>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl*): the compiler refers to them by these names.
extern "C" {
extern std::uintptr_t __stack_chk_guard;
std::uintptr_t __stack_chk_guard = 0;

/// Ends the process at once, as the system's own guard does: no handler of a process whose stack is
/// overwritten can be trusted to run.
[[noreturn]] void __stack_chk_fail() {
  constexpr int kStackCookieCheckFailure = 2;
  asm volatile("int $0x29" : : "c"(kStackCookieCheckFailure));
  // Windows before 8 takes that for an access violation, which a handler could continue.
  constexpr UINT kStackBufferOverrun = 0xC0000409;
  TerminateProcess(GetCurrentProcess(), kStackBufferOverrun);
  __builtin_unreachable();
}
}

namespace {

/// Spreads every bit of `word` over the whole.
constexpr std::uint64_t Mixed(std::uint64_t word) {
  word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9U;
  word = (word ^ (word >> 27U)) * 0x94D049BB133111EBU;
  return word ^ (word >> 31U);
}

/// Sets the guard before any other code of the module runs, from what differs from process to
/// process and from load to load; asking the system for random numbers would load DLLs. Not
/// protected itself, since the value changes while it runs.
__attribute__((constructor(101), no_stack_protector)) void SetStackGuard() {
  LARGE_INTEGER counter{};
  FILETIME time{};
  QueryPerformanceCounter(&counter);
  GetSystemTimeAsFileTime(&time);
  std::uint64_t mixed = Mixed(static_cast<std::uint64_t>(counter.QuadPart));
  for (const std::uint64_t word :
       {std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime,
        std::uint64_t{GetCurrentProcessId()} << 32U | GetCurrentThreadId(),
        std::uint64_t{reinterpret_cast<std::uintptr_t>(&counter)},
        std::uint64_t{reinterpret_cast<std::uintptr_t>(&__stack_chk_guard)},
        std::uint64_t{reinterpret_cast<std::uintptr_t>(GetProcessHeap())}}) {
    mixed = Mixed(mixed + word);
  }
  // A byte of 0 stops what copies texts.
  __stack_chk_guard = static_cast<std::uintptr_t>(mixed) & ~std::uintptr_t{0xFF};
}

}  // namespace
// NOLINTEND(bugprone-reserved-identifier,cert-dcl*)
