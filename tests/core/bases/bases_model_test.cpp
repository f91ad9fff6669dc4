// The component against the textbook, case by case.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include "bases/bases.h"
#include "platform/portable_number_text.h"
#include "tests/core/bases/naive_bases.h"
#include "tests/core/bases/number_source.h"

namespace brindlex {
namespace {

const PortableNumberText kReading;

/// How many random numbers each test takes per base: BRINDLEX_MODEL_COUNT, or few.
int Count() {
  const char* const count = std::getenv("BRINDLEX_MODEL_COUNT");
  return count == nullptr ? 1000 : std::atoi(count);
}

void ExpectTextbookText(double x, std::int32_t base, const ConversionLimits& limits) {
  ConversionLimits ours = limits;
  ConversionLimits textbook = limits;
  Outcome outcome = OutcomeOf([&] { return ConvertDec2Base(x, base, ours, kReading); });
  Outcome expected = OutcomeOf([&] { return naive::ConvertDec2Base(x, base, textbook); });
  outcome.tolerance = ours.tolerance;
  expected.tolerance = textbook.tolerance;
  ASSERT_EQ(outcome, expected) << std::hexfloat << x << " in base " << std::dec << base
                               << ", fraction " << limits.maxFractionDigits << ", tolerance "
                               << limits.tolerance << ", group " << limits.groupSize;
}

void ExpectTextbookValue(const Text& text, std::int32_t base) {
  ASSERT_EQ(OutcomeOf([&] { return ConvertBase2Dec(text, base, kReading); }),
            OutcomeOf([&] { return naive::ConvertBase2Dec(text, base, kReading); }))
      << std::string(text.begin(), text.end()) << " in base " << base;
}

ConversionLimits RandomLimits(NumberSource& source) {
  ConversionLimits limits;
  if (source.Below(2) == 0)
    limits.maxFractionDigits = static_cast<std::int32_t>(source.Below(40)) - 3;
  if (source.Below(4) == 0) limits.tolerance = source.Magnitude(-100, 110);
  if (source.Below(8) == 0) limits.tolerance = 0;
  if (source.Below(4) == 0) limits.groupSize = static_cast<std::int32_t>(source.Below(12)) - 2;
  return limits;
}

TEST(BasesModel, EveryShortTextInEveryBase) {
  constexpr char16_t kUnits[] = u"01A.-:";
  std::vector<std::int32_t> bases(kBases.begin(), kBases.end());
  bases.push_back(3);
  for (const std::int32_t base : bases) {
    Text text;
    const auto extend = [&](const auto& self) -> void {
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookValue(text, base));
      if (text.size() == 5) return;
      for (int i = 0; i < 6; ++i) {
        text.push_back(kUnits[i]);
        self(self);
        text.pop_back();
      }
    };
    ASSERT_NO_FATAL_FAILURE(extend(extend));
  }
}

TEST(BasesModel, EveryUnitInEveryBase) {
  for (std::int32_t base = 2; base < 70; ++base) {
    for (char16_t unit = 0; unit < 0x180; ++unit) {
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookValue(Text(1, unit), base));
    }
  }
}

TEST(BasesModel, RandomTexts) {
  constexpr char16_t kUnits[] = u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ.-:a\u00E9 ";
  NumberSource source(20);
  for (const std::int32_t base : kBases) {
    for (int i = 0; i < Count(); ++i) {
      Text text;
      const std::uint32_t length = source.Below(i % 8 == 0 ? 400 : 14);
      const auto digits = static_cast<std::uint32_t>(base);
      for (std::uint32_t unit = 0; unit < length; ++unit) {
        if (source.Below(16) != 0) {
          text += ConvertDigit(static_cast<std::int32_t>(source.Below(digits)), base);
        } else {
          text += kUnits[source.Below(42)];
        }
      }
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookValue(text, base));
    }
  }
}

TEST(BasesModel, RandomNumbers) {
  NumberSource source(21);
  for (const std::int32_t base : kBases) {
    for (int i = 0; i < Count(); ++i) {
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(source.Mixed(), base, RandomLimits(source)));
    }
  }
}

TEST(BasesModel, NumbersOfAnyMagnitude) {
  NumberSource source(22);
  for (const std::int32_t base : kBases) {
    for (int i = 0; i < Count() / 4; ++i) {
      ASSERT_NO_FATAL_FAILURE(
          ExpectTextbookText(source.AnyMagnitude(), base, RandomLimits(source)));
    }
  }
}

TEST(BasesModel, NextToThePowersOfTheBase) {
  for (const std::int32_t base : kBases) {
    for (std::int32_t exponent = -350; exponent <= 350;
         exponent += Count() > 1000 || std::abs(exponent) < 8 ? 1 : 37) {
      const auto power = std::bit_cast<std::uint64_t>(RoundedPower(base, exponent));
      for (std::uint64_t step = 0; step < 17; ++step) {
        const std::uint64_t bits = power + step - 8;
        const auto x = std::bit_cast<double>(bits);
        if (bits >> 63U != 0 || !(x <= std::numeric_limits<double>::max()) || x == 0) continue;
        ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(x, base, {6, 1e-27, exponent % 5}));
      }
    }
  }
}

TEST(BasesModel, TheEndsOfTheDoubles) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  constexpr double kLeastNormal = std::numeric_limits<double>::min();
  for (const std::int32_t base : kBases) {
    for (std::uint64_t step = 0; step < 40; ++step) {
      for (const double edge : {kLargest, kLeastNormal, 0x1p53, 0x1p52, 0x1p31, 0x1p32, 1.0}) {
        const auto bits = std::bit_cast<std::uint64_t>(edge);
        for (const std::uint64_t moved : {bits - step, bits + step}) {
          const auto x = std::bit_cast<double>(moved);
          if (!(x <= kLargest)) continue;
          ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(x, base, {}));
          ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(-x, base, {40, 0, 3}));
        }
      }
      const auto denormal = std::bit_cast<double>(std::uint64_t{1} + step * step * step);
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(denormal, base, {}));
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(denormal, base, {-1, 1e-27, 2000}));
    }
  }
}

// Long fractions reach place values that are denormal or 0.
TEST(BasesModel, FractionsToTheEnd) {
  NumberSource source(23);
  for (const std::int32_t base : kBases) {
    for (int i = 0; i < 12; ++i) {
      ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(source.Magnitude(-20, 25), base, {2000, 0, 0}));
      ASSERT_NO_FATAL_FAILURE(
          ExpectTextbookText(source.Magnitude(-1060, 40), base, {2000, 0, 1060}));
    }
  }
}

TEST(BasesModel, BasesWithoutDigits) {
  NumberSource source(24);
  for (int i = 0; i < 600; ++i) {
    const auto base = static_cast<std::int32_t>(3 + source.Below(i % 2 == 0 ? 70 : 20000));
    const double x = i % 3 == 0   ? source.AnyMagnitude()
                     : i % 3 == 1 ? source.NearPower(base)
                                  : source.Magnitude(-3, 40);
    ASSERT_NO_FATAL_FAILURE(ExpectTextbookText(x, base, RandomLimits(source)));
  }
}

}  // namespace
}  // namespace brindlex
