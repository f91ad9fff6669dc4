// The type library in the DLL: the binary contract, written out.

#include "tests/com/objects/type_text.h"

#include <gmock/gmock.h>

#include "server/classes/classes.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::Lt;

std::wstring TextOf(const Bstr& text) { return {text.Get(), SysStringLen(text.Get())}; }

class TypeLibraryTest : public ComTest {};

TEST_F(TypeLibraryTest, IsBrindlexInVersionOne) {
  const auto library = OwnTypeLibrary();
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(S_OK, library->GetLibAttr(&attributes));
  EXPECT_EQ(LIBID_Brindlex, attributes->guid);
  EXPECT_EQ(1, attributes->wMajorVerNum);
  EXPECT_EQ(0, attributes->wMinorVerNum);
  EXPECT_EQ(SYS_WIN32, attributes->syskind);
  library->ReleaseTLibAttr(attributes);

  Bstr name;
  Bstr help;
  ASSERT_EQ(S_OK, library->GetDocumentation(-1, name.Receive(), help.Receive(), nullptr, nullptr));
  EXPECT_EQ(L"Brindlex", TextOf(name));
  EXPECT_EQ(L"Brindlex 1.0 Type Library", TextOf(help));
}

TEST_F(TypeLibraryTest, DescribesTheClassesAndTheirInterfacesAndNothingElse) {
  const auto library = OwnTypeLibrary();
  std::vector<std::wstring> found;
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(S_OK, library->GetTypeInfo(index, type.Receive()));
    found.push_back(NameOf(*type.Get()));
  }
  std::vector<std::wstring> expected;
  for (const ClassDescription& description : Classes()) {
    expected.emplace_back(description.name);
    expected.push_back(std::wstring(L"_") + description.name);
  }
  EXPECT_THAT(found, ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(TypeLibraryTest, EveryClassIsCreatableAndHasItsDualInterfaceAsDefault) {
  const auto library = OwnTypeLibrary();
  for (const ClassDescription& description : Classes()) {
    SCOPED_TRACE(::testing::PrintToString(std::wstring(description.name)));
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(S_OK, library->GetTypeInfoOfGuid(description.classId, type.Receive()));
    EXPECT_EQ(description.name, NameOf(*type.Get()));
    const TypeAttributes attributes(*type.Get());
    EXPECT_EQ(TKIND_COCLASS, attributes->typekind);
    EXPECT_EQ(TYPEFLAG_FCANCREATE, attributes->wTypeFlags);
    ASSERT_EQ(1, attributes->cImplTypes);

    int flags = 0;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> byDefault;
    ASSERT_EQ(S_OK, type->GetImplTypeFlags(0, &flags));
    EXPECT_EQ(IMPLTYPEFLAG_FDEFAULT, flags);
    ASSERT_EQ(S_OK, type->GetRefTypeOfImplType(0, &reference));
    ASSERT_EQ(S_OK, type->GetRefTypeInfo(reference, byDefault.Receive()));
    EXPECT_EQ(std::wstring(L"_") + description.name, NameOf(*byDefault.Get()));
    EXPECT_EQ(description.interfaceId, TypeAttributes(*byDefault.Get())->guid);
  }
}

TEST_F(TypeLibraryTest, EveryInterfaceIsDualAndOfAutomationTypesOnly) {
  const auto library = OwnTypeLibrary();
  for (const ClassDescription& description : Classes()) {
    SCOPED_TRACE(::testing::PrintToString(std::wstring(description.name)));
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(S_OK, library->GetTypeInfoOfGuid(description.interfaceId, type.Receive()));
    const TypeAttributes attributes(*type.Get());
    EXPECT_EQ(TKIND_DISPATCH, attributes->typekind);
    EXPECT_EQ(TYPEFLAG_FDUAL, attributes->wTypeFlags & TYPEFLAG_FDUAL);
    const auto vtable = VtableTypeOf(description.interfaceId);
    const TypeAttributes vtableAttributes(*vtable.Get());
    EXPECT_EQ(TKIND_INTERFACE, vtableAttributes->typekind);
    // The half for late binding never has the flag for automation types.
    EXPECT_EQ(TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE,
              vtableAttributes->wTypeFlags);
    // IDispatch takes the first seven places.
    EXPECT_EQ(7 * sizeof(void*),
              static_cast<std::size_t>(FunctionDescription(*vtable.Get(), 0)->oVft));
  }
}

TEST_F(TypeLibraryTest, EveryTypeAndEveryMemberHasAHelpText) {
  const auto library = OwnTypeLibrary();
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    Bstr help;
    ASSERT_EQ(S_OK, library->GetDocumentation(static_cast<int>(index), nullptr, help.Receive(),
                                              nullptr, nullptr));
    EXPECT_FALSE(help.View().empty()) << "type " << index;
  }
  for (const ClassDescription& description : Classes()) {
    EXPECT_THAT(FunctionsWithoutHelp(*VtableTypeOf(description.interfaceId).Get()), IsEmpty());
  }
}

/// The help context of each function, in the order of the vtable.
std::vector<DWORD> ContextsOf(ITypeInfo& type) {
  std::vector<DWORD> contexts;
  const TypeAttributes attributes(type);
  for (UINT index = 0; index < attributes->cFuncs; ++index) {
    const FunctionDescription function(type, index);
    DWORD context = 0;
    type.GetDocumentation(function->memid, nullptr, nullptr, &context, nullptr);
    contexts.push_back(context);
  }
  return contexts;
}

TEST_F(TypeLibraryTest, EveryClassAndEveryMemberHasAHelpContextOfTheHelpFile) {
  const auto library = OwnTypeLibrary();
  Bstr file;
  ASSERT_EQ(S_OK, library->GetDocumentation(-1, nullptr, nullptr, nullptr, file.Receive()));
  EXPECT_TRUE(file.View().ends_with(L"Brindlex.chm")) << file.Get();
  DWORD first = 0;
  for (const ClassDescription& description : Classes()) {
    first += 1000;
    const auto type = VtableTypeOf(description.interfaceId);
    DWORD context = 0;
    EXPECT_EQ(S_OK, type->GetDocumentation(MEMBERID_NIL, nullptr, nullptr, &context, nullptr));
    EXPECT_EQ(first, context) << "the contexts of the classes count by thousands";
    EXPECT_THAT(ContextsOf(*type.Get()), Each(AllOf(Gt(first), Lt(first + 1000))));
  }
}

struct Contract {
  const char* name;
  REFIID interfaceId;
  std::vector<std::wstring> declarations;
};

const Contract kContracts[] = {
    {"clsCollection",
     IID__clsCollection,
     {
         L"0 get Item([in] VARIANT Index) VARIANT",
         L"1 call Add([in] VARIANT Item, [in, optional] VARIANT Key,"
         L" [in, optional] VARIANT Before, [in, optional] VARIANT After)",
         L"2 get Count() long",
         L"3 call Remove([in] VARIANT Index)",
         L"-4 get _NewEnum() IUnknown* restricted",
     }},
    {"clsTextData",
     IID__clsTextData,
     {
         L"1 get DataString() BSTR",
         L"1 put DataString([in] BSTR)",
         L"2 get Name() BSTR",
         L"2 put Name([in] BSTR)",
         L"3 call GetMemberNames() _clsCollection*",
     }},
    {"clsCreateTextData",
     IID__clsCreateTextData,
     {
         L"1 call GetNewObject() _clsTextData*",
     }},
    {"clsCollectionSaveRestore",
     IID__clsCollectionSaveRestore,
     {
         L"1 call GetMemberNamesLate([in] IDispatch* MyObj) _clsCollection*",
         L"2 call FieldNamesCollection([in] BSTR AsDelimitedString,"
         L" [in, optional] VARIANT RecordEndMarker, [in, optional] VARIANT FieldEndMarker)"
         L" _clsCollection*",
         L"3 call ItemExists([in] IDispatch* MyCol, [in] BSTR MyKey) VARIANT_BOOL",
         L"4 call AsDelimitedToCollection([in] BSTR SavedInfo, [in] IDispatch* CreateObject,"
         L" [in, optional] VARIANT RecordEndMarker, [in, optional] VARIANT FieldEndMarker,"
         L" [in, optional] VARIANT KeyProperty) _clsCollection*",
         L"5 call GetObjectFromString([in] BSTR InputString, [in] IDispatch* ObjectSample)"
         L" IDispatch*",
         L"6 call AsDelimitedFromObject([in] IDispatch* MyObj) BSTR",
         L"7 call WorkingCol([in] BSTR CollectionName, [in] IDispatch* MyCreator,"
         L" [in, optional] VARIANT WorkingColKey) _clsCollection*",
         L"8 call MultiDataColString([in, out] IDispatch** NewCol, [in, out] BSTR* Name) BSTR",
         L"9 call AsDelimitedFromCollection([in] IDispatch* MyObjects,"
         L" [in, optional] VARIANT RecordEndMarker, [in, optional] VARIANT FieldEndMarker,"
         L" [in, optional] VARIANT CollectionName) BSTR",
         L"10 get MultiDataString() BSTR",
         L"10 put MultiDataString([in] BSTR)",
         L"11 get RefuseMarkers() VARIANT_BOOL",
         L"11 put RefuseMarkers([in] VARIANT_BOOL)",
     }},
    {"clsEnvironment",
     IID__clsEnvironment,
     {
         L"1 call GetOsName() BSTR",
         L"2 call IsWindowsVista() VARIANT_BOOL",
         L"3 call FindSystemFolder([in] long csidl) BSTR",
         L"4 get ReportListener() IDispatch*",
         L"4 putref ReportListener([in] IDispatch*)",
     }},
    {"clsAppFiles",
     IID__clsAppFiles,
     {
         L"1 call StartUp([in] IDispatch* HostObject, [in] BSTR AppFolderName,"
         L" [in] BSTR CompanyFolderName)",
         L"2 call GetWinSysDirFolder() IDispatch*",
         L"3 call EnsureFolder([in] BSTR path) VARIANT_BOOL",
         L"4 call SettingsFolderAllUsers([in, out] BSTR* companyFolder) BSTR",
         L"5 call SaveTextFile([in] BSTR path, [in] BSTR text, [in] VARIANT_BOOL quietIfDenied)"
         L" VARIANT_BOOL",
         L"6 call ReadTextFile([in] BSTR path, [in] VARIANT_BOOL quietIfMissing) BSTR",
         L"7 call FileNameFromPath([in] BSTR path) BSTR",
         L"8 call CopyFileKeepAttributes([in] BSTR source, [in] BSTR destination)",
         L"9 call SaveTextFileSafely([in] BSTR path, [in] BSTR text,"
         L" [in] VARIANT_BOOL quietIfDenied) VARIANT_BOOL",
     }},
    {"clsBases",
     IID__clsBases,
     {
         L"1 call ConvertBase([in] VARIANT Number, [in] long FromBase, [in] long ToBase,"
         L" [in, out, optional] long* MaxFractionDigits = long -1,"
         L" [in, out, optional] double* Tolerance = double 1e-27,"
         L" [in, out, optional] long* GroupSize = long 0) VARIANT",
         L"2 call ConvertDec2Base([in] VARIANT Number, [in] long Base,"
         L" [in, out, optional] long* MaxFractionDigits = long -1,"
         L" [in, out, optional] double* Tolerance = double 1e-27,"
         L" [in, out, optional] long* GroupSize = long 0) BSTR",
         // A type library has each name in one letter case only, here that of an earlier class.
         L"3 call ConvertBase2Dec([in] BSTR text, [in] long Base) double",
         L"4 call ConvertDigit([in] long Digit, [in] long Base) BSTR",
         L"5 call DeconvertDigit([in] BSTR DigitText, [in] long Base) long",
     }},
};

class ContractTest : public ComTest, public ::testing::WithParamInterface<Contract> {};

TEST_P(ContractTest, DeclaresItsMembersAsReleased) {
  EXPECT_THAT(DeclarationsOf(*VtableTypeOf(GetParam().interfaceId).Get()),
              ElementsAreArray(GetParam().declarations));
}

INSTANTIATE_TEST_SUITE_P(Interfaces, ContractTest, ::testing::ValuesIn(kContracts),
                         [](const auto& info) { return info.param.name; });

TEST_F(TypeLibraryTest, EveryInterfaceHasItsContract) {
  EXPECT_EQ(Classes().size(), std::size(kContracts));
}

}  // namespace
}  // namespace brindlex::testing
