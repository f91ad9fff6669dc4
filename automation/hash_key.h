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

/// HalfSipHash-1-3 of the units' case foldings under the lower half of HashKey, for hash tables in
/// memory whose look-ups are counted in nanoseconds: texts that are EqualIgnoringCase agree. On
/// 32-bit processors it takes a quarter of the time of KeyedHashIgnoringCase, and less than a hash
/// without a key that multiplies 64-bit numbers. Its key of 64 bits protects tables in memory,
/// which show nobody a hash; it is no message authentication code.
std::uint32_t IndexHashIgnoringCase(TextView text) noexcept;

}  // namespace brindlex
