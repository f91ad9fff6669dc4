#include "cli/format/collection_reader.h"

#include <utility>

#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/byte_prefix.h"
#include "cli/text/escape.h"

namespace brindlex::cli {

CollectionReader::CollectionReader(const TableSource& source, LossReport& lossReport,
                                   Progress* progress)
    : window_(*source.input, source.text, progress),
      tokenizer_(window_, source.format.encoding, source.markers),
      encoding_(source.format.encoding),
      isAsciiSuperset_(encoding_.UnitSize() == 1),
      name_(source.name),
      lossReport_(lossReport),
      start_(source.text.offset) {}

void CollectionReader::Fail(std::uint64_t offset, const std::string& what) const {
  std::string place = "byte " + std::to_string(offset);
  if (!name_.empty()) place += " in " + Quoted(name_);
  throw ConversionError(place + ": " + what);
}

std::string CollectionReader::Place() const {
  return records_ == 0 ? "the header" : "record " + std::to_string(records_);
}

std::string_view CollectionReader::Decode(const Token& token) {
  // Most values are ASCII, which is the same in UTF-8.
  if (isAsciiSuperset_ && PlainPrefix<AsciiRule>(token.bytes) == token.bytes.size()) {
    return token.bytes;
  }
  decoded_.clear();
  const std::size_t valid = encoding_.ToUtf8(token.bytes, decoded_);
  if (valid < token.bytes.size()) {
    Fail(token.offset + valid, "ill-formed " + encoding_.Name() + "; --encoding names another");
  }
  return decoded_;
}

/// Returns whether the header goes on.
bool CollectionReader::TakeName(const Token& token) {
  using Kind = Token::Kind;
  if (token.kind == Kind::kRecord || token.kind == Kind::kEnd) {
    if (token.kind == Kind::kEnd) Fail(start_, "the header has no record end");
    if (isWithinValue_ || !token.bytes.empty()) {
      Fail(token.offset, "text after the last field end of the header");
    }
    if (names_.empty()) Fail(token.End(), "the header has no field end");
    return false;
  }
  if (!isWithinValue_) names_.emplace_back();
  names_.back() += Decode(token);
  nameBytes_ += token.bytes.size();
  isWithinValue_ = token.kind == Kind::kPiece;
  if (IsHeaderTooLarge(names_.size(), nameBytes_)) Fail(token.offset, kHeaderTooLarge);
  return true;
}

bool CollectionReader::ReadHeader() {
  Token token = tokenizer_.Next();
  if (token.kind == Token::Kind::kEnd && token.bytes.empty()) return false;
  while (TakeName(token)) token = tokenizer_.Next();
  return true;
}

void CollectionReader::FailCount(std::uint64_t offset, std::size_t count, bool isMore) const {
  Fail(offset, isMore ? Place() + " has more than " + Counted(count, "value") +
                            ", as many as the header has names"
                      : Place() + " has " + Counted(count, "value") + ", the header has " +
                            std::to_string(names_.size()) + " names");
}

/// Takes the record end after the values.
bool CollectionReader::EndRecord() {
  const Token token = tokenizer_.Next();
  if (token.kind == Token::Kind::kRecord && token.bytes.empty()) return true;
  if (token.kind == Token::Kind::kEnd) Fail(recordOffset_, "the last record has no record end");
  if (token.kind == Token::Kind::kField) FailCount(token.End(), column_, true);
  Fail(token.offset, "text after the last field end of " + Place());
}

/// Takes a text that ends after a record end; whether it is a tail.
bool CollectionReader::EndText(Token token) {
  for (;; token = tokenizer_.Next()) {
    if (!IsTail(token.bytes)) return false;
    if (token.kind == Token::Kind::kEnd) return true;
  }
}

/// Notes what of the line breaks before the present record does not come through.
void CollectionReader::NoteLineBreaks(const std::vector<std::uint64_t>& breaks) {
  if (expectedBreaks_ == kAnyLineBreaks) return;
  if (expectedBreaks_ == 0) {
    for (const std::uint64_t one : breaks) lossReport_.Add(kLostLineBreak, one);
  } else if (breaks.size() != static_cast<std::size_t>(expectedBreaks_)) {
    lossReport_.Add(kLostLineBreaks, recordOffset_);
  }
}

bool CollectionReader::NextRecord() {
  if (records_ > 0 && !EndRecord()) return false;
  std::vector<std::uint64_t> breaks;
  for (Token token; tokenizer_.NextLineBreak(token);) breaks.push_back(token.offset);
  first_ = tokenizer_.Next();
  recordOffset_ = first_.offset;
  if (first_.kind == Token::Kind::kEnd) {
    // Also line breaks are a tail there.
    if (EndText(first_)) return false;
    Fail(recordOffset_, "the last record has no record end");
  }
  NoteLineBreaks(breaks);
  ++records_;
  column_ = 0;
  hasFirst_ = true;
  return true;
}

CollectionReader::Piece CollectionReader::NextOfAnyKind() {
  const Token token = std::exchange(hasFirst_, false) ? first_ : tokenizer_.Next();
  if (token.kind != Token::Kind::kField && token.kind != Token::Kind::kPiece) {
    if (token.kind == Token::Kind::kEnd) Fail(recordOffset_, "the last record has no record end");
    if (isWithinValue_ || !token.bytes.empty()) {
      Fail(token.offset, "text after the last field end of " + Place());
    }
    FailCount(token.End(), column_, false);
  }
  const bool isLast = token.kind == Token::Kind::kField;
  const Piece piece{Decode(token), !isWithinValue_, isLast};
  isWithinValue_ = !isLast;
  if (isLast) ++column_;
  return piece;
}

}  // namespace brindlex::cli
