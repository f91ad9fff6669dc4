#include "cli/format/table_copy.h"

#include "cli/format/collection_reader.h"
#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

/// What is lost when the records of `text` are copied with so many line breaks expected.
std::vector<std::string> LostOf(const std::string& text, int lineBreaks) {
  Input input("file", Delimited(text), kInputBlock);
  const FileFormat format = DetectFormat(input, {});
  LossReport lossReport;
  const auto writer = MakeDelimitedWriter([](std::string_view) {}, {});
  CopyTables(input, format, {}, *writer, lossReport, lineBreaks);
  return lossReport.Sentences();
}

TEST(TableCopyTest, LineBreaksAreLostUnlessTheyAreExpected) {
  const std::string one = "a|;\r\n1|;\r\n2|;\r\n";
  EXPECT_EQ(1U, LostOf(one, 0).size());
  EXPECT_TRUE(LostOf(one, 1).empty());
  EXPECT_EQ(1U, LostOf(one, 2).size());
  EXPECT_TRUE(LostOf(one, kAnyLineBreaks).empty());
}

TEST(TableCopyTest, AnotherNumberOfLineBreaksIsLost) {
  const std::string uneven = "a|;\r\n1|;2|;\r\n";
  EXPECT_EQ(1U, LostOf(uneven, 1).size());
  EXPECT_NE(std::string::npos, LostOf(uneven, 1).front().find("at byte 8"));
  EXPECT_TRUE(LostOf(uneven, kAnyLineBreaks).empty());
}

TEST(TableCopyTest, LineBreaksBetweenCollectionsAreLostUnlessAnyAreExpected) {
  const std::string several = "DataString|Name|;\r\na<>1<>|x|;\r\n|y|;\r\n";
  EXPECT_EQ(1U, LostOf(several, 0).size());
  EXPECT_TRUE(LostOf(several, kAnyLineBreaks).empty());
}

TEST(TableCopyTest, ARefusalNamesTheCollection) {
  LossReport lossReport;
  const auto writer = MakeDelimitedWriter([](std::string_view) {}, {});
  FormatOptions options;
  options.encoding = "utf-8";
  Input text("file",
             "DataString\xC2\xA5Name\xC2\xA5\xC5\x92"
             "a\xC2\xBB\xC5\xA0\xD0\xB6\xC2\xBB"
             "\xC5\xA0\xC2\xA5x\xC2\xA5\xC5\x92",
             kInputBlock);
  const std::string refusal =
      RefusalOf([&] { CopyTables(text, DetectFormat(text, options), {}, *writer, lossReport); });
  EXPECT_TRUE(refusal.starts_with("record 1 in \"x\", \"a\": it holds ")) << refusal;
}

}  // namespace
}  // namespace brindlex::cli
