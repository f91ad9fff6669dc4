// Any file, to JSON and CSV and back: either the way there is refused, or the way back gives the
// very same bytes. Any JSON and CSV, to a file and back to JSON: what was taken comes through.

#include <array>
#include <string>

#include "fuzz/agreement.h"
#include "tests/cli/unit/converter.h"

namespace brindlex::cli {
namespace {

constexpr std::array<JsonOptions, 4> kJson = {
    {{false, false, false}, {true, false, true}, {false, true, false}, {false, true, true}}};
constexpr std::array<CsvStyle, 2> kCsv = {{{',', false}, {';', true}}};

void ThereAndBack(Converter& converter, const std::string& bytes) {
  for (const JsonOptions& options : kJson) {
    std::string json;
    if (!RefusalOf([&] { json = converter.ToJson(bytes, options); }).empty()) continue;
    converter.form_ = converter.FormOfFile();
    Require(converter.FromJson(json) == bytes, "a file that went through JSON");
  }
  for (const CsvStyle& style : kCsv) {
    std::string csv;
    if (!RefusalOf([&] { csv = converter.ToCsv(bytes, style); }).empty()) continue;
    converter.form_ = converter.FormOfFile();
    Require(converter.FromCsv(csv, style) == bytes, "a file that went through CSV");
  }
  for (const CsvStyle& style : kCsv) {
    std::string csv;
    if (!RefusalOf([&] { csv = converter.ToCsvWithForm(bytes, style); }).empty()) continue;
    if (!converter.FormOfFile().tail) continue;
    converter.form_ = {};
    Require(converter.FromCsv(csv, style) == bytes, "a file that went through CSV with its format");
  }
}

/// What was made of a table is a file that can be read, and comes back as itself.
void TakenComesThrough(Converter& converter, const std::string& text) {
  std::string bytes;
  converter.form_ = {};
  if (RefusalOf([&] { bytes = converter.FromJson(text); }).empty()) {
    std::string json;
    Require(RefusalOf([&] {
              json = converter.ToJson(bytes, {false, true, false});
            }).empty(),
            "a file made of JSON can be read");
    Require(converter.FromJson(json) == bytes, "a file made of JSON");
  }
  if (RefusalOf([&] { bytes = converter.FromCsv(text); }).empty()) {
    // It may look like a file of several.
    converter.format_.reading = Reading::kPlain;
    std::string csv;
    Require(RefusalOf([&] { csv = converter.ToCsv(bytes); }).empty(),
            "a file made of CSV can be read");
    Require(converter.FromCsv(csv) == bytes, "a file made of CSV");
    converter.format_.reading = Reading::kDetected;
  }
}

}  // namespace
}  // namespace brindlex::cli

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using brindlex::cli::Converter;
  Converter converter;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  brindlex::cli::ThereAndBack(converter, bytes);
  brindlex::cli::TakenComesThrough(converter, bytes);
  return 0;
}
