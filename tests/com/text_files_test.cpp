// The text files on a real disk, and their reports as real boxes.

#include <chrono>
#include <filesystem>

#include "tests/com/fixture.h"
#include "tests/com/late_call.h"

namespace brindlex::testing {
namespace {

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

constexpr std::u16string_view kMissing = u"File not found";
constexpr std::u16string_view kDenied = u"Permission denied";
constexpr std::u16string_view kNoPath = u"Path not found";

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

TEST_F(TextFilesTest, ATextComesBackAsItWas) {
  std::u16string all;
  for (char16_t unit = 0; unit < 128; ++unit) all.push_back(unit);
  for (const std::u16string& text : {std::u16string(u"one\r\ntwo\nthree\r"), all,
                                     std::u16string(16384, u'a'), std::u16string(16385, u'b')}) {
    EXPECT_TRUE(Save(PathOf(u"f"), text));
    EXPECT_EQ(text.size(), std::filesystem::file_size(PathOf(u"f")));
    EXPECT_EQ(text, Read(PathOf(u"f")));
  }
  ExpectNoBox();
}

TEST_F(TextFilesTest, WhatTheCodePageLacksComesBackAsItsReplacement) {
  const std::u16string text = u"a\u00A5\u0152\u4E00\u0416z";
  const auto* const wide = reinterpret_cast<const wchar_t*>(text.data());
  char bytes[32];
  const int count = WideCharToMultiByte(CP_ACP, 0, wide, static_cast<int>(text.size()), bytes, 32,
                                        nullptr, nullptr);
  wchar_t back[32];
  const int length = MultiByteToWideChar(CP_ACP, 0, bytes, count, back, 32);
  EXPECT_TRUE(Save(PathOf(u"f"), text));
  EXPECT_EQ(static_cast<std::uintmax_t>(count), std::filesystem::file_size(PathOf(u"f")));
  EXPECT_EQ(std::u16string(back, back + length), Read(PathOf(u"f")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, AReadOnlyOrHiddenFileIsReplacedAndStaysSo) {
  for (const DWORD attributes : {FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_HIDDEN,
                                 FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN}) {
    ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
    SetAttributes(PathOf(u"f"), attributes);
    EXPECT_TRUE(Save(PathOf(u"f"), u"new"));
    EXPECT_EQ(attributes, AttributesOf(PathOf(u"f")));
    EXPECT_EQ(u"new", Read(PathOf(u"f")));
    SetAttributes(PathOf(u"f"), FILE_ATTRIBUTE_NORMAL);
  }
  ExpectNoBox();
}

TEST_F(TextFilesTest, SavingWithoutAFolderIsReported) {
  EXPECT_FALSE(Save(PathOf(u"no\\f"), u"the text", true));
  ExpectSavingBox(PathOf(u"no\\f"), u"the text", kNoPath, 76, 2);
}

TEST_F(TextFilesTest, AFileInUseIsDenied) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"old"));
  {
    const InUse other(Wide(PathOf(u"f")));
    EXPECT_FALSE(Save(PathOf(u"f"), u"new"));
    ExpectSavingBox(PathOf(u"f"), u"new", kDenied, 70, 2);
    EXPECT_FALSE(Save(PathOf(u"f"), u"new", true));
    ExpectNoBox();
    EXPECT_EQ(u"", Read(PathOf(u"f"), true));
    ExpectReadingBox(PathOf(u"f"), kDenied, 70, 1);
  }
  EXPECT_EQ(u"old", Read(PathOf(u"f")));
}

TEST_F(TextFilesTest, AFolderIsNoFile) {
  EXPECT_FALSE(Save(PathOf(u"."), u"x"));
  ExpectSavingBox(PathOf(u"."), u"x", kDenied, 70, 2);
  EXPECT_EQ(u"", Read(PathOf(u".")));
  ExpectReadingBox(PathOf(u"."), kDenied, 70, 1);
}

TEST_F(TextFilesTest, AMissingFileIsReportedUnlessItIsToBeQuiet) {
  EXPECT_EQ(u"", Read(PathOf(u"f")));
  ExpectReadingBox(PathOf(u"f"), kMissing, 53, 1);
  EXPECT_EQ(u"", Read(PathOf(u"f"), true));
  ExpectNoBox();
}

TEST_F(TextFilesTest, AnEmptyFileIsReadPastItsEnd) {
  EXPECT_TRUE(Save(PathOf(u"f"), u""));
  EXPECT_EQ(u"", Read(PathOf(u"f"), true));
  ExpectReadingBox(PathOf(u"f"), u"Input past end of file", 62, 2);
}

TEST_F(TextFilesTest, BelowTheSystemFolderTheBoxNamesTheFileAlone) {
  ComPtr<IDispatch> folder;
  ASSERT_EQ(S_OK, files_->GetWinSysDirFolder(folder.Receive()));
  LateCall path(*folder.Get(), L"Path");
  ASSERT_EQ(S_OK, path.Run());
  wchar_t expected[MAX_PATH];
  ASSERT_NE(0U, GetSystemDirectoryW(expected, MAX_PATH));
  EXPECT_EQ(u"text " + std::u16string(reinterpret_cast<const char16_t*>(expected)),
            Shown(path.Result()));
  EXPECT_EQ(u"", Read(std::u16string(reinterpret_cast<const char16_t*>(expected)) + u"\\none.txt"));
  ExpectBox(u"KX Error", u"There was an error [FTS-W] opening a file: none.txt\r\n\r\n" +
                             Ending(kMissing, 53, 1));
}

TEST_F(TextFilesTest, OddPathsFailWithABoxAndNothingElse) {
  for (const std::u16string& path :
       {std::u16string(), PathOf(u"*.txt"), PathOf(u"a?b"), PathOf(std::u16string(32000, u'x'))}) {
    EXPECT_FALSE(Save(path, u"x"));
    ASSERT_EQ(1U, Boxes().Boxes().size());
    EXPECT_EQ(u"KX Error", Boxes().Boxes()[0].caption);
    EXPECT_EQ(u"", Read(path));
    EXPECT_EQ(2U, Boxes().Boxes().size());
    Boxes().Forget();
  }
}

TEST_F(TextFilesTest, ADeviceTakesTextAndHasNone) {
  EXPECT_TRUE(Save(u"NUL", u"x"));
  ExpectNoBox();
  EXPECT_EQ(u"", Read(u"NUL"));
  ExpectReadingBox(u"NUL", u"Input past end of file", 62, 2);
}

TEST_F(TextFilesTest, AFullDiskIsReported) {
  // A device of the system below Wine that is full for ever.
  constexpr std::u16string_view kFull = u"Z:\\dev\\full";
  if (!std::filesystem::exists(kFull)) GTEST_SKIP() << "no full device here";
  EXPECT_FALSE(Save(kFull, u"the text", true));
  ExpectSavingBox(kFull, u"the text", u"Disk full", 61, 3);
}

TEST_F(TextFilesTest, ACopyKeepsTheAttributesOfWhatItReplaces) {
  ASSERT_TRUE(Save(PathOf(u"source"), u"new"));
  ASSERT_TRUE(Save(PathOf(u"destination"), u"old"));
  constexpr DWORD kBoth = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
  SetAttributes(PathOf(u"destination"), kBoth);
  EXPECT_EQ(S_OK, Copy(PathOf(u"source"), PathOf(u"destination")));
  EXPECT_EQ(kBoth, AttributesOf(PathOf(u"destination")));
  EXPECT_EQ(u"new", Read(PathOf(u"destination")));
  SetAttributes(PathOf(u"destination"), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(S_OK, Copy(PathOf(u"source"), PathOf(u"another")));
  EXPECT_EQ(u"new", Read(PathOf(u"another")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, AFailingCopyRaisesItsErrorWithoutABox) {
  EXPECT_EQ(static_cast<HRESULT>(0x800A0035), Copy(PathOf(u"none"), PathOf(u"f")));
  ASSERT_TRUE(Save(PathOf(u"f"), u"x"));
  EXPECT_EQ(static_cast<HRESULT>(0x800A004C), Copy(PathOf(u"f"), PathOf(u"no\\f")));
  LateCall call(*files_.Get(), L"CopyFileKeepAttributes");
  EXPECT_EQ(DISP_E_EXCEPTION,
            call.WithOwned(Variant(PathOf(u"none"))).WithOwned(Variant(PathOf(u"g"))).Run());
  EXPECT_EQ(static_cast<SCODE>(0x800A0035), call.Exception().scode);
  EXPECT_EQ(kMissing, call.Description());
  ExpectNoBox();
}

TEST_F(TextFilesTest, FoldersAreMadeOneLevelAtATime) {
  VARIANT_BOOL exists = 1;
  EXPECT_EQ(S_OK, files_->EnsureFolder(Bstr(PathOf(u"a\\b")).Get(), &exists));
  EXPECT_EQ(VARIANT_FALSE, exists);
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(S_OK, files_->EnsureFolder(Bstr(PathOf(u"a")).Get(), &exists));
    EXPECT_EQ(VARIANT_TRUE, exists);
  }
  EXPECT_TRUE(std::filesystem::is_directory(PathOf(u"a")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, ReadingTakesTimeLinearInTheFile) {
  const auto time = [&](std::size_t size) {
    EXPECT_TRUE(Save(PathOf(u"f"), std::u16string(size, u'x')));
    auto best = std::chrono::steady_clock::duration::max();
    for (int round = 0; round < 3; ++round) {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(size, Read(PathOf(u"f")).size());
      best = std::min(best, std::chrono::steady_clock::now() - start);
    }
    return std::chrono::duration<double>(best).count();
  };
  const double small = time(1000000);
  // A quadratic reading would take a hundred times as long.
  EXPECT_LT(time(10000000), 35 * small);
}

TEST_F(TextFilesTest, ALargeTextIsSavedAndReadAndShown) {
  constexpr std::size_t kSize = std::size_t{64} << 20U;
  {
    const Bstr text(std::u16string(kSize, u'x'));
    VARIANT_BOOL saved = VARIANT_FALSE;
    EXPECT_EQ(S_OK,
              files_->SaveTextFile(Bstr(PathOf(u"f")).Get(), text.Get(), VARIANT_FALSE, &saved));
    EXPECT_EQ(VARIANT_TRUE, saved);
    EXPECT_EQ(kSize, std::filesystem::file_size(PathOf(u"f")));
  }
  {
    Bstr text;
    EXPECT_EQ(S_OK, files_->ReadTextFile(Bstr(PathOf(u"f")).Get(), VARIANT_FALSE, text.Receive()));
    EXPECT_EQ(kSize, text.View().size());
    EXPECT_EQ(TextView::npos, text.View().find_first_not_of(u'x'));
    ExpectNoBox();
    VARIANT_BOOL saved = VARIANT_TRUE;
    EXPECT_EQ(S_OK, files_->SaveTextFile(Bstr(PathOf(u"no\\f")).Get(), text.Get(), VARIANT_FALSE,
                                         &saved));
    EXPECT_EQ(VARIANT_FALSE, saved);
  }
  ASSERT_EQ(1U, Boxes().Boxes().size());
  const std::u16string& shown = Boxes().Boxes()[0].text;
  EXPECT_TRUE(shown.starts_with(u"There was a system error [FFS-FSO-KX] saving a file: "));
  EXPECT_NE(std::u16string::npos, shown.find(Ending(kNoPath, 76, 2) + u"Trying to save: xxx"));
  EXPECT_TRUE(Save(PathOf(u"f"), u"works on"));
}

}  // namespace
}  // namespace brindlex::testing
