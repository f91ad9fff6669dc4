#pragma once

#include <gtest/gtest.h>
#include <windows.h>

namespace brindlex::testing {

/// Moves the process to a window station that nobody sees, as a service's, while it lives.
class HiddenStation {
 public:
  HiddenStation()
      : before_(GetProcessWindowStation()),
        hidden_(CreateWindowStationW(L"Brindlex hidden", 0, GENERIC_ALL, nullptr)) {
    EXPECT_NE(nullptr, hidden_);
    EXPECT_TRUE(SetProcessWindowStation(hidden_));
  }
  HiddenStation(const HiddenStation&) = delete;
  HiddenStation& operator=(const HiddenStation&) = delete;
  ~HiddenStation() {
    SetProcessWindowStation(before_);
    CloseWindowStation(hidden_);
  }

 private:
  HWINSTA before_;
  HWINSTA hidden_;
};

}  // namespace brindlex::testing
