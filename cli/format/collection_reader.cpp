#include "cli/format/record_reader.h"

#include <utility>

#include "cli/convert/table_target.h"
#include "cli/text/byte_prefix.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

/// As much of a value is handed over at once.
constexpr std::size_t kMostText = std::size_t{64} * 1024;

std::string Counted(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " value" : " values");
}

}  // namespace

RecordReader::RecordReader(const Encoding& encoding, TableWriter& writer, Losses& losses)
    : decoder_(encoding),
      encodingName_(encoding.Name()),
      isAscii_(encoding.UnitSize() == 1),
      writer_(writer),
      losses_(losses) {}

void RecordReader::Begin(std::string_view name, std::uint64_t at) {
  name_ = name;
  start_ = at;
  names_.clear();
  records_ = 0;
  column_ = 0;
  text_.clear();
  isBegun_ = isHandedOver_ = false;
  decoder_.Restart();
  writer_.BeginCollection(name);
}

void RecordReader::Fail(std::uint64_t at, const std::string& what) const {
  std::string where = "byte " + std::to_string(at);
  if (!name_.empty()) where += " in " + Quoted(name_);
  throw ConversionError(where + ": " + what);
}

void RecordReader::FieldPiece(std::string_view bytes, std::uint64_t at) {
  isBegun_ = true;
  // The usual piece is a whole value of letters below 128, which are the same in UTF-8.
  const bool isUsual = isAscii_ && text_.empty() && decoder_.IsIdle() && bytes.size() < kMostText;
  if (isUsual && PlainPrefix<AsciiRule>(bytes) == bytes.size()) {
    text_.assign(bytes);
    return;
  }
  std::uint64_t badAt = 0;
  if (!decoder_.Feed(bytes, at, text_, badAt)) Fail(badAt, "no character of " + encodingName_);
  if (text_.size() < kMostText || records_ == 0 || column_ >= names_.size()) return;
  if (column_ == 0 && !isHandedOver_) writer_.BeginRow();
  writer_.Value(text_, !isHandedOver_, /*isLast=*/false);
  isHandedOver_ = true;
  text_.clear();
}

void RecordReader::FieldEnd(std::uint64_t at) {
  std::uint64_t badAt = 0;
  if (!decoder_.IsIdle() && !decoder_.Finish(badAt))
    Fail(badAt, "no character of " + encodingName_);
  if (records_ == 0) {
    names_.push_back(std::move(text_));
  } else {
    if (column_ == names_.size()) {
      Fail(at,
           Record() + " has more than " + Counted(column_) + ", as many as the header has names");
    }
    if (column_ == 0 && !isHandedOver_) writer_.BeginRow();
    writer_.Value(text_, !isHandedOver_, /*isLast=*/true);
  }
  ++column_;
  text_.clear();
  isBegun_ = isHandedOver_ = false;
}

std::string RecordReader::Record() const {
  return records_ == 0 ? "the header" : "record " + std::to_string(records_);
}

void RecordReader::HeaderEnd(std::uint64_t at) {
  if (names_.empty()) Fail(at, "the header has no field end");
  writer_.Header(names_, start_);
}

void RecordReader::RecordEnd(std::uint64_t at) {
  if (isBegun_) Fail(at, "text behind the last field end of " + Record());
  if (records_ == 0) {
    HeaderEnd(at);
  } else if (column_ != names_.size()) {
    Fail(at, Record() + " has " + Counted(column_) + ", the header has " +
                 std::to_string(names_.size()) + " names");
  } else {
    writer_.EndRow();
  }
  ++records_;
  column_ = 0;
}

void RecordReader::End() {
  if (isBegun_ || column_ > 0) Fail(start_, "the last record has no record end");
  writer_.EndCollection();
}

}  // namespace brindlex::tool
