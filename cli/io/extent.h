#pragma once

#include <cstdint>

namespace brindlex::cli {

/// A range of bytes of a file.
struct Extent {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;

  std::uint64_t End() const { return offset + length; }
  bool operator==(const Extent&) const = default;
};

/// From `begin` to `end`.
inline Extent ExtentOf(std::uint64_t begin, std::uint64_t end) { return {begin, end - begin}; }

}  // namespace brindlex::cli
