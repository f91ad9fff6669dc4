#include "cli/format/validator.h"

#include <memory>
#include <random>
#include <string>

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

RecordShape Shape(std::uint64_t fields, bool allowsHighBytes = true) {
  return {'|', ';', fields, allowsHighBytes, {'\x81', '<'}};
}

TEST(Validator, StopsBeforeTheFirstMalformedRecord) {
  EXPECT_EQ((ValidPrefix{5, 1}), FindValidPrefix("a|b|;", Shape(2)));
  EXPECT_EQ((ValidPrefix{6, 2}), FindValidPrefix("||;||;", Shape(2)));
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;|;||;", Shape(2))) << "too few fields";
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;|||;", Shape(2))) << "too many fields";
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;||x;", Shape(2)))
      << "text after the last field end";
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;;", Shape(2))) << "an empty record";
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;a|\x81|;", Shape(2)))
      << "a byte that it must not hold";
  EXPECT_EQ((ValidPrefix{8, 2}), FindValidPrefix("||;a|\xE4|;", Shape(2)));
  EXPECT_EQ((ValidPrefix{3, 1}), FindValidPrefix("||;||", Shape(2))) << "no record end";
  EXPECT_EQ((ValidPrefix{0, 0}), FindValidPrefix("", Shape(2)));
  EXPECT_EQ((ValidPrefix{0, 0}), FindValidPrefix(";", Shape(1)));
}

TEST(Validator, AgreesWithTheModel) {
  std::mt19937 random(11);
  for (int round = 0; round < 4000; ++round) {
    const std::uint64_t fields = 1 + random() % 5;
    std::string text;
    const std::size_t records = random() % 60;
    for (std::size_t record = 0; record < records; ++record) {
      for (std::uint64_t field = 0; field < fields; ++field) {
        text +=
            std::string(random() % 30 == 0 ? 130 : random() % 9, random() % 7 == 0 ? '\xE4' : 'x');
        text += '|';
      }
      text += ';';
    }
    if (!text.empty() && random() % 3 != 0) text[random() % text.size()] = "|;x\x81"[random() % 4];
    // Memory of exactly this size, so that a read beyond it is seen.
    const auto memory = std::make_unique<char[]>(text.size());
    text.copy(memory.get(), text.size());
    const std::string_view exact(memory.get(), text.size());
    for (const bool allowsHighBytes : {true, false}) {
      const RecordShape shape = Shape(fields, allowsHighBytes);
      ASSERT_EQ(FindValidPrefixByteByByte(exact, shape), FindValidPrefix(exact, shape));
    }
  }
}

}  // namespace
}  // namespace brindlex::cli
