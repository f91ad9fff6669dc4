#include "platform/text_rows.h"

#include <gmock/gmock.h>

namespace brindlex {
namespace {

using testing::ElementsAre;

std::vector<Text> RowsOf(TextView text, std::size_t columns) {
  const TextRows rows(text, columns);
  std::vector<Text> all;
  for (std::size_t row = 0; row < rows.Count(); ++row) all.emplace_back(rows.Row(row));
  return all;
}

TEST(TextRowsTest, LineBreaksOfEveryKindEndARow) {
  EXPECT_THAT(RowsOf(u"one\r\ntwo\nthree\rfour", 20),
              ElementsAre(u"one", u"two", u"three", u"four"));
  EXPECT_THAT(RowsOf(u"\r\n\r\n\n\r", 20), ElementsAre(u"", u"", u"", u"", u""));
  EXPECT_THAT(RowsOf(u"one\r\n", 20), ElementsAre(u"one", u""));
  EXPECT_THAT(RowsOf(u"", 20), ElementsAre(u""));
}

TEST(TextRowsTest, ARowEndsAfterTheLastBlankThatFits) {
  EXPECT_THAT(RowsOf(u"one two three", 8), ElementsAre(u"one two ", u"three"));
  EXPECT_THAT(RowsOf(u"one two three", 7), ElementsAre(u"one ", u"two ", u"three"));
  EXPECT_THAT(RowsOf(u"abcdefgh", 3), ElementsAre(u"abc", u"def", u"gh"));
  EXPECT_THAT(RowsOf(u"abcdef", 3), ElementsAre(u"abc", u"def"));
  EXPECT_THAT(RowsOf(u"abc\r\ndef", 3), ElementsAre(u"abc", u"def"));
}

TEST(TextRowsTest, WideCharactersTakeTwoColumnsAndPairsStayTogether) {
  EXPECT_THAT(RowsOf(u"\u65E5\u672C\u8A9Ex", 5), ElementsAre(u"\u65E5\u672C", u"\u8A9Ex"));
  EXPECT_THAT(RowsOf(u"a\U0001F600\U0001F600", 4), ElementsAre(u"a\U0001F600", u"\U0001F600"));
  EXPECT_THAT(RowsOf(u"\U0001F600\U0001F600", 2), ElementsAre(u"\U0001F600", u"\U0001F600"));
}

/// The row breaks put in one unit at a time.
std::vector<Text> NaiveRows(Text rest, std::size_t columns) {
  std::vector<Text> rows(1);
  while (!rest.empty()) {
    if (rest[0] == u'\r' || rest[0] == u'\n') {
      rest.erase(0, rest.rfind(u"\r\n", 0) == 0 ? 2 : 1);
      rows.emplace_back();
    } else if (rows.back().size() < columns) {
      rows.back().push_back(rest[0]);
      rest.erase(0, 1);
    } else {
      // Full: what follows the last blank belongs to the next row.
      const std::size_t blank = rows.back().rfind(u' ');
      const std::size_t end = blank == Text::npos ? columns : blank + 1;
      rest.insert(0, rows.back().substr(end));
      rows.back().resize(end);
      rows.emplace_back();
    }
  }
  return rows;
}

TEST(TextRowsTest, EveryShortTextHasTheRowsOfANaiveLayout) {
  constexpr TextView kAlphabet = u"a \r\n";
  for (int code = 0; code < 4 * 4 * 4 * 4 * 4 * 4 * 4; ++code) {
    Text text;
    for (int rest = code; text.size() < 7; rest /= 4) {
      text.push_back(kAlphabet[static_cast<std::size_t>(rest % 4)]);
    }
    for (const std::size_t columns : {2U, 3U, 5U}) {
      ASSERT_EQ(NaiveRows(text, columns), RowsOf(text, columns)) << code << ' ' << columns;
    }
  }
}

TEST(TextRowsTest, AnyRowOfALongTextIsFound) {
  Text text;
  for (int row = 0; row < 1000; ++row) text.append(DecimalText(row)).append(u"\r\n");
  const TextRows rows(text, 10);
  ASSERT_EQ(1001U, rows.Count());
  for (int row = 999; row >= 0; --row) {
    EXPECT_EQ(DecimalText(row), rows.Row(static_cast<std::size_t>(row)));
  }
}

TEST(FitsMessageBoxTest, OrdinaryReportsDo) {
  EXPECT_TRUE(FitsMessageBox(u""));
  EXPECT_TRUE(FitsMessageBox(Text(100, u'x')));
  Text words;
  while (words.size() < 2000) words.append(u"Trying to save: ");
  EXPECT_TRUE(FitsMessageBox(words));
}

TEST(FitsMessageBoxTest, WhatIsHigherOrWiderThanAScreenDoesNot) {
  EXPECT_FALSE(FitsMessageBox(Text(101, u'x')));
  Text words;
  while (words.size() <= 2200) words.append(u"a ");
  EXPECT_FALSE(FitsMessageBox(words));
  Text lines;
  for (int line = 1; line < 40; ++line) lines.append(u"\r\n");
  EXPECT_TRUE(FitsMessageBox(lines));
  EXPECT_FALSE(FitsMessageBox(lines + u"\r\n"));
}

TEST(FitsMessageBoxTest, ANulWouldEndABox) { EXPECT_FALSE(FitsMessageBox(TextView(u"a\0b", 3))); }

}  // namespace
}  // namespace brindlex
