#include "cli/io/progress.h"

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

TEST(ProgressLine, ShowsHowMuchIsDone) {
  EXPECT_EQ("checking   0% [..........]", ProgressLine("checking", 0, 1000, 27));
  EXPECT_EQ("checking  50% [#####.....]", ProgressLine("checking", 500, 1000, 27));
  EXPECT_EQ("checking 100% [##########]", ProgressLine("checking", 1000, 1000, 27));
  EXPECT_EQ("checking 100% [##########]", ProgressLine("checking", 2000, 1000, 27)) << "it grew";
}

TEST(ProgressLine, CountsWhatHasNoEnd) {
  EXPECT_EQ("checking 12 MB", ProgressLine("checking", 12'000'000, std::nullopt, 80));
  EXPECT_EQ("checking 12 MB", ProgressLine("checking", 12'000'000, 0, 80));
}

TEST(ProgressLine, NeverWraps) {
  for (int columns = 0; columns < 120; ++columns) {
    for (const std::uint64_t total : {0U, 1000U}) {
      const std::string line = ProgressLine("checking", 500, total, columns);
      EXPECT_LE(line.size(), static_cast<std::size_t>(columns > 0 ? columns - 1 : 0)) << columns;
    }
  }
}

}  // namespace
}  // namespace brindlex::cli
