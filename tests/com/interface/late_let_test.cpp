// Text assigned to properties of every automation type, which convert it as the system does.

#include <cstring>

#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/strict_host.h"

namespace brindlex::testing {
namespace {

class LateLetTest : public SaveRestoreTest {
 protected:
  static constexpr int kSetting = 7;

  /// Makes one record after the other that lists `member` alone, and remembers the last.
  ComPtr<ScriptedObject> CreatorOf(View member) {
    return NewCreator([this, member] {
      last_ = TypedRecord::New();
      last_->memberNames = ForeignCollection::OfNames({member}).As<IDispatch>();
      return last_.As<IDispatch>();
    });
  }

  /// A record restored with `text` in its `member`, or null when that fails.
  ComPtr<TypedRecord> Set(View member, View text) {
    const auto creator = CreatorOf(member);
    const Units saved = Units(member) + u"\u00A5\u0152" + Units(text) + u"\u00A5\u0152";
    const auto restored = Restore(saved, creator.Get());
    auto record = std::exchange(last_, nullptr);
    return restored ? record : nullptr;
  }

  void ExpectRefused(View member, View text, const ShownError& error) {
    EXPECT_FALSE(Set(member, text)) << ::testing::PrintToString(Units(text));
    ExpectShown({Adtc(error.AtLine(kSetting))});
  }

  void TearDown() override {
    last_ = nullptr;
    SaveRestoreTest::TearDown();
  }

 private:
  ComPtr<TypedRecord> last_;
};

/// A record of a bridge that writes to every pointer of a call, null or not.
class BridgedRecord final : public ScriptedObject {
 public:
  static ComPtr<BridgedRecord> New() { return ComPtr<BridgedRecord>::Adopt(new BridgedRecord); }

  STDMETHODIMP Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) override {
    *wrongArgument = 0;
    *exception = {};
    if (flags == DISPATCH_PROPERTYPUT) {
      result->vt = VT_BSTR;
      result->bstrVal = NewBstr(u"written unasked");
    }
    return ScriptedObject::Invoke(id, reserved, locale, flags, params, result, exception,
                                  wrongArgument);
  }
};

TEST_F(LateLetTest, ASetPropertyMayWriteAResult) {
  const auto creator = NewCreator([] {
    const auto record = BridgedRecord::New();
    record->Property(u"Title");
    record->Property(u"Count");
    record->Method(u"GetMemberNames", [](const Arguments&) {
      return Variant::OfObject(ForeignCollection::OfNames({u"Title", u"Count"}).Get());
    });
    return record.As<IDispatch>();
  });
  const auto restored =
      Restore(u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152", creator.Get());
  EXPECT_EQ(std::vector<Units>{u"Alpha=1"}, Titles(restored));
}

/// `text` as the system reads it for the user; Empty when it is not of that type.
Variant AsTheSystemReads(std::u16string_view text, VARTYPE type) {
  const Variant given = Variant::OfText(text);
  Variant read;
  const HRESULT status = VariantChangeTypeEx(&read.Get(), const_cast<VARIANT*>(&given.Get()),
                                             GetUserDefaultLCID(), 0, type);
  return FAILED(status) ? Variant() : std::move(read);
}

constexpr std::u16string_view kTexts[] = {
    u"0",    u"1",    u"-1",       u"255",         u"256",     u"-32768",     u"32768", u"1.5",
    u"2.5",  u"-0.5", u"1e3",      u"99999999999", u"1,234.5", u"True",       u"#",     u"",
    u" 12 ", u"&H10", u"1/2/2003", u"10:30",       u"abc",     u"2147483648", u"1e400", u"$3.50",
};

TEST_F(LateLetTest, EachTypeReadsTextAsTheSystemDoesForTheUser) {
  struct Row {
    View member;
    VARTYPE type;
    Variant (*value)(TypedRecord& record);
  };
  const Row rows[] = {
      {u"Short", VT_I2, [](TypedRecord& r) { return Of(VT_I2, r.shortNumber); }},
      {u"Long", VT_I4, [](TypedRecord& r) { return Of(VT_I4, r.longNumber); }},
      {u"Single", VT_R4, [](TypedRecord& r) { return Of(VT_R4, r.single); }},
      {u"Double", VT_R8, [](TypedRecord& r) { return Of(VT_R8, r.doubleNumber); }},
      {u"Money", VT_CY, [](TypedRecord& r) { return Of(VT_CY, r.money); }},
      {u"Day", VT_DATE, [](TypedRecord& r) { return Of(VT_DATE, r.day); }},
      {u"Flag", VT_BOOL, [](TypedRecord& r) { return Of(VT_BOOL, r.flag); }},
      {u"Exact", VT_DECIMAL, [](TypedRecord& r) { return Of(VT_DECIMAL, r.exact); }},
      {u"Tiny", VT_UI1, [](TypedRecord& r) { return Of(VT_UI1, r.tiny); }},
  };
  int refused = 0;
  for (const Row& row : rows) {
    int taken = 0;
    for (const View text : kTexts) {
      const Variant expected = AsTheSystemReads(text, row.type);
      if (expected.Get().vt == VT_EMPTY) continue;
      ++taken;
      const auto record = Set(row.member, text);
      ASSERT_TRUE(record) << ::testing::PrintToString(Units(row.member))
                          << ::testing::PrintToString(Units(text));
      EXPECT_EQ(static_cast<HRESULT>(VARCMP_EQ),
                VarCmp(const_cast<VARIANT*>(&expected.Get()), &row.value(*record.Get()).Get(),
                       GetUserDefaultLCID(), 0))
          << ::testing::PrintToString(Units(row.member)) << ::testing::PrintToString(Units(text));
    }
    EXPECT_GT(taken, 2);
    refused += static_cast<int>(std::size(kTexts)) - taken;
  }
  EXPECT_GT(refused, 9);
}

TEST_F(LateLetTest, TextIsHandedOverAsTextToTheLastUnit) {
  using namespace std::string_view_literals;
  const View odd = u"a\0b\xD800 \uFFFF"sv;
  EXPECT_EQ(odd, Set(u"Words", odd)->words.View());
  EXPECT_EQ(u""sv, Set(u"Words", u"")->words.View());
  const auto record = Set(u"Any", u"12.5");
  ASSERT_EQ(VT_BSTR, record->any.Get().vt);
  EXPECT_EQ(u"12.5", ViewOf(record->any.Get().bstrVal));
}

TEST_F(LateLetTest, TextThatAPropertyCannotConvertFailsTheRestore) {
  ExpectRefused(u"Long", u"", TypeMismatch());
  ExpectRefused(u"Long", u"abc", TypeMismatch());
  ExpectRefused(u"Double", u"", TypeMismatch());
  ExpectRefused(u"Day", u"no day", TypeMismatch());
  ExpectRefused(u"Flag", u"Maybe", TypeMismatch());
  ExpectRefused(u"Exact", u"x", TypeMismatch());
  ExpectRefused(u"Short", u"32768", {6, u"Overflow"});
  ExpectRefused(u"Long", u"2147483648", {6, u"Overflow"});
  ExpectRefused(u"Tiny", u"256", {6, u"Overflow"});
  ExpectRefused(u"Tiny", u"-1", {6, u"Overflow"});
}

TEST_F(LateLetTest, AnObjectPropertyTakesNoText) {
  ExpectRefused(u"Thing", u"anything", TypeMismatch());
}

TEST_F(LateLetTest, AReadOnlyPropertyIsSavedButNotRestored) {
  const auto record = TypedRecord::New();
  record->memberNames = ForeignCollection::OfNames({u"OnlyRead"}).As<IDispatch>();
  EXPECT_EQ(u"OnlyRead\u00A5\u015242\u00A5\u0152", SaveObject(record.Get()));
  ExpectRefused(u"OnlyRead", u"42", NoMember());
}

TEST_F(LateLetTest, AWriteOnlyPropertyIsRestoredButNotSaved) {
  EXPECT_EQ(17, Set(u"OnlyWritten", u"17")->written);
  const auto record = TypedRecord::New();
  record->memberNames = ForeignCollection::OfNames({u"OnlyWritten"}).As<IDispatch>();
  EXPECT_EQ(u"", SaveObject(record.Get()));
  ExpectShown({Dfc(NoMember(5), u"OnlyWritten")});
}

TEST_F(LateLetTest, AMethodIsNoProperty) {
  ExpectRefused(u"DoNothing", u"1", NoMember());
  const auto record = TypedRecord::New();
  record->memberNames = ForeignCollection::OfNames({u"Absent"}).As<IDispatch>();
  EXPECT_EQ(u"", SaveObject(record.Get()));
  ExpectShown({Dfc(NoMember(5), u"Absent")});
}

TEST_F(LateLetTest, ARecordOfEveryTypeIsRestored) {
  const KindScope kind;  // the record converts texts in the host
  const std::vector<View> members = {u"Short", u"Long", u"Single", u"Double", u"Money", u"Day",
                                     u"Words", u"Flag", u"Any",    u"Exact",  u"Tiny"};
  const auto record = TypedRecord::New();
  record->memberNames = ForeignCollection::OfNames(members).As<IDispatch>();
  record->shortNumber = -32768;
  record->longNumber = 2147483647;
  record->single = -0.375F;
  record->doubleNumber = 1.0 / 1024;
  record->money.int64 = 123456789;
  record->day = 37623.4375;
  record->words = Bstr(u"R\u00F6d & gr\u00F6n\r\n");
  record->flag = VARIANT_TRUE;
  record->any = Number(-5);
  record->exact.Lo64 = 98765;
  record->exact.scale = 3;
  record->tiny = 200;
  const Units text = SaveObject(record.Get());

  ComPtr<TypedRecord> back;
  const auto creator = NewCreator([&] {
    back = TypedRecord::New();
    back->memberNames = ForeignCollection::OfNames(members).As<IDispatch>();
    return back.As<IDispatch>();
  });
  ASSERT_EQ(1, CountOf(Restore(text, creator.Get())));
  EXPECT_EQ(-32768, back->shortNumber);
  EXPECT_EQ(2147483647, back->longNumber);
  EXPECT_EQ(-0.375F, back->single);
  EXPECT_EQ(1.0 / 1024, back->doubleNumber);
  EXPECT_EQ(123456789, back->money.int64);
  EXPECT_EQ(37623.4375, back->day);
  EXPECT_EQ(record->words.View(), back->words.View());
  EXPECT_EQ(VARIANT_TRUE, back->flag);
  EXPECT_EQ(VT_BSTR, back->any.Get().vt);
  EXPECT_EQ(u"-5", TextOf(back->any.Get()));
  EXPECT_EQ(98765U, back->exact.Lo64);
  EXPECT_EQ(3, back->exact.scale);
  EXPECT_EQ(200, back->tiny);
  EXPECT_EQ(text, SaveObject(back.Get()));
}

}  // namespace
}  // namespace brindlex::testing
