#pragma once

#include <windows.h>

#include <cstdint>

#include "automation/runtime_error.h"

namespace brindlex {

/// The number that hosts know for the system's error `code`, or 0.
std::int32_t NumberOfSystemError(DWORD code);

/// The run-time error for `code`: with the number that hosts know, else with the code as a status.
RuntimeError SystemErrorOf(DWORD code);

/// Throws SystemErrorOf the thread's last error, unless `succeeded`.
void CheckSystemCall(bool succeeded);

}  // namespace brindlex
