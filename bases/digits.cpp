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

std::int32_t FromNumeral(TextView text, const BaseTable& base, const NumberText& reading) {
  if (!reading.IsNumeric(text)) Raise(Operation::kDeconvert, base.noDigit);
  const std::int32_t digit = reading.ToWhole(text);
  if (digit >= base.base) Raise(Operation::kDeconvert, kInvalidDigit);
  return digit;
}

std::int32_t FromLetter(TextView text, const BaseTable& base) {
  const std::size_t position = base.alphabet.find(text);
  if (position == TextView::npos) Raise(Operation::kDeconvert, base.noDigit);
  return static_cast<std::int32_t>(position);
}

std::int32_t FromSexagesimal(TextView text, const BaseTable& base, const NumberText& reading) {
  if (text.size() == 3 && text[2] == u':' && reading.IsNumeric(text.substr(0, 2))) {
    const std::int32_t digit = reading.ToWhole(text.substr(0, 2));
    if (digit < base.base) return digit;
  }
  Raise(Operation::kDeconvert, base.noDigit);
}

}  // namespace

void RaiseInvalidDigit() { Raise(Operation::kConvert, kInvalidDigit); }

void RaiseUnknownBase() { Raise(Operation::kConvert, kUnknownBase); }

Text ConvertDigit(std::int32_t digit, std::int32_t base) {
  if (digit >= base) RaiseInvalidDigit();
  const BaseTable* const table = FindBaseTable(base);
  if (table == nullptr) RaiseUnknownBase();
  switch (table->style) {
    case DigitStyle::kNumeral:
      return DecimalText(digit);
    case DigitStyle::kLetter:
      return Letter(digit, table->alphabet);
    case DigitStyle::kSexagesimal:
      break;
  }
  return Sexagesimal(digit);
}

std::int32_t DeconvertDigit(TextView digitText, std::int32_t base, const NumberText& reading) {
  const BaseTable* const table = FindBaseTable(base);
  if (table == nullptr) Raise(Operation::kDeconvert, kUnknownBase);
  switch (table->style) {
    case DigitStyle::kNumeral:
      return FromNumeral(digitText, *table, reading);
    case DigitStyle::kLetter:
      return FromLetter(digitText, *table);
    case DigitStyle::kSexagesimal:
      break;
  }
  return FromSexagesimal(digitText, *table, reading);
}

}  // namespace brindlex
