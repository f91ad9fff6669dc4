#include <windows.h>

#include "platform/win32/hresult.h"
#include "server/classes.h"
#include "server/exception_reserve.h"
#include "server/module.h"
#include "server/registration.h"

namespace brindlex {
namespace {

/// The classes of all users.
constexpr wchar_t kClassesRoot[] = L"Software\\Classes";

using KeyOperation = HRESULT (*)(HKEY classesRoot, std::span<const RegistryKey> keys);

HRESULT OnMachineKeys(KeyOperation operation) noexcept {
  try {
    const std::vector<RegistryKey> keys = KeysOf(module::Path());
    HKEY root = nullptr;
    const LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kClassesRoot, 0, nullptr, 0,
                                           KEY_CREATE_SUB_KEY, nullptr, &root, nullptr);
    if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
    const HRESULT result = operation(root, keys);
    RegCloseKey(root);
    return result;
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace
}  // namespace brindlex

/// Nothing may happen here that the loader lock forbids, so nothing but remembering the handle
/// does.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) brindlex::module::SetInstance(instance);
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID interfaceId, void** result) {
  brindlex::PrepareToThrow();
  return brindlex::GetClassFactory(classId, interfaceId, result);
}

STDAPI DllCanUnloadNow() { return brindlex::module::IsUnused() ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return brindlex::OnMachineKeys(brindlex::WriteKeys); }

STDAPI DllUnregisterServer() { return brindlex::OnMachineKeys(brindlex::RemoveKeys); }
