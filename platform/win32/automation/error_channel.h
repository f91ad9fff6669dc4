#pragma once

#include "automation/text.h"

namespace brindlex {

/// Whether the process has a window station that a user can see. A service and a task that runs
/// without a user have one that nobody sees, where a message box would wait without end.
bool IsWindowStationVisible() noexcept;

/// Writes `caption`, ": ", `text` and a line break to the debugger (OutputDebugString) and, when
/// the process has one, to its standard error: to a console as it is, to a file or pipe in the code
/// page of the console, or of the system where there is none. Needs no memory; what cannot be
/// written is lost. A NUL ends the text for the debugger.
void WriteError(TextView caption, TextView text) noexcept;

}  // namespace brindlex
