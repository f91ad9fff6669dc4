#include "cli/format/delimited_writer.h"

#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

class DelimitedWriterTest : public ConvertTest {
 protected:
  /// What is wrong with a value in the second of two columns.
  std::string Wrong(const std::string& value) {
    return RefusalOf([&] { FromCsv("a,b\n1,\"" + value + "\"\n"); });
  }
};

TEST_F(DelimitedWriterTest, RefusesMarkersInValues) {
  EXPECT_EQ("row 2, \"b\": it holds the field end \xC2\xA5 U+00A5, which would be read as a marker",
            Wrong("x\xC2\xA5"));
  EXPECT_EQ(
      "row 2, \"b\": it holds the record end \xC5\x92 U+0152, which would be read as a marker",
      Wrong("\xC5\x92"));
  EXPECT_EQ("", Wrong("\xC2\xBB\xC5\xA0")) << "inner markers are data in a text by itself";
  EXPECT_EQ(
      "the header, \"b\xC2\xA5\": it holds the field end \xC2\xA5 U+00A5, which would be read as "
      "a marker",
      RefusalOf([&] { FromCsv("a,b\xC2\xA5\n"); }));
}

TEST_F(DelimitedWriterTest, RefusesAllFourMarkersInsideSeveral) {
  for (const char* const marker : {"\xC2\xA5", "\xC5\x92", "\xC2\xBB", "\xC5\xA0"}) {
    EXPECT_NE("",
              RefusalOf([&] { FromJson(std::string(R"({"N":[{"a":")") + marker + R"("}]})"); }));
  }
  EXPECT_EQ("", RefusalOf([&] { FromJson("{\"N\xC2\xBB\":[],\"M\xC2\xBB\":[]}"); }));
  EXPECT_NE("", RefusalOf([&] { FromJson("{\"N\xC2\xA5\":[]}"); }));
}

TEST_F(DelimitedWriterTest, RefusesCharactersThatTheEncodingLacks) {
  EXPECT_EQ(
      "row 2, \"b\": it holds \xCE\xB1 U+03B1, which windows-1252 does not have; "
      "--encoding utf-8 has every character",
      Wrong("x\xCE\xB1"));
  form_.encoding = *Encoding::Named("utf-8");
  EXPECT_EQ("", Wrong("x\xCE\xB1"));
}

TEST_F(DelimitedWriterTest, RefusesARecordThatBeginsWithALineBreak) {
  EXPECT_EQ("row 2 begins with a line break, which is dropped after a record end",
            RefusalOf([&] { FromCsv("a\n\"\r\nx\"\n"); }));
  EXPECT_EQ("", RefusalOf([&] { FromCsv("\"\r\na\"\n1\n"); })) << "nothing precedes the header";
  EXPECT_EQ("", RefusalOf([&] { FromCsv("a\n\"\nx\"\n"); })) << "half a line break";
  EXPECT_NE("", RefusalOf([&] { FromJson("{\"N\":[{\"\\r\\na\":\"1\"}]}"); }))
      << "the record end before it comes before the header of a collection";
}

TEST_F(DelimitedWriterTest, RefusesWhatLooksLikeAByteOrderMark) {
  EXPECT_NE("", RefusalOf([&] {
              FromCsv(
                  "\xC3\xAF\xC2\xBB\xC2\xBF"
                  "a\n1\n");
            }));
  form_.encoding = *Encoding::Named("utf-16");
  EXPECT_NE("", RefusalOf([&] { FromJson("[{\"\xEF\xBB\xBF\":\"1\"}]"); }));
  form_.hasByteOrderMark = true;
  EXPECT_EQ("", RefusalOf([&] { FromJson("[{\"\xEF\xBB\xBF\":\"1\"}]"); }));
}

TEST_F(DelimitedWriterTest, FindsMarkersOfUtf16AtEvenOffsetsOnly) {
  form_.encoding = *Encoding::Named("utf-16le");
  EXPECT_EQ("", Wrong("\xEA\x94\x80\xC4\x80")) << "U+A500 U+0100 hold the bytes A5 00 across";
  EXPECT_NE("", Wrong("\xC2\xA5"));
}

TEST_F(DelimitedWriterTest, WritesOtherForms) {
  form_.pair = MarkerPair{";", "\r\n"};
  EXPECT_EQ("a;b;\r\n1;2;\r\n", FromCsv("a,b\n1,2\n"));
  form_.pair.reset();
  form_.lineBreaks = 2;
  EXPECT_EQ(Delimited("a|;\r\n\r\n1|;\r\n\r\n"), FromCsv("a\n1\n"));
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { FromJson("{}"); }));
  form_ = {*Encoding::Named("utf-8"), {}, true, 0};
  EXPECT_EQ(
      "\xEF\xBB\xBF"
      "a\xC2\xA5\xC5\x92"
      "1\xC2\xA5\xC5\x92",
      FromCsv("a\n1\n"));
  EXPECT_EQ("\xEF\xBB\xBF", FromCsv(""));
}

}  // namespace
}  // namespace brindlex::cli
