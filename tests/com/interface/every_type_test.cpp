// Property values of every type that a variant can claim to be of, valid or not, compared to the
// system's own conversion of the same value.

#include <limits>

#include "tests/com/objects/late_call.h"
#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/failing_memory.h"
#include "tests/com/support/malloc_spy.h"
#include "tests/com/support/strict_host.h"

namespace brindlex::testing {
namespace {

constexpr VARTYPE kFlags[] = {0, VT_BYREF, VT_ARRAY, VT_ARRAY | VT_BYREF, VT_VECTOR, VT_RESERVED};

/// All types that have a number, those that no variant may have, and some without a number.
std::vector<VARTYPE> Types() {
  std::vector<VARTYPE> types;
  for (VARTYPE type = 0; type <= 0x80; ++type) types.push_back(type);
  types.insert(types.end(), {0x0200, 0x0FFE, VT_BSTR_BLOB, VT_TYPEMASK});
  return types;
}

/// What a value is as text, or the number of the error that it is.
struct Reading {
  std::optional<std::u16string> text;
  int error = 0;

  bool operator==(const Reading&) const = default;
};

void PrintTo(const Reading& reading, std::ostream* out) {
  if (reading.text) {
    *out << ::testing::PrintToString(*reading.text);
  } else {
    *out << "error " << reading.error;
  }
}

int NumberOf(HRESULT status) {
  switch (status) {
    case E_INVALIDARG:
      return 5;
    case DISP_E_OVERFLOW:
      return 6;
    case DISP_E_TYPEMISMATCH:
      return 13;
    case E_NOTIMPL:
      return 445;
    case DISP_E_BADVARTYPE:
      return 458;
    default:
      ADD_FAILURE() << "a status without a number: " << std::hex << status;
      return 0;
  }
}

/// What the system makes of a value that is no object and not Null.
Reading BySystem(const VARIANT& value) {
  Variant text;
  const HRESULT status = VariantChangeTypeEx(&text.Get(), const_cast<VARIANT*>(&value),
                                             GetUserDefaultLCID(), 0, VT_BSTR);
  if (FAILED(status)) return {std::nullopt, NumberOf(status)};
  return {std::u16string(ViewOf(text.Get().bstrVal)), 0};
}

/// The rules: objects, Null and flags have their own, all else is as the system has it.
Reading ByTheRules(const VARIANT& value) {
  switch (value.vt & ~VT_BYREF) {
    case VT_NULL:
      return {std::nullopt, 94};
    case VT_DISPATCH:
    case VT_UNKNOWN:
      // Nothing, in all that come here.
      return {std::nullopt, 91};
    case VT_BOOL:
      return {u"False", 0};
    default:
      return BySystem(value);
  }
}

class EveryTypeTest : public SaveRestoreTest {
 protected:
  void SetUp() override {
    SaveRestoreTest::SetUp();
    memory_.emplace(Dll().Module());
    record_ = NewRecord({{u"Value", {}}});
    // What the run time sets up for the thread's first exception stays.
    EXPECT_EQ(u"", SaveObject(nullptr));
    FailingMemory::Shown();
  }

  void TearDown() override {
    record_ = nullptr;
    memory_.reset();
    SaveRestoreTest::TearDown();
  }

  /// What becomes of a property that yields just these bytes. Nothing may be left of the call.
  Reading Saved(const VARIANT& raw) {
    record_->operator[](u"Value").leave = [&raw](VARIANT& result) { result = raw; };
    const long heap = FailingMemory::LiveBlocks();
    const long blocks = MallocSpy::Instance().LiveBlocks();
    const Units text = SaveObject(record_.Get());
    EXPECT_EQ(heap, FailingMemory::LiveBlocks());
    EXPECT_EQ(blocks, MallocSpy::Instance().LiveBlocks());
    return Read(text, FailingMemory::Shown());
  }

  std::optional<FailingMemory> memory_;
  ComPtr<ScriptedObject> record_;

 private:
  static Reading Read(const Units& text, const std::vector<Report>& reports) {
    constexpr View kHeader = u"Value\u00A5\u0152";
    constexpr View kEnd = u"\u00A5\u0152";
    if (reports.empty()) {
      EXPECT_TRUE(text.starts_with(kHeader) && text.ends_with(kEnd));
      if (text.size() < kHeader.size() + kEnd.size()) return {};
      return {text.substr(kHeader.size(), text.size() - kHeader.size() - kEnd.size()), 0};
    }
    EXPECT_EQ(u"", text);
    EXPECT_EQ(1U, reports.size());
    return {std::nullopt, NumberIn(reports[0])};
  }

  /// The error in a report of the property.
  static int NumberIn(const Report& report) {
    constexpr View kNumber = u" Number: ";
    EXPECT_EQ(u"Error DFC", report.caption);
    EXPECT_TRUE(report.text.ends_with(u" Line: 5 Member Name: Value"));
    const std::size_t at = report.text.find(kNumber);
    if (at == Units::npos) return 0;
    const std::string digits(report.text.begin() + static_cast<std::ptrdiff_t>(at + kNumber.size()),
                             report.text.end());
    return std::stoi(digits);
  }
};

TEST_F(EveryTypeTest, NothingAtAllUnderEveryTypeIsAsTheSystemHasIt) {
  std::int64_t zeros[8] = {};
  for (const VARTYPE type : Types()) {
    for (const VARTYPE flag : kFlags) {
      VARIANT raw{};
      raw.vt = static_cast<VARTYPE>(type | flag);
      if ((flag & VT_BYREF) != 0) raw.byref = zeros;
      SCOPED_TRACE(raw.vt);
      // A reference to an Empty variant; the system follows it as well.
      EXPECT_EQ(ByTheRules(raw), Saved(raw));
    }
  }
}

TEST_F(EveryTypeTest, AReferenceToNothingIsAnErrorWhateverItsType) {
  const Reading invalid{std::nullopt, 5};
  for (const VARTYPE type : Types()) {
    for (const VARTYPE flag : {VARTYPE{VT_BYREF}, VARTYPE{VT_ARRAY | VT_BYREF}}) {
      VARIANT raw{};
      raw.vt = static_cast<VARTYPE>(type | flag);
      SCOPED_TRACE(raw.vt);
      EXPECT_EQ(invalid, Saved(raw));
      VARIANT outer{};
      outer.vt = VT_BYREF | VT_VARIANT;
      outer.pvarVal = &raw;
      EXPECT_EQ(invalid, Saved(outer));
    }
  }
}

TEST_F(EveryTypeTest, ReferencesThatLeadInCirclesAreAnError) {
  VARIANT self{};
  self.vt = VT_BYREF | VT_VARIANT;
  self.pvarVal = &self;
  EXPECT_EQ((Reading{std::nullopt, 5}), Saved(self));
  VARIANT other = self;
  EXPECT_EQ((Reading{std::nullopt, 5}), Saved(other));
}

template <class T>
VARIANT Raw(VARTYPE type, T value) {
  return Of(type, value).Get();
}

TEST_F(EveryTypeTest, ValuesAtAndBeyondTheLimitsConvertAsTheSystemConvertsThem) {
  const KindScope kind;  // the expected values are computed here
  constexpr double kHuge = std::numeric_limits<double>::max();
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
  const VARIANT values[] = {
      Raw(VT_R8, kHuge),
      Raw(VT_R8, -kHuge),
      Raw(VT_R8, kInfinite),
      Raw(VT_R8, -kInfinite),
      Raw(VT_R8, kNoNumber),
      Raw(VT_R8, std::numeric_limits<double>::denorm_min()),
      Raw(VT_R8, -0.0),
      Raw(VT_R4, std::numeric_limits<float>::max()),
      Raw(VT_R4, std::numeric_limits<float>::infinity()),
      Raw(VT_R4, std::numeric_limits<float>::quiet_NaN()),
      Raw(VT_CY, std::numeric_limits<std::int64_t>::min()),
      Raw(VT_CY, std::numeric_limits<std::int64_t>::max()),
      Raw(VT_DATE, 0.0),
      Raw(VT_DATE, -657434.0),
      Raw(VT_DATE, -657435.0),
      Raw(VT_DATE, 2958465.999),
      Raw(VT_DATE, 2958466.0),
      Raw(VT_DATE, 1e18),
      Raw(VT_DATE, kInfinite),
      Raw(VT_DATE, kNoNumber),
      Raw(VT_ERROR, S_OK),
      Raw(VT_ERROR, DISP_E_PARAMNOTFOUND),
  };
  for (const VARIANT& value : values) {
    SCOPED_TRACE(::testing::Message() << "type " << value.vt << ", " << value.dblVal);
    EXPECT_EQ(BySystem(value), Saved(value));
  }
}

TEST_F(EveryTypeTest, DecimalsThatThereCannotBeAreAnError) {
  for (const int scale : {0, 28, 29, 255}) {
    for (const int sign : {0x00, 0x80, 0x01, 0xFF}) {
      VARIANT value{};
      value.decVal.scale = static_cast<BYTE>(scale);
      value.decVal.sign = static_cast<BYTE>(sign);
      value.decVal.Hi32 = value.decVal.Lo32 = value.decVal.Mid32 = MAXDWORD;
      value.vt = VT_DECIMAL;
      SCOPED_TRACE(::testing::Message() << "scale " << scale << ", sign " << sign);
      const bool isValid = scale <= 28 && (sign == 0 || sign == DECIMAL_NEG);
      EXPECT_EQ(isValid ? BySystem(value) : Reading({std::nullopt, 5}), Saved(value));
      DECIMAL decimal = value.decVal;
      VARIANT reference{};
      reference.vt = VT_BYREF | VT_DECIMAL;
      reference.pdecVal = &decimal;
      EXPECT_EQ(Saved(value), Saved(reference));
    }
  }
}

TEST_F(EveryTypeTest, ATextOfAnOddNumberOfBytesIsItsWholeUnits) {
  using namespace std::string_view_literals;
  for (const std::string_view bytes : {"a"sv, "a\0b"sv, "a\0\0\0b"sv}) {
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocStringByteLen(bytes.data(), static_cast<UINT>(bytes.size()));
    const long blocks = MallocSpy::Instance().LiveBlocks();
    record_->operator[](u"Value").leave = [&value](VARIANT& result) { result = value; };
    const Units text = SaveObject(record_.Get());
    EXPECT_EQ(Units(u"Value\u00A5\u0152") + (bytes.size() < 2 ? u"" : u"a") +
                  (bytes.size() < 4 ? Units() : Units(1, u'\0')) + u"\u00A5\u0152",
              text);
    // The call has freed it.
    EXPECT_EQ(blocks - 1, MallocSpy::Instance().LiveBlocks());
  }
}

Variant Matrix() {
  SAFEARRAYBOUND bounds[] = {{2, 0}, {3, -1}, {1, 7}};
  return Of(VARTYPE{VT_ARRAY | VT_VARIANT}, SafeArrayCreate(VT_VARIANT, 3, bounds));
}

TEST_F(EveryTypeTest, ArraysOfAllShapesAreNoText) {
  const Reading mismatch{std::nullopt, 13};
  Variant matrix = Matrix();
  SAFEARRAY* variable = matrix.Get().parray;
  EXPECT_EQ(mismatch, Saved(Raw(VT_BYREF | VT_ARRAY | VT_VARIANT, &variable)));
  EXPECT_EQ(mismatch, Saved(Raw(VT_BYREF | VT_VARIANT, &matrix.Get())));
  // Locked, it cannot be let go of; that is its owner's affair.
  ASSERT_EQ(S_OK, SafeArrayLock(variable));
  EXPECT_EQ(mismatch, Saved(Raw(VT_BYREF | VT_ARRAY | VT_VARIANT, &variable)));
  ASSERT_EQ(S_OK, SafeArrayUnlock(variable));
  const long blocks = MallocSpy::Instance().LiveBlocks();
  record_->operator[](u"Value").leave = [](VARIANT& result) {
    Variant made = Matrix();
    result = std::exchange(made.Get(), VARIANT{});
  };
  EXPECT_EQ(u"", SaveObject(record_.Get()));
  EXPECT_EQ((std::vector<Report>{Dfc(TypeMismatch(5), u"Value")}), FailingMemory::Shown());
  EXPECT_EQ(blocks, MallocSpy::Instance().LiveBlocks());
}

// ---- As arguments ------------------------------------------------------------------------------

TEST_F(EveryTypeTest, ArgumentsOfEveryTypeAreTakenOrRefusedWithoutAWord) {
  const auto collection = NewCollection();
  std::int64_t zeros[8] = {};
  int refused = 0;
  for (const VARTYPE type : Types()) {
    for (const VARTYPE flag : kFlags) {
      for (const bool isNull : {false, true}) {
        VARIANT raw{};
        raw.vt = static_cast<VARTYPE>(type | flag);
        if ((flag & VT_BYREF) != 0 && !isNull) raw.byref = zeros;
        SCOPED_TRACE(raw.vt);
        const long blocks = MallocSpy::Instance().LiveBlocks();
        {
          LateCall exists(Operations(), L"ItemExists");
          const Variant self = Variant::OfObject(collection.Get());
          refused += FAILED(exists.With(self.Get()).With(raw).Run()) ? 1 : 0;
          LateCall item(*collection.Get(), L"Item");
          // There is no entry, under whatever index.
          EXPECT_TRUE(FAILED(item.With(raw).Run()));
        }
        Variant entry;
        EXPECT_TRUE(FAILED(collection->get_Item(raw, entry.Receive())));
        EXPECT_TRUE(FAILED(collection->Remove(raw)));
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(blocks, MallocSpy::Instance().LiveBlocks());
        EXPECT_TRUE(FailingMemory::Shown().empty());
      }
    }
  }
  EXPECT_GT(refused, 1000);
}

TEST_F(EveryTypeTest, AReferenceToNothingIsNoEntryNorKeyNorMarker) {
  const auto collection = NewCollection();
  const Variant number = OfLong(1);
  for (const VARTYPE type : Types()) {
    VARIANT raw{};
    raw.vt = static_cast<VARTYPE>(type | VT_BYREF);
    SCOPED_TRACE(raw.vt);
    EXPECT_TRUE(FAILED(collection->Add(raw, Missing(), Missing(), Missing())));
    EXPECT_TRUE(FAILED(collection->Add(number.Get(), raw, Missing(), Missing())));
    EXPECT_TRUE(FAILED(collection->Add(number.Get(), Missing(), raw, Missing())));
    EXPECT_EQ(0, CountOf(collection));
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, Operations().AsDelimitedFromCollection(Collected({record_.Get()}).Get(), raw,
                                                           Missing(), Missing(), &text));
    EXPECT_EQ(u"", Taken(text));
    EXPECT_EQ((std::vector<Report>{Dfc(InvalidCall(2))}), FailingMemory::Shown());
  }
  SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace brindlex::testing
