// Hosts with any floating-point environment: it decides nothing, stops nothing, stays as it is, and
// is the host's own whenever code of the host runs.

#include <cstring>

#include "bases/powers.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/support/bases_fixture.h"
#include "tests/com/support/strict_host.h"
#include "tests/core/bases/number_source.h"

namespace brindlex::testing {
namespace {

/// Every rounding mode, precision of the x87 and treatment of denormal numbers, with all exceptions
/// masked, all unmasked, and those unmasked that Delphi and Free Pascal unmask.
std::vector<FloatingPointEnvironment> Environments() {
  constexpr unsigned kAllMasks = 0x3F;
  constexpr unsigned kPascalMasks = 0x32;
  std::vector<FloatingPointEnvironment> environments;
  for (const unsigned masks : {kAllMasks, 0U, kPascalMasks}) {
    for (const unsigned precision : {0x000U, 0x200U, 0x300U}) {
      for (unsigned rounding = 0; rounding < 4; ++rounding) {
        for (const unsigned denormals : {0U, 0x8040U}) {
          environments.push_back({static_cast<std::uint16_t>(masks | precision | (rounding << 10U)),
                                  (masks << 7U) | (rounding << 13U) | denormals});
        }
      }
    }
  }
  return environments;
}

/// Runs `call` in `environment` and expects that it stays. A pending exception of the x87 is raised
/// at its next instruction, so one is run.
template <class Call>
void RunIn(const FloatingPointEnvironment& environment, const Call& call) {
  FloatingPointEnvironment after;
  {
    const EnvironmentScope scope(environment);
    call();
    asm volatile("fwait");
    after = FloatingPointEnvironment::Current();
  }
  EXPECT_EQ(environment.x87, after.x87);
  EXPECT_EQ(environment.sse, after.sse);
}

Variant DecimalOf(std::uint64_t digits, unsigned scale) {
  Variant value;
  DECIMAL& decimal = value.Get().decVal;
  std::memset(&decimal, 0, sizeof decimal);
  decimal.Lo64 = digits;
  decimal.scale = static_cast<BYTE>(scale);
  value.Get().vt = VT_DECIMAL;
  return value;
}

/// A number of one of the types that the system has to compute with to read or write it, or does
/// not have to.
Variant AnyNumber(NumberSource& source) {
  switch (source.Below(6)) {
    case 0:
      return Variant(ShownDouble(source.Mixed()));
    case 1:
      return Of(VT_CY, static_cast<std::int64_t>(source.Bits() >> (1 + source.Below(40))));
    case 2:
      return DecimalOf(source.Bits() >> source.Below(30), source.Below(20));
    case 3:
      return Of(VT_R4, static_cast<float>(source.Magnitude(-30, 60)));
    default:
      return OfDouble(source.Mixed());
  }
}

/// A call of the component, made ready outside the environment in which it runs.
class ReadyCall {
 public:
  template <class... Arguments>
  ReadyCall(IDispatch& object, const wchar_t* member, Arguments&&... arguments)
      : call_(object, member) {
    (call_.WithOwned(std::forward<Arguments>(arguments)), ...);
  }

  void Run() { status_ = call_.Run(); }

  /// What it came to: a double to the bit.
  Units Answer() const {
    if (FAILED(status_)) {
      return u"error " + DecimalText(call_.Exception().scode & 0xFFFF) + call_.Description();
    }
    const VARIANT& result = call_.Result();
    if (result.vt == VT_R8)
      return u"double " + DecimalText(result.lVal) + DecimalText(High(result));
    return Shown(result);
  }

 private:
  static std::int32_t High(const VARIANT& number) {
    return static_cast<std::int32_t>(number.llVal >> 32);
  }

  LateCall call_;
  HRESULT status_ = E_UNEXPECTED;
};

class FloatingPointTest : public BasesTest {
 protected:
  std::vector<std::unique_ptr<ReadyCall>> Conversions() {
    std::vector<std::unique_ptr<ReadyCall>> calls;
    NumberSource source(53);
    for (int round = 0; round < 12; ++round) {
      for (const long base : kBases) {
        Add(calls, L"ConvertBase", AnyNumber(source), OfLong(10), OfDouble(base), OfLong(20));
        Add(calls, L"ConvertDec2Base", AnyNumber(source), OfLong(base), OfLong(20));
      }
    }
    AddFailing(calls);
    return calls;
  }

  /// What the host passes by reference, with its tolerance written back.
  Units WithTolerance(double number, double tolerance) {
    Bstr text;
    long digits = 30;
    long group = 0;
    const Variant given = OfDouble(number);
    const HRESULT status =
        Bases().ConvertDec2Base(given.Get(), 30, &digits, &tolerance, &group, text.Receive());
    SetErrorInfo(0, nullptr);
    return SUCCEEDED(status) && tolerance >= 0 ? Units(text.View()) : Units(u"failed");
  }

 private:
  template <class... Arguments>
  void Add(std::vector<std::unique_ptr<ReadyCall>>& calls, const wchar_t* member,
           Arguments&&... arguments) {
    calls.push_back(
        std::make_unique<ReadyCall>(Bases(), member, std::forward<Arguments>(arguments)...));
  }

  /// Results and errors at the ends of the range.
  void AddFailing(std::vector<std::unique_ptr<ReadyCall>>& calls) {
    const auto toDecimal = [&](const Units& text, long base) {
      Add(calls, L"ConvertBase2Dec", Variant(text), OfLong(base));
    };
    toDecimal(Units(400, u'9'), 10);
    toDecimal(Units(1100, u'1'), 2);
    toDecimal(u"0.1", 10);
    toDecimal(u"-1111.1111", 2);
    const auto nan = std::bit_cast<double>(0x7FF8000000000000U);
    for (const double number : {0.1, 1e-10, 5e-324, 1.7976931348623157e308, nan}) {
      Add(calls, L"ConvertBase", OfDouble(number), OfLong(10), OfLong(30));
      Add(calls, L"ConvertBase", Variant(u"0.1"), OfLong(10), OfDouble(number));
    }
    for (const View text : {u"12abc", u"1E309", u"1E-400", u"4.9E-324", u"?", u"1,5", u"0.1"}) {
      Add(calls, L"ConvertBase", Variant(text), OfLong(10), OfLong(16));
      Add(calls, L"DeconvertDigit", Variant(text), OfLong(10));
    }
  }

  using View = std::u16string_view;
};

TEST_F(FloatingPointTest, NumbersConvertTheSameInEveryEnvironment) {
  const KindScope kind;  // the expected values are computed here
  std::vector<Units> expected;
  for (const auto& call : Conversions()) {
    call->Run();
    expected.push_back(call->Answer());
  }
  ASSERT_GT(expected.size(), 200U);
  const auto environments = Environments();
  ASSERT_GE(environments.size(), 64U);
  for (const FloatingPointEnvironment& environment : environments) {
    SCOPED_TRACE(::testing::Message() << std::hex << environment.x87 << ' ' << environment.sse);
    std::vector<Units> answers;
    for (const auto& call : Conversions()) {
      RunIn(environment, [&] { call->Run(); });
      answers.push_back(call->Answer());
    }
    EXPECT_EQ(expected, answers);
  }
}

TEST_F(FloatingPointTest, ToleranceAndDigitsAreTheSameInEveryEnvironment) {
  const KindScope kind;  // the expected value is computed here
  const Units expected = WithTolerance(0.1, -1e-9);
  for (const FloatingPointEnvironment& environment : Environments()) {
    Units digits;
    RunIn(environment, [&] { digits = WithTolerance(0.1, -1e-9); });
    EXPECT_EQ(expected, digits);
  }
}

/// A record whose properties are numbers; each reading notes the environment.
class NumberRecord {
 public:
  explicit NumberRecord(std::vector<FloatingPointEnvironment>& seen)
      : object_(ScriptedObject::New()) {
    const Variant values[] = {OfDouble(0.1), OfDouble(5e-324), Of(VT_R4, 0.1F),
                              Of(VT_CY, std::int64_t{12345}), Of(VT_DATE, 38000.75)};
    Units name = u"A";
    for (const Variant& value : values) {
      object_->Property(name, Variant(value.Get())).whenRead = [&seen] {
        seen.push_back(FloatingPointEnvironment::Current());
      };
      names_.push_back(name);
      ++name[0];
    }
    object_->Method(u"GetMemberNames", [this](const Arguments&) {
      return Variant::OfObject(ForeignCollection::OfNames({names_.begin(), names_.end()}).Get());
    });
  }

  IDispatch* Get() const { return object_.Get(); }

 private:
  ComPtr<ScriptedObject> object_;
  std::vector<Units> names_;
};

TEST_F(FloatingPointTest, RecordsAreSavedTheSameAndReadInTheHostsEnvironment) {
  const KindScope kind;  // the expected text is made here
  std::vector<FloatingPointEnvironment> seen;
  const NumberRecord record(seen);
  const auto operations = NewSaveRestore();
  const auto save = [&] {
    BSTR text = nullptr;
    operations->AsDelimitedFromObject(record.Get(), &text);
    return Bstr(Taken(text));
  };
  const Bstr expected = save();
  ASSERT_GT(expected.View().size(), 40U);
  for (const FloatingPointEnvironment& environment : Environments()) {
    seen.clear();
    Bstr text;
    RunIn(environment, [&] { text = save(); });
    EXPECT_EQ(expected.View(), text.View());
    ASSERT_EQ(5U, seen.size());
    for (const auto& met : seen) EXPECT_EQ(environment, met);
  }
}

TEST_F(FloatingPointTest, AnArgumentsDefaultPropertyIsReadInTheHostsEnvironment) {
  const KindScope kind;  // for the test's own values
  std::vector<FloatingPointEnvironment> seen;
  const auto number = ScriptedObject::New();
  number->NextId(DISPID_VALUE);
  number->Property(u"Value", OfDouble(16)).whenRead = [&seen] {
    seen.push_back(FloatingPointEnvironment::Current());
  };
  for (const FloatingPointEnvironment& environment : Environments()) {
    seen.clear();
    ReadyCall call(Bases(), L"ConvertBase", Variant::OfObject(number.Get()), OfLong(10),
                   Variant::OfObject(number.Get()));
    RunIn(environment, [&] { call.Run(); });
    EXPECT_EQ(u"text 10", call.Answer());
    EXPECT_EQ((std::vector<FloatingPointEnvironment>{environment, environment}), seen);
  }
}

TEST_F(FloatingPointTest, PositionsAreNumbersInEveryEnvironment) {
  const KindScope kind;  // for the test's own values
  const auto collection = NewCollection();
  const Variant entry = Variant::OfText(u"entry");
  ASSERT_EQ(S_OK, collection->Add(entry.Get(), Missing(), Missing(), Missing()));
  for (const FloatingPointEnvironment& environment : Environments()) {
    for (const double position :
         {1.0, 1.4, 0.1, 1e300, std::bit_cast<double>(0x7FF8000000000000U)}) {
      ReadyCall expected(*collection.Get(), L"Item", OfDouble(position));
      expected.Run();
      ReadyCall call(*collection.Get(), L"Item", OfDouble(position));
      RunIn(environment, [&] { call.Run(); });
      EXPECT_EQ(expected.Answer(), call.Answer());
    }
  }
}

TEST_F(FloatingPointTest, ABoxIsShownInTheHostsEnvironment) {
  const KindScope kind;  // for the test's own values
  // Its masks are the usual ones, since the system draws the box.
  const FloatingPointEnvironment environment{0x0C3F, 0x5F80};
  // What a box of the host's own meets, since the system may have a say in it.
  FloatingPointEnvironment own;
  Boxes().whileNextIsOpen = [&own] { own = FloatingPointEnvironment::Current(); };
  RunIn(environment, [] { MessageBoxW(nullptr, L"text", L"caption", MB_OK | MB_ICONEXCLAMATION); });
  FloatingPointEnvironment seen;
  Boxes().whileNextIsOpen = [&seen] { seen = FloatingPointEnvironment::Current(); };
  const auto operations = NewSaveRestore();
  BSTR text = nullptr;
  RunIn(environment, [&] {
    operations->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(), &text);
  });
  SysFreeString(text);
  EXPECT_EQ(2U, Boxes().Boxes().size());
  Boxes().Forget();
  EXPECT_EQ(own, seen);
}

}  // namespace
}  // namespace brindlex::testing
