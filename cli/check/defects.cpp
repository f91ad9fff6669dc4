#include "cli/check/defects.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/text/escape.h"

namespace brindlex::cli {

std::string_view KindName(DefectKind kind) {
  switch (kind) {
    case DefectKind::kFieldCount:
      return "field-count";
    case DefectKind::kNoFieldEnd:
      return "no-field-end";
    case DefectKind::kTextAfterFieldEnd:
      return "text-behind-field-end";
    case DefectKind::kNoRecordEnd:
      return "no-record-end";
    case DefectKind::kNoRecords:
      return "no-records";
    case DefectKind::kBlankName:
      return "blank-name";
    case DefectKind::kDuplicateName:
      return "duplicate-name";
    case DefectKind::kBreakInName:
      return "break-in-name";
    case DefectKind::kCharacter:
      return "character";
    case DefectKind::kDuplicateKey:
      return "duplicate-key";
    case DefectKind::kNoKeyColumn:
      return "no-key-column";
    case DefectKind::kBlankCollectionName:
      return "blank-block-name";
    case DefectKind::kCollectionNameSpelling:
      return "block-name-spelling";
  }
  return "unknown";
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
