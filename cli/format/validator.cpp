#include "cli/format/validator.h"

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#include <cstring>
#endif

namespace brindlex::cli {

ValidPrefix FindValidPrefixByteByByte(std::string_view text, const RecordShape& shape) {
  ValidPrefix prefix;
  std::uint64_t fields = 0;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char byte = text[index];
    if (byte == shape.fieldEnd) {
      ++fields;
    } else if (byte == shape.recordEnd) {
      if (fields != shape.fields || text[index - 1] != shape.fieldEnd) break;
      prefix = {index + 1, prefix.records + 1};
      fields = 0;
    } else if (byte == shape.stops[0] || byte == shape.stops[1] ||
               (!shape.allowsHighBytes && static_cast<unsigned char>(byte) >= 0x80)) {
      break;
    }
  }
  return prefix;
}

#ifndef __SSE2__

ValidPrefix FindValidPrefix(std::string_view text, const RecordShape& shape) {
  return FindValidPrefixByteByByte(text, shape);
}

#else

namespace {

constexpr std::size_t kBlock = 64;

/// The markers in a block, and the bytes that end a valid prefix; the first byte in the lowest bit.
struct Masks {
  std::uint64_t fieldEnds = 0;
  std::uint64_t recordEnds = 0;
  std::uint64_t stops = 0;
};

template <bool kHasStops>
class Matcher {
 public:
  explicit Matcher(const RecordShape& shape)
      : fieldEnd_(_mm_set1_epi8(shape.fieldEnd)),
        recordEnd_(_mm_set1_epi8(shape.recordEnd)),
        firstStop_(_mm_set1_epi8(shape.stops[0])),
        secondStop_(_mm_set1_epi8(shape.stops[1])),
        high_(shape.allowsHighBytes ? _mm_setzero_si128() : _mm_set1_epi8(-128)) {}

  [[gnu::always_inline]] Masks Match(const char* block) const {
    Masks masks;
    for (unsigned index = 0; index < kBlock; index += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + index));
      const auto bits = [index](__m128i matches) {
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(matches));
        return static_cast<std::uint64_t>(mask) << index;
      };
      masks.fieldEnds |= bits(_mm_cmpeq_epi8(bytes, fieldEnd_));
      masks.recordEnds |= bits(_mm_cmpeq_epi8(bytes, recordEnd_));
      if constexpr (kHasStops) {
        const __m128i stops =
            _mm_or_si128(_mm_cmpeq_epi8(bytes, firstStop_), _mm_cmpeq_epi8(bytes, secondStop_));
        masks.stops |= bits(_mm_or_si128(stops, _mm_and_si128(bytes, high_)));
      }
    }
    masks.stops &= ~(masks.fieldEnds | masks.recordEnds);
    return masks;
  }

 private:
  __m128i fieldEnd_;
  __m128i recordEnd_;
  __m128i firstStop_;
  __m128i secondStop_;
  __m128i high_;
};

/// The bits below the lowest one of `mask`; all if it has none.
std::uint64_t Below(std::uint64_t mask) { return (mask - 1) & ~mask; }

[[gnu::always_inline]] inline std::uint64_t CountBits(std::uint64_t mask) {
  return static_cast<unsigned>(std::popcount(mask));
}

/// Follows the records of a text block by block.
template <bool kHasStops>
class PrefixFinder {
 public:
  explicit PrefixFinder(const RecordShape& shape) : matcher_(shape), expected_(shape.fields) {}

  /// Takes the block at `start`, of which the bytes in `inside` belong to the text. False if the
  /// prefix ends in it.
  [[gnu::always_inline]] bool Take(const char* block, std::size_t start, std::uint64_t inside) {
    Masks masks = matcher_.Match(block);
    const std::uint64_t stops = masks.stops & inside;
    inside &= Below(stops);
    masks.fieldEnds &= inside;
    masks.recordEnds &= inside;
    // Record ends without a field end directly before them.
    const std::uint64_t loose = masks.recordEnds & ~(masks.fieldEnds << 1U | carried_);
    masks.recordEnds &= Below(loose);
    carried_ = masks.fieldEnds >> (kBlock - 1);
    for (std::uint64_t ends = masks.recordEnds; ends != 0; ends &= ends - 1) {
      const std::uint64_t own = masks.fieldEnds & Below(ends);
      if (fields_ + CountBits(own) != expected_) return false;
      prefix_.bytes = start + static_cast<std::size_t>(std::countr_zero(ends)) + 1;
      ++prefix_.records;
      masks.fieldEnds ^= own;
      fields_ = 0;
    }
    fields_ += CountBits(masks.fieldEnds);
    return (stops | loose) == 0 && fields_ <= expected_;
  }

  const ValidPrefix& Prefix() const { return prefix_; }

 private:
  Matcher<kHasStops> matcher_;
  std::uint64_t expected_;
  /// Of the record that goes on in the next block.
  std::uint64_t fields_ = 0;
  /// 1 if the last byte was a field end.
  std::uint64_t carried_ = 0;
  ValidPrefix prefix_;
};

template <bool kHasStops>
[[gnu::always_inline]] inline ValidPrefix FindByBlocks(std::string_view text,
                                                       const RecordShape& shape) {
  PrefixFinder<kHasStops> finder(shape);
  std::size_t start = 0;
  for (; start + kBlock <= text.size(); start += kBlock) {
    if (!finder.Take(text.data() + start, start, ~std::uint64_t{0})) return finder.Prefix();
  }
  if (const std::size_t left = text.size() - start; left > 0) {
    char last[kBlock] = {};
    std::memcpy(last, text.data() + start, left);
    finder.Take(last, start, ~std::uint64_t{0} >> (kBlock - left));
  }
  return finder.Prefix();
}

[[gnu::always_inline]] inline ValidPrefix FindInText(std::string_view text,
                                                     const RecordShape& shape) {
  const auto isMarker = [&](char stop) {
    return stop == shape.fieldEnd || stop == shape.recordEnd;
  };
  const bool hasStops =
      !shape.allowsHighBytes || !isMarker(shape.stops[0]) || !isMarker(shape.stops[1]);
  return hasStops ? FindByBlocks<true>(text, shape) : FindByBlocks<false>(text, shape);
}

// Nearly every processor counts bits with one instruction, but a compiler may not rely on it.
[[gnu::target("popcnt")]] ValidPrefix FindWithBitCount(std::string_view text,
                                                       const RecordShape& shape) {
  return FindInText(text, shape);
}

}  // namespace

ValidPrefix FindValidPrefix(std::string_view text, const RecordShape& shape) {
  static const bool countsBits = static_cast<bool>(__builtin_cpu_supports("popcnt"));
  return countsBits ? FindWithBitCount(text, shape) : FindInText(text, shape);
}

#endif

}  // namespace brindlex::cli
