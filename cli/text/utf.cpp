#include "cli/text/utf.h"

#include <algorithm>

#include "cli/text/byte_prefix.h"

namespace brindlex::cli {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

unsigned ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

/// What a first byte requires of the bytes after it.
struct Sequence {
  std::size_t bytes;
  /// The range of the second byte.
  unsigned lowest;
  unsigned highest;
};

Sequence SequenceOf(unsigned first) {
  if (first < 0x80) return {1, 0, 0};
  if (first < 0xC2) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

/// How many bytes at the front of `text` belong to the sequence that its first byte begins.
std::size_t Matching(std::string_view text, const Sequence& sequence) {
  if (sequence.bytes == 0) return 0;
  const std::size_t most = std::min(sequence.bytes, text.size());
  for (std::size_t at = 1; at < most; ++at) {
    const unsigned lowest = at == 1 ? sequence.lowest : 0x80U;
    const unsigned highest = at == 1 ? sequence.highest : 0xBFU;
    if (ByteAt(text, at) < lowest || ByteAt(text, at) > highest) return at;
  }
  return most;
}

}  // namespace

Character FirstOfUtf8(std::string_view text) {
  const unsigned first = ByteAt(text, 0);
  const Sequence sequence = SequenceOf(first);
  if (sequence.bytes == 0 || Matching(text, sequence) < sequence.bytes) return {};
  if (sequence.bytes == 1) return {first, 1};
  char32_t number = first & (0x7FU >> sequence.bytes);
  for (std::size_t at = 1; at < sequence.bytes; ++at) {
    number = number << 6U | (ByteAt(text, at) & 0x3FU);
  }
  return {number, sequence.bytes};
}

std::size_t ValidUtf8(std::string_view text) {
  std::size_t valid = 0;
  for (;;) {
    valid += PlainPrefix<AsciiRule>(text.substr(valid));
    if (valid == text.size()) return valid;
    const std::size_t bytes = FirstOfUtf8(text.substr(valid)).bytes;
    if (bytes == 0) return valid;
    valid += bytes;
  }
}

std::size_t UnfinishedUtf8(std::string_view text) {
  constexpr std::size_t kMost = 3;
  for (std::size_t count = 1; count <= std::min(kMost, text.size()); ++count) {
    const std::string_view end = text.substr(text.size() - count);
    if ((ByteAt(end, 0) & 0xC0U) == 0x80) continue;
    const Sequence sequence = SequenceOf(ByteAt(end, 0));
    return sequence.bytes > count && Matching(end, sequence) == count ? count : 0;
  }
  return 0;
}

std::size_t IllFormedUtf8(std::string_view text) {
  return Matching(text, SequenceOf(ByteAt(text, 0)));
}

void AppendUtf8(char32_t number, std::string& text) {
  const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
  const auto follow = [&](unsigned shift) { put(0x80U | (number >> shift & 0x3FU)); };
  if (number < 0x80) return put(number);
  if (number < 0x800) {
    put(0xC0U | number >> 6U);
    return follow(0);
  }
  if (number < 0x10000) {
    put(0xE0U | number >> 12U);
  } else {
    put(0xF0U | number >> 18U);
    follow(12);
  }
  follow(6);
  follow(0);
}

void AppendUtf16(char32_t number, std::u16string& text) {
  if (number >= 0x10000) {
    text += static_cast<char16_t>(0xD7C0U + (number >> 10U));
    text += static_cast<char16_t>(0xDC00U + (number & 0x3FFU));
  } else {
    text += static_cast<char16_t>(number);
  }
}

std::u16string Utf16OfUtf8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  while (!text.empty()) {
    const Character character = FirstOfUtf8(text);
    AppendUtf16(character.bytes == 0 ? kReplacement : character.number, units);
    text.remove_prefix(std::max<std::size_t>(character.bytes, 1));
  }
  return units;
}

std::string Utf8OfUtf16(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char32_t unit = text[at];
    if (unit < 0xD800 || unit > 0xDFFF) {
      AppendUtf8(unit, bytes);
    } else if (unit < 0xDC00 && at + 1 < text.size() && (text[at + 1] & 0xFC00U) == 0xDC00U) {
      AppendUtf8(0x10000U + ((unit & 0x3FFU) << 10U) + (text[++at] & 0x3FFU), bytes);
    } else {
      AppendUtf8(kReplacement, bytes);
    }
  }
  return bytes;
}

}  // namespace brindlex::cli
