#include "cli/compare/table_comparison.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <sstream>

#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

using Kind = RecordDifference::Kind;
using Records = std::vector<std::string>;

/// Two tables of the columns K and V, with a record "k|v|" for each two letters.
class Tables {
 public:
  Tables(const Records& before, const Records& after)
      : before_("old", TextOf(before), kInputBlock),
        after_("new", TextOf(after), kInputBlock),
        pair_{SourceOf(before_), SourceOf(after_), {{0, 1}, 0}, {{0, 1}, 0}, 2} {}

  std::vector<std::string> ByKey(const ComparisonLimits& limits = {}) {
    std::vector<std::string> found;
    EXPECT_TRUE(CompareByKey(pair_, Into(found), limits));
    return found;
  }

  std::vector<std::string> InOrder(const ComparisonLimits& limits = {}) {
    std::vector<std::string> found;
    CompareInOrder(pair_, Into(found), limits);
    return found;
  }

  bool FindsMoved(const ComparisonLimits& limits) {
    std::vector<std::string> found;
    return CompareByKey(pair_, Into(found), limits);
  }

 private:
  static std::string TextOf(const Records& records) {
    std::string text = "K|V|;";
    for (const std::string& one : records) text += one.substr(0, 1) + "|" + one.substr(1) + "|;";
    return Delimited(text);
  }

  static TableSource SourceOf(Input& input) {
    const FileFormat format = DetectFormat(input, {});
    return {&input, format, format.markers, format.Text(), {}};
  }

  static DifferenceHandler Into(std::vector<std::string>& found) {
    return [&found](const RecordDifference& one) {
      std::ostringstream text;
      text << "-+~>"[one.kind == Kind::kRemoved   ? 0
                     : one.kind == Kind::kAdded   ? 1
                     : one.kind == Kind::kChanged ? 2
                                                  : 3];
      if (one.before) text << one.before->number;
      if (one.after) text << ',' << one.after->number;
      found.push_back(text.str());
    };
  }

  Input before_;
  Input after_;
  TablePair pair_;
};

Records RandomRecords(std::mt19937& dice, std::size_t most, const std::string& keys) {
  Records records;
  for (auto count = dice() % (most + 1); count > 0; --count) {
    records.push_back({keys[dice() % keys.size()], "xyz"[dice() % 3]});
  }
  return records;
}

std::multiset<std::string> AsSet(const std::vector<std::string>& found) {
  return {found.begin(), found.end()};
}

TEST(TableComparisonTest, KeysFindTheirRecordsAnywhere) {
  EXPECT_EQ((Records{"~1,1", "-2", "+,3"}), Tables({"ax", "bx", "cx"}, {"ay", "cx", "dx"}).ByKey());
  EXPECT_EQ((Records{">3,1"}), Tables({"ax", "bx", "cx"}, {"cx", "ax", "bx"}).ByKey());
  EXPECT_EQ((Records{"~1,1"}), Tables({"ax"}, {"Ax"}).ByKey()) << "letter case is no key";
  EXPECT_EQ((Records{"-2"}), Tables({"ax", "ax"}, {"ax"}).ByKey()) << "the first with the first";
}

TEST(TableComparisonTest, MorePassesFindTheSame) {
  std::mt19937 dice(17);
  for (int round = 0; round < 400; ++round) {
    const std::string keys = "abcdefghijklmnopqrstuvw";
    const Records before = RandomRecords(dice, 40, keys);
    const Records after = RandomRecords(dice, 40, keys);
    const auto wanted = Tables(before, after).ByKey();
    ComparisonLimits limits;
    limits.pending = 8 + dice() % 12;
    std::vector<std::string> found;
    try {
      found = Tables(before, after).ByKey(limits);
    } catch (const ConversionError&) {
      continue;  // more records of one key than may wait
    }
    EXPECT_EQ(AsSet(wanted), AsSet(found)) << round;
  }
}

TEST(TableComparisonTest, KeysThatAreTheSameEverywhereAreRefused) {
  ComparisonLimits limits;
  limits.pending = 8;
  const Records same(20, "ax");
  EXPECT_NE("", RefusalOf([&] { Tables(same, {}).ByKey(limits); }));
  EXPECT_EQ("", RefusalOf([&] { Tables(same, same).ByKey(limits); }));
}

TEST(TableComparisonTest, TooManyMovedRecordsAreNotLookedFor) {
  ComparisonLimits limits;
  limits.runs = 2;
  EXPECT_TRUE(Tables({"ax", "bx"}, {"bx", "ax"}).FindsMoved(limits));
  EXPECT_FALSE(Tables({"ax", "bx", "cx"}, {"cx", "bx", "ax"}).FindsMoved(limits));
  EXPECT_FALSE(Tables({"ax", "bx", "cx", "dx", "ex", "fx", "gx", "hx", "ix", "jx"},
                      {"jx", "ix", "hx", "gx", "fx", "ex", "dx", "cx", "bx", "ax"})
                   .FindsMoved(limits));
}

/// Whether `found` accounts for all that is in one table and not in the other: what is left of both
/// without them is the same.
void Explains(const Records& before, const Records& after, const std::vector<std::string>& found) {
  std::set<std::size_t> gone;
  std::set<std::size_t> come;
  for (const std::string& one : found) {
    const std::size_t comma = one.find(',');
    if (one[1] != ',') gone.insert(std::stoul(one.substr(1)));
    if (comma != std::string::npos) come.insert(std::stoul(one.substr(comma + 1)));
  }
  Records left;
  Records leftAfter;
  for (std::size_t at = 0; at < before.size(); ++at) {
    if (!gone.contains(at + 1)) left.push_back(before[at]);
  }
  for (std::size_t at = 0; at < after.size(); ++at) {
    if (!come.contains(at + 1)) leftAfter.push_back(after[at]);
  }
  EXPECT_EQ(left, leftAfter);
}

TEST(TableComparisonTest, SmallWindowsFindWhatDiffersToo) {
  std::mt19937 dice(23);
  for (int round = 0; round < 400; ++round) {
    const Records before = RandomRecords(dice, 40, "abcdefgh");
    Records after = before;
    for (auto edits = dice() % 6; edits > 0; --edits) {
      const auto at = static_cast<std::ptrdiff_t>(dice() % (after.size() + 1));
      if (dice() % 2 == 0 && at < static_cast<std::ptrdiff_t>(after.size())) {
        after.erase(after.begin() + at);
      } else {
        after.insert(after.begin() + at, "qx");
      }
    }
    ComparisonLimits limits;
    limits.window = 1 + dice() % 20;
    Explains(before, after, Tables(before, after).InOrder(limits));
    Explains(before, after, Tables(before, after).InOrder());
  }
}

TEST(TableComparisonTest, ARecordIsChangedIfHalfOfItStays) {
  EXPECT_EQ((Records{"~1,1"}), Tables({"ax"}, {"ay"}).InOrder());
  EXPECT_EQ((Records{"-1", "+,1"}), Tables({"ax"}, {"by"}).InOrder());
  EXPECT_EQ((Records{"+,1", "~1,2", "-2"}), Tables({"ax", "bz"}, {"cy", "ay"}).InOrder());
}

}  // namespace
}  // namespace brindlex::cli
