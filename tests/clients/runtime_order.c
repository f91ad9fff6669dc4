/* A host that loads and frees the run-time DLL of g++ before or after the component, as a program
   with plug-ins in C++ does. In each state the component raises an error, for which it throws and
   catches a C++ exception. The build defines RUNTIME, the name of the DLL.

     runtime_order before | after
 */

#define COBJMACROS

#include <windows.h>

#include <oleauto.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "Brindlex.h"

static void Require(BOOL holds, const char* what) {
  if (holds) return;
  printf("FAILED: %s\n", what);
  exit(1);
}

static _clsBases* CreateBases(void) {
  void* bases = NULL;
  Require(SUCCEEDED(CoCreateInstance(&CLSID_clsBases, NULL, CLSCTX_INPROC_SERVER, &IID__clsBases,
                                     &bases)),
          "the class is created");
  return bases;
}

static void ExpectError(_clsBases* bases, const char* when) {
  BSTR one = SysAllocString(L"1");
  double result = 0;
  printf("%s\n", when);
  /* If the process is terminated, the last line shows in which state. */
  fflush(stdout);
  Require(_clsBases_ConvertBase2Dec(bases, one, 1, &result) == (HRESULT)0x800A000D,
          "base 1 is error 13");
  SysFreeString(one);
}

static HMODULE LoadRuntime(void) {
  HMODULE runtime = LoadLibraryA(RUNTIME);
  Require(runtime != NULL, "the run-time DLL is loaded");
  return runtime;
}

static void LoadRuntimeFirst(void) {
  HMODULE runtime = LoadRuntime();
  _clsBases* bases = CreateBases();
  ExpectError(bases, "with the run-time DLL loaded before the component");
  FreeLibrary(runtime);
  ExpectError(bases, "with the run-time DLL freed");
  _clsBases_Release(bases);
  CoFreeUnusedLibrariesEx(0, 0);
  bases = CreateBases();
  ExpectError(bases, "with a new object after COM has freed what is unused");
  _clsBases_Release(bases);
}

static void LoadComponentFirst(void) {
  _clsBases* bases = CreateBases();
  ExpectError(bases, "without the run-time DLL");
  HMODULE runtime = LoadRuntime();
  ExpectError(bases, "with the run-time DLL loaded after the component");
  FreeLibrary(runtime);
  ExpectError(bases, "with the run-time DLL freed");
  _clsBases_Release(bases);
  CoFreeUnusedLibrariesEx(0, 0);
  runtime = LoadRuntime();
  bases = CreateBases();
  ExpectError(bases, "with the run-time DLL loaded again, and a new object");
  _clsBases_Release(bases);
  FreeLibrary(runtime);
}

int main(int argc, char** argv) {
  Require(argc == 2, "the argument is before or after");
  Require(GetModuleHandleA(RUNTIME) == NULL, "the program itself needs no run-time DLL");
  CoInitialize(NULL);
  if (strcmp(argv[1], "before") == 0) {
    LoadRuntimeFirst();
  } else {
    LoadComponentFirst();
  }
  CoUninitialize();
  printf("run-time order: done\n");
  return 0;
}
