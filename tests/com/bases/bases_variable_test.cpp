// The optional arguments, and what is written back into the caller's variables.

#include <cmath>
#include <limits>

#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/bases_fixture.h"

namespace brindlex::testing {
namespace {

VARIANT ReferenceTo(double& variable) {
  VARIANT reference;
  reference.vt = VT_BYREF | VT_R8;
  reference.pdblVal = &variable;
  return reference;
}

class BasesVariableTest : public BasesTest {
 protected:
  /// Converts with `tolerance` as the argument, late bound.
  Units ConvertWith(const VARIANT& number, long from, long to, const VARIANT& tolerance) {
    return ByDispatch(L"ConvertBase", {number, OfLong(from).Get(), OfLong(to).Get(), Missing(),
                                       tolerance, Missing()});
  }

  /// The value of a double variable afterwards, by the vtable and by IDispatch.
  double After(double before, const VARIANT& number, long from, long to) {
    ConversionLimits limits{-1, before, 0};
    const Units answer = ByVtable(number, from, to, limits);
    double variable = before;
    EXPECT_EQ(answer, ConvertWith(number, from, to, ReferenceTo(variable)));
    EXPECT_EQ(variable, limits.tolerance);
    EXPECT_EQ(std::signbit(variable), std::signbit(limits.tolerance));
    return variable;
  }

  double AfterDec2Base(double before, const VARIANT& number, long base) {
    ConversionLimits limits{-1, before, 0};
    const Units answer = ByVtable(number, base, limits);
    double variable = before;
    EXPECT_EQ(answer, ByDispatch(L"ConvertDec2Base", {number, OfLong(base).Get(), OfLong(-1).Get(),
                                                      ReferenceTo(variable)}));
    EXPECT_EQ(variable, limits.tolerance);
    return variable;
  }
};

TEST_F(BasesVariableTest, TheToleranceBecomesItsAbsoluteValueInAConversionToText) {
  EXPECT_EQ(0.5, After(-0.5, OfDouble(2.75).Get(), 10, 2));
  EXPECT_EQ(0.5, After(-0.5, Variant(u"FF").Get(), 16, 2));
  EXPECT_EQ(0.5, AfterDec2Base(-0.5, OfLong(3).Get(), 2));
  EXPECT_FALSE(std::signbit(After(-0.0, OfLong(3).Get(), 10, 2)));
}

TEST_F(BasesVariableTest, AlsoWhenTheConversionThenFails) {
  EXPECT_EQ(0.5, After(-0.5, Variant(u"0").Get(), 16, 2));
  EXPECT_EQ(0.5, After(-0.5, OfLong(5).Get(), 10, 7));
  EXPECT_EQ(0.5, After(-0.5, OfDouble(1e-10).Get(), 10, 16));
  EXPECT_EQ(0.5, AfterDec2Base(-0.5, OfLong(1000).Get(), 10));
  EXPECT_EQ(0.5, AfterDec2Base(-0.5, OfLong(0).Get(), 10));
}

TEST_F(BasesVariableTest, NotWhenTheConversionDoesNotComeToIt) {
  EXPECT_EQ(-0.5, AfterDec2Base(-0.5, Variant(u"1E309").Get(), 10));
  EXPECT_EQ(-0.5, After(-0.5, OfLong(0).Get(), 10, 2));
  EXPECT_EQ(-0.5, After(-0.5, OfLong(0).Get(), 10, 7));
  EXPECT_EQ(-0.5, After(-0.5, OfLong(5).Get(), 10, 10));
  EXPECT_EQ(-0.5, After(-0.5, OfLong(5).Get(), 10, 1));
  EXPECT_EQ(-0.5, After(-0.5, Variant(u"FF").Get(), 16, 10));
  EXPECT_EQ(-0.5, After(-0.5, Variant(u"FG").Get(), 16, 2));
  EXPECT_EQ(-0.5, After(-0.5, Variant(u"12abc").Get(), 10, 2));
  EXPECT_EQ(-0.5, After(-0.5, Of(VT_NULL, 0).Get(), 10, 2));
  EXPECT_EQ(-0.5, AfterDec2Base(-0.5, Variant(u"x").Get(), 16));
  EXPECT_EQ(-0.5, AfterDec2Base(-0.5, OfLong(1).Get(), 1));
}

TEST_F(BasesVariableTest, AVariableOfAScriptReceivesANumber) {
  for (const bool fails : {false, true}) {
    const Variant number = fails ? OfDouble(1e-10) : OfDouble(2.75);
    std::vector<Variant> variables;
    variables.push_back(OfDouble(-0.5));
    variables.emplace_back(u"-0.5");
    variables.push_back(Of(VT_R4, -0.5F));
    for (Variant& variable : variables) {
      const Units answer = ConvertWith(number.Get(), 10, 16, VariableReference(variable));
      EXPECT_EQ(fails ? u"error 6 Brindlex: Overflow" : u"text 2.C", answer);
      ASSERT_EQ(VT_R8, variable.Get().vt);
      EXPECT_EQ(0.5, variable.Get().dblVal);
    }
  }
}

TEST_F(BasesVariableTest, AVariableThatWouldNotChangeIsNotTouched) {
  Variant text(u"0.5");
  const wchar_t* const before = text.Get().bstrVal;
  EXPECT_EQ(u"text 2.C", ConvertWith(OfDouble(2.75).Get(), 10, 16, VariableReference(text)));
  ASSERT_EQ(VT_BSTR, text.Get().vt);
  EXPECT_EQ(before, text.Get().bstrVal);
  Variant empty;
  EXPECT_EQ(u"text 2.C", ConvertWith(OfDouble(2.75).Get(), 10, 16, VariableReference(empty)));
  EXPECT_EQ(VT_EMPTY, empty.Get().vt);
  Variant negative(u"-0.5");
  EXPECT_EQ(u"text 0", ConvertWith(OfLong(0).Get(), 10, 16, VariableReference(negative)));
  EXPECT_EQ(VT_BSTR, negative.Get().vt);
}

TEST_F(BasesVariableTest, AVariableOfAnotherTypeOrAPlainValueStaysAsItIs) {
  float single = -0.5F;
  VARIANT reference;
  reference.vt = VT_BYREF | VT_R4;
  reference.pfltVal = &single;
  EXPECT_EQ(u"text 2.C", ConvertWith(OfDouble(2.75).Get(), 10, 16, reference));
  EXPECT_EQ(-0.5F, single);
  const Variant plain = OfDouble(-0.5);
  EXPECT_EQ(u"text 2.C", ConvertWith(OfDouble(2.75).Get(), 10, 16, plain.Get()));
  EXPECT_EQ(-0.5, plain.Get().dblVal);
}

TEST_F(BasesVariableTest, AVariableOfAScriptThatRefersToADoubleReceivesItThere) {
  double variable = -0.5;
  VARIANT inner = ReferenceTo(variable);
  VARIANT outer;
  outer.vt = VT_BYREF | VT_VARIANT;
  outer.pvarVal = &inner;
  EXPECT_EQ(u"text 2.C", ConvertWith(OfDouble(2.75).Get(), 10, 16, outer));
  EXPECT_EQ(0.5, variable);
  EXPECT_EQ(VT_BYREF | VT_R8, inner.vt);
}

TEST_F(BasesVariableTest, ThePresetsOfOtherArgumentsAreNeverWritten) {
  Variant digits(u"3");
  Variant group(u"4");
  EXPECT_EQ(
      u"text 000A.199",
      ByDispatch(L"ConvertBase", {OfDouble(10.1).Get(), OfLong(10).Get(), OfLong(16).Get(),
                                  VariableReference(digits), Missing(), VariableReference(group)}));
  EXPECT_EQ(VT_BSTR, digits.Get().vt);
  EXPECT_EQ(VT_BSTR, group.Get().vt);
}

TEST_F(BasesVariableTest, WhatIsLeftOutHasItsDefault) {
  const Variant tenth = OfDouble(0.1);
  const Variant ten = OfLong(10);
  const Variant base = OfLong(16);
  const Variant empty;
  constexpr TextView kAll = u"text 0.1999999999999A";
  EXPECT_EQ(kAll, ByDispatch(L"ConvertBase", {tenth.Get(), ten.Get(), base.Get()}));
  EXPECT_EQ(kAll, ByDispatch(L"ConvertBase", {tenth.Get(), ten.Get(), base.Get(), Missing(),
                                              Missing(), Missing()}));
  EXPECT_EQ(kAll, ByDispatch(L"ConvertBase", {tenth.Get(), ten.Get(), base.Get(), empty.Get(),
                                              empty.Get(), empty.Get()}));
  EXPECT_EQ(u"text 0",
            ByDispatch(L"ConvertBase", {tenth.Get(), ten.Get(), base.Get(), OfLong(0).Get()}));
}

TEST_F(BasesVariableTest, ArgumentsGoByName) {
  const auto ids = IdsOf(Bases(), {L"ConvertBase", L"groupsize", L"TOLERANCE", L"Number"});
  double variable = -0.5;
  LateCall call(Bases(), ids[0]);
  call.With(OfDouble(2.75).Get()).With(OfLong(10).Get()).With(OfLong(2).Get());
  call.WithNamed(ids[2], ReferenceTo(variable)).WithNamed(ids[1], OfLong(4).Get());
  EXPECT_EQ(S_OK, call.Run());
  EXPECT_EQ(u"text 0010.1", Shown(call.Result()));
  EXPECT_EQ(0.5, variable);
}

TEST_F(BasesVariableTest, ARequiredArgumentThatIsMissingIsNamed) {
  LateCall call(Bases(), L"ConvertBase");
  call.With(OfLong(1).Get()).With(Missing()).With(OfLong(2).Get());
  EXPECT_EQ(DISP_E_PARAMNOTOPTIONAL, call.Run());
  EXPECT_EQ(1U, call.WrongArgument());
  LateCall few(Bases(), L"ConvertBase");
  few.With(OfLong(1).Get()).With(OfLong(10).Get());
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, few.Run());
}

TEST_F(BasesVariableTest, ALimitThatIsNoNumberIsAWrongArgument) {
  for (const Variant& wrong : {Variant(u"x"), Of(VT_NULL, 0)}) {
    LateCall call(Bases(), L"ConvertBase");
    call.With(OfLong(1).Get()).With(OfLong(10).Get()).With(OfLong(2).Get()).With(wrong.Get());
    EXPECT_EQ(DISP_E_TYPEMISMATCH, call.Run());
    EXPECT_EQ(0U, call.WrongArgument());
  }
  LateCall large(Bases(), L"ConvertBase");
  large.With(OfLong(1).Get()).With(OfDouble(1e10).Get()).With(OfLong(2).Get());
  EXPECT_EQ(DISP_E_OVERFLOW, large.Run());
}

}  // namespace
}  // namespace brindlex::testing
