#include "platform/memory/memory_platform.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

class MemoryPlatformTest : public HostTest {
 protected:
  /// What `name` of `record` reads as, through the adapter.
  Text Read(const Object& record, TextView name) {
    StringTextBuilder text;
    const Text ownName(name);
    Adapter().Access({&ownName, 1})->AppendText(record, 0, text);
    return text.Take();
  }

  void Write(const Object& record, TextView name, TextView value) {
    const Text ownName(name);
    Adapter().Access({&ownName, 1})->LetText(record, 0, value);
  }

  Object RecordOf(std::vector<Member> members) {
    return NewRecord(Adapter(), ListingClass(Adapter(), std::move(members)));
  }
};

TEST_F(MemoryPlatformTest, RecordsReportsInOrder) {
  platform_.ShowReport({u"One", u"first"});
  platform_.ShowReport({u"Two", u"second"});
  EXPECT_THAT(platform_.reports, ElementsAre(Report{u"One", u"first"}, Report{u"Two", u"second"}));
}

TEST_F(MemoryPlatformTest, RunsTheHostWhileAReportIsShown) {
  platform_.whileShown = [this] {
    platform_.whileShown = nullptr;
    platform_.ShowReport({u"Inner", u""});
  };
  platform_.ShowReport({u"Outer", u""});
  EXPECT_THAT(platform_.reports, ElementsAre(Report{u"Outer", u""}, Report{u"Inner", u""}));
}

TEST_F(MemoryPlatformTest, FailsTheChosenServiceCallOnly) {
  platform_.fault = Fault(2, RuntimeError(70));
  EXPECT_NE(nullptr, platform_.NewCollection());
  EXPECT_EQ(70, ErrorOf([this] { platform_.ShowReport({u"", u""}); }));
  EXPECT_THAT(platform_.reports, ElementsAre());
  EXPECT_NE(nullptr, platform_.NewCollection());
}

TEST_F(MemoryPlatformTest, HandsOutCollectionsThatCanBeInspected) {
  const CollectionRef collection = platform_.NewCollection();
  const Object record = RecordOf({});
  collection->Add(TextView(u"text"), TextView(u"Key"));
  collection->Add(record, std::nullopt);
  const MemoryCollection& inside = CollectionIn(Adapter(), collection);
  ASSERT_EQ(2U, inside.entries.size());
  EXPECT_EQ(u"text", std::get<Text>(inside.entries[0].value));
  EXPECT_EQ(Text(u"Key"), inside.entries[0].key);
  EXPECT_EQ(std::nullopt, inside.entries[1].key);
  EXPECT_EQ(2U, Adapter().References(record));
  EXPECT_EQ(2, CollectionOf(Adapter(), collection->AsObject())->Count());
}

TEST_F(MemoryPlatformTest, CollectionsFollowTheContract) {
  const CollectionRef collection = platform_.NewCollection();
  collection->Add(TextView(u"text"), TextView(u"a"));
  collection->Add(RecordOf({}), TextView(u"b"));
  EXPECT_EQ(457, ErrorOf([&] { collection->Add(TextView(), TextView(u"A")); }));
  EXPECT_EQ(2, collection->Count());
  EXPECT_EQ(u"text", collection->TextUnder(u"A"));
  EXPECT_FALSE(collection->ObjectUnder(u"B").IsNothing());
  EXPECT_EQ(13, ErrorOf([&] { collection->TextUnder(u"b"); }));
  EXPECT_EQ(424, ErrorOf([&] { collection->ObjectUnder(u"a"); }));
  EXPECT_EQ(5, ErrorOf([&] { collection->TextUnder(u"c"); }));
  EXPECT_EQ(5, ErrorOf([&] { collection->ObjectUnder(u""); }));
}

TEST_F(MemoryPlatformTest, AWalkVisitsEachEntryUntilToldToEnd) {
  const CollectionRef collection = platform_.NewCollection();
  for (const TextView text : {u"x", u"y", u"z"}) collection->Add(text, std::nullopt);
  for (const std::size_t wanted : {1U, 2U, 3U, 4U}) {
    Text visited;
    collection->ForEachText([&](TextView entry) { return visited.append(entry).size() < wanted; });
    EXPECT_EQ(Text(u"xyz").substr(0, wanted), visited);
  }
}

TEST_F(MemoryPlatformTest, CollectionsFailAndLieOnDemand) {
  const CollectionRef collection = platform_.NewCollection();
  MemoryCollection& inside = CollectionIn(Adapter(), collection);
  inside.entries.push_back({RuntimeError(94), Text(u"null")});
  inside.claimedCount = 7;
  EXPECT_EQ(7, collection->Count());
  EXPECT_EQ(94, ErrorOf([&] { collection->TextUnder(u"null"); }));
  std::vector<MemoryCollection::Use> uses;
  Fault fault(4, RuntimeError(440));
  inside.onUse = [&](MemoryCollection::Use use) {
    uses.push_back(use);
    fault.Pass();
  };
  collection->Count();
  EXPECT_EQ(94, ErrorOf([&] { collection->First(); }));
  EXPECT_EQ(440, ErrorOf([&] { collection->Add(Object(), TextView(u"new")); }));
  EXPECT_EQ(5, ErrorOf([&] { collection->ObjectUnder(u"new"); }));
  EXPECT_THAT(uses, ElementsAre(MemoryCollection::Use::kCount, MemoryCollection::Use::kEnumerate,
                                MemoryCollection::Use::kNext, MemoryCollection::Use::kAdd,
                                MemoryCollection::Use::kLookUp));
  EXPECT_EQ(1U, inside.entries.size());
}

TEST_F(MemoryPlatformTest, OnlyACollectionIsACollection) {
  EXPECT_EQ(424, ErrorOf([this] { CollectionOf(Adapter(), RecordOf({})); }));
  EXPECT_EQ(91, ErrorOf([this] { CollectionOf(Adapter(), Object()); }));
}

TEST_F(MemoryPlatformTest, MembersConvertTextToTheirType) {
  struct Row {
    MemberType type;
    TextView given;
    std::optional<Text> kept;
  };
  const Row rows[] = {
      {MemberType::kText, u"", u""},
      {MemberType::kText, u"any \u00A5", u"any \u00A5"},
      {MemberType::kNumber, u"3", u"3"},
      {MemberType::kNumber, u"-2.50", u"-2.5"},
      {MemberType::kNumber, u"", std::nullopt},
      {MemberType::kNumber, u"3x", std::nullopt},
      {MemberType::kNumber, u"\u0663", std::nullopt},
      {MemberType::kBoolean, u"tRUE", u"True"},
      {MemberType::kBoolean, u"False", u"False"},
      {MemberType::kBoolean, u"-1", u"True"},
      {MemberType::kBoolean, u"0", u"False"},
      {MemberType::kBoolean, u"", std::nullopt},
      {MemberType::kDate, u"2024-12-31", u"2024-12-31"},
      {MemberType::kDate, u"2024-12-3", std::nullopt},
      {MemberType::kDate, u"tomorrow", std::nullopt},
  };
  for (const Row& row : rows) {
    const Object record = RecordOf({{u"Value", row.type, u"before"}});
    const auto error = ErrorOf([&] { Write(record, u"Value", row.given); });
    EXPECT_EQ(row.kept ? std::nullopt : std::optional<std::int32_t>(13), error)
        << testing::PrintToString(row.given);
    EXPECT_EQ(row.kept.value_or(u"before"), Read(record, u"Value"));
  }
}

TEST_F(MemoryPlatformTest, MembersAreFoundInAnyLetterCaseUnlessTheClassMinds) {
  const auto recordClass = ListingClass(Adapter(), {{u"Name"}});
  const Object record = NewRecord(Adapter(), recordClass, {u"x"});
  EXPECT_EQ(u"x", Read(record, u"nAME"));
  recordClass->caseSensitive = true;
  EXPECT_EQ(u"x", Read(record, u"Name"));
  EXPECT_EQ(438, ErrorOf([&] { Read(record, u"nAME"); }));
  EXPECT_EQ(438, ErrorOf([&] { Write(record, u"nAME", u""); }));
}

TEST_F(MemoryPlatformTest, MembersFailAsScripted) {
  const Object record = RecordOf({
      {.name = u"ReadOnly", .value = u"r", .writable = false},
      {.name = u"WriteOnly", .readable = false},
      {.name = u"Failing", .getError = RuntimeError(-5), .letError = RuntimeError(6)},
  });
  EXPECT_EQ(u"r", Read(record, u"ReadOnly"));
  EXPECT_EQ(438, ErrorOf([&] { Write(record, u"ReadOnly", u"w"); }));
  EXPECT_EQ(438, ErrorOf([&] { Read(record, u"WriteOnly"); }));
  Write(record, u"WriteOnly", u"w");
  EXPECT_EQ(-5, ErrorOf([&] { Read(record, u"Failing"); }));
  EXPECT_EQ(6, ErrorOf([&] { Write(record, u"Failing", u"w"); }));
  EXPECT_EQ(438, ErrorOf([&] { Read(record, u"Unknown"); }));
  EXPECT_THAT(Adapter().In<MemoryRecord>(record).values, ElementsAre(u"r", u"w", u""));
}

TEST_F(MemoryPlatformTest, AppendedTextFollowsTheExistingText) {
  const Object record =
      NewRecord(Adapter(), ListingClass(Adapter(), {{u"A"}, {u"B"}}), {u"1", u"2"});
  const std::vector<Text> names = {u"B", u"A"};
  const auto access = Adapter().Access(names);
  StringTextBuilder text;
  text.Append(u"0");
  access->AppendText(record, 0, text);
  access->AppendText(record, 1, text);
  EXPECT_EQ(u"021", text.View());
}

TEST_F(MemoryPlatformTest, HooksSeeEveryUseOfAMember) {
  const auto recordClass = ListingClass(Adapter(), {{u"A"}});
  std::vector<Text> uses;
  recordClass->onUse = [&](RecordClass::Use use, TextView member) {
    const TextView kinds[] = {u"get ", u"let ", u"call "};
    uses.push_back(Text(kinds[static_cast<int>(use)]).append(member));
    if (uses.size() == 4) throw RuntimeError(6);
  };
  const Object record = NewRecord(Adapter(), recordClass);
  Write(record, u"A", u"1");
  Read(record, u"A");
  record.CallForCollection(u"GetMemberNames");
  EXPECT_EQ(6, ErrorOf([&] { Read(record, u"a"); }));
  EXPECT_THAT(uses, ElementsAre(u"let A", u"get A", u"call GetMemberNames", u"get a"));
}

TEST_F(MemoryPlatformTest, ListsOfNamesComeFromTheirSources) {
  const auto recordClass = std::make_shared<RecordClass>();
  const Object record = NewRecord(Adapter(), recordClass);
  const auto names = [&] { return record.CallForCollection(u"GetMemberNames"); };
  EXPECT_EQ(438, ErrorOf(names));
  EXPECT_EQ(438, ErrorOf([&] { record.CallForCollection(u"MembersCol"); }));
  EXPECT_EQ(438, ErrorOf([&] { record.CallForCollection(u"Other"); }));
  EXPECT_EQ(438, ErrorOf([&] { record.PropertyGetNames(); }));
  recordClass->getMemberNames = ListOf(Adapter(), {u"A", u"B"});
  EXPECT_EQ(2, names()->Count());
  EXPECT_EQ(u"B", names()->TextUnder(u"b"));
  recordClass->getMemberNames = [] { return nullptr; };
  EXPECT_EQ(nullptr, names());
  recordClass->getMemberNames = Raises(RuntimeError(424));
  EXPECT_EQ(424, ErrorOf(names));
  recordClass->membersCol = ListOf(Adapter(), {});
  EXPECT_EQ(0, record.CallForCollection(u"memberscol")->Count());
  recordClass->typeInformation = {u"X", u"Y"};
  EXPECT_THAT(record.PropertyGetNames(), ElementsAre(u"X", u"Y"));
}

TEST_F(MemoryPlatformTest, CreatorsMakeRecordsWithDefaultValues) {
  const auto recordClass = ListingClass(Adapter(), {{u"A", MemberType::kNumber, u"0"}, {u"B"}});
  const Object creator = NewCreator(Adapter(), recordClass);
  const Object first = creator.CallForObject(u"getnewobject");
  Write(first, u"A", u"5");
  EXPECT_EQ(u"0", Read(creator.CallForObject(u"GetNewObject"), u"A"));
  EXPECT_EQ(438, ErrorOf([&] { creator.CallForObject(u"Other"); }));
}

TEST_F(MemoryPlatformTest, CreatorsMaySayNothingOrFail) {
  int calls = 0;
  const Object creator = Adapter().New<MemoryCreator>([&calls]() -> Object {
    if (++calls == 2) throw RuntimeError(429);
    return {};
  });
  EXPECT_TRUE(creator.CallForObject(u"GetNewObject").IsNothing());
  EXPECT_EQ(429, ErrorOf([&] { creator.CallForObject(u"GetNewObject"); }));
}

TEST_F(MemoryPlatformTest, CountsReferencesAndLiveObjects) {
  bool terminated = false;
  const auto recordClass = ListingClass(Adapter(), {});
  recordClass->onTerminate = [&terminated] { terminated = true; };
  Object record = NewRecord(Adapter(), recordClass);
  EXPECT_EQ(1U, Adapter().References(record));
  {
    const Object second = record;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(2U, Adapter().References(record));
  }
  EXPECT_EQ(1U, Adapter().References(record));
  EXPECT_EQ(1U, Adapter().LiveObjects());
  EXPECT_FALSE(terminated);
  record = Object();
  EXPECT_EQ(0U, Adapter().LiveObjects());
  EXPECT_TRUE(terminated);
}

TEST_F(MemoryPlatformTest, ObjectsOfAnotherAdapterAreRefused) {
  const MemoryAdapter other;
  const Object stranger = NewRecord(other, ListingClass(other, {{u"A"}}));
  EXPECT_EQ(430, ErrorOf([&] { Read(stranger, u"A"); }));
  EXPECT_EQ(430, ErrorOf([&] { Adapter().In<MemoryRecord>(stranger); }));
  EXPECT_EQ(430, ErrorOf([&] { CollectionOf(Adapter(), stranger); }));
}

}  // namespace
}  // namespace brindlex
