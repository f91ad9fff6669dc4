// Properties set late bound, and the faults of calls that fit no member.

#include <cstring>

#include "tests/com/objects/late_call.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

constexpr WORD kPut = DISPATCH_PROPERTYPUT;

class PutTest : public ComTest {
 protected:
  ComPtr<_clsTextData> NewRecord() const { return Dll().New<_clsTextData, ::clsTextData>(); }

  static std::u16string NameOf(_clsTextData& record) {
    BSTR name = nullptr;
    EXPECT_EQ(S_OK, record.get_Name(&name));
    return Taken(name);
  }

  /// What the property holds once `value` has been put.
  std::u16string AfterPut(const VARIANT& value, LCID locale = LOCALE_USER_DEFAULT) const {
    const auto record = NewRecord();
    EXPECT_EQ(S_OK, LateCall(*record.Get(), L"Name").In(locale).Put(value));
    return NameOf(*record.Get());
  }
};

TEST_F(PutTest, TakesTheValueUnderTheNameThatIsMadeForIt) {
  EXPECT_EQ(u"new", AfterPut(Variant(u"new").Get()));
}

TEST_F(PutTest, TakesTheValueWithoutAName) {
  const auto record = NewRecord();
  const Variant value(u"new");
  EXPECT_EQ(S_OK, LateCall(*record.Get(), L"Name").By(kPut).With(value.Get()).Run());
  EXPECT_EQ(u"new", NameOf(*record.Get()));
}

TEST_F(PutTest, TakesTheValueUnderItsOwnName) {
  const auto record = NewRecord();
  const Variant value(u"new");
  LateCall call(*record.Get(), L"Name");
  EXPECT_EQ(S_OK, call.By(kPut).WithNamed(0, value.Get()).Run());
  EXPECT_EQ(u"new", NameOf(*record.Get()));
}

TEST_F(PutTest, TakesBothPutFlagsAtOnce) {
  const auto record = NewRecord();
  const Variant value(u"new");
  LateCall call(*record.Get(), L"Name");
  EXPECT_EQ(
      S_OK,
      call.By(kPut | DISPATCH_PROPERTYPUTREF).WithNamed(DISPID_PROPERTYPUT, value.Get()).Run());
  EXPECT_EQ(u"new", NameOf(*record.Get()));
}

TEST_F(PutTest, TakesReferences) {
  const Variant value(u"new");
  VARIANT holder;
  EXPECT_EQ(u"new", AfterPut(TypedReference(value)));
  EXPECT_EQ(u"new", AfterPut(VariableReference(value)));
  EXPECT_EQ(u"new", AfterPut(NestedReference(value, holder)));
  EXPECT_EQ(u"text new", Shown(value.Get()));
}

TEST_F(PutTest, TakesEveryUnitOfATextAndTheNullText) {
  const std::u16string units(u"a\0\xD800\r\n", 5);
  EXPECT_EQ(units, AfterPut(Variant(TextView(units)).Get()));
  VARIANT null;
  null.vt = VT_BSTR;
  null.bstrVal = nullptr;
  EXPECT_EQ(u"", AfterPut(null));
  null.vt = VT_BYREF | VT_BSTR;
  BSTR text = nullptr;
  null.pbstrVal = &text;
  EXPECT_EQ(u"", AfterPut(null));
}

TEST_F(PutTest, ConvertsWhatIsNoTextInTheUsersLocale) {
  VARIANT value;
  value.vt = VT_BOOL;
  value.boolVal = VARIANT_TRUE;
  EXPECT_EQ(u"True", AfterPut(value));
  value.vt = VT_EMPTY;
  EXPECT_EQ(u"", AfterPut(value));
  EXPECT_EQ(u"-12", AfterPut(OfLong(-12).Get()));

  value.vt = VT_R8;
  value.dblVal = 1.5;
  wchar_t point[4];
  ASSERT_NE(0, GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, point, 4));
  const std::u16string expected{u'1', static_cast<char16_t>(point[0]), u'5'};
  for (const LCID locale : {0x0409UL, 0x0407UL, 0xFFFFUL}) {
    EXPECT_EQ(expected, AfterPut(value, locale));
  }
}

TEST_F(PutTest, TakesAnObjectByItsDefaultProperty) {
  // A collection's is Item, which cannot be read without an index.
  const auto record = NewRecord();
  const Variant object = Variant::OfObject(NewCollection().Get());
  LateCall call(*record.Get(), L"Name");
  EXPECT_EQ(DISP_E_TYPEMISMATCH, call.Put(object.Get()));
  EXPECT_EQ(0U, call.WrongArgument());
  EXPECT_EQ(u"", NameOf(*record.Get()));
}

TEST_F(PutTest, YieldsNothing) {
  const auto record = NewRecord();
  const Variant value(u"new");
  LateCall call(*record.Get(), L"Name");
  EXPECT_EQ(S_OK, call.Put(value.Get()));
  EXPECT_EQ(u"Empty", Shown(call.Result()));
}

// ---- Faults ------------------------------------------------------------------------------------

constexpr UINT kNone = LateCall::kNoWrongArgument;

const Variant& Number() {
  static const Variant number = OfLong(1);
  return number;
}

VARIANT OfType(VARTYPE type) {
  VARIANT value{};
  value.vt = type;
  return value;
}

/// Takes over what `value` owns.
Variant Taking(const VARIANT& value) {
  Variant taken;
  taken.Get() = value;
  return taken;
}

/// A call that fits no member, on a collection or, `onSaveRestore`, on the operations. Its members
/// are in the order in which a row is read; what they take does not matter.
struct Fault {  // NOLINT(clang-analyzer-optin.performance.Padding)
  const char* title;
  bool onSaveRestore;
  DISPID member;
  WORD flags;
  void (*arguments)(LateCall& call, const VARIANT& collection);
  HRESULT status;
  UINT wrongArgument;
};

constexpr DISPID kItem = DISPID_VALUE;
constexpr DISPID kAdd = 1;
constexpr DISPID kCount = 2;
constexpr DISPID kRemove = 3;
constexpr DISPID kItemExists = 3;
constexpr DISPID kMultiDataString = 10;
constexpr WORD kCallFlag = DISPATCH_METHOD;
constexpr WORD kGetFlag = DISPATCH_PROPERTYGET;

void None(LateCall&, const VARIANT&) {}
void One(LateCall& call, const VARIANT&) { call.With(Number().Get()); }
void Two(LateCall& call, const VARIANT&) { call.With(Number().Get()).With(Number().Get()); }

const Fault kFaults[] = {
    {"UnknownMember", false, 4711, kCallFlag, None, DISP_E_MEMBERNOTFOUND, kNone},
    {"NoMember", false, DISPID_UNKNOWN, kCallFlag, None, DISP_E_MEMBERNOTFOUND, kNone},
    {"NoFlags", false, kCount, 0, None, DISP_E_MEMBERNOTFOUND, kNone},
    {"PutOfAReadOnlyProperty", false, kCount, kPut, One, DISP_E_MEMBERNOTFOUND, kNone},
    {"PutOfAMethod", false, kAdd, kPut, One, DISP_E_MEMBERNOTFOUND, kNone},
    {"PutOfAReference", true, kMultiDataString, DISPATCH_PROPERTYPUTREF, One, DISP_E_MEMBERNOTFOUND,
     kNone},
    {"OneArgumentForNone", false, kCount, kGetFlag, One, DISP_E_BADPARAMCOUNT, kNone},
    {"TwoArgumentsForOne", false, kItem, kGetFlag, Two, DISP_E_BADPARAMCOUNT, kNone},
    {"FiveArgumentsForFour", false, kAdd, kCallFlag,
     [](LateCall& call, const VARIANT& collection) {
       Two(call, collection);
       Two(call, collection);
       One(call, collection);
     },
     DISP_E_BADPARAMCOUNT, kNone},
    {"TwoValuesToPut", true, kMultiDataString, kPut, Two, DISP_E_BADPARAMCOUNT, kNone},
    {"NoValueToPut", true, kMultiDataString, kPut, None, DISP_E_BADPARAMCOUNT, kNone},
    {"NoArgumentForOne", false, kItem, kGetFlag, None, DISP_E_BADPARAMCOUNT, kNone},
    {"NoArgumentForAMethod", false, kRemove, kCallFlag, None, DISP_E_BADPARAMCOUNT, kNone},
    {"OneArgumentForTwo", true, kItemExists, kCallFlag, One, DISP_E_BADPARAMCOUNT, kNone},
    {"MarkerForARequiredArgument", false, kItem, kGetFlag,
     [](LateCall& call, const VARIANT&) { call.With(Missing()); }, DISP_E_PARAMNOTOPTIONAL, 0},
    {"MarkerForTheFirstOfTwo", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT&) { call.With(Missing()).With(Number().Get()); },
     DISP_E_PARAMNOTOPTIONAL, 1},
    {"MarkerForTheValueToPut", true, kMultiDataString, kPut,
     [](LateCall& call, const VARIANT&) { call.With(Missing()); }, DISP_E_PARAMNOTOPTIONAL, 0},
    {"RequiredArgumentLeftOut", false, kAdd, kCallFlag,
     [](LateCall& call, const VARIANT&) { call.WithNamed(1, Number().Get()); },
     DISP_E_PARAMNOTOPTIONAL, kNone},
    {"TextForAnObject", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT&) { call.WithOwned(Variant(u"text")).With(Number().Get()); },
     DISP_E_TYPEMISMATCH, 1},
    {"NumberForAnObjectByName", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT&) {
       call.WithNamed(1, Number().Get()).WithNamed(0, Number().Get());
     },
     DISP_E_TYPEMISMATCH, 1},
    {"EmptyForAnObject", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT&) { call.With(OfType(VT_EMPTY)).With(Number().Get()); },
     DISP_E_TYPEMISMATCH, 1},
    {"NullForAText", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT& collection) { call.With(collection).With(OfType(VT_NULL)); },
     DISP_E_TYPEMISMATCH, 0},
    {"NullToPut", true, kMultiDataString, kPut,
     [](LateCall& call, const VARIANT&) { call.With(OfType(VT_NULL)); }, DISP_E_TYPEMISMATCH, 0},
    {"ErrorForAText", true, kMultiDataString, kPut,
     [](LateCall& call, const VARIANT&) {
       VARIANT error = OfType(VT_ERROR);
       error.scode = E_FAIL;
       call.With(error);
     },
     DISP_E_TYPEMISMATCH, 0},
    {"ObjectWithoutAutomation", true, kItemExists, kCallFlag,
     [](LateCall& call, const VARIANT& collection) {
       VARIANT value = OfType(VT_UNKNOWN);
       static_cast<_clsCollection*>(collection.pdispVal)->get__NewEnum(&value.punkVal);
       call.WithOwned(Taking(value)).With(Number().Get());
     },
     DISP_E_TYPEMISMATCH, 1},
    {"ReferenceToNothing", false, kItem, kGetFlag,
     [](LateCall& call, const VARIANT&) { call.With(OfType(VT_BYREF | VT_EMPTY)); }, E_INVALIDARG,
     0},
    {"UnknownName", false, kItem, kGetFlag,
     [](LateCall& call, const VARIANT&) { call.WithNamed(17, Number().Get()); },
     DISP_E_PARAMNOTFOUND, 0},
    {"UnknownNameBesideAKnownOne", false, kAdd, kCallFlag,
     [](LateCall& call, const VARIANT&) {
       call.WithNamed(0, Number().Get()).WithNamed(DISPID_UNKNOWN, Number().Get());
     },
     DISP_E_PARAMNOTFOUND, 1},
    {"NameOfThePutValueInACall", false, kItem, kGetFlag,
     [](LateCall& call, const VARIANT&) { call.WithNamed(DISPID_PROPERTYPUT, Number().Get()); },
     DISP_E_PARAMNOTFOUND, 0},
    {"SameArgumentByPlaceAndByName", false, kAdd, kCallFlag,
     [](LateCall& call, const VARIANT&) { call.With(Number().Get()).WithNamed(0, Number().Get()); },
     DISP_E_BADPARAMCOUNT, 1},
    {"SameNameTwice", false, kAdd, kCallFlag,
     [](LateCall& call, const VARIANT&) {
       call.WithNamed(0, Number().Get()).WithNamed(0, Number().Get());
     },
     DISP_E_BADPARAMCOUNT, 1},
};

class FaultTest : public ComTest, public ::testing::WithParamInterface<Fault> {};

TEST_P(FaultTest, IsAnsweredWithItsStatus) {
  const Fault& fault = GetParam();
  const auto collection = NewCollection();
  const auto saveRestore = NewSaveRestore();
  const Variant given = Variant::OfObject(collection.Get());
  IDispatch* const object = fault.onSaveRestore ? static_cast<IDispatch*>(saveRestore.Get())
                                                : static_cast<IDispatch*>(collection.Get());
  LateCall call(*object, fault.member);
  fault.arguments(call, given.Get());
  EXPECT_EQ(fault.status, call.By(fault.flags).Run());
  EXPECT_EQ(fault.wrongArgument, call.WrongArgument());
  EXPECT_EQ(u"Empty", Shown(call.Result()));
  EXPECT_EQ(0, call.Exception().scode);
  long count = -1;
  EXPECT_EQ(S_OK, collection->get_Count(&count));
  EXPECT_EQ(0, count);
  EXPECT_EQ(0U, Boxes().Boxes().size());
}

INSTANTIATE_TEST_SUITE_P(Calls, FaultTest, ::testing::ValuesIn(kFaults),
                         [](const auto& info) { return info.param.title; });

class InvokeTest : public ComTest {
 protected:
  static HRESULT Invoke(IDispatch& object, DISPID member, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* exception = nullptr, UINT* wrongArgument = nullptr,
                        REFIID reserved = IID_NULL) {
    return object.Invoke(member, reserved, LOCALE_USER_DEFAULT, DISPATCH_METHOD, params, result,
                         exception, wrongArgument);
  }
};

TEST_F(InvokeTest, RefusesAnInterfaceThatIsNotNull) {
  const auto collection = NewCollection();
  DISPPARAMS none{};
  EXPECT_EQ(DISP_E_UNKNOWNINTERFACE,
            Invoke(*collection.Get(), kCount, &none, nullptr, nullptr, nullptr, IID_IDispatch));
}

TEST_F(InvokeTest, NeedsArgumentsToLookAt) {
  const auto collection = NewCollection();
  EXPECT_EQ(E_INVALIDARG, Invoke(*collection.Get(), kCount, nullptr, nullptr));
}

TEST_F(InvokeTest, RefusesMoreNamesThanArguments) {
  const auto collection = NewCollection();
  VARIANT index = Number().Get();
  DISPID names[] = {0, 1};
  DISPPARAMS params{&index, names, 1, 2};
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, Invoke(*collection.Get(), kItem, &params, nullptr));
}

TEST_F(InvokeTest, FaultsNeedNoPlaceForTheWrongArgument) {
  const auto saveRestore = NewSaveRestore();
  VARIANT arguments[] = {Number().Get(), Number().Get()};
  DISPPARAMS params{arguments, nullptr, 2, 0};
  EXPECT_EQ(DISP_E_TYPEMISMATCH, Invoke(*saveRestore.Get(), kItemExists, &params, nullptr));
}

TEST_F(InvokeTest, AFailingMemberReturnsItsErrorToTheCaller) {
  const auto collection = NewCollection();
  const Variant key(u"absent");
  LateCall call(*collection.Get(), L"Item");
  EXPECT_EQ(DISP_E_EXCEPTION, call.With(key.Get()).Run());
  EXPECT_EQ(static_cast<SCODE>(0x800A0005), call.Exception().scode);
  EXPECT_EQ(0, call.Exception().wCode);
  EXPECT_EQ(u"Brindlex", call.Source());
  EXPECT_EQ(u"Invalid procedure call or argument", call.Description());
  EXPECT_EQ(nullptr, call.Exception().bstrHelpFile);
  EXPECT_EQ(nullptr, call.Exception().pfnDeferredFillIn);
  EXPECT_EQ(u"Empty", Shown(call.Result()));
  // The caller has it now; the thread no longer does.
  ComPtr<IErrorInfo> left;
  EXPECT_EQ(S_FALSE, GetErrorInfo(0, left.Receive()));
}

TEST_F(InvokeTest, AFailingMemberNeedsNoPlaceForItsError) {
  const auto collection = NewCollection();
  VARIANT index = Number().Get();
  DISPPARAMS params{&index, nullptr, 1, 0};
  VARIANT result = Number().Get();
  EXPECT_EQ(DISP_E_EXCEPTION, Invoke(*collection.Get(), kItem, &params, &result));
  EXPECT_EQ(VT_EMPTY, result.vt);
}

TEST_F(InvokeTest, AnOldErrorOfTheThreadIsNotTakenForTheMembers) {
  const auto collection = NewCollection();
  const Variant key(u"absent");
  Variant entry;
  EXPECT_EQ(static_cast<HRESULT>(0x800A0005), collection->get_Item(key.Get(), entry.Receive()));
  LateCall call(*collection.Get(), L"Item");
  EXPECT_EQ(DISP_E_EXCEPTION, call.With(Number().Get()).Run());
  EXPECT_EQ(static_cast<SCODE>(0x800A0009), call.Exception().scode);
  EXPECT_EQ(u"Subscript out of range", call.Description());
}

TEST_F(InvokeTest, WhatTheResultHeldBeforeIsNotLookedAt) {
  const auto collection = NewCollection();
  DISPPARAMS none{};
  VARIANT result;
  std::memset(&result, 0xCD, sizeof result);
  EXPECT_EQ(S_OK, Invoke(*collection.Get(), kCount, &none, &result));
  EXPECT_EQ(u"long 0", Shown(result));
}

}  // namespace
}  // namespace brindlex::testing
