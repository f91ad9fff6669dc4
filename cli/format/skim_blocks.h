#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cli/format/skim.h"

// Included by the sources that hold one kind of vectors each, and by nothing else. All of it
// belongs to the source that includes it, and it calls no inline function of the library: one that
// was compiled for wider vectors must not be taken by the linker for the rest of the program.
namespace brindlex::tool {
namespace {

inline constexpr std::size_t kBlock = 64;

/// Where in a block the markers stand, and the bytes that a record may perhaps not hold; the first
/// byte in the lowest bit.
struct Masks {
  std::uint64_t fieldEnds;
  std::uint64_t recordEnds;
  std::uint64_t doubtful;
};

/// The bits below the lowest one of `mask`; all when it has none.
inline std::uint64_t Below(std::uint64_t mask) { return (mask - 1) & ~mask; }

/// Whether a record may hold all the bytes that `mask` marks; where not, `inside` becomes what
/// stands before the first that it may not.
inline bool MayHoldAll(const char* block, std::uint64_t mask, const bool* mayHold,
                       std::uint64_t& inside) {
  for (; mask != 0; mask &= mask - 1) {
    if (mayHold[static_cast<unsigned char>(block[__builtin_ctzll(mask)])]) continue;
    inside = Below(mask);
    return false;
  }
  return true;
}

/// The order in which markers follow each other in sound records, as bits: zeros for field ends, a
/// one for the record end, over and over. One mask for each place in a record that a block may
/// begin at.
class Pattern {
 public:
  explicit Pattern(std::uint64_t fields) : period_(fields + 1) {
    if (!IsShort()) return;
    for (std::uint64_t phase = 0; phase < period_; ++phase) {
      masks_[phase] = 0;
      for (std::uint64_t at = period_ - 1 - phase; at < kBlock; at += period_) {
        masks_[phase] |= std::uint64_t{1} << at;
      }
    }
  }

  /// Longer records have no pattern here.
  bool IsShort() const { return period_ <= kBlock; }

  /// Whether `count` markers, of which `ends` marks the record ends, follow as they should where a
  /// record has had `fields` field ends before.
  bool Matches(std::uint64_t ends, std::uint64_t count, std::uint64_t fields) const {
    const std::uint64_t inside =
        count < kBlock ? (std::uint64_t{1} << count) - 1 : ~std::uint64_t{0};
    return ends == (masks_[fields] & inside);
  }

 private:
  std::uint64_t period_;
  std::uint64_t masks_[kBlock] = {};
};

/// `Vectors(sound, mayHold).Of(block)` makes the masks of a block; `Vectors::Extract(bits, mask)`
/// the bits at the places of `mask`, side by side, where `Vectors::kExtracts`.
template <class Vectors>
Skimmed SkimBlocks(const char* text, std::size_t size, const SoundRecord& sound,
                   const bool* mayHold) {
  const Vectors vectors(sound, mayHold);
  Skimmed skimmed;
  std::uint64_t fields = 0;
  // Whether the byte before the block is a field end.
  std::uint64_t carried = 0;
  char last[kBlock] = {};
  const Pattern pattern(Vectors::kExtracts ? sound.fields : kBlock);
  for (std::size_t at = 0; at < size; at += kBlock) {
    const char* block = text + at;
    std::uint64_t inside = ~std::uint64_t{0};
    if (const std::size_t left = size - at; left < kBlock) {
      std::memcpy(last, block, left);
      block = last;
      inside >>= kBlock - left;
    }
    Masks masks = vectors.Of(block);
    bool isBroken = false;
    const std::uint64_t others = masks.doubtful & ~(masks.fieldEnds | masks.recordEnds) & inside;
    if (others != 0) isBroken = !MayHoldAll(block, others, mayHold, inside);
    masks.fieldEnds &= inside;
    masks.recordEnds &= inside;
    const std::uint64_t loose = masks.recordEnds & ~(masks.fieldEnds << 1U | carried);
    if (loose != 0) {
      isBroken = true;
      masks.recordEnds &= Below(loose);
    }
    carried = masks.fieldEnds >> (kBlock - 1);
    if constexpr (Vectors::kExtracts) {
      // All records of the block at once. How many there are cannot be foretold, and a processor
      // that foretells a loop's end wrongly loses more time than the rest takes.
      const std::uint64_t markers = masks.fieldEnds | masks.recordEnds;
      const auto count = static_cast<std::uint64_t>(__builtin_popcountll(markers));
      if (!isBroken && masks.recordEnds != 0 && pattern.IsShort() &&
          pattern.Matches(Vectors::Extract(masks.recordEnds, markers), count, fields)) {
        const auto end = kBlock - 1 - static_cast<std::size_t>(__builtin_clzll(masks.recordEnds));
        skimmed.bytes = at + end + 1;
        skimmed.records += static_cast<std::uint64_t>(__builtin_popcountll(masks.recordEnds));
        fields = static_cast<std::uint64_t>(
            __builtin_popcountll(masks.fieldEnds & ~(~std::uint64_t{0} >> (kBlock - 1 - end))));
        continue;
      }
    }
    for (std::uint64_t ends = masks.recordEnds; ends != 0; ends &= ends - 1) {
      const std::uint64_t own = masks.fieldEnds & Below(ends);
      fields += static_cast<std::uint64_t>(__builtin_popcountll(own));
      if (fields != sound.fields) return skimmed;
      skimmed.bytes = at + static_cast<std::size_t>(__builtin_ctzll(ends)) + 1;
      ++skimmed.records;
      masks.fieldEnds ^= own;
      fields = 0;
    }
    if (isBroken) return skimmed;
    fields += static_cast<std::uint64_t>(__builtin_popcountll(masks.fieldEnds));
    // Nothing that follows makes such a record sound.
    if (fields > sound.fields) return skimmed;
  }
  return skimmed;
}

}  // namespace
}  // namespace brindlex::tool
