#include "tests/com/support/strict_host.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "tests/digest/fpu.h"

namespace brindlex::testing {
namespace {

std::atomic<long> exceptions{0};

bool IsNoFailure(DWORD code) {
  // What the 64-bit run time raises to throw, to unwind and to force an unwinding: "GCC" and a
  // digit.
  constexpr DWORD kCppException = 0x00474343;
  constexpr DWORD kDebuggingText = 0x40010006;
  constexpr DWORD kWideDebuggingText = 0x4001000A;
  constexpr DWORD kThreadName = 0x406D1388;
  // What the system's remote procedure calls raise and handle, when an apartment has ended, say.
  constexpr DWORD kRemoteCall = 0x80070600;
  if ((code & 0xFFFFFF00) == kRemoteCall) return true;
  return (code & 0x00FFFFFF) == kCppException || code == kDebuggingText ||
         code == kWideDebuggingText || code == kThreadName;
}

/// The name of the module that `address` is in, and the offset there.
std::string PlaceOf(void* address) {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<PCWSTR>(address), &module);
  char name[MAX_PATH] = "?";
  GetModuleFileNameA(module, name, MAX_PATH);
  char place[MAX_PATH + 32];
  std::snprintf(place, sizeof place, "%s+%#llx", name,
                static_cast<unsigned long long>(reinterpret_cast<ULONG_PTR>(address) -
                                                reinterpret_cast<ULONG_PTR>(module)));
  return place;
}

LONG CALLBACK CountException(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (IsNoFailure(record.ExceptionCode)) return EXCEPTION_CONTINUE_SEARCH;
  ++exceptions;
  // The exception may be one of the environment, in which nothing can be printed.
  const KindScope kind;
  std::fprintf(stderr, "first-chance exception %#lx at %s\n", record.ExceptionCode,
               PlaceOf(record.ExceptionAddress).c_str());
  std::fflush(stderr);
  return EXCEPTION_CONTINUE_SEARCH;
}

constexpr const wchar_t* kUnwinder =
    sizeof(void*) == 8 ? L"libgcc_s_seh-1.dll" : L"libgcc_s_dw2-1.dll";

bool Load(const wchar_t* library) {
  if (LoadLibraryW(library) != nullptr) return true;
  std::fprintf(stderr, "the compiler's %ls cannot be loaded: error %lu\n", library, GetLastError());
  return false;
}

}  // namespace

FloatingPointEnvironment FloatingPointEnvironment::Current() {
  constexpr std::uint32_t kSseControl = 0xFFC0;
  FloatingPointEnvironment current;
  asm volatile("fnstcw %0" : "=m"(current.x87));
  asm volatile("stmxcsr %0" : "=m"(current.sse));
  current.sse &= kSseControl;
  // A bit without a meaning, which some processors set by themselves.
  current.x87 &= static_cast<std::uint16_t>(~0x40);
  return current;
}

void FloatingPointEnvironment::Set() const {
  asm volatile("fnclex");
  asm volatile("fldcw %0" : : "m"(x87));
  asm volatile("ldmxcsr %0" : : "m"(sse));
}

bool IsProcessorEmulated() { return !LoadsKeepPrecision(); }

FloatingPointEnvironment StrictestEnvironment() {
  constexpr std::uint16_t k53Bits = 0x0200;
  FloatingPointEnvironment strictest{0x0822, 0xD140};
  if (IsProcessorEmulated()) strictest.x87 |= k53Bits;
  return strictest;
}

bool MakeHostStrict() {
  if (!Load(kUnwinder) || !Load(L"libstdc++-6.dll") || !Load(L"libwinpthread-1.dll")) return false;
  AddVectoredExceptionHandler(1, CountException);
  if (IsProcessorEmulated()) {
    std::fprintf(stderr, "the processor is emulated and raises no floating-point exceptions\n");
  }
  StrictestEnvironment().Set();
  return true;
}

long FirstChanceExceptions() { return exceptions; }

}  // namespace brindlex::testing
