#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

class CsvInputTest : public ConvertTest {
 protected:
  void Gives(std::string_view wanted, std::string_view csv, const CsvStyle& style = {}) {
    for (const std::size_t portion : {1U, 2U, 1000U}) {
      portion_ = portion;
      EXPECT_EQ(Delimited(wanted), FromCsv(csv, style)) << csv;
    }
  }

  void Refuses(std::string_view why, std::string_view csv) {
    const std::string refusal = RefusalOf([&] { FromCsv(csv); });
    EXPECT_NE(std::string::npos, refusal.find(why)) << csv << "\n" << refusal;
  }
};

TEST_F(CsvInputTest, ReadsRecords) {
  Gives("a|b|;1|2|;", "a,b\r\n1,2\r\n");
  Gives("a|b|;1|2|;", "a,b\n1,2");
  Gives("a|b|;1|2|;", "a,b\r1,2\r");
  Gives("a|b|;", "a,b\r\n");
  Gives("a|b|;|2|;1||;||;", "a,b\n,2\n1,\n,\n");
  Gives("a|;|;x|;", "a\n\"\"\nx\n");
  Gives("a|;x|;", "a\n\n\nx\n");
  Gives("a|a||;1|2|3|;", "a,a,\n1,2,3\n");
  Gives("", "");
  Gives("", "\r\n\r\n");
  Gives("a|;1|;",
        "\xEF\xBB\xBF"
        "a\n1\n");
  Gives("a|;\xE9|;", "a\n\xC3\xA9\n");
}

TEST_F(CsvInputTest, ReadsQuotationMarks) {
  Gives("a|b|;x,\"y\"\r\nz| 2 |;", "a,b\r\n\"x,\"\"y\"\"\r\nz\", 2 \r\n");
  Gives("a|;\"\"|;", "a\n\"\"\"\"\"\"\n");
  Gives("a|b|;1,5|2|;", "a;b\n1,5;2\n", {';', false});
  EXPECT_EQ(Delimited("a|;") + std::string("x\0y", 3) + Delimited("|;"),
            FromCsv(std::string_view("a\nx\0y\n", 6)));
}

TEST_F(CsvInputTest, TakesGuardsOff) {
  Gives("a|;=1|;'x|;'=1|;", "a\n'=1\n'x\n''=1\n", {',', true});
  Gives("a|;'=1|;", "a\n'=1\n");
}

TEST_F(CsvInputTest, RefusesWhatIsNoTable) {
  Refuses("row 2 has 1 values, the header 2", "a,b\n1\n");
  Refuses("row 3 has more than 2 values, the header 2", "a,b\n1,2\n1,2,3\n");
  Refuses("row 2: a quotation mark inside", "a\nx\"y\n");
  Refuses("row 2: a quotation mark inside", "a\n\"x\"y\n");
  Refuses("row 2: the quotation mark that opens", "a\n\"x\n");
  Refuses("row 2, \"a\": it is not UTF-8", "a\n\xE9\n");
}

TEST_F(CsvInputTest, ReadsLongValues) {
  const std::string value(300'000, 'x');
  portion_ = 70'000;
  EXPECT_EQ(Delimited("a|;" + value + "|;"), FromCsv("a\n\"" + value + "\"\n"));
}

}  // namespace
}  // namespace brindlex::cli
