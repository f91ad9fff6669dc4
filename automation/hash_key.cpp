#include "automation/hash_key.h"

#include "automation/half_sip_hash.h"

namespace brindlex {
namespace {

SipKey hashKey;

}  // namespace

void SetHashKey(const SipKey& key) noexcept { hashKey = key; }

const SipKey& HashKey() noexcept { return hashKey; }

std::uint64_t KeyedHash(std::string_view bytes) noexcept { return SipHash(hashKey, bytes); }

std::uint64_t KeyedHashIgnoringCase(TextView text) noexcept {
  SipHasher hasher(hashKey);
  for (const char16_t unit : text) hasher.Add(FoldCase(unit));
  return hasher.Finish();
}

std::uint32_t IndexHashIgnoringCase(TextView text) noexcept {
  return HalfSipHash<1, 3>(hashKey.low, text, [](char16_t unit) { return FoldCase(unit); });
}

}  // namespace brindlex
