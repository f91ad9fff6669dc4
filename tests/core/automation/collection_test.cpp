#include "automation/collection.h"

#include <gmock/gmock.h>

#include <vector>

#include "environment/trap.h"
#include "tests/core/core_test.h"
#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

class InnerCollectionTest : public HostTest {
 protected:
  Object Record() { return NewRecord(Adapter(), ListingClass(Adapter(), {{u"A"}})); }

  static std::unique_ptr<InnerCollection> CollectionOfMany(const Object& record, int count) {
    auto collection = std::make_unique<InnerCollection>();
    for (int n = 0; n < count; ++n) collection->Add(record, DecimalText(n));
    return collection;
  }

  static std::vector<Text> Texts(const Collection& collection) {
    std::vector<Text> texts;
    collection.ForEachText([&texts](TextView text) {
      texts.emplace_back(text);
      return true;
    });
    return texts;
  }
};

TEST_F(InnerCollectionTest, StartsEmpty) {
  const InnerCollection collection;
  EXPECT_EQ(0, collection.Count());
  EXPECT_THAT(Texts(collection), ElementsAre());
  EXPECT_EQ(5, ErrorOf([&] { collection.TextUnder(u""); }));
  EXPECT_EQ(5, ErrorOf([&] { collection.ObjectUnder(u"a"); }));
  EXPECT_EQ(9, ErrorOf([&] { collection.First(); }));
}

TEST_F(InnerCollectionTest, KeepsTheOrderAndFindsByKeyInAnyLetterCase) {
  InnerCollection collection;
  collection.Add(TextView(u"b"), TextView(u"Second"));
  collection.Add(TextView(u"a"), TextView(u"First"));
  collection.Add(TextView(u"a"), std::nullopt);
  EXPECT_EQ(3, collection.Count());
  EXPECT_THAT(Texts(collection), ElementsAre(u"b", u"a", u"a"));
  EXPECT_EQ(u"b", collection.TextUnder(u"SECOND"));
  EXPECT_EQ(u"a", collection.TextUnder(u"first"));
}

TEST_F(InnerCollectionTest, AKeyInUseIsRefused) {
  InnerCollection collection;
  collection.Add(TextView(u"a"), TextView(u"Key"));
  EXPECT_EQ(457, ErrorOf([&] { collection.Add(TextView(u"b"), TextView(u"kEY")); }));
  EXPECT_EQ(457, ErrorOf([&] { collection.Add(Record(), TextView(u"key")); }));
  EXPECT_THAT(Texts(collection), ElementsAre(u"a"));
  EXPECT_EQ(0U, Adapter().LiveObjects());
}

TEST_F(InnerCollectionTest, HoldsAReferenceToItsObjects) {
  const Object record = Record();
  {
    InnerCollection collection;
    collection.Add(record, TextView(u"a"));
    collection.Add(record, std::nullopt);
    EXPECT_EQ(3U, Adapter().References(record));
    EXPECT_EQ(record.Self(Adapter()), collection.ObjectUnder(u"A").Self(Adapter()));
    EXPECT_EQ(record.Self(Adapter()), collection.First().Self(Adapter()));
  }
  EXPECT_EQ(1U, Adapter().References(record));
}

TEST_F(InnerCollectionTest, TextIsNoObjectAndAnObjectNoText) {
  InnerCollection collection;
  collection.Add(TextView(u"t"), TextView(u"text"));
  collection.Add(Record(), TextView(u"object"));
  EXPECT_EQ(424, ErrorOf([&] { collection.ObjectUnder(u"text"); }));
  EXPECT_EQ(13, ErrorOf([&] { collection.TextUnder(u"object"); }));
  EXPECT_EQ(424, ErrorOf([&] { collection.First(); }));
  std::vector<Text> texts;
  EXPECT_EQ(13, ErrorOf([&] {
              collection.ForEachText([&texts](TextView text) {
                texts.emplace_back(text);
                return true;
              });
            }));
  EXPECT_THAT(texts, ElementsAre(u"t"));
  std::size_t objects = 0;
  EXPECT_EQ(424, ErrorOf([&] {
              collection.ForEachObject([&objects](const Object&) {
                ++objects;
                return true;
              });
            }));
  EXPECT_EQ(0U, objects);
}

TEST_F(InnerCollectionTest, NothingIsAnEntryLikeAnyOther) {
  InnerCollection collection;
  collection.Add(Object(), TextView(u"n"));
  EXPECT_EQ(1, collection.Count());
  EXPECT_TRUE(collection.First().IsNothing());
  EXPECT_TRUE(collection.ObjectUnder(u"N").IsNothing());
}

TEST_F(InnerCollectionTest, WalksAreIndependent) {
  InnerCollection collection;
  collection.Add(TextView(u"a"), std::nullopt);
  collection.Add(TextView(u"b"), std::nullopt);
  std::vector<Text> pairs;
  collection.ForEachText([&](TextView outer) {
    collection.ForEachText([&](TextView inner) {
      pairs.push_back(Text(outer).append(inner));
      return true;
    });
    return true;
  });
  EXPECT_THAT(pairs, ElementsAre(u"aa", u"ab", u"ba", u"bb"));
}

TEST_F(InnerCollectionTest, AWalkEndsWhenToldTo) {
  const Object record = Record();
  const auto collection = CollectionOfMany(record, 3);
  int visited = 0;
  collection->ForEachObject([&visited](const Object&) { return ++visited < 2; });
  EXPECT_EQ(2, visited);
  EXPECT_EQ(4U, Adapter().References(record));
}

TEST_F(InnerCollectionTest, AWalkGoesOnOverWhatIsAddedMeanwhile) {
  InnerCollection collection;
  collection.Add(DecimalText(0), std::nullopt);
  int visited = 0;
  collection.ForEachText([&](TextView text) {
    EXPECT_EQ(DecimalText(visited), text);
    if (++visited < 100) collection.Add(DecimalText(visited), std::nullopt);
    return true;
  });
  EXPECT_EQ(100, visited);
}

TEST_F(InnerCollectionTest, IsNeverHandedOut) {
  EXPECT_EQ(424, ErrorOf([] { InnerCollection().AsObject(); }));
}

TEST_F(InnerCollectionTest, AFailedAllocationLeavesTheCollectionAsItWas) {
  const Object record = Record();
  std::size_t failures = 0;
  for (int count = 0; count < 40; ++count) {
    auto collection = CollectionOfMany(record, count);
    bool added = false;
    failures += FailEveryAllocation(
        [&] { added = TrapSilently([&] { collection->Add(record, u"a key of some length"); }); },
        [&](bool failed) {
          EXPECT_EQ(added, !failed);
          EXPECT_EQ(count + (added ? 1 : 0), collection->Count());
          EXPECT_EQ(added, TrapSilently([&] { collection->ObjectUnder(u"A KEY of some length"); }));
          EXPECT_EQ(1U + static_cast<std::size_t>(collection->Count()),
                    Adapter().References(record));
          if (added) collection = CollectionOfMany(record, count);
        });
  }
  EXPECT_GT(failures, 80U);
}

}  // namespace
}  // namespace brindlex
