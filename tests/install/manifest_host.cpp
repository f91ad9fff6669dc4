// A host that has Brindlex.dll beside it and a manifest, and nothing registered: every class by
// both of its names, the type library, and an object used from another apartment.
//
// Exit status 0 when all of it came from the DLL beside the program; else says what did not.

#include <windows.h>
// After windows.h.
#include <ocidl.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

#include "platform/win32/automation/com_ptr.h"
#include "server/Brindlex.h"

namespace {

using brindlex::ComPtr;

int failures = 0;

void Expect(bool holds, const std::wstring& what) {
  if (holds) return;
  ++failures;
  std::printf("FAILED: %ls\n", what.c_str());
}

std::wstring FolderOf(HMODULE module) {
  wchar_t path[MAX_PATH];
  const std::wstring text(path, GetModuleFileNameW(module, path, MAX_PATH));
  return text.substr(0, text.find_last_of(L'\\'));
}

GUID IdOf(ITypeInfo& type) {
  TYPEATTR* attributes = nullptr;
  if (FAILED(type.GetTypeAttr(&attributes))) return GUID_NULL;
  const GUID id = attributes->guid;
  type.ReleaseTypeAttr(attributes);
  return id;
}

void CreateByName(const std::wstring& name, REFCLSID expected) {
  CLSID id{};
  ComPtr<IProvideClassInfo> object;
  ComPtr<ITypeInfo> type;
  // The system may stand in an id of its own for the name, which leads to the class as well.
  Expect(SUCCEEDED(CLSIDFromProgID(name.c_str(), &id)), name + L" is known");
  Expect(SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IProvideClassInfo,
                                    object.ReceiveVoid())),
         name + L" is created");
  if (!object) return;
  Expect(SUCCEEDED(object->GetClassInfo(type.Receive())) && IdOf(*type.Get()) == expected,
         name + L" is of its class");
}

/// Every class that the type library lists; returns how many.
int CreateEveryClass() {
  ComPtr<ITypeLib> library;
  Expect(SUCCEEDED(LoadRegTypeLib(LIBID_Brindlex, 1, 0, LOCALE_NEUTRAL, library.Receive())),
         L"the type library is found");
  if (!library) return 0;
  int classes = 0;
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    TYPEKIND kind{};
    ComPtr<ITypeInfo> type;
    BSTR text = nullptr;
    library->GetTypeInfoType(index, &kind);
    if (kind != TKIND_COCLASS || FAILED(library->GetTypeInfo(index, type.Receive()))) continue;
    library->GetDocumentation(static_cast<int>(index), &text, nullptr, nullptr, nullptr);
    const std::wstring name = std::wstring(L"Brindlex.") + text;
    SysFreeString(text);
    CreateByName(name, IdOf(*type.Get()));
    CreateByName(name + L".1", IdOf(*type.Get()));
    ++classes;
  }
  return classes;
}

DWORD WINAPI CountFromAnotherApartment(void* data) {
  long count = -1;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  {
    ComPtr<_clsCollection> proxy;
    CoGetInterfaceAndReleaseStream(static_cast<IStream*>(data), IID__clsCollection,
                                   proxy.ReceiveVoid());
    if (proxy) proxy->get_Count(&count);
  }
  CoUninitialize();
  return static_cast<DWORD>(count);
}

void UseFromAnotherApartment() {
  ComPtr<_clsCollection> collection;
  IStream* marshaled = nullptr;
  CoCreateInstance(CLSID_clsCollection, nullptr, CLSCTX_INPROC_SERVER, IID__clsCollection,
                   collection.ReceiveVoid());
  if (!collection) return;
  Expect(SUCCEEDED(CoMarshalInterThreadInterfaceInStream(IID__clsCollection, collection.Get(),
                                                         &marshaled)),
         L"an object is handed to another apartment");
  HANDLE thread = CreateThread(nullptr, 0, CountFromAnotherApartment, marshaled, 0, nullptr);
  while (MsgWaitForMultipleObjects(1, &thread, FALSE, 10000, QS_ALLINPUT) == WAIT_OBJECT_0 + 1) {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;)
      DispatchMessageW(&message);
  }
  DWORD count = 1;
  GetExitCodeThread(thread, &count);
  CloseHandle(thread);
  Expect(count == 0, L"the other apartment counts no entries");
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  const int classes = CreateEveryClass();
  Expect(classes > 0, L"the type library lists classes");
  UseFromAnotherApartment();
  // Whether it is registered as well or not, the manifest comes first.
  const HMODULE component = GetModuleHandleW(L"Brindlex.dll");
  Expect(component != nullptr && FolderOf(component) == FolderOf(nullptr),
         L"the DLL beside the program is the one that was loaded");
  if (failures == 0) std::printf("%d classes, without registration\n", classes);
  // Wine registers a type library that it finds through a manifest; later tests expect none.
  UnRegisterTypeLib(LIBID_Brindlex, 1, 0, LOCALE_NEUTRAL, SYS_WIN32);
  CoUninitialize();
  return failures == 0 ? 0 : 1;
}
