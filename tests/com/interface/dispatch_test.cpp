// Every member as late-bound hosts reach it: each flag form, each way to hand an argument over,
// names in any letter case.

#include <gmock/gmock.h>

#include <cwctype>
#include <functional>

#include "server/classes/classes.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/type_text.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

constexpr TextView kRecordText = u"DataString\u00A5Name\u00A5\u0152d\u00A5n\u00A5\u0152";
constexpr TextView kSeveralText =
    u"DataString\u00A5Name\u00A5\u0152"
    u"DataString\u00BBName\u00BB\u0160d\u00BBn\u00BB\u0160\u00A5n\u00A5\u0152";

/// One object of each class: a record "n" with the data "d", alone in a collection under "k".
struct World {
  explicit World(const Component& component)
      : collection(component.New<_clsCollection, ::clsCollection>()),
        record(component.New<_clsTextData, ::clsTextData>()),
        creator(component.New<_clsCreateTextData, ::clsCreateTextData>()),
        saveRestore(component.New<_clsCollectionSaveRestore, ::clsCollectionSaveRestore>()),
        environment(component.New<_clsEnvironment, ::clsEnvironment>()),
        appFiles(component.New<_clsAppFiles, ::clsAppFiles>()),
        bases(component.New<_clsBases, ::clsBases>()) {
    EXPECT_EQ(S_OK, record->put_Name(Bstr(u"n").Get()));
    EXPECT_EQ(S_OK, record->put_DataString(Bstr(u"d").Get()));
    EXPECT_EQ(S_OK, collection->Add(Variant::OfObject(record.Get()).Get(), Variant(u"k").Get(),
                                    Missing(), Missing()));
  }

  void KeepSeveral() const {
    EXPECT_EQ(S_OK, saveRestore->put_MultiDataString(Bstr(kSeveralText).Get()));
  }

  ComPtr<_clsCollection> collection;
  ComPtr<_clsTextData> record;
  ComPtr<_clsCreateTextData> creator;
  ComPtr<_clsCollectionSaveRestore> saveRestore;
  ComPtr<_clsEnvironment> environment;
  ComPtr<_clsAppFiles> appFiles;
  ComPtr<_clsBases> bases;
};

template <class... Values>
std::vector<Variant> Arguments(Values&&... values) {
  std::vector<Variant> arguments;
  (arguments.push_back(std::forward<Values>(values)), ...);
  return arguments;
}

Variant AsValue(const ComPtr<_clsCollection>& object) { return Variant::OfObject(object.Get()); }
Variant AsValue(const ComPtr<_clsTextData>& object) { return Variant::OfObject(object.Get()); }
Variant AsValue(const ComPtr<_clsCreateTextData>& object) {
  return Variant::OfObject(object.Get());
}

Variant True() {
  Variant made;
  made.Get().vt = VT_BOOL;
  made.Get().boolVal = VARIANT_TRUE;
  return made;
}

/// A call of one member, and what it yields.
struct Row {
  const char* title;
  IDispatch* (*object)(World& world);
  std::wstring member;
  /// All that the member has.
  std::vector<std::wstring> parameters;
  /// Those that are given, in written order.
  std::vector<Variant> (*arguments)(World& world);
  TextView result;
};

IDispatch* CollectionOf(World& world) { return world.collection.Get(); }
IDispatch* RecordOf(World& world) { return world.record.Get(); }
IDispatch* CreatorOf(World& world) { return world.creator.Get(); }
IDispatch* SaveRestoreOf(World& world) { return world.saveRestore.Get(); }
IDispatch* EnvironmentOf(World& world) { return world.environment.Get(); }
IDispatch* AppFilesOf(World& world) { return world.appFiles.Get(); }
IDispatch* BasesOf(World& world) { return world.bases.Get(); }
IDispatch* SaveRestoreWithSeveral(World& world) {
  world.KeepSeveral();
  return world.saveRestore.Get();
}

std::vector<Variant> NoArguments(World&) { return {}; }

const std::vector<std::wstring> kAddParameters = {L"Item", L"Key", L"Before", L"After"};
const std::vector<std::wstring> kToCollectionParameters = {
    L"SavedInfo", L"CreateObject", L"RecordEndMarker", L"FieldEndMarker", L"KeyProperty"};
const std::vector<std::wstring> kFromCollectionParameters = {L"MyObjects", L"RecordEndMarker",
                                                             L"FieldEndMarker", L"CollectionName"};

const std::vector<std::wstring> kConvertBaseParameters = {
    L"Number", L"FromBase", L"ToBase", L"MaxFractionDigits", L"Tolerance", L"GroupSize"};
const std::vector<std::wstring> kConvertDec2BaseParameters = {
    L"Number", L"Base", L"MaxFractionDigits", L"Tolerance", L"GroupSize"};

const Row kRows[] = {
    {"ItemByKey",
     CollectionOf,
     L"Item",
     {L"Index"},
     [](World&) { return Arguments(Variant(u"K")); },
     u"{d|n}"},
    {"ItemByPosition",
     CollectionOf,
     L"Item",
     {L"Index"},
     [](World&) { return Arguments(OfLong(1)); },
     u"{d|n}"},
    {"Add", CollectionOf, L"Add", kAddParameters, [](World&) { return Arguments(Variant(u"new")); },
     u"Empty"},
    {"AddWithKey", CollectionOf, L"Add", kAddParameters,
     [](World&) { return Arguments(Variant(u"new"), Variant(u"key")); }, u"Empty"},
    {"AddBefore", CollectionOf, L"Add", kAddParameters,
     [](World&) { return Arguments(Variant(u"new"), Variant(u"key"), OfLong(1)); }, u"Empty"},
    {"Count", CollectionOf, L"Count", {}, NoArguments, u"long 1"},
    {"Remove",
     CollectionOf,
     L"Remove",
     {L"Index"},
     [](World&) { return Arguments(Variant(u"k")); },
     u"Empty"},
    {"NewEnum", CollectionOf, L"_NewEnum", {}, NoArguments, u"enumerator"},
    {"DataString", RecordOf, L"DataString", {}, NoArguments, u"text d"},
    {"Name", RecordOf, L"Name", {}, NoArguments, u"text n"},
    {"GetMemberNames",
     RecordOf,
     L"GetMemberNames",
     {},
     NoArguments,
     u"[text DataString, text Name]"},
    {"GetNewObject", CreatorOf, L"GetNewObject", {}, NoArguments, u"{|}"},
    {"GetMemberNamesLate",
     SaveRestoreOf,
     L"GetMemberNamesLate",
     {L"MyObj"},
     [](World& world) { return Arguments(AsValue(world.record)); },
     u"[text DataString, text Name]"},
    {"FieldNamesCollection",
     SaveRestoreOf,
     L"FieldNamesCollection",
     {L"AsDelimitedString", L"RecordEndMarker", L"FieldEndMarker"},
     [](World&) { return Arguments(Variant(u"One\u00A5Two\u00A5\u0152")); },
     u"[text One, text Two]"},
    {"FieldNamesCollectionWithMarkers",
     SaveRestoreOf,
     L"FieldNamesCollection",
     {L"AsDelimitedString", L"RecordEndMarker", L"FieldEndMarker"},
     [](World&) { return Arguments(Variant(u"One,Two,;"), Variant(u";"), Variant(u",")); },
     u"[text One, text Two]"},
    {"ItemExists",
     SaveRestoreOf,
     L"ItemExists",
     {L"MyCol", L"MyKey"},
     [](World& world) {
       ComPtr<_clsCollection> names;
       EXPECT_EQ(S_OK, world.record->GetMemberNames(names.Receive()));
       return Arguments(AsValue(names), Variant(u"NAME"));
     },
     u"True"},
    {"ItemExistsNot",
     SaveRestoreOf,
     L"ItemExists",
     {L"MyCol", L"MyKey"},
     [](World& world) { return Arguments(AsValue(world.collection), Variant(u"absent")); },
     u"False"},
    {"AsDelimitedToCollection", SaveRestoreOf, L"AsDelimitedToCollection", kToCollectionParameters,
     [](World& world) { return Arguments(Variant(kRecordText), AsValue(world.creator)); },
     u"[{d|n}]"},
    {"AsDelimitedToCollectionWithMarkers", SaveRestoreOf, L"AsDelimitedToCollection",
     kToCollectionParameters,
     [](World& world) {
       return Arguments(Variant(u"Name,;x,;y,;"), AsValue(world.creator), Variant(u";"),
                        Variant(u","), Variant(u"Name"));
     },
     u"[{|x}, {|y}]"},
    {"GetObjectFromString",
     SaveRestoreOf,
     L"GetObjectFromString",
     {L"InputString", L"ObjectSample"},
     [](World& world) { return Arguments(Variant(kRecordText), AsValue(world.creator)); },
     u"{d|n}"},
    {"GetObjectFromStringOfNothing",
     SaveRestoreOf,
     L"GetObjectFromString",
     {L"InputString", L"ObjectSample"},
     [](World& world) { return Arguments(Variant(u""), AsValue(world.creator)); },
     u"Nothing"},
    {"AsDelimitedFromObject",
     SaveRestoreOf,
     L"AsDelimitedFromObject",
     {L"MyObj"},
     [](World& world) { return Arguments(AsValue(world.record)); },
     u"text DataString\u00A5Name\u00A5\u0152d\u00A5n\u00A5\u0152"},
    {"WorkingCol",
     SaveRestoreWithSeveral,
     L"WorkingCol",
     {L"CollectionName", L"MyCreator", L"WorkingColKey"},
     [](World& world) { return Arguments(Variant(u"N"), AsValue(world.creator)); },
     u"[{d|n}]"},
    {"WorkingColOfNoSuchName",
     SaveRestoreWithSeveral,
     L"WorkingCol",
     {L"CollectionName", L"MyCreator", L"WorkingColKey"},
     [](World& world) {
       return Arguments(Variant(u"absent"), AsValue(world.creator), Variant(u"Name"));
     },
     u"Nothing"},
    {"MultiDataColString",
     SaveRestoreOf,
     L"MultiDataColString",
     {L"NewCol", L"Name"},
     [](World& world) { return Arguments(AsValue(world.collection), Variant(u"n")); },
     u"text DataString\u00A5Name\u00A5\u0152"
     u"DataString\u00BBName\u00BB\u0160d\u00BBn\u00BB\u0160\u00A5n\u00A5\u0152"},
    {"AsDelimitedFromCollection", SaveRestoreOf, L"AsDelimitedFromCollection",
     kFromCollectionParameters, [](World& world) { return Arguments(AsValue(world.collection)); },
     u"text DataString\u00A5Name\u00A5\u0152d\u00A5n\u00A5\u0152"},
    {"AsDelimitedFromCollectionWithMarkers", SaveRestoreOf, L"AsDelimitedFromCollection",
     kFromCollectionParameters,
     [](World& world) {
       return Arguments(AsValue(world.collection), Variant(u";"), Variant(u","), Variant(u"all"));
     },
     u"text DataString,Name,;d,n,;"},
    {"RefuseMarkers", SaveRestoreOf, L"RefuseMarkers", {}, NoArguments, u"False"},
    {"StoreCollection",
     SaveRestoreOf,
     L"StoreCollection",
     {L"NewCol", L"Name"},
     [](World& world) { return Arguments(AsValue(world.collection), Variant(u"n")); },
     u"True"},
    {"RemoveCollection",
     SaveRestoreWithSeveral,
     L"RemoveCollection",
     {L"Name"},
     [](World&) { return Arguments(Variant(u"absent")); },
     u"False"},
    {"CollectionNames", SaveRestoreOf, L"CollectionNames", {}, NoArguments, u"[]"},
    {"MultiDataString",
     SaveRestoreWithSeveral,
     L"MultiDataString",
     {},
     NoArguments,
     u"text DataString\u00A5Name\u00A5\u0152"
     u"DataString\u00BBName\u00BB\u0160d\u00BBn\u00BB\u0160\u00A5n\u00A5\u0152"},
    {"GetOsName", EnvironmentOf, L"GetOsName", {}, NoArguments, u"text Windows Vista"},
    {"IsWindowsVista", EnvironmentOf, L"IsWindowsVista", {}, NoArguments, u"True"},
    {"FindSystemFolderOfNoFolder",
     EnvironmentOf,
     L"FindSystemFolder",
     {L"csidl"},
     [](World&) { return Arguments(OfLong(9999)); },
     u"text "},
    {"EnsureFolder",
     AppFilesOf,
     L"EnsureFolder",
     {L"path"},
     [](World&) { return Arguments(Variant(u"C:\\windows")); },
     u"True"},
    {"SettingsFolderAllUsersWithoutAHost",
     AppFilesOf,
     L"SettingsFolderAllUsers",
     {L"companyFolder"},
     [](World&) { return Arguments(Variant(u"as passed")); },
     u"text "},
    {"ReportListener", EnvironmentOf, L"ReportListener", {}, NoArguments, u"Nothing"},
    {"SaveTextFileOverAFolder",
     AppFilesOf,
     L"SaveTextFile",
     {L"path", L"text", L"quietIfDenied"},
     [](World&) { return Arguments(Variant(u"C:\\windows"), Variant(u"text"), True()); },
     u"False"},
    {"SaveTextFileSafelyOverAFolder",
     AppFilesOf,
     L"SaveTextFileSafely",
     {L"path", L"text", L"quietIfDenied"},
     [](World&) { return Arguments(Variant(u"C:\\windows"), Variant(u"text"), True()); },
     u"False"},
    {"ReadTextFileThatIsMissing",
     AppFilesOf,
     L"ReadTextFile",
     {L"path", L"quietIfMissing"},
     [](World&) { return Arguments(Variant(u"C:\\windows\\no such file"), True()); },
     u"text "},
    {"FileNameFromPath",
     AppFilesOf,
     L"FileNameFromPath",
     {L"path"},
     [](World&) { return Arguments(Variant(u"C:\\Data\\notes.txt")); },
     u"text notes.txt"},
    {"ConvertBase", BasesOf, L"ConvertBase", kConvertBaseParameters,
     [](World&) { return Arguments(OfLong(255), OfLong(10), OfLong(16)); }, u"text FF"},
    {"ConvertBaseToDecimal", BasesOf, L"ConvertBase", kConvertBaseParameters,
     [](World&) { return Arguments(Variant(u"-1A.8"), OfLong(16), OfLong(10)); }, u"double -26.5"},
    {"ConvertBaseWithAllArguments", BasesOf, L"ConvertBase", kConvertBaseParameters,
     [](World&) {
       return Arguments(OfDouble(10.1), OfLong(10), OfLong(16), OfLong(3), OfDouble(0.001),
                        OfLong(4));
     },
     u"text 000A.199"},
    {"ConvertDec2Base", BasesOf, L"ConvertDec2Base", kConvertDec2BaseParameters,
     [](World&) { return Arguments(OfDouble(2.75), OfLong(2)); }, u"text 10.11"},
    {"ConvertDec2BaseWithAllArguments", BasesOf, L"ConvertDec2Base", kConvertDec2BaseParameters,
     [](World&) { return Arguments(Variant(u"5"), OfLong(2), OfLong(0), OfDouble(0), OfLong(4)); },
     u"text 0101"},
    {"ConvertBase2Dec",
     BasesOf,
     L"ConvertBase2Dec",
     {L"Text", L"Base"},
     [](World&) { return Arguments(Variant(u"ZZ"), OfLong(32)); },
     u"double 1023"},
    {"ConvertDigit",
     BasesOf,
     L"ConvertDigit",
     {L"Digit", L"Base"},
     [](World&) { return Arguments(OfLong(5), OfLong(60)); },
     u"text 05:"},
    {"DeconvertDigit",
     BasesOf,
     L"DeconvertDigit",
     {L"DigitText", L"Base"},
     [](World&) { return Arguments(Variant(u"B"), OfLong(30)); },
     u"long 9"},
};

class MemberTest : public ComTest, public ::testing::WithParamInterface<Row> {
 protected:
  /// Puts arguments into a call; `ids` are those of the member and its parameters.
  using Handing = std::function<void(LateCall& call, const std::vector<DISPID>& ids,
                                     const std::vector<Variant>& arguments)>;

  /// Makes the row's call on new objects and compares what it yields. What was passed by reference
  /// is as it was.
  void ExpectResult(const std::vector<std::wstring>& names, WORD flags, const Handing& handOver) {
    World world(Dll());
    IDispatch* const object = GetParam().object(world);
    const std::vector<Variant> arguments = GetParam().arguments(world);
    std::vector<std::u16string> before;
    before.reserve(arguments.size());
    for (const Variant& argument : arguments) before.push_back(Shown(argument.Get()));
    const auto ids = IdsOf(*object, names);
    LateCall call(*object, ids.at(0));
    handOver(call, ids, arguments);
    EXPECT_EQ(S_OK, call.By(flags).Run());
    EXPECT_EQ(GetParam().result, Shown(call.Result()));
    if (GetParam().object == CollectionOf) return;
    std::vector<std::u16string> after;
    after.reserve(arguments.size());
    for (const Variant& argument : arguments) after.push_back(Shown(argument.Get()));
    EXPECT_EQ(before, after);
    EXPECT_EQ(0U, Boxes().Boxes().size());
  }

  static std::vector<std::wstring> Names() {
    std::vector<std::wstring> names = {GetParam().member};
    names.insert(names.end(), GetParam().parameters.begin(), GetParam().parameters.end());
    return names;
  }

  static void ByPlace(LateCall& call, const std::vector<DISPID>&,
                      const std::vector<Variant>& arguments) {
    for (const Variant& argument : arguments) call.With(argument.Get());
  }
};

constexpr WORD kFlagForms[] = {DISPATCH_METHOD, DISPATCH_PROPERTYGET,
                               DISPATCH_METHOD | DISPATCH_PROPERTYGET};

TEST_P(MemberTest, AnswersAsMethodAsPropertyAndAsBoth) {
  for (const WORD flags : kFlagForms) ExpectResult(Names(), flags, ByPlace);
}

TEST_P(MemberTest, IsFoundInAnyLetterCase) {
  for (wint_t (*const letterCase)(wint_t) : {std::towupper, std::towlower}) {
    auto names = Names();
    for (std::wstring& name : names) {
      for (wchar_t& letter : name) letter = letterCase(letter);
    }
    ExpectResult(names, DISPATCH_METHOD, ByPlace);
  }
}

TEST_P(MemberTest, TakesTypedVariables) {
  ExpectResult(Names(), DISPATCH_METHOD, [](auto& call, auto&, auto& arguments) {
    for (const Variant& argument : arguments) call.With(TypedReference(argument));
  });
}

TEST_P(MemberTest, TakesVariablesOfScripts) {
  ExpectResult(Names(), DISPATCH_METHOD, [](auto& call, auto&, auto& arguments) {
    for (const Variant& argument : arguments) call.With(VariableReference(argument));
  });
}

TEST_P(MemberTest, TakesVariablesOfScriptsThatReferToOthers) {
  VARIANT holders[8];
  ExpectResult(Names(), DISPATCH_METHOD, [&](auto& call, auto&, auto& arguments) {
    VARIANT* holder = holders;
    for (const Variant& argument : arguments) call.With(NestedReference(argument, *holder++));
  });
}

TEST_P(MemberTest, TakesNamedArgumentsInWrittenOrder) {
  ExpectResult(Names(), DISPATCH_METHOD, [](auto& call, auto& ids, auto& arguments) {
    for (std::size_t index = 0; index < arguments.size(); ++index) {
      call.WithNamed(ids[index + 1], arguments[index].Get());
    }
  });
}

TEST_P(MemberTest, TakesNamedArgumentsInAnyOrder) {
  ExpectResult(Names(), DISPATCH_METHOD, [](auto& call, auto& ids, auto& arguments) {
    for (std::size_t index = arguments.size(); index > 0; --index) {
      call.WithNamed(ids[index], arguments[index - 1].Get());
    }
  });
}

TEST_P(MemberTest, TakesNamedArgumentsAfterPositionalOnes) {
  ExpectResult(Names(), DISPATCH_METHOD, [](auto& call, auto& ids, auto& arguments) {
    for (std::size_t index = 0; index < arguments.size(); ++index) {
      if (index == 0) {
        call.With(arguments[index].Get());
      } else {
        call.WithNamed(ids[index + 1], TypedReference(arguments[index]));
      }
    }
  });
}

TEST_P(MemberTest, TakesTheMissingMarkerForWhatIsLeftOut) {
  const Variant marker(Missing());
  for (const bool byReference : {false, true}) {
    ExpectResult(Names(), DISPATCH_METHOD, [&](auto& call, auto&, auto& arguments) {
      for (const Variant& argument : arguments) call.With(argument.Get());
      for (auto count = arguments.size(); count < GetParam().parameters.size(); ++count) {
        call.With(byReference ? VariableReference(marker) : marker.Get());
      }
    });
  }
}

TEST_P(MemberTest, DoesNotCareForTheLocale) {
  for (const LCID locale : {LOCALE_NEUTRAL, 0x0407UL, 0x0411UL, 0xFFFFUL}) {
    ExpectResult(Names(), DISPATCH_METHOD, [&](auto& call, auto& ids, auto& arguments) {
      ByPlace(call.In(locale), ids, arguments);
    });
  }
}

TEST_P(MemberTest, NeedsNoPlaceForTheResult) {
  World world(Dll());
  IDispatch* const object = GetParam().object(world);
  const std::vector<Variant> arguments = GetParam().arguments(world);
  std::vector<VARIANT> reversed;
  for (const Variant& argument : arguments) reversed.insert(reversed.begin(), argument.Get());
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  EXPECT_EQ(S_OK,
            object->Invoke(IdsOf(*object, {GetParam().member}).at(0), IID_NULL, LOCALE_USER_DEFAULT,
                           DISPATCH_METHOD, &params, nullptr, nullptr, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Members, MemberTest, ::testing::ValuesIn(kRows),
                         [](const auto& info) { return info.param.title; });

class MembersTest : public ComTest {};

TEST_F(MembersTest, EveryMemberHasARow) {
  std::vector<std::wstring> rows;
  for (const Row& row : kRows) rows.push_back(row.member);
  // What these do cannot be seen in their result; they have tests of their own.
  rows.insert(rows.end(), {L"StartUp", L"GetWinSysDirFolder", L"CopyFileKeepAttributes"});
  for (const ClassDescription& description : Classes()) {
    const auto type = VtableTypeOf(description.interfaceId);
    for (UINT index = 0; index < TypeAttributes(*type.Get())->cFuncs; ++index) {
      const auto names = NamesOf(*type.Get(), FunctionDescription(*type.Get(), index));
      EXPECT_THAT(rows, ::testing::Contains(names.at(0)));
    }
  }
}

}  // namespace
}  // namespace brindlex::testing
