#include "automation/hash_key.h"

namespace brindlex {
namespace {

SipKey hashKey;

}  // namespace

bool SeedHashKey(RandomKeySource source) noexcept { return source(hashKey); }

const SipKey& HashKey() noexcept { return hashKey; }

std::uint64_t KeyedHash(std::string_view bytes) noexcept { return SipHash(hashKey, bytes); }

std::uint64_t KeyedHashIgnoringCase(TextView text) noexcept {
  SipHasher hasher(hashKey);
  for (const char16_t unit : text) hasher.Add(FoldCase(unit));
  return hasher.Finish();
}

}  // namespace brindlex
