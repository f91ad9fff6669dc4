// The DLL in a host that loads, uses and frees it over and over.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

/// The next free slot of thread-local storage.
DWORD NextSlot() {
  const DWORD slot = TlsAlloc();
  TlsFree(slot);
  return slot;
}

/// The bytes that are in use on all heaps of the process.
std::size_t BytesInUse() {
  HANDLE heaps[64];
  const DWORD count = GetProcessHeaps(64, heaps);
  std::size_t bytes = 0;
  for (DWORD heap = 0; heap < std::min<DWORD>(count, 64); ++heap) {
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[heap], &entry) != FALSE) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    }
  }
  return bytes;
}

void LoadUseAndUnload() {
  const Component component;
  const auto collection = component.New<_clsCollection, clsCollection>();
  VARIANT missing;
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  const Variant item(u"an item");
  EXPECT_EQ(S_OK, collection->Add(item.Get(), missing, missing, missing));
  // An error, since raising one is what takes most of what the run-time library keeps.
  Variant none;
  EXPECT_NE(S_OK, collection->get_Item(missing, none.Receive()));
}

TEST(LoadingTest, LoadingAgainAndAgainUsesNothingUp) {
  constexpr std::size_t kCycles = 1500;
  LoadUseAndUnload();
  const DWORD slot = NextSlot();
  const std::size_t bytes = BytesInUse();
  for (std::size_t cycle = 0; cycle < kCycles; ++cycle) LoadUseAndUnload();
  EXPECT_EQ(slot, NextSlot());
  EXPECT_LT(BytesInUse(), bytes + (std::size_t{64} << 10U));
}

TEST(LoadingTest, StaysLoadedOnceItWasLoaded) {
  // A copy, since the tests before have used the DLL itself; the process keeps its file open.
  const std::wstring path = Component::Path() + L".copy.dll";
  ASSERT_NE(FALSE, CopyFileW(Component::Path().c_str(), path.c_str(), FALSE));
  const auto loadAndFree = [&] { EXPECT_EQ(S_OK, Component(path).CanUnloadNow()); };
  loadAndFree();
  const auto* const loaded = GetModuleHandleW(path.c_str());
  ASSERT_NE(nullptr, loaded);
  const DWORD slot = NextSlot();
  const std::size_t bytes = BytesInUse();
  for (int cycle = 0; cycle < 1500; ++cycle) loadAndFree();
  EXPECT_EQ(loaded, GetModuleHandleW(path.c_str()));
  EXPECT_EQ(slot, NextSlot());
  EXPECT_LT(BytesInUse(), bytes + (std::size_t{64} << 10U));
}

}  // namespace
}  // namespace brindlex::testing
