#pragma once

#include <bit>

namespace brindlex {

/// What SipHash and HalfSipHash share: four words, and the rounds that mix them. `Word` has 64 bits
/// in one and 32 in the other, the rotations differ too.
template <class Word, int kFirst, int kSecond, int kThird, int kFourth>
struct SipState {
  Word v0;
  Word v1;
  Word v2;
  Word v3;

  void Rounds(int count) noexcept {
    constexpr int kHalf = static_cast<int>(4 * sizeof(Word));
    for (int round = 0; round < count; ++round) {
      v0 += v1;
      v2 += v3;
      v1 = std::rotl(v1, kFirst) ^ v0;
      v3 = std::rotl(v3, kSecond) ^ v2;
      v0 = std::rotl(v0, kHalf);
      v2 += v1;
      v0 += v3;
      v1 = std::rotl(v1, kThird) ^ v2;
      v3 = std::rotl(v3, kFourth) ^ v0;
      v2 = std::rotl(v2, kHalf);
    }
  }

  void AddWord(Word word, int rounds) noexcept {
    v3 ^= word;
    Rounds(rounds);
    v0 ^= word;
  }
};

}  // namespace brindlex
