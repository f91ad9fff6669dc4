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
    const auto enumerator = collection.Enumerate();
    for (Text text; enumerator->NextText(text);) texts.push_back(text);
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
  const auto enumerator = collection.Enumerate();
  Text text;
  Object object;
  EXPECT_TRUE(enumerator->NextText(text));
  EXPECT_EQ(13, ErrorOf([&] { enumerator->NextText(text); }));
  EXPECT_EQ(u"t", text);
  EXPECT_FALSE(enumerator->NextText(text));
  EXPECT_EQ(424, ErrorOf([&] { collection.Enumerate()->NextObject(object); }));
  EXPECT_TRUE(object.IsNothing());
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
  const auto first = collection.Enumerate();
  Text text;
  EXPECT_TRUE(first->NextText(text));
  const auto second = collection.Enumerate();
  EXPECT_TRUE(second->NextText(text));
  EXPECT_EQ(u"a", text);
  EXPECT_TRUE(first->NextText(text));
  EXPECT_EQ(u"b", text);
}

TEST_F(InnerCollectionTest, AWalkGoesOnOverWhatIsAddedMeanwhile) {
  InnerCollection collection;
  const auto enumerator = collection.Enumerate();
  Text text;
  for (int n = 0; n < 100; ++n) {
    collection.Add(DecimalText(n), std::nullopt);
    EXPECT_TRUE(enumerator->NextText(text));
    EXPECT_EQ(DecimalText(n), text);
  }
  EXPECT_FALSE(enumerator->NextText(text));
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
