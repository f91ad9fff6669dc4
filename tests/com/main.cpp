#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <cstdio>

#include "platform/win32/file_system.h"
#include "platform/win32/win32_platform.h"
#include "tests/com/support/malloc_spy.h"
#include "tests/com/support/strict_host.h"

namespace {

/// The scripting run time keeps its own type information for as long as it is loaded: loaded and
/// used before the first test counts blocks, it is no leak of that test.
void UseScriptingRunTimeOnce() {
  using namespace brindlex;
  LoadLibraryW(L"scrrun.dll");
  CoInitialize(nullptr);
  {
    Win32Platform platform(nullptr);
    const auto files = platform.NewFileSystem();
    const Text path = files->SystemFolder().GetText(u"Path") + u"\\..\\brindlex.tmp";
    const auto writer = files->CreateTextFile(path);
    writer->Write(u"x");
    writer->Close();
    const auto reader = files->OpenTextFile(path);
    Text text;
    reader->AppendBlock(text);
    reader->AtEnd();
    reader->Close();
    files->GetFile(path)->SetAttributes(files->GetFile(path)->Attributes());
  }
  DeleteFileW(L"C:\\windows\\brindlex.tmp");
  CoUninitialize();
}

/// The shell makes its desktop folder at its first search, two blocks, and keeps it for good.
void UseShellOnce() {
  PIDLIST_ABSOLUTE list = nullptr;
  wchar_t path[MAX_PATH];
  CoInitialize(nullptr);
  SHGetSpecialFolderLocation(nullptr, CSIDL_COMMON_APPDATA, &list);
  SHGetPathFromIDListW(list, path);
  CoTaskMemFree(list);
  CoUninitialize();
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  brindlex::testing::MallocSpy::Instance().Install();
  UseScriptingRunTimeOnce();
  UseShellOnce();
  if (!brindlex::testing::MakeHostStrict()) return 1;
  const int failed = RUN_ALL_TESTS();
  const brindlex::testing::KindScope kind;
  const long exceptions = brindlex::testing::FirstChanceExceptions();
  std::printf("%ld first-chance exceptions\n", exceptions);
  return failed != 0 || exceptions != 0 ? 1 : 0;
}
