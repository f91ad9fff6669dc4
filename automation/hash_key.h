#pragma once

#include <cstdint>
#include <string_view>

#include "automation/sip_hash.h"
#include "automation/text.h"

namespace brindlex {

/// Sets the process's hash key, which should be 128 bits from the operating system that nobody can
/// predict; the component or the program around the core supplies them. To be called once, before
/// the first use of HashKey and on one thread: a table that was filled under another key no longer
/// finds its entries.
void SetHashKey(const SipKey& key) noexcept;

/// The key of all hash tables whose keys come from outside: files, hosts. Fixed until SetHashKey
/// is called, which suits tests.
const SipKey& HashKey() noexcept;

/// SipHash-1-3 of `bytes` under HashKey.
std::uint64_t KeyedHash(std::string_view bytes) noexcept;

/// SipHash-1-3 of the units' case foldings under HashKey: texts that are EqualIgnoringCase agree.
std::uint64_t KeyedHashIgnoringCase(TextView text) noexcept;

/// A hash of the units' case foldings under HashKey, for hash tables in memory whose look-ups are
/// counted in nanoseconds: texts that are EqualIgnoringCase agree. On 64-bit processors it is the
/// lower half of KeyedHashIgnoringCase. On 32-bit ones it is HalfSipHash-1-3 under the lower half
/// of the key, which takes a quarter of that time there; its key of 64 bits protects tables in
/// memory, which show nobody a hash, but it is no message authentication code. bench/keys_bench.cpp
/// has both beside a hash without a key.
std::uint32_t IndexHashIgnoringCase(TextView text) noexcept;

}  // namespace brindlex
