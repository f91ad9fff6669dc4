// Storing, removing and listing named collections in the text of an instance.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kItems =
    u"DataString\u00A5Name\u00A5\u0152"
    u"Title\u00BBCount\u00BB\u0160Alpha\u00BB3\u00BB\u0160\u00A5Items\u00A5\u0152";

class StoreCollectionTest : public SaveRestoreTest {
 protected:
  using List = std::vector<Units>;

  static ComPtr<ForeignCollection> One(View title, View count = u"3") {
    return Collected({NewTitle(title, count).Get()});
  }

  bool Store(IDispatch* collection, View name) {
    VARIANT_BOOL isStored = 42;
    EXPECT_EQ(S_OK, Operations().StoreCollection(collection, Bstr(name).Get(), &isStored));
    EXPECT_TRUE(isStored == VARIANT_TRUE || isStored == VARIANT_FALSE);
    return isStored == VARIANT_TRUE;
  }

  bool Remove(View name) {
    VARIANT_BOOL wasThere = 42;
    EXPECT_EQ(S_OK, Operations().RemoveCollection(Bstr(name).Get(), &wasThere));
    EXPECT_TRUE(wasThere == VARIANT_TRUE || wasThere == VARIANT_FALSE);
    return wasThere == VARIANT_TRUE;
  }

  ComPtr<_clsCollection> AllNames() {
    ComPtr<_clsCollection> names;
    EXPECT_EQ(S_OK, Operations().CollectionNames(names.Receive()));
    return names;
  }

  Units MultiData() {
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, Operations().get_MultiDataString(&text));
    return Taken(text);
  }

  List Stored(View name) {
    const auto collection = WorkingCol(name, NewTitleCreator().Get());
    return collection ? Titles(collection) : List();
  }
};

TEST_F(StoreCollectionTest, StoresReplacesListsAndRemoves) {
  EXPECT_EQ(0, CountOf(AllNames()));
  EXPECT_TRUE(Store(One(u"Alpha").Get(), u"Items"));
  EXPECT_EQ(kItems, MultiData());
  EXPECT_TRUE(Store(One(u"b").Get(), u"Others"));
  EXPECT_TRUE(Store(One(u"a").Get(), u"ITEMS"));
  EXPECT_EQ((List{u"ITEMS", u"Others"}), Names(AllNames()));
  EXPECT_EQ(List{u"a=3"}, Stored(u"items"));
  EXPECT_TRUE(Remove(u"items"));
  EXPECT_FALSE(Remove(u"items"));
  EXPECT_EQ(List{u"Others"}, Names(AllNames()));
  EXPECT_TRUE(Remove(u"OTHERS"));
  EXPECT_EQ(u"", MultiData());
}

TEST_F(StoreCollectionTest, MakesTheTextThatTheLongerWayMakes) {
  for (const View name : {u"First", u"Second", u"first", u"Third"}) {
    const auto collection = One(name);
    const Units expected = MultiDataCol(collection.Get(), name);
    EXPECT_TRUE(Store(collection.Get(), name));
    EXPECT_EQ(expected, MultiData());
    SetMultiData(expected);
    EXPECT_EQ(expected, MultiData());
    EXPECT_EQ((List{Units(name) + u"=3"}), Stored(name));
  }
}

TEST_F(StoreCollectionTest, AFailureIsReportedAndChangesNothing) {
  SetMultiData(kItems);
  EXPECT_FALSE(Store(nullptr, u"Items"));
  ExpectShown({Dfc(NotSet(1))});
  const auto record = NewTitle(u"Alpha", u"1");
  record->operator[](u"Count").get = {E_ACCESSDENIED};
  EXPECT_FALSE(Store(Collected({record.Get()}).Get(), u"Items"));
  ExpectShown({Dfc({70, u"Permission denied", 5}, u"Count")});
  EXPECT_EQ(kItems, MultiData());
  SetMultiData(u"no markers");
  EXPECT_FALSE(Store(One(u"a").Get(), u"Items"));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  EXPECT_FALSE(Remove(u"Items"));
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  EXPECT_FALSE(AllNames());
  ExpectShown({SplitReport(InvalidCall()), Adtc(OutOfRange(4))});
  EXPECT_EQ(u"no markers", MultiData());
}

TEST_F(StoreCollectionTest, MarkersAreRefusedWhereThatIsAskedFor) {
  EXPECT_EQ(S_OK, Operations().put_RefuseMarkers(VARIANT_TRUE));
  SetMultiData(kItems);
  EXPECT_FALSE(Store(One(u"a\u00A5").Get(), u"Items"));
  ExpectShown(
      {Dfc({0, u"Value contains a marker of the text around it, record number 1"}, u"Title")});
  EXPECT_FALSE(Store(One(u"a").Get(), u"\u0152"));
  ExpectShown({Dfc({0, u"Value contains the record end marker, record number 2"}, u"Name")});
  EXPECT_EQ(kItems, MultiData());
}

TEST_F(StoreCollectionTest, WhatIsReadAndSavedSurvivesAHostThatChangesTheTextMeanwhile) {
  SetMultiData(kItems);
  const auto creator = NewTitleCreator();
  creator->operator[](u"GetNewObject").whenRead = [this] { Remove(u"Items"); };
  EXPECT_EQ(List{u"Alpha=3"}, Titles(WorkingCol(u"Items", creator.Get())));
  EXPECT_EQ(u"", MultiData());
  SetMultiData(kItems);
  const auto record = NewTitle(u"New", u"1");
  record->operator[](u"Title").whenRead = [this] { SetMultiData(u"other"); };
  EXPECT_TRUE(Store(Collected({record.Get()}).Get(), u"More"));
  EXPECT_EQ((List{u"Items", u"More"}), Names(AllNames()));
}

TEST_F(StoreCollectionTest, ResultsNeedAPlace) {
  EXPECT_EQ(E_POINTER, Operations().StoreCollection(nullptr, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, Operations().RemoveCollection(nullptr, nullptr));
  EXPECT_EQ(E_POINTER, Operations().CollectionNames(nullptr));
  VARIANT_BOOL wasThere = VARIANT_TRUE;
  EXPECT_EQ(S_OK, Operations().RemoveCollection(nullptr, &wasThere));
  EXPECT_EQ(VARIANT_FALSE, wasThere);
}

}  // namespace
}  // namespace brindlex::testing
