#include "cli/check/text_stats.h"

#include <algorithm>

namespace brindlex::cli {
namespace {

constexpr std::size_t kMostColumns = 10'000;
constexpr std::size_t kMostOfAName = 256;

}  // namespace

BreakCounts& BreakCounts::operator+=(const BreakCounts& other) {
  dropped += other.dropped;
  pairs += other.pairs;
  lineFeeds += other.lineFeeds;
  carriageReturns += other.carriageReturns;
  return *this;
}

std::uint64_t TextStats::CountCharacters(std::string_view bytes) const {
  switch (encoding_.GetForm()) {
    case Encoding::Form::kCodePage:
      return bytes.size();
    case Encoding::Form::kUtf8:
      break;
    default:
      return bytes.size() / 2;
  }
  std::uint64_t count = 0;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    // One for each first byte, one more for those of four, which are two units.
    count += (byte & 0xC0U) != 0x80U ? 1U : 0U;
    count += byte >= 0xF0U ? 1U : 0U;
  }
  return count;
}

void TextStats::CountBreaks(std::string_view bytes) {
  const std::size_t unit = encoding_.UnitSize();
  const std::size_t low = encoding_.GetForm() == Encoding::Form::kUtf16Be ? 1 : 0;
  const auto isUnit = [&](std::size_t at, char sought) {
    return bytes[at + low] == sought && (unit == 1 || bytes[at + 1 - low] == '\0');
  };
  if (unit == 1 && bytes.find_first_of("\r\n") == std::string_view::npos) {
    endsInReturn_ = false;
    return;
  }
  for (std::size_t at = 0; at + unit <= bytes.size(); at += unit) {
    if (isUnit(at, '\n')) {
      if (endsInReturn_) {
        --breaks_.carriageReturns;
        ++breaks_.pairs;
      } else {
        ++breaks_.lineFeeds;
      }
    }
    endsInReturn_ = isUnit(at, '\r');
    breaks_.carriageReturns += endsInReturn_ ? 1U : 0U;
  }
}

void TextStats::TakeBytes(std::string_view bytes) {
  length_ += CountCharacters(bytes);
  CountBreaks(bytes);
  if (record_ > 0 || columns_.size() >= kMostColumns) return;
  const std::size_t room = kMostOfAName - std::min(kMostOfAName, nameBytes_.size());
  nameBytes_.append(bytes.substr(0, room));
}

void TextStats::EndField() {
  if (record_ == 0) {
    if (columns_.size() < kMostColumns) columns_.push_back({nameBytes_, 0, 0, 0});
    nameBytes_.clear();
  } else if (field_ < columns_.size()) {
    Column& column = columns_[field_];
    if (length_ > column.longest) {
      column.longest = length_;
      column.longestRecord = record_;
    }
    column.empty += length_ == 0 ? 1U : 0U;
  }
  ++field_;
  length_ = 0;
  endsInReturn_ = false;
}

void TextStats::Take(const Token& token) {
  if (token.kind == Token::Kind::kLineBreak) {
    ++breaks_.dropped;
    return;
  }
  if (!token.bytes.empty() && token.kind != Token::Kind::kEnd) TakeBytes(token.bytes);
  if (token.kind == Token::Kind::kField) return EndField();
  if (token.kind != Token::Kind::kRecord) return;
  ++record_;
  field_ = 0;
  length_ = 0;
  nameBytes_.clear();
  endsInReturn_ = false;
}

}  // namespace brindlex::cli
