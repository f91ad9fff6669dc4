#include "cli/compare/column_match.h"

#include <gtest/gtest.h>

#include "tests/cli/unit/converter.h"

namespace brindlex::cli {
namespace {

using Columns = std::vector<std::optional<std::size_t>>;

TEST(ColumnMatchTest, NamesMatchInAnyLetterCaseAndOrder) {
  EXPECT_EQ((Columns{1, 0}), MatchColumns({"Title", "Price"}, {"PRICE", "title"}));
  EXPECT_EQ((Columns{std::nullopt, 0}), MatchColumns({"A", "B"}, {"b", "C"}));
  EXPECT_EQ((Columns{0}), MatchColumns({"L\xC3\xA4nge"}, {"L\xC3\x84NGE"}));
  EXPECT_EQ(Columns{}, MatchColumns({}, {"A"}));
}

TEST(ColumnMatchTest, ANameThatComesTwiceMatchesByPlaceAlone) {
  EXPECT_EQ((Columns{0, 1}), MatchColumns({"A", "a"}, {"a", "A"}));
  EXPECT_NE("", RefusalOf([] { MatchColumns({"A", "a"}, {"A"}); }));
  EXPECT_NE("", RefusalOf([] { MatchColumns({"A"}, {"", ""}); }));
}

}  // namespace
}  // namespace brindlex::cli
