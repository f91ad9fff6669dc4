// Numbers of every variant type, as hosts hand them in.

#include <cstring>

#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/bases_fixture.h"
#include "tests/com/support/locale_settings.h"

namespace brindlex::testing {
namespace {

constexpr TextView kNotDecimal = u"error 13 ConvertBase: Not a decimal number";
constexpr TextView kMismatch = u"error 13 Brindlex: Type mismatch";
constexpr TextView kNull = u"error 94 Brindlex: Invalid use of Null";
constexpr TextView kNoMember =
    u"error 438 Brindlex: Object doesn't support this property or method";

Variant Currency(std::int64_t tenThousandths) { return Of(VT_CY, tenThousandths); }

Variant Decimal(std::uint32_t digits, BYTE scale, bool negative = false) {
  Variant value;
  DECIMAL& decimal = value.Get().decVal;
  std::memset(&decimal, 0, sizeof decimal);
  decimal.Lo32 = digits;
  decimal.scale = scale;
  decimal.sign = negative ? DECIMAL_NEG : 0;
  value.Get().vt = VT_DECIMAL;
  return value;
}

struct ValueRow {
  const char* title;
  Variant value;
  /// From base 10 to base 16, and read as text in base 8.
  TextView toHex;
  TextView fromOctal;
};

std::vector<ValueRow> Rows() {
  std::vector<ValueRow> rows;
  const auto add = [&rows](const char* title, Variant value, TextView toHex, TextView fromOctal) {
    rows.push_back({title, std::move(value), toHex, fromOctal});
  };
  add("empty", {}, u"text 0", u"double 0");
  add("I1", Of(VT_I1, static_cast<signed char>(-17)), u"text -11", u"double -15");
  add("UI1", Of(VT_UI1, std::uint8_t{200}), u"text C8", u"double 128");
  add("I2", Of(VT_I2, std::int16_t{-300}), u"text -12C", u"double -192");
  add("UI2", Of(VT_UI2, std::uint16_t{60000}), u"text EA60", u"double 24576");
  add("I4", Of(VT_I4, std::int32_t{-100000}), u"text -186A0", u"double -32768");
  add("UI4", Of(VT_UI4, std::uint32_t{4000000000}), u"text EE6B2800", u"double 536870912");
  add("INT", Of(VT_INT, 12), u"text C", u"double 10");
  add("UINT", Of(VT_UINT, 4000000000U), u"text EE6B2800", u"double 536870912");
  add("I8", Of(VT_I8, std::int64_t{1} << 40), u"text 10000000000",
      u"error 13 DeconvertDigit: Invalid digit for base");
  add("UI8", Of(VT_UI8, std::uint64_t{1777}), u"text 6F1", u"double 1023");
  add("R4", Of(VT_R4, 10.25F), u"text A.4", u"double 8.328125");
  add("R8", Of(VT_R8, 10.25), u"text A.4", u"double 8.328125");
  add("small R8", Of(VT_R8, 0.125), u"text 0.2", u"double 0.166015625");
  add("large R8", Of(VT_R8, 1e20), u"text 56BC75E2D63100000",
      u"error 13 DeconvertDigit: Invalid character");
  add("currency", Currency(102500), u"text A.4", u"double 8.328125");
  add("negative currency", Currency(-5000), u"text -0.8", u"double -0.625");
  add("currency 0", Currency(0), u"text 0", u"double 0");
  add("decimal", Decimal(1025, 2), u"text A.4", u"double 8.328125");
  add("negative decimal", Decimal(17, 0, true), u"text -11", u"double -15");
  add("decimal 0", Decimal(0, 2), u"text 0", u"double 0");
  add("True", Of(VT_BOOL, VARIANT_TRUE), u"text 0", u"error 13 DeconvertDigit: Invalid character");
  add("False", Of(VT_BOOL, VARIANT_FALSE), u"text 0",
      u"error 13 DeconvertDigit: Invalid character");
  add("date", Of(VT_DATE, 36526.0), kNotDecimal, u"error 13 DeconvertDigit: Invalid character");
  add("text", Variant(u"17"), u"text 11", u"double 15");
  add("empty text", Variant(u""), u"text 0", u"double 0");
  add("null text", Of(VT_BSTR, BSTR{nullptr}), u"text 0", u"double 0");
  add("null", Of(VT_NULL, 0), kNull, kNull);
  add("error", Of(VT_ERROR, HRESULT{5}), kMismatch, kMismatch);
  return rows;
}

TEST_F(BasesTest, NumbersOfEveryTypeAreTaken) {
  for (const ValueRow& row : Rows()) {
    SCOPED_TRACE(row.title);
    EXPECT_EQ(row.toHex, Convert(row.value.Get(), 10, 16));
    EXPECT_EQ(row.fromOctal, Convert(row.value.Get(), 8, 10));
  }
}

TEST_F(BasesTest, NumbersOfEveryTypeAreTakenByReference) {
  for (const ValueRow& row : Rows()) {
    SCOPED_TRACE(row.title);
    EXPECT_EQ(row.toHex, Convert(VariableReference(row.value), 10, 16));
    const VARTYPE type = row.value.Get().vt;
    if (type == VT_EMPTY || type == VT_NULL) continue;
    VARIANT reference = TypedReference(row.value);
    // A decimal begins where the variant itself does.
    if (type == VT_DECIMAL) reference.pdecVal = const_cast<DECIMAL*>(&row.value.Get().decVal);
    EXPECT_EQ(row.toHex, Convert(reference, 10, 16));
    VARIANT outer;
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &reference;
    EXPECT_EQ(row.toHex, Convert(outer, 10, 16));
  }
}

TEST_F(BasesTest, ADateHasAValueYetIsNoNumber) {
  ConversionLimits limits;
  EXPECT_EQ(u"error 13 ConvertDec2Base: Number must be decimal",
            ByVtable(Of(VT_DATE, 36526.0).Get(), 16, limits));
}

TEST_F(BasesTest, AFlagIsANumberThatBeginsWithNone) {
  ConversionLimits limits;
  EXPECT_EQ(u"text -1", ByVtable(Of(VT_BOOL, VARIANT_TRUE).Get(), 16, limits));
}

TEST_F(BasesTest, ANullIsNoDecimalNumber) {
  ConversionLimits limits;
  EXPECT_EQ(u"error 13 ConvertDec2Base: Number must be decimal",
            ByVtable(Of(VT_NULL, 0).Get(), 16, limits));
}

TEST_F(BasesTest, AnArrayIsNoNumber) {
  Variant array;
  array.Get().parray = SafeArrayCreateVector(VT_I4, 0, 2);
  array.Get().vt = VT_ARRAY | VT_I4;
  EXPECT_EQ(kMismatch, Convert(array.Get(), 10, 16));
  EXPECT_EQ(kMismatch, Convert(array.Get(), 16, 10));
  EXPECT_EQ(kMismatch, Convert(VariableReference(array), 10, 16));
  EXPECT_EQ(kMismatch, Convert(TypedReference(array), 10, 16));
}

// ---- Objects -----------------------------------------------------------------------------------

TEST_F(BasesTest, AnObjectIsWhatItsDefaultPropertyYields) {
  const auto object = ScriptedObject::New();
  object->NextId(DISPID_VALUE);
  ScriptedMember& value = object->Property(u"Value", OfLong(255));
  const Variant argument = Variant::OfObject(object.Get());
  EXPECT_EQ(u"text FF", Convert(argument.Get(), 10, 16));
  EXPECT_EQ(u"text FF", Convert(TypedReference(argument), 10, 16));
  EXPECT_EQ(u"text FF", Convert(VariableReference(argument), 10, 16));
  value.value = Variant(u"12abc");
  EXPECT_EQ(kNotDecimal, Convert(argument.Get(), 10, 16));
  value.value = Of(VT_NULL, 0);
  EXPECT_EQ(kNull, Convert(argument.Get(), 10, 16));
  value.get = Outcome::Raise(static_cast<HRESULT>(0x800A0046), u"not now", u"the host");
  EXPECT_EQ(u"error 70 the host: not now", Convert(argument.Get(), 10, 16));
}

TEST_F(BasesTest, AnObjectWithoutAValueIsAnError) {
  const auto object = ScriptedObject::New();
  const Variant argument = Variant::OfObject(object.Get());
  EXPECT_EQ(kNoMember, Convert(argument.Get(), 10, 16));
  EXPECT_EQ(kNoMember, Convert(argument.Get(), 16, 10));
  ConversionLimits limits;
  EXPECT_EQ(kNoMember, ByVtable(argument.Get(), 16, limits));
  const Variant nothing = Variant::OfObject(nullptr);
  EXPECT_EQ(u"error 91 Brindlex: Object variable or With block variable not set",
            Convert(nothing.Get(), 10, 16));
}

TEST_F(BasesTest, AnObjectOfTheComponentConvertsByItsDefaultPropertyToo) {
  const auto collection = NewCollection();
  const Units answer = Convert(Variant::OfObject(collection.Get()).Get(), 10, 16);
  EXPECT_TRUE(answer.starts_with(u"error ")) << ::testing::PrintToString(answer);
}

// ---- The user's settings -----------------------------------------------------------------------

TEST_F(BasesTest, DecimalTextIsReadAsTheUserWritesIt) {
  const GermanSettings german;
  EXPECT_EQ(u"text A.4", Convert(Variant(u"10,25").Get(), 10, 16));
  EXPECT_EQ(u"text 4D2.8", Convert(Variant(u"1.234,5").Get(), 10, 16));
  // The text of other bases has a point, and the leading number knows no comma.
  EXPECT_EQ(u"double 8.5", Convert(Variant(u"10.4").Get(), 8, 10));
  EXPECT_EQ(u"text 0", Convert(Variant(u"0,5").Get(), 10, 16));
  EXPECT_EQ(u"text 0", Convert(OfDouble(0.5).Get(), 10, 16));
  EXPECT_EQ(u"text A.4", Convert(OfDouble(10.25).Get(), 10, 16));
  EXPECT_EQ(u"error 13 DeconvertDigit: Invalid character", Convert(OfDouble(1.5).Get(), 8, 10));
}

}  // namespace
}  // namespace brindlex::testing
