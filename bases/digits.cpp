#include "bases/digits.h"

#include <cstddef>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

constexpr TextView kInvalidDigit = u"Invalid digit for base";
constexpr TextView kUnknownBase = u"Unknown base";

enum class Operation { kConvert, kDeconvert };

[[noreturn]] void Raise(Operation operation, TextView description) {
  throw RuntimeError(error_number::kTypeMismatch, Text(description),
                     operation == Operation::kConvert ? u"ConvertDigit" : u"DeconvertDigit");
}

Text Letter(std::int32_t digit, TextView alphabet) {
  if (digit < 0) throw RuntimeError(error_number::kInvalidCall);
  return {alphabet[static_cast<std::size_t>(digit)]};
}

Text Sexagesimal(std::int32_t digit) {
  const Text padded = Text(u"0").append(DecimalText(digit));
  return padded.substr(padded.size() - 2) + u':';
}

std::int32_t FromNumeral(TextView text, std::int32_t base, const NumberText& reading) {
  if (!reading.IsNumeric(text)) Raise(Operation::kDeconvert, u"Invalid character");
  const std::int32_t digit = reading.ToWhole(text);
  if (digit >= base) Raise(Operation::kDeconvert, kInvalidDigit);
  return digit;
}

std::int32_t FromLetter(TextView text, TextView alphabet, TextView missing) {
  const std::size_t at = alphabet.find(text);
  if (at == TextView::npos) Raise(Operation::kDeconvert, missing);
  return static_cast<std::int32_t>(at);
}

std::int32_t FromSexagesimal(TextView text, const NumberText& reading) {
  if (text.size() == 3 && text[2] == u':' && reading.IsNumeric(text.substr(0, 2))) {
    const std::int32_t digit = reading.ToWhole(text.substr(0, 2));
    if (digit < 60) return digit;
  }
  Raise(Operation::kDeconvert, kInvalidDigit);
}

}  // namespace

void RaiseInvalidDigit() { Raise(Operation::kConvert, kInvalidDigit); }

void RaiseUnknownBase() { Raise(Operation::kConvert, kUnknownBase); }

Text ConvertDigit(std::int32_t digit, std::int32_t base) {
  if (digit >= base) RaiseInvalidDigit();
  switch (base) {
    case 2:
    case 8:
    case 10:
      return DecimalText(digit);
    case 16:
    case 26:
    case 30:
    case 31:
    case 32:
      return Letter(digit, AlphabetOf(base));
    case 60:
      return Sexagesimal(digit);
    default:
      RaiseUnknownBase();
  }
}

std::int32_t DeconvertDigit(TextView digitText, std::int32_t base, const NumberText& reading) {
  switch (base) {
    case 2:
    case 8:
    case 10:
      return FromNumeral(digitText, base, reading);
    case 16:
      return FromLetter(digitText, kAlphabet16, kInvalidDigit);
    case 26:
    case 30:
    case 31:
    case 32:
      return FromLetter(digitText, AlphabetOf(base), u"Invalid Alpha Character");
    case 60:
      return FromSexagesimal(digitText, reading);
    default:
      Raise(Operation::kDeconvert, kUnknownBase);
  }
}

}  // namespace brindlex
