// Writing and removing keys below any root: all or nothing, and nothing of others.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

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
  const OpenKey passing(Root(), L"Second", KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  passing.SetText(L"Other", L"theirs");
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

TEST_F(RegistryKeysTest, AFailureLeavesTheKeysBehindItAsTheyAre) {
  auto keys = kKeys;
  keys[1].path = std::wstring(300, L'x');
  Put(L"Second\\Below", L"Named");
  const RegistryLines theirs = Lines();
  EXPECT_TRUE(FAILED(WriteKeys(Roots(), keys)));
  EXPECT_EQ(theirs, Lines());
}

TEST_F(RegistryKeysTest, EveryKeyOfOursStandsBehindTheOneThatItLiesBelow) {
  std::vector<std::wstring> before;
  for (const RegistryKey& key : KeysOf(kModule)) {
    const auto cut = key.path.find_last_of(L'\\');
    if (cut != key.path.npos) {
      EXPECT_NE(before.end(), std::find(before.begin(), before.end(), key.path.substr(0, cut)))
          << ::testing::PrintToString(key.path);
    }
    EXPECT_EQ(before.end(), std::find(before.begin(), before.end(), key.path))
        << ::testing::PrintToString(key.path);
    before.push_back(key.path);
  }
}

TEST_F(RegistryKeysTest, OurKeysGoAndComeWhole) {
  const auto keys = KeysOf(kModule);
  ASSERT_EQ(S_OK, WriteKeys(Roots(), keys));
  const RegistryLines written = Lines();
  EXPECT_TRUE(
      written.contains(L"TypeLib\\{90E89859-3FAC-4C4B-8115-E34F4C404E17}\\1.0\\HELPDIR [] = "
                       L"C:\\Program Files\\Brindlex"));
  ASSERT_EQ(S_OK, RemoveKeys(Roots(), keys));
  EXPECT_EQ(RegistryLines{}, Lines());
}

TEST_F(RegistryKeysTest, WhatBothWidthsShareStaysAsLongAsOneClassHasAServer) {
  const auto keys = KeysOf(kModule);
  std::vector<RegistryKey> shared;
  std::copy_if(keys.begin(), keys.end(), std::back_inserter(shared),
               [](const RegistryKey& key) { return key.isShared; });
  ASSERT_EQ(S_OK, WriteKeys(Roots(), shared));
  // Below this root both widths see the same keys, so that this is the other's class too.
  Put(L"CLSID\\{03068CE9-1E2B-4905-831C-745F9AC7CA1E}\\InprocServer32", L"");
  const RegistryLines before = Lines();
  EXPECT_TRUE(before.contains(L"Brindlex.clsAppFiles\\CLSID"));

  auto own = keys;
  std::erase_if(own, [](const RegistryKey& key) { return key.path.ends_with(L"InprocServer32"); });
  ASSERT_EQ(S_OK, WriteKeys(Roots(), own));
  ASSERT_EQ(S_OK, RemoveKeys(Roots(), own));
  EXPECT_EQ(before, Lines());
}

}  // namespace
}  // namespace brindlex::testing
