// Saves that refuse what a restore would read as something else.

#include <memory>
#include <utility>
#include <vector>

#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

struct Pair {
  Text fieldEnd;
  Text recordEnd;
};

/// Every text of up to `longest` units of `alphabet`, the empty one first.
std::vector<Text> TextsOver(TextView alphabet, std::size_t longest) {
  std::vector<Text> texts = {u""};
  for (std::size_t at = 0; at < texts.size(); ++at) {
    if (texts[at].size() == longest) continue;
    for (const char16_t unit : alphabet) texts.push_back(texts[at] + unit);
  }
  return texts;
}

class RefuseMarkersTest : public PersistenceTest {
 protected:
  RefuseMarkersTest() { store_.SetRefuseMarkers(true); }

  Text Save(const Rows& rows, const Pair& markers = {u"|", u";"}) {
    return store_.AsDelimitedFromCollection(RecordsOf(class_, rows), markers.recordEnd,
                                            markers.fieldEnd);
  }

  Rows Restored(TextView text, const Pair& markers) {
    const CollectionRef restored =
        store_.AsDelimitedToCollection(text, Creator(class_), markers.recordEnd, markers.fieldEnd);
    return restored == nullptr ? Rows() : RowsOf(restored);
  }

  /// A save of `rows` is refused with a report that names `member` and says `why`.
  void ExpectRefused(const Rows& rows, TextView why, TextView member,
                     const Pair& markers = {u"|", u";"}) {
    EXPECT_EQ(u"", Save(rows, markers));
    ExpectReports({SaveReport(why, 0, 0, member)});
  }

  /// What is saved comes back; what is refused would not, at least with markers of one unit: those
  /// of several are looked at as a header's are, which is read more strictly than a record.
  void ExpectExact(const Rows& rows, const Pair& markers) {
    const Text text = Save(rows, markers);
    ASSERT_EQ(text.empty() ? 1U : 0U, platform_.reports.size());
    store_.SetRefuseMarkers(false);
    const Text plain = Save(rows, markers);
    const bool comesBack = Restored(plain, markers) == rows;
    platform_.reports.clear();
    store_.SetRefuseMarkers(true);
    if (text.empty()) {
      ++refused_;
      const bool isPlain = markers.fieldEnd.size() + markers.recordEnd.size() == 2;
      ASSERT_FALSE(isPlain && comesBack) << testing::PrintToString(plain);
    } else {
      ++saved_;
      ASSERT_EQ(plain, text);
      ASSERT_TRUE(comesBack) << testing::PrintToString(plain);
    }
  }

  std::shared_ptr<RecordClass> class_ = ListingClass(Adapter(), {{u"Title"}, {u"Note"}});
  std::size_t saved_ = 0;
  std::size_t refused_ = 0;
};

TEST_F(RefuseMarkersTest, ANewInstanceWritesValuesAsTheyAre) {
  clsCollectionSaveRestore other(platform_);
  EXPECT_FALSE(other.RefuseMarkers());
  EXPECT_TRUE(store_.RefuseMarkers());
  EXPECT_EQ(u"Title\u00A5Note\u00A5\u0152a\u00A5b\u00A5c\u00A5\u0152",
            other.AsDelimitedFromCollection(RecordsOf(class_, {{u"a\u00A5b", u"c"}})));
  ExpectReports({});
}

TEST_F(RefuseMarkersTest, WhatHoldsNoMarkerIsSavedAsEver) {
  EXPECT_EQ(u"Title|Note|;a|b|;c\r\n|\r\nd|;", Save({{u"a", u"b"}, {u"c\r\n", u"\r\nd"}}));
  EXPECT_EQ(u"", Save({}));
  EXPECT_EQ(u"Title\u00A5Note\u00A5\u0152a|;\u00A5\u00A5\u0152",
            store_.AsDelimitedFromCollection(RecordsOf(class_, {{u"a|;", u""}})));
  ExpectReports({});
}

TEST_F(RefuseMarkersTest, TheReportSaysWhichMemberOfWhichRecordAndWhy) {
  ExpectRefused({{u"a|b", u""}}, u"Value contains the field end marker, record number 1", u"Title");
  ExpectRefused({{u"a", u"|"}}, u"Value contains the field end marker, record number 1", u"Note");
  ExpectRefused({{u"a", u"b"}, {u"c", u"d;"}},
                u"Value contains the record end marker, record number 2", u"Note");
  ExpectRefused({{u"\r\nx", u""}},
                u"Value begins with a line break, which a restore drops, record number 1",
                u"Title");
  // Together with the one after it, where the reader finds it one unit too early.
  ExpectRefused({{u"a", u"x|"}}, u"Value contains the field end marker, record number 1", u"Note",
                {u"||", u";"});
  ExpectRefused({{u"a", u"b"}}, u"Member name stands before markers that cannot be told apart", u"",
                {u"|", u"||"});
}

TEST_F(RefuseMarkersTest, TheMarkersInForceCountAndNoOthers) {
  const auto records = RecordsOf(class_, {{u"a\u00BB\u0160b", u"c"}});
  EXPECT_NE(u"", store_.AsDelimitedFromCollection(records));
  ExpectReports({});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(records, u"\u0160"));
  ExpectReports(
      {SaveReport(u"Value contains the record end marker, record number 1", 0, 0, u"Title")});
  EXPECT_EQ(u"", store_.AsDelimitedFromObject(NewRecord(Adapter(), class_, {u"\u0152"})));
  ExpectReports(
      {SaveReport(u"Value contains the record end marker, record number 1", 0, 0, u"Title")});
}

TEST_F(RefuseMarkersTest, ANameThatHoldsAMarkerIsRefusedToo) {
  class_ = ListingClass(Adapter(), {{u"Title"}, {u"No|te"}});
  ExpectRefused({{u"a", u"b"}}, u"Member name contains the field end marker", u"No|te");
  class_ = ListingClass(Adapter(), {{u"Tit;le"}, {u"Note"}});
  ExpectRefused({{u"a", u"b"}}, u"Member name contains the record end marker", u"Tit;le");
}

TEST_F(RefuseMarkersTest, OtherFailuresAreReportedAsEver) {
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(nullptr));
  const TextView notSet = u"Object variable or With block variable not set";
  ExpectReports({SaveReport(notSet, 91, 1, u"")});
  class_ = ListingClass(Adapter(), {{u"Title"}, {.name = u"Note", .readable = false}});
  EXPECT_EQ(u"", Save({{u"a"}}));
  ExpectReports({SaveReport(u"Object doesn't support this property or method", 438, 5, u"Note")});
  CollectionRef withNothing = RecordsOf(ListingClass(Adapter(), {{u"A"}}), {{u"a"}});
  withNothing->Add(Object(), {});
  EXPECT_EQ(u"", store_.AsDelimitedFromCollection(withNothing));
  ExpectReports({SaveReport(notSet, 91, 5, u"A")});
}

TEST_F(RefuseMarkersTest, AGetterThatTurnsTheSwitchDoesNotChangeTheSaveUnderWay) {
  class_->onUse = [this](RecordClass::Use, TextView) { store_.SetRefuseMarkers(false); };
  ExpectRefused({{u"a", u"|"}}, u"Value contains the field end marker, record number 1", u"Note");
  EXPECT_FALSE(store_.RefuseMarkers());
}

TEST_F(RefuseMarkersTest, WhatStandsBehindARecordEndIsNoPartOfIt) {
  const Rows rows = {{u"a", u"b"}, {u"|c", u"d"}};
  const Pair markers = {u"-", u"||"};
  const Text text = Save(rows, markers);
  EXPECT_EQ(u"Title-Note-||a-b-|||c-d-||", text);
  EXPECT_EQ(rows, Restored(text, markers));
  ExpectReports({});
}

TEST_F(RefuseMarkersTest, EveryShortValueComesBackOrIsRefused) {
  const Pair pairs[] = {{u"|", u";"},     {u"||", u";"}, {u"|", u"|"},     {u"ab", u"ba"},
                        {u"aa", u"b"},    {u"a", u"ab"}, {u"b", u"ab"},    {u"|", u"\r\n"},
                        {u"\r\n", u"||"}, {u"\r", u"|"}, {u"|", u"|\r\n"}, {u";|", u"||"},
                        {u"\r", u"\n"}};
  const auto one = ListingClass(Adapter(), {{u"Title"}});
  const auto two = class_;
  for (const Pair& pair : pairs) {
    for (const TextView alphabet : {u"|;x", u"abx", u"\r\n|"}) {
      const auto texts = TextsOver(alphabet, 3);
      for (const Text& first : texts) {
        for (const Text& second : texts) {
          class_ = two;
          ASSERT_NO_FATAL_FAILURE(ExpectExact({{first, second}}, pair));
          class_ = one;
          ASSERT_NO_FATAL_FAILURE(ExpectExact({{first}, {second}}, pair));
        }
      }
    }
  }
  EXPECT_GT(saved_, 20000U);
  EXPECT_GT(refused_, 20000U);
}

// ---- Several collections in one text -----------------------------------------------------------

TEST_F(RefuseMarkersTest, AnInnerValueMayHoldNoneOfTheFourMarkers) {
  const std::pair<char16_t, TextView> rows[] = {
      {u'\u00BB', u"Value contains the field end marker, record number 1"},
      {u'\u0160', u"Value contains the record end marker, record number 1"},
      {u'\u00A5', u"Value contains a marker of the text around it, record number 1"},
      {u'\u0152', u"Value contains a marker of the text around it, record number 1"}};
  store_.SetMultiDataString(store_.MultiDataColString(RecordsOf(class_, {{u"kept"}}), u"Items"));
  const Text before = store_.MultiDataString();
  for (const auto& [marker, why] : rows) {
    const Text value = Text(u"a") + marker;
    // Neither in the place of what is there nor beside it.
    for (const TextView name : {u"Items", u"More"}) {
      EXPECT_EQ(u"", store_.MultiDataColString(RecordsOf(class_, {{u"x", value}}), name));
      ExpectReports({SaveReport(why, 0, 0, u"Note")});
    }
  }
  EXPECT_EQ(before, store_.MultiDataString());
}

TEST_F(RefuseMarkersTest, ABlocksNameMayHoldNoOuterMarker) {
  EXPECT_EQ(u"", store_.MultiDataColString(RecordsOf(class_, {{u"x"}}), u"It\u00A5ems"));
  ExpectReports(
      {SaveReport(u"Value contains the field end marker, record number 1", 0, 0, u"Name")});
  EXPECT_NE(u"", store_.MultiDataColString(RecordsOf(class_, {{u"x"}}), u"It\u00BBems"));
  ExpectReports({});
}

TEST_F(RefuseMarkersTest, NoBlockIsEmptiedByASaveThatFails) {
  class_ = ListingClass(Adapter(), {{.name = u"Title", .readable = false}});
  const auto unreadable = RecordsOf(class_, {{u"x"}});
  const Report report =
      SaveReport(u"Object doesn't support this property or method", 438, 5, u"Title");
  EXPECT_EQ(u"", store_.MultiDataColString(unreadable, u"Items"));
  ExpectReports({report});
  store_.SetRefuseMarkers(false);
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152",
            store_.MultiDataColString(unreadable, u"Items"));
  ExpectReports({report});
}

/// A collection that cannot be counted.
class Uncountable : public InnerCollection {
 public:
  std::int32_t Count() const override { throw RuntimeError(error_number::kNoSuchMember); }
};

TEST_F(RefuseMarkersTest, NoBlockIsEmptiedByACollectionThatCannotBeCounted) {
  EXPECT_EQ(u"", store_.MultiDataColString(std::make_shared<Uncountable>(), u"Items"));
  ExpectReports({SaveReport(u"Object doesn't support this property or method", 438, 1, u"")});
}

TEST_F(RefuseMarkersTest, AnEmptyCollectionStillEmptiesItsBlock) {
  EXPECT_EQ(u"DataString\u00A5Name\u00A5\u0152\u00A5Items\u00A5\u0152",
            store_.MultiDataColString(Adapter().NewCollection(), u"Items"));
  ExpectReports({});
}

TEST_F(RefuseMarkersTest, EveryShortInnerValueComesBackOrIsRefused) {
  for (const Text& value : TextsOver(u"\u00BB\u0160\u00A5\u0152x\r\n", 3)) {
    const Rows rows = {{u"first", value}, {value, u"last"}};
    const Text stored = store_.MultiDataColString(RecordsOf(class_, rows), u"Items");
    const bool holdsMarker = value.find_first_of(u"\u00BB\u0160\u00A5\u0152") != Text::npos;
    const bool isDropped = value.starts_with(u"\r\n");
    ASSERT_EQ(holdsMarker || isDropped, stored.empty()) << testing::PrintToString(value);
    platform_.reports.clear();
    if (stored.empty()) continue;
    store_.SetMultiDataString(stored);
    ASSERT_EQ(rows, RowsOf(store_.WorkingCol(u"Items", Creator(class_))));
  }
}

}  // namespace
}  // namespace brindlex
