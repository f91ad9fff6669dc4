#include "tests/com/support/bases_fixture.h"

#include <charconv>
#include <iterator>

#include "tests/com/support/strict_host.h"

namespace brindlex::testing {
namespace {

Units ShownError(HRESULT scode, BSTR source, BSTR description) {
  constexpr auto kControlFacility = 0x800A0000U;
  const auto bits = static_cast<std::uint32_t>(scode);
  const std::uint32_t number = (bits & 0xFFFF0000U) == kControlFacility ? bits & 0xFFFFU : bits;
  return Units(u"error ")
      .append(DecimalText(static_cast<std::int32_t>(number)))
      .append(u" ")
      .append(ViewOf(source))
      .append(u": ")
      .append(ViewOf(description));
}

Units ShownResult(const VARIANT& result) {
  if (result.vt == VT_R8) return u"double " + ShownDouble(result.dblVal);
  return Shown(result);
}

}  // namespace

Units ShownDouble(double number) {
  const KindScope kind;  // for the test's own arithmetic
  char digits[40];
  auto* const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
  return {std::begin(digits), end};
}

void BasesTest::SetUp() {
  ComTest::SetUp();
  bases_ = Dll().New<_clsBases, ::clsBases>();
}

void BasesTest::TearDown() {
  EXPECT_EQ(0U, Boxes().Boxes().size());
  bases_ = nullptr;
  ComTest::TearDown();
}

Units BasesTest::Answer(HRESULT status, const VARIANT& result) {
  if (SUCCEEDED(status)) return ShownResult(result);
  EXPECT_EQ(VT_EMPTY, result.vt);
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(S_OK, GetErrorInfo(0, info.Receive()));
  if (!info) return u"no error object";
  Bstr source;
  Bstr description;
  EXPECT_EQ(S_OK, info->GetSource(source.Receive()));
  EXPECT_EQ(S_OK, info->GetDescription(description.Receive()));
  return ShownError(status, source.Get(), description.Get());
}

Units BasesTest::ByVtable(const VARIANT& number, long from, long to, ConversionLimits& limits) {
  Variant result;
  long digits = limits.maxFractionDigits;
  long group = limits.groupSize;
  const HRESULT status =
      Bases().ConvertBase(number, from, to, &digits, &limits.tolerance, &group, result.Receive());
  EXPECT_EQ(limits.maxFractionDigits, digits);
  EXPECT_EQ(limits.groupSize, group);
  return Answer(status, result.Get());
}

Units BasesTest::ByVtable(const VARIANT& number, long base, ConversionLimits& limits) {
  Variant result;
  long digits = limits.maxFractionDigits;
  long group = limits.groupSize;
  Bstr text;
  const HRESULT status =
      Bases().ConvertDec2Base(number, base, &digits, &limits.tolerance, &group, text.Receive());
  return Answer(status, SUCCEEDED(status) ? Variant(text.View()).Get() : result.Get());
}

Units BasesTest::ByVtable(TextView text, long base) {
  double value = 4711;
  const HRESULT status = Bases().ConvertBase2Dec(Bstr(text).Get(), base, &value);
  EXPECT_TRUE(SUCCEEDED(status) || value == 0);
  return Answer(status, SUCCEEDED(status) ? OfDouble(value).Get() : Variant().Get());
}

Units BasesTest::ByVtable(long digit, long base) {
  Bstr text;
  const HRESULT status = Bases().ConvertDigit(digit, base, text.Receive());
  return Answer(status, SUCCEEDED(status) ? Variant(text.View()).Get() : Variant().Get());
}

Units BasesTest::ByDispatch(const wchar_t* member, const std::vector<VARIANT>& arguments) {
  LateCall call(Bases(), member);
  for (const VARIANT& argument : arguments) call.With(argument);
  const HRESULT status = call.Run();
  if (SUCCEEDED(status)) return ShownResult(call.Result());
  EXPECT_EQ(DISP_E_EXCEPTION, status);
  return ShownError(call.Exception().scode, call.Exception().bstrSource,
                    call.Exception().bstrDescription);
}

Units BasesTest::Convert(const VARIANT& number, long from, long to) {
  ConversionLimits limits;
  Units answer = ByVtable(number, from, to, limits);
  EXPECT_EQ(answer, ByDispatch(L"ConvertBase", {number, OfLong(from).Get(), OfLong(to).Get()}));
  return answer;
}

}  // namespace brindlex::testing
