#include "automation/text.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <vector>

#include "automation/case_fold_table.h"
#include "automation/hash_key.h"

namespace brindlex {
namespace {

constexpr int kUnits = 0x10000;

TEST(DecimalTextTest, WritesNumbersWithoutPadding) {
  EXPECT_EQ(u"0", DecimalText(0));
  EXPECT_EQ(u"7", DecimalText(7));
  EXPECT_EQ(u"-7", DecimalText(-7));
  EXPECT_EQ(u"10", DecimalText(10));
  EXPECT_EQ(u"457", DecimalText(457));
  EXPECT_EQ(u"2147483647", DecimalText(std::numeric_limits<std::int32_t>::max()));
  EXPECT_EQ(u"-2147483648", DecimalText(std::numeric_limits<std::int32_t>::min()));
  EXPECT_EQ(u"-2147467259", DecimalText(static_cast<std::int32_t>(0x80004005)));
}

struct FoldRow {
  char16_t unit;
  char16_t folded;
};

TEST(FoldCaseTest, Rows) {
  const FoldRow rows[] = {
      {u'\0', u'\0'},
      {u'0', u'0'},
      {u'@', u'@'},
      {u'A', u'a'},
      {u'Z', u'z'},
      {u'[', u'['},
      {u'a', u'a'},
      {u'{', u'{'},
      {u'\u00A5', u'\u00A5'},  // yen sign
      {u'\u00B5', u'\u03BC'},  // micro sign, Greek mu
      {u'\u00C4', u'\u00E4'},
      {u'\u00D7', u'\u00D7'},  // multiplication sign, between the letters
      {u'\u00DF', u'\u00DF'},  // sharp s
      {u'\u1E9E', u'\u00DF'},  // capital sharp s
      {u'\u00F7', u'\u00F7'},
      {u'\u0130', u'\u0130'},  // I with dot, dotless i: only a Turkish reader equates them to i
      {u'\u0131', u'\u0131'},
      {u'\u0152', u'\u0153'},
      {u'\u0160', u'\u0161'},
      {u'\u0178', u'\u00FF'},
      {u'\u017F', u's'},       // long s
      {u'\u01C4', u'\u01C6'},  // DZ with caron in its three cases
      {u'\u01C5', u'\u01C6'},
      {u'\u01C6', u'\u01C6'},
      {u'\u0391', u'\u03B1'},
      {u'\u03A3', u'\u03C3'},  // sigma, final sigma
      {u'\u03C3', u'\u03C3'},
      {u'\u03C2', u'\u03C3'},
      {u'\u0386', u'\u03AC'},
      {u'\u03A2', u'\u03A2'},  // not assigned
      {u'\u0401', u'\u0451'},
      {u'\u0410', u'\u0430'},
      {u'\u042F', u'\u044F'},
      {u'\u044F', u'\u044F'},
      {u'\u0531', u'\u0561'},  // Armenian
      {u'\u0556', u'\u0586'},
      {u'\u0557', u'\u0557'},
      {u'\u0587', u'\u0587'},  // a ligature that only full folding takes apart
      {u'\u10A0', u'\u2D00'},  // Georgian
      {u'\u10D0', u'\u10D0'},
      {u'\u1C90', u'\u10D0'},
      {u'\u13A0', u'\u13A0'},  // Cherokee folds to its capitals
      {u'\uAB70', u'\u13A0'},
      {u'\u1F88', u'\u1F80'},
      {u'\u2126', u'\u03C9'},  // ohm
      {u'\u212A', u'k'},       // kelvin
      {u'\u212B', u'\u00E5'},  // angstrom
      {u'\u2160', u'\u2170'},  // Roman numeral
      {u'\u24B6', u'\u24D0'},
      {u'\uFF21', u'\uFF41'},  // fullwidth
      {u'\uFF3A', u'\uFF5A'},
      {u'\uFF3B', u'\uFF3B'},
      {u'\uFFFF', u'\uFFFF'},
  };
  for (const FoldRow& row : rows) {
    EXPECT_EQ(row.folded, FoldCase(row.unit)) << "of unit " << std::hex << int{row.unit};
  }
}

TEST(FoldCaseTest, IsIdempotentForEveryUnit) {
  for (int unit = 0; unit < kUnits; ++unit) {
    const char16_t folded = FoldCase(static_cast<char16_t>(unit));
    EXPECT_EQ(folded, FoldCase(folded)) << "of unit " << std::hex << unit;
  }
}

TEST(FoldCaseTest, LeavesSurrogatesAndPrivateUseAlone) {
  for (int unit = 0xD800; unit < 0xF900; ++unit) {
    EXPECT_EQ(unit, int{FoldCase(static_cast<char16_t>(unit))});
  }
}

TEST(FoldCaseTest, LooksEveryUnitUpAsALinearSearchOfTheTableDoes) {
  for (int unit = 0; unit < kUnits; ++unit) {
    int expected = unit;
    for (const CaseFoldRun& run : kCaseFoldRuns) {
      for (int member = run.first; member <= run.last; member += run.stride) {
        if (member == unit) expected = unit + run.offset;
      }
    }
    if (unit >= 'A' && unit <= 'Z') expected = unit + ('a' - 'A');
    ASSERT_EQ(expected, int{FoldCase(static_cast<char16_t>(unit))})
        << "of unit " << std::hex << unit;
  }
}

TEST(FoldCaseTest, TheTableIsOrderedAndItsRunsAreWhole) {
  int last = 'z';
  for (const CaseFoldRun& run : kCaseFoldRuns) {
    EXPECT_GT(int{run.first}, last);
    EXPECT_GE(run.last, run.first);
    EXPECT_GT(run.stride, 0);
    EXPECT_EQ(0, (run.last - run.first) % run.stride);
    EXPECT_NE(0, run.offset);
    last = run.last;
  }
}

#ifndef _WIN32
/// The C library has its own table of letters, made for another purpose by other people. Wherever
/// it knows a lower case, both must fold to the same.
TEST(FoldCaseTest, AgreesWithTheLettersOfTheSystem) {
  auto* const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  ASSERT_NE(nullptr, locale);
  int letters = 0;
  for (int unit = 0; unit < kUnits; ++unit) {
    if (unit == 0x0130) continue;  // its lower case is i, but it does not fold to it
    const auto lower = static_cast<char16_t>(towlower_l(static_cast<wint_t>(unit), locale));
    if (lower == unit) continue;
    ++letters;
    EXPECT_EQ(FoldCase(lower), FoldCase(static_cast<char16_t>(unit)))
        << "of unit " << std::hex << unit;
  }
  freelocale(locale);
  EXPECT_GT(letters, 1000);
}
#endif

TEST(EqualIgnoringCaseTest, Rows) {
  EXPECT_TRUE(EqualIgnoringCase(u"", u""));
  EXPECT_TRUE(EqualIgnoringCase(u"Name", u"nAME"));
  EXPECT_TRUE(
      EqualIgnoringCase(u"\u03A3\u039F\u03A6\u039F\u03A3", u"\u03C3\u03BF\u03C6\u03BF\u03C2"));
  EXPECT_TRUE(EqualIgnoringCase(u"\u212Aelvin", u"kELVIN"));
  EXPECT_TRUE(EqualIgnoringCase(TextView(u"a\0B", 3), TextView(u"A\0b", 3)));
  EXPECT_TRUE(EqualIgnoringCase(u"\xD800x", u"\xD800X"));
  EXPECT_FALSE(EqualIgnoringCase(u"Name", u"Names"));
  EXPECT_FALSE(EqualIgnoringCase(u"Names", u"Name"));
  EXPECT_FALSE(EqualIgnoringCase(u"", u"a"));
  EXPECT_FALSE(EqualIgnoringCase(u"stra\u00DFe", u"STRASSE"));
  EXPECT_FALSE(EqualIgnoringCase(TextView(u"a\0B", 3), TextView(u"a\0C", 3)));
  EXPECT_FALSE(EqualIgnoringCase(u"\xD800", u"\xD801"));
  // Letters outside the Basic Multilingual Plane are two surrogates, which have no case.
  EXPECT_FALSE(EqualIgnoringCase(u"\U00010400", u"\U00010428"));
}

TEST(IndexHashTest, AgreesForEveryUnitAndItsFold) {
  for (int unit = 0; unit < kUnits; ++unit) {
    const Text text{u'x', static_cast<char16_t>(unit)};
    const Text folded{u'X', FoldCase(static_cast<char16_t>(unit))};
    EXPECT_EQ(IndexHashIgnoringCase(text), IndexHashIgnoringCase(folded)) << std::hex << unit;
  }
}

TEST(IndexHashTest, TellsOrdinaryKeysApart) {
  std::unordered_set<std::uint32_t> hashes;
  constexpr int kKeys = 100'000;
  for (int key = 0; key < kKeys; ++key) {
    hashes.insert(IndexHashIgnoringCase(Text(u"Record ").append(DecimalText(key))));
  }
  // By chance alone, two of so many 32-bit hashes or so agree.
  EXPECT_GT(hashes.size(), kKeys - 20U);
}

TEST(ReplaceAllTest, Rows) {
  EXPECT_EQ(u"", ReplaceAll(u"", u"a", u"b"));
  EXPECT_EQ(u"", ReplaceAll(u"", u"", u"b"));
  EXPECT_EQ(u"abc", ReplaceAll(u"abc", u"", u"x"));
  EXPECT_EQ(u"xbx", ReplaceAll(u"aba", u"a", u"x"));
  EXPECT_EQ(u"b", ReplaceAll(u"aba", u"a", u""));
  EXPECT_EQ(u"aaaa", ReplaceAll(u"aa", u"a", u"aa"));
  EXPECT_EQ(u"xa", ReplaceAll(u"aaa", u"aa", u"x"));
  EXPECT_EQ(u"ab", ReplaceAll(u"aabb", u"ab", u""));
  EXPECT_EQ(u"A", ReplaceAll(u"A", u"a", u"x"));
  EXPECT_EQ(TextView(u"x\0y", 3), ReplaceAll(TextView(u"\0\0\0y", 4), TextView(u"\0\0", 2), u"x"));
}

std::vector<Text> TextsUpTo(std::size_t length) {
  std::vector<Text> texts{u""};
  for (std::size_t i = 0; texts[i].size() < length; ++i) {
    texts.push_back(texts[i] + u'a');
    texts.push_back(texts[i] + u'b');
  }
  return texts;
}

Text NaiveReplaceAll(const Text& text, const Text& sought, const Text& replacement) {
  Text result;
  std::size_t at = 0;
  while (at < text.size()) {
    if (!sought.empty() && text.substr(at, sought.size()) == sought) {
      result += replacement;
      at += sought.size();
    } else {
      result += text[at++];
    }
  }
  return result;
}

TEST(ReplaceAllTest, EveryShortTextAsTheNaiveModelDoes) {
  for (const Text& text : TextsUpTo(8)) {
    for (const Text& sought : TextsUpTo(3)) {
      for (const Text& replacement : TextsUpTo(2)) {
        ASSERT_EQ(NaiveReplaceAll(text, sought, replacement), ReplaceAll(text, sought, replacement))
            << testing::PrintToString(text) << ", " << testing::PrintToString(sought) << ", "
            << testing::PrintToString(replacement);
      }
    }
  }
}

}  // namespace
}  // namespace brindlex
