// The DLL as a file: its exports, its imports and its version resource.

#include <gmock/gmock.h>

#include <cctype>

#include "tests/com/support/fixture.h"
#include "tests/com/support/pe_file.h"

namespace brindlex::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsSubsetOf;

std::string InCapitals(std::string text) {
  for (char& letter : text) letter = static_cast<char>(std::toupper(letter));
  return text;
}

TEST(DllFileTest, ExportsTheEntryPointsOfAServerAndNothingElse) {
  const PeFile file(Component::Path());
  EXPECT_TRUE(file.IsDll());
  EXPECT_THAT(file.Exports(), ElementsAre("DllCanUnloadNow", "DllGetClassObject", "DllInstall",
                                          "DllRegisterServer", "DllUnregisterServer"));
  EXPECT_FALSE(file.HasNamelessExports());
}

// Not from the shell, which takes longer to load than all the others.
TEST(DllFileTest, ImportsFromDllsOfTheSystemOnly) {
  std::vector<std::string> imports;
  for (const std::string& name : PeFile(Component::Path()).Imports()) {
    imports.push_back(InCapitals(name));
  }
  EXPECT_FALSE(imports.empty());
  EXPECT_THAT(imports,
              IsSubsetOf({"ADVAPI32.DLL", "GDI32.DLL", "KERNEL32.DLL", "MSVCRT.DLL", "NTDLL.DLL",
                          "OLE32.DLL", "OLEAUT32.DLL", "USER32.DLL", "VERSION.DLL"}));
}

TEST(DllFileTest, MayLieAnywhereInMemoryAndRunsNoData) {
  const PeFile file(Component::Path());
  constexpr std::uint16_t kFlags =
      IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  EXPECT_EQ(kFlags, file.DllFlags() & kFlags);
  EXPECT_TRUE(file.IsRelocatable());
}

TEST(DllFileTest, CarriesNoTimeOfItsBuild) { EXPECT_EQ(0U, PeFile(Component::Path()).TimeStamp()); }

/// The version resource of the DLL's file.
class VersionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    DWORD unused = 0;
    const std::wstring path = Component::Path();
    data_.resize(GetFileVersionInfoSizeW(path.c_str(), &unused));
    ASSERT_FALSE(data_.empty());
    ASSERT_TRUE(
        GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data_.size()), data_.data()));
  }

  bool Has(const wchar_t* block) const {
    void* found = nullptr;
    UINT length = 0;
    return VerQueryValueW(data_.data(), block, &found, &length) != FALSE;
  }

  template <class T>
  const T* Query(const std::wstring& block) const {
    void* found = nullptr;
    UINT length = 0;
    EXPECT_TRUE(VerQueryValueW(data_.data(), block.c_str(), &found, &length));
    return length == 0 ? nullptr : static_cast<const T*>(found);
  }

  std::wstring Text(const wchar_t* name) const {
    const auto* const text = Query<wchar_t>(std::wstring(L"\\StringFileInfo\\040904B0\\") + name);
    return text == nullptr ? L"(none)" : text;
  }

 private:
  std::vector<char> data_;
};

TEST_F(VersionTest, NamesTheProductAndItsVersion) {
  EXPECT_EQ(L"Brindlex", Text(L"ProductName"));
  EXPECT_EQ(L"1.0.0", Text(L"ProductVersion"));
  EXPECT_EQ(L"1.0.0", Text(L"FileVersion"));
  EXPECT_EQ(L"Brindlex.dll", Text(L"OriginalFilename"));
}

TEST_F(VersionTest, GivesTheVersionAsNumbersToo) {
  const auto* const fixed = Query<VS_FIXEDFILEINFO>(L"\\");
  ASSERT_NE(nullptr, fixed);
  EXPECT_EQ(VS_FFI_SIGNATURE, static_cast<long>(fixed->dwSignature));
  EXPECT_EQ(0x00010000U, fixed->dwFileVersionMS);
  EXPECT_EQ(0U, fixed->dwFileVersionLS);
  EXPECT_EQ(0x00010000U, fixed->dwProductVersionMS);
  EXPECT_EQ(static_cast<DWORD>(VFT_DLL), fixed->dwFileType);
}

TEST_F(VersionTest, DeclaresThatTheFileRegistersItself) {
  // The entry counts, not its value, which is empty.
  EXPECT_TRUE(Has(L"\\StringFileInfo\\040904B0\\OLESelfRegister"));
  EXPECT_FALSE(Has(L"\\StringFileInfo\\040904B0\\Other"));
}

TEST_F(VersionTest, DeclaresItsLanguageAndCodePage) {
  const auto* const translation = Query<WORD>(L"\\VarFileInfo\\Translation");
  ASSERT_NE(nullptr, translation);
  EXPECT_EQ(0x0409, translation[0]);
  EXPECT_EQ(0x04B0, translation[1]);
}

}  // namespace
}  // namespace brindlex::testing
