#include <gmock/gmock.h>

#include <vector>

#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

constexpr TextView kNoSuchMember = u"Object doesn't support this property or method";
constexpr TextView kNotSet = u"Object variable or With block variable not set";
constexpr TextView kTwoRecords =
    u"Title\u00A5Count\u00A5\u0152Alpha\u00A53\u00A5\u0152Beta\u00A512\u00A5\u0152";

class RestoreTest : public PersistenceTest {
 protected:
  /// `text` restored as records of `recordClass`.
  CollectionRef Restore(const std::shared_ptr<const RecordClass>& recordClass, TextView text,
                        const OptionalText& keyProperty = {}) {
    return store_.AsDelimitedToCollection(text, Creator(recordClass), {}, {}, keyProperty);
  }

  CollectionRef Restore(TextView text, const OptionalText& keyProperty = {}) {
    return Restore(TitleAndCount(), text, keyProperty);
  }

  std::shared_ptr<RecordClass> Unlisted() {
    auto made = TitleAndCount();
    made->getMemberNames = {};
    return made;
  }
};

TEST_F(RestoreTest, OneNewRecordForEachInTheOrderOfTheText) {
  const auto restored = Restore(kTwoRecords);
  ASSERT_NE(nullptr, restored);
  EXPECT_EQ(2, restored->Count());
  EXPECT_THAT(RowsOf(restored),
              ElementsAre(ElementsAre(u"Alpha", u"3"), ElementsAre(u"Beta", u"12")));
  EXPECT_THAT(KeysOf(restored), ElementsAre(std::nullopt, std::nullopt));
  EXPECT_FALSE(restored->AsObject().IsNothing());
  ExpectReports({});
}

TEST_F(RestoreTest, TextsWithoutRecordsAreNoCollection) {
  for (const TextView text :
       {u"", u"\u0152", u"x\u0152", u"Title\u00A5Count\u00A5\u0152",
        u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5", u"Title\u00A5Count\u00A5\u0152\r\n\r\n\r\n",
        u"Title\u0152A\u00A51\u00A5\u0152", u"\u0152\u0152"}) {
    EXPECT_EQ(nullptr, Restore(text)) << testing::PrintToString(text);
    ExpectReports({});
  }
}

TEST_F(RestoreTest, ATextWithoutARecordEndIsReportedTwice) {
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4)});
}

TEST_F(RestoreTest, ALastRecordWithoutItsEndIsLostWithoutAWord) {
  EXPECT_THAT(RowsOf(Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u00A52\u00A5")),
              ElementsAre(ElementsAre(u"A", u"1")));
  ExpectReports({});
}

TEST_F(RestoreTest, ARecordWithAnotherNumberOfFieldsIsReported) {
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u00A5\u0152"));
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A52\u00A5\u0152"));
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u0152"));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"2", 0, 0),
                 RestoreReport(Text(kNotMatching) + u"1", 0, 0),
                 RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
}

TEST_F(RestoreTest, ARecordWithoutAFieldEndIsReportedTwice) {
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u0152"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 6)});
  EXPECT_EQ(nullptr, Restore(u"Title\u00A5Count\u00A5\u0152\u0152"));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 6)});
}

TEST_F(RestoreTest, LineBreaksBehindRecordEndsAreDropped) {
  const auto title = ListingClass(Adapter(), {{u"Title"}});
  for (const TextView breaks : {u"", u"\r\n", u"\r\n\r\n", u"\r\n\r\n\r\n"}) {
    Text text = u"Title\u00A5\u0152";
    text.append(breaks).append(u"A\u00A5\u0152").append(breaks);
    EXPECT_THAT(RowsOf(Restore(title, text)), ElementsAre(ElementsAre(u"A")));
  }
  EXPECT_THAT(RowsOf(Restore(title, u"Title\u00A5\u0152\r\n\r\n\r\n\r\nA\u00A5\u0152")),
              ElementsAre(ElementsAre(u"\r\nA")));
  ExpectReports({});
}

TEST_F(RestoreTest, AFirstValueLosesALineBreakAtItsStart) {
  const auto recordClass = ListingClass(Adapter(), {{u"A"}, {u"B"}});
  const Text text =
      store_.AsDelimitedFromCollection(RecordsOf(recordClass, {{u"\r\nx\r\n", u"\r\ny\r\n"}}));
  EXPECT_THAT(RowsOf(Restore(recordClass, text)), ElementsAre(ElementsAre(u"x\r\n", u"\r\ny\r\n")));
}

TEST_F(RestoreTest, OneEmptyValueComesBack) {
  const auto recordClass = ListingClass(Adapter(), {{u"A", MemberType::kText, u"default"}});
  EXPECT_THAT(RowsOf(Restore(recordClass, u"A\u00A5\u0152\u00A5\u0152\u00A5\u0152")),
              ElementsAre(ElementsAre(u""), ElementsAre(u"")));
}

TEST_F(RestoreTest, MarkersMayBeGiven) {
  const auto creator = Creator(TitleAndCount());
  EXPECT_THAT(
      RowsOf(store_.AsDelimitedToCollection(u"Count, Title, --1, A, --", creator, u"--", u", ")),
      ElementsAre(ElementsAre(u"A", u"1")));
  EXPECT_THAT(RowsOf(store_.AsDelimitedToCollection(u"Title\u00A5;\u0152\u00A5;", creator, u";")),
              ElementsAre(ElementsAre(u"\u0152", u"0")));
  EXPECT_THAT(
      RowsOf(store_.AsDelimitedToCollection(u"Title,\u0152\u00A5,\u0152", creator, {}, u",")),
      ElementsAre(ElementsAre(u"\u00A5", u"0")));
  ExpectReports({});
}

TEST_F(RestoreTest, ArgumentsThatCannotBeUsedAreReported) {
  const auto creator = Creator(TitleAndCount());
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, creator, u""));
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, creator, {}, u""));
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, creator, {}, {}, unreadable));
  const Report invalid = RestoreReport(u"Invalid procedure call or argument", 5, 2);
  ExpectReports({invalid, invalid, RestoreReport(u"Type mismatch", 13, 2)});
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(u"", creator, u"", u"", unreadable));
  ExpectReports({});
}

// ---- The header --------------------------------------------------------------------------------

TEST_F(RestoreTest, HeaderNamesMatchInAnyLetterCase) {
  for (const bool caseSensitive : {false, true}) {
    const auto recordClass = TitleAndCount();
    recordClass->caseSensitive = caseSensitive;
    EXPECT_THAT(RowsOf(Restore(recordClass, u"COUNT\u00A5title\u00A5\u01523\u00A5A\u00A5\u0152")),
                ElementsAre(ElementsAre(u"A", u"3")));
    ExpectReports({});
  }
}

TEST_F(RestoreTest, AnUnknownColumnIsIgnored) {
  EXPECT_THAT(RowsOf(Restore(u"Other\u00A5Title\u00A5\u0152x\u00A5A\u00A5\u0152")),
              ElementsAre(ElementsAre(u"A", u"0")));
  ExpectReports({});
  EXPECT_EQ(nullptr, Restore(u"Other\u00A5Title\u00A5\u0152A\u00A5\u0152"));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
}

TEST_F(RestoreTest, NamesAreMatchedAsTheyStand) {
  for (const TextView header : {u" Title\u00A5", u"Title \u00A5", u"Titl\u00A5", u"\r\nTitle\u00A5",
                                u"\u00A5", u"Title\xD800\u00A5"}) {
    Text text(header);
    text.append(u"\u0152A\u00A5\u0152");
    EXPECT_THAT(RowsOf(Restore(text)), ElementsAre(ElementsAre(u"", u"0")));
  }
  EXPECT_THAT(RowsOf(Restore(Text(u"Title\0\u00A5\u0152A\u00A5\u0152", 11))),
              ElementsAre(ElementsAre(u"", u"0")));
  ExpectReports({});
}

TEST_F(RestoreTest, BlankColumnsAreSkipped) {
  EXPECT_THAT(RowsOf(Restore(u"\u00A5Title\u00A5\u00A5\u0152x\u00A5A\u00A5y\u00A5\u0152")),
              ElementsAre(ElementsAre(u"A", u"0")));
  ExpectReports({});
}

TEST_F(RestoreTest, OfAColumnThatComesTwiceTheLastIsKept) {
  EXPECT_THAT(RowsOf(Restore(u"Title\u00A5title\u00A5\u0152A\u00A5B\u00A5\u0152")),
              ElementsAre(ElementsAre(u"B", u"0")));
  ExpectReports({});
}

TEST_F(RestoreTest, MembersThatTheHeaderLacksKeepTheirDefaults) {
  EXPECT_THAT(RowsOf(Restore(u"Title\u00A5\u0152A\u00A5\u0152")),
              ElementsAre(ElementsAre(u"A", u"0")));
}

// ---- Values ------------------------------------------------------------------------------------

TEST_F(RestoreTest, AnyUnitIsDataInAValue) {
  const Text odd(u"\0\xDC00\xD800\uFFFF\u00BB\u0160 \t\"'", 10);
  EXPECT_THAT(RowsOf(Restore(u"Title\u00A5\u0152" + odd + u"\u00A5\u0152")),
              ElementsAre(ElementsAre(odd, u"0")));
}

TEST_F(RestoreTest, EveryTypeOfMemberComesBack) {
  const auto recordClass = ListingClass(Adapter(), {{u"Name"},
                                                    {u"Size", MemberType::kNumber, u"0"},
                                                    {u"Made", MemberType::kDate, u"2000-01-01"},
                                                    {u"Locked", MemberType::kBoolean, u"False"}});
  const Rows rows = {{u"a", u"-2.5", u"2024-02-29", u"True"}, {u"", u"0", u"2000-01-01", u"False"}};
  const Text text = store_.AsDelimitedFromCollection(RecordsOf(recordClass, rows));
  EXPECT_EQ(rows, RowsOf(Restore(recordClass, text)));
  ExpectReports({});
}

TEST_F(RestoreTest, AValueThatItsMemberCannotConvertIsReported) {
  EXPECT_EQ(nullptr,
            Restore(u"Title\u00A5Count\u00A5\u0152A\u00A51\u00A5\u0152B\u00A5\u00A5\u0152"));
  ExpectReports({RestoreReport(u"Type mismatch", 13, 7)});
}

TEST_F(RestoreTest, AReadOnlyMemberIsReported) {
  const auto recordClass = TitleAndCount();
  recordClass->members[1].writable = false;
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(kNoSuchMember, 438, 7)});
  EXPECT_NE(nullptr, Restore(recordClass, u"Title\u00A5\u0152A\u00A5\u0152"));
  ExpectReports({});
}

TEST_F(RestoreTest, TheErrorOfASetterIsReportedAsItStands) {
  const auto recordClass = TitleAndCount();
  recordClass->members[0].letError = RuntimeError(-2147352571, u"odd words", u"x");
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(u"odd words", -2147352571, 7)});
}

TEST_F(RestoreTest, EverySetterMayFail) {
  const auto recordClass = TitleAndCount();
  for (int nth = 1; nth <= 4; ++nth) {
    int lets = 0;
    recordClass->onUse = [&](RecordClass::Use use, TextView) {
      if (use == RecordClass::Use::kLet && ++lets == nth) throw RuntimeError(6);
    };
    EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
    EXPECT_EQ(nth, lets);
    EXPECT_EQ(0U, Adapter().LiveObjects());
    ExpectReports({RestoreReport(u"Overflow", 6, 7)});
  }
}

TEST_F(RestoreTest, AValueThatHoldsAMarkerSplitsWrongly) {
  const auto recordClass = TitleAndCount();
  const auto saved = [&](TextView title) {
    return store_.AsDelimitedFromCollection(RecordsOf(recordClass, {{Text(title), u"1"}}));
  };
  EXPECT_EQ(nullptr, Restore(recordClass, saved(u"a\u00A5b")));
  ExpectReports({RestoreReport(Text(kNotMatching) + u"1", 0, 0)});
  EXPECT_EQ(nullptr, Restore(recordClass, saved(u"a\u0152b")));
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 6)});
}

// ---- Keys --------------------------------------------------------------------------------------

TEST_F(RestoreTest, RecordsAreKeyedByOneOfTheirMembers) {
  const auto restored = Restore(kTwoRecords, u"Title");
  EXPECT_THAT(KeysOf(restored), ElementsAre(u"Alpha", u"Beta"));
  EXPECT_EQ(u"12", Adapter().In<MemoryRecord>(restored->ObjectUnder(u"BETA")).values[1]);
  EXPECT_THAT(KeysOf(Restore(kTwoRecords, u"Count")), ElementsAre(u"3", u"12"));
  ExpectReports({});
}

TEST_F(RestoreTest, TheKeyPropertyMustBeSpelledAsTheHeaderDoes) {
  const auto lower = Restore(u"title\u00A5\u0152A\u00A5\u0152", u"Title");
  EXPECT_THAT(RowsOf(lower), ElementsAre(ElementsAre(u"A", u"0")));
  EXPECT_THAT(KeysOf(lower), ElementsAre(std::nullopt));
  EXPECT_THAT(KeysOf(Restore(u"title\u00A5\u0152A\u00A5\u0152", u"title")), ElementsAre(u"A"));
  ExpectReports({});
}

TEST_F(RestoreTest, WithoutAUsableKeyRecordsHaveNone) {
  for (const TextView keyProperty : {u"", u"Other", u"Titl", u" Title"}) {
    EXPECT_THAT(KeysOf(Restore(kTwoRecords, keyProperty)), ElementsAre(std::nullopt, std::nullopt));
  }
  EXPECT_THAT(KeysOf(Restore(u"Title\u00A5\u0152\u00A5\u0152A\u00A5\u0152\u00A5\u0152", u"Title")),
              ElementsAre(std::nullopt, u"A", std::nullopt));
  EXPECT_THAT(KeysOf(Restore(u"Other\u00A5Title\u00A5\u0152x\u00A5A\u00A5\u0152", u"Other")),
              ElementsAre(std::nullopt));
  ExpectReports({});
}

TEST_F(RestoreTest, TheKeyIsTheFirstValueThatIsNotEmpty) {
  EXPECT_THAT(KeysOf(Restore(u"Title\u00A5Title\u00A5\u0152\u00A5B\u00A5\u0152A\u00A5C\u00A5\u0152",
                             u"Title")),
              ElementsAre(u"B", u"A"));
}

TEST_F(RestoreTest, AKeyThatComesTwiceIsReported) {
  EXPECT_EQ(nullptr,
            Restore(u"Title\u00A5\u0152A\u00A5\u0152B\u00A5\u0152a\u00A5\u0152", u"Title"));
  ExpectReports({RestoreReport(kKeyInUse, 457, 8)});
  EXPECT_EQ(0U, Adapter().LiveObjects());
}

TEST_F(RestoreTest, TheKeyIsTheTextNotWhatTheMemberMadeOfIt) {
  EXPECT_THAT(KeysOf(Restore(u"Count\u00A5\u01521.0\u00A5\u01521.00\u00A5\u0152", u"Count")),
              ElementsAre(u"1.0", u"1.00"));
}

// ---- Creators and member names -----------------------------------------------------------------

TEST_F(RestoreTest, TheCreatorIsCalledOnceMoreThanThereAreRecords) {
  const auto recordClass = TitleAndCount();
  int calls = 0;
  const Object creator = Adapter().New<MemoryCreator>([&] {
    ++calls;
    return NewRecord(Adapter(), recordClass);
  });
  store_.AsDelimitedToCollection(kTwoRecords, creator);
  EXPECT_EQ(3, calls);
  store_.AsDelimitedToCollection(u"", creator);
  EXPECT_EQ(3, calls);
}

TEST_F(RestoreTest, EveryCallOfTheCreatorMayFailOrSayNothing) {
  const auto recordClass = TitleAndCount();
  for (int nth = 1; nth <= 3; ++nth) {
    for (const bool fails : {true, false}) {
      int calls = 0;
      const Object creator = Adapter().New<MemoryCreator>([&]() -> Object {
        if (++calls != nth) return NewRecord(Adapter(), recordClass);
        if (fails) throw RuntimeError(429);
        return {};
      });
      EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, creator));
      EXPECT_EQ(nth, calls);
      EXPECT_EQ(1U, Adapter().LiveObjects());
      const std::int32_t number = fails ? 429 : 91;
      ExpectReports({RestoreReport(StandardDescription(number), number, nth == 1 ? 3 : 7)});
    }
  }
}

TEST_F(RestoreTest, NothingIsNoRecordEvenWhereNoMemberIsSet) {
  const auto recordClass = TitleAndCount();
  int calls = 0;
  const Object creator = Adapter().New<MemoryCreator>(
      [&] { return ++calls == 2 ? Object() : NewRecord(Adapter(), recordClass); });
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(u"Other\u00A5\u0152x\u00A5\u0152", creator));
  ExpectReports({RestoreReport(kNotSet, 91, 7)});
}

TEST_F(RestoreTest, WhatIsNoCreatorIsReported) {
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, Object()));
  ExpectReports({RestoreReport(kNotSet, 91, 3)});
  EXPECT_EQ(nullptr,
            store_.AsDelimitedToCollection(kTwoRecords, NewRecord(Adapter(), TitleAndCount())));
  ExpectReports({RestoreReport(kNoSuchMember, 438, 3)});
}

TEST_F(RestoreTest, ACreatorThatMakesRecordsOfAnotherClass) {
  const auto recordClass = TitleAndCount();
  int calls = 0;
  const Object creator = Adapter().New<MemoryCreator>([&] {
    return NewRecord(Adapter(), ++calls == 3 ? ListingClass(Adapter(), {{u"Title"}}) : recordClass);
  });
  EXPECT_EQ(nullptr, store_.AsDelimitedToCollection(kTwoRecords, creator));
  ExpectReports({RestoreReport(kNoSuchMember, 438, 7)});
}

TEST_F(RestoreTest, ErrorsOfGetMemberNamesAreNotIgnored) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"Title", u"Count"};
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(kNoSuchMember, 438, 3)});
  recordClass->getMemberNames = Raises(RuntimeError(424));
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(u"Object required", 424, 3)});
}

TEST_F(RestoreTest, AnEmptyListOrNoneIsLookedForElsewhere) {
  const auto recordClass = Unlisted();
  recordClass->typeInformation = {u"Title", u"Count"};
  for (const ListSource& source : {ListOf(Adapter(), {}), ListSource([] { return nullptr; })}) {
    recordClass->getMemberNames = source;
    EXPECT_THAT(RowsOf(Restore(recordClass, kTwoRecords)),
                ElementsAre(ElementsAre(u"Alpha", u"3"), ElementsAre(u"Beta", u"12")));
    ExpectReports({});
  }
  recordClass->membersCol = ListOf(Adapter(), {u"Count"});
  EXPECT_THAT(RowsOf(Restore(recordClass, kTwoRecords)),
              ElementsAre(ElementsAre(u"", u"3"), ElementsAre(u"", u"12")));
  ExpectReports({});
}

TEST_F(RestoreTest, WithoutAnyNamesReportsAreShown) {
  const auto recordClass = Unlisted();
  recordClass->getMemberNames = ListOf(Adapter(), {});
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({LateNamesReport(kNoSuchMember, 438), RestoreReport(u"", 0, 0)});
  recordClass->typeInformation.emplace();
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(u"", 0, 0)});
}

TEST_F(RestoreTest, TheMemberNamesAreAskedForBeforeTheTextIsLookedAt) {
  const auto recordClass = Unlisted();
  EXPECT_EQ(nullptr, Restore(recordClass, u"no markers at all"));
  ExpectReports({RestoreReport(kNoSuchMember, 438, 3)});
}

TEST_F(RestoreTest, ANameCountsUnderItsKeyOnly) {
  const auto recordClass = TitleAndCount();
  recordClass->getMemberNames = [this] {
    CollectionRef list = Adapter().NewCollection();
    list->Add(TextView(u"Title"), {});              // found by no key
    list->Add(TextView(u"x"), TextView(u"Count"));  // another text, but there is one
    list->Add(Object(), TextView(u"Other"));        // no text
    return list;
  };
  EXPECT_THAT(
      RowsOf(Restore(recordClass,
                     u"Title\u00A5Count\u00A5Other\u00A5\u0152A\u00A51\u00A5x\u00A5\u0152")),
      ElementsAre(ElementsAre(u"", u"1")));
  ExpectReports({});
}

TEST_F(RestoreTest, AListThatFailsWhenItIsLookedUpHasNoNames) {
  const auto recordClass = TitleAndCount();
  recordClass->getMemberNames = [this] {
    CollectionRef list = ListOf(Adapter(), {u"Title", u"Count"})();
    CollectionIn(Adapter(), list).onUse = [](MemoryCollection::Use use) {
      if (use == MemoryCollection::Use::kLookUp) throw RuntimeError(462);
    };
    return list;
  };
  EXPECT_THAT(RowsOf(Restore(recordClass, kTwoRecords)),
              ElementsAre(ElementsAre(u"", u"0"), ElementsAre(u"", u"0")));
  ExpectReports({});
}

TEST_F(RestoreTest, AListThatCannotBeCountedIsReported) {
  const auto recordClass = TitleAndCount();
  recordClass->getMemberNames = [this] {
    CollectionRef list = ListOf(Adapter(), {u"Title"})();
    CollectionIn(Adapter(), list).onUse = [](MemoryCollection::Use) { throw RuntimeError(462); };
    return list;
  };
  EXPECT_EQ(nullptr, Restore(recordClass, kTwoRecords));
  ExpectReports({RestoreReport(StandardDescription(462), 462, 3)});
}

// ---- GetObjectFromString -----------------------------------------------------------------------

TEST_F(RestoreTest, TheFirstRecordOfATextIsItsObject) {
  const Object record = store_.GetObjectFromString(kTwoRecords, Creator(TitleAndCount()));
  EXPECT_THAT(Adapter().In<MemoryRecord>(record).values, ElementsAre(u"Alpha", u"3"));
  EXPECT_EQ(1U, Adapter().References(record));
  ExpectReports({});
}

TEST_F(RestoreTest, EmptyTextIsNoObject) {
  EXPECT_TRUE(store_.GetObjectFromString(u"", Creator(TitleAndCount())).IsNothing());
  EXPECT_TRUE(store_.GetObjectFromString(u"", Object()).IsNothing());
  ExpectReports({});
}

TEST_F(RestoreTest, ATextWithoutAFirstRecordIsReported) {
  const Object creator = Creator(TitleAndCount());
  EXPECT_TRUE(store_.GetObjectFromString(u"Title\u00A5\u0152", creator).IsNothing());
  ExpectReports({FirstObjectReport(kNotSet, 91)});
  EXPECT_TRUE(store_.GetObjectFromString(u"x", creator).IsNothing());
  ExpectReports({SplitReport(), RestoreReport(u"Subscript out of range", 9, 4),
                 FirstObjectReport(kNotSet, 91)});
}

TEST_F(RestoreTest, AnObjectSurvivesItsRoundTrip) {
  const auto recordClass = TitleAndCount();
  const Text text = store_.AsDelimitedFromObject(NewRecord(Adapter(), recordClass, {u"A", u"1"}));
  const Object record = store_.GetObjectFromString(text, Creator(recordClass));
  EXPECT_THAT(Adapter().In<MemoryRecord>(record).values, ElementsAre(u"A", u"1"));
}

// ---- FieldNamesCollection ----------------------------------------------------------------------

class FieldNamesTest : public PersistenceTest {
 protected:
  CollectionRef Names(TextView text, const OptionalText& recordEnd = {},
                      const OptionalText& fieldEnd = {}) {
    return store_.FieldNamesCollection(text, recordEnd, fieldEnd);
  }
};

TEST_F(FieldNamesTest, EachNameIsItsOwnKey) {
  EXPECT_THAT(NamesIn(Names(kTwoRecords)), ElementsAre(u"Title", u"Count"));
  EXPECT_THAT(NamesIn(Names(u"a;b;--x;--", u"--", u";")), ElementsAre(u"a", u"b"));
  ExpectReports({});
}

TEST_F(FieldNamesTest, TheFirstRecordEndStandsAtTheThirdCharacterOrLater) {
  EXPECT_EQ(nullptr, Names(u""));
  EXPECT_EQ(nullptr, Names(u"Title\u00A5"));
  EXPECT_EQ(nullptr, Names(u"\u0152"));
  EXPECT_EQ(nullptr, Names(u"\u00A5\u0152Title\u00A5\u0152"));
  EXPECT_THAT(NamesIn(Names(u"a\u00A5\u0152")), ElementsAre(u"a"));
}

TEST_F(FieldNamesTest, ANameWithoutItsFieldEndIsNotTaken) {
  EXPECT_THAT(NamesIn(Names(u"a\u00A5b\u0152")), ElementsAre(u"a"));
  EXPECT_THAT(NamesIn(Names(u"ab\u0152c\u00A5\u0152")), ElementsAre());
}

TEST_F(FieldNamesTest, FailuresReachTheCaller) {
  EXPECT_EQ(457, ErrorOf([this] { Names(u"a\u00A5A\u00A5\u0152"); }));
  EXPECT_EQ(457, ErrorOf([this] { Names(u"\u00A5\u00A5\u0152"); }));
  EXPECT_EQ(5, ErrorOf([this] { Names(kTwoRecords, u""); }));
  EXPECT_EQ(5, ErrorOf([this] { Names(kTwoRecords, {}, u""); }));
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  EXPECT_EQ(13, ErrorOf([&] { Names(kTwoRecords, unreadable); }));
  platform_.fault = Fault(1, RuntimeError(429));
  EXPECT_EQ(429, ErrorOf([this] { Names(kTwoRecords); }));
  ExpectReports({});
}

// ---- ItemExists --------------------------------------------------------------------------------

class ItemExistsTest : public PersistenceTest {};

TEST_F(ItemExistsTest, ATextUnderTheKeyInAnyLetterCase) {
  const auto collection = Adapter().NewCollection();
  collection->Add(TextView(u"text"), TextView(u"Key"));
  collection->Add(TextView(u""), TextView(u""));
  collection->Add(TextView(u"unkeyed"), {});
  EXPECT_TRUE(store_.ItemExists(collection, u"kEY"));
  EXPECT_TRUE(store_.ItemExists(collection, u""));
  EXPECT_FALSE(store_.ItemExists(collection, u"Keys"));
  EXPECT_FALSE(store_.ItemExists(collection, u"unkeyed"));
  EXPECT_FALSE(store_.ItemExists(collection, u"1"));
  ExpectReports({});
}

TEST_F(ItemExistsTest, AnyFailureIsFalseWithoutAWord) {
  const auto collection = RecordsOf(TitleAndCount(), {});
  collection->Add(NewRecord(Adapter(), TitleAndCount()), TextView(u"object"));
  collection->Add(Object(), TextView(u"nothing"));
  collection->Add(TextView(u"text"), TextView(u"text"));
  EXPECT_FALSE(store_.ItemExists(collection, u"object"));
  EXPECT_FALSE(store_.ItemExists(collection, u"nothing"));
  EXPECT_FALSE(store_.ItemExists(nullptr, u"text"));
  CollectionIn(Adapter(), collection).onUse = [](MemoryCollection::Use) {
    throw RuntimeError(462);
  };
  EXPECT_FALSE(store_.ItemExists(collection, u"text"));
  ExpectReports({});
}

}  // namespace
}  // namespace brindlex
