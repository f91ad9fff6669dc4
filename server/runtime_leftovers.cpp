// The compiler's thread library, which comes linked into the DLL, takes a slot of thread-local
// storage, a few handles and critical sections, and some memory whenever the DLL is loaded and
// used, and never gives them back. A process has about a thousand slots, and without one the
// library ends the process; so a host that loads and unloads the component often enough would die
// of it. Here everything that code of the DLL takes from the system in this way is noted, and given
// back when the DLL goes, and with it all memory.

#include <windows.h>

#include <atomic>
#include <cstdlib>

#include "server/module.h"
#include "server/private_heap.h"

namespace __gnu_cxx {
/// The C++ library's own way to let its reserve of exceptions go.
void __freeres();  // NOLINT(bugprone-reserved-identifier): the library's name
}  // namespace __gnu_cxx

#ifdef BRINDLEX_COUNTS
/// The compiler's own function that writes the counts down.
extern "C" void __gcov_dump();  // NOLINT(bugprone-reserved-identifier): the library's name
#endif

namespace {

/// A function of the system by its name, since the linker's name for it leads to this file.
template <class Function>
Function SystemFunction(const char* name) noexcept {
  auto* const found = GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

// ---- What is held ------------------------------------------------------------------------------

using GiveBack = void (*)(ULONG_PTR thing);

/// One thing that the DLL holds, and how it goes.
struct Held {
  ULONG_PTR thing;
  GiveBack giveBack;
  Held* next;
};

/// Ready before any code of the DLL runs.
constinit Held* held = nullptr;
constinit std::atomic_flag isHeldLocked;

/// A lock that needs nothing of the library that is looked after here.
class HeldLock {
 public:
  HeldLock() noexcept {
    while (isHeldLocked.test_and_set(std::memory_order_acquire)) Sleep(0);
  }
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;
  ~HeldLock() { isHeldLocked.clear(std::memory_order_release); }
};

/// Without memory it is not noted, and stays when the DLL goes.
void Note(ULONG_PTR thing, GiveBack giveBack) noexcept {
  auto* const made = static_cast<Held*>(std::malloc(sizeof(Held)));
  if (made == nullptr) return;
  const HeldLock lock;
  *made = {thing, giveBack, held};
  held = made;
}

/// Takes the note out of the list, if there is one.
void Forget(ULONG_PTR thing, GiveBack giveBack) noexcept {
  Held* found = nullptr;
  {
    const HeldLock lock;
    for (Held** place = &held; *place != nullptr; place = &(*place)->next) {
      if ((*place)->thing != thing || (*place)->giveBack != giveBack) continue;
      found = *place;
      *place = found->next;
      break;
    }
  }
  std::free(found);
}

// ---- Slots, handles and critical sections ------------------------------------------------------

void GiveSlot(ULONG_PTR slot) noexcept {
  SystemFunction<BOOL(WINAPI*)(DWORD)>("TlsFree")(static_cast<DWORD>(slot));
}

void GiveHandle(ULONG_PTR handle) noexcept {
  SystemFunction<BOOL(WINAPI*)(HANDLE)>("CloseHandle")(reinterpret_cast<HANDLE>(handle));
}

void GiveSection(ULONG_PTR section) noexcept {
  SystemFunction<void(WINAPI*)(CRITICAL_SECTION*)>("DeleteCriticalSection")(
      reinterpret_cast<CRITICAL_SECTION*>(section));
}

HANDLE Noted(HANDLE handle) noexcept {
  if (handle != nullptr) Note(reinterpret_cast<ULONG_PTR>(handle), GiveHandle);
  return handle;
}

DWORD WINAPI TakeSlot() noexcept {
  const DWORD taken = SystemFunction<DWORD(WINAPI*)()>("TlsAlloc")();
  if (taken != TLS_OUT_OF_INDEXES) Note(taken, GiveSlot);
  return taken;
}

BOOL WINAPI GiveSlotBack(DWORD slot) noexcept {
  Forget(slot, GiveSlot);
  return SystemFunction<BOOL(WINAPI*)(DWORD)>("TlsFree")(slot);
}

HANDLE WINAPI MakeEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL state,
                        LPCSTR name) noexcept {
  return Noted(
      SystemFunction<decltype(&CreateEventA)>("CreateEventA")(security, manual, state, name));
}

HANDLE WINAPI MakeSemaphore(LPSECURITY_ATTRIBUTES security, LONG count, LONG most,
                            LPCSTR name) noexcept {
  return Noted(
      SystemFunction<decltype(&CreateSemaphoreA)>("CreateSemaphoreA")(security, count, most, name));
}

BOOL WINAPI CopyHandle(HANDLE owner, HANDLE handle, HANDLE taker, HANDLE* copy, DWORD access,
                       BOOL inherit, DWORD options) noexcept {
  const BOOL done = SystemFunction<decltype(&DuplicateHandle)>("DuplicateHandle")(
      owner, handle, taker, copy, access, inherit, options);
  if (done != FALSE && copy != nullptr && taker == GetCurrentProcess()) Noted(*copy);
  return done;
}

BOOL WINAPI GiveHandleBack(HANDLE handle) noexcept {
  Forget(reinterpret_cast<ULONG_PTR>(handle), GiveHandle);
  return SystemFunction<BOOL(WINAPI*)(HANDLE)>("CloseHandle")(handle);
}

void WINAPI MakeSection(CRITICAL_SECTION* section) noexcept {
  SystemFunction<void(WINAPI*)(CRITICAL_SECTION*)>("InitializeCriticalSection")(section);
  Note(reinterpret_cast<ULONG_PTR>(section), GiveSection);
}

void WINAPI GiveSectionBack(CRITICAL_SECTION* section) noexcept {
  Forget(reinterpret_cast<ULONG_PTR>(section), GiveSection);
  GiveSection(reinterpret_cast<ULONG_PTR>(section));
}

/// Runs behind the destructors of all static objects. At the end of the process the system takes
/// everything back, and threads that were ended in the middle of anything may have left it locked.
[[gnu::destructor(101)]] void GiveAllBack() noexcept {
  if (brindlex::module::IsProcessEnding()) return;
  __gnu_cxx::__freeres();
  for (const Held* next = held; next != nullptr; next = next->next) next->giveBack(next->thing);
  held = nullptr;
#ifdef BRINDLEX_COUNTS
  // By itself it would come too late, and without memory do nothing.
  __gcov_dump();
#endif
  brindlex::DestroyPrivateHeap();
}

}  // namespace

// The pointers by which all code of the DLL calls the functions; the import library's own are not
// linked then.
#ifdef _WIN64
#define IMPORTED(name, bytes) "__imp_" name
#else
#define IMPORTED(name, bytes) "__imp__" name "@" bytes
#endif
extern "C" {
extern decltype(&TakeSlot) const importedTlsAlloc asm(IMPORTED("TlsAlloc", "0"));
extern decltype(&GiveSlotBack) const importedTlsFree asm(IMPORTED("TlsFree", "4"));
extern decltype(&MakeEvent) const importedCreateEvent asm(IMPORTED("CreateEventA", "16"));
extern decltype(&MakeSemaphore) const importedSemaphore asm(IMPORTED("CreateSemaphoreA", "16"));
extern decltype(&CopyHandle) const importedDuplicate asm(IMPORTED("DuplicateHandle", "28"));
extern decltype(&GiveHandleBack) const importedCloseHandle asm(IMPORTED("CloseHandle", "4"));
extern decltype(&MakeSection)
    const importedMakeSection asm(IMPORTED("InitializeCriticalSection", "4"));
extern decltype(&GiveSectionBack)
    const importedGiveSection asm(IMPORTED("DeleteCriticalSection", "4"));
decltype(&TakeSlot) const importedTlsAlloc = TakeSlot;
decltype(&GiveSlotBack) const importedTlsFree = GiveSlotBack;
decltype(&MakeEvent) const importedCreateEvent = MakeEvent;
decltype(&MakeSemaphore) const importedSemaphore = MakeSemaphore;
decltype(&CopyHandle) const importedDuplicate = CopyHandle;
decltype(&GiveHandleBack) const importedCloseHandle = GiveHandleBack;
decltype(&MakeSection) const importedMakeSection = MakeSection;
decltype(&GiveSectionBack) const importedGiveSection = GiveSectionBack;
}
