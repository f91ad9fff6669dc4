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

/// How many units are looked at together: one for each bit of a mask.
inline constexpr std::ptrdiff_t kScanBlock = 32;

/// Which units of a block are one of two: a mask with the first unit in the lowest bit, and how
/// many they are.
struct BlockMatch {
  std::uint32_t mask;
  std::uint32_t count;
};

/// Looks at one unit after the other.
class ScalarMatcher {
 public:
  ScalarMatcher(char16_t one, char16_t other) noexcept : one_(one), other_(other) {}

  BlockMatch Match(const char16_t* block) const noexcept {
    BlockMatch match{0, 0};
    for (unsigned at = 0; at < kScanBlock; ++at) {
      const std::uint32_t found = block[at] == one_ || block[at] == other_ ? 1 : 0;
      match.mask |= found << at;
      match.count += found;
    }
    return match;
  }

 private:
  char16_t one_;
  char16_t other_;
};

#ifdef __SSE2__
/// Looks at eight units together.
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

/// Lists, from left to right and in one pass, where one of two units stands in a text. Whole
/// stretches are listed before the places are used, without a branch that depends on how long
/// fields are: the processor would guess most of those wrong.
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

  /// How many places List needs room for.
  static constexpr std::size_t kRoom = 512;

  bool IsAtEnd() const noexcept { return next_ == end_; }

  /// Writes down the places behind those units in the next stretch of the text, and returns where
  /// the list ends. What follows it in the room may have been written to.
  const char16_t** List(const char16_t** places) noexcept {
    const std::ptrdiff_t left = end_ - next_;
    const std::ptrdiff_t whole = left / kScanBlock * kScanBlock;
    const std::ptrdiff_t ahead = left > kStretch + kAhead ? kAhead : 0;
    const char16_t* block = next_;
    next_ += whole < kStretch ? whole : kStretch;
    for (; block != next_; block += kScanBlock) {
      __builtin_prefetch(block + ahead);
      places = ListBlock(block, places);
    }
    if (end_ - next_ < kScanBlock) places = ListRest(places);
    return places;
  }

 private:
  /// Of units that are fetched into the processor's cache before they are looked at: what the
  /// processor fetches by itself ends with each page.
  static constexpr std::ptrdiff_t kAhead = 1024;
  /// As many blocks as there is room for if every unit is listed, and what is left of the text when
  /// that is less than a block.
  static constexpr std::ptrdiff_t kStretch = std::ptrdiff_t{kRoom} - kScanBlock;

  /// What is left of a mask, in a word of the processor's.
  using Bits = std::size_t;
  static constexpr int kBits = std::numeric_limits<Bits>::digits;

  const char16_t** ListBlock(const char16_t* block, const char16_t** places) const noexcept {
    constexpr std::uint32_t kUsual = 6;
    const char16_t* const behindFirst = block + 1;
    const auto [mask, count] = matcher_.Match(block);
    // Those behind the block, if a word has so many, are set, so that there is always one to find.
    Bits bits = mask | static_cast<Bits>(~std::uint64_t{0} << kScanBlock);
    // Written for nothing when there are fewer.
    for (std::uint32_t number = 0; number < kUsual; ++number) {
      places[number] = behindFirst + FirstOf(bits);
      bits &= bits - 1;
    }
    for (std::uint32_t number = kUsual; number < count; ++number) {
      places[number] = behindFirst + FirstOf(bits);
      bits &= bits - 1;
    }
    return places + count;
  }

  /// The first bit that is set; any when there is none.
  static int FirstOf(Bits bits) noexcept {
    if constexpr (kBits == kScanBlock) bits |= Bits{1} << (kBits - 1);
    return std::countr_zero(bits);
  }

  const char16_t** ListRest(const char16_t** places) noexcept {
    for (; next_ != end_; ++next_) {
      if (*next_ == one_ || *next_ == other_) *places++ = next_ + 1;
    }
    return places;
  }

  Matcher matcher_;
  const char16_t* next_;
  const char16_t* end_;
  char16_t one_;
  char16_t other_;
};

}  // namespace brindlex
