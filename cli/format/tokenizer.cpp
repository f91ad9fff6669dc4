#include "cli/format/tokenizer.h"

#include <algorithm>
#include <string>
#include <utility>

#include "cli/io/failure.h"

namespace brindlex::cli {
namespace {

constexpr std::size_t kBlock = 64;

/// The bytes of a block that are sought, and those from 128 on, with the first in the lowest bit.
struct BlockMasks {
  std::uint64_t found = 0;
  std::uint64_t high = 0;
};

/// Those of a block of `count` bytes, at most kBlock.
BlockMasks MatchBytes(const char* block, std::size_t count, std::string_view sought) {
  BlockMasks masks;
  for (std::size_t index = 0; index < count; ++index) {
    const bool isFound = sought.find(block[index]) != std::string_view::npos;
    const bool isHigh = static_cast<unsigned char>(block[index]) >= 0x80;
    masks.found |= static_cast<std::uint64_t>(isFound) << index;
    masks.high |= static_cast<std::uint64_t>(isHigh) << index;
  }
  return masks;
}

#ifdef __SSE2__
/// The same for a whole block and a fixed number of bytes, sixteen at a time.
template <std::size_t kCount>
BlockMasks MatchBlock(const char* block, const char* sought) {
  __m128i needles[kCount];
  for (std::size_t index = 0; index < kCount; ++index)
    needles[index] = _mm_set1_epi8(sought[index]);
  BlockMasks masks;
  for (std::size_t start = 0; start < kBlock; start += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + start));
    __m128i found = _mm_cmpeq_epi8(bytes, needles[0]);
    for (std::size_t index = 1; index < kCount; ++index) {
      found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, needles[index]));
    }
    const auto bits = [start](__m128i matches) {
      const auto mask = static_cast<unsigned>(_mm_movemask_epi8(matches));
      return static_cast<std::uint64_t>(mask) << start;
    };
    masks.found |= bits(found);
    masks.high |= bits(bytes);
  }
  return masks;
}

BlockMasks MatchBlock(const char* block, std::string_view sought) {
  return sought.size() == 2 ? MatchBlock<2>(block, sought.data())
                            : MatchBlock<4>(block, sought.data());
}
#else
BlockMasks MatchBlock(const char* block, std::string_view sought) {
  return MatchBytes(block, kBlock, sought);
}
#endif

}  // namespace

Tokenizer::Tokenizer(InputWindow& window, Encoding encoding, const ByteMarkers& markers,
                     std::optional<ByteMarkers> around)
    : window_(window),
      encoding_(std::move(encoding)),
      markers_(markers),
      around_(std::move(around)),
      isSimple_(markers.Longest() == 1 && !around_),
      isUnambiguous_(AreUnambiguous(markers)),
      fieldEnd_(markers.fieldEnd.front()),
      // Where the higher byte comes first, it is 0 in most text.
      look_(markers.unit == 2 && markers.fieldEnd.front() == 0 ? 1 : 0),
      lookahead_(isSimple_ ? 0 : markers.fieldEnd.size() + markers.recordEnd.size()) {
  Resume();
  sought_ = {markers.fieldEnd[look_], markers.recordEnd[look_]};
  if (!around_) return;
  sought_.append({around_->fieldEnd[look_], around_->recordEnd[look_]});
  lookahead_ = std::max(lookahead_, around_->Longest());
}

// ---- The window --------------------------------------------------------------------------------

void Tokenizer::Rescan() {
  block_ = scanned_ = next_;
  mask_ = high_ = highBefore_ = 0;
}

void Tokenizer::Refill() {
  window_.Consume(next_);
  window_.Fill();
  Resume();
}

void Tokenizer::Resume() {
  bytes_ = window_.Bytes();
  offset_ = window_.Offset();
  next_ = 0;
  Rescan();
}

void Tokenizer::SkipRecords(std::size_t bytes) {
  next_ += bytes;
  breaksLeft_ = kMostRecordBreaks;
  Rescan();
}

/// How far the window holds enough to decide about every byte.
std::size_t Tokenizer::Scannable() const {
  const std::size_t size = bytes_.size();
  return window_.IsComplete() ? size : size - std::min(size, lookahead_);
}

bool Tokenizer::ScanBlock() {
  const std::size_t end = Scannable();
  const char* const bytes = bytes_.data();
  const auto take = [this](const BlockMasks& masks) {
    highBefore_ |= high_;
    mask_ = masks.found;
    high_ = masks.high;
  };
  while (scanned_ + kBlock <= end) {
    block_ = scanned_;
    scanned_ += kBlock;
    take(MatchBlock(bytes + block_, sought_));
    if (mask_ != 0) return true;
  }
  if (scanned_ >= end) return false;
  block_ = scanned_;
  take(MatchBytes(bytes + block_, end - block_, sought_));
  scanned_ = end;
  return true;
}

// ---- Tokens ------------------------------------------------------------------------------------

bool Tokenizer::TakeLineBreak(Token& token) {
  const std::string_view lineBreak = markers_.lineBreak;
  while (Ahead().size() < lineBreak.size() && !window_.IsComplete()) Refill();
  if (!Ahead().starts_with(lineBreak)) {
    breaksLeft_ = 0;
    return false;
  }
  token = {Token::Kind::kLineBreak, Ahead().substr(0, lineBreak.size()), Offset()};
  next_ += lineBreak.size();
  --breaksLeft_;
  return true;
}

Token Tokenizer::NextSlowly() {
  Token lineBreak;
  if (NextLineBreak(lineBreak)) return lineBreak;
  if (isAtEnd_) return {Token::Kind::kEnd, {}, Offset()};
  for (;;) {
    while (mask_ != 0) {
      const std::size_t hit = TakeFound();
      if (hit < next_ + look_) continue;
      if (const auto token = TokenOf(hit - look_)) return *token;
    }
    if (ScanBlock()) continue;
    if (const auto token = PieceOrEnd()) return *token;
  }
}

/// The token that ends with the marker at `found`, if there is one.
std::optional<Token> Tokenizer::TokenOf(std::size_t found) {
  if ((offset_ + found) % markers_.unit != 0) return std::nullopt;
  switch (MarkerAt(bytes_.substr(found))) {
    case Found::kNothing:
      return std::nullopt;
    case Found::kOuter: {
      isAtEnd_ = true;
      Token token = PieceUpTo(found);
      token.kind = Token::Kind::kEnd;
      return token;
    }
    case Found::kFieldEnd:
      if (const auto last = LastOverlap(found, false)) return TokenAt(*last, Token::Kind::kField);
      break;
    case Found::kRecordEnd:
      if (const auto last = LastOverlap(found, true)) return TokenAt(*last, Token::Kind::kRecord);
      break;
  }
  if (found > next_) return PieceUpTo(found);
  if (Ahead().size() >= InputWindow::kMostKept) {
    throw ConversionError("byte " + std::to_string(Offset()) +
                          ": a marker that overlaps itself, and no other for thousands of bytes");
  }
  Refill();
  return std::nullopt;
}

Token Tokenizer::PieceUpTo(std::size_t end) {
  const Token token{Token::Kind::kPiece, bytes_.substr(next_, end - next_), Offset()};
  next_ = end;
  Rescan();
  return token;
}

/// When nothing more can be scanned: a part of the field, or the end. Nothing if the window was
/// filled, so that the field may be seen as a whole.
std::optional<Token> Tokenizer::PieceOrEnd() {
  const std::string_view rest = Ahead();
  if (window_.IsComplete()) {
    isAtEnd_ = true;
    Token token = PieceUpTo(bytes_.size());
    token.kind = Token::Kind::kEnd;
    return token;
  }
  const std::size_t known = Scannable() - std::min(Scannable(), next_);
  std::size_t whole = known - encoding_.UnfinishedLength(rest.substr(0, known));
  whole -= static_cast<std::size_t>((Offset() + whole) % markers_.unit);
  if (rest.size() < InputWindow::kMostKept || whole == 0) {
    Refill();
    return std::nullopt;
  }
  return PieceUpTo(next_ + whole);
}

// ---- Markers -----------------------------------------------------------------------------------

Tokenizer::Found Tokenizer::MarkerAt(std::string_view text) const {
  if (text.starts_with(markers_.recordEnd)) return Found::kRecordEnd;
  if (text.starts_with(markers_.fieldEnd)) {
    // The component looks for record ends first.
    const std::size_t record = isUnambiguous_ ? std::string_view::npos
                                              : FindMarker(text, markers_.recordEnd, markers_.unit);
    return record < markers_.fieldEnd.size() ? Found::kNothing : Found::kFieldEnd;
  }
  const bool isOuter =
      around_ && (text.starts_with(around_->fieldEnd) || text.starts_with(around_->recordEnd));
  return isOuter ? Found::kOuter : Found::kNothing;
}

/// Where the marker at `found` is that the component takes: the last one that overlaps it, if no
/// other follows in the record, or for a record end in the text. Nothing if that is not known yet.
std::optional<std::size_t> Tokenizer::LastOverlap(std::size_t found, bool isRecordEnd) const {
  if (isUnambiguous_) return found;
  const std::string& own = isRecordEnd ? markers_.recordEnd : markers_.fieldEnd;
  const auto find = [&](const std::string& marker, std::size_t from) {
    return FindMarker(bytes_, marker, markers_.unit, from);
  };
  std::size_t last = found;
  for (std::size_t next = find(own, last + 1); next < found + own.size();
       next = find(own, last + 1)) {
    last = next;
  }
  if (last == found) return found;
  const std::size_t other = find(own, found + own.size());
  const std::size_t end =
      isRecordEnd ? std::string_view::npos : find(markers_.recordEnd, found + own.size());
  if (other < end) return found;
  const bool isKnown = end != std::string_view::npos || window_.IsComplete();
  if (!isKnown) return std::nullopt;
  return last + own.size() <= std::min(end, bytes_.size()) ? last : found;
}

}  // namespace brindlex::cli
