#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace brindlex::tool {

/// How many bytes are looked at together: one for each bit of a mask.
inline constexpr std::size_t kByteBlock = 64;

/// The bytes of a block that are one of two, as a mask with the first byte in the lowest bit: one
/// byte after the other, over a block of `count` bytes, at most kByteBlock.
struct ScalarByteMatch {
  static std::uint64_t Of(const char* block, std::size_t count, char one, char other) noexcept {
    std::uint64_t mask = 0;
    for (std::size_t at = 0; at < count; ++at) {
      const bool found = block[at] == one || block[at] == other;
      mask |= static_cast<std::uint64_t>(found) << at;
    }
    return mask;
  }
};

#ifdef __SSE2__
/// The same, sixteen bytes at a time, for whole blocks.
struct VectorByteMatch {
  static std::uint64_t Of(const char* block, std::size_t count, char one, char other) noexcept {
    if (count < kByteBlock) return ScalarByteMatch::Of(block, count, one, other);
    const __m128i ones = _mm_set1_epi8(one);
    const __m128i others = _mm_set1_epi8(other);
    const auto match = [&](std::size_t at) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
      const int mask = _mm_movemask_epi8(
          _mm_or_si128(_mm_cmpeq_epi8(bytes, ones), _mm_cmpeq_epi8(bytes, others)));
      return static_cast<std::uint64_t>(static_cast<unsigned>(mask)) << at;
    };
    return match(0) | match(16) | match(32) | match(48);
  }
};
using FastestByteMatch = VectorByteMatch;
#else
using FastestByteMatch = ScalarByteMatch;
#endif

/// Finds, from left to right and in one pass, where one of two bytes stands in a text.
template <class Match>
class ByteScan {
 public:
  /// `text` must outlive the scan.
  ByteScan(std::string_view text, char one, char other) noexcept
      : text_(text), one_(one), other_(other) {}

  /// The next place; the text's length behind the last.
  std::size_t Next() noexcept {
    while (mask_ == 0) {
      if (next_ == text_.size()) return next_;
      block_ = next_;
      const std::size_t left = text_.size() - block_;
      next_ += left < kByteBlock ? left : kByteBlock;
      mask_ = Match::Of(text_.data() + block_, next_ - block_, one_, other_);
    }
    const std::size_t found = block_ + static_cast<std::size_t>(std::countr_zero(mask_));
    mask_ &= mask_ - 1;
    return found;
  }

 private:
  std::string_view text_;
  char one_;
  char other_;
  std::size_t block_ = 0;
  std::size_t next_ = 0;
  /// What is left of the matches in the block.
  std::uint64_t mask_ = 0;
};

}  // namespace brindlex::tool
