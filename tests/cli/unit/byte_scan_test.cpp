#include "cli/format/byte_scan.h"

#include <memory>
#include <random>
#include <string>

#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

TEST(ByteScan, FindsWithVectorsWhatItFindsByteByByte) {
  std::mt19937 random(3);
  for (std::size_t length = 0; length < 300; ++length) {
    // Memory of exactly this size, so that a read beyond it is seen.
    const auto memory = std::make_unique<char[]>(length);
    for (std::size_t at = 0; at < length; ++at) {
      memory[at] = static_cast<char>(random() % 8 == 0 ? 0xA5 : random() % 256);
    }
    const std::string_view text(memory.get(), length);
    ByteScan<ScalarByteMatch> model(text, '\xA5', '\x8C');
    ByteScan<FastestByteMatch> scan(text, '\xA5', '\x8C');
    for (std::size_t expected = 0; expected != length;) {
      expected = model.Next();
      ASSERT_EQ(expected, scan.Next());
    }
    EXPECT_EQ(length, scan.Next()) << "a scan behind its end";
  }
}

TEST(ByteScan, StopsAtBothBytes) {
  ByteScan<FastestByteMatch> scan("a|b;c", '|', ';');
  EXPECT_EQ(1U, scan.Next());
  EXPECT_EQ(3U, scan.Next());
  EXPECT_EQ(5U, scan.Next());
}

}  // namespace
}  // namespace brindlex::tool
