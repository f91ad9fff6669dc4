// A host may have set the floating-point unit to any precision: it stays so, and decides nothing.

#include <cstring>

#include "tests/com/bases_fixture.h"
#include "tests/com/scripted_object.h"
#include "tests/core/number_source.h"
#include "tests/digest/fpu.h"

namespace brindlex::testing {
namespace {

constexpr long kBases[] = {2, 8, 10, 16, 26, 30, 31, 32, 60};

Variant DecimalOf(std::uint64_t digits, unsigned scale) {
  Variant value;
  DECIMAL& decimal = value.Get().decVal;
  std::memset(&decimal, 0, sizeof decimal);
  decimal.Lo64 = digits;
  decimal.scale = static_cast<BYTE>(scale);
  value.Get().vt = VT_DECIMAL;
  return value;
}

/// A number of one of the types that the system has to compute with to read or write it, or does
/// not have to.
Variant AnyNumber(NumberSource& source) {
  switch (source.Below(6)) {
    case 0:
      return Variant(ShownDouble(source.Mixed()));
    case 1:
      return Of(VT_CY, static_cast<std::int64_t>(source.Bits() >> (1 + source.Below(40))));
    case 2:
      return DecimalOf(source.Bits() >> source.Below(30), source.Below(20));
    case 3:
      return Of(VT_R4, static_cast<float>(source.Magnitude(-30, 60)));
    default:
      return OfDouble(source.Mixed());
  }
}

/// Puts the unit back as it was.
class FpuRestored {
 public:
  FpuRestored() : word_(CurrentFpuMode().x87) {}
  FpuRestored(const FpuRestored&) = delete;
  FpuRestored& operator=(const FpuRestored&) = delete;
  ~FpuRestored() { asm volatile("fldcw %0" : : "m"(word_)); }

 private:
  std::uint16_t word_;
};

/// Works at one precision and expects each call to leave it.
class BasesFpuTest : public BasesTest {
 protected:
  Units ConvertAt(int precision, const VARIANT& number, long from, long to) {
    SetX87Precision(precision);
    const FpuMode before = CurrentFpuMode();
    ConversionLimits limits{20, 1e-27, 0};
    Units byVtable = ByVtable(number, from, to, limits);
    const bool isKept = before == CurrentFpuMode();
    const Units byDispatch = ByDispatch(
        L"ConvertBase", {number, OfLong(from).Get(), OfLong(to).Get(), OfLong(20).Get()});
    EXPECT_TRUE(isKept && before == CurrentFpuMode()) << "at " << precision;
    EXPECT_EQ(byVtable, byDispatch);
    return byVtable;
  }

  void ExpectTheSame(const VARIANT& number, long from, long to) {
    const Units expected = ConvertAt(53, number, from, to);
    for (const int precision : {24, 64}) {
      EXPECT_EQ(expected, ConvertAt(precision, number, from, to))
          << "at " << precision << " from base " << from << " to base " << to;
    }
  }

 private:
  FpuRestored restored_;
};

TEST_F(BasesFpuTest, NumbersOfAllTypesConvertTheSameAtEveryPrecision) {
  NumberSource source(53);
  for (int round = 0; round < 1000; ++round) {
    for (const long base : kBases) ExpectTheSame(AnyNumber(source).Get(), 10, base);
  }
}

TEST_F(BasesFpuTest, TextsReadTheSameAtEveryPrecision) {
  NumberSource source(54);
  for (int round = 0; round < 1000; ++round) {
    for (const long base : kBases) {
      Bstr text;
      ConversionLimits limits{4, 1e-27, 0};
      Variant number = OfDouble(source.Magnitude(0, 40));
      long digits = limits.maxFractionDigits;
      if (FAILED(Bases().ConvertDec2Base(number.Get(), base, &digits, nullptr, nullptr,
                                         text.Receive()))) {
        continue;
      }
      ExpectTheSame(Variant(text.View()).Get(), base, 10);
      // The number itself as text, whose digits are few bases' digits.
      ExpectTheSame(number.Get(), base, 10);
    }
  }
}

TEST_F(BasesFpuTest, ErrorsLeaveThePrecisionToo) {
  for (const long base : kBases) {
    ExpectTheSame(OfDouble(1e-10).Get(), 10, base);
    ExpectTheSame(Variant(u"12abc").Get(), 10, base);
    ExpectTheSame(Variant(u"1E999").Get(), 10, base);
    ExpectTheSame(Variant(u"?").Get(), base, 10);
  }
}

}  // namespace
}  // namespace brindlex::testing
