#include "cli/check/salvage_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

/// What is looked at of a value to see whether it fits.
constexpr std::size_t kMostOfAValue = 200;
/// Records with more fields are too far from valid for a join to be found.
constexpr std::uint64_t kMostToJoin = 500;
constexpr std::uint64_t kLearnBytes = std::uint64_t{4} * 1024 * 1024;
constexpr std::size_t kMostFields = 10'000;

}  // namespace

SalvageCounts& SalvageCounts::operator+=(const SalvageCounts& other) {
  valid += other.valid;
  joined += other.joined;
  damaged += other.damaged;
  return *this;
}

TextSalvage::TextSalvage(Input& input, Encoding encoding, ByteMarkers markers,
                         const JoinOptions& options, Output& output, Report report,
                         Progress* progress)
    : input_(input),
      encoding_(std::move(encoding)),
      markers_(std::move(markers)),
      options_(options),
      output_(output),
      report_(std::move(report)),
      progress_(progress),
      reader_(input) {
  encoding_.FromUtf8(options.replacement, replacement_);
}

SalvageCounts TextSalvage::Run(const Extent& text, std::uint64_t collection, bool isJoined) {
  text_ = text;
  collection_ = collection;
  isJoined_ = isJoined;
  hasHeader_ = true;
  names_.clear();
  profile_.clear();
  pending_.reset();
  counts_ = {};
  InputWindow window(input_, text, progress_);
  Tokenizer tokenizer(window, encoding_, markers_);
  RecordScanner scanner(tokenizer, kMostFields, 0);
  for (ScannedRecord record; hasHeader_ && scanner.Next(record);) Take(record);
  FlushPending();
  if (hasHeader_) Copy(scanner.Tail());
  return counts_;
}

// ---- Sorting -----------------------------------------------------------------------------------

void TextSalvage::Take(ScannedRecord& record) {
  if (record.number == 0) return TakeHeader(record);
  if (record.IsValid(names_.size())) {
    FlushPending();
    ++counts_.valid;
    return WriteValid(record);
  }
  if (pending_ && SortPair(*pending_, record)) {
    pending_.reset();
    return;
  }
  FlushPending();
  const bool mayBeHalf = record.hasEnd && record.fieldCount < names_.size();
  if (mayBeHalf) {
    pending_ = std::move(record);
  } else {
    Sort(record);
  }
}

void TextSalvage::TakeHeader(const ScannedRecord& header) {
  hasHeader_ = header.hasEnd && header.fieldCount > 0;
  if (!hasHeader_) {
    ++counts_.damaged;
    const std::uint64_t size = input_.Size().value_or(text_.End());
    return report_({header.offset, 0, collection_, "a header without a field end or a record end",
                    false, ExtentOf(text_.offset, std::min(text_.End(), size))});
  }
  for (const std::string& value : Values(header.fields)) {
    std::string name;
    encoding_.ToUtf8(value, name);
    names_.push_back(Quoted(name));
  }
  if (header.rest.length > 0) {
    report_({header.rest.offset, 0, collection_, "text after the last field end of the header",
             false, header.rest});
    ++counts_.damaged;
  }
  for (const auto& name : header.fields) {
    Copy(name);
    output_.Write(markers_.fieldEnd);
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::FlushPending() {
  if (!pending_) return;
  const ScannedRecord record = std::move(*pending_);
  pending_.reset();
  Sort(record);
}

/// The runs of neighbours that would be one value, if all values then fit their columns.
std::vector<Join> TextSalvage::FindJoins(const Fields& fields) {
  const std::vector<std::string> values = Values(fields);
  const std::size_t count = values.size() - names_.size() + 1;
  std::vector<Join> joins;
  for (std::size_t first = 0; first < names_.size(); ++first) {
    const Join join{first, count};
    const std::vector<std::string> joined = Joined(values, join, markers_.fieldEnd);
    bool fits = true;
    for (std::size_t column = 0; column < joined.size() && fits; ++column) {
      fits = Fits(column, joined[column]);
    }
    if (fits) joins.push_back(join);
  }
  return joins;
}

std::string TextSalvage::Proposal(const std::vector<Join>& joins) const {
  constexpr std::size_t kMost = 8;
  if (joins.empty()) return "no join of neighbours fits";
  std::string proposal;
  for (std::size_t index = 0; index < std::min(joins.size(), kMost); ++index) {
    proposal += index == 0 ? "" : ", or ";
    proposal += JoinText(joins[index], "join");
  }
  if (joins.size() > kMost) proposal += fmt::format(", or {} others", joins.size() - kMost);
  return proposal;
}

// A record by itself: one with more fields than names may be one whose value holds a field end.
void TextSalvage::Sort(const ScannedRecord& record) {
  const bool isWide = record.hasEnd && record.rest.length == 0 &&
                      record.fieldCount > names_.size() && record.fieldCount <= kMostToJoin;
  if (!isWide) return ReportDamaged(record, {});
  Learn();
  const std::vector<Join> joins = FindJoins(record.fields);
  if (joins.size() != 1 || !options_.join) return ReportDamaged(record, Proposal(joins));
  writing_ = record.number;
  WriteJoined(record.fields, joins.front().first, joins.front().count);
  ReportJoined(record, record.whole, JoinText(joins.front(), "joined"));
}

// Two records, of which a value that holds a record end may have made one.
bool TextSalvage::SortPair(const ScannedRecord& first, const ScannedRecord& second) {
  const bool isPair = second.hasEnd && second.rest.length == 0 && second.fieldCount > 0 &&
                      first.fieldCount + second.fieldCount == names_.size();
  if (!isPair) return false;
  Fields fields = first.fields;
  const std::uint64_t end = second.fields.front().End();
  fields.push_back(ExtentOf(first.rest.offset, end));
  fields.insert(fields.end(), second.fields.begin() + 1, second.fields.end());
  Learn();
  const std::vector<std::string> values = Values(fields);
  for (std::size_t column = 0; column < values.size(); ++column) {
    if (!Fits(column, values[column])) return false;
  }
  const std::string& name = names_[static_cast<std::size_t>(first.fieldCount)];
  if (options_.join) {
    writing_ = first.number;
    WriteJoined(fields, first.fields.size(), 1);
    ReportJoined(first, ExtentOf(first.whole.offset, second.whole.End()),
                 fmt::format("joined with record {} in {}", second.number, name));
  } else {
    ReportDamaged(first, fmt::format("join it with record {} in {}", second.number, name));
    ReportDamaged(second, fmt::format("join it with record {} in {}", first.number, name));
  }
  return true;
}

std::vector<std::string> TextSalvage::Values(const Fields& fields) {
  std::vector<std::string> values;
  values.reserve(fields.size());
  for (const auto& field : fields) values.push_back(reader_.Bytes(field, kMostOfAValue));
  return values;
}

// What the columns hold, by the valid ones of the first records; only if there are damaged ones.
void TextSalvage::Learn() {
  if (!profile_.empty()) return;
  profile_.resize(names_.size());
  InputWindow window(input_, {text_.offset, std::min(text_.length, kLearnBytes)});
  Tokenizer tokenizer(window, encoding_, markers_);
  RecordScanner scanner(tokenizer, names_.size() + 1, kMostOfAValue);
  for (ScannedRecord record; scanner.Next(record);) {
    if (record.number == 0 || !record.IsValid(names_.size())) continue;
    for (std::size_t column = 0; column < names_.size(); ++column) {
      profile_[column].Learn(record.bytes[column]);
    }
  }
}

bool TextSalvage::Fits(std::size_t column, const std::string& value) {
  return profile_[column].Fits(value);
}

// ---- Writing -----------------------------------------------------------------------------------

void TextSalvage::Copy(const Extent& extent) {
  reader_.Read(extent, [&](std::string_view bytes) { output_.Write(bytes); });
}

void TextSalvage::WriteValid(const ScannedRecord& record) {
  writing_ = record.number;
  if (CopiesRecords()) {
    if (isJoined_ && around_) return CopyReplacing(record.whole, *around_);
    return Copy(record.whole);
  }
  // The line breaks before it.
  Copy(ExtentOf(record.whole.offset, record.offset));
  for (std::size_t column = 0; column < record.fields.size(); ++column) {
    WriteField(column, record.fields[column], false);
    output_.Write(markers_.fieldEnd);
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::WriteJoined(const Fields& fields, std::size_t first, std::size_t count) {
  for (std::size_t index = 0, column = 0; index < fields.size(); ++column) {
    const bool isJoined = index == first;
    const std::size_t taken = isJoined ? count : 1;
    const std::uint64_t end = fields[index + taken - 1].End();
    WriteField(column, ExtentOf(fields[index].offset, end), isJoined);
    output_.Write(markers_.fieldEnd);
    index += taken;
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::WriteField(std::size_t, const Extent& field, bool isJoined) {
  if (isJoined) return CopyReplacing(field, markers_);
  if (isJoined_ && around_) return CopyReplacing(field, *around_);
  Copy(field);
}

void TextSalvage::CopyReplacing(const Extent& extent, const ByteMarkers& markers) {
  InputWindow window(input_, extent);
  Tokenizer tokenizer(window, encoding_, markers);
  for (;;) {
    const Token token = tokenizer.Next();
    output_.Write(token.bytes);
    if (token.kind == Token::Kind::kEnd) return;
    const bool isMarker = token.kind == Token::Kind::kField || token.kind == Token::Kind::kRecord;
    if (isMarker) output_.Write(replacement_);
  }
}

// ---- Reporting ---------------------------------------------------------------------------------

std::string TextSalvage::WhatIsWrong(const ScannedRecord& record) const {
  if (!record.hasEnd) return "no record end";
  if (record.fieldCount == 0) return record.rest.length == 0 ? "an empty record" : "no field end";
  if (record.fieldCount != names_.size()) {
    return fmt::format("{} of {} fields", record.fieldCount, names_.size());
  }
  return "text after the last field end";
}

std::string TextSalvage::JoinText(const Join& join, const char* verb) const {
  return fmt::format("{} fields {} to {} as {}", verb, join.first + 1, join.first + join.count,
                     names_[join.first]);
}

void TextSalvage::ReportDamaged(const ScannedRecord& record, const std::string& proposal) {
  ++counts_.damaged;
  std::string what = WhatIsWrong(record);
  if (!proposal.empty()) what += "; " + proposal;
  report_({record.offset, record.number, collection_, std::move(what), false,
           ExtentOf(record.offset, record.whole.End())});
}

void TextSalvage::ReportJoined(const ScannedRecord& record, const Extent& bytes,
                               const std::string& what) {
  ++counts_.joined;
  report_(
      {record.offset, record.number, collection_, WhatIsWrong(record) + "; " + what, true, bytes});
}

}  // namespace brindlex::cli
