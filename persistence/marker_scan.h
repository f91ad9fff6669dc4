#pragma once

#include <bit>
#include <cstdint>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "automation/text.h"

namespace brindlex {

/// How many units are looked at together: one for each bit of a mask.
inline constexpr std::ptrdiff_t kScanBlock = 32;

/// The units of a block that are one of two, as a mask with the first unit in the lowest bit: one
/// unit after the other, over a block of `count` units, at most kScanBlock.
struct ScalarMatch {
  static std::uint32_t Of(const char16_t* block, std::ptrdiff_t count, char16_t one,
                          char16_t other) noexcept {
    std::uint32_t mask = 0;
    for (std::ptrdiff_t at = 0; at < count; ++at) {
      const bool found = block[at] == one || block[at] == other;
      mask |= static_cast<std::uint32_t>(found) << static_cast<unsigned>(at);
    }
    return mask;
  }
};

#ifdef __SSE2__
/// The same, eight units at a time, for whole blocks.
struct VectorMatch {
  static std::uint32_t Of(const char16_t* block, std::ptrdiff_t count, char16_t one,
                          char16_t other) noexcept {
    if (count < kScanBlock) return ScalarMatch::Of(block, count, one, other);
    const __m128i ones = _mm_set1_epi16(static_cast<short>(one));
    const __m128i others = _mm_set1_epi16(static_cast<short>(other));
    const auto match = [&](std::ptrdiff_t at) {
      const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
      return _mm_or_si128(_mm_cmpeq_epi16(units, ones), _mm_cmpeq_epi16(units, others));
    };
    const auto half = [&](std::ptrdiff_t at) {
      const int mask = _mm_movemask_epi8(_mm_packs_epi16(match(at), match(at + 8)));
      return static_cast<std::uint32_t>(mask);
    };
    return half(0) | half(16) << 16U;
  }
};
using FastestMatch = VectorMatch;
#else
using FastestMatch = ScalarMatch;
#endif

/// Finds, from left to right and in one pass, where one of two units stands in a text.
template <class Match>
class MarkerScan {
 public:
  /// `text` must outlive the scan.
  MarkerScan(TextView text, char16_t one, char16_t other) noexcept
      : block_(text.data()),
        next_(text.data()),
        end_(text.data() + text.size()),
        one_(one),
        other_(other) {}

  /// The next place; the end of the text behind the last.
  const char16_t* Next() noexcept {
    while (mask_ == 0) {
      if (next_ == end_) return end_;
      block_ = next_;
      next_ += end_ - block_ < kScanBlock ? end_ - block_ : kScanBlock;
      mask_ = Match::Of(block_, next_ - block_, one_, other_);
    }
    const char16_t* const found = block_ + std::countr_zero(mask_);
    mask_ &= mask_ - 1;
    return found;
  }

 private:
  const char16_t* block_;
  const char16_t* next_;
  const char16_t* end_;
  char16_t one_;
  char16_t other_;
  /// What is left of the matches in the block.
  std::uint32_t mask_ = 0;
};

}  // namespace brindlex
