#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace brindlex::tool {

/// How many bytes at the front of `text` are plain by `Rule`, which has
///
///     static bool IsPlain(char byte);               // one byte
///     static std::uint64_t Signs(std::uint64_t);    // of eight: not 0 when one of them is not
///     plain static __m128i Signs(__m128i);                // of sixteen: the high bit of those
///     that are not
///
/// Sixteen bytes at a time, where the processor can, then eight; short texts are mostly what it is
/// called for. The second Signs may leave out exactness about which byte it is.
template <class Rule>
std::size_t PlainPrefix(std::string_view text) noexcept {
  const char* const bytes = text.data();
  const std::size_t size = text.size();
  std::size_t at = 0;
#ifdef __SSE2__
  constexpr std::size_t kBlock = sizeof(__m128i);
  for (; at + kBlock <= size; at += kBlock) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
    const auto found = static_cast<unsigned>(_mm_movemask_epi8(Rule::Signs(block)));
    if (found != 0) return at + static_cast<std::size_t>(std::countr_zero(found));
  }
#endif
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  const auto isPlainWord = [bytes](std::size_t from) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + from, kWord);
    return Rule::Signs(word) == 0;
  };
  while (at + kWord <= size && isPlainWord(at)) at += kWord;
  // The last word again, from where it is whole: bytes that were looked at are plain.
  if (at < size && at + kWord > size && size >= kWord && isPlainWord(size - kWord)) return size;
  while (at < size && Rule::IsPlain(bytes[at])) ++at;
  return at;
}

/// Bytes below 128.
struct AsciiRule {
  static bool IsPlain(char byte) { return static_cast<unsigned char>(byte) < 0x80; }
  static std::uint64_t Signs(std::uint64_t word) { return word & 0x8080808080808080U; }
#ifdef __SSE2__
  static __m128i Signs(__m128i block) { return block; }
#endif
};

}  // namespace brindlex::tool
