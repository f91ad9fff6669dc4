// What clsCollection keeps: values of every automation type, by value and by reference; and what
// it takes for an index.

#include <cstring>

#include "tests/com/objects/late_call.h"
#include "tests/com/objects/probe_object.h"
#include "tests/com/support/collection_fixture.h"

namespace brindlex::testing {
namespace {

// ---- Values ------------------------------------------------------------------------------------

struct PlainType {
  const char* name;
  VARTYPE type;
  /// Bytes of the value, which lies at the start of the variant's union but for a decimal number.
  std::size_t size;
};

const PlainType kPlainTypes[] = {
    {"I1", VT_I1, 1},           {"I2", VT_I2, 2},     {"I4", VT_I4, 4},     {"I8", VT_I8, 8},
    {"UI1", VT_UI1, 1},         {"UI2", VT_UI2, 2},   {"UI4", VT_UI4, 4},   {"UI8", VT_UI8, 8},
    {"INT", VT_INT, 4},         {"UINT", VT_UINT, 4}, {"R4", VT_R4, 4},     {"R8", VT_R8, 8},
    {"CY", VT_CY, 8},           {"DATE", VT_DATE, 8}, {"BOOL", VT_BOOL, 2}, {"ERROR", VT_ERROR, 4},
    {"DECIMAL", VT_DECIMAL, 14}};

class PlainTypeTest : public CollectionTest, public ::testing::WithParamInterface<PlainType> {
 protected:
  static VARIANT Sample() {
    VARIANT value{};
    value.lVal = 0x40414243;
    if (GetParam().size >= 8) value.llVal = 0x4041424344454647;
    if (GetParam().type == VT_DECIMAL) {
      value.decVal.Hi32 = 0x01020304;
      value.decVal.Lo64 = 0x1122334455667788;
      value.decVal.scale = 3;
      value.decVal.sign = DECIMAL_NEG;
    }
    value.vt = GetParam().type;
    return value;
  }

  static std::string Bytes(const VARIANT& value) {
    const auto* const start = GetParam().type == VT_DECIMAL
                                  ? reinterpret_cast<const char*>(&value.decVal.scale)
                                  : reinterpret_cast<const char*>(&value.lVal);
    return {start, GetParam().size};
  }

  void ExpectFirst(const std::string& bytes) const {
    Variant entry;
    ASSERT_EQ(S_OK, Collection().get_Item(OfLong(1).Get(), entry.Receive()));
    EXPECT_EQ(GetParam().type, entry.Get().vt);
    EXPECT_EQ(bytes, Bytes(entry.Get()));
  }
};

TEST_P(PlainTypeTest, IsKeptBitByBit) {
  ASSERT_EQ(S_OK, Add(Sample()));
  ExpectFirst(Bytes(Sample()));
}

TEST_P(PlainTypeTest, IsCopiedOutOfVariables) {
  VARIANT variable = Sample();
  VARIANT reference{};
  reference.vt = static_cast<VARTYPE>(VT_BYREF | GetParam().type);
  reference.byref = GetParam().type == VT_DECIMAL ? static_cast<void*>(&variable.decVal)
                                                  : static_cast<void*>(&variable.lVal);
  ASSERT_EQ(S_OK, Add(reference));
  variable.llVal = 0;
  variable.decVal.Hi32 = 0;
  ExpectFirst(Bytes(Sample()));
}

TEST_P(PlainTypeTest, IsCopiedOutOfVariablesOfScripts) {
  VARIANT variable = Sample();
  VARIANT reference{};
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &variable;
  ASSERT_EQ(S_OK, Add(reference));
  VariantClear(&variable);
  ExpectFirst(Bytes(Sample()));
}

INSTANTIATE_TEST_SUITE_P(Types, PlainTypeTest, ::testing::ValuesIn(kPlainTypes),
                         [](const auto& info) { return info.param.name; });

Variant OfType(VARTYPE type) {
  Variant value;
  value.Get().vt = type;
  value.Get().llVal = 0;
  return value;
}

TEST_F(CollectionTest, KeepsEmptyNullAndNothing) {
  for (const int type : {VT_EMPTY, VT_NULL, VT_DISPATCH, VT_UNKNOWN}) {
    const Variant value = OfType(static_cast<VARTYPE>(type));
    EXPECT_EQ(S_OK, Add(value.Get()));
    EXPECT_EQ(S_OK, Add(VariableReference(value)));
  }
  EXPECT_EQ(u"[Empty, Empty, Null, Null, Nothing, Nothing, Nothing, Nothing]", Entries());
  for (long position = 1; position <= 8; ++position) {
    EXPECT_EQ(S_OK, Collection().Remove(OfLong(1).Get()));
  }
  EXPECT_EQ(0, Count());
}

TEST_F(CollectionTest, KeepsCopiesOfTexts) {
  const std::u16string units(u"a\0\xD800", 3);
  {
    const Variant text{TextView(units)};
    EXPECT_EQ(S_OK, Add(text.Get()));
    EXPECT_EQ(S_OK, Add(TypedReference(text)));
    EXPECT_EQ(S_OK, Add(VariableReference(text)));
  }
  EXPECT_EQ(S_OK, Add(OfType(VT_BSTR).Get()));
  for (long position = 1; position <= 3; ++position) {
    EXPECT_EQ(u"text " + units, Entry(OfLong(position).Get()));
  }
  EXPECT_EQ(u"text ", Entry(OfLong(4).Get()));
}

TEST_F(CollectionTest, KeepsTheBytesOfATextThatAreNoWholeUnits) {
  VARIANT bytes{};
  bytes.vt = VT_BSTR;
  bytes.bstrVal = SysAllocStringByteLen("abc", 3);
  EXPECT_EQ(S_OK, Add(bytes));
  VariantClear(&bytes);
  Variant entry;
  ASSERT_EQ(S_OK, Collection().get_Item(OfLong(1).Get(), entry.Receive()));
  ASSERT_EQ(3U, SysStringByteLen(entry.Get().bstrVal));
  EXPECT_EQ(0, std::memcmp("abc", entry.Get().bstrVal, 3));
}

TEST_F(CollectionTest, HoldsOneReferenceToEachObject) {
  bool ended = false;
  auto object = ProbeObject::New([&] { ended = true; });
  const auto* const probe = object.Get();
  {
    const Variant value = Variant::OfObject(object.Get());
    const ULONG before = probe->References();
    EXPECT_EQ(S_OK, Add(value.Get()));
    EXPECT_EQ(before + 1, probe->References());
    EXPECT_EQ(S_OK, Add(TypedReference(value)));
    EXPECT_EQ(S_OK, Add(VariableReference(value), Variant(u"k").Get()));
    EXPECT_EQ(before + 3, probe->References());
    // A refused one is let go of.
    ExpectError(457, Add(value.Get(), Variant(u"K").Get()));
    ExpectError(9, Add(value.Get(), Missing(), OfLong(9).Get()));
    EXPECT_EQ(before + 3, probe->References());
  }
  EXPECT_EQ(4U, probe->References());
  {
    Variant entry;
    EXPECT_EQ(S_OK, Collection().get_Item(OfLong(2).Get(), entry.Receive()));
    EXPECT_EQ(VT_DISPATCH, entry.Get().vt);
    EXPECT_EQ(probe, entry.Get().pdispVal);
    EXPECT_EQ(5U, probe->References());
  }
  EXPECT_EQ(S_OK, Collection().Remove(Variant(u"k").Get()));
  EXPECT_EQ(3U, probe->References());
  object = nullptr;
  EXPECT_FALSE(ended);
  Let();
  EXPECT_TRUE(ended);
}

TEST_F(CollectionTest, KeepsAnUnknownObjectAsOne) {
  const auto object = ProbeObject::New();
  VARIANT value{};
  value.vt = VT_UNKNOWN;
  value.punkVal = object.Get();
  EXPECT_EQ(S_OK, Add(value));
  EXPECT_EQ(2U, object->References());
  Variant entry;
  EXPECT_EQ(S_OK, Collection().get_Item(OfLong(1).Get(), entry.Receive()));
  EXPECT_EQ(VT_UNKNOWN, entry.Get().vt);
  EXPECT_EQ(object.Get(), entry.Get().punkVal);
}

TEST_F(CollectionTest, LateBoundHostsAddObjectsWithOneReferenceToo) {
  const auto object = ProbeObject::New();
  IDispatch* variable = object.Get();
  VARIANT value{};
  value.vt = VT_BYREF | VT_DISPATCH;
  value.ppdispVal = &variable;
  LateCall call(Collection(), L"Add");
  EXPECT_EQ(S_OK, call.With(value).Run());
  EXPECT_EQ(2U, object->References());
}

/// An array of three texts, as a variant of the type `type`.
Variant ArrayOf(VARTYPE type) {
  Variant array;
  array.Get().vt = static_cast<VARTYPE>(VT_ARRAY | type);
  array.Get().parray = SafeArrayCreateVector(type, -1, 3);
  for (LONG index = -1; index < 2; ++index) {
    const Bstr text(std::u16string(1, static_cast<char16_t>(u'b' + index)));
    VARIANT element;
    element.vt = VT_BSTR;
    element.bstrVal = text.Get();
    void* const value =
        type == VT_VARIANT ? static_cast<void*>(&element) : static_cast<void*>(text.Get());
    EXPECT_EQ(S_OK, SafeArrayPutElement(array.Get().parray, &index, value));
  }
  return array;
}

std::u16string ShownArray(const VARIANT& array) {
  std::u16string text;
  for (LONG index = -1; index < 2; ++index) {
    if (array.vt == (VT_ARRAY | VT_VARIANT)) {
      Variant element;
      EXPECT_EQ(S_OK, SafeArrayGetElement(array.parray, &index, element.Receive()));
      text.append(ViewOf(element.Get().bstrVal));
    } else {
      Bstr element;
      EXPECT_EQ(S_OK, SafeArrayGetElement(array.parray, &index, element.Receive()));
      text.append(element.View());
    }
  }
  return text;
}

TEST_F(CollectionTest, KeepsCopiesOfArrays) {
  for (const VARTYPE type : {VARTYPE{VT_BSTR}, VARTYPE{VT_VARIANT}}) {
    {
      const Variant array = ArrayOf(type);
      ASSERT_EQ(S_OK, Add(array.Get()));
      ASSERT_EQ(S_OK, Add(TypedReference(array)));
      ASSERT_EQ(S_OK, Add(VariableReference(array)));
    }
    for (long time = 0; time < 3; ++time) {
      Variant entry;
      ASSERT_EQ(S_OK, Collection().get_Item(OfLong(1).Get(), entry.Receive()));
      EXPECT_EQ(VT_ARRAY | type, entry.Get().vt);
      EXPECT_EQ(u"abc", ShownArray(entry.Get()));
      EXPECT_EQ(S_OK, Collection().Remove(OfLong(1).Get()));
    }
  }
}

TEST_F(CollectionTest, RefusesWhatIsNoValue) {
  VARIANT value{};
  value.vt = VT_BYREF | VT_EMPTY;
  EXPECT_TRUE(FAILED(Add(value)));
  value.vt = 77;
  EXPECT_TRUE(FAILED(Add(value)));
  EXPECT_EQ(0, Count());
}

// ---- Indexes -----------------------------------------------------------------------------------

/// An index into [text a, text b, text c], where "1" is the key of the third.
struct Index {
  const char* title;
  Variant (*value)();
  TextView entry;
  unsigned error;
};

Variant OfDouble(VARTYPE type, double number) {
  Variant value = OfType(type);
  if (type == VT_R4) {
    value.Get().fltVal = static_cast<float>(number);
  } else {
    value.Get().dblVal = number;
  }
  return value;
}

Variant OfInteger(VARTYPE type, LONGLONG number) {
  Variant value = OfType(type);
  value.Get().llVal = number;
  return value;
}

const Index kIndexes[] = {
    {"I1", [] { return OfInteger(VT_I1, 2); }, u"text b", 0},
    {"I2", [] { return OfInteger(VT_I2, 2); }, u"text b", 0},
    {"I8", [] { return OfInteger(VT_I8, 2); }, u"text b", 0},
    {"I8TooLarge", [] { return OfInteger(VT_I8, 0x100000001); }, u"", 6},
    {"UI1", [] { return OfInteger(VT_UI1, 2); }, u"text b", 0},
    {"UI4", [] { return OfInteger(VT_UI4, 2); }, u"text b", 0},
    {"UI8TooLarge", [] { return OfInteger(VT_UI8, 0x100000001); }, u"", 6},
    {"True", [] { return OfInteger(VT_BOOL, 0xFFFF); }, u"", 9},
    {"R4", [] { return OfDouble(VT_R4, 1.75); }, u"text b", 0},
    {"R8", [] { return OfDouble(VT_R8, 3); }, u"text c", 0},
    {"R8Up", [] { return OfDouble(VT_R8, 0.51); }, u"text a", 0},
    {"R8HalfToZero", [] { return OfDouble(VT_R8, 0.5); }, u"", 9},
    {"R8HalfToTwoFromBelow", [] { return OfDouble(VT_R8, 1.5); }, u"text b", 0},
    {"R8HalfToTwoFromAbove", [] { return OfDouble(VT_R8, 2.5); }, u"text b", 0},
    {"R8HalfToFour", [] { return OfDouble(VT_R8, 3.5); }, u"", 9},
    {"R8TooLarge", [] { return OfDouble(VT_R8, 1e10); }, u"", 6},
    {"DATE", [] { return OfDouble(VT_DATE, 1); }, u"text a", 0},
    {"CY", [] { return OfInteger(VT_CY, 20000); }, u"text b", 0},
    {"CYHalf", [] { return OfInteger(VT_CY, 25000); }, u"text b", 0},
    {"DECIMAL",
     [] {
       Variant value = OfType(VT_EMPTY);
       EXPECT_EQ(S_OK, VarDecFromI4(2, &value.Get().decVal));
       value.Get().vt = VT_DECIMAL;
       return value;
     },
     u"text b", 0},
    {"DigitsAreAKey", [] { return Variant(u"1"); }, u"text c", 0},
    {"OtherDigitsAreAnAbsentKey", [] { return Variant(u"2"); }, u"", 5},
    {"NullText", [] { return OfType(VT_BSTR); }, u"", 5},
    {"Empty", [] { return OfType(VT_EMPTY); }, u"", 9},
    {"Null", [] { return OfType(VT_NULL); }, u"", 94},
    {"Missing", [] { return Variant(Missing()); }, u"", 13},
    {"Array", [] { return ArrayOf(VT_BSTR); }, u"", 13},
    {"Nothing", [] { return OfType(VT_DISPATCH); }, u"", 91},
    {"ObjectByItsDefault",
     [] {
       const auto object = ProbeObject::New();
       object->value = 2;
       return Variant::OfObject(object.Get());
     },
     u"text b", 0},
    {"ObjectWithoutDefault",
     [] {
       const auto object = ProbeObject::New();
       object->failure = DISP_E_MEMBERNOTFOUND;
       return Variant::OfObject(object.Get());
     },
     u"", 438},
};

class IndexTest : public CollectionTest, public ::testing::WithParamInterface<Index> {
 protected:
  void SetUp() override {
    CollectionTest::SetUp();
    AddKeyed({u"a", u"b"});
    EXPECT_EQ(S_OK, Add(Variant(u"c").Get(), Variant(u"1").Get()));
  }

  void ExpectEntry(const VARIANT& index) const {
    if (GetParam().error == 0) {
      EXPECT_EQ(GetParam().entry, Entry(index));
    } else {
      ExpectError(GetParam().error, Ask(index));
    }
  }
};

TEST_P(IndexTest, LeadsToItsEntry) {
  const Variant index = GetParam().value();
  ExpectEntry(index.Get());
  ExpectEntry(VariableReference(index));
}

TEST_P(IndexTest, RemovesItsEntry) {
  const Variant index = GetParam().value();
  const HRESULT status = Collection().Remove(index.Get());
  if (GetParam().error == 0) {
    EXPECT_EQ(S_OK, status);
    EXPECT_EQ(2, Count());
    EXPECT_EQ(std::u16string::npos, Entries().find(GetParam().entry));
  } else {
    ExpectError(GetParam().error, status);
    EXPECT_EQ(3, Count());
  }
}

TEST_P(IndexTest, PlacesBeforeItsEntry) {
  const Variant index = GetParam().value();
  if (IsMissing(index.Get()) || index.Get().vt == VT_EMPTY) return;  // no place is asked for
  const HRESULT status = Add(OfLong(7).Get(), Missing(), index.Get());
  if (GetParam().error == 0) {
    EXPECT_EQ(S_OK, status);
    std::u16string expected(u"long 7, ");
    expected.append(GetParam().entry);
    EXPECT_NE(std::u16string::npos, Entries().find(expected));
  } else {
    ExpectError(GetParam().error, status);
    EXPECT_EQ(3, Count());
  }
}

INSTANTIATE_TEST_SUITE_P(Values, IndexTest, ::testing::ValuesIn(kIndexes),
                         [](const auto& info) { return info.param.title; });

}  // namespace
}  // namespace brindlex::testing
