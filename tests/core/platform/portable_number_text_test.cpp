#include "platform/portable_number_text.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/core/bases/naive_bases.h"

namespace brindlex {
namespace {

const PortableNumberText kReading;

struct NumericRow {
  TextView text;
  bool numeric;
  double value;
};

TEST(PortableNumberText, WholeTexts) {
  const NumericRow rows[] = {
      {u"0", true, 0},         {u"12", true, 12},
      {u"-12.5", true, -12.5}, {u"+3", true, 3},
      {u" 7\t", true, 7},      {u"\n7", true, 7},
      {u".5", true, 0.5},      {u"5.", true, 5},
      {u"1e3", true, 1000},    {u"1E+3", true, 1000},
      {u"1e-3", true, 0.001},  {u"1e-999", true, 0},
      {u"0e999", true, 0},     {u"007", true, 7},
      {u"0.1", true, 0.1},     {u"", false, 0},
      {u" ", false, 0},        {u".", false, 0},
      {u"-", false, 0},        {u"1e", false, 0},
      {u"1e+", false, 0},      {u"1 2", false, 0},
      {u"--1", false, 0},      {u"1-", false, 0},
      {u"12abc", false, 0},    {u"0x10", false, 0},
      {u"&H10", false, 0},     {u"1,5", false, 0},
      {u"1.2.3", false, 0},    {u"e5", false, 0},
      {u"\uFF15", false, 0},   {TextView(u"1\0", 2), false, 0},
      {u"inf", false, 0},      {u"nan", false, 0},
      {u"1\u00A0", false, 0},  {u"?", false, 0},
      {u"1:", false, 0},       {u"1/", false, 0},
      {u"\u0131", false, 0},   {TextView(u"\0", 1), false, 0},
  };
  for (const NumericRow& row : rows) {
    const Outcome outcome = OutcomeOf([&] { return kReading.ToDouble(row.text); });
    const std::string shown(row.text.begin(), row.text.end());
    EXPECT_EQ(kReading.IsNumeric(row.text), row.numeric) << shown;
    EXPECT_EQ(outcome.number, row.numeric ? 0 : 13) << shown;
    EXPECT_EQ(outcome.value, row.value) << shown;
  }
}

TEST(PortableNumberText, BeyondTheDoubles) {
  for (const TextView text : {u"1e309", u"-1e309", u"100e307", u"0.001e999", u"1e99999999999"}) {
    EXPECT_FALSE(kReading.IsNumeric(text));
    EXPECT_EQ(OutcomeOf([&] { return kReading.ToDouble(text); }).number, 6);
    EXPECT_EQ(OutcomeOf([&] { return kReading.LeadingNumber(text); }).number, 6);
  }
  for (const TextView text : {u"1e-400", u"0.0001e-99999999999", u"-1e-400"}) {
    EXPECT_EQ(kReading.ToDouble(text), 0);
  }
}

Text Zeros(std::size_t count) { return Text().append(count, u'0'); }

TEST(PortableNumberText, BeyondTheDoublesByDigitsAgainstTheExponent) {
  const Text large[] = {u"1" + Zeros(400),
                        u"1" + Zeros(400) + u".0",
                        u"1E400",
                        u"1" + Zeros(799) + u"e-400",
                        u"1" + Zeros(3400) + u"e-3000",
                        u"0." + Zeros(2599) + u"1e3000",
                        u"0." + Zeros(2599) + u"1E+3000"};
  for (const Text& text : large) {
    EXPECT_EQ(OutcomeOf([&] { return kReading.ToDouble(text); }).number, 6);
  }
  const Text small[] = {u"1E-400", u"." + Zeros(400) + u"1", u"0." + Zeros(399) + u"1e50",
                        u"0." + Zeros(3399) + u"1e3000", u"1" + Zeros(2600) + u"e-3000"};
  for (const Text& text : small) EXPECT_EQ(kReading.ToDouble(text), 0);
}

TEST(PortableNumberText, WholeNumbersRoundHalfToEven) {
  const std::pair<TextView, std::int32_t> rows[] = {
      {u"0.5", 0},
      {u"1.5", 2},
      {u"2.5", 2},
      {u"-0.5", 0},
      {u"-1.5", -2},
      {u"-2.5", -2},
      {u"2.6", 3},
      {u"-2.6", -3},
      {u"2.4", 2},
      {u"2147483647", 2147483647},
      {u"-2147483648", std::numeric_limits<std::int32_t>::min()},
      {u"2147483647.4", 2147483647}};
  for (const auto& [text, whole] : rows) {
    EXPECT_EQ(kReading.ToWhole(text), whole) << std::string(text.begin(), text.end());
  }
  for (const TextView text : {u"2147483648", u"2147483647.5", u"-2147483649", u"1e30"}) {
    EXPECT_EQ(OutcomeOf([&] { return static_cast<double>(kReading.ToWhole(text)); }).number, 6);
  }
  EXPECT_EQ(OutcomeOf([] { return static_cast<double>(kReading.ToWhole(u"x")); }).number, 13);
}

TEST(PortableNumberText, LeadingNumbers) {
  const std::pair<TextView, double> rows[] = {
      {u"12abc", 12}, {u"abc", 0},  {u"", 0},         {u" 1 2 3", 123}, {u"1.5.2", 1.5},
      {u"-4x", -4},   {u"- 4", -4}, {u"1e2x", 100},   {u"1ex", 1},      {u"1e+", 1},
      {u".5,", 0.5},  {u"1,5", 1},  {u"1/1/2000", 1}, {u"--1", 0},      {u"True", 0}};
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(kReading.LeadingNumber(text), value) << std::string(text.begin(), text.end());
  }
}

TEST(PortableNumberText, NumbersAsText) {
  const std::pair<double, TextView> rows[] = {{0, u"0"},
                                              {1, u"1"},
                                              {-2.5, u"-2.5"},
                                              {0.1, u"0.1"},
                                              {1e15, u"1E+15"},
                                              {1e14, u"100000000000000"},
                                              {1.0 / 3, u"0.333333333333333"},
                                              {0.0001, u"0.0001"},
                                              {0.00001, u"1E-05"},
                                              {1e300, u"1E+300"}};
  for (const auto& [value, text] : rows) EXPECT_EQ(kReading.ToText(value), text) << value;
}

TEST(PortableNumberText, BeginsWithZeroFollowsFromTheText) {
  for (const double value : {0.0, -0.0, 1.0, 0.5, -0.001, 1e-300, 5e-324, 1e300}) {
    EXPECT_EQ(kReading.BeginsWithZero(value), kReading.NumberText::BeginsWithZero(value)) << value;
  }
}

}  // namespace
}  // namespace brindlex
