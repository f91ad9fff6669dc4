#pragma once

#include <cstddef>
#include <cstdint>

#include "automation/sip_state.h"
#include "automation/text.h"

namespace brindlex {

/// HalfSipHash, the sibling of SipHash for 32-bit processors: words and result of 32 bits, a key of
/// 64. After the reference implementation of Aumasson and Bernstein; the tests hold it to the
/// authors' test vectors, which are those of 2 and 4 rounds.
///
/// The hash of `fold(unit)` of each of `units`, each as two bytes, the lower one first. `key` is
/// read from 8 bytes, little-endian. Never fails, never allocates; the same on every platform.
template <int kRoundsPerWord, int kFinalRounds, class Fold>
std::uint32_t HalfSipHash(std::uint64_t key, TextView units, Fold fold) noexcept {
  const auto low = static_cast<std::uint32_t>(key);
  const auto high = static_cast<std::uint32_t>(key >> 32U);
  SipState<std::uint32_t, 5, 8, 13, 7> state{low, high, 0x6C796765U ^ low, 0x74656462U ^ high};
  const std::size_t pairs = units.size() / 2;
  for (std::size_t pair = 0; pair < pairs; ++pair) {
    const std::uint32_t first = fold(units[2 * pair]);
    const std::uint32_t second = fold(units[2 * pair + 1]);
    state.AddWord(first | second << 16U, kRoundsPerWord);
  }
  // The last word holds what fills no word, and the length in bytes, modulo 256.
  std::uint32_t last = static_cast<std::uint32_t>(2 * units.size()) << 24U;
  if (units.size() % 2 != 0) last |= fold(units.back());
  state.AddWord(last, kRoundsPerWord);
  state.v2 ^= 0xFFU;
  state.Rounds(kFinalRounds);
  return state.v1 ^ state.v3;
}

}  // namespace brindlex
