#include "cli/text/byte_prefix.h"

#include <gtest/gtest.h>

#include <string>

namespace brindlex::cli {
namespace {

TEST(BytePrefix, EndsAtTheFirstHighByteWhereverItStands) {
  constexpr std::size_t kLongest = 40;
  for (std::size_t length = 0; length <= kLongest; ++length) {
    EXPECT_EQ(length, PlainPrefix<AsciiRule>(std::string(length, 'x')));
    for (std::size_t first = 0; first < length; ++first) {
      for (std::size_t second = first; second < length; ++second) {
        std::string text(length, '\x7F');
        text[first] = '\x80';
        text[second] = '\xFF';
        ASSERT_EQ(first, PlainPrefix<AsciiRule>(text)) << length << " " << second;
      }
    }
  }
}

TEST(BytePrefix, LooksAtNothingBehindTheText) {
  const std::string text = "plain\x80";
  EXPECT_EQ(5U, PlainPrefix<AsciiRule>(std::string_view(text).substr(0, 5)));
}

}  // namespace
}  // namespace brindlex::cli
