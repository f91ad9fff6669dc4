// Collections of the host's own classes as what is saved: with and without an enumerator, failing,
// and telling lies.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kHeader = u"Title\u00A5Count\u00A5\u0152";
constexpr std::u16string_view kBoth =
    u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152Beta\u00A52\u00A5\u0152";
constexpr std::u16string_view kFirst = u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152";

class ForeignCollectionTest : public SaveRestoreTest {
 protected:
  static ComPtr<ForeignCollection> TwoRecords(bool hasEnumerator = true) {
    auto collection = ForeignCollection::New(hasEnumerator);
    collection->AddEntry(NewTitle(u"Alpha", u"1").Get());
    collection->AddEntry(NewTitle(u"Beta", u"2").Get());
    return collection;
  }

  void ExpectFailure(const ComPtr<ForeignCollection>& collection, const Report& report) {
    EXPECT_EQ(u"", Save(collection.Get()));
    ExpectShown({report});
  }
};

TEST_F(ForeignCollectionTest, IsWalkedByItsEnumeratorOrByPositions) {
  const auto enumerated = TwoRecords();
  EXPECT_EQ(kBoth, Save(enumerated.Get()));
  EXPECT_GT(enumerated->EnumeratorsMade(), 0U);
  EXPECT_EQ(kBoth, Save(TwoRecords(false).Get()));
}

TEST_F(ForeignCollectionTest, AnEmptyOneIsEmptyTextWithoutAReport) {
  EXPECT_EQ(u"", Save(ForeignCollection::New().Get()));
  EXPECT_EQ(u"", Save(ForeignCollection::New(false).Get()));
  EXPECT_EQ(u"", Save(NewCollection().Get()));
}

TEST_F(ForeignCollectionTest, AnEnumeratorThatIsNoneIsPassedOver) {
  const auto collection = TwoRecords();
  auto& enumerate = collection->operator[](u"_NewEnum");
  for (auto make : {+[] { return Number(1); }, +[] { return Variant(); },
                    +[] { return Variant::OfObject(nullptr); },
                    +[] { return Variant::OfObject(ScriptedObject::New().Get()); }}) {
    enumerate.body = [make](const Arguments&) { return make(); };
    EXPECT_EQ(kBoth, Save(collection.Get()));
  }
  for (const HRESULT status : {DISP_E_MEMBERNOTFOUND, E_NOTIMPL}) {
    enumerate.get = {status};
    EXPECT_EQ(kBoth, Save(collection.Get()));
  }
}

TEST_F(ForeignCollectionTest, AnEnumeratorThatCannotBeMadeIsReported) {
  const auto collection = TwoRecords();
  auto& enumerate = collection->operator[](u"_NewEnum");
  enumerate.get = {E_FAIL};
  ExpectFailure(collection, Dfc({E_FAIL, u"Automation error", 3}));
  enumerate.get = {E_OUTOFMEMORY};
  ExpectFailure(collection, Dfc(OutOfMemory(3)));
  enumerate.get = Outcome::Raise(E_ACCESSDENIED, u"Closed for today");
  ExpectFailure(collection, Dfc({70, u"Closed for today", 3}));
}

TEST_F(ForeignCollectionTest, AnEntryThatCannotBeFetchedIsReported) {
  for (const bool hasEnumerator : {true, false}) {
    const auto collection = TwoRecords(hasEnumerator);
    collection->FailAt(1, {E_FAIL});
    ExpectFailure(collection, Dfc({E_FAIL, u"Automation error", 3}));
    collection->FailAt(2, {E_ACCESSDENIED});
    ExpectFailure(collection, Dfc({70, u"Permission denied", 5}));
    collection->FailAt(2, {E_OUTOFMEMORY});
    ExpectFailure(collection, Dfc(OutOfMemory(5)));
    collection->FailAt(0, {});
    EXPECT_EQ(kBoth, Save(collection.Get()));
  }
  const auto collection = TwoRecords(false);
  collection->FailAt(2, Outcome::Raise(static_cast<HRESULT>(0x800A01B6)));
  ExpectFailure(collection, Dfc(NoMember(5)));
  collection->FailAt(2, Outcome::Raise(0, u"Somewhere else"));
  ExpectFailure(collection, Dfc({DISP_E_EXCEPTION, u"Somewhere else", 5}));
}

TEST_F(ForeignCollectionTest, ACountThatLiesIsTakenAtItsWord) {
  for (const bool hasEnumerator : {true, false}) {
    const auto collection = TwoRecords(hasEnumerator);
    collection->claimedCount = [] { return Number(0); };
    EXPECT_EQ(u"", Save(collection.Get()));
    collection->claimedCount = [] { return Variant::OfText(u"2"); };
    EXPECT_EQ(kBoth, Save(collection.Get()));
    collection->claimedCount = [] { return Number(1); };
    EXPECT_EQ(hasEnumerator ? kBoth : kFirst, Save(collection.Get()));
  }
  const auto collection = TwoRecords(false);
  collection->claimedCount = [] { return Number(3); };
  ExpectFailure(collection, Dfc(OutOfRange(5)));
  collection->claimedCount = [] { return Number(-1); };
  ExpectFailure(collection, Dfc(OutOfRange(3)));
  const auto empty = ForeignCollection::New();
  empty->claimedCount = [] { return Number(2); };
  ExpectFailure(empty, Dfc(OutOfRange(3)));
}

TEST_F(ForeignCollectionTest, ACountThatIsNoneIsReported) {
  const auto collection = TwoRecords();
  collection->claimedCount = [] { return Of(VT_NULL, 0); };
  ExpectFailure(collection, Dfc(NullUse(1)));
  collection->claimedCount = [] { return Variant::OfText(u"many"); };
  ExpectFailure(collection, Dfc(TypeMismatch(1)));
  collection->claimedCount = [] { return Of(VT_R8, 1e10); };
  ExpectFailure(collection, Dfc({6, u"Overflow", 1}));
  collection->operator[](u"Count").get = {E_FAIL};
  ExpectFailure(collection, Dfc({E_FAIL, u"Automation error", 1}));
}

TEST_F(ForeignCollectionTest, WhatIsNoCollectionIsReported) {
  EXPECT_EQ(u"", Save(ScriptedObject::New().Get()));
  EXPECT_EQ(u"", Save(NewTitle(u"Alpha", u"x").Get()));
  ExpectShown({Dfc(NoMember(1)), Dfc(TypeMismatch(1))});
  EXPECT_EQ(u"", Save(nullptr));
  ExpectShown({Dfc(NotSet(1))});
}

TEST_F(ForeignCollectionTest, AnEnumeratorMayKeepPoorBooks) {
  const auto collection = TwoRecords();
  collection->reportsFetched = false;
  EXPECT_EQ(kBoth, Save(collection.Get()));
  collection->reportsFetched = true;
  collection->endsWithoutFalse = true;
  EXPECT_EQ(kBoth, Save(collection.Get()));
}

TEST_F(ForeignCollectionTest, AMemberListWithoutAnEndIsNotReadForEver) {
  const auto record = NewTitle(u"Alpha", u"1");
  record->operator[](u"GetMemberNames").body = [](const Arguments&) {
    const auto list = ForeignCollection::OfNames({u"Count"});
    list->endsWithoutFalse = true;
    return Variant::OfObject(list.Get());
  };
  EXPECT_EQ(u"Count\u00A5\u01521\u00A5\u0152", SaveObject(record.Get()));
}

TEST_F(ForeignCollectionTest, EntriesThatAreNoObjectsAreReported) {
  const auto collection = ForeignCollection::New();
  collection->AddEntry(NewTitle(u"Alpha", u"1").Get());
  collection->AddEntry(Number(2));
  ExpectFailure(collection, Dfc(ObjectNeeded(5)));
  const auto texts = ForeignCollection::OfNames({u"Alpha"});
  ExpectFailure(texts, Dfc(ObjectNeeded(3)));
}

TEST_F(ForeignCollectionTest, NothingAmongTheEntriesIsReported) {
  const auto last = ForeignCollection::New();
  last->AddEntry(NewTitle(u"Alpha", u"1").Get());
  last->AddEntry(nullptr);
  ExpectFailure(last, Dfc(NotSet(5), u"Title"));
  const auto first = ForeignCollection::New();
  first->AddEntry(nullptr);
  EXPECT_EQ(u"", Save(first.Get()));
  ExpectShown({Gmnl(NotSet()), Dfc({0, u""})});
}

TEST_F(ForeignCollectionTest, EntriesMayBeReferencesAndPlainUnknowns) {
  const auto record = NewTitle(u"Alpha", u"1");
  IDispatch* variable = record.Get();
  const Variant held = Variant::OfObject(record.Get());
  const auto collection = ForeignCollection::New();
  collection->AddEntry(Of(VT_BYREF | VT_DISPATCH, &variable));
  collection->AddEntry(Of(VT_BYREF | VT_VARIANT, &held.Get()));
  record->AddRef();
  collection->AddEntry(Of<IUnknown*>(VT_UNKNOWN, record.Get()));
  EXPECT_EQ(Units(kFirst) + u"Alpha\u00A51\u00A5\u0152" + u"Alpha\u00A51\u00A5\u0152",
            Save(collection.Get()));
}

TEST_F(ForeignCollectionTest, ALaterObjectThatLacksAMemberIsReportedWithIt) {
  const auto collection = ForeignCollection::New();
  collection->AddEntry(NewTitle(u"Alpha", u"1").Get());
  collection->AddEntry(NewRecord({{u"Title", u"Beta"}}).Get());
  ExpectFailure(collection, Dfc(NoMember(5), u"Count"));
}

TEST_F(ForeignCollectionTest, TheFirstObjectsListServesAll) {
  const auto collection = ForeignCollection::New();
  collection->AddEntry(NewTitle(u"Alpha", u"1").Get());
  collection->AddEntry(NewRecord({{u"count", u"2"}, {u"TITLE", u"Beta"}, {u"More", u"x"}}).Get());
  EXPECT_EQ(kBoth, Save(collection.Get()));
}

}  // namespace
}  // namespace brindlex::testing
