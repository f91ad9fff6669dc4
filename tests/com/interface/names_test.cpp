// The names of members and arguments, as late-bound hosts look them up.

#include <gmock/gmock.h>

#include "server/classes/classes.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/type_text.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// The hand-written tables of names against the type library.
class NamesTest : public ComTest {
 protected:
  ComPtr<IDispatch> NewObject(const ClassDescription& description) const {
    ComPtr<IClassFactory> factory;
    ComPtr<IDispatch> object;
    EXPECT_EQ(S_OK,
              Dll().GetClassObject(description.classId, IID_IClassFactory, factory.ReceiveVoid()));
    EXPECT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IDispatch, object.ReceiveVoid()));
    return object;
  }
};

TEST_F(NamesTest, LateBoundHostsFindTheMembersOfTheTypeLibrary) {
  for (const ClassDescription& description : Classes()) {
    const auto object = NewObject(description);
    const auto type = VtableTypeOf(description.interfaceId);
    for (UINT index = 0; index < TypeAttributes(*type.Get())->cFuncs; ++index) {
      const FunctionDescription function(*type.Get(), index);
      auto names = NamesOf(*type.Get(), function);
      // The names of results are the type library's alone.
      std::vector<DISPID> expected = {function->memid};
      for (DISPID position = 0; position < function->cParams; ++position) {
        const USHORT flags = function->lprgelemdescParam[position].paramdesc.wParamFlags;
        if ((flags & PARAMFLAG_FRETVAL) == 0 && names.size() > 1) expected.push_back(position);
      }
      names.resize(expected.size());
      EXPECT_THAT(IdsOf(*object.Get(), names), ElementsAreArray(expected));
    }
  }
}

TEST_F(NamesTest, AnUnknownMemberHasNoIdAndItsArgumentsNeither) {
  const auto collection = NewCollection();
  wchar_t unknown[] = L"Itemize";
  wchar_t index[] = L"Index";
  LPOLESTR names[] = {unknown, index};
  DISPID ids[] = {7, 7};
  EXPECT_EQ(DISP_E_UNKNOWNNAME,
            collection->GetIDsOfNames(IID_NULL, names, 2, LOCALE_USER_DEFAULT, ids));
  EXPECT_THAT(ids, ElementsAre(DISPID_UNKNOWN, DISPID_UNKNOWN));
}

TEST_F(NamesTest, AnUnknownArgumentLeavesTheOthersTheirIds) {
  const auto collection = NewCollection();
  wchar_t add[] = L"Add";
  wchar_t unknown[] = L"Behind";
  wchar_t after[] = L"After";
  LPOLESTR names[] = {add, unknown, after};
  DISPID ids[] = {7, 7, 7};
  EXPECT_EQ(DISP_E_UNKNOWNNAME,
            collection->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids));
  EXPECT_THAT(ids, ElementsAre(1, DISPID_UNKNOWN, 3));
}

TEST_F(NamesTest, AreFoundInEveryLocale) {
  const auto collection = NewCollection();
  wchar_t item[] = L"\x0131tem";  // a dotless i is another letter, in Turkey too
  wchar_t count[] = L"COUNT";
  LPOLESTR itemName = item;
  LPOLESTR countName = count;
  for (const LCID locale : {LOCALE_NEUTRAL, 0x041FUL, 0x0411UL, 0xFFFFUL}) {
    DISPID id = 7;
    EXPECT_EQ(DISP_E_UNKNOWNNAME, collection->GetIDsOfNames(IID_NULL, &itemName, 1, locale, &id));
    EXPECT_EQ(DISPID_UNKNOWN, id);
    EXPECT_EQ(S_OK, collection->GetIDsOfNames(IID_NULL, &countName, 1, locale, &id));
    EXPECT_EQ(2, id);
  }
}

TEST_F(NamesTest, AWrongCallIsRefused) {
  const auto collection = NewCollection();
  wchar_t count[] = L"Count";
  LPOLESTR name = count;
  DISPID id = 7;
  EXPECT_EQ(DISP_E_UNKNOWNINTERFACE,
            collection->GetIDsOfNames(IID_IDispatch, &name, 1, LOCALE_USER_DEFAULT, &id));
  EXPECT_EQ(E_INVALIDARG,
            collection->GetIDsOfNames(IID_NULL, nullptr, 1, LOCALE_USER_DEFAULT, &id));
  EXPECT_EQ(E_INVALIDARG,
            collection->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, nullptr));
  EXPECT_EQ(E_INVALIDARG, collection->GetIDsOfNames(IID_NULL, &name, 0, LOCALE_USER_DEFAULT, &id));
}

}  // namespace
}  // namespace brindlex::testing
