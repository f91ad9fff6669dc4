#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <tuple>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace brindlex::cli {

/// A class of plain bytes, for one byte and for sixteen: Others(block) has the high bit set in each
/// byte that is not plain.
template <class Rule>
concept ByteRule = requires(const Rule& rule, char byte) {
  { rule.IsPlain(byte) } -> std::same_as<bool>;
#ifdef __SSE2__
  _mm_movemask_epi8(rule.Others(_mm_setzero_si128()));
#endif
};

/// How many bytes at the front of `text` are plain, byte by byte: the model of PlainPrefix, for
/// tests and other processors.
template <ByteRule Rule>
std::size_t PlainPrefixByteByByte(std::string_view text, const Rule& rule) noexcept {
  std::size_t done = 0;
  while (done < text.size() && rule.IsPlain(text[done])) ++done;
  return done;
}

#ifdef __SSE2__

inline constexpr std::size_t kByteBlock = sizeof(__m128i);

/// The `size` bytes at `bytes`, fewer than sixteen, with zeros after them. Reads no others.
inline __m128i LoadPartial(const char* bytes, std::size_t size) noexcept {
  const auto load = [bytes](auto whole, std::size_t from) -> std::uint64_t {
    std::memcpy(&whole, bytes + from, sizeof whole);
    return whole;
  };
  if (size >= 8) {
    // The bytes from 8 on; a shift by 64 is none in C++.
    const std::uint64_t high = load(std::uint64_t{}, size - 8) >> 1U >> (127 - 8 * size);
    return _mm_set_epi64x(static_cast<std::int64_t>(high),
                          static_cast<std::int64_t>(load(std::uint64_t{}, 0)));
  }
  std::uint64_t word = 0;
  if (size >= 4) {
    word = load(std::uint32_t{}, 0) | load(std::uint32_t{}, size - 4) << (8 * (size - 4));
  } else if (size > 0) {
    word = load(std::uint8_t{}, 0) | load(std::uint8_t{}, size / 2) << (8 * (size / 2)) |
           load(std::uint8_t{}, size - 1) << (8 * (size - 1));
  }
  return _mm_set_epi64x(0, static_cast<std::int64_t>(word));
}

/// PlainPrefix, which calls `each(block, offset)` for each block of sixteen bytes that it looks at.
/// The last may overlap the one before it, and has zeros after a text of fewer bytes.
template <ByteRule Rule, class Each>
std::size_t PlainPrefixByBlocks(std::string_view text, const Rule& rule, Each&& each) noexcept {
  const char* const bytes = text.data();
  const std::size_t size = text.size();
  const auto others = [&](__m128i block, std::size_t offset) {
    each(block, offset);
    return static_cast<unsigned>(_mm_movemask_epi8(rule.Others(block)));
  };
  const auto load = [bytes](std::size_t offset) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + offset));
  };
  if (size < kByteBlock) {
    const unsigned found = others(LoadPartial(bytes, size), 0) | 1U << size;
    return static_cast<std::size_t>(std::countr_zero(found));
  }
  std::size_t done = 0;
  for (; done + kByteBlock <= size; done += kByteBlock) {
    const unsigned found = others(load(done), done);
    if (found != 0) return done + static_cast<std::size_t>(std::countr_zero(found));
  }
  if (done == size) return size;
  // Some of its bytes are known to be plain.
  done = size - kByteBlock;
  const unsigned found = others(load(done), done) | 1U << kByteBlock;
  return done + static_cast<std::size_t>(std::countr_zero(found));
}

#endif

/// How many bytes at the front of `text` are plain, sixteen bytes at a time where the processor
/// can. Reads nothing outside of `text`.
template <ByteRule Rule>
std::size_t PlainPrefix(std::string_view text, const Rule& rule = {}) noexcept {
#ifdef __SSE2__
  return PlainPrefixByBlocks(text, rule, [](__m128i, std::size_t) {});
#else
  return PlainPrefixByteByByte(text, rule);
#endif
}

/// Bytes that CopyPlain may write after those of a text.
inline constexpr std::size_t kCopySlack = 16;

/// Copies at least the plain bytes at the front of `text` to `to`, and returns how many there are.
/// There has to be room for all of `text` and kCopySlack bytes more.
template <ByteRule Rule>
std::size_t CopyPlain(std::string_view text, char* to, const Rule& rule = {}) noexcept {
#ifdef __SSE2__
  return PlainPrefixByBlocks(text, rule, [to](__m128i block, std::size_t offset) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + offset), block);
  });
#else
  const std::size_t plain = PlainPrefixByteByByte(text, rule);
  text.copy(to, plain);
  return plain;
#endif
}

/// Bytes other than a few.
template <std::size_t kCount>
struct OtherThan {
  std::array<char, kCount> bytes;

  bool IsPlain(char byte) const {
    return std::find(bytes.begin(), bytes.end(), byte) == bytes.end();
  }
#ifdef __SSE2__
  __m128i Others(__m128i block) const {
    // Not a loop, in which the compiler loses which of the bytes are constants.
    const auto others = [block](auto... byte) {
      return (_mm_cmpeq_epi8(block, _mm_set1_epi8(byte)) | ...);
    };
    return std::apply(others, bytes);
  }
#endif
};

/// Bytes below 128.
struct AsciiRule {
  static bool IsPlain(char byte) { return static_cast<unsigned char>(byte) < 0x80; }
#ifdef __SSE2__
  static __m128i Others(__m128i block) { return block; }
#endif
};

}  // namespace brindlex::cli
