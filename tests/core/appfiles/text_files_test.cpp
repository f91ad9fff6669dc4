#include "appfiles/text_files.h"

#include "appfiles/settings_folders.h"
#include "tests/core/appfiles/appfiles_test.h"
#include "tests/core/appfiles/naive_path.h"

namespace brindlex {
namespace {

constexpr TextView kPath = u"C:\\Data\\notes.txt";

Text Ending(std::int32_t number, std::int32_t line) {
  Text text(u"Error: ");
  text.append(StandardDescription(number)).append(u" Error Number: ").append(DecimalText(number));
  return text.append(u" Line: ").append(DecimalText(line));
}

Report SavingReport(TextView path, TextView text, std::int32_t number, std::int32_t line,
                    TextView code = u"FFS-FSO-KX") {
  Text shown(u"There was a system error [");
  shown.append(code).append(u"] saving a file: ");
  shown.append(path).append(u"\r\n").append(Ending(number, line));
  return {u"KX Error", shown.append(u"Trying to save: ").append(text)};
}

Report SafeReport(TextView path, TextView text, std::int32_t number, std::int32_t line) {
  return SavingReport(path, text, number, line, u"FFS-SAFE-KX");
}

Report ReadingReport(TextView path, std::int32_t number, std::int32_t line) {
  Text shown(u"There was an error [FTS-FSO] opening a file: ");
  return {u"KX Error", shown.append(path).append(u"\r\n").append(Ending(number, line))};
}

Report SystemReadingReport(TextView name, std::int32_t number, std::int32_t line) {
  Text shown(u"There was an error [FTS-W] opening a file: ");
  return {u"KX Error", shown.append(name).append(u"\r\n\r\n").append(Ending(number, line))};
}

class TextFilesTest : public AppFilesTest {
 protected:
  bool Save(TextView path, TextView text, bool quiet = false) {
    return SaveTextFile(platform_, path, text, quiet);
  }
  bool SaveSafely(TextView path, TextView text, bool quiet = false) {
    return SaveTextFileSafely(platform_, path, text, quiet);
  }
  Text Read(TextView path, bool quiet = false) { return ReadTextFile(platform_, path, quiet); }
  Text NameOf(TextView path) { return FileNameFromPath(platform_, path); }
  void Copy(TextView source, TextView destination) {
    CopyFileKeepAttributes(platform_, source, destination);
  }
};

// ---- Saving ------------------------------------------------------------------------------------

TEST_F(TextFilesTest, ASavedTextIsTheWholeFile) {
  EXPECT_TRUE(Save(kPath, u"one\r\ntwo\n"));
  EXPECT_EQ("one\r\ntwo\n", At(kPath).bytes);
  EXPECT_TRUE(Save(kPath, u""));
  EXPECT_EQ("", At(kPath).bytes);
  ExpectReports({});
}

TEST_F(TextFilesTest, WhatTheCodePageHasComesBackAsItWas) {
  Text all;
  for (char16_t unit = 0; unit < 256; ++unit) all.push_back(unit);
  EXPECT_TRUE(Save(kPath, all));
  EXPECT_EQ(all, Read(kPath));
  EXPECT_TRUE(Save(kPath, u"\u0416 \u65E5"));
  EXPECT_EQ(u"? ?", Read(kPath));
}

TEST_F(TextFilesTest, AFileKeepsItsAttributes) {
  for (std::int32_t attributes = 0; attributes < 64; ++attributes) {
    Put(kPath, "old", attributes);
    EXPECT_TRUE(Save(kPath, u"new"));
    EXPECT_EQ("new", At(kPath).bytes);
    // A file without any is a file like a new one.
    EXPECT_EQ(attributes == 0 ? 32 : attributes, At(kPath).attributes);
  }
  ExpectReports({});
}

TEST_F(TextFilesTest, SavingWithoutAFolderIsError76) {
  EXPECT_FALSE(Save(u"C:\\No\\notes.txt", u"the text"));
  ExpectReports({SavingReport(u"C:\\No\\notes.txt", u"the text", 76, 2)});
}

TEST_F(TextFilesTest, ADeniedSaveIsReportedUnlessItIsToBeQuiet) {
  Put(kPath, "old", 1);
  At(kPath).inUse = true;
  EXPECT_FALSE(Save(kPath, u"new"));
  ExpectReports({SavingReport(kPath, u"new", 70, 2)});
  EXPECT_FALSE(Save(kPath, u"new", true));
  EXPECT_FALSE(Save(u"C:\\Data", u"new", true));
  ExpectReports({});
  EXPECT_EQ("old", At(kPath).bytes);
  EXPECT_EQ(0, At(kPath).attributes);
}

TEST_F(TextFilesTest, AQuietSaveStillReportsOtherErrors) {
  EXPECT_FALSE(Save(u"", u"x", true));
  ExpectReports({SavingReport(u"", u"x", 76, 2)});
}

TEST_F(TextFilesTest, AFullDiskIsReportedWhereverItIsFull) {
  for (std::size_t room = 0; room < 5; ++room) {
    platform_.disk.room = room;
    EXPECT_FALSE(Save(kPath, u"12345"));
    ExpectReports({SavingReport(kPath, u"12345", 61, 3)});
    EXPECT_EQ(room, At(kPath).bytes.size());
  }
  platform_.disk.room = 5;
  EXPECT_TRUE(Save(kPath, u"12345"));
}

TEST_F(TextFilesTest, TheReportShowsTheWholeTextWhateverItsLength) {
  const Text text(1000000, u'x');
  EXPECT_FALSE(Save(u"C:\\No\\f", text));
  ExpectReports({SavingReport(u"C:\\No\\f", text, 76, 2)});
}

TEST_F(TextFilesTest, EveryFailingCallOfASaveIsReportedWithItsLine) {
  constexpr std::int32_t kLines[] = {0, 1, 1, 1, 1, 2, 3, 4, 5, 5};
  for (int call = 1; call <= 10; ++call) {
    for (const std::int32_t number : {57, 70}) {
      Put(kPath, "old", 3);
      platform_.fault = Fault(call, RuntimeError(number));
      EXPECT_FALSE(Save(kPath, u"new"));
      ExpectReports({SavingReport(kPath, u"new", number, kLines[call - 1])});
      // Created with call 6, written with call 7; set back with call 10.
      EXPECT_EQ(call <= 6 ? "old" : call == 7 ? "" : "new", At(kPath).bytes) << call;
      EXPECT_EQ(call <= 5 ? 3 : 0, At(kPath).attributes & 3) << call;

      Put(kPath, "old", 3);
      platform_.fault = Fault(call, RuntimeError(number));
      EXPECT_FALSE(Save(kPath, u"new", true));
      if (number == 70) {
        ExpectReports({});
      } else {
        ExpectReports({SavingReport(kPath, u"new", number, kLines[call - 1])});
      }
    }
  }
  Put(kPath, "old", 3);
  platform_.fault = Fault(11, RuntimeError(57));
  EXPECT_TRUE(Save(kPath, u"new"));
}

TEST_F(TextFilesTest, WithoutAttributesNoneAreTakenAway) {
  // Created with call 5, written with call 6, closed with call 7, and no more.
  Put(kPath, "old", 0);
  platform_.fault = Fault(7, RuntimeError(57));
  EXPECT_FALSE(Save(kPath, u"new"));
  ExpectReports({SavingReport(kPath, u"new", 57, 4)});
  Put(kPath, "old", 0);
  platform_.fault = Fault(8, RuntimeError(57));
  EXPECT_TRUE(Save(kPath, u"new"));
}

// ---- Saving without a loss ---------------------------------------------------------------------

TEST_F(TextFilesTest, ASafelySavedTextIsTheWholeFileAndNothingIsLeftBesideIt) {
  EXPECT_TRUE(SaveSafely(kPath, u"one\r\ntwo\n"));
  EXPECT_EQ("one\r\ntwo\n", At(kPath).bytes);
  EXPECT_EQ(32, At(kPath).attributes);
  EXPECT_TRUE(SaveSafely(kPath, u""));
  EXPECT_EQ("", At(kPath).bytes);
  EXPECT_EQ(1U, platform_.disk.files.size());
  ExpectReports({});
}

TEST_F(TextFilesTest, ASafelySavedFileKeepsItsAttributes) {
  for (std::int32_t attributes = 0; attributes < 64; ++attributes) {
    Put(kPath, "old", attributes);
    EXPECT_TRUE(SaveSafely(kPath, u"new"));
    EXPECT_EQ("new", At(kPath).bytes);
    EXPECT_EQ(attributes, At(kPath).attributes);
  }
  ExpectReports({});
}

TEST_F(TextFilesTest, ATextThatTheCodePageCannotHoldIsRefused) {
  Put(kPath, "old");
  EXPECT_FALSE(SaveSafely(kPath, u"a\u0416"));
  ExpectReports({SafeReport(kPath, u"a\u0416", 5, 1)});
  EXPECT_EQ("old", At(kPath).bytes);
}

TEST_F(TextFilesTest, ASafeSaveThatCannotBeginIsReported) {
  EXPECT_FALSE(SaveSafely(u"C:\\No\\notes.txt", u"x"));
  EXPECT_FALSE(SaveSafely(u"C:\\Data", u"x"));
  EXPECT_FALSE(SaveSafely(u"C:\\Data", u"x", true));
  ExpectReports(
      {SafeReport(u"C:\\No\\notes.txt", u"x", 76, 2), SafeReport(u"C:\\Data", u"x", 70, 2)});
  Put(kPath, "old", 3);
  At(kPath).inUse = true;
  EXPECT_FALSE(SaveSafely(kPath, u"new"));
  ExpectReports({SafeReport(kPath, u"new", 70, 6)});
  EXPECT_EQ("old", At(kPath).bytes);
  EXPECT_EQ(3, At(kPath).attributes);
}

TEST_F(TextFilesTest, ASafeSaveLeavesWhatHasANameLikeItsTemporaryFile) {
  Put(kPath, "old");
  const Text stranger = Text(kPath).append(u".~saving-1");
  const Text folder = Text(kPath).append(u".~saving-2");
  Put(stranger, "a stranger's", 3);
  platform_.disk.folders.insert(folder);
  EXPECT_TRUE(SaveSafely(kPath, u"new"));
  EXPECT_EQ("new", At(kPath).bytes);
  EXPECT_EQ("a stranger's", At(stranger).bytes);
  EXPECT_EQ(3, At(stranger).attributes);
  EXPECT_TRUE(platform_.disk.folders.contains(folder));
  EXPECT_EQ(2U, platform_.disk.files.size());
  ExpectReports({});
}

TEST_F(TextFilesTest, APathWithANulIsError52AndWritesNothing) {
  Text path(kPath);
  path.push_back(u'\0');
  path.append(u".bak");
  Put(kPath, "old", 3);
  EXPECT_FALSE(Save(path, u"new"));
  EXPECT_FALSE(SaveSafely(path, u"new"));
  EXPECT_EQ(u"", Read(path));
  EXPECT_EQ(u"", Read(path, true));
  ExpectReports({SavingReport(path, u"new", 52, 1), SafeReport(path, u"new", 52, 2),
                 ReadingReport(path, 52, 1), ReadingReport(path, 52, 1)});
  EXPECT_EQ(52, ErrorOf([&] { Copy(kPath, path); }));
  EXPECT_EQ(52, ErrorOf([&] { Copy(path, u"C:\\Data\\copy.txt"); }));
  EXPECT_FALSE(EnsureFolder(platform_, path));
  EXPECT_EQ("old", At(kPath).bytes);
  EXPECT_EQ(3, At(kPath).attributes);
  EXPECT_EQ(1U, platform_.disk.files.size());
}

TEST_F(TextFilesTest, AFullDiskTakesNothingFromTheOldText) {
  Put(kPath, "old");
  for (std::size_t room = 0; room < 5; ++room) {
    platform_.disk.room = room;
    EXPECT_FALSE(SaveSafely(kPath, u"12345"));
    ExpectReports({SafeReport(kPath, u"12345", 61, 4)});
    EXPECT_EQ("old", At(kPath).bytes);
    EXPECT_EQ(1U, platform_.disk.files.size());
  }
  platform_.disk.room = 5;
  EXPECT_TRUE(SaveSafely(kPath, u"12345"));
}

TEST_F(TextFilesTest, EveryFailingCallOfASafeSaveLeavesTheFileAsItWas) {
  for (int call = 1; call <= 6; ++call) {
    for (const std::int32_t number : {57, 70}) {
      for (const bool quiet : {false, true}) {
        Put(kPath, "old", 3);
        platform_.fault = Fault(call, RuntimeError(number));
        EXPECT_FALSE(SaveSafely(kPath, u"new", quiet));
        if (quiet && number == 70) {
          ExpectReports({});
        } else {
          ExpectReports({SafeReport(kPath, u"new", number, call)});
        }
        EXPECT_EQ("old", At(kPath).bytes) << call;
        EXPECT_EQ(3, At(kPath).attributes) << call;
        EXPECT_EQ(1U, platform_.disk.files.size());
      }
    }
  }
  platform_.fault = Fault(7, RuntimeError(57));
  EXPECT_TRUE(SaveSafely(kPath, u"new"));
}

// ---- Reading -----------------------------------------------------------------------------------

TEST_F(TextFilesTest, AFileIsReadWholeWhateverItsBlocks) {
  for (std::size_t size = 1; size < 40; ++size) {
    for (const std::size_t block : {1U, 2U, 7U, 100U}) {
      platform_.disk.blockSize = block;
      Put(kPath, std::string(size, 'a') + "\r\n");
      EXPECT_EQ(Text(size, u'a') + u"\r\n", Read(kPath));
    }
  }
  ExpectReports({});
}

TEST_F(TextFilesTest, AnEmptyFileIsError62) {
  Put(kPath, "");
  EXPECT_EQ(u"", Read(kPath));
  EXPECT_EQ(u"", Read(kPath, true));
  ExpectReports({ReadingReport(kPath, 62, 2), ReadingReport(kPath, 62, 2)});
}

TEST_F(TextFilesTest, AMissingFileIsReportedUnlessItIsToBeQuiet) {
  EXPECT_EQ(u"", Read(kPath));
  ExpectReports({ReadingReport(kPath, 53, 1)});
  EXPECT_EQ(u"", Read(kPath, true));
  ExpectReports({});
}

TEST_F(TextFilesTest, AMissingFolderIsReportedEvenWhenQuiet) {
  EXPECT_EQ(u"", Read(u"C:\\No\\f", true));
  ExpectReports({ReadingReport(u"C:\\No\\f", 76, 1)});
}

TEST_F(TextFilesTest, BelowTheSystemFolderTheReportNamesTheFileAlone) {
  for (const TextView path : {u"C:\\Windows\\System32\\a.txt", u"c:\\WINDOWS\\system32\\a.txt"}) {
    EXPECT_EQ(u"", Read(path));
    ExpectReports({SystemReadingReport(u"a.txt", 53, 1)});
  }
  EXPECT_EQ(u"", Read(u"C:\\WINDOWS\\SYSTEM32"));
  ExpectReports({SystemReadingReport(u"SYSTEM32", 70, 1)});
  EXPECT_EQ(u"", Read(u"C:\\Windows\\System3"));
  ExpectReports({ReadingReport(u"C:\\Windows\\System3", 53, 1)});
  EXPECT_EQ(u"", Read(u"C:\\Windows\\System31\\a file of some length.txt"));
  ExpectReports({ReadingReport(u"C:\\Windows\\System31\\a file of some length.txt", 76, 1)});
}

TEST_F(TextFilesTest, APathThatOnlyContainsTheSystemFolderCountsAsBelowIt) {
  EXPECT_EQ(u"", Read(u"\\\\?\\C:\\Windows\\System32\\no\\b.txt"));
  ExpectReports({SystemReadingReport(u"b.txt", 76, 1)});
}

TEST_F(TextFilesTest, EveryFailingCallOfAReadIsReportedWithItsLine) {
  // Two blocks: opening, each block and its test for the end, closing.
  constexpr std::int32_t kLines[] = {0, 1, 2, 2, 2, 2, 3};
  for (int call = 1; call <= 7; ++call) {
    for (const std::int32_t number : {57, 53}) {
      for (const bool quiet : {false, true}) {
        Put(kPath, "12345678");
        platform_.fault = Fault(call, RuntimeError(number));
        EXPECT_EQ(u"", Read(kPath, quiet));
        if (quiet && number == 53 && call == 2) {
          ExpectReports({});
        } else {
          ExpectReports({ReadingReport(kPath, number, kLines[call - 1])});
        }
      }
    }
  }
  platform_.fault = Fault(8, RuntimeError(57));
  EXPECT_EQ(u"12345678", Read(kPath));
}

TEST_F(TextFilesTest, WithoutASystemFolderTheReaderRaisesWhatItsReportLacks) {
  // Opening fails on its own; the search for the system folder after it is made to.
  platform_.fault = Fault(4, RuntimeError(76));
  EXPECT_EQ(91, ErrorOf([&] { Read(kPath); }));
  ASSERT_EQ(1U, platform_.reports.size());
  EXPECT_EQ(u"Error", platform_.reports[0].caption);
}

TEST_F(TextFilesTest, AReportThatCannotBeShownTravelsToTheCaller) {
  // The file-system object and the steps up to the failing one, then the box.
  platform_.fault = Fault(4, RuntimeError(51));
  EXPECT_EQ(51, ErrorOf([&] { Save(u"C:\\No\\f", u"x"); }));
  platform_.fault = Fault(5, RuntimeError(51));
  EXPECT_EQ(51, ErrorOf([&] { Read(u"C:\\No\\f"); }));
  ExpectReports({});
}

// ---- Names -------------------------------------------------------------------------------------

TEST_F(TextFilesTest, TheNameIsWhatFollowsTheLastBackslash) {
  EXPECT_EQ(u"notes.txt", NameOf(u"C:\\Data\\notes.txt"));
  EXPECT_EQ(u"Data", NameOf(u"C:\\Data\\"));
  EXPECT_EQ(u"notes.txt", NameOf(u"notes.txt"));
  EXPECT_EQ(u"", NameOf(u"\\"));
  EXPECT_EQ(u"", NameOf(u"\\\\"));
  EXPECT_EQ(u"", NameOf(u""));
  EXPECT_EQ(u"C:/Data/notes.txt", NameOf(u"C:/Data/notes.txt"));
  EXPECT_EQ(Text(32000, u'x'), NameOf(u"C:\\" + Text(32000, u'x')));
}

TEST_F(TextFilesTest, EveryShortPathHasTheNameOfANaiveSearch) {
  constexpr TextView kAlphabet = u"\\a.";
  for (int code = 0; code < 729; ++code) {
    for (std::size_t length = 0; length <= 6; ++length) {
      Text path;
      for (int rest = code; path.size() < length; rest /= 3) {
        path.push_back(kAlphabet[static_cast<std::size_t>(rest % 3)]);
      }
      ASSERT_EQ(naive::FileNameFromPath(path), NameOf(path));
    }
  }
}

// ---- Copying -----------------------------------------------------------------------------------

constexpr TextView kCopy = u"C:\\Data\\copy.txt";

TEST_F(TextFilesTest, ACopyKeepsTheAttributesOfWhatItReplaces) {
  Put(kPath, "new", 4);
  for (std::int32_t attributes = 1; attributes < 64; ++attributes) {
    Put(kCopy, "old", attributes);
    Copy(kPath, kCopy);
    EXPECT_EQ("new", At(kCopy).bytes);
    EXPECT_EQ(attributes, At(kCopy).attributes);
  }
  EXPECT_EQ(4, At(kPath).attributes);
}

TEST_F(TextFilesTest, ANewCopyTakesWhatTheCopyGivesIt) {
  Put(kPath, "new", 4);
  Copy(kPath, kCopy);
  EXPECT_EQ(4, At(kCopy).attributes);
  Put(kCopy, "old", 0);
  Copy(kPath, kCopy);
  EXPECT_EQ(4, At(kCopy).attributes);
}

TEST_F(TextFilesTest, AFailingCopyRaisesItsErrorWithoutAReport) {
  Put(kCopy, "old", 3);
  EXPECT_EQ(53, ErrorOf([&] { Copy(kPath, kCopy); }));
  EXPECT_EQ("old", At(kCopy).bytes);
  EXPECT_EQ(0, At(kCopy).attributes);
  Put(kPath, "new");
  EXPECT_EQ(76, ErrorOf([&] { Copy(kPath, u"C:\\No\\f"); }));
  EXPECT_EQ(70, ErrorOf([&] { Copy(kPath, u"C:\\Data"); }));
  ExpectReports({});
}

TEST_F(TextFilesTest, EveryFailingCallOfACopyIsRaised) {
  for (int call = 1; call <= 8; ++call) {
    Put(kPath, "new");
    Put(kCopy, "old", 3);
    platform_.fault = Fault(call, RuntimeError(57));
    EXPECT_EQ(57, ErrorOf([&] { Copy(kPath, kCopy); })) << call;
    EXPECT_EQ(call <= 6 ? "old" : "new", At(kCopy).bytes);
    EXPECT_EQ(call <= 5 ? 3 : 0, At(kCopy).attributes & 3);
  }
  Put(kCopy, "old", 3);
  platform_.fault = Fault(9, RuntimeError(57));
  Copy(kPath, kCopy);
  EXPECT_EQ(3, At(kCopy).attributes);
  ExpectReports({});
}

}  // namespace
}  // namespace brindlex
