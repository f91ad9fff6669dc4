#pragma once

#include <gtest/gtest.h>
#include <windows.h>

namespace brindlex::testing {

/// The control that shows the text of the long report that this thread has open, or nullptr. Not by
/// the active window: a thread has none while another process has the keyboard.
inline HWND ReportPane() {
  struct Search {
    static BOOL CALLBACK Control(HWND control, LPARAM data) {
      const bool scrolls = (GetWindowLongW(control, GWL_STYLE) & WS_VSCROLL) != 0;
      if (scrolls) *reinterpret_cast<HWND*>(data) = control;
      return TRUE;
    }
    static BOOL CALLBACK Window(HWND window, LPARAM data) {
      EnumChildWindows(window, Control, data);
      return TRUE;
    }
  };
  HWND pane = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), Search::Window, reinterpret_cast<LPARAM>(&pane));
  return pane;
}

/// While it lives, no other run of these tests uses the clipboard, which all programs share.
class ClipboardTurn {
 public:
  ClipboardTurn() : mutex_(CreateMutexW(nullptr, FALSE, L"Brindlex tests of the clipboard")) {
    constexpr DWORD kLongest = 60000;
    const DWORD result = WaitForSingleObject(mutex_, kLongest);
    // Abandoned is a turn of a run that was killed.
    EXPECT_TRUE(result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) << result;
  }
  ClipboardTurn(const ClipboardTurn&) = delete;
  ClipboardTurn& operator=(const ClipboardTurn&) = delete;
  ~ClipboardTurn() {
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
  }

 private:
  HANDLE mutex_;
};

}  // namespace brindlex::testing
