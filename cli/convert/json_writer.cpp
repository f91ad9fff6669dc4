#include "cli/convert/table_writers.h"

#include <string>
#include <utility>
#include <vector>

#include "cli/convert/json_text.h"
#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

class JsonWriter final : public TableWriter {
 public:
  JsonWriter(ByteHandler writeBytes, const JsonOptions& options, LossReport& lossReport)
      : TableWriter(std::move(writeBytes)), options_(options), lossReport_(lossReport) {}

  void BeginNamed() override {
    if (options_.lines) {
      throw UsageError("the file holds several collections, and --lines one: give its name");
    }
    isNamed_ = true;
    OpenFormat();
    Buffer() += "{";
  }

  void BeginCollection(std::string_view name) override {
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

  void Header(const std::vector<std::string>& names, std::uint64_t offset) override {
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
              " twice, and an object can hold one value of a name only: --arrays holds both");
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

  void BeginRow() override {
    if (!options_.lines) Buffer() += rows_ == 0 ? "\n" : ",\n";
    ++rows_;
    column_ = 0;
    Buffer() += options_.arrays ? '[' : '{';
  }

  void Value(std::string_view piece, bool isFirst, bool isLast) override {
    ByteBuffer& json = Buffer();
    if (isFirst) json += before_[column_];
    const bool mayBeBare = isFirst && isLast && options_.infer;
    const std::string_view bare = mayBeBare ? InferredJson(piece) : std::string_view();
    if (!bare.empty()) {
      json += bare;
    } else {
      if (isFirst) json += '"';
      AppendJsonPiece(json, piece);
      if (isLast) json += '"';
    }
    if (isLast) ++column_;
    HandOver();
  }

  void EndRow() override {
    Buffer() += options_.arrays ? ']' : '}';
    if (options_.lines) Buffer() += '\n';
  }

  void EndCollection() override {
    if (hasHeader_ && rows_ == 0) {
      lossReport_.Add("field names without a record, which only --arrays holds", headerOffset_);
    }
    if (options_.lines) return;
    Buffer() += rows_ == 0 ? "]" : "\n]";
  }

  void End() override {
    if (isNamed_) Buffer() += collections_ == 0 ? "}" : "\n}";
    if (options_.form != nullptr) Buffer() += '}';
    if (!options_.lines) Buffer() += '\n';
    HandOverNow();
  }

 private:
  /// Writes what comes before the records.
  void OpenFormat() {
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

  const JsonOptions options_;
  LossReport& lossReport_;
  bool isNamed_ = false;
  std::uint64_t collections_ = 0;
  /// Rows of the collection so far, and where its header is if it has one.
  std::uint64_t rows_ = 0;
  bool hasHeader_ = false;
  std::uint64_t headerOffset_ = 0;
  /// What comes before each value of a row: its name, or nothing but a comma.
  std::vector<std::string> before_;
  std::size_t column_ = 0;
};

}  // namespace

std::unique_ptr<TableWriter> MakeJsonWriter(ByteHandler writeBytes, const JsonOptions& options,
                                            LossReport& lossReport) {
  return std::make_unique<JsonWriter>(std::move(writeBytes), options, lossReport);
}

}  // namespace brindlex::cli
