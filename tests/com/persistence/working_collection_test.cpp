// Several named collections of the host's own records in one text.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kItems =
    u"DataString\u00A5Name\u00A5\u0152"
    u"Title\u00BBCount\u00BB\u0160Alpha\u00BB3\u00BB\u0160Beta\u00BB12\u00BB\u0160\u00A5Items\u00A5"
    u"\u0152";

class WorkingCollectionTest : public SaveRestoreTest {
 protected:
  using List = std::vector<Units>;

  static ComPtr<ForeignCollection> One(View title) {
    return Collected({NewTitle(title, u"1").Get()});
  }

  /// Stores a collection in the text that the operations work on.
  void Store(IDispatch* collection, View name) { SetMultiData(MultiDataCol(collection, name)); }

  List Stored(View name) {
    const auto collection = WorkingCol(name, NewTitleCreator().Get());
    return collection ? Titles(collection) : List();
  }
};

TEST_F(WorkingCollectionTest, OneCollectionInAnEmptyText) {
  const auto alpha = NewTitle(u"Alpha", u"3");
  const auto beta = NewTitle(u"Beta", u"12");
  const auto objects = Collected({alpha.Get(), beta.Get()});
  EXPECT_EQ(kItems, MultiDataCol(objects.Get(), u"Items"));
  BSTR unchanged = nullptr;
  EXPECT_EQ(S_OK, Operations().get_MultiDataString(&unchanged));
  EXPECT_EQ(u"", Taken(unchanged));
}

TEST_F(WorkingCollectionTest, ComesBackUnderItsNameInAnyLetterCase) {
  SetMultiData(kItems);
  EXPECT_EQ((List{u"Alpha=3", u"Beta=12"}), Stored(u"Items"));
  EXPECT_EQ((List{u"Alpha=3", u"Beta=12"}), Stored(u"iTEMS"));
  const auto keyed =
      WorkingCol(u"Items", NewTitleCreator().Get(),
                 {.recordEnd = {}, .fieldEnd = {}, .key = Variant::OfText(u"Title")});
  EXPECT_EQ(u"12", Read(At(keyed, u"BETA").Get(), u"Count"));
}

TEST_F(WorkingCollectionTest, WhatIsNotStoredIsNoCollectionAndNoReport) {
  EXPECT_FALSE(WorkingCol(u"Items", nullptr));
  SetMultiData(kItems);
  EXPECT_FALSE(WorkingCol(u"Others", NewTitleCreator().Get()));
  EXPECT_FALSE(WorkingCol(u"", NewTitleCreator().Get()));
  EXPECT_FALSE(WorkingCol(u"1", NewTitleCreator().Get()));
  SetMultiData(u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152");
  EXPECT_FALSE(WorkingCol(u"Items", NewTitleCreator().Get()));
}

TEST_F(WorkingCollectionTest, ANewCollectionTakesThePlaceOfTheOldOne) {
  Store(One(u"a").Get(), u"First");
  Store(One(u"b").Get(), u"Second");
  Store(One(u"c").Get(), u"Third");
  Store(One(u"B").Get(), u"SECOND");
  const View header = u"DataString\u00A5Name\u00A5\u0152";
  Units expected(header);
  for (const auto& [title, name] :
       {std::pair(u"a", u"First"), {u"B", u"SECOND"}, {u"c", u"Third"}}) {
    expected.append(u"Title\u00BBCount\u00BB\u0160").append(title);
    expected.append(u"\u00BB1\u00BB\u0160\u00A5").append(name).append(u"\u00A5\u0152");
  }
  BSTR text = nullptr;
  EXPECT_EQ(S_OK, Operations().get_MultiDataString(&text));
  EXPECT_EQ(expected, Taken(text));
  EXPECT_EQ(List{u"B=1"}, Stored(u"Second"));
}

TEST_F(WorkingCollectionTest, AnEmptyCollectionIsStoredAsAnEmptyBlock) {
  Store(ForeignCollection::New().Get(), u"None");
  EXPECT_EQ(List(), Stored(u"None"));
  Store(One(u"a").Get(), u"None");
  EXPECT_EQ(List{u"a=1"}, Stored(u"None"));
}

TEST_F(WorkingCollectionTest, NothingIsReportedAndStoredEmpty) {
  constexpr View kEmptyItems = u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152";
  EXPECT_EQ(kEmptyItems, MultiDataCol(nullptr, u"Items"));
  ExpectShown({Dfc(NotSet(1))});
  SetMultiData(u"no markers");
  EXPECT_EQ(kEmptyItems, MultiDataCol(nullptr, u"Items"));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4)), Dfc(NotSet(1))});
}

TEST_F(WorkingCollectionTest, NothingIsRefusedWhereMarkersAreRefused) {
  EXPECT_EQ(S_OK, Operations().put_RefuseMarkers(VARIANT_TRUE));
  EXPECT_EQ(u"", MultiDataCol(nullptr, u"Items"));
  ExpectShown({Dfc(NotSet(1))});
}

TEST_F(WorkingCollectionTest, ACollectionThatCannotBeSavedIsReportedAndStoredEmpty) {
  const auto record = NewTitle(u"Alpha", u"1");
  record->operator[](u"Count").get = {E_ACCESSDENIED};
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152",
            MultiDataCol(Collected({record.Get()}).Get(), u"Items"));
  ExpectShown({Dfc({70, u"Permission denied", 5}, u"Count")});
}

TEST_F(WorkingCollectionTest, ATextThatCannotBeRestoredIsReportedAndStartsAnew) {
  const auto objects = Collected({NewTitle(u"Alpha", u"3").Get(), NewTitle(u"Beta", u"12").Get()});
  SetMultiData(u"no markers");
  EXPECT_EQ(kItems, MultiDataCol(objects.Get(), u"Items"));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  EXPECT_FALSE(WorkingCol(u"Items", NewTitleCreator().Get()));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  SetMultiData(u"DataString\u00A5Name\u00A5\u0152x\u00A5A\u00A5\u0152y\u00A5a\u00A5\u0152");
  EXPECT_EQ(kItems, MultiDataCol(objects.Get(), u"Items"));
  ExpectShown(
      {Adtc({457, u"This key is already associated with an element of this collection", 8})});
}

TEST_F(WorkingCollectionTest, AHeaderInAnotherOrderOrCaseReadsAllTheSame) {
  SetMultiData(
      u"Name\u00A5Colour\u00A5DATASTRING\u00A5\u0152Items\u00A5red\u00A5"
      u"Title\u00BB\u0160Alpha\u00BB\u0160\u00A5\u0152");
  EXPECT_EQ(List{u"Alpha="}, Stored(u"items"));
  // In another case the name is no key any more, so no block is found.
  SetMultiData(
      u"name\u00A5DataString\u00A5\u0152Items\u00A5"
      u"Title\u00BB\u0160Alpha\u00BB\u0160\u00A5\u0152");
  EXPECT_EQ(List(), Stored(u"Items"));
}

TEST_F(WorkingCollectionTest, AnInnerTextThatCannotBeRestoredIsReportedOnce) {
  SetMultiData(u"DataString\u00A5Name\u00A5\u0152broken\u00A5Items\u00A5\u0152");
  EXPECT_FALSE(WorkingCol(u"Items", NewTitleCreator().Get()));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  SetMultiData(kItems);
  EXPECT_FALSE(WorkingCol(u"Items", nullptr));
  ExpectShown({Adtc(NotSet(3))});
  EXPECT_FALSE(WorkingCol(u"Items", NewTitleCreator().Get(),
                          {.recordEnd = {}, .fieldEnd = {}, .key = Of(VT_NULL, 0)}));
  ExpectShown({Adtc(NullUse(2))});
}

TEST_F(WorkingCollectionTest, AnInnerTextWithOuterMarkersBreaksTheOuterText) {
  SetMultiData(MultiDataCol(One(u"a\u00A5b").Get(), u"Items"));
  EXPECT_FALSE(WorkingCol(u"Items", NewTitleCreator().Get()));
  ExpectShown({Adtc({0, u"Fields in record don't match field list, record number 1"})});
}

TEST_F(WorkingCollectionTest, TheTextSurvivesAHostThatSetsAnotherMeanwhile) {
  SetMultiData(kItems);
  const auto creator = NewTitleCreator();
  creator->operator[](u"GetNewObject").whenRead = [this] { SetMultiData(u"other"); };
  EXPECT_EQ((List{u"Alpha=3", u"Beta=12"}), Titles(WorkingCol(u"Items", creator.Get())));
  SetMultiData(kItems);
  const auto record = NewTitle(u"New", u"1");
  record->operator[](u"Title").whenRead = [this] { SetMultiData(u"other"); };
  Units expected(kItems);
  expected.append(u"Title\u00BBCount\u00BB\u0160New\u00BB1\u00BB\u0160\u00A5More\u00A5\u0152");
  EXPECT_EQ(expected, MultiDataCol(Collected({record.Get()}).Get(), u"More"));
}

}  // namespace
}  // namespace brindlex::testing
