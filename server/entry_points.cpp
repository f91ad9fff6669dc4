#include <windows.h>

#include "platform/win32/automation/hresult.h"
#include "platform/win32/hash_seed.h"
#include "server/classes/classes.h"
#include "server/classes/thread_state.h"
#include "server/com/module.h"
#include "server/com/registration.h"
#include "server/runtime/emergency_pool.h"

namespace brindlex {
namespace {

/// The classes, below the keys of the machine (for all users) or of the user who runs the program.
constexpr wchar_t kClassesRoot[] = L"Software\\Classes";

using KeyOperation = HRESULT (*)(const ClassesRoot& root, std::span<const RegistryKey> keys);

/// An open classes root, if Status() is a success.
class OpenRoot {
 public:
  OpenRoot(HKEY owner, REGSAM view)
      : status_(RegCreateKeyExW(owner, kClassesRoot, 0, nullptr, 0, KEY_CREATE_SUB_KEY | view,
                                nullptr, &key_, nullptr)) {}
  OpenRoot(const OpenRoot&) = delete;
  OpenRoot& operator=(const OpenRoot&) = delete;
  ~OpenRoot() {
    if (key_ != nullptr) RegCloseKey(key_);
  }

  HRESULT Status() const { return HRESULT_FROM_WIN32(status_); }
  HKEY Get() const { return key_; }

 private:
  HKEY key_ = nullptr;
  LSTATUS status_;
};

HRESULT OnKeys(HKEY owner, KeyOperation operation) noexcept {
  PrepareToThrow();
  try {
    const std::vector<RegistryKey> keys = KeysOf(Classes(), module::Path());
    const OpenRoot own(owner, 0);
    const OpenRoot other(owner, kOtherView);
    if (FAILED(own.Status())) return own.Status();
    if (FAILED(other.Status())) return other.Status();
    return operation({own.Get(), other.Get()}, keys);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace
}  // namespace brindlex

/// Only what the loader lock allows: pinning, and freeing memory.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) brindlex::module::KeepLoaded(instance);
  if (reason == DLL_THREAD_DETACH) brindlex::FreeThreadFolderCache();
  return TRUE;
}

/// Every object is made through it, so the hash tables get their key before one is filled.
STDAPI DllGetClassObject(REFCLSID classId, REFIID interfaceId, void** result) {
  static const bool isSeeded = (brindlex::SeedHashTables(), true);
  (void)isSeeded;
  brindlex::PrepareToThrow();
  return brindlex::GetClassFactory(brindlex::Classes(), classId, interfaceId, result);
}

STDAPI DllCanUnloadNow() { return brindlex::module::IsUnused() ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return brindlex::OnKeys(HKEY_LOCAL_MACHINE, brindlex::WriteKeys); }

STDAPI DllUnregisterServer() { return brindlex::OnKeys(HKEY_LOCAL_MACHINE, brindlex::RemoveKeys); }

/// As regsvr32 /i calls it: with "user" for the user who runs it, which takes no administrator
/// rights, with nothing for the machine. E_INVALIDARG for any other word.
STDAPI DllInstall(BOOL install, PCWSTR forWhom) {
  const bool isForUser = forWhom != nullptr && lstrcmpiW(forWhom, L"user") == 0;
  if (!isForUser && forWhom != nullptr && *forWhom != L'\0') return E_INVALIDARG;
  return brindlex::OnKeys(isForUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
                          install != FALSE ? brindlex::WriteKeys : brindlex::RemoveKeys);
}
