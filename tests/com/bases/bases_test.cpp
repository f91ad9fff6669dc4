// The operations of the number bases with their errors, through the vtable and through IDispatch.

#include "bases/powers.h"
#include "tests/com/support/bases_fixture.h"

namespace brindlex::testing {
namespace {

struct ConversionRow {
  Variant number;
  long from;
  long to;
  ConversionLimits limits;
  TextView answer;
};

ConversionLimits Fraction(long digits) { return {digits, 1e-27, 0}; }
ConversionLimits Group(long size) { return {-1, 1e-27, size}; }

TEST_F(BasesTest, ConvertBaseAnswersEachRow) {
  const ConversionRow rows[] = {
      {OfLong(255), 10, 16, {}, u"text FF"},
      {Variant(u"FF"), 16, 10, {}, u"double 255"},
      {OfLong(123456), 10, 30, {}, u"text 5L67"},
      {OfLong(27), 10, 26, {}, u"text BB"},
      {OfLong(100), 10, 31, {}, u"text 59"},
      {OfLong(1000), 10, 32, {}, u"text Z9"},
      {Variant(u"ZZ"), 32, 10, {}, u"double 1023"},
      {Variant(u"5X"), 30, 10, {}, u"double 147"},
      {OfLong(-42), 10, 16, {}, u"text -2A"},
      {Variant(u"-1A.8"), 16, 10, {}, u"double -26.5"},
      {OfDouble(2.75), 10, 2, {}, u"text 10.11"},
      {OfDouble(0.5), 10, 2, {}, u"text 0.1"},
      {OfDouble(2.5), 10, 16, {}, u"text 2.8"},
      {OfDouble(0.1), 10, 16, {}, u"text 0.1999999999999A"},
      {OfDouble(10.1), 10, 16, Fraction(3), u"text A.199"},
      {OfDouble(10.1), 10, 16, Fraction(0), u"text A"},
      {OfLong(5), 10, 2, Group(4), u"text 0101"},
      {OfLong(123), 10, 16, Group(4), u"text 007B"},
      {OfLong(3725), 10, 60, {}, u"text 01:02:05:"},
      {Variant(u"01:02:05:"), 60, 10, {}, u"double 3725"},
      {Variant(u"07:30:.30:"), 60, 10, {}, u"double 450.5"},
      {OfLong(0), 10, 30, {}, u"text 1"},
      {OfLong(0), 10, 10, {}, u"text 0"},
      {Variant(u"abc"), 10, 16, {}, u"text 0"},
      {Variant(u"12abc"), 10, 16, {}, u"error 13 ConvertBase: Not a decimal number"},
      {Variant(u"1.1"), 2, 10, {}, u"double 1.5"},
      {Variant(u"--5"), 16, 10, {}, u"double 5"},
      {Variant(u"0-5"), 16, 10, {}, u"double -5"},
      {Variant(u"1-2"), 16, 10, {}, u"error 13 ConvertBase2Dec: Invalid negation"},
      {Variant(u"1.2.3"), 16, 10, {}, u"error 13 ConvertBase2Dec: More than one decimal point"},
      {Variant(u"0.0000001"), 16, 10, {}, u"double 3.725290298461914e-09"},
      {Variant(u"0.00000001"), 16, 10, {}, u"error 6 Brindlex: Overflow"},
      {Variant(u"a"), 16, 10, {}, u"error 13 DeconvertDigit: Invalid digit for base"},
      {Variant(u"0"), 16, 30, {}, u"error 5 Brindlex: Invalid procedure call or argument"},
      {OfDouble(0.01), 10, 16, {}, u"error 6 Brindlex: Overflow"},
      {Variant(u""), 16, 10, {}, u"double 0"},
      {Variant(u""), 2, 10, {}, u"double 0"},
      {Variant(u""), 7, 10, {}, u"double 0"},
      {Variant(u"0"), 16, 10, {}, u"double 0"},
      {OfDouble(12.5), 10, 10, {}, u"double 12.5"},
      {Variant(u"G"), 16, 10, {}, u"error 13 DeconvertDigit: Invalid digit for base"},
      {Variant(u"2"), 2, 10, {}, u"error 13 DeconvertDigit: Invalid digit for base"},
      {Variant(u"A"), 30, 10, {}, u"error 13 DeconvertDigit: Invalid Alpha Character"},
      {Variant(u"x"), 8, 10, {}, u"error 13 DeconvertDigit: Invalid character"},
      {Variant(u"1"), 5, 10, {}, u"error 13 DeconvertDigit: Unknown base"},
      {Variant(u"1"), 1, 10, {}, u"error 13 ConvertBase2Dec: Invalid Base"},
      {OfLong(5), 10, 1, {}, u"error 13 ConvertDec2Base: Invalid base"},
      {OfLong(5), 10, 7, {}, u"error 13 ConvertDigit: Unknown base"},
      {OfLong(0), 10, 0, {}, u"error 13 ConvertDigit: Invalid digit for base"},
      {OfLong(0), 10, 26, {}, u"text A"},
      {OfLong(0), 10, 60, {}, u"text 00:"},
      {Variant(u"&HFF"), 10, 2, {}, u"text 11111111"},
      {Variant(u"&O17"), 10, 16, {}, u"text F"},
      {Variant(u"&H0"), 10, 26, {}, u"text A"},
      {Variant(u" 1 2 "), 10, 16, {}, u"error 13 ConvertBase: Not a decimal number"},
      {Variant(u" 12 "), 10, 16, {}, u"text C"},
      {Variant(u"1E2"), 10, 16, {}, u"text 64"},
      {Variant(u"1D2"), 10, 16, {}, u"error 13 ConvertBase: Not a decimal number"},
      {Variant(u"1E999"), 10, 16, {}, u"error 6 Brindlex: Overflow"},
  };
  for (const ConversionRow& row : rows) {
    SCOPED_TRACE(::testing::Message() << ::testing::PrintToString(Units(row.answer)));
    ConversionLimits limits = row.limits;
    EXPECT_EQ(row.answer, ByVtable(row.number.Get(), row.from, row.to, limits));
    EXPECT_EQ(row.answer, ByDispatch(L"ConvertBase", {row.number.Get(), OfLong(row.from).Get(),
                                                      OfLong(row.to).Get(),
                                                      OfLong(row.limits.maxFractionDigits).Get(),
                                                      OfDouble(row.limits.tolerance).Get(),
                                                      OfLong(row.limits.groupSize).Get()}));
  }
}

TEST_F(BasesTest, ConvertDec2BaseAnswersEachRow) {
  const ConversionRow rows[] = {
      {OfLong(1000), 0, 10, {}, u"error 13 ConvertDigit: Invalid digit for base"},
      {OfLong(1000), 0, 10, Group(4), u"text 1000"},
      {OfLong(999), 0, 10, {}, u"text 999"},
      {OfLong(0), 0, 16, {}, u"error 5 Brindlex: Invalid procedure call or argument"},
      {Variant(u"abc"), 0, 16, {}, u"error 13 ConvertDec2Base: Number must be decimal"},
      {Variant(u"abc"), 0, 1, {}, u"error 13 ConvertDec2Base: Number must be decimal"},
      {OfLong(1), 0, 1, {}, u"error 13 ConvertDec2Base: Invalid base"},
      {Variant(u"2.5"), 0, 16, {}, u"text 2.8"},
      {Variant(u"1E309"), 0, 16, {}, u"error 13 ConvertDec2Base: Number must be decimal"},
  };
  for (const ConversionRow& row : rows) {
    ConversionLimits limits = row.limits;
    EXPECT_EQ(row.answer, ByVtable(row.number.Get(), row.to, limits));
    EXPECT_EQ(row.answer, ByDispatch(L"ConvertDec2Base", {row.number.Get(), OfLong(row.to).Get(),
                                                          OfLong(limits.maxFractionDigits).Get(),
                                                          OfDouble(limits.tolerance).Get(),
                                                          OfLong(limits.groupSize).Get()}));
  }
}

TEST_F(BasesTest, OneHalfInBase30HasNoEnd) {
  const Units text = Convert(OfDouble(0.5).Get(), 10, 30);
  EXPECT_EQ(u"text 0.J", text.substr(0, 8));
  EXPECT_GT(text.size(), 8U);
  EXPECT_EQ(u"error 13 DeconvertDigit: Invalid Alpha Character",
            Convert(Variant(TextView(text).substr(5)).Get(), 30, 10));
}

struct DigitRow {
  long digit;
  long base;
  TextView answer;
};

TEST_F(BasesTest, ConvertDigitAnswersEachRow) {
  constexpr TextView kInvalid = u"error 13 ConvertDigit: Invalid digit for base";
  constexpr TextView kUnknown = u"error 13 ConvertDigit: Unknown base";
  const DigitRow rows[] = {
      {0, 26, u"text A"},   {0, 30, u"text 1"},
      {0, 31, u"text 2"},   {0, 32, u"text 1"},
      {0, 60, u"text 00:"}, {0, 10, u"text 0"},
      {15, 16, u"text F"},  {16, 16, kInvalid},
      {3, 5, kUnknown},     {5, 3, kInvalid},
      {0, 0, kInvalid},     {0, 1, kUnknown},
      {5, 60, u"text 05:"}, {59, 60, u"text 59:"},
      {-7, 10, u"text -7"}, {-1, 16, u"error 5 Brindlex: Invalid procedure call or argument"},
  };
  for (const DigitRow& row : rows) {
    EXPECT_EQ(row.answer, ByVtable(row.digit, row.base));
    EXPECT_EQ(row.answer,
              ByDispatch(L"ConvertDigit", {OfLong(row.digit).Get(), OfLong(row.base).Get()}));
  }
}

struct DigitTextRow {
  TextView text;
  long base;
  TextView answer;
};

TEST_F(BasesTest, DeconvertDigitAnswersEachRow) {
  constexpr TextView kInvalid = u"error 13 DeconvertDigit: Invalid digit for base";
  constexpr TextView kAlpha = u"error 13 DeconvertDigit: Invalid Alpha Character";
  constexpr TextView kCharacter = u"error 13 DeconvertDigit: Invalid character";
  constexpr TextView kUnknown = u"error 13 DeconvertDigit: Unknown base";
  const DigitTextRow rows[] = {
      {u"B", 30, u"long 9"},   {u"A", 30, kAlpha},
      {u"1", 31, kAlpha},      {u"f", 16, kInvalid},
      {u"", 16, u"long 0"},    {u"", 32, u"long 0"},
      {u"2", 2, kInvalid},     {u"x", 8, kCharacter},
      {u"07:", 60, u"long 7"}, {u"7:", 60, kInvalid},
      {u"60:", 60, kInvalid},  {u"07;", 60, kInvalid},
      {u"x7:", 60, kInvalid},  {u"", 10, kCharacter},
      {u"AB", 16, u"long 10"}, {u"-1", 10, u"long -1"},
      {u"8", 8, kInvalid},     {u"2.5", 8, u"long 2"},
      {u"3.5", 8, u"long 4"},  {u"0", 5, kUnknown},
      {u"a", 26, kAlpha},      {u"4294967296", 10, u"error 6 Brindlex: Overflow"},
  };
  for (const DigitTextRow& row : rows) {
    long digit = 4711;
    const Bstr text(row.text);
    const HRESULT status = Bases().DeconvertDigit(text.Get(), row.base, &digit);
    EXPECT_EQ(row.answer.starts_with(u"long"), SUCCEEDED(status));
    EXPECT_EQ(SUCCEEDED(status) ? row.answer : u"long 0", Shown(OfLong(digit).Get()));
    EXPECT_EQ(row.answer,
              ByDispatch(L"DeconvertDigit", {Variant(row.text).Get(), OfLong(row.base).Get()}));
  }
}

TEST_F(BasesTest, EveryDigitOfEveryBaseRoundTrips) {
  for (const long base : kBases) {
    for (long digit = 0; digit < base; ++digit) {
      Bstr text;
      long back = -1;
      EXPECT_EQ(S_OK, Bases().ConvertDigit(digit, base, text.Receive()));
      EXPECT_EQ(S_OK, Bases().DeconvertDigit(text.Get(), base, &back));
      EXPECT_EQ(digit, back);
    }
  }
}

TEST_F(BasesTest, OfAllSingleCharactersOnlyTheNumeralsAreNumbers) {
  for (unsigned unit = 1; unit < 0x10000; ++unit) {
    const Text text(1, static_cast<char16_t>(unit));
    long digit = -1;
    const HRESULT status = Bases().DeconvertDigit(Bstr(text).Get(), 10, &digit);
    if (unit >= u'0' && unit <= u'9') {
      EXPECT_EQ(static_cast<long>(unit - u'0'), digit);
    } else {
      EXPECT_EQ(static_cast<HRESULT>(0x800A000D), status) << std::hex << unit;
    }
  }
}

TEST_F(BasesTest, ConvertBase2DecAnswersAsConvertBaseDoes) {
  for (const TextView text : {u"FF", u"-1A.8", u"1-2", u"1.2.3", u"a", u"", u"0.00000001"}) {
    const Units expected = Convert(Variant(text).Get(), 16, 10);
    EXPECT_EQ(expected, ByVtable(text, 16));
    EXPECT_EQ(expected, ByDispatch(L"ConvertBase2Dec", {Variant(text).Get(), OfLong(16).Get()}));
  }
  EXPECT_EQ(u"double 0", ByVtable(u"", 16));
  double value = -1;
  EXPECT_EQ(S_OK, Bases().ConvertBase2Dec(nullptr, 16, &value));
  EXPECT_EQ(0, value);
}

TEST_F(BasesTest, NeedsAPlaceForTheResult) {
  const Variant one = OfLong(1);
  EXPECT_EQ(E_POINTER, Bases().ConvertBase(one.Get(), 10, 2, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, Bases().ConvertDec2Base(one.Get(), 2, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, Bases().ConvertBase2Dec(nullptr, 2, nullptr));
  EXPECT_EQ(E_POINTER, Bases().ConvertDigit(1, 2, nullptr));
  EXPECT_EQ(E_POINTER, Bases().DeconvertDigit(nullptr, 16, nullptr));
}

TEST_F(BasesTest, ANullPointerForAnOptionalArgumentIsItsDefault) {
  Variant result;
  EXPECT_EQ(S_OK, Bases().ConvertBase(OfDouble(0.1).Get(), 10, 16, nullptr, nullptr, nullptr,
                                      result.Receive()));
  EXPECT_EQ(u"text 0.1999999999999A", Shown(result.Get()));
  Bstr text;
  EXPECT_EQ(S_OK, Bases().ConvertDec2Base(OfDouble(0.1).Get(), 16, nullptr, nullptr, nullptr,
                                          text.Receive()));
  EXPECT_EQ(u"0.1999999999999A", text.View());
}

}  // namespace
}  // namespace brindlex::testing
