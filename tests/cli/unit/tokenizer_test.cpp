#include "cli/format/tokenizer.h"

#include <random>
#include <string>
#include <vector>

#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

ByteMarkers Plain() { return {"|", ";"}; }

std::string Wide(std::string_view text) {
  std::string wide;
  for (const char c : text) wide.append({c, '\0'});
  return wide;
}

/// The tokens of a text, written out: pieces of one field joined, offsets after an @.
std::string Tokens(const std::string& text, const ByteMarkers& markers,
                   std::size_t block = kInputBlock, std::uint64_t start = 0,
                   const Encoding& encoding = {}) {
  Input input("text", std::string(static_cast<std::size_t>(start), '-') + text, block);
  InputWindow window(input, ExtentOf(start, UINT64_MAX));
  Tokenizer tokenizer(window, markers.unit == 2 ? *Encoding::Named("utf-16") : encoding, markers);
  std::string transcript;
  for (;;) {
    const Token token = tokenizer.Next();
    transcript += token.kind == Token::Kind::kLineBreak ? std::string_view() : token.bytes;
    constexpr const char* kNames[] = {"", "F", "R", "B", ""};
    const char* const name = kNames[static_cast<int>(token.kind)];
    if (token.kind == Token::Kind::kEnd) return transcript;
    if (token.kind == Token::Kind::kPiece) continue;
    const bool isBreak = token.kind == Token::Kind::kLineBreak;
    transcript += name + ("@" + std::to_string(isBreak ? token.offset : token.End())) + " ";
  }
}

TEST(Tokenizer, CutsFieldsAndRecords) {
  EXPECT_EQ("TitleF@5 PriceF@11 R@12 aF@14 F@15 R@16 ", Tokens("Title|Price|;a||;", Plain()));
}

TEST(Tokenizer, CountsFromTheStartOfTheFile) {
  EXPECT_EQ("aF@101 R@102 ", Tokens("a|;", Plain(), 1, 100));
}

TEST(Tokenizer, ReturnsWhatFollowsTheLastMarker) {
  EXPECT_EQ("aF@1 bR@3 rest", Tokens("a|b;rest", Plain()));
}

TEST(Tokenizer, TakesUpToThreeLineBreaksAfterARecordEndApart) {
  EXPECT_EQ("aF@1 R@2 B@3 B@5 B@7 \r\nbF@12 R@13 ", Tokens("a|;\r\n\r\n\r\n\r\nb|;", Plain()));
  EXPECT_EQ("aF@1 R@2 \nbF@5 R@6 ", Tokens("a|;\nb|;", Plain()));
  EXPECT_EQ("\r\naF@3 R@4 \rbF@7 R@8 ", Tokens("\r\na|;\rb|;", Plain()));
  EXPECT_EQ("aF@1 R@2 B@3 \r", Tokens("a|;\r\n\r", Plain()));
}

TEST(Tokenizer, KnowsMarkersOfSeveralBytes) {
  const ByteMarkers utf8{"\xC2\xA5", "\xC5\x92"};
  EXPECT_EQ(
      "aF@1 \xC2"
      "bF@5 R@7 \xC5",
      Tokens("a\xC2\xA5\xC2"
             "b\xC2\xA5\xC5\x92\xC5",
             utf8));
}

TEST(Tokenizer, FindsWideMarkersAtWholeUnitsOnly) {
  const ByteMarkers wide{std::string("|\0", 2), std::string(";\0", 2), std::string("\r\0\n\0", 4),
                         2};
  // 0x7C00 0x3B41 hold the bytes of both markers across units.
  const std::string across("\0|\0;A;", 6);
  EXPECT_EQ(across + "F@6 R@8 B@10 a" + std::string("\0", 1) + "F@16 R@18 ",
            Tokens(across + Wide("|;\r\na|;"), wide));
}

TEST(Tokenizer, KeepsHalfAUnitAtTheEnd) {
  const ByteMarkers wide{std::string("|\0", 2), std::string(";\0", 2), std::string("\r\0\n\0", 4),
                         2};
  EXPECT_EQ("F@0 R@2 x", Tokens(Wide("|;") + "x", wide, 1));
}

TEST(Tokenizer, CutsAlikeInBlocksOfAnySize) {
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
      const std::string whole = Tokens(text, markers);
      for (const std::size_t length : {1U, 2U, 3U, 7U, 64U, 65U}) {
        ASSERT_EQ(whole, Tokens(text, markers, length)) << "in blocks of " << length;
      }
    }
  }
}

TEST(Tokenizer, TakesPlainFieldsThatAreTokens) {
  std::mt19937 random(3);
  const std::vector<ByteMarkers> all = {Plain(), {"\xA5", "\x8C"}, {"|", "\n"}};
  std::size_t known = 0;
  for (int round = 0; round < 300; ++round) {
    const ByteMarkers& markers = all[random() % all.size()];
    const std::vector<std::string> parts = {markers.fieldEnd,
                                            markers.fieldEnd,
                                            markers.recordEnd,
                                            "\r\n",
                                            "a",
                                            "\xE9",
                                            "word",
                                            std::string(random() % 90, 'x')};
    std::string text;
    for (int part = 0; part < 80; ++part) text += parts[random() % parts.size()];
    const std::size_t block = 1 + random() % 300;
    Input input("text", text, block);
    Input other("text", text, block);
    InputWindow window(input, kWholeInput);
    InputWindow otherWindow(other, kWholeInput);
    Tokenizer tokenizer(window, Encoding(), markers);
    Tokenizer model(otherWindow, Encoding(), markers);
    Token token;
    do {
      token = model.Next();
      if (std::string_view field; tokenizer.TakePlainField(field)) {
        ++known;
        ASSERT_EQ(Token::Kind::kField, token.kind);
        ASSERT_EQ(token.bytes, field);
        for (const char byte : field) ASSERT_LT(static_cast<unsigned char>(byte), 0x80) << text;
      } else {
        ASSERT_EQ(token.bytes, tokenizer.Next().bytes);
      }
      ASSERT_EQ(model.Offset(), tokenizer.Offset());
    } while (token.kind != Token::Kind::kEnd);
  }
  EXPECT_GT(known, 1000U);
}

TEST(Tokenizer, TakesARecordEndForOneBeforeAFieldEnd) {
  EXPECT_EQ("aR@1 c", Tokens("abc", {"bx", "b"}));
  EXPECT_EQ("aR@1 x", Tokens("abcx", {"ab", "bc"}));
}

TEST(Tokenizer, TakesTheLastOfMarkersThatOverlap) {
  const ByteMarkers fields{"||", ";"};
  EXPECT_EQ("a|F@2 R@4 ", Tokens("a|||;", fields)) << "the last field end of the record";
  EXPECT_EQ("aF@1 |bF@5 R@7 ", Tokens("a|||b||;", fields)) << "another field end follows";
  const ByteMarkers records{";", "||"};
  EXPECT_EQ("aF@1 |R@3 ", Tokens("a;|||", records)) << "the last record end of the text";
  EXPECT_EQ("aF@1 R@2 |bF@6 R@7 ", Tokens("a;|||b;||", records));
}

TEST(Tokenizer, DividesLongFieldsBetweenCharacters) {
  const Encoding utf8 = *Encoding::Named("utf-8");
  std::string value;
  for (int count = 0; count < 3000; ++count) value += "\xE2\x82\xAC";
  for (const std::size_t block : {5000U, 5001U, 5002U}) {
    Input input("text", value + "|;", block);
    InputWindow window(input, kWholeInput);
    Tokenizer tokenizer(window, utf8, Plain());
    std::size_t pieces = 0;
    for (Token token = tokenizer.Next(); token.kind != Token::Kind::kEnd;
         token = tokenizer.Next()) {
      EXPECT_EQ(token.bytes.size(), utf8.ValidLength(token.bytes));
      ++pieces;
    }
    EXPECT_GT(pieces, 2U);
  }
}

TEST(Tokenizer, EndsBeforeAMarkerOfTheLayerAround) {
  Input input("text", "a|;b=c", kInputBlock);
  InputWindow window(input, kWholeInput);
  Tokenizer outer(window, Encoding(), {"=", "#"});
  outer.Yield();
  Tokenizer inner(window, Encoding(), Plain(), ByteMarkers{"=", "#"});
  EXPECT_EQ(Token::Kind::kField, inner.Next().kind);
  EXPECT_EQ(Token::Kind::kRecord, inner.Next().kind);
  const Token last = inner.Next();
  EXPECT_EQ(Token::Kind::kEnd, last.kind);
  EXPECT_EQ("b", last.bytes);
  inner.Yield();
  outer.Resume();
  EXPECT_EQ(4U, outer.Offset());
  EXPECT_EQ(Token::Kind::kField, outer.Next().kind);
}

}  // namespace
}  // namespace brindlex::cli
