// Writing and removing keys below any root: all or nothing, and nothing of others.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "server/classes/classes.h"
#include "server/com/registration.h"
#include "tests/com/support/registry.h"

namespace brindlex::testing {
namespace {

constexpr wchar_t kRoot[] = L"Brindlex Test";
constexpr wchar_t kModule[] = L"C:\\Program Files\\Brindlex\\Brindlex.dll";

class RegistryKeysTest : public ::testing::Test {
 protected:
  ~RegistryKeysTest() override { OpenKey(HKEY_CURRENT_USER, L"Software").Delete(kRoot); }

  HKEY Root() const { return root_.Get(); }
  ClassesRoot Roots() const { return {Root(), Root()}; }
  RegistryLines Lines() const { return LinesBelow(Root()); }
  void Put(const std::wstring& path, const std::wstring& name) const {
    OpenKey(Root(), path).SetText(name, L"theirs");
  }

 private:
  OpenKey root_{HKEY_CURRENT_USER, std::wstring(L"Software\\") + kRoot};
};

const std::vector<RegistryKey> kKeys = {
    {L"First", {{L"", L"1"}}},
    {L"Second", {{L"", L"2"}}},
    {L"Second\\Below", {{L"", L"3"}, {L"Named", L"4"}}},
    {L"Third", {}},
};

TEST_F(RegistryKeysTest, WritesKeysWithTheirValues) {
  ASSERT_EQ(S_OK, WriteKeys(Roots(), kKeys));
  EXPECT_EQ((RegistryLines{L"First", L"First [] = 1", L"Second", L"Second [] = 2", L"Second\\Below",
                           L"Second\\Below [] = 3", L"Second\\Below [Named] = 4", L"Third"}),
            Lines());
}

TEST_F(RegistryKeysTest, RemovesWhatItHasWritten) {
  ASSERT_EQ(S_OK, WriteKeys(Roots(), kKeys));
  EXPECT_EQ(S_OK, RemoveKeys(Roots(), kKeys));
  EXPECT_EQ(RegistryLines{}, Lines());
}

TEST_F(RegistryKeysTest, RemovesTheRestWhenAKeyIsGone) {
  ASSERT_EQ(S_OK, WriteKeys(Roots(), kKeys));
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), L"First"));
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), L"Second\\Below"));
  EXPECT_EQ(S_OK, RemoveKeys(Roots(), kKeys));
  EXPECT_EQ(RegistryLines{}, Lines());
}

TEST_F(RegistryKeysTest, RemovesNoValueOfOthers) {
  Put(L"Second\\Below", L"Other");
  Put(L"Third\\Below", L"");
  const RegistryLines theirs = Lines();
  ASSERT_EQ(S_OK, WriteKeys(Roots(), kKeys));
  EXPECT_EQ(S_OK, RemoveKeys(Roots(), kKeys));
  EXPECT_EQ(theirs, Lines());
}

TEST_F(RegistryKeysTest, WritesNothingWhenAKeyCannotBeMade) {
  // No key that is kept may lie below one that is not.
  const OpenKey temporary(Root(), L"Second", KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  temporary.SetText(L"Other", L"theirs");
  const RegistryLines theirs = Lines();
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE), WriteKeys(Roots(), kKeys));
  EXPECT_EQ(theirs, Lines());
}

TEST_F(RegistryKeysTest, WritesNothingWhenAKeyHasNoPossibleName) {
  auto keys = kKeys;
  keys.push_back({std::wstring(300, L'x'), {}});
  EXPECT_TRUE(FAILED(WriteKeys(Roots(), keys)));
  EXPECT_EQ(RegistryLines{}, Lines());
}

TEST_F(RegistryKeysTest, WritesNothingWhenAValueCannotBeSet) {
  auto keys = kKeys;
  keys[2].values.push_back({std::wstring(20000, L'x'), L""});
  EXPECT_TRUE(FAILED(WriteKeys(Roots(), keys)));
  EXPECT_EQ(RegistryLines{}, Lines());
}

TEST_F(RegistryKeysTest, AFailureLeavesTheFollowingKeysAsTheyAre) {
  auto keys = kKeys;
  keys[1].path = std::wstring(300, L'x');
  Put(L"Second\\Below", L"Named");
  const RegistryLines theirs = Lines();
  EXPECT_TRUE(FAILED(WriteKeys(Roots(), keys)));
  EXPECT_EQ(theirs, Lines());
}

TEST_F(RegistryKeysTest, EveryKeyFollowsItsParent) {
  std::vector<std::wstring> before;
  for (const RegistryKey& key : KeysOf(Classes(), kModule)) {
    const auto slash = key.path.find_last_of(L'\\');
    if (slash != std::wstring::npos) {
      EXPECT_NE(before.end(), std::find(before.begin(), before.end(), key.path.substr(0, slash)))
          << ::testing::PrintToString(key.path);
    }
    EXPECT_EQ(before.end(), std::find(before.begin(), before.end(), key.path))
        << ::testing::PrintToString(key.path);
    before.push_back(key.path);
  }
}

TEST_F(RegistryKeysTest, RemovesAllKeysOfTheComponent) {
  const auto keys = KeysOf(Classes(), kModule);
  ASSERT_EQ(S_OK, WriteKeys(Roots(), keys));
  const RegistryLines written = Lines();
  EXPECT_TRUE(
      written.contains(L"TypeLib\\{90E89859-3FAC-4C4B-8115-E34F4C404E17}\\1.0\\HELPDIR [] = "
                       L"C:\\Program Files\\Brindlex"));
  ASSERT_EQ(S_OK, RemoveKeys(Roots(), keys));
  EXPECT_EQ(RegistryLines{}, Lines());
}

/// Below `Roots()` the DLL of the other bitness is registered: what both share, and one of its
/// classes.
class OtherBitnessTest : public RegistryKeysTest {
 protected:
  OtherBitnessTest() {
    OpenKey(other_.Get(), L"CLSID\\{03068CE9-1E2B-4905-831C-745F9AC7CA1E}\\InprocServer32")
        .SetText(L"", L"theirs");
    std::vector<RegistryKey> shared;
    std::copy_if(keys_.begin(), keys_.end(), std::back_inserter(shared),
                 [](const RegistryKey& key) { return key.isShared; });
    EXPECT_EQ(S_OK, WriteKeys(Roots(), shared));
  }
  ~OtherBitnessTest() override { OpenKey(HKEY_CURRENT_USER, L"Software").Delete(kOtherRoot); }

  ClassesRoot Roots() const { return {Root(), other_.Get()}; }

  const std::vector<RegistryKey> keys_ = KeysOf(Classes(), kModule);

 private:
  static constexpr wchar_t kOtherRoot[] = L"Brindlex Test, other bitness";

  OpenKey other_{HKEY_CURRENT_USER, std::wstring(L"Software\\") + kOtherRoot};
};

TEST_F(OtherBitnessTest, RemovingKeepsWhatBothShare) {
  const RegistryLines before = Lines();
  EXPECT_TRUE(before.contains(L"Brindlex.clsAppFiles\\CLSID"));
  ASSERT_EQ(S_OK, WriteKeys(Roots(), keys_));
  ASSERT_EQ(S_OK, RemoveKeys(Roots(), keys_));
  EXPECT_EQ(before, Lines());
}

TEST_F(OtherBitnessTest, WritingThatFailsEarlyKeepsWhatBothShare) {
  const RegistryLines before = Lines();
  auto keys = keys_;
  const auto server = std::find_if(keys.begin(), keys.end(),
                                   [](const RegistryKey& key) { return key.namesServer; });
  keys.insert(server, {std::wstring(300, L'x'), {}});
  EXPECT_TRUE(FAILED(WriteKeys(Roots(), keys)));
  EXPECT_EQ(before, Lines());
}

}  // namespace
}  // namespace brindlex::testing
