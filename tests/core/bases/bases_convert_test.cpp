#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "bases/bases.h"
#include "bases/digit_buffer.h"
#include "platform/portable_number_text.h"
#include "tests/core/bases/naive_bases.h"
#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

const PortableNumberText kReading;

Outcome Convert(const Number& number, std::int32_t from, std::int32_t to,
                ConversionLimits limits = {}) {
  Outcome outcome = OutcomeOf([&] { return ConvertBase(number, from, to, limits, kReading); });
  outcome.tolerance = limits.tolerance;
  return outcome;
}

Outcome ToBase(const Number& number, std::int32_t base, ConversionLimits limits = {}) {
  Outcome outcome = OutcomeOf([&] { return ConvertDec2Base(number, base, limits, kReading); });
  outcome.tolerance = limits.tolerance;
  return outcome;
}

Outcome ToDec(TextView text, std::int32_t base) {
  return OutcomeOf([&] { return ConvertBase2Dec(text, base, kReading); });
}

void ExpectError(const Outcome& outcome, std::int32_t number, const Text& source = {},
                 const Text& description = {}) {
  EXPECT_EQ(outcome.number, number) << outcome;
  if (number != 13) return;
  EXPECT_EQ(outcome.source, source) << outcome;
  EXPECT_EQ(outcome.description, description) << outcome;
}

ConversionLimits Fraction(std::int32_t digits) { return {digits, 1e-27, 0}; }
ConversionLimits Group(std::int32_t size) { return {-1, 1e-27, size}; }

struct TextRow {
  Number number;
  std::int32_t from;
  std::int32_t to;
  ConversionLimits limits;
  TextView text;
};

TEST(ConvertBase, RowsWithText) {
  const TextRow rows[] = {
      {255, 10, 16, {}, u"FF"},
      {TextView(u"255"), 10, 16, {}, u"FF"},
      {123456, 10, 30, {}, u"5L67"},
      {27, 10, 26, {}, u"BB"},
      {100, 10, 31, {}, u"59"},
      {1000, 10, 32, {}, u"Z9"},
      {-42, 10, 16, {}, u"-2A"},
      {2.75, 10, 2, {}, u"10.11"},
      {0.5, 10, 2, {}, u"0.1"},
      {2.5, 10, 16, {}, u"2.8"},
      {0.1, 10, 16, {}, u"0.1999999999999A"},
      {TextView(u"0.1"), 10, 16, {}, u"0.1999999999999A"},
      {10.1, 10, 16, Fraction(3), u"A.199"},
      {10.1, 10, 16, Fraction(0), u"A"},
      {5, 10, 2, Group(4), u"0101"},
      {123, 10, 16, Group(4), u"007B"},
      {3725, 10, 60, {}, u"01:02:05:"},
      {0, 10, 30, {}, u"1"},
      {0, 10, 10, {}, u"0"},
      {TextView(u"abc"), 10, 16, {}, u"0"},
      {0, 10, 2, {}, u"0"},
      {0, 10, 26, {}, u"A"},
      {0, 10, 31, {}, u"2"},
      {0, 10, 32, {}, u"1"},
      {0, 10, 60, {}, u"00:"},
      {0.0, 10, 8, {}, u"0"},
      {-0.0, 10, 8, {}, u"0"},
      {TextView(u""), 10, 16, {}, u"0"},
      {TextView(u"0abc"), 10, 16, {}, u"0"},
      {std::monostate(), 10, 60, {}, u"00:"},
      // The words of a flag begin with no number.
      {true, 10, 16, {}, u"0"},
      {TextView(u"FF"), 16, 2, {}, u"11111111"},
      {TextView(u"BB"), 26, 16, {}, u"1B"},
      {450.5, 10, 60, Fraction(1), u"07:30:.30:"},
      {1010, 2, 16, {}, u"A"},
      {10.1, 2, 16, {}, u"2.8"},
      {10.1, 10, 16, Fraction(-2), u"A"},
      {10.1, 10, 16, {-1, 0, 0}, u"A"},
      {10.1, 10, 16, {3, 0, 0}, u"A.199"},
      {10.1, 10, 16, {-1, 0.05, 0}, u"A.1"},
      {10.1, 10, 16, {-1, -0.05, 0}, u"A.1"},
      {10.1, 10, 16, {3, 0.5, 0}, u"A"},
      {0.5, 10, 2, {8, 0.5, 0}, u"0"},
      {5, 10, 2, Group(1), u"101"},
      {5, 10, 2, Group(-4), u"101"},
      {5, 10, 60, Group(3), u"00:00:05:"},
      {5, 10, 26, Group(3), u"AAF"},
      {0.01, 10, 16, Group(4), u"0.028F5C28F5C28F6"},
      {1e15, 10, 16, {}, u"38D7EA4C68000"},
      {9007199254740992.0, 10, 2, {}, u"100000000000000000000000000000000000000000000000000000"},
  };
  for (const TextRow& row : rows) {
    const Outcome outcome = Convert(row.number, row.from, row.to, row.limits);
    EXPECT_EQ(outcome.text, row.text) << outcome;
    EXPECT_EQ(outcome.number, 0) << outcome;
  }
}

struct DoubleRow {
  Number number;
  std::int32_t from;
  double value;
};

TEST(ConvertBase, RowsWithDoubles) {
  const DoubleRow rows[] = {
      {TextView(u"FF"), 16, 255},
      {TextView(u"ZZ"), 32, 1023},
      {TextView(u"5X"), 30, 147},
      {TextView(u"-1A.8"), 16, -26.5},
      {TextView(u"01:02:05:"), 60, 3725},
      {TextView(u"07:30:.30:"), 60, 450.5},
      {TextView(u"1.1"), 2, 1.5},
      {TextView(u"--5"), 16, 5},
      {TextView(u"0-5"), 16, -5},
      {TextView(u"0.0000001"), 16, 3.725290298461914e-09},
      {TextView(u"0"), 16, 0},
      {TextView(u""), 16, 0},
      {TextView(u""), 2, 0},
      {TextView(u""), 7, 0},
      {TextView(u"."), 16, 0},
      {TextView(u"1."), 16, 1},
      {TextView(u".8"), 16, 0.5},
      {TextView(u"-.8"), 16, -0.5},
      {TextView(u"-"), 16, -0.0},
      {std::monostate(), 16, 0},
      {100, 2, 4},
      {12.5, 10, 12.5},
      {TextView(u" 12.5 "), 10, 12.5},
      {TextView(u"1e2"), 10, 100},
      {WrittenNumber{2.5, u"2.5", true}, 10, 2.5},
      {WrittenNumber{2.5, u"10.1", true}, 2, 2.5},
      {TextView(u"7ZZZZZZ"), 32, 7516192767.0},
  };
  for (const DoubleRow& row : rows) {
    const Outcome outcome = Convert(row.number, row.from, 10);
    Outcome expected;
    expected.value = row.value;
    expected.tolerance = 1e-27;
    EXPECT_EQ(outcome, expected);
  }
}

struct ErrorRow {
  Number number;
  std::int32_t from;
  std::int32_t to;
  std::int32_t error;
  TextView source;
  TextView description;
};

TEST(ConvertBase, RowsWithErrors) {
  const ConversionFailed null{RuntimeError(94)};
  const ErrorRow rows[] = {
      {TextView(u"12abc"), 10, 16, 13, u"ConvertBase", u"Not a decimal number"},
      {TextView(u"1-2"), 16, 10, 13, u"ConvertBase2Dec", u"Invalid negation"},
      {TextView(u".-2"), 16, 10, 13, u"ConvertBase2Dec", u"Invalid negation"},
      {TextView(u"1.2.3"), 16, 10, 13, u"ConvertBase2Dec", u"More than one decimal point"},
      {TextView(u".."), 16, 10, 13, u"ConvertBase2Dec", u"More than one decimal point"},
      {TextView(u"0.00000001"), 16, 10, 6, {}, {}},
      {TextView(u"a"), 16, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {TextView(u"G"), 16, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {TextView(u"2"), 2, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {TextView(u"A"), 30, 10, 13, u"DeconvertDigit", u"Invalid Alpha Character"},
      {TextView(u"1 0"), 2, 10, 13, u"DeconvertDigit", u"Invalid character"},
      {TextView(u"01:2"), 60, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {TextView(u"0"), 16, 30, 5, {}, {}},
      {TextView(u"A"), 26, 16, 5, {}, {}},
      {TextView(u""), 16, 2, 5, {}, {}},
      {0.01, 10, 16, 6, {}, {}},
      {TextView(u"0"), 5, 10, 13, u"DeconvertDigit", u"Unknown base"},
      {TextView(u"1"), 1, 10, 13, u"ConvertBase2Dec", u"Invalid Base"},
      {TextView(u""), 0, 10, 13, u"ConvertBase2Dec", u"Invalid Base"},
      {5, 10, 1, 13, u"ConvertDec2Base", u"Invalid base"},
      {5, 10, -16, 13, u"ConvertDec2Base", u"Invalid base"},
      {0, 10, 1, 13, u"ConvertDigit", u"Unknown base"},
      {0, 10, 0, 13, u"ConvertDigit", u"Invalid digit for base"},
      {0, 10, 7, 13, u"ConvertDigit", u"Unknown base"},
      {5, 10, 7, 13, u"ConvertDigit", u"Unknown base"},
      // The text of a flag in another base; its first letter is a digit of base 26, its second not.
      {true, 26, 10, 13, u"DeconvertDigit", u"Invalid Alpha Character"},
      {true, 16, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {false, 16, 10, 13, u"DeconvertDigit", u"Invalid digit for base"},
      {null, 10, 16, 94, {}, {}},
      {null, 16, 10, 94, {}, {}},
      {WrittenNumber{36526, u"1/1/2000", false}, 10, 16, 13, u"ConvertBase",
       u"Not a decimal number"},
      {std::numeric_limits<double>::infinity(), 10, 16, 6, {}, {}},
      {-std::numeric_limits<double>::infinity(), 10, 16, 6, {}, {}},
      {std::numeric_limits<double>::quiet_NaN(), 10, 16, 6, {}, {}},
      {TextView(u"1e999"), 10, 16, 6, {}, {}},
  };
  for (const ErrorRow& row : rows) {
    SCOPED_TRACE(testing::Message() << "from " << row.from << " to " << row.to);
    ExpectError(Convert(row.number, row.from, row.to), row.error, Text(row.source),
                Text(row.description));
  }
}

TEST(ConvertDec2Base, TestsTheNumberBeforeTheBase) {
  const Number none = TextView(u"abc");
  ExpectError(ToBase(none, 1), 13, u"ConvertDec2Base", u"Number must be decimal");
  ExpectError(ToBase(ConversionFailed{RuntimeError(94)}, 16), 13, u"ConvertDec2Base",
              u"Number must be decimal");
  ExpectError(ToBase(WrittenNumber{1, u"1/1/1900", false}, 16), 13, u"ConvertDec2Base",
              u"Number must be decimal");
  ExpectError(ToBase(1, 1), 13, u"ConvertDec2Base", u"Invalid base");
  ExpectError(ToBase(std::monostate(), 16), 5);
  ExpectError(ToBase(false, 16), 5);
  EXPECT_EQ(ToBase(true, 16).text, u"-1");
  EXPECT_EQ(ToBase(WrittenNumber{2.5, u"2,5", true}, 16).text, u"2.8");
}

TEST(ConvertDec2Base, ACountOneShortIsAnInvalidDigit) {
  for (const ConversionLimits& limits : {ConversionLimits{}, Fraction(0), Group(3)}) {
    ExpectError(ToBase(1000, 10, limits), 13, u"ConvertDigit", u"Invalid digit for base");
  }
  // Padding to 4 digits hides it.
  EXPECT_EQ(ToBase(1000, 10, Group(4)).text, u"1000");
  EXPECT_EQ(ToBase(1001, 10).text, u"1001");
  EXPECT_EQ(ToBase(999, 10).text, u"999");
}

TEST(ConvertDec2Base, APowerBeyondTheDoublesOverflows) {
  ExpectError(ToBase(5, 2, Group(1025)), 6);
  ExpectError(ToBase(5, 60, Group(std::numeric_limits<std::int32_t>::max())), 6);
  ExpectError(ToBase(5, 3, Group(std::numeric_limits<std::int32_t>::max())), 6);
  ExpectError(ToBase(std::numeric_limits<double>::max(), 2), 6);
  ExpectError(ToBase(std::numeric_limits<double>::max(), 16), 6);
  EXPECT_EQ(ToBase(5, 2, Group(1024)).text, Text(1021, u'0') + u"101");
  EXPECT_EQ(ToBase(5, 26, Group(200)).text, Text(199, u'A') + u"F");
}

TEST(ConvertDec2Base, OneHalfInBase30) {
  const Text text = ToBase(0.5, 30).text;
  EXPECT_EQ(text.substr(0, 3), u"0.J");
  EXPECT_GT(text.size(), 3U);
  ExpectError(ToDec(text, 30), 13, u"DeconvertDigit", u"Invalid Alpha Character");
}

TEST(ConvertDec2Base, FailsInBasesWithoutDigitsUnlessThereAreNone) {
  EXPECT_EQ(ToBase(0.5, 7, Fraction(0)).text, u"0");
  EXPECT_EQ(ToBase(-0.5, 7, Fraction(0)).text, u"-0");
  EXPECT_EQ(ToBase(0.5, 7, {-1, 0.5, 0}).text, u"0");
  ExpectError(ToBase(0.5, 7), 13, u"ConvertDigit", u"Unknown base");
  ExpectError(ToBase(7, 7), 13, u"ConvertDigit", u"Unknown base");
  // 3^5: the quotient of the logarithms is just below 5.
  ExpectError(ToBase(243, 3), 13, u"ConvertDigit", u"Invalid digit for base");
  ExpectError(ToBase(242, 3), 13, u"ConvertDigit", u"Unknown base");
  ExpectError(ToBase(5e-324, std::numeric_limits<std::int32_t>::max()), 6);
  ExpectError(ToBase(0, 7), 5);
}

TEST(ConvertBase2Dec, TheDivisorHas32Bits) {
  const std::pair<std::int32_t, std::size_t> limits[] = {
      {2, 30}, {8, 10}, {10, 9}, {16, 7}, {26, 6}, {30, 6}, {31, 6}, {32, 6}, {60, 5}};
  for (const auto& [base, digits] : limits) {
    Text text = u".";
    for (std::size_t i = 0; i < digits; ++i) text += ConvertDigit(1, base);
    EXPECT_EQ(ToDec(text, base).number, 0) << "base " << base;
    EXPECT_EQ(ToDec(text + ConvertDigit(0, base), base).number, 6) << "base " << base;
  }
}

TEST(ConvertBase2Dec, ANumberBeyondTheDoublesOverflows) {
  EXPECT_EQ(ToDec(Text(1024, u'1'), 2).number, 6);
  EXPECT_EQ(ToDec(Text(1023, u'1'), 2).number, 0);
  // The largest double itself does not.
  EXPECT_EQ(ToDec(Text(53, u'1') + Text(971, u'0'), 2).value, std::numeric_limits<double>::max());
  // It is reached before the characters after it.
  EXPECT_EQ(ToDec(Text(310, u'9') + u"x", 10).number, 6);
  EXPECT_EQ(ToDec(Text(300, u'9') + u"x", 10).number, 13);
}

TEST(ConvertBase2Dec, ReadsLongTextsInOneGo) {
  const Text zeros(1000000, u'0');
  EXPECT_EQ(ToDec(zeros + u"11", 2).value, 3);
}

TEST(ConvertBase, TheToleranceIsWrittenBackByAConversionToTextOnly) {
  const ConversionLimits negative{-1, -0.5, 0};
  EXPECT_EQ(Convert(2.75, 10, 2, negative).tolerance, 0.5);
  EXPECT_EQ(Convert(TextView(u"FF"), 16, 2, negative).tolerance, 0.5);
  // After the checks of number and base, and also when the conversion then fails.
  EXPECT_EQ(Convert(TextView(u"0"), 16, 2, negative).tolerance, 0.5);
  EXPECT_EQ(Convert(5, 10, 7, negative).tolerance, 0.5);
  EXPECT_EQ(ToBase(1000, 10, negative).tolerance, 0.5);
  EXPECT_EQ(ToBase(std::monostate(), 10, negative).tolerance, 0.5);
  EXPECT_EQ(ToBase(TextView(u"1e999"), 10, negative).tolerance, -0.5);
  EXPECT_EQ(ToBase(1, 1, negative).tolerance, -0.5);
  EXPECT_EQ(ToBase(TextView(u"x"), 16, negative).tolerance, -0.5);
  EXPECT_EQ(Convert(0, 10, 2, negative).tolerance, -0.5);
  EXPECT_EQ(Convert(5, 10, 10, negative).tolerance, -0.5);
  EXPECT_EQ(Convert(5, 10, 1, negative).tolerance, -0.5);
  EXPECT_EQ(Convert(TextView(u"FF"), 16, 10, negative).tolerance, -0.5);
  EXPECT_EQ(Convert(TextView(u"12abc"), 10, 2, negative).tolerance, -0.5);
  EXPECT_FALSE(std::signbit(ToBase(1, 2, {-1, -0.0, 0}).tolerance));
}

TEST(AppendNumber, KeepsWhatStoodInTheText) {
  Text text = u"x";
  AppendNumber(255, 16, {}, text);
  EXPECT_EQ(text, u"xFF");
  EXPECT_THROW(AppendNumber(0.01, 16, {}, text), RuntimeError);
  EXPECT_EQ(text, u"xFF");
}

// The plain method would subtract 0 for ever.
TEST(AppendNumber, EndsAtOnceBelowOneDigit) {
  using Clock = std::chrono::steady_clock;
  // An exception takes microseconds, and a turn of another program milliseconds.
  constexpr auto kLimit = std::chrono::milliseconds(50);
  std::vector<std::int32_t> bases(kBases.begin(), kBases.end());
  bases.insert(bases.end(), {3, 7, 61, 1000000007});
  for (const std::int32_t base : bases) {
    for (const double x : {1e-10, 1e-100, 3e-300, 1e-310, 5e-324, 0x1p-1000, 2e-10, 7.77e-77}) {
      Text text;
      auto best = Clock::duration::max();
      for (int i = 0; i < 5; ++i) {
        const auto start = Clock::now();
        EXPECT_THROW(AppendNumber(x, base, {}, text), RuntimeError) << x << " in base " << base;
        best = std::min(best, Clock::now() - start);
      }
      EXPECT_TRUE(text.empty());
      EXPECT_LT(best, kLimit) << x << " in base " << base;
    }
  }
}

// A fraction that is to be followed to the end of the doubles ends there, or at 0.
TEST(AppendNumber, EndsWhereAPlaceValueIsZero) {
  const ConversionLimits toTheEnd{2000, 0, 0};
  EXPECT_EQ(ToBase(0.3, 10, toTheEnd).text.size(), 2U + 323U);
  EXPECT_EQ(ToBase(0.7, 2, toTheEnd).text.size(), 2U + 52U);
  EXPECT_EQ(ToBase(1 + 0x1p-52, 32, toTheEnd).text, u"2.11111111119");
  EXPECT_EQ(ToBase(0x1.8p-1073, 2, {2000, 0, 2000}).text, u"0." + Text(1072, u'0') + u"11");
  // 32^-215 is half the least denormal and rounds to 0; the last bits are below 32^-214.
  EXPECT_EQ(ToBase(0x1.8p-1073, 32, {2000, 0, 1000}).number, 6);
}

TEST(ConvertBase2Dec, UnitsAfterTheLastDigitAreNone) {
  for (const std::int32_t base : {2, 10, 16, 26, 60}) {
    EXPECT_EQ(ToDec(u"\u0080", base).number, 13) << base;
    EXPECT_EQ(ToDec(u"\u0100", base).number, 13) << base;
  }
}

// Asking is slow where the host has a locale.
TEST(ConvertBase2Dec, ReadsPlainDigitsWithoutTheHost) {
  class Unasked : public PortableNumberText {
   public:
    bool IsNumeric(TextView text) const override {
      ADD_FAILURE() << text.size();
      return PortableNumberText::IsNumeric(text);
    }
    std::int32_t ToWhole(TextView text) const override {
      ADD_FAILURE() << text.size();
      return PortableNumberText::ToWhole(text);
    }
  };
  const Unasked reading;
  for (const std::int32_t base : {2, 8, 10, 60}) {
    for (std::int32_t digit = 0; digit < base; ++digit) {
      EXPECT_EQ(ConvertBase2Dec(ConvertDigit(digit, base), base, reading), digit) << base;
    }
  }
}

TEST(ConvertBase2Dec, SexagesimalDigits) {
  for (std::int32_t digit = 0; digit < 60; ++digit) {
    EXPECT_EQ(ToDec(ConvertDigit(digit, 60), 60).value, digit);
  }
  for (const TextView text : {u"60:", u"99:", u"/0:", u"::", u"0::", u"0/:", u"00;", u"000", u"05",
                              u"5:", u"5", u"a0:", u"0a:", u"00:0", u"00:00"}) {
    EXPECT_EQ(ToDec(Text(text), 60).number, 13) << std::string(text.begin(), text.end());
  }
}

TEST(Number, AFlagIsAWord) {
  EXPECT_EQ(u"True", ToText(true, PortableNumberText()));
  EXPECT_EQ(u"False", ToText(false, PortableNumberText()));
}

TEST(Number, AWrittenNumberBeginsAsItIsWritten) {
  const PortableNumberText reading;
  EXPECT_TRUE(BeginsWithZero(WrittenNumber{1, u"0", true}, reading));
  EXPECT_TRUE(BeginsWithZero(WrittenNumber{1, u"", true}, reading));
  EXPECT_FALSE(BeginsWithZero(WrittenNumber{0, u"-1", true}, reading));
  EXPECT_FALSE(BeginsWithZero(WrittenNumber{0, u"1", true}, reading));
}

TEST(DigitBuffer, AllocatesNothingUntilItsRoomIsFull) {
  DigitBuffer buffer;
  const Text expected(DigitBuffer::kRoom, u'7');
  {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    for (std::size_t i = 0; i < DigitBuffer::kRoom; ++i) buffer.Put(u'7');
    EXPECT_EQ(expected, buffer.View());
    EXPECT_FALSE(FailingNew::Failed());
  }
  buffer.Put(u'8');
  EXPECT_EQ(expected + u'8', buffer.View());
}

}  // namespace
}  // namespace brindlex
