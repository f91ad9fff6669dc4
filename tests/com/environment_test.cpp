// The probes of the system as it is.

#include <shlobj.h>

#include "tests/com/fixture.h"

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

TEST_F(EnvironmentTest, NeedsAPlaceForTheResult) {
  EXPECT_EQ(E_POINTER, New()->GetOsName(nullptr));
  EXPECT_EQ(E_POINTER, New()->IsWindowsVista(nullptr));
  EXPECT_EQ(E_POINTER, New()->FindSystemFolder(35, nullptr));
}

}  // namespace
}  // namespace brindlex::testing
