#include "cli/convert/csv_text.h"

#include <gtest/gtest.h>

namespace brindlex::cli {
namespace {

std::string Field(std::string_view value, const CsvStyle& style = {}, bool only = false) {
  ByteBuffer csv;
  AppendCsvField(csv, value, style, only);
  return std::string(csv.View());
}

TEST(CsvText, QuotesWhatNeedsIt) {
  EXPECT_EQ("plain text", Field("plain text"));
  EXPECT_EQ("", Field(""));
  EXPECT_EQ("\"\"", Field("", {}, true));
  EXPECT_EQ("\"a,b\"", Field("a,b"));
  EXPECT_EQ("a;b", Field("a;b"));
  EXPECT_EQ("\"a;b\"", Field("a;b", {';', false}));
  EXPECT_EQ("\"say \"\"hi\"\"\"", Field("say \"hi\""));
  EXPECT_EQ("\"a\rb\"", Field("a\rb"));
  EXPECT_EQ("\"a\nb\"", Field("a\nb"));
  EXPECT_EQ("\" a\"", Field(" a"));
  EXPECT_EQ("\"a\t\"", Field("a\t"));
  EXPECT_EQ("\"\xEF\xBB\xBFid\"", Field("\xEF\xBB\xBFid"));
}

TEST(CsvText, QuotesForASeparatorAnywhere) {
  constexpr std::size_t kLongest = 40;
  for (std::size_t length = 1; length <= kLongest; ++length) {
    const std::string plain(length, 'x');
    EXPECT_EQ(plain, Field(plain, {';', false}));
    for (std::size_t index = 0; index < length; ++index) {
      for (const char separator : {';', '"', '\r', '\n'}) {
        std::string value = plain;
        value[index] = separator;
        EXPECT_EQ('"', Field(value, {';', false}).front()) << length << " " << index;
      }
    }
  }
}

TEST(CsvText, GuardsFormulas) {
  const CsvStyle guarded{',', true};
  for (const char* const formula : {"=1+1", "+A1", "-A1", "@SUM(A1)", "\tx", "\r=x", "-5-6", "+",
                                    "-", "-1.5.2", "'=1", "''@x"}) {
    EXPECT_TRUE(LooksLikeFormula(formula)) << formula;
    EXPECT_EQ(formula, WithoutGuard(std::string("'") + formula));
  }
  for (const char* const harmless :
       {"", "a=1", "-5", "+5", "-5.25", "-5,25", "1-2", "'", "'a", "''", "'-5"}) {
    EXPECT_FALSE(LooksLikeFormula(harmless)) << harmless;
    EXPECT_EQ(harmless, WithoutGuard(harmless));
    EXPECT_EQ(harmless, Field(harmless, {';', true}));
  }
  EXPECT_EQ("'=1+1", Field("=1+1", guarded));
  EXPECT_EQ("\"'=1,1\"", Field("=1,1", guarded));
  EXPECT_EQ("=1+1", Field("=1+1"));
}

TEST(CsvText, DecidesByTheBeginningOfALongValue) {
  const std::string digits(200, '1');
  EXPECT_TRUE(LooksLikeFormula("-" + digits));
  EXPECT_FALSE(LooksLikeFormula(std::string(2000, '\'') + "=1"));
}

}  // namespace
}  // namespace brindlex::cli
