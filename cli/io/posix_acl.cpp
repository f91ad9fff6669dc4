#include "cli/io/posix_acl.h"

namespace brindlex::cli::system {
namespace {

// The kernel's form, everything little-endian: a version of 4 bytes, then entries of tag (2 bytes),
// permissions (2 bytes) and id (4 bytes).
constexpr std::size_t kHeader = 4;
constexpr std::size_t kEntry = 8;
constexpr unsigned kVersion = 2;
constexpr unsigned kOwner = 0x01;
constexpr unsigned kGroup = 0x04;
constexpr unsigned kMask = 0x10;
constexpr unsigned kOthers = 0x20;

unsigned Load16(std::string_view entries, std::size_t start) {
  return static_cast<unsigned char>(entries[start]) |
         static_cast<unsigned>(static_cast<unsigned char>(entries[start + 1])) << 8U;
}

}  // namespace

std::optional<mode_t> ModeOfAcl(std::string_view entries) {
  if (entries.size() < kHeader || (entries.size() - kHeader) % kEntry != 0 ||
      Load16(entries, 0) != kVersion || Load16(entries, 2) != 0) {
    return std::nullopt;
  }
  std::optional<unsigned> owner;
  std::optional<unsigned> group;
  std::optional<unsigned> mask;
  std::optional<unsigned> others;
  for (std::size_t start = kHeader; start < entries.size(); start += kEntry) {
    const unsigned tag = Load16(entries, start);
    const unsigned permissions = Load16(entries, start + 2) & 7U;
    if (tag == kOwner) owner = permissions;
    if (tag == kGroup) group = permissions;
    if (tag == kMask) mask = permissions;
    if (tag == kOthers) others = permissions;
  }
  if (!owner || !group || !others) return std::nullopt;
  return *owner << 6U | mask.value_or(*group) << 3U | *others;
}

}  // namespace brindlex::cli::system
