// Hosts whose objects change what is being saved, let go of it, or call again from inside a call.

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kHeader = u"Title\u00A5Count\u00A5\u0152";
constexpr std::u16string_view kAlpha = u"Alpha\u00A51\u00A5\u0152";
constexpr std::u16string_view kBeta = u"Beta\u00A52\u00A5\u0152";

class ReentryTest : public SaveRestoreTest {
 protected:
  using List = std::vector<Units>;

  static Units Text(std::initializer_list<View> records) {
    Units text(kHeader);
    for (const View record : records) text.append(record);
    return text;
  }

  /// A collection of the component's own.
  ComPtr<_clsCollection> OwnCollection(const std::vector<IDispatch*>& objects) {
    auto collection = NewCollection();
    for (IDispatch* const object : objects) Append(*collection.Get(), object);
    return collection;
  }

  static void Append(_clsCollection& collection, IDispatch* object) {
    EXPECT_EQ(S_OK,
              collection.Add(Variant::OfObject(object).Get(), Missing(), Missing(), Missing()));
  }
};

TEST_F(ReentryTest, ARecordMayTakeItselfOutWhileItIsSaved) {
  auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  const auto third = NewTitle(u"Gamma", u"3");
  const auto collection = OwnCollection({first.Get(), second.Get(), third.Get()});
  first->operator[](u"Title").whenRead = [&collection, &first] {
    if (!first) return;
    EXPECT_EQ(S_OK, collection->Remove(Number(1).Get()));
    first = nullptr;
  };
  // The enumeration goes on at the second position, where the third record now is.
  EXPECT_EQ(Text({kAlpha, u"Gamma\u00A53\u00A5\u0152"}), Save(collection.Get()));
  EXPECT_EQ(2, CountOf(collection));
}

TEST_F(ReentryTest, ARecordMayEmptyTheCollection) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto collection = OwnCollection({first.Get(), NewTitle(u"Beta", u"2").Get()});
  first->operator[](u"Count").whenRead = [&collection] {
    while (CountOf(collection) > 0) EXPECT_EQ(S_OK, collection->Remove(Number(1).Get()));
  };
  EXPECT_EQ(Text({kAlpha}), Save(collection.Get()));
}

TEST_F(ReentryTest, ARecordMayAddAnother) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  const auto collection = OwnCollection({first.Get()});
  first->operator[](u"Count").whenRead = [&] { Append(*collection.Get(), second.Get()); };
  EXPECT_EQ(Text({kAlpha, kBeta}), Save(collection.Get()));
}

TEST_F(ReentryTest, TheHostMayLetGoOfTheCollectionAndOfTheOperations) {
  const auto first = NewTitle(u"Alpha", u"1");
  auto collection = OwnCollection({first.Get(), NewTitle(u"Beta", u"2").Get()});
  auto operations = NewSaveRestore();
  first->operator[](u"Title").whenRead = [&] {
    collection = nullptr;
    operations = nullptr;
  };
  BSTR text = nullptr;
  auto* const borrowed = operations.Get();
  EXPECT_EQ(S_OK, borrowed->AsDelimitedFromCollection(collection.Get(), Missing(), Missing(),
                                                      Missing(), &text));
  EXPECT_EQ(Text({kAlpha, kBeta}), Taken(text));
}

TEST_F(ReentryTest, AGetterMaySaveAndRestoreMeanwhile) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  first->operator[](u"Title").whenRead = [&] {
    EXPECT_EQ(Text({kBeta}), SaveObject(second.Get()));
    EXPECT_EQ(List{u"Beta=2"}, Titles(Restore(Text({kBeta}), NewTitleCreator().Get())));
  };
  EXPECT_EQ(Text({kAlpha, kBeta}), Save(OwnCollection({first.Get(), second.Get()}).Get()));
}

TEST_F(ReentryTest, AGetterMayFailInsideAndGoOnOutside) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto failing = NewTitle(u"Beta", u"2");
  failing->operator[](u"Count").get = {E_FAIL};
  first->operator[](u"Count").whenRead = [&] { EXPECT_EQ(u"", SaveObject(failing.Get())); };
  EXPECT_EQ(Text({kAlpha}), SaveObject(first.Get()));
  ExpectShown({Dfc({E_FAIL, u"Automation error", 5}, u"Count")});
}

TEST_F(ReentryTest, ASetterMayRestoreMeanwhile) {
  int depth = 0;
  ComPtr<ScriptedObject> creator;
  creator = NewCreator([&] {
    const auto record = NewTitle({}, {});
    record->operator[](u"Title").whenSet = [&] {
      if (++depth > 3) return;
      EXPECT_EQ(List{u"Beta=2"}, Titles(Restore(Text({kBeta}), creator.Get())));
    };
    return record.As<IDispatch>();
  });
  EXPECT_EQ((List{u"Alpha=1", u"Beta=2"}), Titles(Restore(Text({kAlpha, kBeta}), creator.Get())));
  EXPECT_GT(depth, 3);
}

TEST_F(ReentryTest, ASetterMayLetGoOfTheCreator) {
  ComPtr<ScriptedObject> creator;
  creator = NewCreator([&creator] {
    const auto record = NewTitle({}, {});
    record->operator[](u"Title").whenSet = [&creator] { creator = nullptr; };
    return record.As<IDispatch>();
  });
  EXPECT_EQ((List{u"Alpha=1", u"Beta=2"}), Titles(Restore(Text({kAlpha, kBeta}), creator.Get())));
}

TEST_F(ReentryTest, AMemberListMayChangeOnceItIsTaken) {
  const auto names = NewCollection();
  for (const View name : {u"Title", u"Count"}) {
    EXPECT_EQ(S_OK, names->Add(Variant::OfText(name).Get(), Variant::OfText(name).Get(), Missing(),
                               Missing()));
  }
  const auto record = NewTitle(u"Alpha", u"1");
  record->operator[](u"GetMemberNames").body = [&](const Arguments&) {
    return Variant::OfObject(names.Get());
  };
  record->operator[](u"Title").whenRead = [&] {
    while (CountOf(names) > 0) EXPECT_EQ(S_OK, names->Remove(Number(1).Get()));
  };
  EXPECT_EQ(Text({kAlpha}), SaveObject(record.Get()));
}

TEST_F(ReentryTest, WhileAReportIsOpenTheHostMaySaveTheSameCollection) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  second->operator[](u"Count").get = {E_FAIL};
  const auto collection = OwnCollection({first.Get(), second.Get()});
  Boxes().whileNextIsOpen = [&] {
    second->operator[](u"Count").get = {};
    EXPECT_EQ(Text({kAlpha, kBeta}), Save(collection.Get()));
  };
  EXPECT_EQ(u"", Save(collection.Get()));
  ExpectShown({Dfc({E_FAIL, u"Automation error", 5}, u"Count")});
}

// ---- Collections of the host's own -------------------------------------------------------------

/// A collection of the host's without an enumerator, over `entries`, which the host may change.
ComPtr<ScriptedObject> ByPosition(std::vector<ComPtr<ScriptedObject>>& entries) {
  auto collection = ScriptedObject::New();
  collection->NextId(DISPID_VALUE);
  collection->Method(u"Item", [&entries](const Arguments& arguments) {
    const auto position = static_cast<std::size_t>(WholeNumberOf(*arguments.at(0)));
    if (position > entries.size()) throw Fails{{DISP_E_BADINDEX}};
    return Variant::OfObject(entries[position - 1].Get());
  });
  collection->Method(u"Count", [&entries](const Arguments&) {
    return Number(static_cast<std::int32_t>(entries.size()));
  });
  return collection;
}

TEST_F(ReentryTest, ByPositionAHostMayEmptyItsCollection) {
  std::vector<ComPtr<ScriptedObject>> entries{NewTitle(u"Alpha", u"1"), NewTitle(u"Beta", u"2")};
  entries[0]->operator[](u"Count").whenRead = [&entries] { entries.clear(); };
  EXPECT_EQ(u"", Save(ByPosition(entries).Get()));
  ExpectShown({Dfc(OutOfRange(5))});
}

TEST_F(ReentryTest, ByPositionTheNumberOfRecordsIsThatOfTheBeginning) {
  std::vector<ComPtr<ScriptedObject>> entries{NewTitle(u"Alpha", u"1")};
  entries[0]->operator[](u"Count").whenRead = [&entries] {
    entries.insert(entries.begin(), NewTitle(u"Beta", u"2"));
  };
  EXPECT_EQ(Text({kAlpha}), Save(ByPosition(entries).Get()));
}

TEST_F(ReentryTest, ByPositionARecordMayLetGoOfTheCollectionAndOfItself) {
  std::vector<ComPtr<ScriptedObject>> entries{NewTitle(u"Alpha", u"1"), NewTitle(u"Beta", u"2")};
  auto collection = ByPosition(entries);
  for (ComPtr<ScriptedObject>& entry : entries) {
    entry->operator[](u"Title").whenRead = [&] {
      collection = nullptr;
      entry = nullptr;
    };
  }
  auto* const borrowed = collection.Get();
  EXPECT_EQ(Text({kAlpha, kBeta}), Save(borrowed));
}

TEST_F(ReentryTest, ACollectionMayEndInsideEachOfItsMembers) {
  for (const View member : {u"Count", u"_NewEnum"}) {
    const auto first = NewTitle(u"Alpha", u"1");
    auto collection = Collected({first.Get()});
    (*collection.Get())[member].whenRead = [&collection] { collection = nullptr; };
    auto* const borrowed = collection.Get();
    EXPECT_EQ(Text({kAlpha}), Save(borrowed));
    EXPECT_FALSE(collection);
  }
  const auto first = NewTitle(u"Alpha", u"1");
  auto collection = Collected({first.Get()});
  collection->whenFetched = [&collection] {
    // What runs is kept, or it would end under itself.
    const auto alive = std::exchange(collection, nullptr);
    return S_OK;
  };
  auto* const borrowed = collection.Get();
  EXPECT_EQ(Text({kAlpha}), Save(borrowed));
}

TEST_F(ReentryTest, AnEnumeratorMaySaveTheCollectionThatItWalks) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  const auto collection = Collected({first.Get(), second.Get()});
  int depth = 0;
  collection->whenFetched = [&] {
    if (++depth == 2) {
      EXPECT_EQ(Text({kAlpha, kBeta}), Save(collection.Get()));
    }
    return S_OK;
  };
  EXPECT_EQ(Text({kAlpha, kBeta}), Save(collection.Get()));
  EXPECT_GT(depth, 3);
}

TEST_F(ReentryTest, ACreatorMayLetGoOfItselfAndReplaceTheText) {
  SetMultiData(MultiDataCol(OwnCollection({NewTitle(u"Alpha", u"1").Get()}).Get(), u"Items"));
  ComPtr<ScriptedObject> creator;
  creator = NewCreator([&] {
    creator = nullptr;
    SetMultiData(u"no such text");
    return NewTitle({}, {}).As<IDispatch>();
  });
  auto* const borrowed = creator.Get();
  EXPECT_EQ(List{u"Alpha=1"}, Titles(WorkingCol(u"Items", borrowed)));
  EXPECT_FALSE(creator);
}

// ---- Boxes of the host's own -------------------------------------------------------------------

const Report kOwnBox{u"The host", u"One moment"};

void ShowOwnBox() { MessageBoxW(nullptr, L"One moment", L"The host", MB_OK | MB_ICONEXCLAMATION); }

TEST_F(ReentryTest, AnObjectMayShowABoxInsideEachOfItsMembers) {
  const auto first = NewTitle(u"Alpha", u"1");
  first->operator[](u"GetMemberNames").whenRead = ShowOwnBox;
  first->operator[](u"Title").whenRead = ShowOwnBox;
  const auto collection = Collected({first.Get()});
  collection->operator[](u"Count").whenRead = ShowOwnBox;
  EXPECT_EQ(Text({kAlpha}), Save(collection.Get()));
  ExpectShown({kOwnBox, kOwnBox, kOwnBox});

  const auto creator = NewCreator([] {
    const auto record = NewTitle({}, {});
    record->operator[](u"Title").whenSet = ShowOwnBox;
    return record.As<IDispatch>();
  });
  EXPECT_EQ(List{u"Alpha=1"}, Titles(Restore(Text({kAlpha}), creator.Get())));
  ExpectShown({kOwnBox});
}

TEST_F(ReentryTest, WhileAHostsBoxIsOpenItMaySaveAndEmptyTheCollection) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  const auto collection = OwnCollection({first.Get(), second.Get()});
  first->operator[](u"Title").whenRead = ShowOwnBox;
  Boxes().whileNextIsOpen = [&] {
    first->operator[](u"Title").whenRead = nullptr;
    EXPECT_EQ(Text({kAlpha, kBeta}), Save(collection.Get()));
    while (CountOf(collection) > 0) EXPECT_EQ(S_OK, collection->Remove(Number(1).Get()));
  };
  EXPECT_EQ(Text({kAlpha}), Save(collection.Get()));
  ExpectShown({kOwnBox});
}

TEST_F(ReentryTest, AnObjectThatShowsABoxAndFailsIsReportedBehindIt) {
  const auto first = NewTitle(u"Alpha", u"1");
  first->operator[](u"Count").whenRead = ShowOwnBox;
  first->operator[](u"Count").get = {E_FAIL};
  EXPECT_EQ(u"", SaveObject(first.Get()));
  ExpectShown({kOwnBox, Dfc({E_FAIL, u"Automation error", 5}, u"Count")});
}

}  // namespace
}  // namespace brindlex::testing
