// The type library in the DLL beside what tests/com/interface/type_library.txt holds: that it fits
// the classes that the DLL creates, and what no text shows.

#include "tests/com/objects/type_text.h"

#include <gmock/gmock.h>

#include "server/classes/classes.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::Lt;

class TypeLibraryTest : public ComTest {};

TEST_F(TypeLibraryTest, IsFor32BitSystems) {
  const auto library = OwnTypeLibrary();
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(S_OK, library->GetLibAttr(&attributes));
  EXPECT_EQ(LIBID_Brindlex, attributes->guid);
  EXPECT_EQ(SYS_WIN32, attributes->syskind);
  library->ReleaseTLibAttr(attributes);
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
    // IDispatch has the first seven entries.
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

}  // namespace
}  // namespace brindlex::testing
