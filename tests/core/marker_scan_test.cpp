#include "persistence/marker_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace brindlex {
namespace {

/// Where `one` or `other` stands in `text`, as a scan by `Match` finds it.
template <class Match>
std::vector<std::size_t> PlacesIn(TextView text, char16_t one, char16_t other) {
  MarkerScan<Match> scan(text, one, other);
  const char16_t* const end = text.data() + text.size();
  std::vector<std::size_t> places;
  for (const char16_t* at = scan.Next(); at != end; at = scan.Next()) {
    places.push_back(static_cast<std::size_t>(at - text.data()));
  }
  EXPECT_EQ(end, scan.Next()) << "a scan that is at its end stays there";
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
  ASSERT_EQ(expected, PlacesIn<ScalarMatch>(text, one, other));
  ASSERT_EQ(expected, PlacesIn<FastestMatch>(text, one, other));
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

TEST(MarkerScanTest, TellsUnitsApartThatAgreeInOneByte) {
  const Text text = u"\u00A5\u01A5\u00A6\uA500\uA5A5\u5201\u0152\u5252\u0052\u8000\u7FFF\uFFFF";
  for (const char16_t one : text) ExpectAllAgree(text, one, u'\0');
}

TEST(MarkerScanTest, RandomTextsFromEveryStart) {
  std::mt19937 random(20260101);
  for (int round = 0; round < 300; ++round) {
    const std::size_t length = random() % 200;
    const std::size_t variety = 1 + random() % 12;
    Text text;
    while (text.size() < length) text += static_cast<char16_t>(0x4E + random() % variety * 0x101);
    const std::size_t start = length == 0 ? 0 : random() % length;
    ExpectAllAgree(TextView(text).substr(start), 0x4E, 0x4E + 0x101);
  }
}

}  // namespace
}  // namespace brindlex
