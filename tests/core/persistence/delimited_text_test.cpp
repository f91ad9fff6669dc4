#include "persistence/delimited_text.h"
#include "persistence/record_writer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "tests/core/failing_new.h"
#include "tests/core/persistence/naive_format.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

using testing::ElementsAre;

std::vector<Text> ItemsOf(TextView text, TextView delimiter) {
  DelimitedItems items(text, delimiter);
  std::vector<Text> texts;
  for (TextView item; items.Next(item);) texts.emplace_back(item);
  return texts;
}

TEST(MarkersTest, Rows) {
  const Markers outer = DefaultMarkers();
  EXPECT_EQ(u"\u00A5", outer.fieldEnd);
  EXPECT_EQ(u"\u0152", outer.recordEnd);
  const Markers inner = InternalMarkers();
  EXPECT_EQ(u"\u00BB", inner.fieldEnd);
  EXPECT_EQ(u"\u0160", inner.recordEnd);
}

TEST(MarkersTest, GivenMarkersStandInForTheDefaults) {
  const Markers neither = MarkersOr(DefaultMarkers(), {}, {});
  EXPECT_EQ(u"\u00A5", neither.fieldEnd);
  EXPECT_EQ(u"\u0152", neither.recordEnd);
  const Markers record = MarkersOr(DefaultMarkers(), u"||", {});
  EXPECT_EQ(u"\u00A5", record.fieldEnd);
  EXPECT_EQ(u"||", record.recordEnd);
  const Markers field = MarkersOr(DefaultMarkers(), {}, u"\t");
  EXPECT_EQ(u"\t", field.fieldEnd);
  EXPECT_EQ(u"\u0152", field.recordEnd);
}

TEST(MarkersTest, AMarkerMustBeThereAndReadable) {
  const auto unreadable = OptionalText::ConversionFailed(RuntimeError(13));
  EXPECT_EQ(5, ErrorOf([] { MarkersOr(DefaultMarkers(), u"", {}); }));
  EXPECT_EQ(5, ErrorOf([] { MarkersOr(DefaultMarkers(), {}, u""); }));
  EXPECT_EQ(13, ErrorOf([&] { MarkersOr(DefaultMarkers(), unreadable, {}); }));
  EXPECT_EQ(13, ErrorOf([&] { MarkersOr(DefaultMarkers(), {}, unreadable); }));
}

TEST(DelimitedItemsTest, Rows) {
  EXPECT_THAT(ItemsOf(u"a,b,", u","), ElementsAre(u"a", u"b"));
  EXPECT_THAT(ItemsOf(u"a,,", u","), ElementsAre(u"a", u""));
  EXPECT_THAT(ItemsOf(u"a,b", u","), ElementsAre(u"a"));
  EXPECT_THAT(ItemsOf(u",", u","), ElementsAre(u""));
  EXPECT_THAT(ItemsOf(u",x", u","), ElementsAre(u""));
  EXPECT_THAT(ItemsOf(u",,", u","), ElementsAre(u"", u""));
  EXPECT_THAT(ItemsOf(u"ab--cd--e-", u"--"), ElementsAre(u"ab", u"cd"));
  EXPECT_THAT(ItemsOf(u"A,aa,", u"a"), ElementsAre(u"A,", u""));
  EXPECT_THAT(ItemsOf(TextView(u"\0,\0\xD800,", 5), u","),
              ElementsAre(Text(1, u'\0'), TextView(u"\0\xD800", 2)));
}

TEST(DelimitedItemsTest, ATextWithoutADelimiterCannotBeSplit) {
  EXPECT_EQ(5, ErrorOf([] { ItemsOf(u"", u","); }));
  EXPECT_EQ(5, ErrorOf([] { ItemsOf(u"a", u","); }));
  EXPECT_EQ(5, ErrorOf([] { ItemsOf(u"a-", u"--"); }));
  EXPECT_EQ(5, ErrorOf([] { ItemsOf(u"b", u"B"); }));
}

TEST(DelimitedItemsTest, KnowsWhetherThereIsMore) {
  DelimitedItems items(u"a,b,", u",");
  TextView item;
  EXPECT_TRUE(items.More());
  EXPECT_TRUE(items.Next(item));
  EXPECT_TRUE(items.More());
  EXPECT_TRUE(items.Next(item));
  EXPECT_FALSE(items.More());
  EXPECT_FALSE(items.Next(item));
  EXPECT_EQ(u"b", item);
}

Text Stripped(TextView text, TextView recordEnd) {
  Text storage;
  return Text(StripRecordBreaks(text, recordEnd, storage));
}

TEST(StripRecordBreaksTest, UpToThreeLineBreaksBehindARecordEndDisappear) {
  EXPECT_EQ(u"a;b;", Stripped(u"a;b;", u";"));
  EXPECT_EQ(u"a;b;", Stripped(u"a;\r\nb;\r\n", u";"));
  EXPECT_EQ(u"a;b;", Stripped(u"a;\r\n\r\nb;\r\n\r\n", u";"));
  EXPECT_EQ(u"a;b;", Stripped(u"a;\r\n\r\n\r\nb;", u";"));
  EXPECT_EQ(u"a;\r\nb;", Stripped(u"a;\r\n\r\n\r\n\r\nb;", u";"));
  EXPECT_EQ(u"a;\r\n\r\nb;", Stripped(u"a;\r\n\r\n\r\n\r\n\r\nb;", u";"));
}

TEST(StripRecordBreaksTest, OtherLineBreaksAreData) {
  for (const TextView text :
       {u"", u"\r\n", u"\r\na;", u"a\r\n;", u"a\r\nb;", u"a;\rb;", u"a;\nb;", u"a;\n\rb;"}) {
    EXPECT_EQ(text, Stripped(text, u";"));
  }
}

TEST(StripRecordBreaksTest, ATextWithoutThemIsNotCopied) {
  const Text text = u"a;b;";
  Text storage;
  EXPECT_EQ(text.data(), StripRecordBreaks(text, u";", storage).data());
}

/// All texts over `alphabet` of up to `length` units, the empty one included.
std::vector<Text> TextsOver(TextView alphabet, std::size_t length) {
  std::vector<Text> texts{u""};
  for (std::size_t i = 0; texts[i].size() < length; ++i) {
    for (const char16_t unit : alphabet) texts.push_back(texts[i] + unit);
  }
  return texts;
}

// ---- Records and fields --------------------------------------------------------------------

using Records = std::vector<std::vector<Text>>;

Records RecordsIn(TextView text, const Markers& markers) {
  const auto parser = ParseRecords(text, markers);
  Records records;
  while (true) {
    const bool more = parser->More();
    EXPECT_EQ(more, parser->Next());
    if (!more) break;
    records.emplace_back();
    if (parser->HasFields()) records.back() = {parser->Fields().begin(), parser->Fields().end()};
  }
  EXPECT_FALSE(parser->Next()) << "a parser at its end stays there";
  return records;
}

TEST(RecordParserTest, Rows) {
  const Markers markers{u",", u";"};
  EXPECT_EQ((Records{{u"a", u"b"}, {u"c", u""}}), RecordsIn(u"a,b,;c,,;", markers));
  EXPECT_EQ((Records{{u"a"}}), RecordsIn(u"a,rest;after", markers));
  EXPECT_EQ((Records{{}, {u""}}), RecordsIn(u"none;,;", markers));
  EXPECT_EQ((Records{{u"a"}, {u"b"}}), RecordsIn(u"a,;\r\n\r\nb,;\r\n", markers));
  EXPECT_EQ((Records{{}}), RecordsIn(u";", markers));
}

TEST(RecordParserTest, ATextWithoutARecordEndCannotBeParsed) {
  for (const Markers& markers : {Markers{u",", u";"}, Markers{u"--", u"=="}}) {
    EXPECT_EQ(5, ErrorOf([&] { ParseRecords(TextView(u""), markers); }));
    EXPECT_EQ(5, ErrorOf([&] { ParseRecords(TextView(u"a,b--"), markers); }));
  }
}

TEST(RecordParserTest, ARecordWithoutAFieldEndHasNoFields) {
  const Markers markers{u",", u";"};
  const auto parser = ParseRecords(TextView(u"a;b,;"), markers);
  ASSERT_TRUE(parser->Next());
  EXPECT_FALSE(parser->HasFields());
  EXPECT_EQ(5, ErrorOf([&] { static_cast<void>(parser->Fields()); }));
  ASSERT_TRUE(parser->Next());
  EXPECT_THAT(parser->Fields(), ElementsAre(u"b"));
}

TEST(RecordParserTest, FieldsAreViewsIntoTheText) {
  const Markers markers{u",", u";"};
  const Text text = u"ab,;\r\ncd,;";
  const auto parser = ParseRecords(text, markers);
  parser->Next();
  parser->Next();
  EXPECT_EQ(text.data() + 6, parser->Fields()[0].data());
}

/// What the naive model makes of `text`; nothing when it cannot be split.
std::optional<Records> NaiveRecordsIn(const Text& text, const Markers& markers) {
  const auto split =
      naive::SplitString(naive::StripRecordBreaks(text, markers.recordEnd), markers.recordEnd);
  if (!split) return std::nullopt;
  Records records;
  for (const Text& record : *split) {
    records.push_back(naive::SplitString(record, markers.fieldEnd).value_or(std::vector<Text>()));
  }
  return records;
}

TEST(RecordParserTest, ParsesEveryShortTextLikeTheNaiveModel) {
  const std::vector<Markers> pairs = {
      {u",", u";"},  {u";", u","},  {u"\r", u";"},  {u",", u"\n"},   {u",", u","},
      {u";,", u";"}, {u",", u";;"}, {u"\n", u"\r"}, {u"\r\n", u";"}, {u",", u"\r\n"}};
  std::size_t parsed = 0;
  for (const Text& text : TextsOver(u"a,;\r\n", 6)) {
    for (const Markers& markers : pairs) {
      const auto expected = NaiveRecordsIn(text, markers);
      std::optional<Records> records;
      const auto error = ErrorOf([&] { records = RecordsIn(text, markers); });
      ASSERT_EQ(expected, records) << testing::PrintToString(text);
      ASSERT_EQ(expected.has_value(), !error.has_value());
      if (records) ++parsed;
    }
  }
  EXPECT_LT(10000U, parsed);
}

TEST(RecordParserTest, ParsesLongTextsLikeTheNaiveModel) {
  std::mt19937 random(7);
  const Markers markers = DefaultMarkers();
  std::size_t parsed = 0;
  for (int round = 0; round < 400; ++round) {
    Text text;
    const std::size_t length = random() % 4000;
    // From a marker in every other place to one in five hundred.
    const std::size_t variety = std::size_t{8} << random() % 8;
    while (text.size() < length) {
      const std::size_t kind = random() % variety;
      if (kind == 0) {
        text.append(markers.recordEnd);
      } else if (kind < 4) {
        text.append(markers.fieldEnd);
      } else if (kind == 4) {
        text.append(u"\r\n");
      } else {
        text += static_cast<char16_t>(u'a' + kind % 26);
      }
    }
    const auto expected = NaiveRecordsIn(text, markers);
    if (!expected) continue;
    ++parsed;
    ASSERT_EQ(*expected, RecordsIn(text, markers)) << testing::PrintToString(text);
  }
  EXPECT_LT(300U, parsed);
}

TEST(RecordParserTest, IsAtNoRecordAtFirst) {
  const Markers markers{u",", u";"};
  const auto parser = ParseRecords(TextView(u"a,;"), markers);
  EXPECT_FALSE(parser->HasFields());
  EXPECT_EQ(5, ErrorOf([&] { static_cast<void>(parser->Fields()); }));
}

TEST(RecordParserTest, ReadsNothingAfterTheText) {
  const Text text = u"a,;\r\nb,;";
  // Memory of exactly this size, so that a read beyond it is seen where memory is checked.
  const auto memory = std::make_unique<char16_t[]>(text.size());
  std::copy(text.begin(), text.end(), memory.get());
  EXPECT_EQ((Records{{u"a"}, {u"b"}}), RecordsIn({memory.get(), text.size()}, Markers{u",", u";"}));
}

TEST(RecordParserTest, GoesOnWhereMemoryRanOut) {
  const Markers markers{u",", u";"};
  constexpr std::size_t kMany = 5000;
  const Text text = Text(u"a,;b,;") + Text(kMany, u',') + u";c,;";
  const auto parser = ParseRecords(text, markers);
  ASSERT_TRUE(parser->Next());
  EXPECT_THAT(parser->Fields(), ElementsAre(u"a"));
  ASSERT_TRUE(parser->Next());
  EXPECT_THAT(parser->Fields(), ElementsAre(u"b"));
  const auto runsOutOfMemory = [&parser] {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    try {
      static_cast<void>(parser->Next());
    } catch (const std::bad_alloc&) {
      return true;
    }
    return false;
  };
  EXPECT_TRUE(runsOutOfMemory());
  EXPECT_TRUE(runsOutOfMemory());
  EXPECT_TRUE(parser->More());
  ASSERT_TRUE(parser->Next());
  EXPECT_EQ(kMany, parser->Fields().size());
  ASSERT_TRUE(parser->Next());
  EXPECT_THAT(parser->Fields(), ElementsAre(u"c"));
  EXPECT_FALSE(parser->Next());
}

TEST(FieldViewsTest, AreIteratedByEitherStep) {
  const Markers markers{u",", u";"};
  const auto parser = ParseRecords(TextView(u"a,bc,;"), markers);
  parser->Next();
  auto field = parser->Fields().begin();
  EXPECT_EQ(u"a", *field++);
  EXPECT_EQ(u"bc", *field);
  EXPECT_EQ(parser->Fields().end(), ++field);
}

TEST(RecordParserTest, ARecordMayHaveAnyNumberOfFields) {
  const Markers markers = DefaultMarkers();
  const auto recordOf = [&markers](std::size_t count) {
    Text record;
    for (std::size_t field = 0; field < count; ++field) {
      record.append(field % 7, u'x').append(markers.fieldEnd);
    }
    return record.append(markers.recordEnd);
  };
  const std::size_t counts[] = {1, 510, 511, 512, 513, 2, 5000, 3, 20000, 1};
  Text text;
  for (const std::size_t count : counts) text.append(recordOf(count));
  const auto parser = ParseRecords(text, markers);
  for (const std::size_t count : counts) {
    ASSERT_TRUE(parser->Next());
    ASSERT_EQ(count, parser->Fields().size());
    std::size_t number = 0;
    for (const TextView field : parser->Fields()) ASSERT_EQ(Text(number++ % 7, u'x'), field);
    EXPECT_EQ(Text((count - 1) % 7, u'x'), parser->Fields()[count - 1]);
  }
  EXPECT_FALSE(parser->More());
}

TEST(RecordParserTest, AVeryLongRecordIsParsed) {
  // Parsing it again from its start for every stretch would take minutes.
  constexpr std::size_t kFields = 4000000;
  const Markers markers = DefaultMarkers();
  const Text text = Text(kFields, markers.fieldEnd.front()).append(markers.recordEnd);
  const auto parser = ParseRecords(text, markers);
  ASSERT_TRUE(parser->Next());
  EXPECT_EQ(kFields, parser->Fields().size());
}

TEST(HeaderNamesTest, Rows) {
  const Markers markers{u",", u";"};
  const auto names = [&markers](TextView text) { return HeaderNames(text, markers); };
  EXPECT_EQ(std::nullopt, names(u""));
  EXPECT_EQ(std::nullopt, names(u"Title,Count,"));
  EXPECT_EQ(std::nullopt, names(u";"));
  EXPECT_EQ(std::nullopt, names(u",;"));
  EXPECT_EQ(std::nullopt, names(u",;a,;"));
  EXPECT_THAT(*names(u"a,;"), ElementsAre(u"a"));
  EXPECT_THAT(*names(u",,;"), ElementsAre(u"", u""));
  EXPECT_THAT(*names(u"ab;"), ElementsAre());
  EXPECT_THAT(*names(u"a,b;c,;"), ElementsAre(u"a"));
  EXPECT_THAT(*names(u"Title,Count,;x,y,;"), ElementsAre(u"Title", u"Count"));
}

TEST(DelimitedTextModelTest, SplitsAndStripsEveryShortText) {
  for (const Text& text : TextsOver(u"ab", 9)) {
    for (const Text& marker : TextsOver(u"ab", 4)) {
      if (marker.empty()) continue;
      const auto expected = naive::SplitString(text, marker);
      std::optional<std::vector<Text>> items;
      const auto error = ErrorOf([&] { items = ItemsOf(text, marker); });
      ASSERT_EQ(expected, items) << testing::PrintToString(text);
      ASSERT_EQ(expected.has_value(), !error.has_value());
    }
  }
}

TEST(DelimitedTextModelTest, StripsEveryShortText) {
  for (const Text& text : TextsOver(u";\r\n", 8)) {
    for (const Text marker : {u";", u"\r\n", u";\r\n", u";;", u"\n"}) {
      ASSERT_EQ(naive::StripRecordBreaks(text, marker), Stripped(text, marker))
          << testing::PrintToString(text) << " at " << testing::PrintToString(marker);
    }
  }
}

/// Reads texts with the component and with the naive model, which must agree on everything that a
/// caller or a user can see.
class ModelTest : public PersistenceTest {
 protected:
  void Compare(const Text& text) {
    CompareRestore(text);
    CompareFieldNames(text);
  }

  void CompareRestore(const Text& text) {
    const auto expected = naive::Restore(text, members_, markers_, keyProperty_);
    const CollectionRef restored = store_.AsDelimitedToCollection(
        text, creator_, markers_.recordEnd, markers_.fieldEnd, keyProperty_);
    ASSERT_EQ(expected.records.has_value(), restored != nullptr) << testing::PrintToString(text);
    if (restored != nullptr) {
      ++restoredCount_;
      ASSERT_TRUE(SameRecords(*expected.records, restored)) << testing::PrintToString(text);
    }
    ASSERT_EQ(expected.reports.size(), platform_.reports.size()) << testing::PrintToString(text);
    for (std::size_t i = 0; i < expected.reports.size(); ++i) {
      ASSERT_EQ(expected.reports[i].caption, platform_.reports[i].caption);
      ASSERT_EQ(expected.reports[i].text, platform_.reports[i].text)
          << testing::PrintToString(text);
    }
    reportCount_ += platform_.reports.size();
    platform_.reports.clear();
  }

  bool SameRecords(const std::vector<naive::Record>& expected, const CollectionRef& restored) {
    const auto& entries = CollectionIn(Adapter(), restored).entries;
    if (entries.size() != expected.size()) return false;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const auto& record = Adapter().In<MemoryRecord>(std::get<Object>(entries[i].value));
      if (record.values != expected[i].values) return false;
      if (entries[i].key.has_value() == expected[i].key.empty()) return false;
      if (entries[i].key.value_or(Text()) != expected[i].key) return false;
    }
    return true;
  }

  void CompareFieldNames(const Text& text) {
    const auto expected = naive::ReadFieldNames(text, markers_);
    CollectionRef names;
    const auto error = ErrorOf(
        [&] { names = store_.FieldNamesCollection(text, markers_.recordEnd, markers_.fieldEnd); });
    if (expected.duplicate) {
      ASSERT_EQ(457, error) << testing::PrintToString(text);
      return;
    }
    ASSERT_EQ(std::nullopt, error) << testing::PrintToString(text);
    ASSERT_EQ(expected.names.has_value(), names != nullptr) << testing::PrintToString(text);
    if (names != nullptr) {
      ASSERT_EQ(*expected.names, NamesIn(names)) << testing::PrintToString(text);
    }
  }

  void UseClass(naive::Texts members, Text keyProperty) {
    std::vector<Member> own;
    for (const Text& name : members) own.push_back({name});
    members_ = std::move(members);
    keyProperty_ = std::move(keyProperty);
    creator_ = Creator(ListingClass(Adapter(), std::move(own)));
  }

  /// Nothing of the last run is alive, and both outcomes came up often enough to mean something.
  void ExpectCovered(std::size_t restored, std::size_t reports) {
    EXPECT_GE(restoredCount_, restored);
    EXPECT_GE(reportCount_, reports);
    creator_ = Object();
  }

  naive::Markers markers_;

 private:
  naive::Texts members_;
  Text keyProperty_;
  Object creator_;
  std::size_t restoredCount_ = 0;
  std::size_t reportCount_ = 0;
};

TEST_F(ModelTest, EveryShortText) {
  UseClass({u"a", u"aa"}, u"a");
  for (const Text& text : TextsOver(u"a\u00A5\u0152\r\n", 7)) {
    ASSERT_NO_FATAL_FAILURE(Compare(text));
  }
  ExpectCovered(1000, 20'000);
}

TEST_F(ModelTest, EveryShortTextBehindAHeader) {
  UseClass({u"a", u"aa"}, u"a");
  for (const Text& text : TextsOver(u"a\u00A5\u0152\r\n", 5)) {
    for (const TextView header : {u"a\u00A5\u0152", u"a\u00A5aa\u00A5\u0152",
                                  u"x\u00A5A\u00A5\u0152", u"a\u00A5a\u00A5\u0152\r\n"}) {
      ASSERT_NO_FATAL_FAILURE(CompareRestore(Text(header) + text));
    }
  }
  ExpectCovered(300, 5000);
}

TEST_F(ModelTest, EveryShortTextWithoutKeys) {
  UseClass({u"a"}, u"");
  for (const Text& text : TextsOver(u"a\u00A5\u0152\r\n", 5)) {
    ASSERT_NO_FATAL_FAILURE(CompareRestore(u"a\u00A5\u0152" + text));
  }
  ExpectCovered(100, 1000);
}

TEST_F(ModelTest, EveryShortTextWithMarkersOfSeveralCharacters) {
  const naive::Markers markers[] = {
      {u"ab", u"ba"}, {u"a", u"aa"}, {u"aa", u"a"},  {u"aba", u"bb"},
      {u"a", u"a"},   {u"b", u"ab"}, {u"aab", u"b"},
  };
  UseClass({u"a", u"b", u"aa"}, u"b");
  for (const naive::Markers& pair : markers) {
    markers_ = pair;
    for (const Text& text : TextsOver(u"ab", 10)) ASSERT_NO_FATAL_FAILURE(Compare(text));
  }
  ExpectCovered(150, 3000);
}

TEST_F(ModelTest, EveryShortTextWhoseRecordsAreLines) {
  UseClass({u"a"}, u"a");
  markers_ = {u"\t", u"\r\n"};
  for (const Text& text : TextsOver(u"a\t\r\n", 7)) ASSERT_NO_FATAL_FAILURE(Compare(text));
  ExpectCovered(10, 1000);
}

class RandomTextTest : public ModelTest {
 protected:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  /// Mostly letters, sometimes the oddest units there are; never a marker.
  Text RandomValue() {
    constexpr char16_t kOdd[] = {u'\0',     u'\r',     u'\n',     u' ',
                                 u'\xD800', u'\xDFFF', u'\uFFFF', u'\u00BB'};
    Text value;
    for (std::size_t length = Below(12); length > 0; --length) {
      value +=
          Below(4) == 0 ? kOdd[Below(std::size(kOdd))] : static_cast<char16_t>(u'A' + Below(50));
    }
    return value;
  }

  /// A first value that starts with a line break would lose it after the record end before it.
  Text RandomFirstValue() {
    for (;;) {
      Text value = RandomValue();
      if (value.substr(0, 2) != u"\r\n") return value;
    }
  }

  std::vector<Text> RandomRow(std::size_t columns) {
    std::vector<Text> row{RandomFirstValue()};
    while (row.size() < columns) row.push_back(RandomValue());
    return row;
  }

  std::mt19937 random_{20240229};
};

TEST_F(RandomTextTest, WhatIsSavedIsRestored) {
  for (int round = 0; round < 300; ++round) {
    std::vector<Member> members;
    naive::Texts names;
    for (std::size_t column = Below(6) + 1; column > 0; --column) {
      names.push_back(Text(u"Field").append(DecimalText(static_cast<std::int32_t>(column))));
      members.push_back({names.back()});
    }
    const auto recordClass = ListingClass(Adapter(), members);
    Rows rows;
    for (std::size_t count = Below(20) + 1; count > 0; --count) {
      rows.push_back(RandomRow(names.size()));
    }
    const Text text = store_.AsDelimitedFromCollection(RecordsOf(recordClass, rows));
    ASSERT_EQ(naive::Save(names, rows, {}), text);
    const CollectionRef restored = store_.AsDelimitedToCollection(text, Creator(recordClass));
    ASSERT_NE(nullptr, restored);
    ASSERT_EQ(rows, RowsOf(restored));
  }
  ExpectReports({});
}

/// Texts that are nearly right: a valid one with a few units exchanged, doubled or missing.
TEST_F(RandomTextTest, DamagedTextsAsTheModelReadsThem) {
  UseClass({u"Title", u"Count", u"Note"}, u"Title");
  for (int round = 0; round < 6000; ++round) {
    Text text =
        u"Title\u00A5Count\u00A5note\u00A5\u0152A\u00A51\u00A5\u00A5\u0152B\u00A52\u00A5x\u00A5"
        u"\u0152\r\nC\u00A53\u00A5y\u00A5\u0152";
    for (std::size_t damages = Below(3) + 1; damages > 0; --damages) {
      const std::size_t at = Below(text.size());
      const char16_t unit = text[Below(text.size())];
      switch (Below(3)) {
        case 0:
          text[at] = unit;
          break;
        case 1:
          text.insert(at, 1, unit);
          break;
        default:
          text.erase(at, 1);
      }
    }
    ASSERT_NO_FATAL_FAILURE(Compare(text));
  }
  ExpectCovered(500, 1000);
}

TEST_F(ModelTest, EveryTruncationOfAValidText) {
  UseClass({u"Title", u"Count"}, u"Title");
  const Text text =
      u"Title\u00A5Count\u00A5\u0152Alpha\u00A53\u00A5\u0152\r\nBeta\u00A512\u00A5\u0152\r\n\r\n"
      u"\u00A5\u00A5\u0152Delta\u00A5-1\u00A5\u0152";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    ASSERT_NO_FATAL_FAILURE(Compare(text.substr(0, length)));
    ASSERT_NO_FATAL_FAILURE(Compare(text.substr(length)));
  }
  ExpectCovered(20, 30);
}

/// A builder that says how much it would allocate.
class MeasuredBuilder final : public TextBuilder {
 public:
  using TextBuilder::NextCapacity;

  void Clear() noexcept override { Forget(); }

 private:
  Memory Provide(std::size_t least) override {
    text_.resize(least);
    return {text_.data(), least};
  }

  Text text_;
};

TEST(HintSizeTest, EstimatesAsMuchForEachRecordAsThoseBeforeTook) {
  for (std::int32_t written = 1; written < 1000; ++written) {
    MeasuredBuilder builder;
    builder.Append(Text(std::size_t{10} * static_cast<std::size_t>(written), u'x'));
    HintSize(1000, written, builder);
    const bool isTime = written >= 8 && std::has_single_bit(static_cast<unsigned>(written));
    // 1000 records of 10 units, and a fifth more.
    EXPECT_EQ(isTime ? 12000U : 2000U, builder.NextCapacity(1000)) << written;
  }
}

TEST(HintSizeTest, EstimatesABillionUnitsAtMost) {
  MeasuredBuilder builder;
  builder.Append(Text(100000, u'x'));
  HintSize(2'000'000'000, 8, builder);
  EXPECT_EQ(1'000'000'000U, builder.NextCapacity(100'000'000));
}

}  // namespace
}  // namespace brindlex
