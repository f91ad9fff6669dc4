#include <emmintrin.h>

#include "cli/format/skim_blocks.h"

namespace brindlex::tool {
namespace {

class NarrowVectors {
 public:
  static constexpr bool kExtracts = false;

  NarrowVectors(const SoundRecord& sound, const bool* /*mayHold*/)
      : fieldEnd_(_mm_set1_epi8(sound.fieldEnd)), recordEnd_(_mm_set1_epi8(sound.recordEnd)) {}

  Masks Of(const char* block) const {
    Masks masks{};
    for (unsigned at = 0; at < kBlock; at += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + at));
      const auto bits = [&](__m128i matches) {
        return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(matches))) << at;
      };
      masks.fieldEnds |= bits(_mm_cmpeq_epi8(bytes, fieldEnd_));
      masks.recordEnds |= bits(_mm_cmpeq_epi8(bytes, recordEnd_));
      // All from 128 on: these vectors have no table to look the others up in.
      masks.doubtful |= bits(bytes);
    }
    return masks;
  }

 private:
  __m128i fieldEnd_;
  __m128i recordEnd_;
};

Skimmed SkimNarrow(std::string_view text, const SoundRecord& sound) {
  return SkimBlocks<NarrowVectors>(text.data(), text.size(), sound, sound.mayHold);
}

}  // namespace

SkimFunction NarrowSkim() { return SkimNarrow; }

}  // namespace brindlex::tool
