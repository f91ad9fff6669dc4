#include "environment/report.h"

#include <gtest/gtest.h>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

PendingError Pending(std::int32_t number, TextView description, std::int32_t line) {
  return {RuntimeError(number, Text(description), u"a source that no report shows"), line};
}

TEST(ReportTest, HasOneButtonAndTheExclamationIcon) { EXPECT_EQ(48U, Report::kStyle); }

TEST(ReportTest, HasNoErrorAtFirst) {
  const Report report;
  EXPECT_EQ(0, report.number);
  EXPECT_EQ(0, report.line);
}

TEST(TaggedReportTest, TheTagIsItsFirstLine) {
  EXPECT_EQ((Report{u"Error GMN", u"Error GMN\r\n\r\nD Number: 91 Line: 0"}),
            TaggedReport(u"Error GMN", u"Error GMN", Pending(91, u"D", 0)));
}

TEST(TaggedReportTest, ASentenceMayStandInsteadOfTheTag) {
  EXPECT_EQ((Report{u"Error DFO",
                    u"Error creating working collection\r\n\r\n"
                    u"Object variable or With block variable not set Number: 91 Line: 120"}),
            TaggedReport(u"Error DFO", u"Error creating working collection",
                         Pending(91, StandardDescription(91), 120)));
}

TEST(TaggedReportTest, NumbersAreDecimalWithTheirSign) {
  EXPECT_EQ((Report{u"T", u"T\r\n\r\n Number: 0 Line: 0"}),
            TaggedReport(u"T", u"T", Pending(0, u"", 0)));
  EXPECT_EQ((Report{u"T", u"T\r\n\r\nD Number: -2147467259 Line: -1"}),
            TaggedReport(u"T", u"T", Pending(-2147467259, u"D", -1)));
  EXPECT_EQ((Report{u"T", u"T\r\n\r\nD Number: -2147483648 Line: 2147483647"}),
            TaggedReport(u"T", u"T", Pending(-2147483647 - 1, u"D", 2147483647)));
}

TEST(TaggedReportTest, TheDescriptionIsShownAsItStands) {
  const Text odd(u"\r\n Number: \0\xD800", 13);
  EXPECT_EQ((Report{u"T", u"F\r\n\r\n" + odd + u" Number: 5 Line: 1"}),
            TaggedReport(u"T", u"F", Pending(5, odd, 1)));
}

TEST(LocatedReportTest, Rows) {
  EXPECT_EQ((Report{u"Application Error",
                    u"D No. 5\r\nin Brindlex.modSystemFolders.FindSystemFolder at line 0"}),
            LocatedReport(u"in Brindlex.modSystemFolders.FindSystemFolder ", Pending(5, u"D", 0)));
  EXPECT_EQ((Report{u"Application Error",
                    u"Invalid procedure call or argument No. 5\r\n"
                    u"in Brindlex.clsCollectionSaveRestore.SplitString at line 10"}),
            LocatedReport(u"in Brindlex.clsCollectionSaveRestore.SplitString ",
                          Pending(5, StandardDescription(5), 10)));
  EXPECT_EQ((Report{u"Application Error",
                    u" No. -2147467259\r\n"
                    u"in zrKX4.clsCollectionSaveRestore.GetObjectFromString at line -3"}),
            LocatedReport(u"in zrKX4.clsCollectionSaveRestore.GetObjectFromString ",
                          Pending(-2147467259, u"", -3)));
}

TEST(ContextualReportTest, TheSentenceBringsItsOwnLineBreaks) {
  EXPECT_EQ((Report{u"KX Error",
                    u"There was an error [FTS-W] opening a file: C:\\a.txt\r\n"
                    u"Error: Permission denied Error Number: 70 Line: 30"}),
            ContextualReport(u"There was an error [FTS-W] opening a file: C:\\a.txt\r\n",
                             Pending(70, u"Permission denied", 30)));
}

TEST(ContextualReportTest, TheContextFollowsTheLineDirectly) {
  EXPECT_EQ(
      (Report{u"KX Error", u"S\r\n\r\nError: D Error Number: -5 Line: 0Trying to save: the text"}),
      ContextualReport(u"S\r\n\r\n", Pending(-5, u"D", 0), u"Trying to save: the text"));
}

TEST(ShortContextualReportTest, HasNoBlankBehindTheTagAndNoColonBehindLine) {
  EXPECT_EQ((Report{u"KX Error", u"Error FN1D Error Number: 5 Line 0"}),
            ShortContextualReport(u"Error FN1", Pending(5, u"D", 0)));
  EXPECT_EQ((Report{u"KX Error", u"Error FN1Overflow Error Number: -6 Line -20"}),
            ShortContextualReport(u"Error FN1", Pending(-6, u"Overflow", -20)));
}

}  // namespace
}  // namespace brindlex
