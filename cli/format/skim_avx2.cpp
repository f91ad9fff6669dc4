#include <immintrin.h>

#include "cli/format/skim_blocks.h"

namespace brindlex::tool {
namespace {

class WideVectors {
 public:
  static constexpr bool kExtracts = true;

  WideVectors(const SoundRecord& sound, const bool* mayHold)
      : fieldEnd_(_mm256_set1_epi8(sound.fieldEnd)), recordEnd_(_mm256_set1_epi8(sound.recordEnd)) {
    // A byte from 128 on has one of eight upper halves: each has a bit, and each lower half a byte
    // with the bits of those beside which a record may not hold it.
    alignas(32) unsigned char byLower[32] = {};
    alignas(32) unsigned char byUpper[32] = {};
    for (unsigned byte = 128; byte < 256; ++byte) {
      const auto bit = static_cast<unsigned char>(1U << (byte / 16 - 8));
      for (unsigned lane = 0; lane < 32; lane += 16) {
        byUpper[lane + byte / 16] = bit;
        if (!mayHold[byte]) byLower[lane + byte % 16] |= bit;
      }
    }
    byLower_ = _mm256_load_si256(reinterpret_cast<const __m256i*>(byLower));
    byUpper_ = _mm256_load_si256(reinterpret_cast<const __m256i*>(byUpper));
  }

  static std::uint64_t Extract(std::uint64_t bits, std::uint64_t mask) {
    return _pext_u64(bits, mask);
  }

  Masks Of(const char* block) const {
    const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block));
    const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(block + kBlock / 2));
    return {Bits(_mm256_cmpeq_epi8(low, fieldEnd_), _mm256_cmpeq_epi8(high, fieldEnd_)),
            Bits(_mm256_cmpeq_epi8(low, recordEnd_), _mm256_cmpeq_epi8(high, recordEnd_)),
            ~Bits(Allowed(low), Allowed(high))};
  }

 private:
  __m256i Allowed(__m256i bytes) const {
    const __m256i half = _mm256_set1_epi8(0x0F);
    const __m256i lower = _mm256_shuffle_epi8(byLower_, _mm256_and_si256(bytes, half));
    const __m256i upper =
        _mm256_shuffle_epi8(byUpper_, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half));
    return _mm256_cmpeq_epi8(_mm256_and_si256(lower, upper), _mm256_setzero_si256());
  }

  static std::uint64_t Bits(__m256i low, __m256i high) {
    const auto half = [](__m256i matches) {
      return static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(matches)));
    };
    return half(low) | half(high) << 32U;
  }

  __m256i fieldEnd_;
  __m256i recordEnd_;
  __m256i byLower_;
  __m256i byUpper_;
};

Skimmed SkimWide(std::string_view text, const SoundRecord& sound) {
  return SkimBlocks<WideVectors>(text.data(), text.size(), sound, sound.mayHold);
}

}  // namespace

SkimFunction WideSkim() {
  const bool isThere = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                       __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
  return isThere ? SkimWide : nullptr;
}

}  // namespace brindlex::tool
