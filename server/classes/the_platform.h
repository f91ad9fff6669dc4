#pragma once

#include "platform/win32/win32_platform.h"

namespace brindlex {

/// The platform that every object of the DLL works on. It keeps nothing between calls and may be
/// used on any thread.
Win32Platform& ThePlatform();

}  // namespace brindlex
