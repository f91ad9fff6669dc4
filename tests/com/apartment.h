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

}  // namespace brindlex::testing
