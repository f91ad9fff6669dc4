#include "cli/check/salvage_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "cli/check/column_profile.h"
#include "cli/format/record_scanner.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

/// What is looked at of a value to see whether it fits.
constexpr std::size_t kMostOfAValue = 200;
/// Records with more fields are too far from valid for a join to be found.
constexpr std::uint64_t kMostToJoin = 500;
constexpr std::uint64_t kLearnBytes = std::uint64_t{4} * 1024 * 1024;
constexpr std::size_t kMostFields = 10'000;

/// Sorts the records of one text, which is a part of the input: of one collection, or of the outer
/// layer of a file of several.
class TextSalvage {
 public:
  TextSalvage(Input& input, const FileFormat& format, ByteMarkers markers,
              const JoinOptions& options, Output& output, const DamageHandler& report,
              Progress* progress = nullptr)
      : input_(input),
        format_(format),
        markers_(std::move(markers)),
        options_(options),
        output_(output),
        report_(report),
        progress_(progress),
        reader_(input) {
    format.encoding.FromUtf8(options.replacement, replacement_);
  }

  /// Makes this the outer layer, whose collections `inner` sorts.
  void SetInner(std::unique_ptr<TextSalvage> inner) { inner_ = std::move(inner); }

  /// What the collections hold.
  const SalvageCounts& Inner() const { return innerCounts_; }

  /// Sorts the records of `text`. If `isJoined`, the text was joined itself, and the markers of the
  /// layer around it are replaced in what is written.
  SalvageCounts Run(const Extent& text, std::uint64_t collection, bool isJoined) {
    text_ = text;
    collection_ = collection;
    isJoined_ = isJoined;
    hasHeader_ = true;
    names_.clear();
    profile_.clear();
    pending_.reset();
    counts_ = {};
    InputWindow window(input_, text, progress_);
    Tokenizer tokenizer(window, format_.encoding, markers_);
    RecordScanner scanner(tokenizer, kMostFields, 0);
    for (ScannedRecord record; hasHeader_ && scanner.Next(record);) Take(record);
    FlushPending();
    if (hasHeader_) Copy(scanner.Tail());
    return counts_;
  }

 private:
  using Fields = std::vector<Extent>;

  void Take(ScannedRecord& record) {
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

  void TakeHeader(const ScannedRecord& header) {
    hasHeader_ = header.hasEnd && header.fieldCount > 0;
    if (!hasHeader_) {
      ++counts_.damaged;
      const std::uint64_t size = input_.Size().value_or(text_.End());
      return report_({header.offset, 0, collection_, "a header without a field end or a record end",
                      false, ExtentOf(text_.offset, std::min(text_.End(), size))});
    }
    for (const std::string& value : Values(header.fields)) {
      std::string name;
      format_.encoding.ToUtf8(value, name);
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

  void FlushPending() {
    if (!pending_) return;
    const ScannedRecord record = std::move(*pending_);
    pending_.reset();
    Sort(record);
  }

  /// The runs of neighbours that would be one value, if all values then fit their columns.
  std::vector<Join> FindJoins(const Fields& fields) {
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

  std::string Proposal(const std::vector<Join>& joins) const {
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
  void Sort(const ScannedRecord& record) {
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
  bool SortPair(const ScannedRecord& first, const ScannedRecord& second) {
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

  std::vector<std::string> Values(const Fields& fields) {
    std::vector<std::string> values;
    values.reserve(fields.size());
    for (const auto& field : fields) values.push_back(reader_.Bytes(field, kMostOfAValue));
    return values;
  }

  // What the columns hold, by the valid ones of the first records; only if there are damaged ones.
  void Learn() {
    if (!profile_.empty()) return;
    profile_.resize(names_.size());
    InputWindow window(input_, {text_.offset, std::min(text_.length, kLearnBytes)});
    Tokenizer tokenizer(window, format_.encoding, markers_);
    RecordScanner scanner(tokenizer, names_.size() + 1, kMostOfAValue);
    for (ScannedRecord record; scanner.Next(record);) {
      if (record.number == 0 || !record.IsValid(names_.size())) continue;
      for (std::size_t column = 0; column < names_.size(); ++column) {
        profile_[column].Learn(record.bytes[column]);
      }
    }
  }

  /// Whether a value may be in a column, from 0; its first some hundred bytes are given.
  bool Fits(std::size_t column, const std::string& value) const {
    if (!inner_) return profile_[column].Fits(value);
    const auto holds = [&](const std::string& marker) {
      return FindMarker(value, marker, inner_->markers_.unit) != std::string::npos;
    };
    const bool isInner = holds(inner_->markers_.fieldEnd) || holds(inner_->markers_.recordEnd);
    return column == format_.named->data ? value.empty() || isInner : !isInner;
  }

  void Copy(const Extent& extent) {
    reader_.Read(extent, [&](std::string_view bytes) { output_.Write(bytes); });
  }

  /// Copies what no join of this text's own changes.
  void CopyUnjoined(const Extent& extent) {
    if (isJoined_) return CopyReplacing(extent, format_.markers);
    Copy(extent);
  }

  void WriteValid(const ScannedRecord& record) {
    writing_ = record.number;
    if (!inner_) return CopyUnjoined(record.whole);
    // The line breaks before it.
    Copy(ExtentOf(record.whole.offset, record.offset));
    for (std::size_t column = 0; column < record.fields.size(); ++column) {
      WriteField(column, record.fields[column], false);
      output_.Write(markers_.fieldEnd);
    }
    output_.Write(markers_.recordEnd);
  }

  void WriteJoined(const Fields& fields, std::size_t first, std::size_t count) {
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

  /// Writes a value. If `isJoined`, it holds markers of this text.
  void WriteField(std::size_t column, const Extent& field, bool isJoined) {
    if (inner_ && column == format_.named->data) {
      if (field.length > 0) innerCounts_ += inner_->Run(field, writing_, isJoined);
      return;
    }
    if (isJoined) return CopyReplacing(field, markers_);
    CopyUnjoined(field);
  }

  void CopyReplacing(const Extent& extent, const ByteMarkers& markers) {
    InputWindow window(input_, extent);
    Tokenizer tokenizer(window, format_.encoding, markers);
    for (;;) {
      const Token token = tokenizer.Next();
      output_.Write(token.bytes);
      if (token.kind == Token::Kind::kEnd) return;
      const bool isMarker = token.kind == Token::Kind::kField || token.kind == Token::Kind::kRecord;
      if (isMarker) output_.Write(replacement_);
    }
  }

  std::string WhatIsWrong(const ScannedRecord& record) const {
    if (!record.hasEnd) return "no record end";
    if (record.fieldCount == 0) return record.rest.length == 0 ? "an empty record" : "no field end";
    if (record.fieldCount != names_.size()) {
      return fmt::format("{} of {} fields", record.fieldCount, names_.size());
    }
    return "text after the last field end";
  }

  std::string JoinText(const Join& join, const char* verb) const {
    return fmt::format("{} fields {} to {} as {}", verb, join.first + 1, join.first + join.count,
                       names_[join.first]);
  }

  void ReportDamaged(const ScannedRecord& record, const std::string& proposal) {
    ++counts_.damaged;
    std::string what = WhatIsWrong(record);
    if (!proposal.empty()) what += "; " + proposal;
    report_({record.offset, record.number, collection_, std::move(what), false,
             ExtentOf(record.offset, record.whole.End())});
  }

  void ReportJoined(const ScannedRecord& record, const Extent& bytes, const std::string& what) {
    ++counts_.joined;
    report_({record.offset, record.number, collection_, WhatIsWrong(record) + "; " + what, true,
             bytes});
  }

  Input& input_;
  const FileFormat& format_;
  const ByteMarkers markers_;
  const JoinOptions& options_;
  std::string replacement_;
  Output& output_;
  const DamageHandler& report_;
  Progress* progress_;
  ExtentReader reader_;
  /// Sorts the collections if this is the outer layer of a file of several; and what they hold.
  std::unique_ptr<TextSalvage> inner_;
  SalvageCounts innerCounts_;

  Extent text_;
  std::uint64_t collection_ = 0;
  bool isJoined_ = false;
  bool hasHeader_ = false;
  std::vector<std::string> names_;
  std::vector<ColumnProfile> profile_;
  /// A damaged record that the next one may be the other half of.
  std::optional<ScannedRecord> pending_;
  /// The number of the record that is being written, of the first of two that are joined.
  std::uint64_t writing_ = 0;
  SalvageCounts counts_;
};

}  // namespace

SalvageCounts& SalvageCounts::operator+=(const SalvageCounts& other) {
  valid += other.valid;
  joined += other.joined;
  damaged += other.damaged;
  return *this;
}

SalvagedFile SalvageFile(Input& input, const FileFormat& format, const JoinOptions& options,
                         Output& output, const DamageHandler& report, Progress& progress) {
  TextSalvage salvage(input, format, format.markers, options, output, report, &progress);
  if (format.named)
    salvage.SetInner(
        std::make_unique<TextSalvage>(input, format, *format.inner, options, output, report));
  const SalvageCounts outer = salvage.Run(format.Text(), 0, false);
  return {outer, salvage.Inner()};
}

}  // namespace brindlex::cli
