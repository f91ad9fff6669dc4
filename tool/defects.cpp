#include "tool/defects.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tool/utf.h"

namespace brindlex::tool {

std::string_view KindName(DefectKind kind) {
  switch (kind) {
    case DefectKind::kFieldCount:
      return "field-count";
    case DefectKind::kNoFieldEnd:
      return "no-field-end";
    case DefectKind::kTextBehindFieldEnd:
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
    case DefectKind::kBlankBlockName:
      return "blank-block-name";
    case DefectKind::kBlockNameSpelling:
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
  std::string line = fmt::format("{}:{}:{}:{}: ", file_, defect.at, defect.record, defect.field);
  if (defect.collection != 0) line += fmt::format("collection {}: ", defect.collection);
  line.append(defect.what).append("; ").append(defect.does).append("\n");
  output_.Write(line);
}

void DefectWriter::WriteObject(const Defect& defect) {
  nlohmann::ordered_json object;
  object["file"] = file_;
  object["byte"] = defect.at;
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

std::string Quoted(std::string_view utf8) {
  constexpr int kMost = 40;
  std::string quoted = "\"";
  for (int count = 0; !utf8.empty(); ++count) {
    if (count == kMost) {
      quoted += "\u2026";
      break;
    }
    const Character character = FirstOfUtf8(utf8);
    const bool isControl =
        character.number < 0x20 || (character.number >= 0x7F && character.number < 0xA0);
    if (character.bytes == 0 || isControl) {
      const auto byte = static_cast<unsigned char>(utf8.front());
      quoted += fmt::format("\\x{:02X}", character.bytes == 0 ? byte : character.number);
    } else {
      quoted.append(utf8.substr(0, character.bytes));
    }
    utf8.remove_prefix(std::max<std::size_t>(character.bytes, 1));
  }
  return quoted + "\"";
}

}  // namespace brindlex::tool
