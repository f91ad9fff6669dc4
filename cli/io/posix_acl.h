#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace brindlex::cli::system {

/// The extended attributes that hold POSIX access-control lists: a file's own, and what a folder
/// gives to new files.
inline constexpr const char* kAccessAcl = "system.posix_acl_access";
inline constexpr const char* kDefaultAcl = "system.posix_acl_default";
/// No attribute of Linux is larger.
inline constexpr std::size_t kMostAclBytes = 65536;

/// A list as the kernel hands it over.
struct Acl {
  /// False if the list could not be read, so that there may be one.
  bool isKnown = false;
  /// Empty for none.
  std::string entries;
};

/// The mode that a file with these entries shows: owner, mask (the owning group where there is no
/// mask) and others. Nothing if they are no list.
std::optional<mode_t> ModeOfAcl(std::string_view entries);

}  // namespace brindlex::cli::system
