// What a server costs a program that has not used it before: load_bench.exe PROGID registers it,
// creates the first object, lets go of it, and prints the microseconds that this took. One process
// each, since not every server lets itself be unloaded.

#include <windows.h>

#include <cstdio>
#include <string>

#include "platform/win32/automation/com_ptr.h"

namespace brindlex::bench {
namespace {

using RegisterServer = HRESULT(STDAPICALLTYPE*)();

/// The DLL that the class is registered with; empty when it is not.
std::wstring ServerOf(REFCLSID classId) {
  OLECHAR id[40];
  StringFromGUID2(classId, id, 40);
  wchar_t path[MAX_PATH];
  DWORD bytes = sizeof path;
  const std::wstring key = std::wstring(L"CLSID\\") + id + L"\\InprocServer32";
  const LSTATUS status =
      RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &bytes);
  return status == ERROR_SUCCESS ? path : L"";
}

HRESULT Register(HMODULE module) {
  auto* const entry = module == nullptr ? nullptr : GetProcAddress(module, "DllRegisterServer");
  if (entry == nullptr) return E_NOINTERFACE;
  return reinterpret_cast<RegisterServer>(reinterpret_cast<void*>(entry))();
}

HRESULT Use(const std::wstring& server, REFCLSID classId) {
  const HMODULE module = LoadLibraryW(server.c_str());
  HRESULT status = Register(module);
  if (SUCCEEDED(status)) {
    ComPtr<IDispatch> object;
    status = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              object.ReceiveVoid());
  }
  FreeLibrary(module);
  return status;
}

int Fail(const char* what, HRESULT status) {
  std::fprintf(stderr, "%s failed: 0x%08lX\n", what, static_cast<unsigned long>(status));
  return 1;
}

int Run(const wchar_t* programId) {
  CLSID classId;
  const HRESULT known = CLSIDFromProgID(programId, &classId);
  if (FAILED(known)) return Fail("CLSIDFromProgID", known);
  const std::wstring server = ServerOf(classId);
  LARGE_INTEGER begin;
  LARGE_INTEGER end;
  LARGE_INTEGER perSecond;
  QueryPerformanceFrequency(&perSecond);
  QueryPerformanceCounter(&begin);
  const HRESULT status = Use(server, classId);
  QueryPerformanceCounter(&end);
  if (FAILED(status)) return Fail("using the server", status);
  std::printf("%.1f\n", 1e6 * static_cast<double>(end.QuadPart - begin.QuadPart) /
                            static_cast<double>(perSecond.QuadPart));
  return 0;
}

}  // namespace
}  // namespace brindlex::bench

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  const int status = brindlex::bench::Run(argv[1]);
  CoUninitialize();
  return status;
}
