#include "cli/format/value_encoder.h"

#include <algorithm>

#include "cli/text/utf.h"

namespace brindlex::cli {

void ValueEncoder::Forbid(const MarkerPair& pair) {
  const ByteMarkers markers = RequireByteMarkers(pair, encoding_, choice_);
  forbidden_.push_back({markers.fieldEnd, "the field end " + DescribedCharacter(pair.fieldEnd)});
  forbidden_.push_back({markers.recordEnd, "the record end " + DescribedCharacter(pair.recordEnd)});
  overlap_ = std::max(overlap_, markers.Longest() - markers.unit);
}

std::optional<std::string> ValueEncoder::Append(std::string_view piece, std::size_t layers,
                                                std::size_t begin, std::string& bytes) const {
  const std::size_t from = std::max(begin, bytes.size() - std::min(bytes.size(), overlap_));
  const std::size_t written = encoding_.FromUtf8(piece, bytes);
  if (written < piece.size()) {
    const std::string_view rest = piece.substr(written);
    if (FirstOfUtf8(rest).bytes == 0) return "is not UTF-8";
    return "holds " + DescribedCharacter(rest) + ", which " + encoding_.Name() +
           " does not have; " + EncodingHint(choice_);
  }
  const std::string_view value = std::string_view(bytes).substr(from);
  const std::size_t markers = std::min(2 * layers, forbidden_.size());
  for (std::size_t index = 0; index < markers; ++index) {
    const std::string& marker = forbidden_[index].bytes;
    if (FindMarker(value, marker, encoding_.UnitSize()) == std::string_view::npos) continue;
    return "holds " + forbidden_[index].described + ", which would be read as a marker";
  }
  return std::nullopt;
}

}  // namespace brindlex::cli
