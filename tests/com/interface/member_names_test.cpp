// The names that a host's object lists itself, and those that its type information gives.

#include "platform/win32/automation/late_binding.h"
#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class MemberNamesTest : public SaveRestoreTest {
 protected:
  using NameList = std::vector<Units>;

  /// An object without type information, whose MembersCol yields `value`.
  static ComPtr<ScriptedObject> WithMembersCol(Variant value) {
    auto object = ScriptedObject::New();
    object->Property(u"MembersCol", std::move(value));
    return object;
  }

  static NameList Entries(const ComPtr<_clsCollection>& names) {
    NameList entries;
    for (long position = 1; position <= CountOf(names); ++position) {
      Variant entry;
      EXPECT_EQ(S_OK, names->get_Item(Number(position).Get(), entry.Receive()));
      entries.push_back(TextOf(entry.Get()));
    }
    return entries;
  }

  static bool HasKey(const ComPtr<_clsCollection>& names, View key) {
    Variant entry;
    const bool has = names->get_Item(Variant::OfText(key).Get(), entry.Receive()) == S_OK;
    SetErrorInfo(0, nullptr);
    return has;
  }

  void ExpectFailure(const ComPtr<ScriptedObject>& object, const ShownError& error) {
    EXPECT_FALSE(NamesLate(object.Get()));
    ExpectShown({Gmnl(error)});
  }

  const ShownError noTypeInformation_ = {445, u"Object doesn't support this action"};
  const NameList typedNames_ = {u"Short", u"Long",  u"Single",   u"Double", u"Money",
                                u"Day",   u"Words", u"Flag",     u"Any",    u"Exact",
                                u"Tiny",  u"Thing", u"OnlyRead", u"Hidden"};
};

Variant ListOf(const std::vector<std::u16string_view>& names) {
  return Variant::OfObject(ForeignCollection::OfNames(names).Get());
}

// ---- The object's own list ---------------------------------------------------------------------

TEST_F(MemberNamesTest, MembersColGivesTheNames) {
  const auto object = WithMembersCol(ListOf({u"Zeta", u"alpha"}));
  EXPECT_EQ((NameList{u"Zeta", u"alpha"}), Names(NamesLate(object.Get())));
  const auto byMethod = ScriptedObject::New();
  byMethod->Method(u"membersCOL", [](const Arguments&) { return ListOf({u"One"}); });
  EXPECT_EQ(NameList{u"One"}, Names(NamesLate(byMethod.Get())));
}

TEST_F(MemberNamesTest, MembersColMayHaveNoEnumeratorAndAnyKeys) {
  const auto list = ForeignCollection::New(false);
  list->AddEntry(Variant::OfText(u"First"));
  list->AddEntry(Number(12), u"unlike");
  list->AddEntry(Variant::OfText(u"Own"), u"Own");
  const auto object = WithMembersCol(Variant::OfObject(list.Get()));
  const auto names = NamesLate(object.Get());
  EXPECT_EQ((NameList{u"First", u"12", u"Own"}), Entries(names));
  EXPECT_FALSE(HasKey(names, u"First"));
  EXPECT_FALSE(HasKey(names, u"12"));
  EXPECT_FALSE(HasKey(names, u"unlike"));
  EXPECT_TRUE(HasKey(names, u"OWN"));
}

TEST_F(MemberNamesTest, ARepeatedNameOfAForeignListHasNoKey) {
  const auto list = ForeignCollection::OfNames({u"Name"});
  list->AddEntry(Variant::OfText(u"NAME"));
  const auto names = NamesLate(WithMembersCol(Variant::OfObject(list.Get())).Get());
  EXPECT_EQ((NameList{u"Name", u"NAME"}), Entries(names));
  Variant under;
  EXPECT_EQ(S_OK, names->get_Item(Variant::OfText(u"name").Get(), under.Receive()));
  EXPECT_EQ(u"Name", TextOf(under.Get()));
}

TEST_F(MemberNamesTest, AListOfTheComponentsOwnClassIsReturnedAsItIs) {
  const auto list = NewCollection();
  const Variant name = Variant::OfText(u"Name");
  const Variant key = Variant::OfText(u"a key of its own");
  ASSERT_EQ(S_OK, list->Add(name.Get(), key.Get(), Missing(), Missing()));
  ASSERT_EQ(S_OK, list->Add(name.Get(), Missing(), Missing(), Missing()));
  const auto object = WithMembersCol(Variant::OfObject(list.Get()));
  const auto names = NamesLate(object.Get());
  EXPECT_EQ(list.Get(), names.Get());
  EXPECT_TRUE(HasKey(names, u"a key of its own"));
  EXPECT_EQ(2, CountOf(names));
}

TEST_F(MemberNamesTest, TheResultIsANewCollection) {
  const auto list = ForeignCollection::OfNames({u"Name"});
  const auto object = WithMembersCol(Variant::OfObject(list.Get()));
  const auto names = NamesLate(object.Get());
  EXPECT_EQ(S_OK, names->Add(Number(1).Get(), Missing(), Missing(), Missing()));
  EXPECT_EQ(NameList{u"Name"}, Names(NamesLate(object.Get())));
}

TEST_F(MemberNamesTest, AMembersColThatIsNoListIsPassedOver) {
  for (auto make :
       {+[] { return Number(3); }, +[] { return Variant(); },
        +[] { return Variant::OfText(u"Name"); }, +[] { return Variant::OfObject(nullptr); },
        +[] { return Variant::OfObject(ScriptedObject::New().Get()); },
        +[] { return ListOf({}); }}) {
    const auto object = WithMembersCol(make());
    ExpectFailure(object, noTypeInformation_);
    object->typeInfo = TestTypeInfo(IID__TypedRecord);
    EXPECT_EQ(typedNames_, Names(NamesLate(object.Get())));
  }
}

TEST_F(MemberNamesTest, AMembersColThatFailsIsPassedOver) {
  for (const HRESULT status : {E_FAIL, E_ACCESSDENIED, DISP_E_MEMBERNOTFOUND, E_OUTOFMEMORY}) {
    const auto object = WithMembersCol({});
    object->operator[](u"MembersCol").get = {status};
    object->typeInfo = TestTypeInfo(IID__TypedRecord);
    EXPECT_EQ(typedNames_, Names(NamesLate(object.Get())));
  }
}

TEST_F(MemberNamesTest, AListThatCannotBeTakenWholeIsReported) {
  const auto list = [](Variant second) {
    const auto made = ForeignCollection::OfNames({u"Name"});
    made->AddEntry(std::move(second));
    return WithMembersCol(Variant::OfObject(made.Get()));
  };
  ExpectFailure(list(Of(VT_NULL, 0)), NullUse());
  ExpectFailure(list(Variant::OfObject(nullptr)), NotSet());
  ExpectFailure(list(Variant::OfObject(ScriptedObject::New().Get())), NoMember());
}

TEST_F(MemberNamesTest, NothingHasNoNames) {
  EXPECT_FALSE(NamesLate(nullptr));
  ExpectShown({Gmnl(NotSet())});
}

// ---- Type information --------------------------------------------------------------------------

TEST_F(MemberNamesTest, ReadablePropertiesComeInDeclarationOrderOnceEach) {
  EXPECT_EQ(typedNames_, Names(NamesLate(TypedRecord::New().Get())));
}

TEST_F(MemberNamesTest, InheritedPropertiesComeFirst) {
  NameList names = typedNames_;
  names.insert(names.end(), {u"Extra", u"MemberNames"});
  const auto record = TypedRecord::New(IID__DerivedRecord);
  EXPECT_EQ(names, Names(NamesLate(record.Get())));
  record->DescribeVtable();
  EXPECT_EQ(names, Names(NamesLate(record.Get())));
}

TEST_F(MemberNamesTest, PropertiesWithoutAVtableCountAsWell) {
  const auto object = ScriptedObject::New();
  object->typeInfo = TestTypeInfo(DIID_LooseRecord);
  EXPECT_EQ((NameList{u"Second", u"First", u"Third"}), Names(NamesLate(object.Get())));
}

TEST_F(MemberNamesTest, TheComponentsOwnObjectsHaveThemToo) {
  const auto block = Dll().New<_clsTextData, ::clsTextData>();
  EXPECT_EQ((NameList{u"DataString", u"Name"}), Names(NamesLate(block.Get())));
  const auto collection = NewCollection();
  EXPECT_EQ((NameList{u"Item", u"Count"}), Names(NamesLate(collection.Get())));
}

TEST_F(MemberNamesTest, AnObjectWithoutTypeInformationIsReported) {
  const auto object = ScriptedObject::New();
  ExpectFailure(object, noTypeInformation_);
  // Whatever GetTypeInfo would answer.
  for (const HRESULT status : {E_FAIL, DISP_E_BADINDEX, E_OUTOFMEMORY}) {
    object->typeInfoStatus = status;
    ExpectFailure(object, noTypeInformation_);
  }
  object->typeInfoStatus = S_OK;
  object->typeInfo = TestTypeInfo(IID__TypedRecord);
  for (const HRESULT status : {E_NOTIMPL, E_FAIL}) {
    object->typeInfoCountStatus = status;
    ExpectFailure(object, noTypeInformation_);
  }
}

TEST_F(MemberNamesTest, TypeInformationThatIsNotGivenIsReportedAsTheObjectHasIt) {
  const auto object = ScriptedObject::New();
  object->typeInfo = TestTypeInfo(IID__TypedRecord);
  object->typeInfoStatus = S_FALSE;
  ExpectFailure(object, noTypeInformation_);
  object->typeInfoStatus = E_FAIL;
  ExpectFailure(object, {E_FAIL, u"Automation error"});
  object->typeInfoStatus = E_OUTOFMEMORY;
  ExpectFailure(object, OutOfMemory());
}

// ---- GetMemberNames on saving and restoring ----------------------------------------------------

/// What GetMemberNames may yield instead of a list with names in it.
struct NoList {
  Variant (*make)();
  /// The report of a restore; number 0 where it counts as an empty list.
  ShownError onRestore;
};

std::vector<NoList> NoLists() {
  return {
      {[] { return Variant::OfObject(nullptr); }, {0, u""}},
      {[] { return ListOf({}); }, {0, u""}},
      {[] { return Variant::OfObject(ScriptedObject::New().Get()); }, NoMember(3)},
      {[] { return Number(2); }, ObjectNeeded(3)},
      {[] { return Variant(); }, ObjectNeeded(3)},
      {[] { return Variant::OfText(u"Name"); }, ObjectNeeded(3)},
  };
}

TEST_F(MemberNamesTest, WithoutAListSavingFallsBackToTheTypeInformation) {
  for (const NoList& row : NoLists()) {
    const auto record = NewRecord({{u"First", u"1"}, {u"Second", u"b"}, {u"Third", u"3"}});
    record->operator[](u"GetMemberNames").body = [&](const Arguments&) { return row.make(); };
    EXPECT_EQ(u"", SaveObject(record.Get()));
    ExpectShown({Gmnl(noTypeInformation_), Dfc({0, u""})});
    record->typeInfo = TestTypeInfo(DIID_LooseRecord);
    EXPECT_EQ(u"Second\u00A5First\u00A5Third\u00A5\u0152b\u00A51\u00A53\u00A5\u0152",
              SaveObject(record.Get()));
  }
}

TEST_F(MemberNamesTest, WithoutAListRestoringFallsBackToTheTypeInformationOrFails) {
  for (const NoList& row : NoLists()) {
    ComPtr<ScriptedObject> last;
    const auto creator = NewCreator([&] {
      last = NewRecord({{u"First", {}}});
      last->operator[](u"GetMemberNames").body = [&](const Arguments&) { return row.make(); };
      last->typeInfo = TestTypeInfo(DIID_LooseRecord);
      return last.As<IDispatch>();
    });
    const auto restored = Restore(u"first\u00A5\u015217\u00A5\u0152", creator.Get());
    EXPECT_EQ(row.onRestore.number == 0 ? 1 : -1, CountOf(restored));
    if (row.onRestore.number != 0) {
      ExpectShown({Adtc(row.onRestore)});
    } else {
      EXPECT_EQ(u"17", Read(last.Get(), u"First"));
    }
  }
}

TEST_F(MemberNamesTest, ARestoreWithoutAnyNamesReportsNumberZero) {
  const auto creator = NewCreator([] {
    const auto record = ScriptedObject::New();
    record->Method(u"GetMemberNames", [](const Arguments&) { return ListOf({}); });
    return record.As<IDispatch>();
  });
  EXPECT_FALSE(Restore(u"Name\u00A5\u0152a\u00A5\u0152", creator.Get()));
  ExpectShown({Gmnl(noTypeInformation_), Adtc({0, u""})});
}

TEST_F(MemberNamesTest, AListOfNumbersNamesMembersByThem) {
  const auto record = NewRecord({{u"7", u"seven"}});
  record->operator[](u"GetMemberNames").body = [](const Arguments&) {
    const auto list = ForeignCollection::New();
    list->AddEntry(Number(7), u"7");
    return Variant::OfObject(list.Get());
  };
  const Units text = SaveObject(record.Get());
  EXPECT_EQ(u"7\u00A5\u0152seven\u00A5\u0152", text);
  const auto restored = Restore(u"7\u00A5\u0152other\u00A5\u0152",
                                NewCreator([&] { return record.As<IDispatch>(); }).Get());
  EXPECT_EQ(u"other", Read(At(restored, 1).Get(), u"7"));
}

TEST_F(MemberNamesTest, AMemberListWithADuplicateIsWrittenAsItIs) {
  const auto record = NewRecord({{u"A", u"1"}, {u"A", u"2"}});
  EXPECT_EQ(u"A\u00A5A\u00A5\u01521\u00A51\u00A5\u0152", SaveObject(record.Get()));
}

/// The scripting run time's dictionary. The run time keeps its type library once a dictionary was
/// used: so that this does not count as left over, one is used before the tests, and the run time
/// stays loaded.
class DictionaryTest : public SaveRestoreTest {
 protected:
  static void SetUpTestSuite() {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    ASSERT_NE(nullptr, LoadLibraryW(L"scrrun.dll"));
    Read(NewDictionary().Get(), u"Count");
    CoUninitialize();
  }

  static ComPtr<IDispatch> NewDictionary() {
    CLSID id;
    ComPtr<IDispatch> dictionary;
    EXPECT_EQ(S_OK, CLSIDFromProgID(L"Scripting.Dictionary", &id));
    EXPECT_EQ(S_OK, CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     dictionary.ReceiveVoid()));
    return dictionary;
  }
};

TEST_F(DictionaryTest, AsAMemberListItDoesNotGrow) {
  const auto dictionary = NewDictionary();
  Variant entry[] = {Variant::OfText(u"Title"), Variant::OfText(u"Title")};
  VARIANT arguments[] = {entry[0].Get(), entry[1].Get()};
  Invoke(*dictionary.Get(), MemberId(*dictionary.Get(), u"Add"), kCall, arguments);
  const auto creator = NewCreator([&] {
    const auto record = NewRecord({{u"Title", {}}});
    record->operator[](u"GetMemberNames").body = [&](const Arguments&) {
      return Variant::OfObject(dictionary.Get());
    };
    return record.As<IDispatch>();
  });
  const auto restored = Restore(
      u"Unknown\u00A5Title\u00A5Other\u00A5\u0152a\u00A5b\u00A5c\u00A5\u0152", creator.Get());
  EXPECT_EQ(u"b", Read(At(restored, 1).Get(), u"Title"));
  EXPECT_EQ(u"1", Read(dictionary.Get(), u"Count"));
  EXPECT_EQ(u"Title\u00A5\u0152b\u00A5\u0152", SaveObject(At(restored, 1).Get()));
}

TEST_F(DictionaryTest, AsACollectionItHasWhatItHas) {
  const auto dictionary = NewDictionary();
  VARIANT_BOOL exists = VARIANT_TRUE;
  EXPECT_EQ(S_OK, Operations().ItemExists(dictionary.Get(), Bstr(u"Title").Get(), &exists));
  EXPECT_EQ(VARIANT_FALSE, exists);
  EXPECT_EQ(u"0", Read(dictionary.Get(), u"Count"));
}

}  // namespace
}  // namespace brindlex::testing
