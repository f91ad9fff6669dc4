#include "cli/convert/base_text.h"

#include <variant>

#include "automation/runtime_error.h"
#include "bases/bases.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"
#include "platform/portable_number_text.h"

namespace brindlex::cli {
namespace {

constexpr std::size_t kMostShown = 100;

/// In the component's words; its general source says nothing that the user does not know.
std::string Described(const RuntimeError& error) {
  std::string text = Utf8OfUtf16(error.description) + " (error " + std::to_string(error.number);
  const RuntimeError plain(error.number);
  if (error.source != plain.source) {
    text += " in " + Utf8OfUtf16(error.source);
  }
  return text + ")";
}

}  // namespace

std::string ConvertedNumber(const std::string& number, std::int32_t from, std::int32_t to,
                            const ConversionLimits& limits) {
  const PortableNumberText reading;
  const Text text = Utf16OfUtf8(number);
  ConversionLimits used = limits;
  try {
    const TextOrDouble result = ConvertBase(Number(TextView(text)), from, to, used, reading);
    const double* const decimal = std::get_if<double>(&result);
    return Utf8OfUtf16(decimal != nullptr ? reading.ToText(*decimal) : std::get<Text>(result));
  } catch (const RuntimeError& error) {
    throw Failure(ExitStatus::kDefects, Escaped(number, kMostShown) + " from base " +
                                            std::to_string(from) + " to base " +
                                            std::to_string(to) + ": " + Described(error));
  }
}

std::string BaseList() {
  std::string list;
  for (const std::int32_t base : kBases) {
    if (!list.empty()) list += base == kBases.back() ? " and " : ", ";
    list += std::to_string(base);
  }
  return list;
}

}  // namespace brindlex::cli
