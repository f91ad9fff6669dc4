// Conversions between number bases: the textbook, the component, and what the standard library and
// GMP do with whole numbers. Nine-digit whole numbers; doubles with three decimals, written with up
// to 12 fractional digits.

#include <benchmark/benchmark.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "bases/bases.h"
#include "platform/portable_number_text.h"
#include "tests/core/bases/number_source.h"

#if defined(BRINDLEX_HAS_GMP)
#include <gmp.h>
#endif

namespace brindlex {
namespace {

constexpr std::size_t kNumbers = 1024;
const PortableNumberText kReading;

std::vector<double> WholeNumbers() {
  NumberSource source(1);
  std::vector<double> numbers;
  while (numbers.size() < kNumbers) numbers.push_back(100000000.0 + source.Below(900000000));
  return numbers;
}

std::vector<double> Fractions() {
  NumberSource source(2);
  std::vector<double> numbers;
  while (numbers.size() < kNumbers) numbers.push_back(1 + source.Below(999999) / 1000.0);
  return numbers;
}

ConversionLimits TwelveDigits() { return {12, 1e-27, 0}; }

/// The plain method with the run time's logarithm and power.
Text Textbook(double x, std::int32_t base, const ConversionLimits& limits) {
  Text text;
  const auto count =
      static_cast<std::int32_t>(std::floor(std::log(x) / std::log(static_cast<double>(base)))) + 1;
  std::int32_t position = count;
  const auto appendDigit = [&] {
    --position;
    const double place = std::pow(static_cast<double>(base), position);
    std::int32_t digit = 0;
    while (x >= place) {
      x -= place;
      ++digit;
    }
    text += ConvertDigit(digit, base);
  };
  if (count == 0) text.push_back(u'0');
  while (position > 0) appendDigit();
  if (x <= limits.tolerance) return text;
  text.push_back(u'.');
  while (position > -limits.maxFractionDigits && x > limits.tolerance) appendDigit();
  return text;
}

double TextbookRead(const Text& text, std::int32_t base) {
  const auto width = static_cast<std::size_t>(DigitWidth(base));
  double value = 0;
  for (std::size_t at = 0; at < text.size(); at += width) {
    value = base * value + DeconvertDigit(text.substr(at, width), base, kReading);
  }
  return value;
}

/// Calls `convert` on the numbers in turn, errors included, and counts conversions.
template <class Number, class Convert>
void Run(benchmark::State& state, const std::vector<Number>& numbers, const Convert& convert) {
  std::size_t next = 0;
  for (auto _ : state) {
    try {
      convert(numbers[next]);
    } catch (const RuntimeError& error) {
      benchmark::DoNotOptimize(error.number);
    }
    next = (next + 1) % numbers.size();
  }
  state.SetItemsProcessed(state.iterations());
}

std::int32_t BaseOf(const benchmark::State& state) {
  return static_cast<std::int32_t>(state.range(0));
}

template <std::vector<double> (*kMakeNumbers)()>
void WriteTextbook(benchmark::State& state) {
  Run(state, kMakeNumbers(),
      [&](double x) { benchmark::DoNotOptimize(Textbook(x, BaseOf(state), TwelveDigits())); });
}

/// Into a buffer on the stack, as std::to_chars does.
template <std::vector<double> (*kMakeNumbers)()>
void WriteComponent(benchmark::State& state) {
  Run(state, kMakeNumbers(), [&](double x) {
    DigitBuffer buffer;
    WriteNumber(x, BaseOf(state), TwelveDigits(), buffer);
    benchmark::DoNotOptimize(buffer.View().data());
    benchmark::ClobberMemory();
  });
}

/// A text of its own for each number, as ConvertDec2Base gives it.
template <std::vector<double> (*kMakeNumbers)()>
void WriteNewText(benchmark::State& state) {
  ConversionLimits limits = TwelveDigits();
  Run(state, kMakeNumbers(), [&](double x) {
    benchmark::DoNotOptimize(ConvertDec2Base(x, BaseOf(state), limits, kReading));
  });
}

void WriteToChars(benchmark::State& state) {
  std::array<char, 80> text{};
  Run(state, WholeNumbers(), [&](double x) {
    benchmark::DoNotOptimize(std::to_chars(text.data(), text.data() + text.size(),
                                           static_cast<std::int64_t>(x), BaseOf(state)));
    benchmark::ClobberMemory();
  });
}

std::vector<Text> Texts(std::int32_t base) {
  std::vector<Text> texts;
  for (const double x : WholeNumbers()) AppendNumber(x, base, {}, texts.emplace_back());
  return texts;
}

void ReadTextbook(benchmark::State& state) {
  Run(state, Texts(BaseOf(state)),
      [&](const Text& text) { benchmark::DoNotOptimize(TextbookRead(text, BaseOf(state))); });
}

void ReadComponent(benchmark::State& state) {
  Run(state, Texts(BaseOf(state)), [&](const Text& text) {
    benchmark::DoNotOptimize(ConvertBase2Dec(text, BaseOf(state), kReading));
  });
}

void ReadFromChars(benchmark::State& state) {
  std::vector<std::string> texts;
  for (const double x : WholeNumbers()) {
    std::array<char, 80> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(),
                                   static_cast<std::int64_t>(x), BaseOf(state));
    texts.emplace_back(text.data(), end.ptr);
  }
  Run(state, texts, [&](const std::string& text) {
    std::int64_t value = 0;
    benchmark::DoNotOptimize(
        std::from_chars(text.data(), text.data() + text.size(), value, BaseOf(state)));
    benchmark::DoNotOptimize(value);
  });
}

#if defined(BRINDLEX_HAS_GMP)
void WriteGmp(benchmark::State& state) {
  std::array<char, 80> text{};
  mpz_t number;
  mpz_init(number);
  Run(state, WholeNumbers(), [&](double x) {
    mpz_set_d(number, x);
    benchmark::DoNotOptimize(mpz_get_str(text.data(), BaseOf(state), number));
    benchmark::ClobberMemory();
  });
  mpz_clear(number);
}
BENCHMARK(WriteGmp)->Name("whole/gmp")->Apply([](benchmark::internal::Benchmark* b) {
  for (const int base : kBases) b->Arg(base);
});
#endif

void AllBases(benchmark::internal::Benchmark* benchmark) {
  for (const int base : kBases) benchmark->Arg(base);
}

/// Those that the standard library knows.
void BasesTo36(benchmark::internal::Benchmark* benchmark) {
  for (const int base : {2, 8, 10, 16, 26, 30, 31, 32}) benchmark->Arg(base);
}

BENCHMARK(WriteTextbook<WholeNumbers>)->Name("whole/textbook")->Apply(AllBases);
BENCHMARK(WriteComponent<WholeNumbers>)->Name("whole/component")->Apply(AllBases);
BENCHMARK(WriteNewText<WholeNumbers>)->Name("whole/component_new_text")->Apply(AllBases);
BENCHMARK(WriteToChars)->Name("whole/to_chars")->Apply(BasesTo36);
BENCHMARK(WriteTextbook<Fractions>)->Name("fraction/textbook")->Apply(AllBases);
BENCHMARK(WriteComponent<Fractions>)->Name("fraction/component")->Apply(AllBases);
BENCHMARK(WriteNewText<Fractions>)->Name("fraction/component_new_text")->Apply(AllBases);
BENCHMARK(ReadTextbook)->Name("read/textbook")->Apply(AllBases);
BENCHMARK(ReadComponent)->Name("read/component")->Apply(AllBases);
BENCHMARK(ReadFromChars)->Name("read/from_chars")->Apply(BasesTo36);

}  // namespace
}  // namespace brindlex

BENCHMARK_MAIN();
