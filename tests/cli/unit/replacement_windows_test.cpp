// What Windows keeps of a file that is replaced.
#ifdef _WIN32

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <string>

#include "cli/io/output.h"
#include "tests/cli/unit/cli_test.h"
#include "tests/cli/unit/temporary_folder.h"

namespace brindlex::cli {
namespace {

std::wstring Native(const std::string& path) { return TemporaryFolder::Native(path).wstring(); }

void Replace(const std::string& path) {
  Output output({path, true});
  output.Write("new");
  output.Commit();
}

/// The access-control list of a file, as text.
std::wstring PermissionsOf(const std::string& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  std::wstring name = Native(path);
  EXPECT_EQ(DWORD{ERROR_SUCCESS},
            GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, nullptr, nullptr, &descriptor));
  LPWSTR text = nullptr;
  EXPECT_TRUE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
      descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
  std::wstring result = text == nullptr ? L"" : text;
  LocalFree(text);
  LocalFree(descriptor);
  return result;
}

void SetPermissions(const std::string& path, const wchar_t* text) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1,
                                                                   &descriptor, nullptr));
  EXPECT_TRUE(SetFileSecurityW(Native(path).c_str(), DACL_SECURITY_INFORMATION, descriptor));
  LocalFree(descriptor);
}

TEST(WindowsReplacement, TheAccessControlListStays) {
  const TemporaryFolder folder;
  const std::string path = folder.Put("f", "old");
  const std::string other = folder.Put("g", "old");
  SetPermissions(path, L"D:P(A;;FA;;;OW)(A;;FA;;;BA)");
  const std::wstring before = PermissionsOf(path);
  ASSERT_NE(before, PermissionsOf(other));
  Replace(path);
  EXPECT_EQ(before, PermissionsOf(path));
  EXPECT_EQ("new", TemporaryFolder::ContentOf(path));
}

TEST(WindowsReplacement, TheAttributesStay) {
  const TemporaryFolder folder;
  const std::string path = folder.Put("f", "old");
  constexpr DWORD kAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  ASSERT_TRUE(SetFileAttributesW(Native(path).c_str(), kAttributes));
  const DWORD before = GetFileAttributesW(Native(path).c_str());
  ASSERT_EQ(kAttributes, before & kAttributes);
  Replace(path);
  EXPECT_EQ(before, GetFileAttributesW(Native(path).c_str()));
}

TEST(WindowsReplacement, NobodyElseOpensTheTemporaryFile) {
  const TemporaryFolder folder;
  const std::string path = folder.Put("f", "old");
  Output output({path, true});
  output.Write("new");
  output.Flush();
  std::size_t found = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(TemporaryFolder::Native(folder.Path("")))) {
    if (entry.path().extension() != L".partial") continue;
    ++found;
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    for (const DWORD access : {FILE_READ_DATA, FILE_WRITE_DATA}) {
      auto* const file = CreateFileW(entry.path().wstring().c_str(), access, kShareAll, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
      EXPECT_EQ(INVALID_HANDLE_VALUE, file);
      EXPECT_EQ(DWORD{ERROR_SHARING_VIOLATION}, GetLastError());
    }
  }
  EXPECT_EQ(1U, found);
  output.Commit();
  EXPECT_EQ("new", TemporaryFolder::ContentOf(path));
}

TEST(WindowsReplacement, AReadOnlyFileIsRefused) {
  const TemporaryFolder folder;
  const std::string path = folder.Put("f", "old");
  ASSERT_TRUE(SetFileAttributesW(Native(path).c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(ExitStatus::kInputOutput, FailureOf([&] { Replace(path); }));
  EXPECT_EQ("old", TemporaryFolder::ContentOf(path));
  EXPECT_EQ(1U, folder.Files()) << "a temporary file that was left over";
  SetFileAttributesW(Native(path).c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(WindowsReplacement, OtherHardLinksKeepTheOldContent) {
  const TemporaryFolder folder;
  const std::string path = folder.Put("f", "old");
  const std::string link = folder.Path("g");
  ASSERT_TRUE(CreateHardLinkW(Native(link).c_str(), Native(path).c_str(), nullptr));
  Replace(path);
  EXPECT_EQ("old", TemporaryFolder::ContentOf(link));
  EXPECT_EQ("new", TemporaryFolder::ContentOf(path));
}

}  // namespace
}  // namespace brindlex::cli

#endif
