#pragma once

#include <windows.h>

#include "platform/report.h"

namespace brindlex {

/// Shows a report of any length in a modal window: its caption, the exclamation icon, the whole
/// text to scroll through, and one OK button. The text takes no copy and no time but for its row
/// breaks. Ctrl+C copies it; Enter and Escape close the window. `owner` may be null.
///
/// Returns once the window is closed; false when it could not be made.
bool ShowInWindow(HWND owner, const Report& report) noexcept;

}  // namespace brindlex
