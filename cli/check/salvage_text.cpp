#include "cli/check/salvage_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "cli/check/defects.h"
#include "cli/format/record_gather.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

/// What is looked at of a value to see whether it fits.
constexpr std::size_t kMostOfAValue = 200;
/// Records with more fields are too far from whole for a join to be found.
constexpr std::uint64_t kMostToJoin = 500;
constexpr std::uint64_t kLearnBytes = std::uint64_t{4} * 1024 * 1024;

}  // namespace

SalvageCounts& SalvageCounts::operator+=(const SalvageCounts& other) {
  whole += other.whole;
  joined += other.joined;
  damaged += other.damaged;
  return *this;
}

TextSalvage::TextSalvage(const std::string& path, Encoding encoding, ByteMarkers markers,
                         const JoinOptions& options, Output& output, Tell tell)
    : encoding_(std::move(encoding)),
      markers_(std::move(markers)),
      options_(options),
      output_(output),
      tell_(std::move(tell)),
      scan_(path),
      copy_(path),
      learn_(path) {
  encoding_.FromUtf8(options.replacement, replacement_);
}

SalvageCounts TextSalvage::Run(const Span& text, std::uint64_t collection, bool isForeign) {
  text_ = text;
  collection_ = collection;
  isForeign_ = isForeign;
  isHeaderless_ = false;
  names_.clear();
  profile_.clear();
  pending_.reset();
  counts_ = {};
  MarkerWalk walk(markers_, text.at);
  SpanGather gather(text.at, markers_.lineBreak.size(), markers_.recordEnd.size(),
                    [&](SpannedRecord& record) { Take(record); });
  scan_.EachPiece(text, [&](std::string_view piece, std::uint64_t at) {
    walk.Feed(piece, gather);
    if (progress_ != nullptr) progress_->Show(at);
  });
  walk.Finish(gather);
  gather.Finish(text.End());
  FlushPending();
  return counts_;
}

// ---- Sorting -----------------------------------------------------------------------------------

bool TextSalvage::IsSound(const SpannedRecord& record) const {
  return record.hasEnd && record.rest.bytes == 0 && record.fieldCount == names_.size();
}

void TextSalvage::Take(SpannedRecord& record) {
  if (isHeaderless_) return;
  if (record.number == 0) return TakeHeader(record);
  if (IsSound(record)) {
    FlushPending();
    ++counts_.whole;
    return WriteWhole(record);
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

void TextSalvage::TakeHeader(const SpannedRecord& header) {
  if (!header.hasEnd || header.fieldCount == 0) {
    isHeaderless_ = true;
    ++counts_.damaged;
    return tell_(
        {header.at, 0, collection_, "a header without a field end or a record end", false, text_});
  }
  for (const std::string& value : Values(header.fields)) {
    std::string name;
    encoding_.ToUtf8(value, name);
    names_.push_back(Quoted(name));
  }
  if (header.rest.bytes > 0) {
    tell_({header.rest.at, 0, collection_, "text behind the last field end of the header", false,
           header.rest});
    ++counts_.damaged;
  }
  for (const Span& name : header.fields) {
    copy_.Copy(name, output_);
    output_.Write(markers_.fieldEnd);
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::FlushPending() {
  if (!pending_) return;
  const SpannedRecord record = std::move(*pending_);
  pending_.reset();
  Sort(record);
}

// A record by itself: one with more fields than names may be one whose value holds a field end.
void TextSalvage::Sort(const SpannedRecord& record) {
  const bool isWide = record.hasEnd && record.rest.bytes == 0 &&
                      record.fieldCount > names_.size() && record.fieldCount <= kMostToJoin;
  if (!isWide) return Keep(record, {});
  Learn();
  const std::vector<std::string> values = Values(record.fields);
  std::vector<Join> joins;
  const std::size_t count = values.size() - names_.size() + 1;
  for (std::size_t first = 0; first < names_.size(); ++first) {
    const Join join{first, count};
    const std::vector<std::string> joined = Joined(values, join, markers_.fieldEnd);
    bool fits = true;
    for (std::size_t column = 0; column < joined.size() && fits; ++column) {
      fits = Fits(column, joined[column]);
    }
    if (fits) joins.push_back(join);
  }
  if (joins.size() == 1 && options_.join) {
    writing_ = record.number;
    WriteJoined(record.fields, joins.front().first, joins.front().count);
    return TellJoined(record, record.whole, JoinText(joins.front(), "joined"));
  }
  constexpr std::size_t kMostTold = 8;
  std::string proposal;
  for (std::size_t at = 0; at < std::min(joins.size(), kMostTold); ++at) {
    proposal += at == 0 ? "" : ", or ";
    proposal += JoinText(joins[at], "join");
  }
  if (joins.size() > kMostTold) proposal += fmt::format(", or {} others", joins.size() - kMostTold);
  Keep(record, joins.empty() ? "no join of neighbours fits" : proposal);
}

// Two records, of which a value that holds a record end may have made one.
bool TextSalvage::SortPair(const SpannedRecord& first, const SpannedRecord& second) {
  const bool fit = second.hasEnd && second.rest.bytes == 0 && second.fieldCount > 0 &&
                   first.fieldCount + second.fieldCount == names_.size();
  if (!fit) return false;
  Fields fields = first.fields;
  const std::uint64_t end = second.fields.front().End();
  fields.push_back({first.rest.at, end - first.rest.at});
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
    TellJoined(first, {first.whole.at, second.whole.End() - first.whole.at},
               fmt::format("joined with record {} in {}", second.number, name));
  } else {
    Keep(first, fmt::format("join it with record {} in {}", second.number, name));
    Keep(second, fmt::format("join it with record {} in {}", first.number, name));
  }
  return true;
}

std::vector<std::string> TextSalvage::Values(const Fields& fields) {
  std::vector<std::string> values;
  values.reserve(fields.size());
  for (const Span& field : fields) values.push_back(copy_.Bytes(field, kMostOfAValue));
  return values;
}

// What the columns hold, by the sound ones of the first records; only for who has damaged ones.
void TextSalvage::Learn() {
  if (!profile_.empty()) return;
  profile_.resize(names_.size());
  RecordGather gather(names_.size() + 1, kMostOfAValue, [&](const GatheredRecord& record) {
    const bool isSound = record.number > 0 && record.hasEnd && record.restBytes == 0 &&
                         record.fields.size() == names_.size();
    if (!isSound) return;
    for (std::size_t column = 0; column < names_.size(); ++column) {
      profile_[column].Learn(record.fields[column].bytes);
    }
  });
  MarkerWalk walk(markers_, text_.at);
  learn_.EachPiece({text_.at, std::min(text_.bytes, kLearnBytes)},
                   [&](std::string_view piece, std::uint64_t) { walk.Feed(piece, gather); });
}

bool TextSalvage::Fits(std::size_t column, const std::string& value) {
  return profile_[column].Fits(value);
}

// ---- Writing -----------------------------------------------------------------------------------

void TextSalvage::WriteWhole(const SpannedRecord& record) {
  writing_ = record.number;
  if (CopiesRecords()) {
    if (isForeign_ && foreign_) return CopyReplacing(record.whole, *foreign_);
    return copy_.Copy(record.whole, output_);
  }
  for (std::size_t column = 0; column < record.fields.size(); ++column) {
    WriteField(column, record.fields[column], false);
    output_.Write(markers_.fieldEnd);
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::WriteJoined(const Fields& fields, std::size_t first, std::size_t count) {
  for (std::size_t at = 0, column = 0; at < fields.size(); ++column) {
    const bool isJoined = at == first;
    const std::size_t taken = isJoined ? count : 1;
    const std::uint64_t end = fields[at + taken - 1].End();
    WriteField(column, {fields[at].at, end - fields[at].at}, isJoined);
    output_.Write(markers_.fieldEnd);
    at += taken;
  }
  output_.Write(markers_.recordEnd);
}

void TextSalvage::WriteField(std::size_t, const Span& field, bool isJoined) {
  if (isJoined) return CopyReplacing(field, markers_);
  if (isForeign_ && foreign_) return CopyReplacing(field, *foreign_);
  copy_.Copy(field, output_);
}

namespace {

/// Writes everything but markers, and something else in their place.
struct Replacing {
  Output& output;
  const std::string& replacement;
  const std::string& lineBreak;

  void FieldPiece(std::string_view bytes, std::uint64_t) { output.Write(bytes); }
  void FieldEnd(std::uint64_t) { output.Write(replacement); }
  void RecordEnd(std::uint64_t) { output.Write(replacement); }
  void LineBreak(std::uint64_t) { output.Write(lineBreak); }
};

}  // namespace

void TextSalvage::CopyReplacing(const Span& span, const ByteMarkers& markers) {
  Replacing sink{output_, replacement_, markers.lineBreak};
  MarkerWalk walk(markers, span.at);
  copy_.EachPiece(span, [&](std::string_view piece, std::uint64_t) { walk.Feed(piece, sink); });
  walk.Finish(sink);
}

// ---- Telling -----------------------------------------------------------------------------------

std::string TextSalvage::WhatIsWrong(const SpannedRecord& record) const {
  if (!record.hasEnd) return "no record end";
  if (record.fieldCount == 0) {
    return record.rest.bytes == 0 ? "an empty record" : "no field end";
  }
  if (record.fieldCount != names_.size()) {
    return fmt::format("{} of {} fields", record.fieldCount, names_.size());
  }
  return "text behind the last field end";
}

std::string TextSalvage::JoinText(const Join& join, const char* verb) const {
  return fmt::format("{} fields {} to {} as {}", verb, join.first + 1, join.first + join.count,
                     names_[join.first]);
}

void TextSalvage::Keep(const SpannedRecord& record, const std::string& proposal) {
  ++counts_.damaged;
  std::string what = WhatIsWrong(record);
  if (!proposal.empty()) what += "; " + proposal;
  const std::uint64_t end = record.whole.End();
  tell_({record.at,
         record.number,
         collection_,
         std::move(what),
         false,
         {record.at, end - record.at}});
}

void TextSalvage::TellJoined(const SpannedRecord& record, const Span& bytes,
                             const std::string& what) {
  ++counts_.joined;
  tell_({record.at, record.number, collection_, WhatIsWrong(record) + "; " + what, true, bytes});
}

}  // namespace brindlex::tool
