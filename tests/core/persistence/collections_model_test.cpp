#include <vector>

#include "tests/core/persistence/naive_collections.h"
#include "tests/core/persistence/persistence_test.h"

namespace brindlex {
namespace {

const naive::Texts kMembers = {u"a", u"b"};

/// Stores collections in one text and takes them out with the component and with the naive model,
/// which must agree on everything that a caller or a user can see.
class CollectionsModelTest : public PersistenceTest {
 protected:
  void SetUp() override { class_ = ListingClass(Adapter(), {{u"a"}, {u"b"}}); }

  void Set(const Text& text) {
    store_.SetMultiDataString(text);
    model_.text = text;
  }

  void CompareWorking(const Text& name, const Text& key) {
    const auto expected = model_.Working(name, kMembers, key);
    const CollectionRef working = store_.WorkingCol(name, Creator(class_), key);
    ASSERT_EQ(expected.records.has_value(), working != nullptr);
    if (working != nullptr) {
      Rows rows;
      rows.reserve(expected.records->size());
      for (const naive::Record& record : *expected.records) rows.push_back(record.values);
      ASSERT_EQ(rows, RowsOf(working));
      ++found_;
    }
    ASSERT_NO_FATAL_FAILURE(CompareReports(expected.reports));
  }

  void CompareStore(const Text& name, const Rows& rows) {
    const Text stored = store_.MultiDataColString(RecordsOf(class_, rows), name);
    const auto reports = model_.Store(name, kMembers, rows);
    ASSERT_EQ(model_.text, stored);
    store_.SetMultiDataString(stored);
    ASSERT_NO_FATAL_FAILURE(CompareReports(reports));
  }

  std::size_t found_ = 0;
  std::size_t reported_ = 0;

 private:
  void CompareReports(const std::vector<naive::Report>& expected) {
    ASSERT_EQ(expected.size(), platform_.reports.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(expected[i].caption, platform_.reports[i].caption);
      ASSERT_EQ(expected[i].text, platform_.reports[i].text);
    }
    reported_ += expected.size();
    platform_.reports.clear();
  }

  std::shared_ptr<RecordClass> class_;
  naive::Collections model_;
};

/// All texts of up to `length` of `parts`.
std::vector<Text> TextsOf(const std::vector<Text>& parts, std::size_t length) {
  std::vector<Text> texts{u""};
  std::size_t first = 0;
  for (std::size_t round = 0; round < length; ++round) {
    const std::size_t last = texts.size();
    for (; first < last; ++first) {
      for (const Text& part : parts) texts.push_back(texts[first] + part);
    }
  }
  return texts;
}

TEST_F(CollectionsModelTest, EveryShortTextOfBlocks) {
  const std::vector<Text> parts = {
      u"a\u00BBb\u00BB\u0160", u"x\u00BB\u00BB\u0160", u"\u00A5", u"A", u"\u00A5\u0152", u"\r\n"};
  for (const Text& text : TextsOf(parts, 5)) {
    Set(u"DataString\u00A5Name\u00A5\u0152" + text);
    ASSERT_NO_FATAL_FAILURE(CompareWorking(u"a", u"b")) << testing::PrintToString(text);
  }
  EXPECT_LT(0U, found_);
  EXPECT_LT(1000U, reported_);
}

TEST_F(CollectionsModelTest, StoringBehindEveryShortText) {
  const std::vector<Text> parts = {u"DataString\u00A5Name\u00A5\u0152", u"a\u00A5", u"A\u00A5",
                                   u"\u0152", u"\u00A5\u0152"};
  for (const Text& text : TextsOf(parts, 5)) {
    Set(text);
    ASSERT_NO_FATAL_FAILURE(CompareStore(u"A", {{u"1", u"2"}})) << testing::PrintToString(text);
    ASSERT_NO_FATAL_FAILURE(CompareStore(u"B", {})) << testing::PrintToString(text);
    ASSERT_NO_FATAL_FAILURE(CompareWorking(u"a", u"")) << testing::PrintToString(text);
  }
  EXPECT_LT(1000U, found_);
  EXPECT_LT(1000U, reported_);
}

}  // namespace
}  // namespace brindlex
