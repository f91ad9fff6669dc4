#include <gmock/gmock.h>

#include <vector>

#include "tests/core/persistence/naive_format.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

constexpr TextView kNoSuchMember = u"Object doesn't support this property or method";
constexpr TextView kNotSet = u"Object variable or With block variable not set";

class SaveTest : public PersistenceTest {
 protected:
  /// Records of a class without a GetMemberNames, of which more is to be said.
  static std::shared_ptr<RecordClass> Unlisted() {
    auto made = std::make_shared<RecordClass>();
    made->members = {{u"A"}, {u"B"}};
    return made;
  }

  CollectionRef OneRecord(const std::shared_ptr<RecordClass>& recordClass) {
    return RecordsOf(recordClass, {{u"1", u"2"}});
  }
};

TEST_F(SaveTest, AHeaderThenOneRecordForEachObject) {
  const auto records = RecordsOf(TitleAndCount(), {{u"Alpha", u"3"}, {u"Beta", u"12"}});
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152Alpha\u00A53\u00A5\u0152Beta\u00A512\u00A5\u0152",
            store_.AsDelimitedFromCollection(records));
  EXPECT_EQ(u"Title\u00BBCount\u00BB\u0160Alpha\u00BB3\u00BB\u0160Beta\u00BB12\u00BB\u0160",
            store_.AsDelimitedFromCollection(records, u"\u0160", u"\u00BB"));
  EXPECT_EQ(u"Title, Count, \r\nAlpha, 3, \r\nBeta, 12, \r\n",
            store_.AsDelimitedFromCollection(records, u"\r\n", u", "));
  ExpectReports({});
}

TEST_F(SaveTest, EitherMarkerMayBeOmitted) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  EXPECT_EQ(u"Title\u00A5Count\u00A5;A\u00A51\u00A5;",
            store_.AsDelimitedFromCollection(records, u";"));
  EXPECT_EQ(u"Title,Count,\u0152A,1,\u0152", store_.AsDelimitedFromCollection(records, {}, u","));
  ExpectReports({});
}

TEST_F(SaveTest, NoObjectsAreEmptyText) {
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(Adapter().NewCollection()));
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(Adapter().NewCollection(), u"", u""));
  ExpectReports({});
}

TEST_F(SaveTest, EveryTypeOfMemberIsWrittenAsText) {
  const auto recordClass = ListingClass(Adapter(), {{u"Name"},
                                                    {u"Size", MemberType::kNumber, u"0"},
                                                    {u"Made", MemberType::kDate, u"2000-01-01"},
                                                    {u"Locked", MemberType::kBoolean, u"False"}});
  EXPECT_EQ(
      u"Name\u00A5Size\u00A5Made\u00A5Locked\u00A5\u0152"
      u"a\u00A5-2.5\u00A52024-02-29\u00A5True\u00A5\u0152"
      u"\u00A50\u00A52000-01-01\u00A5False\u00A5\u0152",
      store_.AsDelimitedFromCollection(
          RecordsOf(recordClass, {{u"a", u"-2.5", u"2024-02-29", u"True"}, {}})));
}

TEST_F(SaveTest, ValuesAreNeverEscaped) {
  const Text odd(u"\0\xD800\u00A5\u0152\r\n", 6);
  EXPECT_EQ(
      u"A\u00A5\u0152" + odd + u"\u00A5\u0152",
      store_.AsDelimitedFromCollection(RecordsOf(ListingClass(Adapter(), {{u"A"}}), {{odd}})));
}

TEST_F(SaveTest, OneEmptyValueIsOneDelimiter) {
  EXPECT_EQ(u"A\u00A5\u0152\u00A5\u0152", store_.AsDelimitedFromCollection(RecordsOf(
                                              ListingClass(Adapter(), {{u"A"}}), {{u""}})));
}

TEST_F(SaveTest, NoCollectionIsReported) {
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(nullptr));
  ExpectReports({SaveReport(kNotSet, 91, 1, u"")});
}

TEST_F(SaveTest, AMarkerThatCannotBeUsedIsReported) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records, u""));
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records, {}, u""));
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records, unreadable));
  const Report invalid = SaveReport(u"Invalid procedure call or argument", 5, 2, u"");
  ExpectReports({invalid, invalid, SaveReport(u"Type mismatch", 13, 2, u"")});
}

TEST_F(SaveTest, TheListOfTheFirstObjectServesAll) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  const auto other = ListingClass(Adapter(), {{u"count"}, {u"Other"}, {u"TITLE"}});
  records->Add(NewRecord(Adapter(), other, {u"2", u"x", u"B"}), {});
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u00A52\u00A5\u0152",
            store_.AsDelimitedFromCollection(records));
  ExpectReports({});
}

TEST_F(SaveTest, AMemberThatALaterObjectLacksIsReportedByName) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  records->Add(NewRecord(Adapter(), ListingClass(Adapter(), {{u"Title"}})), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({SaveReport(kNoSuchMember, 438, 5, u"Count")});
}

TEST_F(SaveTest, AListedNameThatIsNoMemberIsReported) {
  const auto recordClass = TitleAndCount();
  recordClass->getMemberNames = ListOf(Adapter(), {u"Title", u"Missing", u"Count"});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({SaveReport(kNoSuchMember, 438, 5, u"Missing")});
}

TEST_F(SaveTest, TheErrorOfAGetterIsReportedAsItStands) {
  const auto recordClass = ListingClass(
      Adapter(),
      {{u"A"}, {.name = u"B", .getError = RuntimeError(-2147352571, u"odd words", u"x")}});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({SaveReport(u"odd words", -2147352571, 5, u"B")});
}

TEST_F(SaveTest, EveryGetterMayFail) {
  const auto recordClass = TitleAndCount();
  const auto records = RecordsOf(recordClass, {{u"A", u"1"}, {u"B", u"2"}, {u"C", u"3"}});
  for (int nth = 1; nth <= 6; ++nth) {
    int gets = 0;
    recordClass->onUse = [&](RecordClass::Use use, TextView) {
      if (use == RecordClass::Use::kGet && ++gets == nth) throw RuntimeError(94);
    };
    EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
    EXPECT_EQ(nth, gets);
    ExpectReports({SaveReport(u"Invalid use of Null", 94, 5, nth % 2 == 1 ? u"Title" : u"Count")});
  }
}

TEST_F(SaveTest, EveryUseOfTheCollectionMayFail) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}, {u"B", u"2"}});
  MemoryCollection& inside = CollectionIn(Adapter(), records);
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    int left = failures + 1;
    inside.onUse = [&left](MemoryCollection::Use) {
      if (--left == 0) throw RuntimeError(462);
    };
    const Text text = store_.AsDelimitedFromCollection(records);
    failed = left <= 0;
    EXPECT_EQ(failed, text.empty());
    ASSERT_EQ(failed ? 1U : 0U, platform_.reports.size());
    if (failed) {
      EXPECT_EQ(u"Error DFC", platform_.reports[0].caption);
      EXPECT_NE(Text::npos, platform_.reports[0].text.find(u" Number: 462 Line: "));
    }
    platform_.reports.clear();
  }
  EXPECT_GE(failures, 5);
}

TEST_F(SaveTest, ACollectionMayLieAboutItsCount) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  CollectionIn(Adapter(), records).claimedCount = 100;
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152",
            store_.AsDelimitedFromCollection(records));
  CollectionIn(Adapter(), records).claimedCount = 0;
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({});
  const auto none = Adapter().NewCollection();
  CollectionIn(Adapter(), none).claimedCount = 1;
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(none));
  ExpectReports({SaveReport(u"Subscript out of range", 9, 3, u"")});
}

TEST_F(SaveTest, AnEntryThatIsNoObjectIsReported) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  records->Add(TextView(u"text"), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({SaveReport(u"Object required", 424, 5, u"")});
  const auto texts = Adapter().NewCollection();
  texts->Add(TextView(u"text"), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(texts));
  ExpectReports({SaveReport(u"Object required", 424, 3, u"")});
}

TEST_F(SaveTest, AnEntryThatIsNothingIsReported) {
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  records->Add(Object(), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({SaveReport(kNotSet, 91, 5, u"Title")});
}

TEST_F(SaveTest, NothingInTheFirstPlaceHasNoMemberNames) {
  const auto records = Adapter().NewCollection();
  records->Add(Object(), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({LateNamesReport(kNotSet, 91), SaveReport(u"", 0, 0, u"")});
}

TEST_F(SaveTest, AnObjectOfAnotherAdapterIsReported) {
  const MemoryAdapter other;
  const auto records = RecordsOf(TitleAndCount(), {{u"A", u"1"}});
  records->Add(NewRecord(other, ListingClass(other, {{u"Title"}, {u"Count"}})), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({SaveReport(StandardDescription(430), 430, 5, u"Title")});
  CollectionIn(Adapter(), records).entries.clear();
}

// ---- Where the member names come from ----------------------------------------------------------

TEST_F(SaveTest, WithoutMemberNamesTheTypeInformationTellsThem) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"B", u"A"};
  const ListSource sources[] = {
      {},                                             // no such member
      [] { return nullptr; },                         // nothing
      ListOf(Adapter(), {}),                          // an empty list
      Raises(RuntimeError(424)),                      // not a collection
      Raises(RuntimeError(-2147467259, u"E", u"x")),  // any failure
  };
  for (const ListSource& source : sources) {
    recordClass->getMemberNames = source;
    EXPECT_EQ(u"B\u00A5A\u00A5\u01522\u00A51\u00A5\u0152",
              store_.AsDelimitedFromCollection(OneRecord(recordClass)));
    ExpectReports({});
  }
}

TEST_F(SaveTest, MembersColGoesBeforeTheTypeInformation) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"B", u"A"};
  recordClass->membersCol = ListOf(Adapter(), {u"A"});
  EXPECT_EQ(u"A\u00A5\u01521\u00A5\u0152",
            store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({});
}

TEST_F(SaveTest, GetMemberNamesGoesBeforeMembersCol) {
  const auto recordClass = Unlisted();
  recordClass->getMemberNames = ListOf(Adapter(), {u"B"});
  recordClass->membersCol = ListOf(Adapter(), {u"A"});
  EXPECT_EQ(u"B\u00A5\u01522\u00A5\u0152",
            store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({});
}

TEST_F(SaveTest, WithoutAnyNamesTwoReportsAreShown) {
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(OneRecord(Unlisted())));
  ExpectReports({LateNamesReport(kNoSuchMember, 438), SaveReport(u"", 0, 0, u"")});
}

TEST_F(SaveTest, AnEmptyTypeInformationLeavesNoNames) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation.emplace();
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({SaveReport(u"", 0, 0, u"")});
}

TEST_F(SaveTest, ReadOnlyPropertiesAreWritten) {
  const auto recordClass = Unlisted();
  recordClass->members[1].writable = false;
  recordClass->typeInformation = {u"A", u"B"};
  EXPECT_EQ(u"A\u00A5B\u00A5\u01521\u00A52\u00A5\u0152",
            store_.AsDelimitedFromCollection(OneRecord(recordClass)));
}

TEST_F(SaveTest, NamesMayBeAnythingThatHasAText) {
  const auto recordClass = Unlisted();
  recordClass->members = {{u"1"}, {u"2"}};
  recordClass->getMemberNames = [this] {
    CollectionRef list = Adapter().NewCollection();
    list->Add(TextView(u"2"), {});
    list->Add(TextView(u"1"), {});
    list->Add(TextView(u"2"), {});
    return list;
  };
  EXPECT_EQ(u"2\u00A51\u00A52\u00A5\u0152y\u00A5x\u00A5y\u00A5\u0152",
            store_.AsDelimitedFromCollection(RecordsOf(recordClass, {{u"x", u"y"}})));
  ExpectReports({});
}

TEST_F(SaveTest, ANameWithoutATextIsReported) {
  const auto recordClass = Unlisted();
  recordClass->getMemberNames = [this] {
    CollectionRef list = Adapter().NewCollection();
    list->Add(Object(), {});
    return list;
  };
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(OneRecord(recordClass)));
  ExpectReports({SaveReport(u"Type mismatch", 13, 3, u"")});
}

// ---- GetMemberNamesLate ------------------------------------------------------------------------

TEST_F(SaveTest, LateNamesAreThePropertiesInDeclarationOrder) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"Zulu", u"alpha", u"Mike"};
  const auto names = store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass));
  EXPECT_THAT(NamesIn(names), ElementsAre(u"Zulu", u"alpha", u"Mike"));
  EXPECT_EQ(u"Zulu", names->TextUnder(u"zULU"));
  ExpectReports({});
}

TEST_F(SaveTest, LateNamesAreThoseOfMembersColFirst) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"A", u"B"};
  recordClass->membersCol = ListOf(Adapter(), {u"B"});
  const Object record = NewRecord(Adapter(), recordClass);
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(record)), ElementsAre(u"B"));
  recordClass->membersCol = ListOf(Adapter(), {});
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(record)), ElementsAre(u"A", u"B"));
  recordClass->membersCol = [] { return nullptr; };
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(record)), ElementsAre(u"A", u"B"));
  recordClass->membersCol = Raises(RuntimeError(424));
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(record)), ElementsAre(u"A", u"B"));
  ExpectReports({});
}

TEST_F(SaveTest, LateNamesDoNotAskForGetMemberNames) {
  const auto recordClass = TitleAndCount();
  recordClass->typeInformation = {u"Count"};
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass))),
              ElementsAre(u"Count"));
}

TEST_F(SaveTest, LateNamesThatCannotBeFoundAreReported) {
  EXPECT_EQ(nullptr, store_.GetMemberNamesLate(NewRecord(Adapter(), Unlisted())));
  EXPECT_EQ(nullptr, store_.GetMemberNamesLate(Object()));
  ExpectReports({LateNamesReport(kNoSuchMember, 438), LateNamesReport(kNotSet, 91)});
}

TEST_F(SaveTest, OnlyTheReadOfMembersColIsIgnored) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"A"};
  recordClass->membersCol = [this] {
    CollectionRef list = ListOf(Adapter(), {u"A"})();
    CollectionIn(Adapter(), list).onUse = [](MemoryCollection::Use) { throw RuntimeError(462); };
    return list;
  };
  EXPECT_EQ(nullptr, store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass)));
  ExpectReports({LateNamesReport(StandardDescription(462), 462)});
}

TEST_F(SaveTest, AMembersColThatCannotBeCountedIsNoList) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"A"};
  recordClass->membersCol = [this] {
    CollectionRef list = ListOf(Adapter(), {u"B"})();
    CollectionIn(Adapter(), list).onUse = [](MemoryCollection::Use) { throw RuntimeError(438); };
    return list;
  };
  EXPECT_THAT(NamesIn(store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass))),
              ElementsAre(u"A"));
  ExpectReports({});
}

TEST_F(SaveTest, TypeInformationThatNamesAPropertyTwiceIsReported) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"A", u"a"};
  EXPECT_EQ(nullptr, store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass)));
  ExpectReports({LateNamesReport(kKeyInUse, 457)});
}

TEST_F(SaveTest, AServiceThatFailsIsReported) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"A"};
  platform_.fault = Fault(1, RuntimeError(429));
  EXPECT_EQ(nullptr, store_.GetMemberNamesLate(NewRecord(Adapter(), recordClass)));
  ExpectReports({LateNamesReport(u"ActiveX component can't create object", 429)});
}

TEST_F(SaveTest, ManyRecordsOfAnyLengthMakeTheTextOfTheNaiveModel) {
  const naive::Texts members = {u"A", u"B"};
  const auto recordClass = ListingClass(Adapter(), {{u"A"}, {u"B"}});
  for (const std::size_t count : {63U, 64U, 65U, 128U, 129U, 511U, 513U, 600U, 1200U}) {
    Rows rows;
    rows.reserve(count + 1);
    for (std::size_t i = 0; i < count; ++i) rows.push_back({Text(i % 40, u'x'), Text(1, u'a')});
    // Longer than everything before it led to expect.
    rows.push_back({Text(5000, u'y'), u""});
    ASSERT_EQ(naive::Save(members, rows, {}),
              store_.AsDelimitedFromCollection(RecordsOf(recordClass, rows)))
        << count;
  }
  ExpectReports({});
}

// ---- AsDelimitedFromObject ---------------------------------------------------------------------

TEST_F(SaveTest, OneObjectIsACollectionOfOne) {
  const Object record = NewRecord(Adapter(), TitleAndCount(), {u"A", u"1"});
  EXPECT_EQ(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152",
            store_.AsDelimitedFromObject(record));
  EXPECT_EQ(1U, Adapter().References(record));
  ExpectReports({});
}

TEST_F(SaveTest, AnObjectThatCannotBeSavedIsReportedByTheSave) {
  const auto recordClass = ListingClass(Adapter(), {{.name = u"A", .readable = false}});
  EXPECT_EQ(u"", store_.AsDelimitedFromObject(NewRecord(Adapter(), recordClass)));
  ExpectReports({SaveReport(kNoSuchMember, 438, 5, u"A")});
  EXPECT_EQ(u"", store_.AsDelimitedFromObject(Object()));
  ExpectReports({LateNamesReport(kNotSet, 91), SaveReport(u"", 0, 0, u"")});
}

TEST_F(SaveTest, AReportThatCannotBeShownIsTheCallersError) {
  const auto recordClass = ListingClass(Adapter(), {{.name = u"A", .readable = false}});
  platform_.fault = Fault(1, RuntimeError(51));
  EXPECT_EQ(u"", store_.AsDelimitedFromObject(NewRecord(Adapter(), recordClass)));
  ExpectReports({Tagged(u"Error DFO", u"Error DFO", u"Internal error", 51, 0)});
  platform_.fault = Fault(1, RuntimeError(51));
  EXPECT_EQ(51, ErrorOf([this] { store_.AsDelimitedFromCollection(nullptr); }));
  ExpectReports({});
}

}  // namespace
}  // namespace brindlex
