// Reports that a host takes in place of its user, and those that nobody could see.

#include "tests/com/objects/late_call.h"
#include "tests/com/persistence/save_restore_test.h"
#include "tests/com/support/apartment.h"
#include "tests/com/support/hidden_station.h"

namespace brindlex::testing {
namespace {

/// The arguments that a listener was called with, as one text.
std::u16string InWords(const Arguments& arguments) {
  std::u16string words;
  for (const VARIANT* const argument : arguments) words.append(Shown(*argument)).append(u"|");
  return words;
}

constexpr std::u16string_view kToldOfNothing =
    u"text Error DFC|text Error DFC\r\n\r\nObject variable or With block variable not set"
    u" Number: 91 Line: 1 Member Name: |long 48|long 91"
    u"|text Object variable or With block variable not set|long 1|";
constexpr std::string_view kWritten =
    "Error DFC: Error DFC\r\n\r\nObject variable or With block variable not set"
    " Number: 91 Line: 1 Member Name: \r\n";

/// What the process writes to its standard error while this lives.
class StandardError {
 public:
  StandardError() : before_(GetStdHandle(STD_ERROR_HANDLE)) {
    EXPECT_TRUE(CreatePipe(&read_, &write_, nullptr, 1U << 20U));
    SetStdHandle(STD_ERROR_HANDLE, write_);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;
  ~StandardError() {
    SetStdHandle(STD_ERROR_HANDLE, before_);
    CloseHandle(write_);
    CloseHandle(read_);
  }

  /// All of it so far.
  std::string Taken() const {
    DWORD size = 0;
    EXPECT_TRUE(PeekNamedPipe(read_, nullptr, 0, nullptr, &size, nullptr));
    std::string bytes(size, '\0');
    if (size != 0) {
      EXPECT_TRUE(ReadFile(read_, bytes.data(), size, &size, nullptr));
    }
    return bytes;
  }

 private:
  HANDLE before_;
  HANDLE read_ = nullptr;
  HANDLE write_ = nullptr;
};

class ReportListenerTest : public SaveRestoreTest {
 protected:
  void TearDown() override {
    // What is handed over stays until the apartment ends; the object goes before that.
    Listen(nullptr);
    listener_ = nullptr;
    SaveRestoreTest::TearDown();
  }

  ComPtr<_clsEnvironment> Environment() const {
    return Dll().New<_clsEnvironment, ::clsEnvironment>();
  }

  void Listen(IDispatch* listener) const {
    EXPECT_EQ(S_OK, Environment()->putref_ReportListener(listener));
  }

  /// An object that appends each report to `reports`.
  static ComPtr<ScriptedObject> NewListener(std::vector<Units>& reports) {
    auto listener = ScriptedObject::New();
    listener->Method(u"OnReport", [&reports](const Arguments& arguments) {
      reports.push_back(InWords(arguments));
      return Variant::OfText(u"a value of no meaning");
    });
    return listener;
  }

  /// A save that fails.
  void Fail() { EXPECT_EQ(u"", Save(nullptr)); }

  std::vector<Units> told_;
  ComPtr<ScriptedObject> listener_ = NewListener(told_);
};

TEST_F(ReportListenerTest, IsToldInPlaceOfABox) {
  Listen(listener_.Get());
  Fail();
  EXPECT_EQ((std::vector<Units>{Units(kToldOfNothing)}), told_);
  ExpectShown({});
  Listen(nullptr);
  Fail();
  EXPECT_EQ(1U, told_.size());
  EXPECT_EQ(1U, Shown().size());
}

TEST_F(ReportListenerTest, ALongReportIsToldWhole) {
  Listen(listener_.Get());
  const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
  const Units text(1000000, u'x');
  VARIANT_BOOL saved = VARIANT_TRUE;
  EXPECT_EQ(S_OK,
            files->SaveTextFile(Bstr(u"Q:\\no\\f").Get(), Bstr(text).Get(), VARIANT_FALSE, &saved));
  EXPECT_EQ(VARIANT_FALSE, saved);
  ASSERT_EQ(1U, told_.size());
  EXPECT_NE(Units::npos, told_[0].find(text));
}

TEST_F(ReportListenerTest, IsAPropertyThatEveryHostCanSet) {
  const auto environment = Environment();
  const Variant object = Variant::OfObject(listener_.Get());
  const auto expect = [&](IDispatch* expected) {
    LateCall get(*environment.Get(), L"reportlistener");
    EXPECT_EQ(S_OK, get.By(DISPATCH_PROPERTYGET).Run());
    EXPECT_EQ(VT_DISPATCH, get.Result().vt);
    EXPECT_EQ(expected, get.Result().pdispVal);
  };
  expect(nullptr);
  EXPECT_EQ(S_OK, LateCall(*environment.Get(), L"ReportListener").Put(object.Get()));
  expect(listener_.Get());
  VARIANT null;
  for (const VARTYPE type : {VT_NULL, VT_EMPTY, VT_DISPATCH}) {
    null = {};
    null.vt = type;
    EXPECT_EQ(S_OK, LateCall(*environment.Get(), L"ReportListener").Put(null));
    expect(nullptr);
    LateCall reference(*environment.Get(), L"ReportListener");
    EXPECT_EQ(
        S_OK,
        reference.By(DISPATCH_PROPERTYPUTREF).WithNamed(DISPID_PROPERTYPUT, object.Get()).Run());
    expect(listener_.Get());
  }
  EXPECT_EQ(DISP_E_TYPEMISMATCH,
            LateCall(*environment.Get(), L"ReportListener").Put(Variant::OfText(u"x").Get()));
  expect(listener_.Get());
  EXPECT_EQ(E_POINTER, environment->get_ReportListener(nullptr));
}

TEST_F(ReportListenerTest, OneThatFailsIsHarmless) {
  const auto without = ScriptedObject::New();
  Listen(without.Get());
  {
    const StandardError error;
    Fail();
    EXPECT_EQ(kWritten, error.Taken());
    listener_->operator[](u"OnReport").get = Outcome::Raise(static_cast<HRESULT>(0x800A000B));
    Listen(listener_.Get());
    Fail();
    EXPECT_EQ(kWritten, error.Taken());
  }
  ExpectShown({});
}

TEST_F(ReportListenerTest, OneThatCallsInAgainIsNotToldOfItself) {
  listener_->operator[](u"OnReport").whenRead = [this] {
    Fail();
    Listen(nullptr);
  };
  Listen(listener_.Get());
  const StandardError error;
  Fail();
  EXPECT_EQ((std::vector<Units>{Units(kToldOfNothing)}), told_);
  EXPECT_EQ(kWritten, error.Taken());
  ExpectShown({});
}

TEST_F(ReportListenerTest, EveryThreadHasItsOwnUntilItsApartmentEnds) {
  Listen(listener_.Get());
  std::vector<Units> elsewhere;
  const _clsCollectionSaveRestore* const ours = &Operations();
  InApartment([&] {
    // The DLL keeps it, and lets it go in CoUninitialize.
    Listen(NewListener(elsewhere).Get());
    const auto operations = NewSaveRestore();
    EXPECT_NE(ours, operations.Get());
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, operations->AsDelimitedFromCollection(nullptr, Missing(), Missing(), Missing(),
                                                          &text));
    EXPECT_EQ(u"", Taken(text));
    EXPECT_EQ(2, ScriptedObject::Alive());
  });
  EXPECT_EQ(1, ScriptedObject::Alive());
  EXPECT_EQ((std::vector<Units>{Units(kToldOfNothing)}), elsewhere);
  EXPECT_TRUE(told_.empty());
}

TEST_F(ReportListenerTest, WhereNobodyCouldSeeABoxTheReportIsWritten) {
  {
    const HiddenStation hidden;
    const StandardError error;
    Fail();
    EXPECT_EQ(kWritten, error.Taken());
    Listen(listener_.Get());
    Fail();
    EXPECT_EQ("", error.Taken());
    EXPECT_EQ(1U, told_.size());
    Listen(nullptr);
  }
  ExpectShown({});
  Fail();
  EXPECT_EQ(1U, Shown().size());
}

TEST_F(ReportListenerTest, ALongReportIsWrittenWholeAndWithoutAStandardErrorNowhere) {
  const HiddenStation hidden;
  const auto files = Dll().New<_clsAppFiles, ::clsAppFiles>();
  const Units text(1000, u'\u00E9');
  VARIANT_BOOL saved = VARIANT_TRUE;
  const auto fail = [&] {
    EXPECT_EQ(S_OK, files->SaveTextFile(Bstr(u"Q:\\no\\f").Get(), Bstr(text).Get(), VARIANT_FALSE,
                                        &saved));
    EXPECT_EQ(VARIANT_FALSE, saved);
  };
  {
    const StandardError error;
    fail();
    const std::string written = error.Taken();
    EXPECT_TRUE(written.starts_with("KX Error: There was a system error"));
    EXPECT_TRUE(written.ends_with("\r\n"));
    EXPECT_GE(written.size(), 1100U);
  }
  auto* const before = GetStdHandle(STD_ERROR_HANDLE);
  for (auto* const none : {HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
    SetStdHandle(STD_ERROR_HANDLE, none);
    fail();
  }
  SetStdHandle(STD_ERROR_HANDLE, before);
}

}  // namespace
}  // namespace brindlex::testing
