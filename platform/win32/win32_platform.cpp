#include "platform/win32/win32_platform.h"

#include <windows.h>

namespace brindlex {

void Win32Platform::ShowReport(const Report& report) {
  static_assert(Report::kStyle == (MB_OK | MB_ICONEXCLAMATION));
  // The owner is the host's window, so that the box is modal to it; without one, to nothing.
  MessageBoxW(GetActiveWindow(), reinterpret_cast<const wchar_t*>(report.text.c_str()),
              reinterpret_cast<const wchar_t*>(report.caption.c_str()), Report::kStyle);
}

}  // namespace brindlex
