// How the system reads and writes numbers for the user, and what is read without it.

#include "platform/win32/automation/number_text.h"

#include <gtest/gtest.h>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

const Win32NumberText kReading;

/// The number of the error that reading `text` raises; 0 when it raises none.
std::int32_t ErrorOfLeading(TextView text) {
  try {
    kReading.LeadingNumber(text);
    return 0;
  } catch (const RuntimeError& error) {
    return error.number;
  }
}

TEST(Win32NumberTextTest, LeadingDecimalNumbers) {
  struct Row {
    TextView text;
    double number;
  };
  constexpr Row kRows[] = {
      {u"", 0},       {u"12", 12},   {u" 1\t2\n3 ", 123}, {u"12.5x", 12.5}, {u"1D3", 1000},
      {u"1d-1", 0.1}, {u"1E2", 100}, {u"-7", -7},         {u".5.5", 0.5},   {u"abc", 0},
      {u"D3", 0},     {u"1e", 1},    {u"$3", 0},          {u"1,5", 1},
  };
  for (const Row& row : kRows) EXPECT_EQ(row.number, kReading.LeadingNumber(row.text));
}

TEST(Win32NumberTextTest, LeadingPatternsAreSignedBySize) {
  struct Row {
    TextView text;
    double number;
  };
  constexpr Row kRows[] = {
      {u"&HFF", 255},
      {u"&hff", 255},
      {u"& h 1 0", 16},
      {u"&H", 0},
      {u"&HG", 0},
      {u"&HFG", 15},
      {u"&H7FFF", 32767},
      {u"&H8000", -32768},
      {u"&HFFFF", -1},
      {u"&HFFFF&", 65535},
      {u"&HFFFFx", -1},
      {u"&H10000", 65536},
      {u"&HFFFFFFFF", -1},
      {u"&HD", 13},
      {u"&hdead&", 57005},
      {u"&O17", 15},
      {u"&o17", 15},
      {u"&17", 15},
      {u"&8", 0},
      {u"&O78", 7},
      {u"&O177777", -1},
      {u"&O177777&", 65535},
      {u"&O200000", 65536},
      {u"&", 0},
      {u"&H80000000", -2147483648.0},
      {u"&H7fffffff", 2147483647.0},
  };
  for (const Row& row : kRows) EXPECT_EQ(row.number, kReading.LeadingNumber(row.text));
}

TEST(Win32NumberTextTest, PatternsOfMoreThan32BitsOverflow) {
  for (const TextView text : {u"&H100000000", u"&HFFFFFFFFF", u"&O40000000000"}) {
    EXPECT_EQ(error_number::kOverflow, ErrorOfLeading(text));
  }
  EXPECT_EQ(0, ErrorOfLeading(u"&O37777777777"));
  EXPECT_EQ(error_number::kOverflow, ErrorOfLeading(u"1E999"));
}

TEST(Win32NumberTextTest, OnlyZeroBeginsWithZeroWhereThePointSeparates) {
  EXPECT_TRUE(kReading.BeginsWithZero(0));
  EXPECT_TRUE(kReading.BeginsWithZero(-0.0));
  for (const double value : {1.0, -1.0, 10.0, 0.5, -0.25, 1e-5, 1e300}) {
    EXPECT_FALSE(kReading.BeginsWithZero(value)) << value;
  }
}

}  // namespace
}  // namespace brindlex
