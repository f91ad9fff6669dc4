// How much memory saving and restoring need beside the objects and the text.

#include <gtest/gtest.h>

#include "tests/core/failing_new.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

constexpr std::int32_t kRecords = 20000;

/// Over the component's own records, since those of a host in memory hold more than they need to.
class MemoryUseTest : public PersistenceTest {
 protected:
  CollectionRef ManyRecords() {
    CollectionRef records = blocks_.NewCollection();
    for (std::int32_t number = 0; number < kRecords; ++number) {
      const Text name = Text(u"A name, and its number ").append(DecimalText(number));
      records->Add(blocks_.NewRecord({DecimalText(number), name}), {});
    }
    return records;
  }

  static std::size_t BytesOf(const Text& text) { return text.size() * sizeof(char16_t); }

  const TextDataAdapter blocks_{platform_};
};

TEST_F(MemoryUseTest, ASaveHoldsItsTextTwiceAtTheVeryMost) {
  const CollectionRef records = ManyRecords();
  const MemoryMeter meter;
  const Text text = store_.AsDelimitedFromCollection(records);
  ASSERT_GT(text.size(), kRecords * 10U);
  EXPECT_GE(meter.Peak(), BytesOf(text));
  EXPECT_LE(meter.Peak(), BytesOf(text) * 22 / 10);
}

TEST_F(MemoryUseTest, RecordsThatGetLongerAsNumbersDoAreNotMovedNearTheEnd) {
  constexpr std::int32_t kStep = 7919;
  CollectionRef records = blocks_.NewCollection();
  for (std::int32_t number = 0; number < kRecords; ++number) {
    const Text digits = DecimalText(number * kStep);
    records->Add(blocks_.NewRecord({Text(u"remark ").append(digits), digits}), {});
  }
  const MemoryMeter meter;
  const Text text = store_.AsDelimitedFromCollection(records);
  ASSERT_GT(text.size(), kRecords * 20U);
  EXPECT_LE(meter.Peak(), BytesOf(text) * 14 / 10);
}

TEST_F(MemoryUseTest, RecordsOfVeryDifferentLengthsTakeNoMore) {
  const CollectionRef records = ManyRecords();
  for (const std::size_t length : {1'000'000U, 2'000'000U, 3'000'000U}) {
    records->Add(blocks_.NewRecord({Text(length, u'x'), u"long"}), {});
  }
  const MemoryMeter meter;
  const Text text = store_.AsDelimitedFromCollection(records);
  ASSERT_GT(text.size(), 6'000'000U);
  EXPECT_LE(meter.Peak(), BytesOf(text) * 22 / 10);
}

TEST_F(MemoryUseTest, ARestoreNeedsLittleBesideTextAndRecords) {
  const Text text = store_.AsDelimitedFromCollection(ManyRecords());
  const Object creator = blocks_.NewCreator();
  for (const TextView key : {TextView(), TextView(u"Name")}) {
    const MemoryMeter meter;
    const CollectionRef restored = store_.AsDelimitedToCollection(text, creator, {}, {}, key);
    ASSERT_NE(nullptr, restored);
    ASSERT_EQ(kRecords, restored->Count());
    EXPECT_LE(meter.Peak() - meter.Held(), BytesOf(text) / 5);
  }
}

class CollectionsMemoryTest : public MemoryUseTest {
 protected:
  static constexpr std::int32_t kCollections = 400;

  CollectionRef Records(std::int32_t count) {
    CollectionRef records = blocks_.NewCollection();
    for (std::int32_t number = 0; number < count; ++number) {
      records->Add(blocks_.NewRecord({DecimalText(number * 7919), u"A remark of some length"}), {});
    }
    return records;
  }

  static Text NameOf(std::int32_t number) {
    return Text(u"Collection ").append(DecimalText(number));
  }

  void ExpectAtMostTheText(const MemoryMeter& meter) {
    const std::size_t held = meter.Held();
    const Text text = store_.MultiDataString();
    EXPECT_LE(held, BytesOf(text) * 13 / 10) << BytesOf(text);
  }
};

TEST_F(CollectionsMemoryTest, TextAndIndexHoldAtMostAThirdMoreThanTheText) {
  for (const std::int32_t size : {10, 100, 1000}) {
    const CollectionRef records = Records(size);
    const MemoryMeter meter;
    for (std::int32_t number = 0; number < kCollections; ++number) {
      ASSERT_TRUE(store_.StoreCollection(records, NameOf(number)));
    }
    ExpectAtMostTheText(meter);
    store_.SetMultiDataString(Text(store_.MultiDataString()).append(u"\r\n"));
    EXPECT_EQ(nullptr, store_.WorkingCol(u"none", blocks_.NewCreator()));
    ExpectAtMostTheText(meter);
    // One after the other leaves the text that was assigned.
    for (std::int32_t number = 0; number < kCollections; ++number) {
      ASSERT_TRUE(store_.StoreCollection(records, NameOf(number)));
      if (number % 40 == 0) ExpectAtMostTheText(meter);
    }
    for (std::int32_t number = 0; number < kCollections - 4; ++number) {
      ASSERT_TRUE(store_.RemoveCollection(NameOf(number)));
      if (number % 40 == 0 && size >= 100) ExpectAtMostTheText(meter);
    }
    store_.SetMultiDataString({});
  }
}

TEST_F(CollectionsMemoryTest, NothingOfALargeCollectionThatIsReplacedStays) {
  const MemoryMeter meter;
  store_.SetMultiDataString(store_.MultiDataColString(Records(20000), u"Large"));
  ASSERT_TRUE(store_.StoreCollection(Records(1), u"Small"));
  ExpectAtMostTheText(meter);
  ASSERT_TRUE(store_.StoreCollection(Records(10000), u"Large"));
  ExpectAtMostTheText(meter);
  ASSERT_TRUE(store_.RemoveCollection(u"Large"));
  EXPECT_LT(meter.Held(), 4000U);
}

}  // namespace
}  // namespace brindlex
