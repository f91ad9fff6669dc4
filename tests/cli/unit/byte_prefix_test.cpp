#include "cli/text/byte_prefix.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
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

/// Bytes other than three.
struct ThreeRule {
  static bool IsPlain(char byte) { return byte != 0 && byte != 'b' && byte != '\xFF'; }
#ifdef __SSE2__
  static __m128i Others(__m128i block) {
    const auto equals = [block](char byte) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(byte)); };
    return _mm_or_si128(equals(0), _mm_or_si128(equals('b'), equals('\xFF')));
  }
#endif
};

/// `text` in memory of its own, of which a sanitizer knows the end.
struct Exact {
  explicit Exact(const std::string& text)
      : bytes(std::make_unique<char[]>(text.size())), view(bytes.get(), text.size()) {
    text.copy(bytes.get(), text.size());
  }
  std::unique_ptr<char[]> bytes;
  std::string_view view;
};

TEST(BytePrefix, AgreesWithItsModelOnRandomTexts) {
  std::mt19937 random(11);
  for (int round = 0; round < 20'000; ++round) {
    std::string text(random() % 70, 'a');
    for (auto others = random() % 3; others > 0 && !text.empty(); --others) {
      text[random() % text.size()] = "b\0\xFF"[random() % 3];
    }
    const Exact exact(text);
    const std::size_t plain = PlainPrefixByteByByte(exact.view, ThreeRule());
    ASSERT_EQ(plain, PlainPrefix<ThreeRule>(exact.view)) << text;
    const auto copy = std::make_unique<char[]>(text.size() + kCopySlack);
    ASSERT_EQ(plain, CopyPlain<ThreeRule>(exact.view, copy.get())) << text;
    ASSERT_EQ(text.substr(0, plain), std::string_view(copy.get(), plain));
  }
}

}  // namespace
}  // namespace brindlex::cli
