#pragma once

#include <filesystem>
#include <string>

#include "tests/com/support/fixture.h"

namespace brindlex::testing {

inline constexpr std::u16string_view kMissing = u"File not found";
inline constexpr std::u16string_view kDenied = u"Permission denied";
inline constexpr std::u16string_view kNoPath = u"Path not found";

/// Text files in a folder of the test's own, through the DLL, with their reports read from the
/// screen.
class TextFilesTest : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    wchar_t temporary[MAX_PATH];
    ASSERT_NE(0U, GetTempPathW(MAX_PATH, temporary));
    folder_ = std::filesystem::path(temporary) /
              (L"Brindlex files " + std::to_wstring(GetCurrentProcessId()));
    std::filesystem::create_directory(folder_);
    files_ = Dll().New<_clsAppFiles, ::clsAppFiles>();
  }

  void TearDown() override {
    files_ = nullptr;
    std::filesystem::remove_all(folder_);
    ComTest::TearDown();
  }

  std::u16string PathOf(std::u16string_view name) const {
    return folder_.u16string() + u"\\" + std::u16string(name);
  }

  bool Save(std::u16string_view path, TextView text, bool quiet = false) {
    VARIANT_BOOL saved = 1;
    EXPECT_EQ(S_OK, files_->SaveTextFile(Bstr(path).Get(), Bstr(text).Get(),
                                         quiet ? VARIANT_TRUE : VARIANT_FALSE, &saved));
    EXPECT_TRUE(saved == VARIANT_TRUE || saved == VARIANT_FALSE);
    return saved != VARIANT_FALSE;
  }

  std::u16string Read(std::u16string_view path, bool quiet = false) {
    BSTR text = nullptr;
    EXPECT_EQ(S_OK,
              files_->ReadTextFile(Bstr(path).Get(), quiet ? VARIANT_TRUE : VARIANT_FALSE, &text));
    return Taken(text);
  }

  HRESULT Copy(std::u16string_view source, std::u16string_view destination) {
    return files_->CopyFileKeepAttributes(Bstr(source).Get(), Bstr(destination).Get());
  }

  static const wchar_t* Wide(const std::u16string& path) {
    return reinterpret_cast<const wchar_t*>(path.c_str());
  }
  static DWORD AttributesOf(const std::u16string& path) {
    return GetFileAttributesW(Wide(path)) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  }
  static void SetAttributes(const std::u16string& path, DWORD attributes) {
    EXPECT_TRUE(SetFileAttributesW(Wide(path), attributes));
  }

  /// One box was shown since the last call, with this caption and text.
  void ExpectBox(std::u16string_view caption, std::u16string_view text) {
    ASSERT_EQ(1U, Boxes().Boxes().size());
    const Box& box = Boxes().Boxes()[0];
    EXPECT_EQ(caption, box.caption);
    EXPECT_EQ(text, box.text);
    EXPECT_EQ(1, box.buttons);
    EXPECT_TRUE(box.hasExclamationIcon);
    Boxes().Forget();
  }
  void ExpectNoBox() { EXPECT_EQ(0U, Boxes().Boxes().size()); }

  void ExpectSavingBox(std::u16string_view path, std::u16string_view text,
                       std::u16string_view description, int number, int line) {
    ExpectBox(u"KX Error", u"There was a system error [FFS-FSO-KX] saving a file: " +
                               std::u16string(path) + u"\r\n" + Ending(description, number, line) +
                               u"Trying to save: " + std::u16string(text));
  }
  void ExpectReadingBox(std::u16string_view path, std::u16string_view description, int number,
                        int line) {
    ExpectBox(u"KX Error", u"There was an error [FTS-FSO] opening a file: " + std::u16string(path) +
                               u"\r\n" + Ending(description, number, line));
  }

  static std::u16string Ending(std::u16string_view description, int number, int line) {
    return u"Error: " + std::u16string(description) + u" Error Number: " + DecimalText(number) +
           u" Line: " + DecimalText(line);
  }

  ComPtr<_clsAppFiles> files_;

 private:
  std::filesystem::path folder_;
};

/// Keeps a file open so that nobody else can open it.
class InUse {
 public:
  explicit InUse(const wchar_t* path)
      : handle_(CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(INVALID_HANDLE_VALUE, handle_);
  }
  InUse(const InUse&) = delete;
  InUse& operator=(const InUse&) = delete;
  ~InUse() { CloseHandle(handle_); }

 private:
  HANDLE handle_;
};

}  // namespace brindlex::testing
