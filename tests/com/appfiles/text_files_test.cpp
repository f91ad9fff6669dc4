// The text files on a real disk, and their reports as real boxes.

#include "tests/com/appfiles/text_files_test.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/com/objects/late_call.h"
#include "tests/com/support/apartment.h"

namespace brindlex::testing {
namespace {

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

TEST_F(TextFilesTest, OddPathsAreReportedWithTheirOwnError) {
  struct Row {
    std::u16string path;
    std::u16string_view description;
    int number;
  };
  constexpr std::u16string_view kBadName = u"Bad file name or number";
  const std::u16string tooLong = PathOf(std::u16string(32000, u'x'));
  for (const Row& row : {Row{u"", kNoPath, 76}, Row{PathOf(u"*.txt"), kBadName, 52},
                         Row{PathOf(u"a?b"), kBadName, 52}, Row{PathOf(u"a|b"), kBadName, 52},
                         Row{tooLong, kMissing, 53}, Row{u"Q:\\f", kMissing, 53}}) {
    EXPECT_FALSE(Save(row.path, u"x", true));
    ExpectSavingBox(row.path, u"x", row.description, row.number, 2);
    EXPECT_EQ(u"", Read(row.path));
    ExpectReadingBox(row.path, row.description, row.number, 1);
  }
}

TEST_F(TextFilesTest, AFileThatCannotBeReadIsNoEmptyOne) {
  // A file of the system below Wine whose every reading fails.
  constexpr std::u16string_view kUnreadable = u"Z:\\proc\\self\\mem";
  EXPECT_EQ(u"", Read(kUnreadable));
  ExpectReadingBox(kUnreadable, u"Disk not ready", 71, 1);
}

TEST_F(TextFilesTest, ADeviceIsRefusedWithAReportOrTakesTheText) {
  // Whether the run time counts a device among the files differs from system to system.
  for (const std::u16string_view device :
       {u"NUL", u"nul", u"C:\\NUL", u"C:\\nul.txt", u"CON", u"COM1", u"LPT1", u"PRN", u"AUX"}) {
    const bool saved = Save(device, u"the text", true);
    if (saved || Boxes().Boxes().empty()) {
      // Nothing was said: it was written, or denied and to be quiet about it.
      ExpectNoBox();
      EXPECT_EQ(saved, Save(device, u"the text"));
      EXPECT_EQ(saved ? 0U : 1U, Boxes().Boxes().size());
    } else {
      EXPECT_EQ(1U, Boxes().Boxes().size());
      EXPECT_NE(std::u16string::npos, Boxes().Boxes()[0].text.find(u"Trying to save: the text"));
      EXPECT_EQ(std::u16string::npos, Boxes().Boxes()[0].text.find(u"Error Number: -"));
    }
    Boxes().Forget();
  }
  // It has nothing to read; the others would be waited for.
  EXPECT_EQ(u"", Read(u"NUL"));
  ExpectReadingBox(u"NUL", u"Input past end of file", 62, 2);
}

TEST_F(TextFilesTest, AFullDiskIsReported) {
  // A device of the system below Wine that is full for ever.
  constexpr std::u16string_view kFull = u"Z:\\dev\\full";
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

TEST_F(TextFilesTest, ACopyOverAFileInUseIsDeniedAndOverAFolderNeverLost) {
  constexpr auto kDeniedStatus = static_cast<HRESULT>(0x800A0046);
  ASSERT_TRUE(Save(PathOf(u"f"), u"new"));
  ASSERT_TRUE(Save(PathOf(u"g"), u"old"));
  SetAttributes(PathOf(u"g"), FILE_ATTRIBUTE_READONLY);
  {
    const InUse other(Wide(PathOf(u"g")));
    EXPECT_EQ(kDeniedStatus, Copy(PathOf(u"f"), PathOf(u"g")));
  }
  // What was taken from it for the copy stays away.
  EXPECT_EQ(0U, AttributesOf(PathOf(u"g")));
  EXPECT_EQ(u"old", Read(PathOf(u"g")));
  std::filesystem::create_directory(PathOf(u"folder"));
  // Some systems put the copy into the folder; the status shows which.
  const bool copied = Copy(PathOf(u"f"), PathOf(u"folder")) == S_OK;
  EXPECT_EQ(copied, std::filesystem::exists(PathOf(u"folder\\f")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, OddPathsAreNoCopies) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"x"));
  for (const std::u16string& path :
       {std::u16string(), PathOf(u"?"), PathOf(u"none*"), PathOf(std::u16string(32000, u'x'))}) {
    EXPECT_TRUE(FAILED(Copy(path, PathOf(u"g"))));
    EXPECT_TRUE(FAILED(Copy(PathOf(u"f"), path)));
  }
  EXPECT_FALSE(std::filesystem::exists(PathOf(u"g")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, OddPathsAreNoFolders) {
  ASSERT_TRUE(Save(PathOf(u"f"), u"x"));
  for (const std::u16string& path :
       {std::u16string(), PathOf(u"f"), PathOf(u"a*"), PathOf(u"a?"), std::u16string(u"NUL"),
        PathOf(std::u16string(32000, u'x')), std::u16string(u"Q:\\x")}) {
    VARIANT_BOOL exists = 1;
    EXPECT_EQ(S_OK, files_->EnsureFolder(Bstr(path).Get(), &exists));
    EXPECT_EQ(VARIANT_FALSE, exists);
  }
  EXPECT_EQ(u"x", Read(PathOf(u"f")));
  ExpectNoBox();
}

TEST_F(TextFilesTest, TheNameIsWhatFollowsTheLastBackslash) {
  const auto name = [&](std::u16string_view path) {
    BSTR found = nullptr;
    EXPECT_EQ(S_OK, files_->FileNameFromPath(Bstr(path).Get(), &found));
    return Taken(found);
  };
  EXPECT_EQ(u"notes.txt", name(u"C:\\Data\\notes.txt"));
  EXPECT_EQ(u"Data", name(u"C:\\Data\\"));
  EXPECT_EQ(u"notes.txt", name(u"notes.txt"));
  EXPECT_EQ(u"", name(u""));
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

TEST_F(TextFilesTest, AFolderIsThereForAllWhoMakeItAtTheSameMoment) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 20; ++round) {
    const std::u16string path =
        PathOf(std::u16string(u"raced ") + static_cast<char16_t>(u'a' + round));
    std::atomic<int> ready = 0;
    std::atomic<int> found = 0;
    const auto make = [&] {
      InApartment([&] {
        const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
        ++ready;
        while (ready < kThreads) Sleep(0);
        VARIANT_BOOL exists = VARIANT_FALSE;
        EXPECT_EQ(S_OK, files->EnsureFolder(Bstr(path).Get(), &exists));
        if (exists == VARIANT_TRUE) ++found;
      });
    };
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back(make);
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(kThreads, found) << round;
  }
  ExpectNoBox();
}

TEST_F(TextFilesTest, ReadingTakesTimeLinearInTheFile) {
  using Clock = std::chrono::steady_clock;
  constexpr std::size_t kSmall = 1000000;
  constexpr std::size_t kLarge = 16 * kSmall;
  EXPECT_TRUE(Save(PathOf(u"small"), std::u16string(kSmall, u'x')));
  EXPECT_TRUE(Save(PathOf(u"large"), std::u16string(kLarge, u'x')));
  const auto time = [&](TextView name, std::size_t size) {
    const auto start = Clock::now();
    EXPECT_EQ(size, Read(PathOf(name)).size());
    return Clock::now() - start;
  };
  // In turns, and the best of each: another program that takes the processor slows down both.
  auto small = Clock::duration::max();
  auto large = Clock::duration::max();
  for (int turn = 0; turn < 7; ++turn) {
    small = std::min(small, time(u"small", kSmall));
    large = std::min(large, time(u"large", kLarge));
  }
  // A quadratic reading would take 256 times as long.
  EXPECT_LT(large, 80 * small);
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
  ExpectSavingBox(PathOf(u"no\\f"), std::u16string(kSize, u'x'), kNoPath, 76, 2);
  EXPECT_TRUE(Save(PathOf(u"f"), u"works on"));
}

}  // namespace
}  // namespace brindlex::testing
