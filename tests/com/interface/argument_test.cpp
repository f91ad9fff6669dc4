// What hosts pass for the optional arguments, and arguments that they change while a call runs.

#include "platform/win32/automation/late_binding.h"
#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class ArgumentTest : public SaveRestoreTest {
 protected:
  Units SavedWith(Variant recordEnd, Variant fieldEnd) {
    const auto record = NewTitle(u"Alpha", u"1");
    return Save(Collected({record.Get()}).Get(), {std::move(recordEnd), std::move(fieldEnd)});
  }

  /// What one record restored from `text` looks like; empty when there is none.
  std::vector<Units> RestoredWith(View text, Variant recordEnd, Variant fieldEnd) {
    const auto restored =
        Restore(text, NewTitleCreator().Get(), {std::move(recordEnd), std::move(fieldEnd)});
    return restored ? Titles(restored) : std::vector<Units>();
  }

  /// Calls an operation by name through IDispatch, with its arguments in written order.
  Variant Call(View name, std::vector<VARIANT> arguments) {
    IDispatch& operations = Operations();
    return Invoke(operations, MemberId(operations, Text(name).c_str()), kCall, arguments);
  }
};

VARIANT Reference(Variant& variable) {
  VARIANT reference;
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &variable.Get();
  return reference;
}

VARIANT Reference(BSTR& variable) {
  VARIANT reference;
  reference.vt = VT_BYREF | VT_BSTR;
  reference.pbstrVal = &variable;
  return reference;
}

VARIANT ObjectArgument(IDispatch* object) {
  VARIANT argument;
  argument.vt = VT_DISPATCH;
  argument.pdispVal = object;
  return argument;
}

// ---- Markers -----------------------------------------------------------------------------------

TEST_F(ArgumentTest, OmittedAndEmptyMarkersAreTheDefaults) {
  const View text = u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152";
  EXPECT_EQ(text, SavedWith(Omitted(), Omitted()));
  EXPECT_EQ(text, SavedWith({}, {}));
  EXPECT_EQ(std::vector<Units>{u"Alpha=1"}, RestoredWith(text, {}, Omitted()));
}

TEST_F(ArgumentTest, MarkersMayHaveSeveralCharacters) {
  const View text = u"Title<f>Count<f>\r\nAlpha<f>1<f>\r\n";
  EXPECT_EQ(text, SavedWith(Variant::OfText(u"\r\n"), Variant::OfText(u"<f>")));
  EXPECT_EQ(std::vector<Units>{u"Alpha=1"},
            RestoredWith(text, Variant::OfText(u"\r\n"), Variant::OfText(u"<f>")));
}

TEST_F(ArgumentTest, WhateverHasATextCanBeAMarker) {
  EXPECT_EQ(u"Title0Count0-7Alpha010-7", SavedWith(Number(-7), Number(0)));
  EXPECT_EQ(std::vector<Units>{u"Alpha=3"},
            RestoredWith(u"Title0Count0-7Alpha030-7", Number(-7), Number(0)));
  EXPECT_EQ(u"TitleTrueCountTrue;AlphaTrue1True;",
            SavedWith(Variant::OfText(u";"), Of(VT_BOOL, VARIANT_TRUE)));
  const auto marker = ScriptedObject::New();
  marker->NextId(DISPID_VALUE);
  marker->Property(u"Value", u"|");
  EXPECT_EQ(u"Title|Count|;Alpha|1|;",
            SavedWith(Variant::OfText(u";"), Variant::OfObject(marker.Get())));
}

TEST_F(ArgumentTest, EqualMarkersAreWrittenAsTheyAre) {
  EXPECT_EQ(u"Title|Count||Alpha|1||", SavedWith(Variant::OfText(u"|"), Variant::OfText(u"|")));
}

TEST_F(ArgumentTest, WhatCannotBeAMarkerIsReportedByTheOperation) {
  struct Row {
    Variant (*make)();
    ShownError error;
  };
  const Row rows[] = {
      {[] { return Of(VT_NULL, 0); }, NullUse(2)},
      {[] { return Variant::OfText(u""); }, InvalidCall(2)},
      {[] { return Of(VT_ERROR, E_FAIL); }, TypeMismatch(2)},
      {[] { return Variant::OfObject(nullptr); }, NotSet(2)},
      {[] { return Variant::OfObject(ScriptedObject::New().Get()); }, NoMember(2)},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(u"", SavedWith(row.make(), Omitted()));
    EXPECT_EQ(u"", SavedWith(Omitted(), row.make()));
    ExpectShown({Dfc(row.error), Dfc(row.error)});
    EXPECT_EQ(std::vector<Units>(), RestoredWith(u"x", row.make(), Omitted()));
    EXPECT_EQ(std::vector<Units>(), RestoredWith(u"x", Omitted(), row.make()));
    ExpectShown({Adtc(row.error), Adtc(row.error)});
  }
}

TEST_F(ArgumentTest, WhatIsNeverReadIsNeverReported) {
  EXPECT_EQ(u"", Save(ForeignCollection::New().Get(), {Of(VT_NULL, 0), Of(VT_NULL, 0)}));
  EXPECT_FALSE(Restore(u"", nullptr, {Of(VT_NULL, 0), Of(VT_NULL, 0), Of(VT_NULL, 0)}));
}

TEST_F(ArgumentTest, TheKeyPropertyIsTakenAsText) {
  const View text = u"7\u00A5\u0152seven\u00A5\u0152";
  const auto creator = NewCreator([] { return NewRecord({{u"7", {}}}).As<IDispatch>(); });
  const auto keyed = Restore(text, creator.Get(), {Omitted(), Omitted(), Number(7)});
  EXPECT_EQ(u"seven", Read(At(keyed, u"Seven").Get(), u"7"));
  EXPECT_EQ(1, CountOf(Restore(text, creator.Get(), {Omitted(), Omitted(), {}})));
  EXPECT_FALSE(Restore(text, creator.Get(), {Omitted(), Omitted(), Of(VT_NULL, 0)}));
  ExpectShown({Adtc(NullUse(2))});
}

// ---- Field names and entries -------------------------------------------------------------------

TEST_F(ArgumentTest, FieldNamesRaiseTheirErrorsToTheHost) {
  struct Row {
    View text;
    Variant recordEnd;
    HRESULT status;
  };
  const Row rows[] = {
      {u"A\u00A5a\u00A5\u0152", Omitted(), static_cast<HRESULT>(0x800A01C9)},
      {u"A\u00A5\u0152", Of(VT_NULL, 0), static_cast<HRESULT>(0x800A005E)},
      {u"A\u00A5\u0152", Variant::OfText(u""), static_cast<HRESULT>(0x800A0005)},
  };
  for (const Row& row : rows) {
    ComPtr<_clsCollection> names;
    EXPECT_EQ(row.status,
              Operations().FieldNamesCollection(Bstr(row.text).Get(), row.recordEnd.Get(),
                                                Missing(), names.Receive()));
    EXPECT_FALSE(names);
  }
}

TEST_F(ArgumentTest, FieldNamesAreThoseOfTheHeaderThatEndInAFieldEnd) {
  const auto names = [this](View text) {
    ComPtr<_clsCollection> found;
    EXPECT_EQ(S_OK, Operations().FieldNamesCollection(Bstr(text).Get(), Missing(), Missing(),
                                                      found.Receive()));
    return found;
  };
  using List = std::vector<Units>;
  EXPECT_EQ((List{u"A", u"B"}), Names(names(u"A\u00A5B\u00A5\u0152c\u00A5d\u00A5\u0152")));
  EXPECT_EQ(List{u"A"}, Names(names(u"A\u00A5B\u0152")));
  EXPECT_EQ(0, CountOf(names(u"AB\u0152")));
  EXPECT_EQ(-1, CountOf(names(u"\u00A5\u0152")));
  EXPECT_EQ(-1, CountOf(names(u"A\u00A5B\u00A5")));
  EXPECT_EQ(-1, CountOf(names(u"")));
}

TEST_F(ArgumentTest, ItemExistsOnlyForWhatCanBeTakenAsText) {
  const auto collection = ForeignCollection::New();
  collection->AddEntry(Variant::OfText(u"text"), u"Text");
  collection->AddEntry(Number(1), u"Number");
  collection->AddEntry({}, u"Empty");
  collection->AddEntry(Of(VT_NULL, 0), u"Null");
  collection->AddEntry(Variant::OfObject(ScriptedObject::New().Get()), u"Object");
  const auto exists = [&](IDispatch* object, View key) {
    VARIANT_BOOL found = 2;
    EXPECT_EQ(S_OK, Operations().ItemExists(object, Bstr(key).Get(), &found));
    return found;
  };
  EXPECT_EQ(VARIANT_TRUE, exists(collection.Get(), u"TEXT"));
  EXPECT_EQ(VARIANT_TRUE, exists(collection.Get(), u"Number"));
  EXPECT_EQ(VARIANT_TRUE, exists(collection.Get(), u"Empty"));
  EXPECT_EQ(VARIANT_FALSE, exists(collection.Get(), u"Null"));
  EXPECT_EQ(VARIANT_FALSE, exists(collection.Get(), u"Object"));
  EXPECT_EQ(VARIANT_FALSE, exists(collection.Get(), u"Absent"));
  EXPECT_EQ(VARIANT_FALSE, exists(collection.Get(), u""));
  EXPECT_EQ(VARIANT_FALSE, exists(nullptr, u"Text"));
  EXPECT_EQ(VARIANT_FALSE, exists(ScriptedObject::New().Get(), u"Text"));
  collection->operator[](u"Item").get = {E_OUTOFMEMORY};
  EXPECT_EQ(VARIANT_FALSE, exists(collection.Get(), u"Text"));
}

// ---- Arguments by reference --------------------------------------------------------------------

TEST_F(ArgumentTest, ATextUnderRestoreStaysWhenTheHostChangesItsVariable) {
  const View text = u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152Beta\u00A52\u00A5\u0152";
  for (const bool asVariant : {true, false}) {
    Variant variable = Variant::OfText(text);
    Variant marker = Variant::OfText(u"\u0152");
    Variant key = Variant::OfText(u"Title");
    BSTR typed = NewBstr(text);
    const auto creator = NewTitleCreator();
    creator->operator[](u"GetNewObject").whenRead = [&] {
      variable = Number(0);
      marker = Number(0);
      key = Number(0);
      SysReAllocString(&typed, L"gone");
    };
    const Variant result =
        Call(u"AsDelimitedToCollection",
             {asVariant ? Reference(variable) : Reference(typed), ObjectArgument(creator.Get()),
              Reference(marker), Missing(), Reference(key)});
    SysFreeString(typed);
    ASSERT_EQ(VT_DISPATCH, result.Get().vt);
    const auto restored = ComPtr<IDispatch>(result.Get().pdispVal).As<_clsCollection>();
    EXPECT_EQ((std::vector<Units>{u"Alpha=1", u"Beta=2"}), Titles(restored));
    EXPECT_EQ(u"2", Read(At(restored, u"Beta").Get(), u"Count"));
  }
}

TEST_F(ArgumentTest, ACollectionUnderSaveStaysWhenTheHostLetsGoOfIt) {
  const auto record = NewTitle(u"Alpha", u"1");
  Variant variable = Variant::OfObject(Collected({record.Get()}).Get());
  record->operator[](u"Title").whenRead = [&] { variable = {}; };
  const Variant result = Call(u"AsDelimitedFromCollection", {Reference(variable)});
  EXPECT_EQ(VT_EMPTY, variable.Get().vt);
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152", TextOf(result.Get()));
}

constexpr std::u16string_view kOneBlock =
    u"DataString\u00A5Name\u00A5\u0152Title\u00BBCount\u00BB\u0160Alpha\u00BB1\u00BB\u0160"
    u"\u00A5Items\u00A5\u0152";

TEST_F(ArgumentTest, TheNameOfABlockStaysWhenTheHostChangesItsVariable) {
  const auto record = NewTitle(u"Alpha", u"1");
  const auto objects = Collected({record.Get()});
  Variant variable = Variant::OfText(u"Items");
  record->operator[](u"Title").whenRead = [&] { variable = Variant::OfText(u"Others"); };
  const Variant result =
      Call(u"MultiDataColString", {ObjectArgument(objects.Get()), Reference(variable)});
  EXPECT_EQ(kOneBlock, TextOf(result.Get()));
  EXPECT_EQ(u"Others", TextOf(variable.Get()));
}

TEST_F(ArgumentTest, TypedVariablesMayChangeAsWell) {
  const auto record = NewTitle(u"Alpha", u"1");
  IDispatch* objects = Collected({record.Get()}).As<IDispatch>().Detach();
  BSTR name = NewBstr(u"Items");
  record->operator[](u"Title").whenRead = [&] {
    SysReAllocString(&name, L"Others");
    std::exchange(objects, nullptr)->Release();
  };
  BSTR result = nullptr;
  EXPECT_EQ(S_OK, Operations().MultiDataColString(&objects, &name, &result));
  EXPECT_EQ(kOneBlock, Taken(result));
  EXPECT_EQ(nullptr, objects);
  EXPECT_EQ(u"Others", Taken(name));
}

}  // namespace
}  // namespace brindlex::testing
