#include "platform/win32/hash_seed.h"

#include <ntsecapi.h>

#include <cstdint>

#include "automation/hash_key.h"

namespace brindlex {
namespace {

std::uint64_t NumberOf(const LARGE_INTEGER& number) {
  return static_cast<std::uint64_t>(number.QuadPart);
}

std::uint64_t NumberOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime;
}

std::uint64_t AddressOf(const void* object) { return reinterpret_cast<std::uintptr_t>(object); }

/// What differs from process to process.
SipKey MixedKey() noexcept {
  LARGE_INTEGER counter{};
  FILETIME time{};
  QueryPerformanceCounter(&counter);
  GetSystemTimeAsFileTime(&time);
  SipHasher hasher(SipKey{});
  for (const std::uint64_t word :
       {NumberOf(counter), NumberOf(time), std::uint64_t{GetCurrentProcessId()},
        std::uint64_t{GetCurrentThreadId()}, AddressOf(&counter), AddressOf(GetProcessHeap()),
        AddressOf(reinterpret_cast<const void*>(&MixedKey))}) {
    hasher.Add(word, sizeof word);
  }
  SipKey key;
  key.low = hasher.Finish();
  hasher.Add(key.low, sizeof key.low);
  key.high = hasher.Finish();
  return key;
}

}  // namespace

void SeedHashTables(RandomBytes source) noexcept {
  SipKey drawn;
  SetHashKey(source(&drawn, sizeof drawn) != FALSE ? drawn : MixedKey());
}

void SeedHashTables() noexcept { SeedHashTables(RtlGenRandom); }

}  // namespace brindlex
