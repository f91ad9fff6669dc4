#include "cli/format/value_encoder.h"

#include <algorithm>

#include "cli/text/utf.h"

namespace brindlex::cli {

void ValueEncoder::Forbid(const MarkerPair& pair) {
  const ByteMarkers markers = RequireByteMarkers(pair, encoding_, choice_);
  forbidden_.push_back({markers.fieldEnd, "the field end " + DescribedCharacter(pair.fieldEnd)});
  forbidden_.push_back({markers.recordEnd, "the record end " + DescribedCharacter(pair.recordEnd)});
  overlap_ = std::max(overlap_, markers.Longest() - markers.unit);
  for (const char last : {markers.fieldEnd.back(), markers.recordEnd.back()}) {
    hasPlain_ = hasPlain_ && plain_.Exclude(last);
  }
}

bool ValueEncoder::PlainRule::Exclude(char byte) {
  if (count_ == kMost) return false;
  lastBytes_.bytes[count_++] = byte;
  return true;
}

std::optional<std::string> ValueEncoder::Append(std::string_view piece, std::size_t layers,
                                                std::size_t begin, ByteBuffer& bytes) {
  const std::size_t end = bytes.Size();
  // Most are ASCII, and end no marker: they are copied as they are.
  if (hasPlain_ && bytes.AppendPlain(piece, plain_) == piece.size()) return std::nullopt;
  bytes.Truncate(end);
  return AppendEncoded(piece, layers, begin, bytes);
}

std::optional<std::string> ValueEncoder::AppendEncoded(std::string_view piece, std::size_t layers,
                                                       std::size_t begin, ByteBuffer& bytes) {
  const std::size_t from = std::max(begin, bytes.Size() - std::min(bytes.Size(), overlap_));
  encoded_.clear();
  const std::size_t written = encoding_.FromUtf8(piece, encoded_);
  bytes += encoded_;
  if (written < piece.size()) {
    const std::string_view rest = piece.substr(written);
    if (FirstOfUtf8(rest).bytes == 0) return "is not UTF-8";
    return "holds " + DescribedCharacter(rest) + ", which " + encoding_.Name() +
           " does not have; " + EncodingHint(choice_);
  }
  const std::string_view value = bytes.View().substr(from);
  const std::size_t markers = std::min(2 * layers, forbidden_.size());
  for (std::size_t index = 0; index < markers; ++index) {
    const std::string& marker = forbidden_[index].bytes;
    if (FindMarker(value, marker, encoding_.UnitSize()) == std::string_view::npos) continue;
    return "holds " + forbidden_[index].described + ", which would be read as a marker";
  }
  return std::nullopt;
}

}  // namespace brindlex::cli
