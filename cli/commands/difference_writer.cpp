#include "cli/commands/difference_writer.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/convert/json_text.h"
#include "cli/io/diagnostics.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

using Kind = RecordDifference::Kind;

/// In the order of Kind.
constexpr std::string_view kKindNames[] = {"added", "removed", "changed", "moved"};

std::string JsonString(std::string_view text) {
  ByteBuffer json;
  AppendJsonString(json, text);
  return std::string(json.View());
}

}  // namespace

DifferenceWriter::DifferenceWriter(Output& output, bool asJson)
    : output_(output), asJson_(asJson), palette_(PaletteFor(system::kStandardOutput)) {}

void DifferenceWriter::BeginObject(std::string_view kind) {
  output_.Write(count_ == 0 ? "[\n" : ",\n");
  output_.Write(fmt::format(R"({{"kind":"{}")", kind));
  const std::string& collection = pair_ == nullptr ? std::string() : pair_->after.name;
  if (!collection.empty()) output_.Write(",\"collection\":" + JsonString(collection));
}

void DifferenceWriter::WriteCollectionLine() {
  if (isCollectionShown_ || pair_ == nullptr || pair_->after.name.empty()) return;
  isCollectionShown_ = true;
  output_.Write(palette_.Paint(Style::kHeading, "collection " + Quoted(pair_->after.name)) + "\n");
}

void DifferenceWriter::WriteOneSided(std::string_view kind, std::string_view member,
                                     const std::string& name, bool isAdded) {
  if (asJson_) {
    BeginObject(fmt::format("{}-{}", kind, isAdded ? "added" : "removed"));
    output_.Write(fmt::format(R"(,"{}":{}}})", member, JsonString(name)));
  } else {
    WriteCollectionLine();
    const std::string line = fmt::format("{} {} {}", isAdded ? "+" : "-", kind, Quoted(name));
    output_.Write(palette_.Paint(isAdded ? Style::kGood : Style::kBad, line) + "\n");
  }
  ++count_;
}

void DifferenceWriter::WriteCollection(const std::string& name, bool isAdded) {
  pair_ = nullptr;
  WriteOneSided("collection", "collection", name, isAdded);
}

void DifferenceWriter::WriteColumn(const std::string& name, bool isAdded) {
  WriteOneSided("column", "name", name, isAdded);
}

void DifferenceWriter::Begin(const TablePair& pair, const std::vector<std::string>& before,
                             const std::vector<std::string>& after) {
  pair_ = &pair;
  before_ = &before;
  after_ = &after;
  isCollectionShown_ = false;
  beforePlaces_.assign(pair.common, 0);
  for (std::size_t column = 0; column < pair.beforeColumns.ids.size(); ++column) {
    if (const auto id = pair.beforeColumns.ids[column]) beforePlaces_[*id] = column;
  }
}

void DifferenceWriter::WriteHead(const RecordDifference& difference) {
  const auto& [kind, before, after] = difference;
  if (asJson_) {
    BeginObject(kKindNames[static_cast<std::size_t>(kind)]);
    if (before) output_.Write(fmt::format(",\"old\":{}", before->number));
    if (after) output_.Write(fmt::format(",\"new\":{}", after->number));
    return;
  }
  WriteCollectionLine();
  std::string line;
  Style style = Style::kMark;
  if (!after) {
    line = fmt::format("- record {}", before->number);
    style = Style::kBad;
  } else if (!before) {
    line = fmt::format("+ record {}", after->number);
    style = Style::kGood;
  } else {
    line = fmt::format("{} record {}", kind == Kind::kMoved ? ">" : "~", before->number);
    if (before->number != after->number) line += fmt::format(", now {}", after->number);
  }
  output_.Write(palette_.Paint(style, line) + "\n");
}

/// A value for one line of a terminal.
std::string DifferenceWriter::Shown(const Side& side) {
  constexpr std::size_t kMostBytes = 2000;
  constexpr std::size_t kMostColumns = 200;
  const Encoding& encoding = side.source->format.encoding;
  const auto size =
      static_cast<std::size_t>(std::min<std::uint64_t>(side.extent.length, kMostBytes));
  std::string bytes(size, '\0');
  bytes.resize(side.source->input->Read(side.extent.offset, bytes.data(), size));
  const bool isTruncated = bytes.size() < side.extent.length;
  if (isTruncated) bytes.resize(bytes.size() - encoding.UnfinishedLength(bytes));
  return '"' + Truncated(Printable(encoding, bytes), kMostColumns, isTruncated) + '"';
}

void DifferenceWriter::WriteJsonValue(std::string_view member, const Side& side) {
  output_.Write(fmt::format(R"(,"{}":")", member));
  const Encoding& encoding = side.source->format.encoding;
  std::string rest;
  std::string text;
  ByteBuffer json;
  ReadExtent(*side.source->input, side.extent, [&](std::string_view bytes) {
    rest += bytes;
    text.clear();
    json.Truncate(0);
    // A block may end within a character.
    const std::size_t whole = rest.size() - encoding.UnfinishedLength(rest);
    encoding.ToUtf8(std::string_view(rest).substr(0, whole), text);
    rest.erase(0, whole);
    AppendJsonPiece(json, text);
    output_.Write(json.View());
  });
  output_.Write("\"");
}

/// A side without a source is not there.
void DifferenceWriter::WriteField(const std::string& name, const Side& before, const Side& after) {
  if (asJson_) {
    output_.Write(isFirstField_ ? R"(,"fields":[{"name":)" : R"(,{"name":)");
    output_.Write(JsonString(name));
    if (before.source != nullptr) WriteJsonValue("old", before);
    if (after.source != nullptr) WriteJsonValue("new", after);
    output_.Write("}");
    isFirstField_ = false;
    return;
  }
  output_.Write("    " + Escaped(name) + ": ");
  if (before.source != nullptr) output_.Write(Shown(before));
  if (before.source != nullptr && after.source != nullptr) output_.Write(" → ");
  if (after.source != nullptr) output_.Write(Shown(after));
  output_.Write("\n");
}

void DifferenceWriter::WriteOneSide(const TableSource& source,
                                    const std::vector<std::string>& names,
                                    const RecordDigest& record, bool isNew) {
  const std::vector<RecordField> fields = ReadFields(source, record, names.size());
  for (std::size_t column = 0; column < names.size(); ++column) {
    const Extent& extent = fields[column].extent;
    if (!asJson_ && extent.length == 0) continue;
    const Side side{&source, extent};
    WriteField(names[column], isNew ? Side{} : side, isNew ? side : Side{});
  }
}

void DifferenceWriter::WriteChanges(const RecordDifference& difference) {
  const auto old = ReadFields(pair_->before, *difference.before, before_->size());
  const auto added = ReadFields(pair_->after, *difference.after, after_->size());
  for (std::size_t column = 0; column < after_->size(); ++column) {
    const auto id = pair_->afterColumns.ids[column];
    if (!id || old[beforePlaces_[*id]].content == added[column].content) continue;
    WriteField((*after_)[column], {&pair_->before, old[beforePlaces_[*id]].extent},
               {&pair_->after, added[column].extent});
  }
}

/// The key of a record whose values do not show it.
void DifferenceWriter::WriteKey(const RecordDifference& difference) {
  if (!pair_->afterColumns.key || !difference.before || !difference.after) return;
  const std::size_t column = *pair_->afterColumns.key;
  const auto fields = ReadFields(pair_->after, *difference.after, after_->size());
  const Side side{&pair_->after, fields[column].extent};
  if (asJson_) {
    WriteJsonValue("key", side);
  } else {
    output_.Write("    " + Escaped((*after_)[column]) + ": " + Shown(side) + "\n");
  }
}

void DifferenceWriter::WriteFields(const RecordDifference& difference) {
  isFirstField_ = true;
  if (!difference.after) {
    WriteOneSide(pair_->before, *before_, *difference.before, false);
  } else if (!difference.before) {
    WriteOneSide(pair_->after, *after_, *difference.after, true);
  } else if (difference.kind == Kind::kChanged) {
    WriteChanges(difference);
  }
  if (asJson_ && !isFirstField_) output_.Write("]");
}

void DifferenceWriter::Write(const RecordDifference& difference) {
  WriteHead(difference);
  WriteKey(difference);
  WriteFields(difference);
  if (asJson_) output_.Write("}");
  ++count_;
}

void DifferenceWriter::WriteManyMoved() {
  if (asJson_) {
    BeginObject("many-moved");
    output_.Write("}");
  } else {
    WriteCollectionLine();
    output_.Write(palette_.Paint(Style::kMark, "> more records than can be listed have moved") +
                  "\n");
  }
  ++count_;
}

void DifferenceWriter::Finish() {
  if (asJson_) output_.Write(count_ == 0 ? "[]\n" : "\n]\n");
}

}  // namespace brindlex::cli
