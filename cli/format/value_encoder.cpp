#include "cli/format/marker_guard.h"

#include <algorithm>

#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

std::string NumberOf(char32_t character) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string digits;
  for (; character != 0 || digits.size() < 4; character >>= 4U) {
    digits.insert(digits.begin(), kDigits[character & 0xFU]);
  }
  return "U+" + digits;
}

/// A character as a message shows it: itself and its number.
std::string Described(std::string_view text) {
  const Character first = FirstOfUtf8(text);
  const std::string number = NumberOf(first.number);
  return ActsOnTerminal(first.number) ? number
                                      : std::string(text.substr(0, first.bytes)) + " " + number;
}

}  // namespace

void MarkerGuard::Forbid(const MarkerPair& pair) {
  const ByteMarkers markers = CheckedMarkers(pair, encoding_);
  forbidden_.push_back({markers.fieldEnd, "the field end " + Described(pair.fieldEnd)});
  forbidden_.push_back({markers.recordEnd, "the record end " + Described(pair.recordEnd)});
}

std::optional<std::string> MarkerGuard::Append(std::string_view text, std::size_t layers,
                                               std::string& bytes) const {
  const std::size_t begin = bytes.size();
  const std::size_t written = encoding_.FromUtf8(text, bytes);
  if (written < text.size()) {
    const std::string_view rest = text.substr(written);
    if (FirstOfUtf8(rest).bytes == 0) return "is not UTF-8";
    return "holds " + Described(rest) + ", which " + encoding_.Name() + " does not have";
  }
  const std::string_view encoded = std::string_view(bytes).substr(begin);
  const std::size_t markers = std::min(2 * layers, forbidden_.size());
  for (std::size_t at = 0; at < markers; ++at) {
    if (!Holds(encoded, forbidden_[at].bytes)) continue;
    return "holds " + forbidden_[at].described + ", which would be read as a marker";
  }
  return std::nullopt;
}

bool MarkerGuard::Holds(std::string_view bytes, std::string_view marker) const {
  std::size_t at = bytes.find(marker);
  // In UTF-16 a marker stands at even places only.
  while (at != std::string_view::npos && at % encoding_.UnitSize() != 0) {
    at = bytes.find(marker, at + 1);
  }
  return at != std::string_view::npos;
}

}  // namespace brindlex::tool
