#include "cli/convert/json_writer.h"

#include <utility>

#include "cli/convert/json_text.h"
#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {

JsonWriter::JsonWriter(ByteHandler writeBytes, const JsonOptions& options, LossReport& lossReport)
    : BufferedWriter(std::move(writeBytes)), options_(options), lossReport_(lossReport) {}

/// Writes what comes before the records.
void JsonWriter::OpenFormat() {
  if (options_.form == nullptr) return;
  ByteBuffer& json = Buffer();
  json += "{\"format\": {";
  bool isFirst = true;
  for (const FormMember& member : MembersOf(*options_.form)) {
    if (!std::exchange(isFirst, false)) json += ",";
    AppendJsonString(json, member.name);
    json += ":";
    if (member.isBare) {
      json += member.value;
    } else {
      AppendJsonString(json, member.value);
    }
  }
  json += "},\n\"records\": ";
}

void JsonWriter::BeginNamed() {
  if (options_.lines) {
    throw UsageError("the file holds several collections, and --lines one: give its name");
  }
  isNamed_ = true;
  OpenFormat();
  Buffer() += "{";
}

void JsonWriter::BeginCollection(std::string_view name) {
  if (isNamed_) {
    Buffer() += collections_ == 0 ? "\n" : ",\n";
    AppendJsonString(Buffer(), name);
    Buffer() += ": ";
  } else {
    OpenFormat();
  }
  ++collections_;
  rows_ = 0;
  hasHeader_ = false;
  if (!options_.lines) Buffer() += '[';
}

void JsonWriter::Header(const std::vector<std::string>& names, std::uint64_t offset) {
  hasHeader_ = true;
  headerOffset_ = offset;
  before_.clear();
  NameViewSet known;
  for (const std::string& name : names) {
    ByteBuffer before;
    if (!before_.empty()) before += ',';
    if (!options_.arrays) {
      if (!known.insert(name).second) {
        throw ConversionError(
            "byte " + std::to_string(offset) + ": the header has the name " + Quoted(name) +
            " twice, and an object can hold one value of a name only: " + "--arrays holds both");
      }
      AppendJsonString(before, name);
      before += ':';
    }
    before_.emplace_back(before.View());
  }
  if (!options_.arrays) return;
  BeginRow();
  for (const std::string& name : names) {
    Buffer() += before_[column_++];
    AppendJsonString(Buffer(), name);
  }
  EndRow();
}

void JsonWriter::SeparateRow() {
  if (options_.lines) return;
  Buffer() += rows_ == 0 ? "\n" : ",\n";
}

void JsonWriter::BeginRow() {
  SeparateRow();
  ++rows_;
  column_ = 0;
  Buffer() += options_.arrays ? '[' : '{';
}

void JsonWriter::Value(std::string_view piece, bool isFirst, bool isLast) {
  ByteBuffer& json = Buffer();
  if (isFirst) json += before_[column_];
  if (isFirst && isLast && options_.infer) {
    WholeValue(piece);
  } else {
    if (isFirst) json += '"';
    AppendJsonPiece(json, piece);
    if (isLast) json += '"';
  }
  if (isLast) ++column_;
  HandOver();
}

void JsonWriter::WholeValue(std::string_view text) {
  switch (InferredType(text)) {
    case JsonType::kTrue:
      Buffer() += "true";
      break;
    case JsonType::kFalse:
      Buffer() += "false";
      break;
    case JsonType::kNumber:
      Buffer() += text;
      break;
    case JsonType::kText:
      AppendJsonString(Buffer(), text);
      break;
  }
}

void JsonWriter::EndRow() {
  Buffer() += options_.arrays ? ']' : '}';
  if (options_.lines) Buffer() += '\n';
}

void JsonWriter::EndCollection() {
  if (hasHeader_ && rows_ == 0) {
    lossReport_.Add("field names without a record, which only --arrays holds", headerOffset_);
  }
  if (options_.lines) return;
  Buffer() += rows_ == 0 ? "]" : "\n]";
}

void JsonWriter::End() {
  if (isNamed_) Buffer() += collections_ == 0 ? "}" : "\n}";
  if (options_.form != nullptr) Buffer() += '}';
  if (!options_.lines) Buffer() += '\n';
  HandOverNow();
}

}  // namespace brindlex::cli
