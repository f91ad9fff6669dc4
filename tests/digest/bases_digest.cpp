// One number for each base that stands for a million conversions, errors included. It is the same
// in every build, under every mode of the floating-point unit, and by the textbook.
//
// bases_digest           converts and compares; fails when a digest or the unit's mode differs
// bases_digest short     the first hundred thousand conversions of each base alone
// bases_digest textbook  computes the same with the textbook model and compares (a minute)

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>
#include <string_view>

#include "bases/bases.h"
#include "platform/portable_number_text.h"
#include "tests/core/bases/naive_bases.h"
#include "tests/core/bases/number_source.h"
#include "tests/digest/fpu.h"

namespace brindlex {
namespace {

constexpr int kShort = 100000;
constexpr int kLong = 1000000;

struct Expected {
  std::int32_t base;
  std::uint64_t afterShort;
  std::uint64_t afterLong;
};

// As the textbook model has them. To take them anew, set them to 0: the model then prints its own.
constexpr Expected kExpected[] = {
    {2, 0x3BC44EEC609EA20C, 0x0053BBB78D3F92ED},  {8, 0x637B0080DCF2BCE1, 0x7FCF1BEC3D514B44},
    {10, 0x9D908AC08CA2C452, 0x0922551B92B01C8B}, {16, 0x813EC3FFA53DB799, 0x2A85D0BF1B5F136C},
    {26, 0x05B7743AE3E5963C, 0xA5AB5B10FE00B8F3}, {30, 0x6B2A3464119C6457, 0xC7B40F42F663BFC1},
    {31, 0x0E900B10F0607B80, 0x25C57380C1424533}, {32, 0x51C681C58F56E4F2, 0xE7F3D6894E36A86F},
    {60, 0x5E3B6EFDFA48C996, 0x71D3DD239FB09CFA},
};

/// FNV-1a.
class Hash {
 public:
  void Add(std::uint64_t value) {
    for (int i = 0; i < 8; ++i, value >>= 8U) value_ = (value_ ^ (value & 0xFFU)) * 0x100000001B3U;
  }
  void Add(TextView text) {
    for (const char16_t unit : text) value_ = (value_ ^ unit) * 0x100000001B3U;
    Add(text.size());
  }
  std::uint64_t Value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325U;
};

class Component {
 public:
  static Text ToText(double x, std::int32_t base, ConversionLimits& limits) {
    return ConvertDec2Base(x, base, limits, PortableNumberText());
  }
  static double ToDouble(const Text& text, std::int32_t base) {
    return ConvertBase2Dec(text, base, PortableNumberText());
  }
};

class Textbook {
 public:
  static Text ToText(double x, std::int32_t base, ConversionLimits& limits) {
    return naive::ConvertDec2Base(x, base, limits);
  }
  static double ToDouble(const Text& text, std::int32_t base) {
    return naive::ConvertBase2Dec(text, base, PortableNumberText());
  }
};

ConversionLimits LimitsFor(std::uint32_t choice) {
  constexpr ConversionLimits kLimits[] = {{12, 1e-27, 0}, {-1, 1e-27, 0}, {4, 1e-9, 0},
                                          {3, -0.001, 4}, {20, 0, 0},     {0, 0.5, 3},
                                          {5, 1e-27, 1},  {-1, 1e-12, 0}};
  return kLimits[choice % std::size(kLimits)];
}

/// The numbers of a base: edges first, then numbers of all sorts.
class Numbers {
 public:
  explicit Numbers(std::int32_t base) : base_(base), source_(static_cast<std::uint64_t>(base)) {}

  double Next() {
    const int index = next_++;
    constexpr int kSteps = 17;
    constexpr int kPowers = 81;
    if (index < kPowers * kSteps) {
      return Near(RoundedPower(base_, index / kSteps - kPowers / 2), index % kSteps);
    }
    const int edge = index - kPowers * kSteps;
    constexpr double kEdges[] = {std::numeric_limits<double>::max(),
                                 std::numeric_limits<double>::min(), 0x1p53, 0x1p52};
    if (edge < 4 * kSteps) return Near(kEdges[edge / kSteps], edge % kSteps);
    if (edge < 1000) return std::bit_cast<double>(source_.Bits() >> (12 + source_.Below(50)));
    return source_.Mixed();
  }
  std::uint32_t Choice() { return source_.Below(1U << 16U); }

 private:
  /// Up to 8 doubles away, upwards where there is none below.
  static double Near(double x, int step) {
    const auto bits = std::bit_cast<std::uint64_t>(x);
    return std::bit_cast<double>(bits + static_cast<std::uint64_t>(step) - 8);
  }

  std::int32_t base_;
  NumberSource source_;
  int next_ = 0;
};

template <class Converter>
void AddConversion(double x, std::int32_t base, std::uint32_t choice, Hash& hash) {
  ConversionLimits limits = LimitsFor(choice);
  try {
    const Text text = Converter::ToText(x, base, limits);
    hash.Add(text);
    hash.Add(std::bit_cast<std::uint64_t>(Converter::ToDouble(text, base)));
  } catch (const RuntimeError& error) {
    hash.Add(static_cast<std::uint64_t>(error.number));
    hash.Add(error.source);
    hash.Add(error.description);
  }
  hash.Add(std::bit_cast<std::uint64_t>(limits.tolerance));
}

bool Check(const char* what, std::int32_t base, std::uint64_t digest, std::uint64_t expected) {
  if (digest == expected) return true;
  std::printf("base %d, %s: %016llX instead of %016llX\n", static_cast<int>(base), what,
              static_cast<unsigned long long>(digest), static_cast<unsigned long long>(expected));
  return false;
}

/// Converts `count` numbers; the unit's precision changes every thousand numbers, or stays as it is
/// when `rotate` is false.
template <class Converter>
bool CheckBase(const Expected& expected, int count, bool rotate) {
  Numbers numbers(expected.base);
  Hash hash;
  bool good = true;
  const std::span<const int> precisions = X87Precisions();
  for (int i = 0; i < count; ++i) {
    if (rotate && i % 1000 == 0)
      SetX87Precision(precisions[static_cast<std::size_t>(i) / 1000 % precisions.size()]);
    const double x = numbers.Next();
    const FpuMode mode = CurrentFpuMode();
    AddConversion<Converter>(x, expected.base, numbers.Choice(), hash);
    if (CurrentFpuMode() != mode) {
      std::printf("base %d: number %d changed the mode\n", static_cast<int>(expected.base), i);
      return false;
    }
    if (i + 1 == kShort) {
      good = Check("short", expected.base, hash.Value(), expected.afterShort);
    }
  }
  if (count == kLong) good &= Check("long", expected.base, hash.Value(), expected.afterLong);
  return good;
}

bool CheckComponent() {
  const int before = CurrentFpuMode().x87;
  bool good = true;
  for (const Expected& expected : kExpected) {
    for (const int precision : X87Precisions()) {
      SetX87Precision(precision);
      good &= CheckBase<Component>(expected, kShort, false);
    }
    good &= CheckBase<Component>(expected, kLong, true);
  }
  std::printf("%zu bases, %d numbers each, precisions %s53 and 64 (before: word %04X): %s\n",
              std::size(kExpected), kLong, LoadsKeepPrecision() ? "24, " : "", before,
              good ? "the same" : "DIFFERENT");
  if (!LoadsKeepPrecision()) std::puts("precision 24: not on this processor, an emulated one");
  return good;
}

bool CheckShort() {
  bool good = true;
  for (const Expected& expected : kExpected) {
    good &= CheckBase<Component>(expected, kShort, true);
  }
  std::printf("%zu bases, %d numbers each: %s\n", std::size(kExpected), kShort,
              good ? "the same" : "DIFFERENT");
  return good;
}

bool CheckTextbook() {
  bool good = true;
  for (const Expected& expected : kExpected) good &= CheckBase<Textbook>(expected, kLong, false);
  std::printf("the textbook: %s\n", good ? "the same" : "DIFFERENT");
  return good;
}

/// What the machine must have for this build to run.
bool CanRun() {
#if defined(__FMA__)
  return static_cast<bool>(__builtin_cpu_supports("fma"));
#else
  return true;
#endif
}

}  // namespace
}  // namespace brindlex

int main(int argc, char** argv) {
  constexpr int kSkipped = 77;
  if (!brindlex::CanRun()) {
    std::fputs("SKIPPED: this processor has no fused operations, so nothing was compared\n",
               stderr);
    return kSkipped;
  }
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "textbook") return brindlex::CheckTextbook() ? 0 : 1;
  if (mode == "short") return brindlex::CheckShort() ? 0 : 1;
  return brindlex::CheckComponent() ? 0 : 1;
}
