#include "environment/mod_system_folders.h"

#include <gmock/gmock.h>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

constexpr std::int32_t kFolder = 35;
constexpr std::size_t kBufferSize = 260;

Report FolderReport(std::int32_t number) {
  Text text(StandardDescription(number));
  text.append(u" No. ").append(DecimalText(number));
  text.append(u"\r\nin Brindlex.modSystemFolders.FindSystemFolder at line 0");
  return {u"Application Error", std::move(text)};
}

class FindSystemFolderTest : public HostTest {
 protected:
  Text Find() { return FindSystemFolder(platform_, kFolder); }
  Text FindIn(TextView buffer) {
    platform_.shellFolders[kFolder].path = buffer;
    return Find();
  }
};

TEST_F(FindSystemFolderTest, YieldsThePathOfTheFolderThatWasAskedFor) {
  platform_.shellFolders[35].path = u"C:\\ProgramData";
  platform_.shellFolders[-1].path = u"C:\\Windows";
  EXPECT_EQ(u"C:\\ProgramData", FindSystemFolder(platform_, 35));
  EXPECT_EQ(u"C:\\Windows", FindSystemFolder(platform_, -1));
  EXPECT_TRUE(platform_.reports.empty());
}

TEST_F(FindSystemFolderTest, AFolderThatTheShellRejectsIsEmptyWithoutAReport) {
  EXPECT_EQ(u"", Find());
  EXPECT_TRUE(platform_.reports.empty());
}

TEST_F(FindSystemFolderTest, OnlyTheStatusOneIsAPath) {
  platform_.shellFolders[kFolder].path = u"C:\\ProgramData";
  for (const std::int32_t status : {0, 2, -1, 0x7FFFFFFF}) {
    platform_.shellFolders[kFolder].pathStatus = status;
    EXPECT_EQ(u"", Find()) << status;
  }
  EXPECT_TRUE(platform_.reports.empty());
}

/// A slow and obviously right reading of a whole buffer; nothing when no NUL ends it.
std::optional<Text> NaivePath(Text text) {
  const auto trim = [](Text& trimmed) {
    while (!trimmed.empty() && trimmed.front() == u' ') trimmed.erase(0, 1);
    while (!trimmed.empty() && trimmed.back() == u' ') trimmed.pop_back();
  };
  trim(text);
  Text path;
  for (const char16_t unit : text) {
    if (unit == u'\0') {
      trim(path);
      return path;
    }
    path.push_back(unit);
  }
  return std::nullopt;
}

TEST_F(FindSystemFolderTest, EveryBufferThatDiffersInAFewCharacters) {
  constexpr TextView kAlphabet(u"\0 ab", 4);
  constexpr int kLength = 5;
  // Behind the few characters comes what the shell left alone: NULs, or a buffer full to its end.
  for (const char16_t filling : {u'\0', u' ', u'x'}) {
    for (int code = 0; code < 1024; ++code) {
      Text buffer(kBufferSize, filling);
      for (int at = 0, rest = code; at < kLength; ++at, rest /= 4) {
        buffer[static_cast<std::size_t>(at)] = kAlphabet[static_cast<std::size_t>(rest % 4)];
      }
      const std::optional<Text> expected = NaivePath(buffer);
      platform_.reports.clear();
      ASSERT_EQ(expected.value_or(u""), FindIn(buffer)) << int{filling} << ' ' << code;
      ASSERT_EQ(expected ? 0U : 1U, platform_.reports.size());
    }
  }
}

TEST_F(FindSystemFolderTest, BlanksAreTrimmedAtBothEndsAndNothingElse) {
  EXPECT_EQ(u"C:\\All Users", FindIn(u"  C:\\All Users "));
  EXPECT_EQ(u"\tC:\\All Users\u00A0", FindIn(u"\tC:\\All Users\u00A0"));
  EXPECT_EQ(u"", FindIn(u"   "));
}

TEST_F(FindSystemFolderTest, AsLongAPathAsFits) {
  EXPECT_EQ(Text(kBufferSize - 1, u'x'), FindIn(Text(kBufferSize - 1, u'x')));
}

TEST_F(FindSystemFolderTest, ABufferWithoutANulIsErrorFive) {
  EXPECT_EQ(u"", FindIn(Text(kBufferSize, u'x')));
  EXPECT_THAT(platform_.reports, ElementsAre(FolderReport(5)));
}

TEST_F(FindSystemFolderTest, AFailingCallIsReported) {
  platform_.shellFolders[kFolder].path = u"C:\\ProgramData";
  for (const int call : {1, 2}) {
    platform_.reports.clear();
    platform_.fault = Fault(call, RuntimeError(53));
    EXPECT_EQ(u"", Find());
    EXPECT_THAT(platform_.reports, ElementsAre(FolderReport(53)));
  }
}

}  // namespace
}  // namespace brindlex
