#include <gmock/gmock.h>

#include <vector>

#include "persistence/text_data.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

constexpr TextView kNotSet = u"Object variable or With block variable not set";
constexpr TextView kOneBlock =
    u"DataString\u00A5Name\u00A5\u0152"
    u"Title\u00BBCount\u00BB\u0160Alpha\u00BB3\u00BB\u0160Beta\u00BB12\u00BB\u0160\u00A5Items\u00A5"
    u"\u0152";

Report WorkingReport(TextView description, std::int32_t number) {
  return Tagged(u"Error DFO", u"Error creating working collection", description, number, 0);
}

Report StoringReport(TextView description, std::int32_t number) {
  return Tagged(u"Error DFO", u"Error saving working collection", description, number, 0);
}

Report NamesReport(TextView description, std::int32_t number) {
  return Tagged(u"Error GMN", u"Error GMN", description, number, 0);
}

// ---- The component's own record ----------------------------------------------------------------

class TextDataTest : public PersistenceTest {
 protected:
  TextDataAdapter adapter_{platform_};
};

TEST_F(TextDataTest, ListsItsTwoMembers) {
  EXPECT_THAT(NamesIn(clsTextData::GetMemberNames(platform_)), ElementsAre(u"DataString", u"Name"));
  ExpectReports({});
}

TEST_F(TextDataTest, NamesThatCannotBeListedAreReported) {
  platform_.fault = Fault(1, RuntimeError(429));
  EXPECT_EQ(nullptr, clsTextData::GetMemberNames(platform_));
  ExpectReports({NamesReport(u"ActiveX component can't create object", 429)});
}

TEST_F(TextDataTest, NewBlocksAreEmpty) {
  const Object block = adapter_.NewCreator().CallForObject(u"getNEWobject");
  EXPECT_EQ(u"", adapter_.RecordOf(block).DataString);
  EXPECT_EQ(u"", adapter_.RecordOf(block).Name);
  EXPECT_EQ(438, ErrorOf([&] { adapter_.NewCreator().CallForObject(u"Other"); }));
}

TEST_F(TextDataTest, AnswersByNameLikeAnyRecord) {
  const Object block = adapter_.NewRecord({u"data", u"name"});
  EXPECT_THAT(NamesIn(block.CallForCollection(u"getmembernames")),
              ElementsAre(u"DataString", u"Name"));
  EXPECT_THAT(block.PropertyGetNames(), ElementsAre(u"DataString", u"Name"));
  EXPECT_EQ(438, ErrorOf([&] { block.CallForCollection(u"MembersCol"); }));
  const std::vector<Text> names = {u"NAME", u"datastring", u"Other"};
  const auto access = adapter_.Access(names);
  StringTextBuilder text;
  text.Append(u"<");
  access->AppendText(block, 0, text);
  access->AppendText(block, 1, text);
  EXPECT_EQ(u"<namedata", text.View());
  EXPECT_EQ(438, ErrorOf([&] { access->AppendText(block, 2, text); }));
  access->LetText(block, 0, u"changed");
  EXPECT_EQ(438, ErrorOf([&] { access->LetText(block, 2, u""); }));
  EXPECT_EQ(u"changed", adapter_.RecordOf(block).Name);
  EXPECT_EQ(u"<namedata", text.View());
}

TEST_F(TextDataTest, IsSavedAndRestoredLikeAnyRecord) {
  const auto blocks = adapter_.NewCollection();
  blocks->Add(adapter_.NewRecord({u"x", u"1"}), {});
  blocks->Add(adapter_.NewRecord({}), {});
  const Text text = store_.AsDelimitedFromCollection(blocks);
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152x\u00A51\u00A5\u0152\u00A5\u00A5\u0152", text);
  const auto restored = store_.AsDelimitedToCollection(text, adapter_.NewCreator());
  ASSERT_NE(nullptr, restored);
  EXPECT_EQ(2, restored->Count());
  EXPECT_EQ(u"x", adapter_.RecordOf(restored->First()).DataString);
  EXPECT_EQ(u"1", adapter_.RecordOf(restored->First()).Name);
}

TEST_F(TextDataTest, ObjectsOfAnotherAdapterAreRefused) {
  const std::vector<Text> names = {u"Name"};
  const auto access = adapter_.Access(names);
  StringTextBuilder text;
  EXPECT_EQ(430, ErrorOf([&] { access->AppendText(Creator(TitleAndCount()), 0, text); }));
  EXPECT_EQ(91, ErrorOf([&] { access->LetText(Object(), 0, u""); }));
}

// ---- MultiDataColString ------------------------------------------------------------------------

class MultiCollectionTest : public PersistenceTest {
 protected:
  CollectionRef Items() { return RecordsOf(TitleAndCount(), {{u"Alpha", u"3"}, {u"Beta", u"12"}}); }

  CollectionRef Titled(TextView title) { return RecordsOf(TitleAndCount(), {{Text(title), u"1"}}); }

  CollectionRef Working(TextView name, const OptionalText& key = {}) {
    return store_.WorkingCol(name, Creator(TitleAndCount()), key);
  }

  /// Stores `collection` under `name` for good.
  void Store(const CollectionRef& collection, TextView name) {
    store_.SetMultiDataString(store_.MultiDataColString(collection, name));
  }

  std::vector<Text> StoredNames() {
    const TextDataAdapter adapter(platform_);
    std::vector<Text> names;
    const auto blocks =
        store_.AsDelimitedToCollection(store_.MultiDataString(), adapter.NewCreator());
    if (blocks == nullptr) return names;
    blocks->ForEachObject([&](const Object& block) {
      names.push_back(adapter.RecordOf(block).Name);
      return true;
    });
    return names;
  }
};

TEST_F(MultiCollectionTest, StartsEmptyAndKeepsWhatItIsGiven) {
  EXPECT_EQ(u"", store_.MultiDataString());
  const Text odd(u"\0\xD800x", 3);
  store_.SetMultiDataString(odd);
  EXPECT_EQ(odd, store_.MultiDataString());
}

TEST_F(MultiCollectionTest, TheFirstCollectionMakesATextOfOneBlock) {
  EXPECT_EQ(kOneBlock, store_.MultiDataColString(Items(), u"Items"));
  EXPECT_EQ(u"", store_.MultiDataString());
  ExpectReports({});
}

TEST_F(MultiCollectionTest, TheSameNameIsReplacedInItsPlace) {
  Store(Titled(u"1"), u"First");
  Store(Titled(u"2"), u"Second");
  Store(Titled(u"3"), u"Third");
  EXPECT_THAT(StoredNames(), ElementsAre(u"First", u"Second", u"Third"));
  Store(Titled(u"new"), u"SECOND");
  EXPECT_THAT(StoredNames(), ElementsAre(u"First", u"SECOND", u"Third"));
  EXPECT_THAT(RowsOf(Working(u"second")), ElementsAre(ElementsAre(u"new", u"1")));
  EXPECT_THAT(RowsOf(Working(u"Third")), ElementsAre(ElementsAre(u"3", u"1")));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, AnEmptyCollectionIsStoredAsAnEmptyBlock) {
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152\u00A5None\u00A5\u0152",
            store_.MultiDataColString(Adapter().NewCollection(), u"None"));
  Store(Adapter().NewCollection(), u"None");
  EXPECT_EQ(nullptr, Working(u"None"));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, ABlockWithoutANameIsNeverFoundAgain) {
  Store(Titled(u"1"), u"");
  EXPECT_THAT(StoredNames(), ElementsAre(u""));
  EXPECT_EQ(nullptr, Working(u""));
  Store(Titled(u"2"), u"");
  EXPECT_THAT(StoredNames(), ElementsAre(u"", u""));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, ATextThatCannotBeRestoredGivesWayToTheNewBlock) {
  store_.SetMultiDataString(u"damaged");
  EXPECT_EQ(kOneBlock, store_.MultiDataColString(Items(), u"Items"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
  store_.SetMultiDataString(u"DataString\u00A5Name\u00A5\u0152x\u00A5\u0152");
  EXPECT_EQ(kOneBlock, store_.MultiDataColString(Items(), u"Items"));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
  store_.SetMultiDataString(
      u"DataString\u00A5Name\u00A5\u0152x\u00A5A\u00A5\u0152y\u00A5a\u00A5\u0152");
  EXPECT_EQ(kOneBlock, store_.MultiDataColString(Items(), u"Items"));
  ExpectReports({RestoreReport(kKeyInUse, 457, 8)});
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152x\u00A5A\u00A5\u0152y\u00A5a\u00A5\u0152",
            store_.MultiDataString());
}

TEST_F(MultiCollectionTest, ANameColumnInAnotherLetterCaseLeadsToTwoCollectionsOfOneName) {
  store_.SetMultiDataString(u"DataString\u00A5name\u00A5\u0152x\u00A5Items\u00A5\u0152");
  Store(Titled(u"1"), u"Items");
  EXPECT_EQ(
      u"DataString\u00A5Name\u00A5\u0152x\u00A5Items\u00A5\u0152Title\u00BBCount\u00BB\u01601\u00BB"
      u"1\u00BB\u0160\u00A5Items\u00A5\u0152",
      store_.MultiDataString());
  ExpectReports({});
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({RestoreReport(kKeyInUse, 457, 8)});
}

TEST_F(MultiCollectionTest, AHeaderAloneGivesWayWithoutAWord) {
  store_.SetMultiDataString(u"DataString\u00A5Name\u00A5\u0152");
  EXPECT_EQ(kOneBlock, store_.MultiDataColString(Items(), u"Items"));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, NoCollectionIsReportedAndStoredEmpty) {
  constexpr TextView kEmptyItems = u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152";
  store_.SetMultiDataString(kOneBlock);
  EXPECT_EQ(kEmptyItems, store_.MultiDataColString(nullptr, u"Items"));
  ExpectReports({SaveReport(kNotSet, 91, 1, u"")});
  EXPECT_EQ(kOneBlock, store_.MultiDataString());
  store_.SetRefuseMarkers(true);
  EXPECT_EQ(u"", store_.MultiDataColString(nullptr, u"Items"));
  ExpectReports({SaveReport(kNotSet, 91, 1, u"")});
}

TEST_F(MultiCollectionTest, ACollectionThatCannotBeSavedLeavesAnEmptyBlock) {
  const auto recordClass = TitleAndCount();
  recordClass->members[1].readable = false;
  store_.SetMultiDataString(kOneBlock);
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152",
            store_.MultiDataColString(RecordsOf(recordClass, {{u"A", u"1"}}), u"Items"));
  ExpectReports({SaveReport(u"Object doesn't support this property or method", 438, 5, u"Count")});
}

TEST_F(MultiCollectionTest, InnerValuesThatHoldOuterMarkersSplitTheText) {
  EXPECT_EQ(
      u"DataString\u00A5Name\u00A5\u0152Title\u00BBCount\u00BB\u0160a\u00A5b\u00BB1\u00BB\u0160"
      u"\u00A5Items\u00A5\u0152",
      store_.MultiDataColString(Titled(u"a\u00A5b"), u"Items"));
  Store(Titled(u"a\u00A5b"), u"Items");
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
  store_.SetMultiDataString(u"");
  Store(Titled(u"a\u00BBb"), u"Items");
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
}

TEST_F(MultiCollectionTest, AReportThatCannotBeShownIsReportedByTheStoring) {
  const auto recordClass = TitleAndCount();
  recordClass->members[1].readable = false;
  platform_.fault = Fault(1, RuntimeError(51));
  EXPECT_EQ(u"", store_.MultiDataColString(RecordsOf(recordClass, {{u"A", u"1"}}), u"Items"));
  ExpectReports({StoringReport(u"Internal error", 51)});
}

// ---- WorkingCol --------------------------------------------------------------------------------

TEST_F(MultiCollectionTest, ANamedCollectionIsFoundInAnyLetterCase) {
  store_.SetMultiDataString(kOneBlock);
  for (const TextView name : {u"Items", u"ITEMS", u"items"}) {
    EXPECT_THAT(RowsOf(Working(name)),
                ElementsAre(ElementsAre(u"Alpha", u"3"), ElementsAre(u"Beta", u"12")));
  }
  EXPECT_THAT(KeysOf(Working(u"Items")), ElementsAre(std::nullopt, std::nullopt));
  EXPECT_THAT(KeysOf(Working(u"Items", u"Title")), ElementsAre(u"Alpha", u"Beta"));
  EXPECT_THAT(KeysOf(Working(u"Items", u"title")), ElementsAre(std::nullopt, std::nullopt));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, WhatIsNotStoredIsNoCollection) {
  EXPECT_EQ(nullptr, Working(u"Items"));
  store_.SetMultiDataString(kOneBlock);
  EXPECT_EQ(nullptr, Working(u"Item"));
  EXPECT_EQ(nullptr, Working(u""));
  EXPECT_EQ(nullptr, Working(u"1"));
  EXPECT_EQ(nullptr, store_.WorkingCol(u"Other", Object()));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, WithoutItsNameColumnABlockIsNotFound) {
  store_.SetMultiDataString(u"DataString\u00A5name\u00A5\u0152x\u00A5Items\u00A5\u0152");
  EXPECT_EQ(nullptr, Working(u"Items"));
  store_.SetMultiDataString(u"DataString\u00A5\u0152x\u00A5\u0152");
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({});
}

TEST_F(MultiCollectionTest, ATextThatCannotBeRestoredHasNoCollections) {
  store_.SetMultiDataString(u"damaged");
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
}

TEST_F(MultiCollectionTest, ABlockThatCannotBeRestoredIsReportedByTheRestore) {
  store_.SetMultiDataString(u"DataString\u00A5Name\u00A5\u0152x\u00A5Items\u00A5\u0152");
  EXPECT_EQ(nullptr, Working(u"Items"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
  store_.SetMultiDataString(kOneBlock);
  EXPECT_EQ(nullptr, store_.WorkingCol(u"Items", Object()));
  ExpectReports({RestoreReport(kNotSet, 91, 3)});
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  EXPECT_EQ(nullptr, Working(u"Items", unreadable));
  ExpectReports({RestoreReport(u"Type mismatch", 13, 2)});
}

TEST_F(MultiCollectionTest, AReportThatCannotBeShownIsReportedByTheWorkingCollection) {
  store_.SetMultiDataString(kOneBlock);
  platform_.fault = Fault(2, RuntimeError(51));
  EXPECT_EQ(nullptr, store_.WorkingCol(u"Items", Object()));
  ExpectReports({WorkingReport(u"Internal error", 51)});
}

TEST_F(MultiCollectionTest, BlocksWhoseNamesCannotBeListedAreRestoredAllTheSame) {
  store_.SetMultiDataString(kOneBlock);
  platform_.fault = Fault(1, RuntimeError(429));
  EXPECT_THAT(RowsOf(Working(u"Items")),
              ElementsAre(ElementsAre(u"Alpha", u"3"), ElementsAre(u"Beta", u"12")));
  ExpectReports({NamesReport(u"ActiveX component can't create object", 429)});
}

TEST_F(MultiCollectionTest, EveryTruncationEndsInAReportOrInNoCollectionOrInOneThatIsWhole) {
  Store(Items(), u"Items");
  Store(Titled(u"x"), u"Other");
  const Text whole = store_.MultiDataString();
  const std::size_t firstBlock = kOneBlock.size();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    store_.SetMultiDataString(TextView(whole).substr(0, length));
    const auto items = Working(u"Items", u"Title");
    ASSERT_EQ(length >= firstBlock, items != nullptr) << length;
    if (items != nullptr) {
      ASSERT_THAT(KeysOf(items), ElementsAre(u"Alpha", u"Beta"));
    }
    const bool silent = length == 0 || length >= 17;
    ASSERT_EQ(silent ? 0U : 2U, platform_.reports.size()) << length;
    platform_.reports.clear();
    ASSERT_EQ(length == whole.size(), Working(u"Other") != nullptr) << length;
    platform_.reports.clear();
  }
}

}  // namespace
}  // namespace brindlex
