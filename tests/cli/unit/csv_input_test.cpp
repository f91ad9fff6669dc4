#include <optional>
#include <random>
#include <vector>

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

  void Refuses(std::string_view why, std::string_view csv, const CsvReading& reading = {','}) {
    const std::string refusal = RefusalOf([&] { FromCsv(csv, reading); });
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
  Refuses("row 2 has 1 value, the header 2; --ragged pad", "a,b\n1\n");
  Refuses("row 3 has more than 2 values, the header 2", "a,b\n1,2\n1,2,3\n");
  Refuses("row 2: a quotation mark inside", "a\nx\"y\n");
  Refuses("row 2: a quotation mark inside", "a\n\"x\"y\n");
  Refuses("row 2: the quotation mark that opens", "a\n\"x\n");
  Refuses("row 2, \"a\": it is not UTF-8", "a\n\xE9\n");
}

TEST_F(CsvInputTest, DetectsTheDelimiterFromTheHeaderLine) {
  std::vector<std::string> notices;
  CsvReading reading;
  reading.notice = [&](const std::string& notice) { notices.push_back(notice); };
  EXPECT_EQ(Delimited("a|b|;1,5|2|;"), FromCsv("a;b\n1,5;2\n", reading));
  // Delimited would take the semicolon for a marker.
  EXPECT_EQ(Delimited("a|b, c|d|;1|") + ";" + Delimited("||;"),
            FromCsv("\n\na\tb, c\td\n1\t;\t\n", reading));
  EXPECT_EQ("a;b" + Delimited("|c|;1|2|;"), FromCsv("\"a;b\",c\n1,2\n", reading));
  EXPECT_EQ(Delimited("a,b|c|;1|2|;"), FromCsv("\"a,b\";c\n1;2\n", reading));
  EXPECT_EQ(Delimited("a|;") + "1;2" + Delimited("|;"), FromCsv("a\n1;2\n", reading));
  ASSERT_EQ(3U, notices.size());
  EXPECT_EQ(
      "semicolons separate the values, by the header line; --delimiter names another character",
      notices[0]);
  EXPECT_EQ("tabs", notices[1].substr(0, 4));
}

TEST_F(CsvInputTest, TreatsRaggedRowsAsToldTo) {
  const CsvReading pad{',', false, Ragged::kPad};
  EXPECT_EQ(Delimited("a|b|;1||;2|3|;"), FromCsv("a,b\n1\n2,3,,\n", pad));
  Refuses("row 2 has more than 2 values, the header 2; --ragged drop", "a,b\n1,2,3\n", pad);
  CsvReading drop{',', false, Ragged::kDrop};
  std::string noticed;
  drop.notice = [&](const std::string& notice) { noticed = notice; };
  EXPECT_EQ(Delimited("a|b|;2|3|;"), FromCsv("a,b\n1\n2,3\n1,2,3\n", drop));
  EXPECT_EQ("left out: 2 rows with more or fewer values than the header's 2, the first is row 2",
            noticed);
}

TEST_F(CsvInputTest, ReadsOtherEncodings) {
  for (const std::size_t portion : {1U, 2U, 3U, 1000U}) {
    portion_ = portion;
    for (const char* const name : {"utf-16le", "utf-16be"}) {
      const Encoding encoding = *Encoding::Named(name);
      std::string bytes(encoding.ByteOrderMark());
      encoding.FromUtf8("a,b\r\n\xC3\xA9,\xE2\x82\xAC\r\n", bytes);
      EXPECT_EQ(Delimited("a|b|;\xE9|\x80|;"), FromCsv(bytes, CsvReading{}));
      CsvReading given;
      given.encoding = encoding;
      EXPECT_EQ(Delimited("a|b|;\xE9|\x80|;"), FromCsv(bytes.substr(2), given));
      Refuses("ill-formed utf-16", bytes + "\n");
    }
    CsvReading page;
    page.encoding = Encoding();
    EXPECT_EQ(Delimited("a|;\xE9|;"), FromCsv("a\n\xE9\n", page));
    Refuses("it is not UTF-8; --input-encoding", "a\n\xE9\n");
    Refuses("it is not UTF-8; --input-encoding", "a\nx\xC3");
  }
}

TEST_F(CsvInputTest, TakesTheFormOfAFileFromAColumn) {
  const std::string name =
      "brindlex-format encoding=utf-8 bom=true field-end=U+001F record-end=U+001E line-breaks=1 "
      "tail=0D0A1A";
  const std::string wanted =
      "\xEF\xBB\xBF"
      "a\x1F"
      "b\x1F\x1E\r\n"
      "1\x1F"
      "2\x1F\x1E\r\n\x1A";
  EXPECT_EQ(wanted, FromCsv("a,b," + name + "\n1,2,\n", CsvReading{}));
  EXPECT_EQ(wanted, FromCsv(name + ",a,b\nwhatever,1,2\n", CsvReading{}));
  EXPECT_EQ("\xEF\xBB\xBF", FromCsv(name + "\n", CsvReading{}).substr(0, 3));
  Refuses("two columns", name + "," + name + "\n");
  Refuses("does not know", "a,brindlex-format colour=red\n");
  Refuses("does not know", "a,brindlex-format line-breaks=4\n");
  Refuses("does not know", "a,brindlex-format tail=41\n");
  Refuses("there is no character of that number", "a,brindlex-format field-end=U+D800\n");
  EXPECT_EQ(Delimited("brindlex-formats|;1|;"), FromCsv("brindlex-formats\n1\n", CsvReading{}));
}

// ---- An independent model -----------------------------------------------------------------------

/// The rows of a text, by one character after the other; nothing for a text that is refused.
std::optional<std::vector<std::vector<std::string>>> NaiveRows(const std::string& csv) {
  std::vector<std::vector<std::string>> rows;
  std::size_t at = 0;
  const auto isEnd = [&] { return at == csv.size() || csv[at] == '\r' || csv[at] == '\n'; };
  while (at < csv.size()) {
    if (isEnd()) {
      ++at;
      continue;
    }
    rows.emplace_back();
    for (bool isMore = true; isMore;) {
      std::string value;
      if (at < csv.size() && csv[at] == '"') {
        for (++at;; ++at) {
          if (at == csv.size()) return std::nullopt;
          if (csv[at] == '"' && csv.substr(at, 2) != "\"\"") break;
          if (csv[at] == '"') ++at;
          value += csv[at];
        }
        ++at;
        if (!isEnd() && csv[at] != ',') return std::nullopt;
      } else {
        for (; !isEnd() && csv[at] != ','; ++at) {
          if (csv[at] == '"') return std::nullopt;
          value += csv[at];
        }
      }
      rows.back().push_back(value);
      isMore = !isEnd();
      if (isMore) ++at;
    }
  }
  for (const auto& row : rows) {
    if (row.size() != rows.front().size()) return std::nullopt;
  }
  return rows;
}

TEST_F(CsvInputTest, AgreesWithAModelOnGeneratedTexts) {
  std::mt19937 random(20260502);
  const std::string alphabet = "a,,\"\"\"\r\n\n";
  int taken = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string csv = round % 2 == 0 ? "x,y\n" : "";
    for (std::size_t left = random() % 12; left > 0; --left)
      csv += alphabet[random() % alphabet.size()];
    const auto rows = NaiveRows(csv);
    std::string wanted;
    if (rows) {
      for (const auto& row : *rows) {
        for (const std::string& value : row) wanted += value + "|";
        wanted += ";";
      }
    }
    portion_ = 1 + random() % 5;
    std::string made;
    const std::string refusal = RefusalOf([&] { made = FromCsv(csv, CsvReading{','}); });
    // A record that begins with a line break is another refusal.
    if (refusal.find("line break") != std::string::npos) continue;
    ASSERT_EQ(rows.has_value(), refusal.empty()) << csv << "\n" << refusal;
    ASSERT_EQ(Delimited(wanted), made) << csv;
    if (rows) ++taken;
  }
  EXPECT_GT(taken, 4'000);
}

TEST_F(CsvInputTest, ReadsLongValues) {
  const std::string value(300'000, 'x');
  portion_ = 70'000;
  EXPECT_EQ(Delimited("a|;" + value + "|;"), FromCsv("a\n\"" + value + "\"\n"));
}

}  // namespace
}  // namespace brindlex::cli
