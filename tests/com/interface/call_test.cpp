// What a call through IDispatch does with arguments that a member replaces, whatever member that
// is.

#include "server/com/call.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

/// Next adds one to each number, and fails when the third argument is set. Clear replaces an object
/// by Nothing.
constexpr Member kMembers[] = {
    {L"Next",
     1,
     DISPATCH_METHOD,
     [](IDispatch&, Call& call) -> HRESULT {
       long* const whole = call.LongVariableAt(0, 10);
       double* const number = call.DoubleVariableAt(1, 20);
       const bool fails = call.FlagAt(2) != VARIANT_FALSE;
       *call.ResultLong() = *whole;
       ++*whole;
       ++*number;
       return fails ? E_FAIL : S_OK;
     },
     {Optional(L"Whole"), Optional(L"Number"), Required(L"Fails")}},
    {L"Clear",
     2,
     DISPATCH_METHOD,
     [](IDispatch&, Call& call) -> HRESULT {
       IDispatch** const object = call.ObjectVariableAt(0);
       if (*object != nullptr) (*object)->Release();
       *object = nullptr;
       return S_OK;
     },
     {Required(L"Object")}},
};

class CallTest : public ComTest {
 protected:
  /// Calls Next and returns its result, or the argument `whole` that it was given, when it fails.
  static long Next(const VARIANT& whole, const VARIANT& number, bool fails = false) {
    VARIANT arguments[3] = {Of(VT_BOOL, fails ? VARIANT_TRUE : VARIANT_FALSE).Get(), number, whole};
    DISPPARAMS params{arguments, nullptr, 3, 0};
    const auto self = ScriptedObject::New();
    Variant result;
    EXPECT_EQ(fails ? DISP_E_EXCEPTION : S_OK,
              InvokeMember(kMembers, *self.Get(), 1, IID_NULL, DISPATCH_METHOD, &params,
                           result.Receive(), nullptr, nullptr));
    return fails ? -1 : result.Get().lVal;
  }
};

TEST_F(CallTest, TypedVariablesOfItsTypesReceiveNumbers) {
  for (const bool fails : {false, true}) {
    const Variant whole = OfLong(1);
    const Variant number = OfDouble(2.5);
    Next(TypedReference(whole), TypedReference(number), fails);
    EXPECT_EQ(2, whole.Get().lVal);
    EXPECT_EQ(3.5, number.Get().dblVal);
  }
}

TEST_F(CallTest, VariablesOfScriptsReceiveNumbersWhateverTheyHeld) {
  const Variant whole = Of(VT_I2, std::int16_t{1});
  const Variant number(u"2.5");
  EXPECT_EQ(1, Next(VariableReference(whole), VariableReference(number)));
  EXPECT_EQ(u"long 2", Shown(whole.Get()));
  EXPECT_EQ(u"double 3.5", Shown(number.Get()));
}

TEST_F(CallTest, PlainValuesAndVariablesOfOtherTypesStay) {
  const Variant whole = OfLong(1);
  const Variant number = OfDouble(2.5);
  EXPECT_EQ(1, Next(whole.Get(), number.Get()));
  EXPECT_EQ(u"long 1", Shown(whole.Get()));
  EXPECT_EQ(u"double 2.5", Shown(number.Get()));
  EXPECT_EQ(2, Next(TypedReference(OfDouble(2.5)), TypedReference(whole)));
  EXPECT_EQ(u"long 1", Shown(whole.Get()));
}

TEST_F(CallTest, VariablesOfObjectsReceiveWhatReplacesThem) {
  const auto self = ScriptedObject::New();
  IDispatch* variable = ScriptedObject::New().Detach();
  VARIANT reference;
  reference.vt = VT_BYREF | VT_DISPATCH;
  reference.ppdispVal = &variable;
  DISPPARAMS params{&reference, nullptr, 1, 0};
  EXPECT_EQ(S_OK, InvokeMember(kMembers, *self.Get(), 2, IID_NULL, DISPATCH_METHOD, &params,
                               nullptr, nullptr, nullptr));
  EXPECT_EQ(nullptr, variable);
}

TEST_F(CallTest, WhatIsLeftOutOrEmptyHasItsDefault) {
  const Variant empty;
  EXPECT_EQ(10, Next(Missing(), Missing()));
  EXPECT_EQ(10, Next(empty.Get(), empty.Get()));
  EXPECT_EQ(10, Next(VariableReference(empty), VariableReference(empty)));
  EXPECT_EQ(VT_EMPTY, empty.Get().vt);
}

}  // namespace
}  // namespace brindlex::testing
