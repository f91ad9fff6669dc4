#include "cli/text/escape.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "cli/io/progress.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

std::string Text(std::initializer_list<char32_t> characters) {
  std::string text;
  for (const char32_t character : characters) AppendUtf8(character, text);
  return text;
}

struct Row {
  std::string text;
  std::string escaped;
};

TEST(Escaped, Rows) {
  const Row rows[] = {
      {"", ""},
      {"plain \u00E4 \u4E2D \U0001F600", "plain \u00E4 \u4E2D \U0001F600"},
      {R"(back\slash "quoted")", R"(back\slash "quoted")"},
      {"\x1B]0;title\x07", R"(\x1B]0;title\x07)"},
      {std::string("\0\x7F", 2), R"(\x00\x7F)"},
      {"one\r\ntwo\tthree", R"(one\x0D\x0Atwo\x09three)"},
      {"\u0085\u009B31m", R"(\x85\x9B31m)"},
      {Text({0x61C, 0x200E, 0x200F, 0x2028, 0x2029}), R"(\u061C\u200E\u200F\u2028\u2029)"},
      {Text({0x202A, 0x202B, 0x202C, 0x202D, 0x202E}), R"(\u202A\u202B\u202C\u202D\u202E)"},
      {Text({0x2066, 0x2067, 0x2068, 0x2069}), R"(\u2066\u2067\u2068\u2069)"},
      {"\u200D\u2010\u202F\u2065\u206A", "\u200D\u2010\u202F\u2065\u206A"},
      {"\xFF", R"(\xFF)"},
      {"\xC3(", R"(\xC3()"},
      {"\xED\xA0\x80", R"(\xED\xA0\x80)"},
      {"\xC1\x9B", R"(\xC1\x9B)"},
      {"\xF4\x90\x80\x80", R"(\xF4\x90\x80\x80)"},
      {"\xE2\x80", R"(\xE2\x80)"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.escaped, Escaped(row.text));
    EXPECT_EQ(row.escaped, Escaped(row.escaped)) << "once more";
  }
}

TEST(Escaped, EveryCharacterIsShownOrEscaped) {
  for (char32_t number = 0; number <= 0x10FFFF; ++number) {
    if (number >= 0xD800 && number <= 0xDFFF) continue;
    std::string text;
    AppendUtf8(number, text);
    const bool isEscaped = Escaped(text) != text;
    const bool acts = number < 0x20 || (number >= 0x7F && number < 0xA0) || number == 0x61C ||
                      number == 0x200E || number == 0x200F ||
                      (number >= 0x2028 && number <= 0x202E) ||
                      (number >= 0x2066 && number <= 0x2069);
    ASSERT_EQ(acts, isEscaped) << static_cast<unsigned>(number);
  }
}

TEST(Escaped, IsTruncatedBetweenCharacters) {
  EXPECT_EQ("\u00E4\u00E4", Escaped("\u00E4\u00E4", 2));
  EXPECT_EQ("\u00E4\u00E4\u2026", Escaped("\u00E4\u00E4\u00E4", 2));
  EXPECT_EQ("\\x1B\u2026", Escaped("\x1B\x1B", 1));
  EXPECT_EQ("\u2026", Escaped("a", 0));
  EXPECT_EQ("", Escaped("", 0));
}

TEST(Quoted, IsTruncatedAndKeepsItsQuotationMarks) {
  EXPECT_EQ("\"a\\x22b\"", Quoted("a\"b"));
  EXPECT_EQ("\"" + std::string(40, 'x') + "\"", Quoted(std::string(40, 'x')));
  EXPECT_EQ("\"" + std::string(40, 'x') + "\u2026\"", Quoted(std::string(1000, 'x')));
}

TEST(ShownPath, IsAsLongAsPathsCanBe) {
  EXPECT_EQ(std::string(4096, 'x'), ShownPath(std::string(4096, 'x')));
  EXPECT_EQ(std::string(4096, 'x') + "\u2026", ShownPath(std::string(100'000, 'x')));
}

TEST(AppendToList, NamesTheFirstTwenty) {
  std::string list;
  for (std::size_t index = 0; index < 100; ++index) AppendToList(list, "n", index);
  std::string expected = "\"n\"";
  for (int count = 1; count < 20; ++count) expected += ", \"n\"";
  EXPECT_EQ(expected + ", \u2026", list);
}

TEST(ProgressLine, IsTruncatedBetweenCharacters) {
  for (int columns = 0; columns < 40; ++columns) {
    const std::string line = ProgressLine("\u4E2D\u00E4\U0001F600", 500, 1000, columns);
    EXPECT_EQ(line.size(), ValidUtf8(line)) << columns;
  }
}

}  // namespace
}  // namespace brindlex::cli
