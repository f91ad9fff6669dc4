#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "automation/text.h"

namespace brindlex {

/// The number of units that are compared together: one for each bit of a mask.
inline constexpr std::ptrdiff_t kScanBlock = 32;

/// Which units of a block are one of two: a mask with the first unit in the lowest bit, and their
/// number.
struct BlockMatch {
  std::uint32_t mask;
  std::uint32_t count;
};

/// Compares one unit after the other.
class ScalarMatcher {
 public:
  ScalarMatcher(char16_t one, char16_t other) noexcept : one_(one), other_(other) {}

  BlockMatch Match(const char16_t* block) const noexcept {
    BlockMatch match{0, 0};
    for (unsigned bit = 0; bit < kScanBlock; ++bit) {
      const std::uint32_t found = block[bit] == one_ || block[bit] == other_ ? 1 : 0;
      match.mask |= found << bit;
      match.count += found;
    }
    return match;
  }

 private:
  char16_t one_;
  char16_t other_;
};

#ifdef __SSE2__
/// Compares eight units together.
class VectorMatcher {
 public:
  VectorMatcher(char16_t one, char16_t other) noexcept
      : ones_(_mm_set1_epi16(static_cast<short>(one))),
        others_(_mm_set1_epi16(static_cast<short>(other))) {}

  BlockMatch Match(const char16_t* block) const noexcept {
    const __m128i first = MatchHalf(block);
    const __m128i second = MatchHalf(block + kScanBlock / 2);
    const auto low = static_cast<std::uint32_t>(_mm_movemask_epi8(first));
    const auto high = static_cast<std::uint32_t>(_mm_movemask_epi8(second));
    // A unit that is found has -1 in its byte.
    const __m128i none = _mm_setzero_si128();
    const __m128i found = _mm_sub_epi8(none, _mm_add_epi8(first, second));
    const __m128i sums = _mm_sad_epu8(found, none);
    const int count = _mm_cvtsi128_si32(sums) + _mm_extract_epi16(sums, 4);
    return {low | high << 16U, static_cast<std::uint32_t>(count)};
  }

 private:
  /// A byte for each of sixteen units.
  __m128i MatchHalf(const char16_t* units) const noexcept {
    return _mm_packs_epi16(MatchEight(units), MatchEight(units + 8));
  }
  __m128i MatchEight(const char16_t* at) const noexcept {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    return _mm_or_si128(_mm_cmpeq_epi16(units, ones_), _mm_cmpeq_epi16(units, others_));
  }

  __m128i ones_;
  __m128i others_;
};
using FastestMatcher = VectorMatcher;
#else
using FastestMatcher = ScalarMatcher;
#endif

/// The offset of the first unit of `text` that is one of two; npos when there is none.
inline std::size_t FindEither(TextView text, char16_t one, char16_t other) noexcept {
  const FastestMatcher matcher(one, other);
  constexpr auto kBlock = static_cast<std::size_t>(kScanBlock);
  std::size_t offset = 0;
  for (; text.size() - offset >= kBlock; offset += kBlock) {
    const std::uint32_t mask = matcher.Match(text.data() + offset).mask;
    if (mask != 0) return offset + static_cast<std::size_t>(std::countr_zero(mask));
  }
  for (; offset < text.size(); ++offset) {
    if (text[offset] == one || text[offset] == other) return offset;
  }
  return TextView::npos;
}

/// Whether `size` units are the same. Some run times compare memory byte by byte.
inline bool AreEqual(const char16_t* left, const char16_t* right, std::size_t size) noexcept {
  std::size_t offset = 0;
#ifdef __SSE2__
  constexpr std::size_t kUnits = 8;
  const auto load = [](const char16_t* units) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
  };
  for (; size - offset >= kUnits; offset += kUnits) {
    const __m128i same = _mm_cmpeq_epi16(load(left + offset), load(right + offset));
    if (_mm_movemask_epi8(same) != 0xFFFF) return false;
  }
#endif
  for (; offset < size; ++offset) {
    if (left[offset] != right[offset]) return false;
  }
  return true;
}

/// Lists, from left to right and in one pass, the positions of two units in a text. A stretch of
/// the text is listed before its positions are used, without a branch that depends on the length of
/// fields, since the processor would mispredict most of those.
template <class Matcher>
class MarkerScan {
 public:
  /// `text` must outlive the scan.
  MarkerScan(TextView text, char16_t one, char16_t other) noexcept
      : matcher_(one, other),
        next_(text.data()),
        end_(text.data() + text.size()),
        one_(one),
        other_(other) {}

  /// The number of positions that List needs room for.
  static constexpr std::size_t kRoom = 512;

  bool IsAtEnd() const noexcept { return next_ == end_; }

  /// Lists the positions after those units in the next stretch of the text, and returns the end of
  /// the list. The room after that end may have been written to.
  const char16_t** List(const char16_t** positions) noexcept {
    const std::ptrdiff_t left = end_ - next_;
    const std::ptrdiff_t complete = left / kScanBlock * kScanBlock;
    const std::ptrdiff_t ahead = left > kStretch + kAhead ? kAhead : 0;
    const char16_t* block = next_;
    next_ += complete < kStretch ? complete : kStretch;
    for (; block != next_; block += kScanBlock) {
      __builtin_prefetch(block + ahead);
      positions = ListBlock(block, positions);
    }
    if (end_ - next_ < kScanBlock) positions = ListRest(positions);
    return positions;
  }

 private:
  /// The distance in units at which the text is prefetched: the processor's own prefetching ends
  /// with each page.
  static constexpr std::ptrdiff_t kAhead = 1024;
  /// As many units as there is room for if every one is listed, and the rest of the text if that is
  /// less than a block.
  static constexpr std::ptrdiff_t kStretch = std::ptrdiff_t{kRoom} - kScanBlock;

  /// The rest of a mask, in a word of the processor.
  using Bits = std::size_t;
  static constexpr int kBits = std::numeric_limits<Bits>::digits;

  const char16_t** ListBlock(const char16_t* block, const char16_t** positions) const noexcept {
    constexpr std::uint32_t kUsual = 6;
    const char16_t* const afterFirst = block + 1;
    const auto [mask, count] = matcher_.Match(block);
    // The bits after the block, if a word has more, are set, so that there is always one to find.
    Bits bits = mask | static_cast<Bits>(~std::uint64_t{0} << kScanBlock);
    // Written for nothing when there are fewer.
    for (std::uint32_t number = 0; number < kUsual; ++number) {
      positions[number] = afterFirst + FirstOf(bits);
      bits &= bits - 1;
    }
    for (std::uint32_t number = kUsual; number < count; ++number) {
      positions[number] = afterFirst + FirstOf(bits);
      bits &= bits - 1;
    }
    return positions + count;
  }

  /// The first bit that is set; any when there is none.
  static int FirstOf(Bits bits) noexcept {
    if constexpr (kBits == kScanBlock) bits |= Bits{1} << (kBits - 1);
    return std::countr_zero(bits);
  }

  const char16_t** ListRest(const char16_t** positions) noexcept {
    for (; next_ != end_; ++next_) {
      if (*next_ == one_ || *next_ == other_) *positions++ = next_ + 1;
    }
    return positions;
  }

  Matcher matcher_;
  const char16_t* next_;
  const char16_t* end_;
  char16_t one_;
  char16_t other_;
};

}  // namespace brindlex
