#include "cli/check/defects.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/text/escape.h"

namespace brindlex::cli {

std::string_view KindName(DefectKind kind) {
  // In the order of DefectKind.
  constexpr std::string_view kNames[] = {
      "field-count",        "no-field-end",  "text-behind-field-end", "no-record-end",
      "no-records",         "blank-name",    "duplicate-name",        "break-in-name",
      "character",          "duplicate-key", "no-key-column",         "blank-block-name",
      "block-name-spelling"};
  return kNames[static_cast<std::size_t>(kind)];
}

void DefectWriter::Take(const Defect& defect) {
  if (asJson_) {
    WriteObject(defect);
  } else {
    WriteLine(defect);
  }
  ++count_;
}

void DefectWriter::WriteLine(const Defect& defect) {
  std::string line =
      fmt::format("{}:{}:{}:{}: ", ShownPath(file_), defect.offset, defect.record, defect.field);
  if (defect.collection != 0) line += fmt::format("collection {}: ", defect.collection);
  line.append(defect.what).append("; ").append(defect.does);
  output_.Write(Escaped(line) + "\n");
}

void DefectWriter::WriteObject(const Defect& defect) {
  nlohmann::ordered_json object;
  object["file"] = file_;
  object["byte"] = defect.offset;
  object["record"] = defect.record;
  object["field"] = defect.field;
  object["collection"] = defect.collection;
  object["kind"] = KindName(defect.kind);
  object["what"] = defect.what;
  object["does"] = defect.does;
  output_.Write(count_ == 0 ? "[\n" : ",\n");
  // A file name of Linux need not be text.
  constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
  output_.Write(object.dump(-1, ' ', false, kReplace));
}

void DefectWriter::Finish() {
  if (asJson_) output_.Write(count_ == 0 ? "[]\n" : "\n]\n");
}

}  // namespace brindlex::cli
