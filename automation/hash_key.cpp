#include "automation/hash_key.h"

#include "automation/half_sip_hash.h"

namespace brindlex {
namespace {

SipKey hashKey;

/// FoldCase of the first four of `units`, the first in the lowest bits. Four units of ASCII, which
/// most keys consist of, are folded together: bit 7 of a sum is set from 'A' in one and from after
/// 'Z' in the other.
std::uint64_t FoldFour(TextView units) noexcept {
  const auto packed = [](char16_t a, char16_t b, char16_t c, char16_t d) {
    return std::uint64_t{a} | std::uint64_t{b} << 16U | std::uint64_t{c} << 32U |
           std::uint64_t{d} << 48U;
  };
  const std::uint64_t word = packed(units[0], units[1], units[2], units[3]);
  if ((word & 0xFF80FF80FF80FF80U) != 0) {
    return packed(FoldCase(units[0]), FoldCase(units[1]), FoldCase(units[2]), FoldCase(units[3]));
  }
  const std::uint64_t fromA = word + 0x003F003F003F003FU;
  const std::uint64_t afterZ = word + 0x0025002500250025U;
  return word | (fromA & ~afterZ & 0x0080008000800080U) >> 2U;
}

}  // namespace

void SetHashKey(const SipKey& key) noexcept { hashKey = key; }

const SipKey& HashKey() noexcept { return hashKey; }

std::uint64_t KeyedHash(std::string_view bytes) noexcept { return SipHash(hashKey, bytes); }

std::uint64_t KeyedHashIgnoringCase(TextView text) noexcept {
  SipHasher hasher(hashKey);
  for (; text.size() >= 4; text.remove_prefix(4)) hasher.Add(FoldFour(text), 8);
  for (const char16_t unit : text) hasher.Add(FoldCase(unit));
  return hasher.Finish();
}

std::uint32_t IndexHashIgnoringCase(TextView text) noexcept {
  if constexpr (sizeof(void*) >= sizeof(std::uint64_t)) {
    return static_cast<std::uint32_t>(KeyedHashIgnoringCase(text));
  } else {
    return HalfSipHash<1, 3>(hashKey.low, text, [](char16_t unit) { return FoldCase(unit); });
  }
}

}  // namespace brindlex
