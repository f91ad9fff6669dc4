#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "cli/format/markers.h"
#include "cli/io/input.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// A part of a delimited text: bytes of a field, and what ends them.
struct Token {
  enum class Kind {
    /// More of the field follows. Never empty.
    kPiece,
    /// A field end follows.
    kField,
    /// A record end follows. The bytes, none as a rule, are those after the last field end.
    kRecord,
    /// The bytes are a line break after a record end, which the component drops.
    kLineBreak,
    /// The text ends. The bytes are those after the last marker.
    kEnd,
  };

  Kind kind = Kind::kEnd;
  /// Valid until the next call of the tokenizer. They never end within a character, unless the
  /// field does.
  std::string_view bytes;
  /// Of the first byte, in the file.
  std::uint64_t offset = 0;

  /// Of the marker that ends it.
  std::uint64_t End() const { return offset + bytes.size(); }
};

/// Whether `bytes`, in any encoding, hold nothing but what editors and old programs put after the
/// last record end: line breaks, blanks, NUL and Ctrl+Z. Such a tail is no record.
inline bool IsTail(std::string_view bytes) {
  return bytes.find_first_not_of(std::string_view("\r\n \t\0\x1A", 6)) == std::string_view::npos;
}

/// Cuts a text at its markers as the component does: record ends are found from left to right, in
/// each record the field ends; up to three line breaks after a record end belong to nothing. Reads
/// as the caller asks for tokens, in the memory of the window.
///
/// Where a marker overlaps itself in the text ("|||" with the marker "||"), the component takes the
/// last one of a record or text for its end. That is looked ahead for some kilobytes; a text that
/// leaves it open longer is a ConversionError.
class Tokenizer {
 public:
  /// `window` must outlive it. The text is the rest of it; with markers `around` it ends before the
  /// first of those, as the text of a named collection does.
  Tokenizer(InputWindow& window, Encoding encoding, const ByteMarkers& markers,
            std::optional<ByteMarkers> around = std::nullopt);

  /// The next token. After kEnd kEnd again, without bytes.
  Token Next() {
    if (breaksLeft_ > 0 || !isSimple_) return NextSlowly();
    // What most tokens are: a marker of one byte in the part of the window that is scanned.
    do {
      while (mask_ != 0) {
        const std::size_t found = TakeFound();
        if (found < next_) continue;
        return TokenAt(found,
                       bytes_[found] == fieldEnd_ ? Token::Kind::kField : Token::Kind::kRecord);
      }
    } while (ScanBlock());
    return NextSlowly();
  }

  /// Takes the next token if it is a whole field of bytes below 128, as most are, and that is known
  /// without a closer look. The field alone costs less than a token.
  bool TakePlainField(std::string_view& field) {
    if (breaksLeft_ > 0 || !isSimple_ || (mask_ == 0 && !ScanBlock()) || mask_ == 0) return false;
    const std::size_t found = block_ + static_cast<std::size_t>(std::countr_zero(mask_));
    const std::uint64_t before = (mask_ & (~mask_ + 1)) - 1;
    const bool isAscii = ((high_ & before) | highBefore_) == 0;
    if (!isAscii || bytes_[found] != fieldEnd_ || found < next_) return false;
    TakeFound();
    field = {bytes_.data() + next_, found - next_};
    next_ = found + 1;
    return true;
  }

  /// If a line break after a record end comes next: takes it and returns true.
  bool NextLineBreak(Token& token) {
    if (breaksLeft_ > 0 && !Ahead().empty() && Ahead().front() != markers_.lineBreak.front()) {
      breaksLeft_ = 0;
    }
    return breaksLeft_ > 0 && TakeLineBreak(token);
  }

  /// What is in memory of the text from the next token on.
  std::string_view Ahead() const { return bytes_.substr(next_); }

  /// Passes over `bytes` of Ahead(), which end with a record end.
  void SkipRecords(std::size_t bytes);

  /// The offset of the next token.
  std::uint64_t Offset() const { return offset_ + next_; }

  /// Leaves the rest of the window to another tokenizer. Nothing may follow but Resume.
  void Yield() { window_.Consume(next_); }

  /// Goes on with the window where another tokenizer has left it.
  void Resume();

  const ByteMarkers& Markers() const { return markers_; }

 private:
  enum class Found { kNothing, kFieldEnd, kRecordEnd, kOuter };

  std::size_t TakeFound() {
    const auto found = block_ + static_cast<std::size_t>(std::countr_zero(mask_));
    // The marker itself belongs to no field.
    high_ &= ~(mask_ ^ (mask_ - 1));
    highBefore_ = 0;
    mask_ &= mask_ - 1;
    return found;
  }

  Token TokenAt(std::size_t found, Token::Kind kind) {
    const Token token{kind, {bytes_.data() + next_, found - next_}, Offset()};
    const bool isRecord = kind == Token::Kind::kRecord;
    next_ = found + (isRecord ? markers_.recordEnd.size() : markers_.fieldEnd.size());
    breaksLeft_ = isRecord ? kMostRecordBreaks : 0;
    return token;
  }

  bool TakeLineBreak(Token& token);
  Token NextSlowly();
  bool ScanBlock();
  void Rescan();
  void Refill();
  std::optional<Token> TokenOf(std::size_t found);
  std::optional<Token> PieceOrEnd();
  Token PieceUpTo(std::size_t end);
  Found MarkerAt(std::string_view text) const;
  std::optional<std::size_t> LastOverlap(std::size_t found, bool isRecordEnd) const;
  std::size_t Scannable() const;

  InputWindow& window_;
  Encoding encoding_;
  ByteMarkers markers_;
  std::optional<ByteMarkers> around_;
  /// Each marker is one byte and there are no others to look for.
  bool isSimple_;
  bool isUnambiguous_;
  char fieldEnd_;
  /// The byte of a marker that is looked for: in UTF-16 with the higher byte first, the second.
  std::size_t look_;
  std::string sought_;
  /// Bytes from a marker on that decide about it.
  std::size_t lookahead_;

  /// Those of the window, and their offset.
  std::string_view bytes_;
  std::uint64_t offset_ = 0;
  // Indexes into them.
  std::size_t next_ = 0;
  std::size_t block_ = 0;
  std::size_t scanned_ = 0;
  /// What is left of the markers in the block from block_ to scanned_, the first in the lowest bit.
  std::uint64_t mask_ = 0;
  /// The bytes from 128 on after the last marker, in that block and before it.
  std::uint64_t high_ = 0;
  std::uint64_t highBefore_ = 0;
  int breaksLeft_ = 0;
  bool isAtEnd_ = false;
};

}  // namespace brindlex::cli
