// The compiler's thread library, which comes linked into the DLL, takes a slot of thread-local
// storage whenever the DLL is loaded and never gives it back. A process has about a thousand, and
// without one the library ends the process; so a host that loads and unloads the component often
// enough would die of it. Here every slot that the DLL takes is noted, and given back when the DLL
// goes.

#include <windows.h>

#include <array>
#include <atomic>

namespace __gnu_cxx {
/// The C++ library's own way to let its reserve of exceptions go.
void __freeres();  // NOLINT(bugprone-reserved-identifier): the library's name
}  // namespace __gnu_cxx

namespace {

constexpr std::size_t kMostSlots = 16;

/// The slots that the DLL holds, each as its number plus one; 0 where none is noted. Ready before
/// any code of the DLL runs.
constinit std::array<std::atomic<DWORD>, kMostSlots> held{};

/// A function of the system by its name, since the linker's name for it leads to this file.
template <class Function>
Function SystemFunction(const char* name) noexcept {
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

/// Puts `next` where `now` is noted, once.
void Exchange(DWORD now, DWORD next) noexcept {
  for (auto& slot : held) {
    DWORD expected = now;
    if (slot.compare_exchange_strong(expected, next)) return;
  }
}

DWORD WINAPI TakeSlot() noexcept {
  const DWORD taken = SystemFunction<DWORD(WINAPI*)()>("TlsAlloc")();
  if (taken != TLS_OUT_OF_INDEXES) Exchange(0, taken + 1);
  return taken;
}

BOOL WINAPI GiveSlotBack(DWORD slot) noexcept {
  Exchange(slot + 1, 0);
  return SystemFunction<BOOL(WINAPI*)(DWORD)>("TlsFree")(slot);
}

/// Runs behind the destructors of all static objects. At the end of the process as well, where it
/// makes no difference.
[[gnu::destructor(101)]] void GiveAllSlotsBack() noexcept {
  __gnu_cxx::__freeres();
  for (auto& slot : held) {
    const DWORD noted = slot.exchange(0);
    if (noted != 0) SystemFunction<BOOL(WINAPI*)(DWORD)>("TlsFree")(noted - 1);
  }
}

}  // namespace

// The pointers by which all code of the DLL calls the two functions; the import library's own are
// not linked then.
#ifdef _WIN64
#define IMPORTED(name, bytes) "__imp_" name
#else
#define IMPORTED(name, bytes) "__imp__" name "@" bytes
#endif
extern "C" {
extern DWORD(WINAPI* const importedTlsAlloc)() asm(IMPORTED("TlsAlloc", "0"));
extern BOOL(WINAPI* const importedTlsFree)(DWORD) asm(IMPORTED("TlsFree", "4"));
DWORD(WINAPI* const importedTlsAlloc)() = TakeSlot;
BOOL(WINAPI* const importedTlsFree)(DWORD) = GiveSlotBack;
}
