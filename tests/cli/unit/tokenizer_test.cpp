#include "cli/format/marker_walk.h"

#include <random>
#include <string>
#include <vector>

#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

/// What a walk tells, written out: pieces of one field joined, places behind an @.
struct Transcript {
  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (field.empty()) fieldAt = at;
    EXPECT_EQ(fieldAt + field.size(), at) << "a piece that does not follow the last";
    EXPECT_FALSE(bytes.empty());
    field.append(bytes);
  }
  void FieldEnd(std::uint64_t at) { End("F", at); }
  void RecordEnd(std::uint64_t at) { End("R", at); }
  void LineBreak(std::uint64_t at) { End("B", at); }

  void End(const char* what, std::uint64_t at) {
    text += field + what + "@" + std::to_string(at) + " ";
    field.clear();
  }

  std::string text;
  std::string field;
  std::uint64_t fieldAt = 0;
};

ByteMarkers Plain() { return {"|", ";"}; }

std::string Wide(std::string_view text) {
  std::string wide;
  for (const char c : text) wide.append({c, '\0'});
  return wide;
}

std::string Walked(const std::string& text, const ByteMarkers& markers,
                   std::size_t pieceLength = std::string::npos, std::uint64_t start = 0) {
  MarkerWalk walk(markers, start);
  Transcript transcript;
  for (std::size_t at = 0; at < text.size(); at += std::min(pieceLength, text.size())) {
    // Memory of exactly this size, so that a read beyond it is seen.
    const std::string piece = text.substr(at, pieceLength);
    walk.Feed(piece, transcript);
  }
  walk.Finish(transcript);
  return transcript.text + transcript.field;
}

TEST(MarkerWalk, TellsFieldsAndRecordsWithTheirPlaces) {
  EXPECT_EQ("TitleF@5 PriceF@11 R@12 aF@14 F@15 R@16 ", Walked("Title|Price|;a||;", Plain()));
}

TEST(MarkerWalk, CountsFromItsStart) { EXPECT_EQ("aF@101 R@102 ", Walked("a|;", Plain(), 1, 100)); }

TEST(MarkerWalk, TellsWhatFollowsTheLastMarker) {
  EXPECT_EQ("aF@1 bR@3 rest", Walked("a|b;rest", Plain()));
}

TEST(MarkerWalk, PassesOverUpToThreeLineBreaksBehindARecordEnd) {
  EXPECT_EQ("aF@1 R@2 B@3 B@5 B@7 \r\nbF@12 R@13 ", Walked("a|;\r\n\r\n\r\n\r\nb|;", Plain()));
  EXPECT_EQ("aF@1 R@2 \nbF@5 R@6 ", Walked("a|;\nb|;", Plain()));
  EXPECT_EQ("\r\naF@3 R@4 \rbF@7 R@8 ", Walked("\r\na|;\rb|;", Plain()));
  EXPECT_EQ("aF@1 R@2 B@3 \r", Walked("a|;\r\n\r", Plain()));
}

TEST(MarkerWalk, KnowsMarkersOfSeveralBytes) {
  const ByteMarkers utf8{"\xC2\xA5", "\xC5\x92"};
  EXPECT_EQ(
      "aF@1 \xC2"
      "bF@5 R@7 \xC5",
      Walked("a\xC2\xA5\xC2"
             "b\xC2\xA5\xC5\x92\xC5",
             utf8));
}

TEST(MarkerWalk, FindsWideMarkersAtWholeUnitsOnly) {
  const ByteMarkers wide{std::string("|\0", 2), std::string(";\0", 2), std::string("\r\0\n\0", 4),
                         2};
  // 0x7C00 0x3B41 hold the bytes of both markers across units.
  const std::string across("\0|\0;A;", 6);
  EXPECT_EQ(across + "F@6 R@8 B@10 a" + std::string("\0", 1) + "F@16 R@18 ",
            Walked(across + Wide("|;\r\na|;"), wide));
}

TEST(MarkerWalk, KeepsHalfAUnitAtTheEnd) {
  const ByteMarkers wide{std::string("|\0", 2), std::string(";\0", 2), std::string("\r\0\n\0", 4),
                         2};
  EXPECT_EQ("F@0 R@2 x", Walked(Wide("|;") + "x", wide, 1));
}

TEST(MarkerWalk, TellsTheSameHoweverTheTextIsCut) {
  std::mt19937 random(7);
  const std::vector<ByteMarkers> all = {
      Plain(),
      {"\xC2\xA5", "\xC5\x92"},
      {"<f>", "[rec]"},
      {std::string("|\0", 2), std::string(";\0", 2), std::string("\r\0\n\0", 4), 2},
      {std::string("\0|", 2), std::string("\1R", 2), std::string("\0\r\0\n", 4), 2}};
  for (const ByteMarkers& markers : all) {
    const std::vector<std::string> parts = {markers.fieldEnd,
                                            markers.recordEnd,
                                            markers.lineBreak,
                                            markers.fieldEnd.substr(0, 1),
                                            "a",
                                            "\r",
                                            "\n",
                                            std::string(150, 'x')};
    for (int round = 0; round < 60; ++round) {
      std::string text;
      for (int part = 0; part < 40; ++part) text += parts[random() % parts.size()];
      const std::string whole = Walked(text, markers);
      for (const std::size_t length : {1U, 2U, 3U, 7U, 64U, 65U}) {
        ASSERT_EQ(whole, Walked(text, markers, length)) << "in pieces of " << length;
      }
    }
  }
}

TEST(MarkerWalk, BeginsAnewWhenRestarted) {
  MarkerWalk walk(Plain());
  Transcript transcript;
  walk.Feed("a|;\r", transcript);
  walk.Restart(50);
  walk.Feed("\r\nb|;", transcript);
  walk.Finish(transcript);
  EXPECT_EQ("aF@1 R@2 \r\nbF@53 R@54 ", transcript.text);
}

}  // namespace
}  // namespace brindlex::tool
