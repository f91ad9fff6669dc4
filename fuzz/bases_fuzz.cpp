// Any number, text and limits, in any base: the component and the textbook model agree.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "bases/bases.h"
#include "fuzz/input.h"
#include "platform/portable_number_text.h"
#include "tests/core/bases/naive_bases.h"

namespace brindlex {
namespace {

void Compare(const Outcome& outcome, const Outcome& expected) {
  if (outcome == expected) return;
  std::cerr << "the component: " << outcome << "\nthe textbook:  " << expected << '\n';
  std::abort();
}

std::int32_t TakeBase(Input& input) {
  const auto choice = input.Take<std::uint8_t>();
  return choice < 200 ? kBases[choice % kBases.size()] : choice % 8 - 1;
}

void CompareTexts(Input& input, std::int32_t base) {
  const PortableNumberText reading;
  // Longer numbers than these say nothing new, and the model is slow.
  constexpr std::int32_t kMost = 400;
  ConversionLimits limits;
  limits.maxFractionDigits = input.Take<std::int16_t>() % kMost;
  limits.groupSize = input.Take<std::int16_t>() % kMost;
  limits.tolerance = input.Take<double>();
  ConversionLimits textbook = limits;
  const auto x = input.Take<double>();
  Outcome outcome = OutcomeOf([&] { return ConvertDec2Base(x, base, limits, reading); });
  Outcome expected = OutcomeOf([&] { return naive::ConvertDec2Base(x, base, textbook); });
  outcome.tolerance = limits.tolerance;
  expected.tolerance = textbook.tolerance;
  Compare(outcome, expected);
}

void CompareValues(const Input& input, std::int32_t base) {
  const PortableNumberText reading;
  const Text text = input.PlainRest();
  Compare(OutcomeOf([&] { return ConvertBase2Dec(text, base, reading); }),
          OutcomeOf([&] { return naive::ConvertBase2Dec(text, base, reading); }));
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Input input(data, size);
  const bool texts = input.Take<std::uint8_t>() % 2 == 0;
  const std::int32_t base = brindlex::TakeBase(input);
  if (texts) {
    brindlex::CompareTexts(input, base);
  } else {
    brindlex::CompareValues(input, base);
  }
  return 0;
}
