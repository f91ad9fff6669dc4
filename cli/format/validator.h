#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brindlex::tool {

/// What makes a record sound as far as its bytes alone say.
struct SoundRecord {
  char fieldEnd = 0;
  char recordEnd = 0;
  /// How many field ends it holds, the last of them directly before its record end; at least 1.
  std::uint64_t fields = 0;
  /// The bytes from 128 on, the markers left aside, that it may hold. Those below may stand
  /// anywhere.
  bool mayHold[256] = {};
};

/// The sound records at the front of a text.
struct Skimmed {
  /// Up to behind the record end of the last of them.
  std::size_t bytes = 0;
  std::uint64_t records = 0;

  bool operator==(const Skimmed&) const = default;
};

/// The longest run of sound records that `text` begins with, as fast as memory allows: where all is
/// well, nothing has to be looked at field by field. Vectors of the width that the processor has do
/// it.
Skimmed Skim(std::string_view text, const SoundRecord& sound);

/// The same, one byte after the other: what Skim is held to.
Skimmed SkimByteByByte(std::string_view text, const SoundRecord& sound);

/// The same by the vectors that every processor has, and by wider ones; nothing where the processor
/// has none. For the tests, which hold each to the others.
using SkimFunction = Skimmed (*)(std::string_view text, const SoundRecord& sound);
SkimFunction NarrowSkim();
SkimFunction WideSkim();

}  // namespace brindlex::tool
