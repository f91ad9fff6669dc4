#pragma once

#include "automation/text.h"
#include "platform/system_version.h"

namespace brindlex {

/// The module modGetOs: which release of Windows runs.

/// The name of the Windows release, as coarse as hosts rely on: "Windows 95", "Windows 98",
/// "Windows Millennium Edition (ME)", "Windows NT 3.51", "Windows NT 4.0", "Windows 2000",
/// "Windows XP" (every 5.x but 5.0) or "Windows Vista" (6.0 and all later ones). Empty for a
/// version that is none of these, "Failed" for an unknown platform. Traps nothing.
Text GetOsName(SystemVersion& system);

/// True for Windows Vista and every later release. Traps nothing.
bool IsWindowsVista(SystemVersion& system);

}  // namespace brindlex
