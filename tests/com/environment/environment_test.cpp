// The probes of the system as it is.

#include <shlobj.h>

#include <string_view>

#include "tests/com/support/fixture.h"
#include "tests/com/support/patched_import.h"

namespace brindlex::testing {
namespace {

class EnvironmentTest : public ComTest {
 protected:
  ComPtr<_clsEnvironment> New() const { return Dll().New<_clsEnvironment, ::clsEnvironment>(); }

  std::u16string Find(long csidl) const {
    BSTR path = nullptr;
    EXPECT_EQ(S_OK, New()->FindSystemFolder(csidl, &path));
    return Taken(path);
  }
};

TEST_F(EnvironmentTest, TheReleaseIsThatOfTheSystem) {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  ASSERT_TRUE(GetVersionExW(&version));
  ASSERT_EQ(static_cast<DWORD>(VER_PLATFORM_WIN32_NT), version.dwPlatformId);
  const bool isVista = version.dwMajorVersion >= 6;
  BSTR name = nullptr;
  EXPECT_EQ(S_OK, New()->GetOsName(&name));
  EXPECT_EQ(isVista, Taken(name) == u"Windows Vista");
  VARIANT_BOOL flag = 1;
  EXPECT_EQ(S_OK, New()->IsWindowsVista(&flag));
  EXPECT_EQ(isVista ? VARIANT_TRUE : VARIANT_FALSE, flag);
}

TEST_F(EnvironmentTest, AFolderIsThatOfTheShell) {
  for (const int csidl : {CSIDL_COMMON_APPDATA, CSIDL_WINDOWS, CSIDL_SYSTEM}) {
    wchar_t expected[MAX_PATH];
    ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, csidl, nullptr, 0, expected));
    EXPECT_EQ(reinterpret_cast<const char16_t*>(expected), Find(csidl));
    // The shell's item-id list is left behind.
    ExpectBlocksLeft(1);
  }
  EXPECT_EQ(0U, Boxes().Boxes().size());
}

TEST_F(EnvironmentTest, AFolderThatTheShellRejectsIsEmptyWithoutABox) {
  for (const long csidl : {9999L, -1L, 0x7FFFFFFFL}) EXPECT_EQ(u"", Find(csidl));
  EXPECT_EQ(0U, Boxes().Boxes().size());
}

// ---- Other systems -----------------------------------------------------------------------------

OSVERSIONINFOA claimed;
OSVERSIONINFOA asked;

BOOL WINAPI ClaimVersion(OSVERSIONINFOA* record) {
  asked = *record;
  *record = claimed;
  return FALSE;
}

TEST_F(EnvironmentTest, TheReleaseGoesByWhatTheSystemSaysAndNotByWhetherItSaysSo) {
  const PatchedImport version(Dll().Module(), "GetVersionExA",
                              reinterpret_cast<void*>(ClaimVersion));
  struct Row {
    DWORD platform, major, minor;
    std::u16string_view name;
    bool isVista;
  };
  for (const Row& row : {Row{2, 5, 2, u"Windows XP", false}, Row{2, 6, 1, u"Windows Vista", true},
                         Row{2, 10, 0, u"Windows Vista", true}, Row{1, 4, 5, u"", false},
                         Row{1, 4, 10, u"Windows 98", false}, Row{0, 3, 1, u"Failed", false}}) {
    claimed = {148, row.major, row.minor, 0, row.platform, {}};
    BSTR name = nullptr;
    EXPECT_EQ(S_OK, New()->GetOsName(&name));
    EXPECT_EQ(row.name, Taken(name));
    VARIANT_BOOL flag = 1;
    EXPECT_EQ(S_OK, New()->IsWindowsVista(&flag));
    EXPECT_EQ(row.isVista ? VARIANT_TRUE : VARIANT_FALSE, flag);
  }
  EXPECT_EQ(148U, asked.dwOSVersionInfoSize);
  EXPECT_EQ(std::string(128, ' '), std::string(asked.szCSDVersion, 128));
}

using PathFunction = BOOL(WINAPI*)(PCIDLIST_ABSOLUTE, LPSTR);

/// While it lives, the DLL finds another function where it looks for the shell's.
class ShellPath {
 public:
  ShellPath(HMODULE module, PathFunction function)
      : lookup_(module, "GetProcAddress", reinterpret_cast<void*>(Find)) {
    replacement = function;
  }

 private:
  static FARPROC WINAPI Find(HMODULE module, LPCSTR name) {
    if (std::string_view(name) != "SHGetPathFromIDList") return GetProcAddress(module, name);
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(replacement));
  }

  static inline PathFunction replacement = nullptr;
  PatchedImport lookup_;
};

BOOL WINAPI FillWholeBuffer(PCIDLIST_ABSOLUTE, LPSTR buffer) {
  EXPECT_EQ(std::string(260, '\0'), std::string(buffer, 260));
  std::fill_n(buffer, 260, 'x');
  return TRUE;
}

BOOL WINAPI AnswerTwo(PCIDLIST_ABSOLUTE, LPSTR buffer) {
  std::fill_n(buffer, 4, 'x');
  return 2;
}

TEST_F(EnvironmentTest, APathThatNoNulEndsIsReported) {
  const ShellPath path(Dll().Module(), FillWholeBuffer);
  EXPECT_EQ(u"", Find(CSIDL_COMMON_APPDATA));
  ASSERT_EQ(1U, Boxes().Boxes().size());
  EXPECT_EQ(u"Application Error", Boxes().Boxes()[0].caption);
  EXPECT_EQ(
      u"Invalid procedure call or argument No. 5\r\nin"
      u" Brindlex.modSystemFolders.FindSystemFolder at line 0",
      Boxes().Boxes()[0].text);
  ExpectBlocksLeft(1);
}

TEST_F(EnvironmentTest, OnlyTheAnswerOneIsAPath) {
  const ShellPath path(Dll().Module(), AnswerTwo);
  EXPECT_EQ(u"", Find(CSIDL_COMMON_APPDATA));
  EXPECT_EQ(0U, Boxes().Boxes().size());
  ExpectBlocksLeft(1);
}

TEST_F(EnvironmentTest, NeedsAPlaceForTheResult) {
  EXPECT_EQ(E_POINTER, New()->GetOsName(nullptr));
  EXPECT_EQ(E_POINTER, New()->IsWindowsVista(nullptr));
  EXPECT_EQ(E_POINTER, New()->FindSystemFolder(35, nullptr));
}

}  // namespace
}  // namespace brindlex::testing
