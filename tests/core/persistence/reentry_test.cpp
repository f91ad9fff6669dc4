#include <gtest/gtest.h>

#include <vector>

#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

constexpr TextView kSaved = u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u00A52\u00A5\u0152";
const std::vector<std::vector<Text>> kRows = {{u"A", u"1"}, {u"B", u"2"}};

/// Hosts that call the component, or pull the rug away, from within one of its calls.
class ReentryTest : public PersistenceTest {
 protected:
  /// Runs `hook` before the use with number `nth`, counted from 1, of records of `recordClass`.
  static void BeforeUse(RecordClass& recordClass, int nth, std::function<void()> hook) {
    recordClass.onUse = [left = std::make_shared<int>(nth), hook = std::move(hook)](
                            RecordClass::Use, TextView) {
      if (--*left == 0) hook();
    };
  }
};

TEST_F(ReentryTest, ASaveWithinAReportOfASave) {
  const auto failing = ListingClass(Adapter(), {{.name = u"X", .readable = false}});
  const auto records = RecordsOf(TitleAndCount(), kRows);
  Text inner;
  platform_.whileShown = [&] { inner = store_.AsDelimitedFromCollection(records); };
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(RecordsOf(failing, {{u""}})));
  EXPECT_EQ(kSaved, inner);
  ExpectReports({SaveReport(StandardDescription(438), 438, 5, u"X")});
}

TEST_F(ReentryTest, AFailureWithinAReportOfAFailure) {
  const auto failing = ListingClass(Adapter(), {{.name = u"X", .readable = false}});
  CollectionRef inner;
  platform_.whileShown = [&] {
    platform_.whileShown = {};
    inner = store_.AsDelimitedToCollection(u"damaged", Creator(TitleAndCount()));
  };
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(RecordsOf(failing, {{u""}})));
  EXPECT_EQ(nullptr, inner);
  ExpectReports({SaveReport(StandardDescription(438), 438, 5, u"X"), SplitReport(),
                 RestoreReport(u"Subscript out of range", 9, 4)});
}

TEST_F(ReentryTest, ARestoreWithinTheReportOfItsSplitting) {
  const Object creator = Creator(TitleAndCount());
  CollectionRef inner;
  platform_.whileShown = [&] {
    platform_.whileShown = {};
    inner = store_.AsDelimitedToCollection(kSaved, creator);
  };
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(u"damaged", creator));
  ASSERT_NE(nullptr, inner);
  EXPECT_EQ(kRows, RowsOf(inner));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
}

TEST_F(ReentryTest, AGetterThatSavesTheSameCollection) {
  const auto recordClass = TitleAndCount();
  const auto records = RecordsOf(recordClass, kRows);
  for (int nth = 1; nth <= 5; ++nth) {
    Text inner;
    BeforeUse(*recordClass, nth, [&] { inner = store_.AsDelimitedFromCollection(records); });
    EXPECT_EQ(kSaved, store_.AsDelimitedFromCollection(records));
    EXPECT_EQ(kSaved, inner) << nth;
  }
  ExpectReports({});
}

TEST_F(ReentryTest, ASetterThatRestoresTheSameText) {
  const auto recordClass = TitleAndCount();
  const Object creator = Creator(recordClass);
  for (int nth = 1; nth <= 5; ++nth) {
    CollectionRef inner;
    BeforeUse(*recordClass, nth,
              [&] { inner = store_.AsDelimitedToCollection(kSaved, creator, {}, {}, u"Title"); });
    const auto outer = store_.AsDelimitedToCollection(kSaved, creator, {}, {}, u"Title");
    ASSERT_NE(nullptr, outer);
    ASSERT_NE(nullptr, inner) << nth;
    EXPECT_EQ(kRows, RowsOf(outer));
    EXPECT_EQ(kRows, RowsOf(inner));
  }
  ExpectReports({});
}

TEST_F(ReentryTest, AGetterThatChangesTheCollectionBeingSaved) {
  const auto recordClass = TitleAndCount();
  const auto changes = [&](MemoryCollection& inside, int change) {
    if (change == 0) inside.entries.clear();
    if (change == 1) inside.entries.push_back(inside.entries.front());
    if (change == 2) inside.entries.erase(inside.entries.begin());
    if (change == 3) std::swap(inside.entries[0], inside.entries[1]);
  };
  const std::vector<Text> expected = {
      u"A\u00A51\u00A5\u0152",
      u"A\u00A51\u00A5\u0152B\u00A52\u00A5\u0152A\u00A51\u00A5\u0152",
      u"A\u00A51\u00A5\u0152",
      u"A\u00A51\u00A5\u0152A\u00A51\u00A5\u0152",
  };
  for (int change = 0; change < 4; ++change) {
    const auto records = RecordsOf(recordClass, kRows);
    // The first use asks for the member names, the third reads the first record's second member.
    BeforeUse(*recordClass, 3, [&] { changes(CollectionIn(Adapter(), records), change); });
    EXPECT_EQ(Text(u"Title\u00A5Count\u00A5\u0152") + expected[static_cast<std::size_t>(change)],
              store_.AsDelimitedFromCollection(records));
  }
  ExpectReports({});
}

TEST_F(ReentryTest, MemberNamesThatEmptyTheCollectionBeingSaved) {
  const auto recordClass = TitleAndCount();
  const auto records = RecordsOf(recordClass, kRows);
  BeforeUse(*recordClass, 1, [&] { CollectionIn(Adapter(), records).entries.clear(); });
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152", store_.AsDelimitedFromCollection(records));
  ExpectReports({});
}

TEST_F(ReentryTest, AGetterThatChangesTheMultiCollectionText) {
  const auto recordClass = TitleAndCount();
  const auto records = RecordsOf(recordClass, kRows);
  store_.SetMultiDataString(store_.MultiDataColString(records, u"First"));
  BeforeUse(*recordClass, 2, [&] { store_.SetMultiDataString(u"changed"); });
  const Text inner = u"Title\u00BBCount\u00BB\u0160A\u00BB1\u00BB\u0160B\u00BB2\u00BB\u0160";
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152" + inner + u"\u00A5First\u00A5\u0152" + inner +
                u"\u00A5Second\u00A5\u0152",
            store_.MultiDataColString(records, u"Second"));
  EXPECT_EQ(u"changed", store_.MultiDataString());
  ExpectReports({});
}

TEST_F(ReentryTest, AMultiCollectionTextThatChangesWhileItIsReported) {
  const auto records = RecordsOf(TitleAndCount(), kRows);
  const Text whole = store_.MultiDataColString(records, u"Items");
  // Long enough that the text being read is no part of the instance itself.
  store_.SetMultiDataString(Text(u"DataString\u00A5Name\u00A5\u0152") + Text(500, u'x') +
                            u"\u0152");
  CollectionRef inner;
  platform_.whileShown = [&] {
    platform_.whileShown = {};
    store_.SetMultiDataString(whole);
    inner = store_.WorkingCol(u"Items", Creator(TitleAndCount()));
  };
  EXPECT_EQ(nullptr, store_.WorkingCol(u"Items", Creator(TitleAndCount())));
  ASSERT_NE(nullptr, inner);
  EXPECT_EQ(kRows, RowsOf(inner));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 6)});
}

TEST_F(ReentryTest, AMultiCollectionTextThatChangesBeforeItIsRead) {
  const Text whole = store_.MultiDataColString(RecordsOf(TitleAndCount(), kRows), u"Items");
  // A text that the instance has not built itself is still to be parsed.
  store_.SetMultiDataString(u"");
  store_.SetMultiDataString(whole);
  platform_.fault = Fault(1, RuntimeError(429));
  platform_.whileShown = [&] { store_.SetMultiDataString(u"changed"); };
  const auto working = store_.WorkingCol(u"Items", Creator(TitleAndCount()));
  ASSERT_NE(nullptr, working);
  EXPECT_EQ(kRows, RowsOf(working));
  EXPECT_EQ(u"changed", store_.MultiDataString());
  ExpectReports({Tagged(u"Error GMN", u"Error GMN", StandardDescription(429), 429, 0)});
}

TEST_F(ReentryTest, ACreatorThatChangesTheMultiCollectionText) {
  const auto recordClass = TitleAndCount();
  store_.SetMultiDataString(store_.MultiDataColString(RecordsOf(recordClass, kRows), u"Items"));
  const Object creator = Adapter().New<MemoryCreator>([&] {
    store_.SetMultiDataString(u"");
    return NewRecord(Adapter(), recordClass);
  });
  const auto working = store_.WorkingCol(u"Items", creator);
  ASSERT_NE(nullptr, working);
  EXPECT_EQ(kRows, RowsOf(working));
  ExpectReports({});
}

TEST_F(ReentryTest, RecordsThatUseTheComponentWhenTheyGoAway) {
  const auto recordClass = TitleAndCount();
  const auto records = RecordsOf(TitleAndCount(), kRows);
  int terminated = 0;
  recordClass->onTerminate = [&] {
    ++terminated;
    EXPECT_EQ(kSaved, store_.AsDelimitedFromCollection(records));
  };
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(
                         u"Title\u00A5\u0152A\u00A5\u0152B\u00A5\u0152a\u00A5\u0152",
                         Creator(recordClass), {}, {}, u"Title"));
  EXPECT_EQ(4, terminated);
  ExpectReports({RestoreReport(kKeyInUse, 457, 8)});
}

TEST_F(ReentryTest, AHostThatFailsWhileAReportIsShown) {
  platform_.whileShown = [] { throw RuntimeError(-2147418113); };
  EXPECT_EQ(-2147418113, ErrorOf([this] { store_.AsDelimitedFromCollection(nullptr); }));
  ASSERT_EQ(1U, platform_.reports.size());
}

TEST_F(ReentryTest, ReportsWithinReportsToAnyDepth) {
  int depth = 0;
  platform_.whileShown = [&] {
    if (++depth < 50) store_.AsDelimitedFromCollection(nullptr);
  };
  store_.AsDelimitedFromCollection(nullptr);
  EXPECT_EQ(50, depth);
  EXPECT_EQ(50U, platform_.reports.size());
}

}  // namespace
}  // namespace brindlex
