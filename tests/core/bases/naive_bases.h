#pragma once

#include <cstdint>
#include <ostream>
#include <utility>
#include <variant>

#include "automation/runtime_error.h"
#include "automation/text.h"
#include "bases/number.h"
#include "bases/number_writer.h"

namespace brindlex {

/// The outcome of a call: a text, a double, or a run-time error, and the tolerance afterwards.
/// Doubles are the same when their bits are.
struct Outcome {
  Text text;
  double value = 0;
  std::int32_t number = error_number::kNone;
  Text source;
  Text description;
  double tolerance = 0;

  bool operator==(const Outcome& other) const;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

inline void Keep(Outcome& outcome, Text result) { outcome.text = std::move(result); }
inline void Keep(Outcome& outcome, double result) { outcome.value = result; }
inline void Keep(Outcome& outcome, std::variant<Text, double> result) {
  std::visit([&outcome](auto& held) { Keep(outcome, std::move(held)); }, result);
}

/// The outcome of `call()`. Only run-time errors are expected of it.
template <class Call>
Outcome OutcomeOf(Call&& call) {
  Outcome outcome;
  try {
    Keep(outcome, call());
  } catch (const RuntimeError& error) {
    outcome.number = error.number;
    outcome.source = error.source;
    outcome.description = error.description;
  }
  return outcome;
}

/// The number bases by the textbook: logarithm quotient, powers, repeated subtraction, one digit
/// after another. Slow and obvious; nothing of the component's own arithmetic is used.
///
/// What it rests on: natural numbers of any length, added, multiplied and compared; a double is the
/// nearest to a value when exact comparisons with its neighbours' midpoints say so; a logarithm
/// lies between two sums of which one is never too large and the other never too small, and both
/// have the same nearest double. The run time's logarithm is asked only first, and believed only
/// when the quotient is farther from a whole number than any logarithm errs.
namespace naive {

double Power(std::int32_t base, std::int32_t exponent);
double Ln(double x);

std::int32_t DigitCount(double x, std::int32_t groupSize, std::int32_t base);
Text ConvertDigit(std::int32_t digit, std::int32_t base);
std::int32_t DeconvertDigit(const Text& digitText, std::int32_t base, const NumberText& reading);
Text ConvertDec2Base(double x, std::int32_t base, ConversionLimits& limits);
double ConvertBase2Dec(const Text& text, std::int32_t base, const NumberText& reading);

}  // namespace naive
}  // namespace brindlex
