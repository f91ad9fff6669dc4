#pragma once

#include <objbase.h>

#include <thread>

namespace brindlex::testing {

/// Runs `body()` on a thread of its own, in an apartment of its own that ends with it.
template <class Body>
void InApartment(Body&& body) {
  std::thread([&] {
    CoInitialize(nullptr);
    body();
    CoUninitialize();
  }).join();
}

/// Answers the calls that other apartments make into this one until `ended`, a thread or an event,
/// is signaled.
inline void ServeUntil(HANDLE ended) {
  constexpr DWORD kLongest = 20000;
  while (MsgWaitForMultipleObjects(1, &ended, FALSE, kLongest, QS_ALLINPUT) == WAIT_OBJECT_0 + 1) {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
      DispatchMessageW(&message);
    }
  }
}

}  // namespace brindlex::testing
