// Keys that are made to collide in the keyed collections.

#include <memory>

#include "automation/collection.h"
#include "automation/keyed_list.h"
#include "persistence/collection_save_restore.h"
#include "platform/memory/memory_platform.h"
#include "tests/core/automation/hash_flood.h"

namespace brindlex {
namespace {

constexpr std::size_t kCount = 10000;
/// What a KeyIndex has for that many keys.
constexpr std::uint32_t kSlots = 16384;
/// The names' home slots are among so many at the start.
constexpr std::uint32_t kHomes = 64;

Text WideOf(const std::string& name) { return {name.begin(), name.end()}; }

/// A hash without a key, which the keyed collections had once.
std::uint32_t UnkeyedHash(TextView text) {
  std::uint64_t hash = text.size();
  for (const char16_t unit : text) {
    hash = (hash ^ FoldCase(unit)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 32U;
  }
  return static_cast<std::uint32_t>(hash);
}

void FillList(const std::vector<std::string>& names) {
  KeyedList<int> list;
  for (const std::string& name : names) list.Add(0, WideOf(name));
  for (const std::string& name : names) EXPECT_NE(nullptr, list.Find(WideOf(name)));
  while (list.Count() > 0) list.Remove(list.Count());
}

/// With the collections that restoring fills; the platform's own are no keyed lists.
class ListPlatform : public MemoryPlatform {
 public:
  CollectionRef NewCollection() override { return std::make_shared<InnerCollection>(); }
};

class KeyFlood : public HashFlood {
 protected:
  static const Names& CraftedForTheUnkeyedHash() {
    static const Names names = MakeNames(kCount, [](const std::string& name) {
      return UnkeyedHash(WideOf(name)) % kSlots < kHomes;
    });
    return names;
  }
};

TEST_F(KeyFlood, KeysThatCollideWithoutASecretAreAsQuickAsOthers) {
  UseSecretKey();
  ExpectAsQuickAsOthers(CraftedForTheUnkeyedHash(), FillList);
}

TEST_F(KeyFlood, KeysThatCollideUnderAKnownSecretAreAsQuickAsOthersUnderAnother) {
  UseKnownKey();
  const Names crafted = MakeNames(kCount, [](const std::string& name) {
    return IndexHashIgnoringCase(WideOf(name)) % kSlots < kHomes;
  });
  Expect(crafted, FillList);
}

TEST_F(KeyFlood, TheSecretDecidesNeitherOrderNorResult) {
  const Names names = MakeNames(1000, [](const std::string&) { return true; });
  for (const auto use : {UseKnownKey, UseSecretKey}) {
    use();
    KeyedList<std::size_t> list;
    for (const std::string& name : names) list.Add(list.Count(), WideOf(name));
    for (std::size_t place = 0; place < names.size(); ++place) {
      EXPECT_EQ(place, list.At(place + 1));
      EXPECT_EQ(place, list.At(WideOf(names[place])));
      EXPECT_EQ(place + 1, list.PositionOf(WideOf(names[place])));
    }
  }
}

TEST_F(KeyFlood, AHeaderThatCollidesWithoutASecretIsAsQuickAsOthers) {
  UseSecretKey();
  ExpectAsQuickAsOthers(CraftedForTheUnkeyedHash(), [](const Names& names) {
    ListPlatform platform;
    clsCollectionSaveRestore saver(platform);
    Text header;
    for (const std::string& name : names) header.append(WideOf(name)).append(u"\u00A5");
    const CollectionRef fields = saver.FieldNamesCollection(header.append(u"\u0152"), {}, {});
    ASSERT_NE(nullptr, fields);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(fields->Count()));
  });
}

}  // namespace
}  // namespace brindlex
