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
      records->Add(blocks_.NewBlock({DecimalText(number), name}), {});
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
    records->Add(blocks_.NewBlock({Text(u"remark ").append(digits), digits}), {});
  }
  const MemoryMeter meter;
  const Text text = store_.AsDelimitedFromCollection(records);
  ASSERT_GT(text.size(), kRecords * 20U);
  EXPECT_LE(meter.Peak(), BytesOf(text) * 14 / 10);
}

TEST_F(MemoryUseTest, RecordsOfVeryDifferentLengthsTakeNoMore) {
  const CollectionRef records = ManyRecords();
  for (const std::size_t length : {1'000'000U, 2'000'000U, 3'000'000U}) {
    records->Add(blocks_.NewBlock({Text(length, u'x'), u"long"}), {});
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

}  // namespace
}  // namespace brindlex
