// Storing, removing and listing collections in the text of an instance, beside the long way:
// reading the text and assigning a new one.

#include <gmock/gmock.h>

#include <random>
#include <vector>

#include "tests/core/failing_new.h"
#include "tests/core/persistence/naive_collections.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

constexpr TextView kHeader = u"DataString\u00A5Name\u00A5\u0152";
constexpr TextView kOneItem =
    u"DataString\u00A5Name\u00A5\u0152Title\u00BBCount\u00BB\u0160A\u00BB1\u00BB\u0160\u00A5"
    u"Items\u00A5\u0152";
constexpr TextView kDamaged = u"damaged";
constexpr TextView kUnderTwoNames =
    u"DataString\u00A5Name\u00A5\u0152x\u00A5A\u00A5\u0152y\u00A5a\u00A5\u0152";

class StoreCollectionTest : public PersistenceTest {
 protected:
  CollectionRef One(TextView title) { return RecordsOf(class_, {{Text(title), u"1"}}); }

  static Text DataOf(TextView title) {
    return Text(u"Title\u00BBCount\u00BB\u0160").append(title).append(u"\u00BB1\u00BB\u0160");
  }

  static Text TextOf(std::initializer_list<std::pair<Text, Text>> collections) {
    Text text(kHeader);
    for (const auto& [data, name] : collections) {
      text.append(data).append(u"\u00A5").append(name).append(u"\u00A5\u0152");
    }
    return text;
  }

  Rows Working(TextView name) {
    const CollectionRef collection = store_.WorkingCol(name, Creator(class_));
    return collection == nullptr ? Rows() : RowsOf(collection);
  }

  std::vector<Text> Names() {
    const CollectionRef names = store_.CollectionNames();
    return names == nullptr ? std::vector<Text>{u"none"} : NamesIn(names);
  }

  /// The text that the long way leads to.
  Text LongWay(const CollectionRef& collection, TextView name) {
    clsCollectionSaveRestore other(platform_);
    other.SetRefuseMarkers(store_.RefuseMarkers());
    other.SetMultiDataString(store_.MultiDataString());
    return other.MultiDataColString(collection, name);
  }

  std::shared_ptr<RecordClass> class_ = TitleAndCount();
};

TEST_F(StoreCollectionTest, TheFirstCollectionMakesTheText) {
  EXPECT_TRUE(store_.StoreCollection(One(u"A"), u"Items"));
  EXPECT_EQ(kOneItem, store_.MultiDataString());
  EXPECT_EQ((Rows{{u"A", u"1"}}), Working(u"ITEMS"));
  ExpectReports({});
}

TEST_F(StoreCollectionTest, TheSameNameInAnyLetterCaseIsReplacedInItsPlace) {
  for (const TextView name : {u"First", u"Second", u"Third"}) {
    ASSERT_TRUE(store_.StoreCollection(One(name), name));
  }
  EXPECT_TRUE(store_.StoreCollection(One(u"new"), u"SECOND"));
  EXPECT_EQ(TextOf({{DataOf(u"First"), u"First"},
                    {DataOf(u"new"), u"SECOND"},
                    {DataOf(u"Third"), u"Third"}}),
            store_.MultiDataString());
  EXPECT_EQ((Rows{{u"new", u"1"}}), Working(u"second"));
  EXPECT_THAT(Names(), ElementsAre(u"First", u"SECOND", u"Third"));
  ExpectReports({});
}

TEST_F(StoreCollectionTest, CollectionsOfATextAreKeptAsTheyAre) {
  store_.SetMultiDataString(kOneItem);
  EXPECT_TRUE(store_.StoreCollection(One(u"B"), u"Others"));
  EXPECT_EQ(TextOf({{DataOf(u"A"), u"Items"}, {DataOf(u"B"), u"Others"}}),
            store_.MultiDataString());
  EXPECT_EQ((Rows{{u"A", u"1"}}), Working(u"Items"));
}

TEST_F(StoreCollectionTest, WhatALongWayDropsIsDropped) {
  for (const TextView odd :
       {u"Name\u00A5Colour\u00A5DATASTRING\u00A5\u0152Items\u00A5red\u00A5data\u00A5\u0152rest",
        u"DataString\u00A5Name\u00A5\u0152\r\ndata\u00A5Items\u00A5more\u0152\r\n",
        u"DataString\u00A5name\u00A5\u0152data\u00A5Items\u00A5\u0152",
        u"Name\u00A5\u0152Items\u00A5\u0152", u"DataString\u00A5\u0152data\u00A5\u0152",
        u"Name\u00A5name\u00A5DataString\u00A5\u0152Key\u00A5Items\u00A5data\u00A5\u0152",
        u"Name\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152Key\u00A5\u00A5\u0152",
        u"DataString\u00A5Name\u00A5\u0152\r\n\r\n\r\n\r\nx\u00A5Items\u00A5\u0152",
        u"DataString\u00A5Name\u00A5\u0152", u"no header\u0152record\u0152"}) {
    for (const TextView name : {u"Items", u"Key", u"Other", u""}) {
      store_.SetMultiDataString(odd);
      const Text expected = LongWay(One(u"A"), name);
      ASSERT_FALSE(expected.empty());
      EXPECT_TRUE(store_.StoreCollection(One(u"A"), name));
      EXPECT_EQ(expected, store_.MultiDataString()) << testing::PrintToString(odd);
    }
  }
  ExpectReports({});
}

TEST_F(StoreCollectionTest, MarkersInValuesAndNamesMakeTheTextOfTheLongWay) {
  for (const auto& [title, name] : {std::pair(u"a\u00A5b", u"Items"),
                                    {u"a", u"It\u00A5ems"},
                                    {u"a", u"x\u0152y\u00A5z\u00A5\u0152"},
                                    {u"a\u0152b", u"Items"}}) {
    store_.SetMultiDataString(kOneItem);
    const Text expected = LongWay(One(title), name);
    EXPECT_TRUE(store_.StoreCollection(One(title), name));
    EXPECT_EQ(expected, store_.MultiDataString());
    clsCollectionSaveRestore other(platform_);
    other.SetMultiDataString(expected);
    platform_.reports.clear();
    other.WorkingCol(u"Items", Creator(class_));
    const auto reports = std::exchange(platform_.reports, {});
    Working(u"Items");
    EXPECT_EQ(reports.size(), platform_.reports.size());
    platform_.reports.clear();
  }
}

TEST_F(StoreCollectionTest, AnEmptyCollectionIsStoredWithoutData) {
  EXPECT_TRUE(store_.StoreCollection(Adapter().NewCollection(), u"None"));
  EXPECT_EQ(TextOf({{u"", u"None"}}), store_.MultiDataString());
  EXPECT_EQ(nullptr, store_.WorkingCol(u"None", Creator(class_)));
  EXPECT_THAT(Names(), ElementsAre(u"None"));
  ExpectReports({});
}

TEST_F(StoreCollectionTest, CollectionsWithoutANameAreAddedAndNeverFound) {
  EXPECT_TRUE(store_.StoreCollection(One(u"1"), u""));
  EXPECT_TRUE(store_.StoreCollection(One(u"2"), u""));
  EXPECT_EQ(TextOf({{DataOf(u"1"), u""}, {DataOf(u"2"), u""}}), store_.MultiDataString());
  EXPECT_FALSE(store_.RemoveCollection(u""));
  EXPECT_THAT(Names(), ElementsAre());
  ExpectReports({});
}

TEST_F(StoreCollectionTest, AFailureChangesNothing) {
  store_.SetMultiDataString(kOneItem);
  EXPECT_FALSE(store_.StoreCollection(nullptr, u"Items"));
  ExpectReports({SaveReport(StandardDescription(91), 91, 1, u"")});
  EXPECT_EQ(kOneItem, store_.MultiDataString());
  class_->members[1].readable = false;
  EXPECT_FALSE(store_.StoreCollection(One(u"B"), u"Items"));
  ExpectReports({SaveReport(StandardDescription(438), 438, 5, u"Count")});
  EXPECT_EQ(kOneItem, store_.MultiDataString());
}

TEST_F(StoreCollectionTest, ATextThatCannotBeRestoredIsReportedAndKept) {
  for (int operation = 0; operation < 3; ++operation) {
    const auto run = [&] {
      if (operation == 0) return !store_.StoreCollection(One(u"A"), u"Items");
      if (operation == 1) return !store_.RemoveCollection(u"Items");
      return store_.CollectionNames() == nullptr;
    };
    store_.SetMultiDataString(kDamaged);
    EXPECT_TRUE(run());
    ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
    EXPECT_EQ(kDamaged, store_.MultiDataString());
    store_.SetMultiDataString(kUnderTwoNames);
    EXPECT_TRUE(run());
    ExpectReports({RestoreReport(kKeyInUse, 457, 8)});
    EXPECT_EQ(kUnderTwoNames, store_.MultiDataString());
  }
}

TEST_F(StoreCollectionTest, AReportThatCannotBeShownIsReportedByTheOperation) {
  platform_.fault = Fault(1, RuntimeError(51));
  EXPECT_FALSE(store_.StoreCollection(nullptr, u"Items"));
  ExpectReports(
      {Tagged(u"Error DFO", u"Error saving working collection", u"Internal error", 51, 0)});
  platform_.fault = Fault(1, RuntimeError(429));
  EXPECT_EQ(nullptr, store_.CollectionNames());
  ExpectReports({Tagged(u"Error CN", u"Error CN", StandardDescription(429), 429, 0)});
  store_.SetMultiDataString(kDamaged);
  // The names of the members are listed before the text is split.
  platform_.fault = Fault(2, RuntimeError(51));
  EXPECT_FALSE(store_.RemoveCollection(u"Items"));
  ASSERT_FALSE(platform_.reports.empty());
  platform_.reports.clear();
}

TEST_F(StoreCollectionTest, MarkersAreRefused) {
  store_.SetRefuseMarkers(true);
  store_.SetMultiDataString(kOneItem);
  EXPECT_FALSE(store_.StoreCollection(One(u"a\u00BBb"), u"Items"));
  ExpectReports(
      {SaveReport(u"Value contains the field end marker, record number 1", 0, 0, u"Title")});
  EXPECT_FALSE(store_.StoreCollection(One(u"a"), u"It\u00A5ems"));
  ExpectReports(
      {SaveReport(u"Value contains the field end marker, record number 2", 0, 0, u"Name")});
  EXPECT_EQ(kOneItem, store_.MultiDataString());
  EXPECT_TRUE(store_.StoreCollection(One(u"B"), u"Items"));
  EXPECT_EQ(TextOf({{DataOf(u"B"), u"Items"}}), store_.MultiDataString());
  ExpectReports({});
}

TEST_F(StoreCollectionTest, RemovingLeavesTheOthersInTheirOrder) {
  for (const TextView name : {u"A", u"B", u"C"}) store_.StoreCollection(One(name), name);
  EXPECT_FALSE(store_.RemoveCollection(u"D"));
  EXPECT_TRUE(store_.RemoveCollection(u"b"));
  EXPECT_FALSE(store_.RemoveCollection(u"B"));
  EXPECT_EQ(TextOf({{DataOf(u"A"), u"A"}, {DataOf(u"C"), u"C"}}), store_.MultiDataString());
  EXPECT_TRUE(store_.RemoveCollection(u"A"));
  EXPECT_TRUE(store_.RemoveCollection(u"C"));
  EXPECT_EQ(u"", store_.MultiDataString());
  EXPECT_THAT(Names(), ElementsAre());
  EXPECT_TRUE(store_.StoreCollection(One(u"A"), u"Items"));
  EXPECT_EQ(kOneItem, store_.MultiDataString());
  ExpectReports({});
}

TEST_F(StoreCollectionTest, TheLastOneOfAnOddTextIsRemovedWithIt) {
  store_.SetMultiDataString(u"Name\u00A5name\u00A5\u0152Key\u00A5Items\u00A5\u0152");
  EXPECT_THAT(Names(), ElementsAre(u"Key"));
  EXPECT_FALSE(store_.RemoveCollection(u"Items"));
  EXPECT_TRUE(store_.RemoveCollection(u"KEY"));
  EXPECT_EQ(u"", store_.MultiDataString());
  ExpectReports({});
}

TEST_F(StoreCollectionTest, AnAssignedResultIsReadLikeAnyText) {
  store_.SetMultiDataString(kOneItem);
  for (const TextView name : {u"Items", u"Others", u"others", u"Items"}) {
    const Text text = store_.MultiDataColString(One(name), name);
    store_.SetMultiDataString(text);
    EXPECT_EQ(text, store_.MultiDataString());
    EXPECT_EQ((Rows{{Text(name), u"1"}}), Working(name));
    // Once more, without a difference.
    store_.SetMultiDataString(text);
    EXPECT_EQ(text, store_.MultiDataString());
  }
  EXPECT_THAT(Names(), ElementsAre(u"Items", u"others"));
  const Text whole = store_.MultiDataString();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    for (const TextView added : {u"", u"\u0152", u"\u00A5\u0152", u"x\u00A5Items\u00A5\u0152"}) {
      const Text text = whole.substr(0, length).append(added);
      store_.SetMultiDataString(whole);
      ASSERT_THAT(Names(), ElementsAre(u"Items", u"others"));
      store_.SetMultiDataString(text);
      ASSERT_EQ(text, store_.MultiDataString());
      clsCollectionSaveRestore other(platform_);
      other.SetMultiDataString(text);
      const CollectionRef expected = other.CollectionNames();
      const auto reports = std::exchange(platform_.reports, {});
      const CollectionRef names = store_.CollectionNames();
      ASSERT_EQ(reports, platform_.reports);
      platform_.reports.clear();
      ASSERT_EQ(expected == nullptr, names == nullptr) << testing::PrintToString(text);
      if (names != nullptr) {
        ASSERT_EQ(NamesIn(expected), NamesIn(names));
      }
    }
  }
}

// ---- A host that uses the instance meanwhile ---------------------------------------------------

TEST_F(StoreCollectionTest, WhatTheHostStoresMeanwhileIsReplacedAsByTheLongWay) {
  store_.SetMultiDataString(kOneItem);
  const auto records = One(u"B");
  int left = 3;
  class_->onUse = [&](RecordClass::Use, TextView) {
    if (--left == 0) {
      EXPECT_TRUE(store_.StoreCollection(RecordsOf(TitleAndCount(), {{u"I", u"1"}}), u"Inner"));
    }
  };
  EXPECT_TRUE(store_.StoreCollection(records, u"Outer"));
  EXPECT_GE(0, left);
  EXPECT_EQ(TextOf({{DataOf(u"A"), u"Items"}, {DataOf(u"B"), u"Outer"}}), store_.MultiDataString());
}

TEST_F(StoreCollectionTest, AFailureKeepsWhatTheHostStoredMeanwhile) {
  const auto records = One(u"B");
  class_->members[1].readable = false;
  bool isFirst = true;
  class_->onUse = [&](RecordClass::Use, TextView) {
    if (std::exchange(isFirst, false)) store_.SetMultiDataString(kOneItem);
  };
  EXPECT_FALSE(store_.StoreCollection(records, u"Outer"));
  platform_.reports.clear();
  EXPECT_EQ(kOneItem, store_.MultiDataString());
}

TEST_F(StoreCollectionTest, ACreatorThatRemovesAndStoresWhatIsRead) {
  store_.StoreCollection(RecordsOf(class_, {{u"A", u"1"}, {u"B", u"2"}}), u"Items");
  const Object creator = Adapter().New<MemoryCreator>([&] {
    store_.RemoveCollection(u"Items");
    store_.StoreCollection(RecordsOf(TitleAndCount(), {{u"new", u"1"}}), u"Items");
    return NewRecord(Adapter(), class_);
  });
  const auto working = store_.WorkingCol(u"Items", creator);
  ASSERT_NE(nullptr, working);
  EXPECT_EQ((Rows{{u"A", u"1"}, {u"B", u"2"}}), RowsOf(working));
  EXPECT_EQ((Rows{{u"new", u"1"}}), Working(u"Items"));
}

// ---- Random sequences --------------------------------------------------------------------------

TEST_F(StoreCollectionTest, LongSequencesAgreeWithTheNaiveModel) {
  std::mt19937 random(11);
  const naive::Texts members = {u"Title", u"Count"};
  const auto plain = ListingClass(Adapter(), {{u"Title"}, {u"Count"}});
  naive::Collections model;
  std::size_t found = 0;
  for (int step = 0; step < 3000; ++step) {
    const Text name = Text(random() % 2 == 0 ? u"Name " : u"NAME ")
                          .append(DecimalText(static_cast<std::int32_t>(random() % 60)));
    const std::size_t kind = random() % 8;
    if (kind < 5) {
      Rows rows(random() % 5);
      for (auto& row : rows) row = {Text(random() % 80, u'x'), DecimalText(step)};
      model.Store(name, members, rows);
      const CollectionRef collection = RecordsOf(plain, rows);
      if (kind < 3) {
        ASSERT_TRUE(store_.StoreCollection(collection, name));
      } else {
        store_.SetMultiDataString(store_.MultiDataColString(collection, name));
      }
    } else if (kind < 6) {
      ASSERT_EQ(model.Remove(name).wasThere, store_.RemoveCollection(name));
    } else {
      const auto expected = model.Working(name, members, {});
      const CollectionRef working = store_.WorkingCol(name, Creator(plain));
      ASSERT_EQ(expected.records.has_value(), working != nullptr);
      if (working != nullptr) {
        Rows rows;
        for (const auto& record : *expected.records) rows.push_back(record.values);
        ASSERT_EQ(rows, RowsOf(working));
        ++found;
      }
    }
    ASSERT_EQ(model.text, store_.MultiDataString()) << step;
  }
  EXPECT_LT(100U, found);
  ASSERT_EQ(model.AllNames().names, Names());
  ExpectReports({});
}

}  // namespace
}  // namespace brindlex
