#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/format/markers.h"
#include "cli/text/byte_buffer.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Encodes texts of which none may hold certain markers.
class ValueEncoder {
 public:
  /// `choice` is for the messages.
  explicit ValueEncoder(Encoding encoding, Choice choice = Choice::kOwn)
      : encoding_(std::move(encoding)), choice_(choice), hasPlain_(encoding_.UnitSize() == 1) {}

  /// The markers of `pair` are forbidden from here on. Fails as RequireByteMarkers.
  void Forbid(const MarkerPair& pair);

  /// Appends `piece`, which is UTF-8, to a value that starts at `begin` in `bytes`. If the value
  /// then holds one of the first `layers` pairs, or the piece a character that the encoding lacks,
  /// or it is ill-formed: what is wrong, to follow "it "; what was appended is then of no use.
  std::optional<std::string> Append(std::string_view piece, std::size_t layers, std::size_t begin,
                                    ByteBuffer& bytes);

  /// How many bytes before a piece can be a part of a marker that ends in it.
  std::size_t Overlap() const { return overlap_; }

 private:
  struct Forbidden {
    std::string bytes;
    std::string described;
  };

  /// ASCII bytes with which no forbidden marker ends.
  class PlainRule {
   public:
    /// False if there are too many.
    bool Exclude(char byte);
    bool IsPlain(char byte) const { return AsciiRule::IsPlain(byte) && lastBytes_.IsPlain(byte); }
#ifdef __SSE2__
    __m128i Others(__m128i block) const { return _mm_or_si128(block, lastBytes_.Others(block)); }
#endif

   private:
    /// Of two pairs of markers.
    static constexpr std::size_t kMost = 4;
    OtherThan<kMost> lastBytes_{{'\x80', '\x80', '\x80', '\x80'}};
    std::size_t count_ = 0;
  };

  std::optional<std::string> AppendEncoded(std::string_view piece, std::size_t layers,
                                           std::size_t begin, ByteBuffer& bytes);

  const Encoding encoding_;
  const Choice choice_;
  /// Whether plain_ is of use.
  bool hasPlain_;
  std::vector<Forbidden> forbidden_;
  PlainRule plain_;
  std::string encoded_;
  std::size_t overlap_ = 0;
};

}  // namespace brindlex::cli
