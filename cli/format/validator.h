#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brindlex::cli {

/// What makes a record valid, by its bytes alone.
struct RecordShape {
  char fieldEnd = 0;
  char recordEnd = 0;
  /// How many field ends it has, the last of them directly before its record end; at least 1.
  std::uint64_t fields = 0;
  /// Whether bytes from 128 on are characters by themselves, as in a code page.
  bool allowsHighBytes = true;
  /// Two bytes that it must not hold; those of a marker if there are none.
  char stops[2] = {0, 0};
};

/// The valid records at the front of a text.
struct ValidPrefix {
  /// Up to the end of the last of them.
  std::size_t bytes = 0;
  std::uint64_t records = 0;

  bool operator==(const ValidPrefix&) const = default;
};

/// The longest run of valid records that `text` starts with, as fast as memory allows: where all is
/// well, no field has to be looked at.
ValidPrefix FindValidPrefix(std::string_view text, const RecordShape& shape);

/// The same, byte by byte: the model of FindValidPrefix, for tests and other processors.
ValidPrefix FindValidPrefixByteByByte(std::string_view text, const RecordShape& shape);

}  // namespace brindlex::cli
