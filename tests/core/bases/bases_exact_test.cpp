#include "bases/exact.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "bases/digit_count.h"
#include "bases/double_bits.h"
#include "bases/powers.h"
#include "tests/core/bases/naive_bases.h"
#include "tests/core/bases/number_source.h"

namespace brindlex {
namespace {

/// How many entries of a table to step over at a time: 1 with BRINDLEX_MODEL_COUNT set.
std::int32_t Stride() { return std::getenv("BRINDLEX_MODEL_COUNT") == nullptr ? 11 : 1; }

struct LnRow {
  double x;
  double ln;
};

// From Python's decimal module: 60 digits, then rounded once.
constexpr LnRow kLogarithms[] = {
    {0x0.0000000000001p-1022, -0x1.74385446d71c3p+9},
    {0x1.0000000000000p-1022, -0x1.6232bdd7abcd2p+9},
    {0x1.fffffffffffffp+1023, 0x1.62e42fefa39efp+9},
    {0x1.0000000000000p-1, -0x1.62e42fefa39efp-1},
    {0x1.0000000000000p+1, 0x1.62e42fefa39efp-1},
    {0x1.fffffffffffffp-1, -0x1.0000000000000p-53},
    {0x1.0000000000001p+0, 0x1.fffffffffffffp-53},
    {0x1.5555555555555p-2, -0x1.193ea7aad030bp+0},
    {0x1.4000000000000p+3, 0x1.26bb1bbb55516p+1},
    {0x1.e000000000000p+5, 0x1.0609bdc65328bp+2},
    {0x1.f400000000000p+9, 0x1.ba18a998fffa0p+2},
    {0x1.8000000000000p+1, 0x1.193ea7aad030bp+0},
    {0x1.fffffffc00000p+30, 0x1.57cd0e7006820p+4},
    {0x1.fffffffffffffp+0, 0x1.62e42fefa39eep-1},
    {0x1.fffffffffffffp-2, -0x1.62e42fefa39f0p-1},
    {0x1.0000000000001p-1, -0x1.62e42fefa39edp-1},
    {0x1.8000000000000p+0, 0x1.9f323ecbf984cp-2},
    {0x1.96a04e7d80068p-111, -0x1.31e80f1d427b2p+6},
    {0x1.3cfe0afae5a3bp+151, 0x1.a38404c732bd3p+6},
    {0x1.54c40c439f34ap+533, 0x1.71bbc46138339p+8},
    {0x1.563b1e794ee14p-404, -0x1.17bdbc2ddfbafp+8},
    {0x1.be7d742840d2bp-311, -0x1.ae066ac9a0801p+7},
    {0x1.e5adfa2beee31p+407, 0x1.1ac05381527fcp+8},
    {0x1.cfc64e7aa8576p-608, -0x1.a4d6da09a6182p+8},
    {0x1.23c0bdf43efb2p+318, 0x1.b91a628e90f94p+7},
    {0x1.a430e92ac3d42p+637, 0x1.ba07c0d419c31p+8},
    {0x1.82a012b5c5cd1p-913, -0x1.3c372e327ae31p+9},
    {0x1.0212c69599354p+643, 0x1.bdb3a2d6c01e3p+8},
    {0x1.3bc1cfe6c2b03p-716, -0x1.f01565dcc311dp+8},
    {0x1.50ed31a6e72b9p-511, -0x1.61ec6bec8b3c6p+8},
    {0x1.2a36d51b31a6cp+920, 0x1.3eec8c989f1d6p+9},
    {0x1.67f00f335c357p-693, -0x1.e0029f4104b29p+8},
    {0x1.7a41b730bed9cp+664, 0x1.cca3df2282e00p+8},
    {0x1.726d0356a4152p-205, -0x1.1b738e7462c8fp+7},
    {0x1.87b4d51209e8fp-510, -0x1.611468fd49e7ep+8},
    {0x1.ac4a9e89c5bc7p-281, -0x1.8484fb7c6d7efp+7},
    {0x1.861cd55e7d67ep+323, 0x1.c09d979df132fp+7},
    {0x1.cc74d6d683cf8p-644, -0x1.bdccbbfe3a37fp+8},
    {0x1.1cabea0afe356p-950, -0x1.49311bde1c15bp+9},
    {0x1.5f593ce3ad2b2p+376, 0x1.04f09ffe2c4eep+8},
};

TEST(RoundedLn, Rows) {
  for (const LnRow& row : kLogarithms) {
    EXPECT_EQ(RoundedLn(row.x), row.ln) << std::hexfloat << row.x;
    EXPECT_EQ(naive::Ln(row.x), row.ln) << std::hexfloat << row.x;
  }
  EXPECT_EQ(RoundedLn(1), 0);
}

TEST(RoundedLn, AgreesWithBoundsOnBothSides) {
  NumberSource source(1);
  for (int i = 0; i < 300; ++i) {
    const double x = i % 3 == 0 ? source.AnyMagnitude() : source.Magnitude(-1, 2);
    EXPECT_EQ(RoundedLn(x), naive::Ln(x)) << std::hexfloat << x;
  }
}

TEST(RoundedPower, Rows) {
  EXPECT_EQ(RoundedPower(10, 0), 1);
  EXPECT_EQ(RoundedPower(10, 22), 1e22);
  EXPECT_EQ(RoundedPower(10, 23), 1e23);
  EXPECT_EQ(RoundedPower(10, 308), 1e308);
  EXPECT_EQ(RoundedPower(10, 309), std::numeric_limits<double>::infinity());
  EXPECT_EQ(RoundedPower(10, -1), 0.1);
  EXPECT_EQ(RoundedPower(10, -323), 1e-323);
  EXPECT_EQ(RoundedPower(10, -324), 0);
  EXPECT_EQ(RoundedPower(2, 1023), 0x1p1023);
  EXPECT_EQ(RoundedPower(2, 1024), std::numeric_limits<double>::infinity());
  EXPECT_EQ(RoundedPower(2, -1074), 0x1p-1074);
  // Halfway between 0 and the least denormal: the even one.
  EXPECT_EQ(RoundedPower(2, -1075), 0);
  EXPECT_EQ(RoundedPower(3, -679), 0);
  EXPECT_EQ(RoundedPower(3, -678), std::numeric_limits<double>::denorm_min());
  constexpr auto kLargest = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(RoundedPower(kLargest, 1), 2147483647.0);
  EXPECT_EQ(RoundedPower(kLargest, 2), 4611686014132420609.0);
  EXPECT_EQ(RoundedPower(kLargest, kLargest), std::numeric_limits<double>::infinity());
  EXPECT_EQ(RoundedPower(2, std::numeric_limits<std::int32_t>::min()), 0);
}

TEST(RoundedPower, TheLastBitsDecide) {
  // The 64 bits end in half a last place and a 1; in 54 bits, exactly halfway and odd above.
  EXPECT_EQ(RoundedPower(2542593, 3), 0x1.c83a0e9cb048dp+63);
  EXPECT_EQ(RoundedPower(2546689, 3), 0x1.ca6f6a97cf493p+63);
  EXPECT_EQ(RoundedPower(262143, 3), 0x1.fffe800060000p+53);
}

// The 64 bits of each are exactly half way between two doubles, of which the lower one is even.
// From Python's integers.
TEST(RoundedPower, FurtherBitsDecideATie) {
  // A single 1 after them.
  EXPECT_EQ(RoundedPower(2643969, 3), 0x1.00804b78db391p+64);
  EXPECT_EQ(RoundedPower(2652161, 3), 0x1.02e48b8f29397p+64);
  EXPECT_EQ(RoundedPower(2660353, 3), 0x1.054c96e58f39dp+64);
  EXPECT_EQ(RoundedPower(2134713759, 13), 0x1.d9cd626b8ac2fp+402);
  EXPECT_EQ(RoundedPower(2092530379, 18), 0x1.411690b06b59dp+557);
  EXPECT_EQ(RoundedPower(370651287, 13), 0x1.0945eaa2a68bdp+370);
  EXPECT_EQ(RoundedPower(1662504627, -9), 0x1.405ef08dc8a3dp-276);
  EXPECT_EQ(RoundedPower(891396503, -10), 0x1.9b9827dd56fe5p-298);
  EXPECT_EQ(RoundedPower(1554201931, -5), 0x1.4252d64680b79p-153);
}

TEST(RoundedPower, IsTheNearestDouble) {
  NumberSource source(2);
  for (int i = 0; i < 200; ++i) {
    const auto base = static_cast<std::int32_t>(2 + source.Below(i % 2 == 0 ? 100 : 2000000000));
    const auto exponent =
        static_cast<std::int32_t>(source.Below(i % 2 == 0 ? 800 : 80)) - (i % 2 == 0 ? 400 : 40);
    EXPECT_EQ(RoundedPower(base, exponent), naive::Power(base, exponent))
        << base << "^" << exponent;
  }
}

TEST(Powers, TheTablesAreTheRoundedPowers) {
  for (const BaseTable& table : kBaseTables) {
    for (std::int32_t exponent = -1080; exponent <= 1030; exponent += Stride()) {
      ASSERT_EQ(Power(table, exponent), RoundedPower(table.base, exponent))
          << table.base << "^" << exponent;
    }
    for (std::int32_t exponent = -330; exponent <= 330; exponent += 47) {
      ASSERT_EQ(Power(table, exponent), naive::Power(table.base, exponent));
    }
  }
}

/// The floor of the quotient as its definition has it.
double FloorByLogarithms(double x, double lnOfBase) { return std::floor(RoundedLn(x) / lnOfBase); }

TEST(Powers, BeyondTheTablesAreZeroAndInfinity) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const BaseTable& table : kBaseTables) {
    const std::int32_t base = table.base;
    if (table.digitBits != 0) continue;
    for (const std::int32_t exponent : {-100'000, table.lowestPower - 1}) {
      EXPECT_EQ(PowerBits(table, exponent), 0U) << base << " to " << exponent;
      EXPECT_EQ(Power(table, exponent), 0) << base << " to " << exponent;
    }
    for (const std::int32_t exponent : {400, 100'000, std::numeric_limits<std::int32_t>::max()}) {
      EXPECT_EQ(PowerBits(table, exponent), kInfinityBits) << base << " to " << exponent;
      EXPECT_EQ(Power(table, exponent), kInfinity) << base << " to " << exponent;
    }
  }
}

TEST(FloorOfQuotient, ChangesWhereTheLogarithmsSay) {
  for (const BaseTable& table : kBaseTables) {
    const double lnOfBase = RoundedLn(table.base);
    const auto end = table.lowestThreshold + static_cast<std::int32_t>(table.slips.size());
    for (std::int32_t k = table.lowestThreshold; k<end; k += k> 0 && k <= 40 ? 1 : Stride()) {
      const auto slip = table.slips[static_cast<std::size_t>(k - table.lowestThreshold)];
      const std::uint64_t bits =
          PowerBits(table, k) + static_cast<std::uint64_t>(std::int64_t{slip});
      ASSERT_EQ(FloorByLogarithms(FromBits(bits), lnOfBase), k) << "base " << table.base;
      ASSERT_EQ(FloorOfQuotient(FromBits(bits), table), k) << "base " << table.base;
      if (bits == 1) continue;
      ASSERT_LT(FloorByLogarithms(FromBits(bits - 1), lnOfBase), k) << "base " << table.base;
      ASSERT_EQ(FloorOfQuotient(FromBits(bits - 1), table), k - 1) << "base " << table.base;
    }
    const double largest = std::numeric_limits<double>::max();
    EXPECT_EQ(FloorByLogarithms(largest, lnOfBase), end - 1) << "base " << table.base;
    EXPECT_EQ(FloorOfQuotient(largest, table), end - 1) << "base " << table.base;
  }
}

TEST(FloorOfQuotient, AgreesWithTheLogarithmsEverywhere) {
  NumberSource source(3);
  for (const BaseTable& table : kBaseTables) {
    const double lnOfBase = RoundedLn(table.base);
    for (int i = 0; i < 200; ++i) {
      const double x = i % 2 == 0 ? source.AnyMagnitude() : source.NearPower(table.base);
      ASSERT_EQ(FloorOfQuotient(x, table), FloorByLogarithms(x, lnOfBase))
          << std::hexfloat << x << " in base " << table.base;
    }
  }
}

TEST(FloorOfQuotient, OfOtherBasesTakesTheLogarithms) {
  NumberSource source(4);
  for (int i = 0; i < 200; ++i) {
    const auto base = static_cast<std::int32_t>(3 + source.Below(i % 2 == 0 ? 60 : 2000000000));
    const double x = i % 2 == 0 ? source.NearPower(base) : source.AnyMagnitude();
    ASSERT_EQ(FloorOfQuotient(x, base) + 1, naive::DigitCount(x, 0, base)) << x << " in " << base;
  }
}

/// How many of the first 40 powers of a base have a digit count that is one short.
int ShortCounts(const BaseTable& table) {
  int shortCounts = 0;
  for (std::int32_t exponent = 1; exponent <= 40; ++exponent) {
    const std::int32_t count = DigitCount(Power(table, exponent), 0, table.base);
    if (count != exponent + 1) ++shortCounts;
    EXPECT_GE(count, exponent);
    EXPECT_EQ(count, naive::DigitCount(Power(table, exponent), 0, table.base));
  }
  return shortCounts;
}

TEST(DigitCount, OfPowersIsTheTextbooks) {
  for (const BaseTable& table : kBaseTables) ShortCounts(table);
}

TEST(DigitCount, IsOneShortFor35Of360PowersOfThePublishedBases) {
  int shortCounts = 0;
  for (const std::int32_t base : {2, 8, 10, 16, 26, 30, 31, 32, 60}) {
    shortCounts += ShortCounts(*FindBaseTable(base));
  }
  EXPECT_EQ(shortCounts, 35);
}

TEST(DigitCount, Rows) {
  EXPECT_EQ(DigitCount(1000, 0, 10), 3);
  EXPECT_EQ(DigitCount(100, 0, 10), 3);
  EXPECT_EQ(DigitCount(1, 0, 10), 1);
  EXPECT_EQ(DigitCount(0.5, 0, 10), 0);
  EXPECT_EQ(DigitCount(0.01, 0, 16), -1);
  EXPECT_EQ(DigitCount(0.01, 4, 16), 0);
  EXPECT_EQ(DigitCount(5, 4, 2), 4);
  EXPECT_EQ(DigitCount(16, 4, 2), 8);
  EXPECT_EQ(DigitCount(5, 1, 2), 3);
  EXPECT_EQ(DigitCount(5, -4, 2), 3);
  EXPECT_EQ(DigitCount(5, std::numeric_limits<std::int32_t>::max(), 2),
            std::numeric_limits<std::int32_t>::max());
  // The quotient for the largest double rounds up to 1024 and to 256.
  EXPECT_EQ(DigitCount(std::numeric_limits<double>::max(), 0, 2), 1025);
  EXPECT_EQ(DigitCount(std::numeric_limits<double>::max(), 0, 16), 257);
}

TEST(DigitCount, PaddingAgreesWithTheTextbook) {
  NumberSource source(5);
  for (int i = 0; i < 20000; ++i) {
    const double x = source.AnyMagnitude();
    const auto groupSize = static_cast<std::int32_t>(
        source.Below(i % 4 == 0 ? 2147483647U : static_cast<std::uint32_t>(2 + i % 200)));
    ASSERT_EQ(DigitCount(x, groupSize, 10), naive::DigitCount(x, groupSize, 10))
        << x << " in groups of " << groupSize;
  }
}

TEST(DigitCount, ErrorsOfTheLogarithm) {
  const auto errorOf = [](double x) {
    return OutcomeOf([x] { return static_cast<double>(DigitCount(x, 0, 10)); }).number;
  };
  EXPECT_EQ(errorOf(0), 5);
  EXPECT_EQ(errorOf(-0.0), 5);
  EXPECT_EQ(errorOf(std::numeric_limits<double>::infinity()), 6);
  EXPECT_EQ(errorOf(std::numeric_limits<double>::quiet_NaN()), 6);
}

TEST(Floor, Rows) {
  EXPECT_EQ(Floor(2.5), 2);
  EXPECT_EQ(Floor(-2.5), -3);
  EXPECT_EQ(Floor(-2), -2);
  EXPECT_EQ(Floor(0), 0);
  EXPECT_EQ(Floor(-0x1p-1074), -1);
  EXPECT_EQ(Floor(0x1p60), 0x1p60);
  EXPECT_EQ(Floor(-0x1p60), -0x1p60);
  EXPECT_EQ(Floor(0x1.8p70), 0x1.8p70);
  EXPECT_EQ(Floor(-0x1.8p70), -0x1.8p70);
  EXPECT_EQ(Floor(std::nextafter(1, 0)), 0);
  EXPECT_TRUE(std::isnan(Floor(std::numeric_limits<double>::quiet_NaN())));
}

}  // namespace
}  // namespace brindlex
