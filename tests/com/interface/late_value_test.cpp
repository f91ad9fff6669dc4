// What the value of a property looks like as text, for values of every automation type.

#include <cstring>
#include <limits>

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class LateValueTest : public SaveRestoreTest {
 protected:
  /// The text of a record whose one property has this value; nothing when the save fails.
  std::optional<Units> Saved(Variant value) {
    constexpr View kHeader = u"Value\u00A5\u0152";
    constexpr View kEnd = u"\u00A5\u0152";
    const auto record = NewRecord({{u"Value", {}}});
    record->operator[](u"Value").value = std::move(value);
    const Units text = SaveObject(record.Get());
    if (text.empty()) return std::nullopt;
    EXPECT_TRUE(text.starts_with(kHeader) && text.ends_with(kEnd));
    return text.substr(kHeader.size(), text.size() - kHeader.size() - kEnd.size());
  }

  void ExpectFailure(Variant value, const ShownError& error) {
    EXPECT_EQ(std::nullopt, Saved(std::move(value)));
    ExpectShown({Dfc(error, u"Value")});
  }

  /// An object whose default property has this value.
  static ComPtr<ScriptedObject> WithDefault(Variant value) {
    auto object = ScriptedObject::New();
    object->NextId(DISPID_VALUE);
    object->Property(u"Value", std::move(value));
    return object;
  }
};

std::u16string AsTheSystemHasIt(const VARIANT& value) {
  Variant text;
  EXPECT_EQ(S_OK, VariantChangeTypeEx(&text.Get(), const_cast<VARIANT*>(&value),
                                      GetUserDefaultLCID(), 0, VT_BSTR));
  return std::u16string(ViewOf(text.Get().bstrVal));
}

std::vector<Variant> Numbers() {
  DECIMAL exact;
  DECIMAL_SETZERO(exact);
  exact.scale = 10;
  exact.sign = DECIMAL_NEG;
  exact.Hi32 = 1;
  exact.Lo64 = 234567;
  std::vector<Variant> values;
  const auto add = [&values](VARTYPE type, auto value) { values.push_back(Of(type, value)); };
  add(VT_I1, std::int8_t{-128});
  add(VT_UI1, std::uint8_t{255});
  add(VT_I2, std::int16_t{-32768});
  add(VT_UI2, std::uint16_t{65535});
  add(VT_I4, std::numeric_limits<std::int32_t>::min());
  add(VT_UI4, std::numeric_limits<std::uint32_t>::max());
  add(VT_I8, std::numeric_limits<std::int64_t>::min());
  add(VT_UI8, std::numeric_limits<std::uint64_t>::max());
  add(VT_INT, -7);
  add(VT_UINT, 7U);
  add(VT_R4, 3.25F);
  add(VT_R8, 1234567.890625);
  add(VT_R8, -1e-300);
  add(VT_CY, std::int64_t{-12345678});
  add(VT_DATE, 36526.75);
  add(VT_DATE, -1.25);
  add(VT_DECIMAL, exact);
  return values;
}

TEST_F(LateValueTest, NumbersAndDatesAreTextAsTheSystemWritesThemForTheUser) {
  for (const Variant& number : Numbers()) {
    EXPECT_EQ(AsTheSystemHasIt(number.Get()), Saved(Variant(number.Get())))
        << "type " << number.Get().vt;
  }
}

TEST_F(LateValueTest, AReferenceReadsAsWhatItRefersTo) {
  for (Variant& number : Numbers()) {
    VARIANT& value = number.Get();
    void* const address = value.vt == VT_DECIMAL ? static_cast<void*>(&value.decVal) : &value.llVal;
    const auto type = static_cast<VARTYPE>(VT_BYREF | value.vt);
    // The type of a decimal is where its unused bytes are, so the two may not share a variant.
    EXPECT_EQ(AsTheSystemHasIt(value), Saved(Of(type, address))) << "type " << value.vt;
    EXPECT_EQ(AsTheSystemHasIt(value), Saved(Of<VARIANT*>(VT_BYREF | VT_VARIANT, &value)))
        << "type " << value.vt;
  }
}

TEST_F(LateValueTest, BooleansAreTheEnglishWords) {
  VARIANT_BOOL flag = VARIANT_TRUE;
  EXPECT_EQ(u"True", Saved(Of(VT_BOOL, VARIANT_TRUE)));
  EXPECT_EQ(u"False", Saved(Of(VT_BOOL, VARIANT_FALSE)));
  EXPECT_EQ(u"True", Saved(Of(VT_BOOL, VARIANT_BOOL{1})));
  EXPECT_EQ(u"True", Saved(Of(VT_BYREF | VT_BOOL, &flag)));
  flag = VARIANT_FALSE;
  EXPECT_EQ(u"False", Saved(Of(VT_BYREF | VT_BOOL, &flag)));
}

TEST_F(LateValueTest, TextStaysAsItIsToTheLastUnit) {
  using namespace std::string_view_literals;
  const View odd = u"a\0b\xD800 c\r\n\xFFFF"sv;
  Bstr held(odd);
  BSTR variable = held.Get();
  BSTR none = nullptr;
  EXPECT_EQ(odd, Saved(Variant::OfText(odd)));
  EXPECT_EQ(odd, Saved(Of(VT_BYREF | VT_BSTR, &variable)));
  EXPECT_EQ(u"", Saved(Variant::OfText(u"")));
  EXPECT_EQ(u"", Saved(Of<BSTR>(VT_BSTR, nullptr)));
  EXPECT_EQ(u"", Saved(Of(VT_BYREF | VT_BSTR, &none)));
}

TEST_F(LateValueTest, EmptyIsEmptyTextAndNullAnError) {
  VARIANT null;
  null.vt = VT_NULL;
  VARIANT empty;
  empty.vt = VT_EMPTY;
  EXPECT_EQ(u"", Saved({}));
  EXPECT_EQ(u"", Saved(Of(VT_BYREF | VT_VARIANT, &empty)));
  ExpectFailure(Of(VT_NULL, 0), NullUse(5));
  ExpectFailure(Of(VT_BYREF | VT_VARIANT, &null), NullUse(5));
}

TEST_F(LateValueTest, ErrorValuesHaveNoText) {
  SCODE status = E_FAIL;
  ExpectFailure(Of(VT_ERROR, E_FAIL), TypeMismatch(5));
  ExpectFailure(Omitted(), TypeMismatch(5));
  ExpectFailure(Of(VT_BYREF | VT_ERROR, &status), TypeMismatch(5));
}

Variant ArrayOf(VARTYPE type, ULONG length) {
  return Of(static_cast<VARTYPE>(VT_ARRAY | type), SafeArrayCreateVector(type, 0, length));
}

TEST_F(LateValueTest, ArraysHaveNoText) {
  ExpectFailure(ArrayOf(VT_BSTR, 2), TypeMismatch(5));
  ExpectFailure(ArrayOf(VT_VARIANT, 1), TypeMismatch(5));
  ExpectFailure(ArrayOf(VT_I4, 0), TypeMismatch(5));
  const Variant held = ArrayOf(VT_R8, 3);
  SAFEARRAY* variable = held.Get().parray;
  ExpectFailure(Of(VT_BYREF | VT_ARRAY | VT_R8, &variable), TypeMismatch(5));
}

/// The id of the test library's structure Point.
constexpr GUID kPoint = {
    0x3B1C7F30, 0x53B1, 0x4D22, {0x9E, 0x5B, 0x6C, 0x1F, 0xD9, 0xC4, 0xA1, 0x05}};

TEST_F(LateValueTest, ARecordOfAUserDefinedTypeHasNoText) {
  ComPtr<IRecordInfo> description;
  ASSERT_EQ(S_OK, GetRecordInfoFromTypeInfo(TestTypeInfo(kPoint).Get(), description.Receive()));
  Variant value;
  value.Get().pvRecord = description->RecordCreate();
  value.Get().pRecInfo = description.Get();
  description->AddRef();
  value.Get().vt = VT_RECORD;
  ExpectFailure(std::move(value), TypeMismatch(5));
}

TEST_F(LateValueTest, TypesThatNoVariantHasAreRefused) {
  for (const VARTYPE type : {VT_VOID, VT_HRESULT, VT_PTR, VT_LPSTR, VT_LPWSTR, VT_FILETIME}) {
    const auto record = NewRecord({{u"Value", {}}});
    record->operator[](u"Value").body = [type](const Arguments&) { return Of(type, 0); };
    EXPECT_EQ(u"", SaveObject(record.Get()));
    const auto shown = Shown();
    ASSERT_EQ(1U, shown.size()) << "type " << type;
    EXPECT_EQ(u"Error DFC", shown[0].caption);
    EXPECT_TRUE(shown[0].text.ends_with(u" Line: 5 Member Name: Value")) << "type " << type;
  }
}

TEST_F(LateValueTest, AnObjectReadsAsItsDefaultProperty) {
  const auto inner = WithDefault(Number(42));
  const auto outer = WithDefault(Variant::OfObject(inner.Get()));
  IDispatch* variable = inner.Get();
  EXPECT_EQ(u"42", Saved(Variant::OfObject(inner.Get())));
  EXPECT_EQ(u"42", Saved(Variant::OfObject(outer.Get())));
  EXPECT_EQ(u"42", Saved(Of(VT_BYREF | VT_DISPATCH, &variable)));
  inner->AddRef();
  EXPECT_EQ(u"42", Saved(Of<IUnknown*>(VT_UNKNOWN, inner.Get())));
  inner->operator[](u"Value").value = Of(VT_BOOL, VARIANT_TRUE);
  EXPECT_EQ(u"True", Saved(Variant::OfObject(outer.Get())));
}

TEST_F(LateValueTest, ObjectsThatLeadToNoValueAreReported) {
  IDispatch* nothing = nullptr;
  ExpectFailure(Variant::OfObject(nullptr), NotSet(5));
  ExpectFailure(Of<IUnknown*>(VT_UNKNOWN, nullptr), NotSet(5));
  ExpectFailure(Of(VT_BYREF | VT_DISPATCH, &nothing), NotSet(5));
  ExpectFailure(Variant::OfObject(ScriptedObject::New().Get()), NoMember(5));
  ExpectFailure(Variant::OfObject(WithDefault(Of(VT_NULL, 0)).Get()), NullUse(5));
  const auto failing = WithDefault({});
  failing->operator[](u"Value").get = Outcome::Raise(E_FAIL, u"The value is gone");
  ExpectFailure(Variant::OfObject(failing.Get()), {E_FAIL, u"The value is gone", 5});
}

TEST_F(LateValueTest, AnObjectThatIsItsOwnDefaultPropertyEndsInAnError) {
  const auto self = WithDefault({});
  self->operator[](u"Value").value = Variant::OfObject(self.Get());
  ExpectFailure(Variant::OfObject(self.Get()), TypeMismatch(5));
  self->operator[](u"Value").value = {};
}

/// An object that does no automation.
class Plainest : public IUnknown {
 public:
  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    *result = id == IID_IUnknown ? this : nullptr;
    if (*result != nullptr) ++references;
    return *result == nullptr ? E_NOINTERFACE : S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }

  ULONG references = 0;
};

TEST_F(LateValueTest, AnObjectWithoutAutomationIsReportedAndReleased) {
  Plainest plainest;
  plainest.AddRef();
  IUnknown* variable = &plainest;
  const ShownError noAutomation = {
      430, u"Class does not support Automation or does not support expected interface", 5};
  ExpectFailure(Of(VT_UNKNOWN, variable), noAutomation);
  EXPECT_EQ(0U, plainest.references);
  ExpectFailure(Of(VT_BYREF | VT_UNKNOWN, &variable), noAutomation);
  EXPECT_EQ(0U, plainest.references);
}

TEST_F(LateValueTest, AFailureLeavesTheTextAsItWas) {
  const auto first = NewTitle(u"Alpha", u"1");
  const auto second = NewTitle(u"Beta", u"2");
  second->operator[](u"Count").value = Of(VT_NULL, 0);
  EXPECT_EQ(u"", Save(Collected({first.Get(), second.Get()}).Get()));
  ExpectShown({Dfc(NullUse(5), u"Count")});
}

}  // namespace
}  // namespace brindlex::testing
