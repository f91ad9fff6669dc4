#include "cli/io/replacement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace brindlex::cli::system {

std::string TemporaryName(const std::string& targetName) {
  // File systems take 255 bytes or 255 units.
  constexpr std::size_t kMostBytes = 200;
  std::uint64_t random = 0;
  if (!FillRandom(&random, sizeof(random))) return {};
  std::size_t size = std::min(targetName.size(), kMostBytes);
  const auto isWithinCharacter = [&] {
    return size > 0 && size < targetName.size() &&
           (static_cast<unsigned char>(targetName[size]) & 0xC0U) == 0x80U;
  };
  while (isWithinCharacter()) --size;
  return fmt::format("{}.{:016x}.partial", targetName.substr(0, size), random);
}

}  // namespace brindlex::cli::system
