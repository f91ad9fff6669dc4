// The key of the hash tables, which each process draws anew.

#include "platform/win32/hash_seed.h"

#include <set>

#include "tests/com/objects/late_call.h"
#include "tests/com/support/fixture.h"
#include "tests/com/support/patched_import.h"
#include "tests/core/automation/hash_key_fixture.h"

namespace brindlex::testing {
namespace {

using HashSeedTest = HashKeyTest;

BOOLEAN __stdcall Fails(void*, ULONG) { return FALSE; }

BOOLEAN __stdcall Sevens(void* bytes, ULONG size) {
  FillMemory(bytes, size, 7);
  return TRUE;
}

TEST_F(HashSeedTest, TheKeyIsWhatTheSourceSupplies) {
  SeedHashTables(Sevens);
  EXPECT_EQ(0x0707070707070707U, HashKey().low);
  EXPECT_EQ(0x0707070707070707U, HashKey().high);
}

TEST_F(HashSeedTest, ASourceThatFailsLeavesAKeyThatDiffersEachTime) {
  std::set<std::uint64_t> halves;
  for (int time = 0; time < 20; ++time) {
    SeedHashTables(Fails);
    halves.insert(HashKey().low);
    halves.insert(HashKey().high);
    Sleep(1);
  }
  EXPECT_EQ(40U, halves.size());
}

TEST_F(HashSeedTest, TheSystemsKeyDiffersEachTime) {
  std::set<std::uint64_t> halves;
  for (int time = 0; time < 20; ++time) {
    SeedHashTables();
    halves.insert(HashKey().low);
    halves.insert(HashKey().high);
  }
  EXPECT_EQ(40U, halves.size());
}

// ---- In the DLL --------------------------------------------------------------------------------

int draws = 0;
bool isRefused = false;

BOOLEAN __stdcall CountDraw(void* bytes, ULONG size) {
  ++draws;
  return isRefused ? Fails(bytes, size) : Sevens(bytes, size);
}

/// Uses a copy of the DLL that was never used before, whose draws are counted.
void UseFreshCopy(const wchar_t* ending) {
  const std::wstring path = Component::Path() + ending;
  ASSERT_NE(FALSE, CopyFileW(Component::Path().c_str(), path.c_str(), FALSE));
  draws = 0;
  const Component component(path);
  const PatchedImport counted(component.Module(), "SystemFunction036",
                              reinterpret_cast<void*>(&CountDraw));
  for (int time = 0; time < 3; ++time) {
    const auto collection = component.New<_clsCollection, clsCollection>();
    for (const TextView key : {u"b", u"a", u"c"}) {
      EXPECT_EQ(S_OK,
                collection->Add(Variant(key).Get(), Variant(key).Get(), Missing(), Missing()));
    }
    EXPECT_EQ(u"[text b, text a, text c]", Shown(Variant::OfObject(collection.Get()).Get()));
    Variant entry;
    EXPECT_EQ(S_OK, collection->get_Item(Variant(u"A").Get(), entry.Receive()));
    EXPECT_EQ(u"text a", Shown(entry.Get()));
  }
  EXPECT_EQ(1, draws);
}

TEST(HashSeedInDllTest, IsDrawnOnceBeforeTheFirstObject) {
  isRefused = false;
  UseFreshCopy(L".seed.dll");
}

TEST(HashSeedInDllTest, ARefusalIsNoFailureOfTheComponent) {
  isRefused = true;
  UseFreshCopy(L".refused.dll");
}

}  // namespace
}  // namespace brindlex::testing
