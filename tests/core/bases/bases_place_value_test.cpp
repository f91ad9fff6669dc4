#include "bases/place_value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "bases/double_bits.h"
#include "tests/core/bases/number_source.h"

namespace brindlex {
namespace {

void ExpectSame(double rest, double place) {
  const Taken expected = TakeStepwise(rest, place);
  const Taken six = TakeAtOnce<6>(rest, PlaceValue(place));
  ASSERT_EQ(six.digit, expected.digit) << std::hexfloat << rest << " by " << place;
  ASSERT_EQ(six.rest, expected.rest) << std::hexfloat << rest << " by " << place;
  const Taken five = TakeAtOnce<5>(rest, PlaceValue(place));
  ASSERT_EQ(five.digit, expected.digit) << std::hexfloat << rest << " by " << place;
  ASSERT_EQ(five.rest, expected.rest) << std::hexfloat << rest << " by " << place;
  ASSERT_EQ(CountSteps(rest, place), expected.digit) << std::hexfloat << rest << " by " << place;
}

TEST(TakeAtOnce, IsTheLoop) {
  NumberSource source(10);
  for (int i = 0; i < 200000; ++i) {
    const double place = source.Magnitude(-40, 80);
    ExpectSame(place * source.Magnitude(-1, 7), place);
  }
}

// The low bits of the place value decide how each range rounds, ties included.
TEST(TakeAtOnce, IsTheLoopForEveryEndOfThePlaceValue) {
  NumberSource source(11);
  for (std::uint64_t low = 0; low < 128; ++low) {
    for (int i = 0; i < 500; ++i) {
      const double place = FromBits(BitsOf(source.Magnitude(0, 1)) / 128 * 128 + low);
      ExpectSame(place * source.Magnitude(-1, 7), place);
    }
  }
}

TEST(TakeAtOnce, IsTheLoopNextToMultiples) {
  NumberSource source(12);
  for (int i = 0; i < 50000; ++i) {
    const double place = source.Magnitude(-4, 8);
    const std::uint64_t multiple = BitsOf(place * (1 + source.Below(64)));
    ExpectSame(FromBits(multiple + source.Below(9) - 4), place);
  }
}

TEST(TakeAtOnce, IsTheLoopWherePlaceValuesAreTiny) {
  NumberSource source(13);
  for (int i = 0; i < 20000; ++i) {
    const double place = FromBits(1 + (source.Bits() >> (6 + source.Below(58))));
    const double rest = place * (1 + source.Below(60));
    if (std::isfinite(rest)) ExpectSame(rest, place);
  }
}

TEST(TakeAtOnce, IsTheLoopWherePartsOfPlaceValuesAreTiny) {
  NumberSource source(14);
  for (int i = 0; i < 50000; ++i) {
    const double place = source.Magnitude(-1022, 80);
    ExpectSame(place * source.Magnitude(-1, 7), place);
  }
}

TEST(CountSteps, IsTheLoopForManySteps) {
  NumberSource source(14);
  for (int i = 0; i < 300; ++i) {
    const double place = source.Magnitude(-4, 8);
    const double rest = place * source.Magnitude(4, 14);
    ASSERT_EQ(CountSteps(rest, place), TakeStepwise(rest, place).digit)
        << std::hexfloat << rest << " by " << place;
  }
}

// 2^30 steps and more, as the loop itself counted once.
TEST(CountSteps, RowsOfVeryManySteps) {
  EXPECT_EQ(CountSteps(1, 1 / 2147483647.0), 2147483647);
  EXPECT_EQ(CountSteps(0.75, 1 / 2000000011.0), 1499999980);
  EXPECT_EQ(CountSteps(0.9, 1 / 1999999973.0), 1799999936);
}

TEST(CountSteps, ReturnsMinusOneWhenTheLoopDoesNotEnd) {
  EXPECT_EQ(CountSteps(1, 0), -1);
  EXPECT_EQ(CountSteps(0, 0), -1);
  EXPECT_EQ(CountSteps(1, 0x1p-54), -1);
  EXPECT_EQ(CountSteps(1, 0x1p-40), -1);
  EXPECT_EQ(CountSteps(1, 0x1p-31), -1);
  EXPECT_EQ(CountSteps(std::nextafter(1, 0), 0x1p-31), 2147483647);
  EXPECT_EQ(CountSteps(0, 1), 0);
}

}  // namespace
}  // namespace brindlex
