#include "bases/digits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "platform/portable_number_text.h"
#include "tests/core/bases/naive_bases.h"

namespace brindlex {
namespace {

const PortableNumberText kReading;

Outcome TextOutcome(Text text) {
  Outcome outcome;
  outcome.text = std::move(text);
  return outcome;
}

Outcome ValueOutcome(double value) {
  Outcome outcome;
  outcome.value = value;
  return outcome;
}

Outcome ErrorOutcome(Text source, Text description) {
  Outcome outcome;
  outcome.number = 13;
  outcome.source = std::move(source);
  outcome.description = std::move(description);
  return outcome;
}

Outcome Convert(std::int32_t digit, std::int32_t base) {
  return OutcomeOf([=] { return ConvertDigit(digit, base); });
}

Outcome Deconvert(TextView text, std::int32_t base) {
  return OutcomeOf([=] { return static_cast<double>(DeconvertDigit(text, base, kReading)); });
}

struct ConvertRow {
  std::int32_t digit;
  std::int32_t base;
  Outcome outcome;
};

TEST(ConvertDigit, Rows) {
  const Outcome invalid = ErrorOutcome(u"ConvertDigit", u"Invalid digit for base");
  const Outcome unknown = ErrorOutcome(u"ConvertDigit", u"Unknown base");
  const ConvertRow rows[] = {
      {0, 26, TextOutcome(u"A")},
      {0, 30, TextOutcome(u"1")},
      {0, 31, TextOutcome(u"2")},
      {0, 32, TextOutcome(u"1")},
      {0, 60, TextOutcome(u"00:")},
      {0, 10, TextOutcome(u"0")},
      {15, 16, TextOutcome(u"F")},
      {16, 16, invalid},
      {3, 5, unknown},
      {5, 3, invalid},
      {0, 0, invalid},
      {0, 1, unknown},
      {5, 60, TextOutcome(u"05:")},
      {59, 60, TextOutcome(u"59:")},
      {60, 60, invalid},
      {25, 26, TextOutcome(u"Z")},
      {8, 30, TextOutcome(u"9")},
      {9, 30, TextOutcome(u"B")},
      {29, 30, TextOutcome(u"Z")},
      {7, 31, TextOutcome(u"9")},
      {8, 31, TextOutcome(u"A")},
      {30, 31, TextOutcome(u"Z")},
      {9, 32, TextOutcome(u"A")},
      {31, 32, TextOutcome(u"Z")},
      {-7, 10, TextOutcome(u"-7")},
      {-1, 2, TextOutcome(u"-1")},
      {-5, 60, TextOutcome(u"-5:")},
      {-42, 60, TextOutcome(u"42:")},
      {-5, -5, invalid},
      {-6, -5, unknown},
      {std::numeric_limits<std::int32_t>::max(), 10, invalid},
      {1, std::numeric_limits<std::int32_t>::max(), unknown},
  };
  for (const ConvertRow& row : rows) {
    EXPECT_EQ(Convert(row.digit, row.base), row.outcome) << row.digit << " in base " << row.base;
  }
}

TEST(ConvertDigit, NegativeDigitsOfAnAlphabetAreInvalidArguments) {
  for (const BaseTable& table : kBaseTables) {
    if (table.style != DigitStyle::kLetter) continue;
    for (const std::int32_t digit : {-1, std::numeric_limits<std::int32_t>::min()}) {
      const Outcome outcome = Convert(digit, table.base);
      EXPECT_EQ(outcome.number, 5) << digit << " in base " << table.base;
    }
  }
}

struct DeconvertRow {
  TextView text;
  std::int32_t base;
  Outcome outcome;
};

TEST(DeconvertDigit, Rows) {
  const Outcome invalid = ErrorOutcome(u"DeconvertDigit", u"Invalid digit for base");
  const Outcome character = ErrorOutcome(u"DeconvertDigit", u"Invalid character");
  const Outcome alpha = ErrorOutcome(u"DeconvertDigit", u"Invalid Alpha Character");
  const Outcome unknown = ErrorOutcome(u"DeconvertDigit", u"Unknown base");
  const DeconvertRow rows[] = {
      {u"B", 30, ValueOutcome(9)},
      {u"A", 30, alpha},
      {u"1", 31, alpha},
      {u"f", 16, invalid},
      {u"", 16, ValueOutcome(0)},
      {u"", 26, ValueOutcome(0)},
      {u"", 32, ValueOutcome(0)},
      {u"", 10, character},
      {u"", 60, invalid},
      {u"2", 2, invalid},
      {u"x", 8, character},
      {u"07:", 60, ValueOutcome(7)},
      {u"7:", 60, invalid},
      {u"60:", 60, invalid},
      {u"07;", 60, invalid},
      {u"x7:", 60, invalid},
      {u"007:", 60, invalid},
      {u"59:", 60, ValueOutcome(59)},
      {u"AB", 16, ValueOutcome(10)},
      {u"BA", 16, invalid},
      {u"XYZ", 26, ValueOutcome(23)},
      {u"a", 26, alpha},
      {u"-1", 10, ValueOutcome(-1)},
      {u"8", 8, invalid},
      {u"7", 8, ValueOutcome(7)},
      {u"2.5", 8, ValueOutcome(2)},
      {u"3.5", 8, ValueOutcome(4)},
      {u"9.5", 10, invalid},
      {u"0", 5, unknown},
      {u"", 0, unknown},
      {u" 5:", 60, ValueOutcome(5)},
      {u"-5:", 60, ValueOutcome(-5)},
      {u"O", 32, alpha},
  };
  for (const DeconvertRow& row : rows) {
    EXPECT_EQ(Deconvert(row.text, row.base), row.outcome)
        << Text(row.text).size() << " units in base " << row.base;
  }
}

TEST(DeconvertDigit, ANumeralBeyond32BitsOverflows) {
  EXPECT_EQ(Deconvert(u"4294967296", 10).number, 6);
}

TEST(Digits, EveryDigitOfEveryBaseRoundTrips) {
  for (const std::int32_t base : kBases) {
    for (std::int32_t digit = 0; digit < base; ++digit) {
      const Text text = ConvertDigit(digit, base);
      EXPECT_EQ(text.size(), static_cast<std::size_t>(DigitWidth(base)));
      EXPECT_EQ(DeconvertDigit(text, base, kReading), digit) << "base " << base;
    }
  }
}

TEST(Digits, AgreeWithTheTextbookForEveryUnitAndSmallDigit) {
  for (std::int32_t base = -2; base <= 64; ++base) {
    for (std::int32_t digit = -101; digit <= 65; ++digit) {
      EXPECT_EQ(Convert(digit, base), OutcomeOf([=] { return naive::ConvertDigit(digit, base); }));
    }
    for (char32_t unit = 0; unit < 0x100; ++unit) {
      const Text text(1, static_cast<char16_t>(unit));
      EXPECT_EQ(Deconvert(text, base), OutcomeOf([&] {
                  return static_cast<double>(naive::DeconvertDigit(text, base, kReading));
                }));
    }
  }
}

struct PublishedRow {
  std::int32_t base;
  TextView alphabet;
};

// Other programs rely on these digits, so that they are written down a second time.
TEST(AlphabetOf, PublishedBasesKeepTheirDigits) {
  const PublishedRow rows[] = {
      {2, u"01"},
      {8, u"01234567"},
      {10, u"0123456789"},
      {16, u"0123456789ABCDEF"},
      {26, u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"},
      {30, u"123456789BCDFGHJKLMNPQRSTVWXYZ"},
      {31, u"23456789ABCDEFGHJKLMNPQRSTVWXYZ"},
      {32, u"123456789ABCDEFGHJKLMNPQRSTVWXYZ"},
      {60, u"0123456789"},
  };
  for (const PublishedRow& row : rows) EXPECT_EQ(AlphabetOf(row.base), row.alphabet) << row.base;
}

TEST(AlphabetOf, HasACharacterForEveryDigit) {
  for (std::int32_t base = -1; base < 70; ++base) {
    const TextView alphabet = AlphabetOf(base);
    for (std::size_t digit = 0; digit < alphabet.size() && !IsSexagesimal(base); ++digit) {
      EXPECT_EQ(Text(1, alphabet[digit]), ConvertDigit(static_cast<std::int32_t>(digit), base));
    }
    const bool hasDigits = Convert(0, base).number == 0;
    const auto expected = static_cast<std::size_t>(IsSexagesimal(base) ? 10 : base);
    EXPECT_EQ(hasDigits ? expected : 0, alphabet.size());
  }
}

TEST(DigitWidth, IsThreeInBase60Only) {
  EXPECT_EQ(DigitWidth(60), 3);
  for (const std::int32_t base : {-60, 0, 2, 10, 32, 59, 61}) EXPECT_EQ(DigitWidth(base), 1);
}

}  // namespace
}  // namespace brindlex
