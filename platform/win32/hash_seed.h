#pragma once

#include <windows.h>

namespace brindlex {

/// A function such as RtlGenRandom: fills `size` bytes with numbers that nobody can predict, and
/// returns FALSE if it cannot.
using RandomBytes = BOOLEAN(__stdcall*)(void* bytes, ULONG size);

/// Draws the key of this process's hash tables (automation/hash_key.h) from `source`. If that
/// fails, the key is mixed from the performance counter, the time, the ids of process and thread
/// and addresses, which is enough against texts that were made in advance. To be called once,
/// before the first table is filled.
void SeedHashTables(RandomBytes source) noexcept;

/// As above, from the system's random number generator.
void SeedHashTables() noexcept;

}  // namespace brindlex
