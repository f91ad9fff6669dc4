#include "cli/io/replacement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace brindlex::cli::system {

namespace {

constexpr std::string_view kEnding = ".partial";

/// What the names of a target's temporary files begin with.
std::string Beginning(const std::string& targetName) {
  // File systems take 255 bytes or 255 units.
  constexpr std::size_t kMostBytes = 200;
  std::size_t size = std::min(targetName.size(), kMostBytes);
  const auto isWithinCharacter = [&] {
    return size > 0 && size < targetName.size() &&
           (static_cast<unsigned char>(targetName[size]) & 0xC0U) == 0x80U;
  };
  while (isWithinCharacter()) --size;
  return targetName.substr(0, size) + ".";
}

/// Check digits, so that no name that a user gives is taken for a temporary one: FNV-1a.
std::string CheckDigits(std::string_view text) {
  std::uint32_t hash = 2166136261;
  for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619;
  return fmt::format("{:08x}", hash);
}

}  // namespace

std::string TemporaryName(const std::string& targetName) {
  std::uint64_t random = 0;
  if (!FillRandom(&random, sizeof(random))) return {};
  const std::string name = fmt::format("{}{:016x}", Beginning(targetName), random);
  return name + CheckDigits(name) + std::string(kEnding);
}

bool IsTemporaryName(std::string_view name, const std::string& targetName) {
  constexpr std::size_t kRandomDigits = 16;
  constexpr std::size_t kCheckDigits = 8;
  const std::string beginning = Beginning(targetName);
  const std::size_t checked = beginning.size() + kRandomDigits;
  return name.size() == checked + kCheckDigits + kEnding.size() && name.starts_with(beginning) &&
         name.ends_with(kEnding) &&
         name.substr(checked, kCheckDigits) == CheckDigits(name.substr(0, checked));
}

}  // namespace brindlex::cli::system
