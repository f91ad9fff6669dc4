// The reports when an object of the host fails, for every kind of status.

#include <dispex.h>

#include "tests/com/persistence/save_restore_test.h"

namespace brindlex::testing {
namespace {

class LateErrorTest : public SaveRestoreTest {};

constexpr HRESULT kControl = static_cast<HRESULT>(0x800A0000);
constexpr HRESULT kObjectDefined = static_cast<HRESULT>(0x80040000);

struct Row {
  Outcome outcome;
  ShownError error;
};

Outcome Code(WORD code, std::u16string description = {}) {
  return {DISP_E_EXCEPTION, 0, code, std::move(description)};
}

Outcome Deferred(Outcome outcome) {
  outcome.deferred = true;
  return outcome;
}

const std::vector<Row>& Rows() {
  static const std::u16string general = u"Application-defined or object-defined error";
  static const std::vector<Row> rows = {
      // Statuses of the call itself.
      {{E_FAIL}, {E_FAIL, u"Automation error"}},
      {{E_UNEXPECTED}, {E_UNEXPECTED, u"Automation error"}},
      {{E_NOTIMPL}, {445, u"Object doesn't support this action"}},
      {{E_OUTOFMEMORY}, OutOfMemory()},
      {{E_ACCESSDENIED}, {70, u"Permission denied"}},
      {{E_INVALIDARG}, InvalidCall()},
      {{E_NOINTERFACE},
       {430, u"Class does not support Automation or does not support expected interface"}},
      {{DISP_E_MEMBERNOTFOUND}, NoMember()},
      {{DISP_E_UNKNOWNNAME}, NoMember()},
      {{DISP_E_UNKNOWNINTERFACE}, NoMember()},
      {{DISP_E_PARAMNOTFOUND}, {448, u"Named argument not found"}},
      {{DISP_E_TYPEMISMATCH}, TypeMismatch()},
      {{DISP_E_BADVARTYPE},
       {458, u"Variable uses an Automation type not supported in Visual Basic"}},
      {{DISP_E_OVERFLOW}, {6, u"Overflow"}},
      {{DISP_E_BADINDEX}, OutOfRange()},
      {{DISP_E_UNKNOWNLCID}, {447, u"Object doesn't support current locale setting"}},
      {{DISP_E_ARRAYISLOCKED}, {10, u"This array is fixed or temporarily locked"}},
      {{DISP_E_BADPARAMCOUNT}, {450, u"Wrong number of arguments or invalid property assignment"}},
      {{DISP_E_PARAMNOTOPTIONAL}, {449, u"Argument not optional"}},
      {{DISP_E_NOTACOLLECTION}, {451, u"Object not a collection"}},
      {{DISP_E_DIVBYZERO}, {11, u"Division by zero"}},
      {{RPC_E_DISCONNECTED}, {462, u"The remote server machine does not exist or is unavailable"}},
      {{STG_E_FILENOTFOUND}, {53, u"File not found"}},
      {{kControl | 438}, NoMember()},
      {{kControl}, {kControl, u"Automation error"}},
      // The object's own error.
      {Outcome::Raise(kControl | 438), NoMember()},
      {Outcome::Raise(kControl | 5, u"That will not do", u"Host.Record"), {5, u"That will not do"}},
      {Outcome::Raise(kControl | 1001), {1001, general}},
      {Outcome::Raise(kControl | 65535, u"The last"), {65535, u"The last"}},
      {Outcome::Raise(kControl, u"Number nought"), {kControl, u"Number nought"}},
      {Outcome::Raise(kObjectDefined | 513, u"Record is closed"),
       {kObjectDefined | 513, u"Record is closed"}},
      {Outcome::Raise(kObjectDefined | 513), {kObjectDefined | 513, u"Automation error"}},
      {Outcome::Raise(E_FAIL), {E_FAIL, u"Automation error"}},
      {Outcome::Raise(E_OUTOFMEMORY, u"No room"), {7, u"No room"}},
      {Outcome::Raise(E_ACCESSDENIED), {70, u"Permission denied"}},
      {Code(1000, u"My own"), {1000, u"My own"}},
      {Code(11), {11, u"Division by zero"}},
      {Code(20000), {20000, general}},
      {Outcome::Raise(0), {DISP_E_EXCEPTION, u"Automation error"}},
      {Outcome::Raise(0, u"Only words"), {DISP_E_EXCEPTION, u"Only words"}},
      {Deferred(Outcome::Raise(kControl | 6, u"Told when asked", u"Host.Record")),
       {6, u"Told when asked"}},
      {Deferred(Code(13)), TypeMismatch()},
  };
  return rows;
}

/// One of every so many, where failures take the same path: each box takes time.
std::vector<Row> OneRowIn(std::size_t step) {
  std::vector<Row> some;
  for (std::size_t at = 0; at < Rows().size(); at += step) some.push_back(Rows()[at]);
  return some;
}

TEST_F(LateErrorTest, AGetterThatFailsIsReportedWithItsMember) {
  for (const Row& row : Rows()) {
    const auto record = NewTitle(u"Alpha", u"1");
    record->operator[](u"Count").get = row.outcome;
    EXPECT_EQ(u"", SaveObject(record.Get()));
    ExpectShown({Dfc(row.error.AtLine(5), u"Count")});
  }
}

TEST_F(LateErrorTest, ASetterThatFailsFailsTheRestore) {
  for (const Row& row : OneRowIn(2)) {
    const auto creator = NewCreator([&row] {
      const auto record = NewTitle({}, {});
      record->operator[](u"Count").let = row.outcome;
      return record.As<IDispatch>();
    });
    EXPECT_FALSE(Restore(u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152", creator.Get()));
    ExpectShown({Adtc(row.error.AtLine(7))});
  }
}

constexpr std::u16string_view kOneTitle = u"Title\u00A5Count\u00A5\u0152Alpha\u00A51\u00A5\u0152";

TEST_F(LateErrorTest, ACreatorThatFailsFailsTheRestore) {
  for (const Row& row : OneRowIn(6)) {
    const auto creator = NewTitleCreator();
    auto& create = creator->operator[](u"GetNewObject");
    create.get = row.outcome;
    EXPECT_FALSE(Restore(kOneTitle, creator.Get()));
    ExpectShown({Adtc(row.error.AtLine(3))});

    create.get = {};
    int calls = 0;
    create.whenRead = [&] {
      if (++calls == 2) create.get = row.outcome;
    };
    EXPECT_FALSE(Restore(kOneTitle, creator.Get()));
    ExpectShown({Adtc(row.error.AtLine(7))});
  }
}

TEST_F(LateErrorTest, AMemberListThatFailsFailsTheRestore) {
  for (const Row& row : OneRowIn(6)) {
    const auto creator = NewCreator([&row] {
      const auto record = NewTitle({}, {});
      record->operator[](u"GetMemberNames").get = row.outcome;
      return record.As<IDispatch>();
    });
    EXPECT_FALSE(Restore(kOneTitle, creator.Get()));
    ExpectShown({Adtc(row.error.AtLine(3))});
  }
}

TEST_F(LateErrorTest, AMemberListThatFailsIsPassedOverOnSaving) {
  for (const Row& row : OneRowIn(6)) {
    const auto record = NewTitle(u"Alpha", u"1");
    record->operator[](u"GetMemberNames").get = row.outcome;
    record->Property(u"MembersCol",
                     Variant::OfObject(ForeignCollection::OfNames({u"Count"}).Get()));
    EXPECT_EQ(u"Count\u00A5\u01521\u00A5\u0152", SaveObject(record.Get()));
  }
}

TEST_F(LateErrorTest, ErrorSevenOfTheHostsObjectIsIgnoredWhereOtherErrorsAre) {
  const auto record = NewTitle(u"Alpha", u"1");
  record->Property(u"MembersCol", Variant::OfObject(ForeignCollection::OfNames({u"Count"}).Get()));
  for (const Outcome& outcome :
       {Outcome{E_OUTOFMEMORY}, Outcome::Raise(static_cast<HRESULT>(0x800A0007))}) {
    record->operator[](u"GetMemberNames").get = outcome;
    EXPECT_EQ(u"Count\u00A5\u01521\u00A5\u0152", SaveObject(record.Get()));
  }
  ExpectShown({});
}

TEST_F(LateErrorTest, ASuccessfulCallLeavesNoErrorObjectOfTheHosts) {
  const auto leaveErrorObject = [] {
    ComPtr<ICreateErrorInfo> made;
    ASSERT_EQ(S_OK, CreateErrorInfo(made.Receive()));
    SetErrorInfo(0, made.As<IErrorInfo>().Get());
  };
  const auto record = NewTitle(u"Alpha", u"1");
  record->Property(u"MembersCol", Variant::OfObject(ForeignCollection::OfNames({u"Count"}).Get()));
  record->operator[](u"GetMemberNames").get = {E_FAIL};
  record->operator[](u"GetMemberNames").whenRead = leaveErrorObject;
  EXPECT_EQ(u"Count\u00A5\u01521\u00A5\u0152", SaveObject(record.Get()));
  ComPtr<IErrorInfo> left;
  EXPECT_EQ(S_FALSE, GetErrorInfo(0, left.Receive()));
}

TEST_F(LateErrorTest, NamesAreAskedForByDispatchExWhereIDispatchRefuses) {
  const auto record = NewTitle(u"Alpha", u"1");
  record->namesStatus = E_NOTIMPL;
  EXPECT_EQ(u"", SaveObject(record.Get()));
  ExpectShown({Gmnl({445, u"Object doesn't support this action"}), Dfc({0, u""})});
  record->isExtended = true;
  EXPECT_EQ(kOneTitle, SaveObject(record.Get()));

  const auto creator = NewCreator([] {
    const auto made = NewTitle({}, {});
    made->namesStatus = E_NOTIMPL;
    made->isExtended = true;
    return made.As<IDispatch>();
  });
  const auto restored =
      Restore(u"TITLE\u00A5count\u00A5\u0152Beta\u00A52\u00A5\u0152", creator.Get());
  EXPECT_EQ(std::vector<Units>{u"Beta=2"}, Titles(restored));
}

TEST_F(LateErrorTest, NamesThatCannotBeLookedUpAreReportedWithTheObjectsError) {
  const Row rows[] = {
      {{E_FAIL}, {E_FAIL, u"Automation error", 5}},
      {{E_OUTOFMEMORY}, OutOfMemory(5)},
      {{E_ACCESSDENIED}, {70, u"Permission denied", 5}},
      {{DISP_E_UNKNOWNNAME}, NoMember(5)},
  };
  for (const bool byDispatchEx : {false, true}) {
    for (const Row& row : rows) {
      const auto record = NewTitle(u"Alpha", u"1");
      const auto breaking = NewTitle(u"Beta", u"2");
      breaking->isExtended = byDispatchEx;
      breaking->namesStatus = byDispatchEx ? E_NOTIMPL : row.outcome.status;
      breaking->extendedNamesStatus = row.outcome.status;
      EXPECT_EQ(u"", Save(Collected({record.Get(), breaking.Get()}).Get()));
      ExpectShown({Dfc(row.error, u"Title")});
    }
  }
}

}  // namespace
}  // namespace brindlex::testing
