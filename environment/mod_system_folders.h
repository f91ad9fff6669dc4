#pragma once

#include <cstdint>

#include "automation/text.h"
#include "platform/platform.h"

namespace brindlex {

/// The module modSystemFolders: where the shell's special folders are.

/// The shell's number of the application-data folder that all users share.
inline constexpr std::int32_t kCommonAppData = 35;

/// The path of the shell's special folder `csidl`, without NULs, and without blanks at its ends.
/// Empty, without a report, when the shell has no such folder or no path for it; empty after the
/// report located in FindSystemFolder on any failure. No call releases the shell's item-id
/// list, a few dozen bytes.
Text FindSystemFolder(Platform& platform, std::int32_t csidl);

}  // namespace brindlex
