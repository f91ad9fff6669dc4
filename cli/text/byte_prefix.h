#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace brindlex::cli {

/// A class of plain bytes, for one byte, eight and sixteen. Others(word) is 0 if all eight
/// bytes are plain; Others(block) has the high bit set in each byte that is not.
template <class Rule>
concept ByteRule = requires(char byte, std::uint64_t word) {
  { Rule::IsPlain(byte) } -> std::same_as<bool>;
  { Rule::Others(word) } -> std::same_as<std::uint64_t>;
#ifdef __SSE2__
  _mm_movemask_epi8(Rule::Others(_mm_setzero_si128()));
#endif
};

/// How many bytes at the front of `text` are plain. Sixteen bytes at a time, where the processor
/// can, then eight; most texts are short.
template <ByteRule Rule>
std::size_t PlainPrefix(std::string_view text) noexcept {
  const char* const bytes = text.data();
  const std::size_t size = text.size();
  std::size_t done = 0;
#ifdef __SSE2__
  constexpr std::size_t kBlock = sizeof(__m128i);
  for (; done + kBlock <= size; done += kBlock) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + done));
    const auto found = static_cast<unsigned>(_mm_movemask_epi8(Rule::Others(block)));
    if (found != 0) return done + static_cast<std::size_t>(std::countr_zero(found));
  }
#endif
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  const auto isPlainWord = [bytes](std::size_t from) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes + from, kWord);
    return Rule::Others(word) == 0;
  };
  while (done + kWord <= size && isPlainWord(done)) done += kWord;
  // The last whole word, some of whose bytes are known to be plain.
  if (done < size && done + kWord > size && size >= kWord && isPlainWord(size - kWord)) return size;
  while (done < size && Rule::IsPlain(bytes[done])) ++done;
  return done;
}

/// Bytes below 128.
struct AsciiRule {
  static bool IsPlain(char byte) { return static_cast<unsigned char>(byte) < 0x80; }
  static std::uint64_t Others(std::uint64_t word) { return word & 0x8080808080808080U; }
#ifdef __SSE2__
  static __m128i Others(__m128i block) { return block; }
#endif
};

}  // namespace brindlex::cli
