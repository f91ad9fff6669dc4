#include "cli/text/encoding.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/text/utf.h"
#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

Encoding Of(const char* name) { return *Encoding::Named(name); }

std::string Decoded(const char* name, const std::string& bytes) {
  std::string text;
  const std::size_t used = Of(name).ToUtf8(bytes, text);
  if (used < bytes.size()) text += "!" + std::to_string(used);
  return text;
}

std::string Encoded(const char* name, const std::string& text) {
  std::string bytes;
  const std::size_t used = Of(name).FromUtf8(text, bytes);
  if (used < text.size()) bytes += "!" + std::to_string(used);
  return bytes;
}

TEST(Encoding, HasNamesInAnyLetterCase) {
  EXPECT_EQ("windows-1252", Encoding().Name());
  EXPECT_EQ("windows-1252", Of("CP1252").Name());
  EXPECT_EQ("windows-1250", Of("1250").Name());
  EXPECT_EQ("windows-874", Of("Windows-874").Name());
  EXPECT_EQ("utf-8", Of("UTF8").Name());
  EXPECT_EQ("utf-16le", Of("UTF-16").Name());
  for (const char* const name : {"", "1259", "12520", "latin", "windows-", "cp", "932"}) {
    EXPECT_FALSE(Encoding::Named(name)) << name;
  }
}

TEST(Encoding, KnowsEveryNameThatItLists) {
  for (const std::string& name : Encoding::Names()) EXPECT_EQ(name, Of(name.c_str()).Name());
}

TEST(Encoding, DecodesCodePages) {
  EXPECT_EQ("a\u00A5\u0152\u00BB\u0160\u20AC", Decoded("1252", "a\xA5\x8C\xBB\x8A\x80"));
  EXPECT_EQ("\u041F\u0440", Decoded("1251", "\xCF\xF0"));
  EXPECT_EQ("\u0E01", Decoded("874", "\xA1"));
}

TEST(Encoding, SaysWhereNoCharacterStands) {
  EXPECT_EQ("ab!2", Decoded("1252",
                            "ab\x81"
                            "c"));
  EXPECT_EQ("a!1", Decoded("utf-8", "a\xC3"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xED\xA0\x80"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xC0\x80"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xF4\x90\x80\x80"));
  EXPECT_EQ("a!2", Decoded("utf-16", std::string("a\0\0\xD8", 4)));
  EXPECT_EQ("a!2", Decoded("utf-16", std::string("a\0x", 3)));
}

TEST(Encoding, EncodesOrSaysWhatItDoesNotHave) {
  EXPECT_EQ("\xA5\x8C", Encoded("1252", "\u00A5\u0152"));
  EXPECT_EQ("a!1", Encoded("1252", "a\u0416"));
  EXPECT_EQ(std::string("\xA5\0\x3D\xD8\0\xDE", 6), Encoded("utf-16", "\u00A5\U0001F600"));
  EXPECT_EQ(std::string("\0\xA5", 2), Encoded("utf-16be", "\u00A5"));
}

TEST(Encoding, ReadsBackWhatItWrites) {
  const std::string text = "a\u00A5\u0152\u20AC\U0001F600\n";
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be"}) {
    EXPECT_EQ(text, Decoded(name, Encoded(name, text))) << name;
  }
}

TEST(Encoding, TakesEveryCharacterOfACodePageBackToItsByte) {
  for (const std::string& name : Encoding::Names()) {
    const Encoding encoding = Of(name.c_str());
    if (encoding.GetForm() != Encoding::Form::kCodePage) continue;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string one(1, static_cast<char>(byte));
      std::string text;
      if (encoding.ToUtf8(one, text) == 0) {
        EXPECT_FALSE(encoding.HasCharacter(static_cast<unsigned char>(byte)));
        continue;
      }
      std::string back;
      EXPECT_EQ(text.size(), encoding.FromUtf8(text, back));
      EXPECT_EQ(one, back) << name << " " << byte;
    }
  }
}

// The same bytes are undefined whichever system's tables are read.
TEST(Encoding, HasTheUndefinedBytesOfTheWindowsCodePages) {
  const std::vector<std::pair<const char*, int>> rows = {
      {"874", 31}, {"1250", 5},  {"1251", 1}, {"1252", 5},  {"1253", 17},
      {"1254", 7}, {"1255", 22}, {"1256", 0}, {"1257", 12}, {"1258", 9}};
  for (const auto& [name, expected] : rows) {
    int count = 0;
    for (unsigned byte = 0; byte < 256; ++byte) {
      count += Of(name).HasCharacter(static_cast<unsigned char>(byte)) ? 0 : 1;
    }
    EXPECT_EQ(expected, count) << name;
  }
  for (const unsigned byte : {0x81U, 0x8DU, 0x8FU, 0x90U, 0x9DU}) {
    EXPECT_FALSE(Encoding().HasCharacter(static_cast<unsigned char>(byte)));
  }
}

// The tables themselves, by a sum over all characters with their places.
TEST(Encoding, HasTheSameTablesOnEverySystem) {
  std::uint64_t sum = 0;
  for (const std::string& name : Encoding::Names()) {
    const Encoding encoding = Of(name.c_str());
    if (encoding.GetForm() != Encoding::Form::kCodePage) continue;
    for (unsigned byte = 0; byte < 256; ++byte) {
      std::string text;
      encoding.ToUtf8(std::string(1, static_cast<char>(byte)), text);
      sum = sum * 31 + (text.empty() ? 0 : FirstOfUtf8(text).number);
    }
  }
  EXPECT_EQ(14586552860772002292U, sum);
}

TEST(Encoding, RecognizesByteOrderMarks) {
  EXPECT_EQ("utf-8", Encoding::Marked("\xEF\xBB\xBF"
                                      "a")
                         ->Name());
  EXPECT_EQ("utf-16le", Encoding::Marked("\xFF\xFE")->Name());
  EXPECT_EQ("utf-16be", Encoding::Marked("\xFE\xFF")->Name());
  EXPECT_FALSE(Encoding::Marked("\xEF\xBB"));
  EXPECT_FALSE(Encoding::Marked(""));
}

TEST(PieceDecoder, PutsCharactersTogetherThatPiecesShare) {
  const std::string text = "a\u20AC\U0001F600\u00A5z";
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be"}) {
    const std::string bytes = Encoded(name, text);
    for (std::size_t length = 1; length <= bytes.size(); ++length) {
      PieceDecoder decoder(Of(name));
      std::string decoded;
      std::uint64_t badAt = 0;
      for (std::size_t at = 0; at < bytes.size(); at += length) {
        ASSERT_TRUE(decoder.Feed(bytes.substr(at, length), at, decoded, badAt));
      }
      EXPECT_TRUE(decoder.Finish(badAt));
      EXPECT_EQ(text, decoded) << name << " in pieces of " << length;
    }
  }
}

TEST(PieceDecoder, SaysWhereABadCharacterBegins) {
  PieceDecoder decoder(Of("utf-8"));
  std::string decoded;
  std::uint64_t badAt = 0;
  EXPECT_TRUE(decoder.Feed("a\xE2\x82", 10, decoded, badAt));
  EXPECT_FALSE(decoder.Feed("b", 13, decoded, badAt));
  EXPECT_EQ(11U, badAt);
  decoder.Restart();
  EXPECT_TRUE(decoder.Feed("\xE2", 20, decoded, badAt));
  EXPECT_FALSE(decoder.Finish(badAt));
  EXPECT_EQ(20U, badAt);
}

}  // namespace
}  // namespace brindlex::tool
