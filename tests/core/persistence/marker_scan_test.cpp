#include "persistence/marker_scan.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace brindlex {
namespace {

/// Where `one` or `other` stands in `text`, as a scan by `Matcher` lists it.
template <class Matcher>
std::vector<std::size_t> PlacesIn(TextView text, char16_t one, char16_t other) {
  using Scan = MarkerScan<Matcher>;
  Scan scan(text, one, other);
  std::vector<std::size_t> places;
  while (!scan.IsAtEnd()) {
    // Memory of exactly this size, so that a list that is too long is seen.
    const std::unique_ptr<const char16_t*[]> room(new const char16_t*[Scan::kRoom]);
    const char16_t** const end = scan.List(room.get());
    for (const char16_t** place = room.get(); place != end; ++place) {
      places.push_back(static_cast<std::size_t>(*place - text.data()) - 1);
    }
  }
  const char16_t* unused = nullptr;
  EXPECT_EQ(&unused, scan.List(&unused)) << "a scan that is at its end lists nothing";
  return places;
}

std::vector<std::size_t> PlainPlacesIn(TextView text, char16_t one, char16_t other) {
  std::vector<std::size_t> places;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == one || text[at] == other) places.push_back(at);
  }
  return places;
}

void ExpectAllAgree(TextView text, char16_t one, char16_t other) {
  const auto expected = PlainPlacesIn(text, one, other);
  ASSERT_EQ(expected, PlacesIn<ScalarMatcher>(text, one, other));
  ASSERT_EQ(expected, PlacesIn<FastestMatcher>(text, one, other));
}

TEST(MarkerScanTest, FindsBothUnitsAtEveryPlaceOfTextsOfEveryLengthUpToThreeBlocks) {
  for (std::size_t length = 0; length <= 3 * kScanBlock; ++length) {
    const Text none(length, u'x');
    ExpectAllAgree(none, u'\u00A5', u'\u0152');
    for (std::size_t at = 0; at < length; ++at) {
      Text text = none;
      text[at] = at % 2 == 0 ? u'\u00A5' : u'\u0152';
      ExpectAllAgree(text, u'\u00A5', u'\u0152');
    }
    ExpectAllAgree(Text(length, u'\u0152'), u'\u00A5', u'\u0152');
  }
}

TEST(MarkerScanTest, ListsEveryUnitOfTextsOfEveryLengthAboutAStretch) {
  for (std::size_t length = 400; length <= 1100; ++length) {
    ExpectAllAgree(Text(length, u'\u0152'), u'\u00A5', u'\u0152');
  }
}

TEST(MarkerScanTest, CountsTheUnitsOfEveryBlock) {
  std::mt19937 random(3);
  for (int round = 0; round < 2000; ++round) {
    Text block;
    while (block.size() < kScanBlock) block += static_cast<char16_t>(u'a' + random() % 3);
    const auto expected = PlainPlacesIn(block, u'a', u'b');
    std::uint32_t mask = 0;
    for (const std::size_t place : expected) mask |= 1U << place;
    const BlockMatch scalar = ScalarMatcher(u'a', u'b').Match(block.data());
    const BlockMatch fastest = FastestMatcher(u'a', u'b').Match(block.data());
    ASSERT_EQ(mask, scalar.mask);
    ASSERT_EQ(mask, fastest.mask);
    ASSERT_EQ(expected.size(), scalar.count);
    ASSERT_EQ(expected.size(), fastest.count);
  }
}

TEST(MarkerScanTest, TellsUnitsApartThatAgreeInOneByte) {
  const Text text = u"\u00A5\u01A5\u00A6\uA500\uA5A5\u5201\u0152\u5252\u0052\u8000\u7FFF\uFFFF";
  for (const char16_t one : text) ExpectAllAgree(text, one, u'\0');
}

TEST(MarkerScanTest, RandomTextsFromEveryStart) {
  std::mt19937 random(20260101);
  for (int round = 0; round < 300; ++round) {
    const std::size_t length = random() % 2000;
    const std::size_t variety = 1 + random() % 40;
    Text text;
    while (text.size() < length) text += static_cast<char16_t>(0x4E + random() % variety * 0x101);
    const std::size_t start = length == 0 ? 0 : random() % length;
    ExpectAllAgree(TextView(text).substr(start), 0x4E, 0x4E + 0x101);
  }
}

}  // namespace
}  // namespace brindlex
