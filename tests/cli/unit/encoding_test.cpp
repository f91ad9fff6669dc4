#include "cli/text/encoding.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/text/utf.h"
#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
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

TEST(Encoding, StopsAtAnIllFormedSequence) {
  EXPECT_EQ("a!1", Decoded("utf-8", "a\xC3"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xED\xA0\x80"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xC0\x80"));
  EXPECT_EQ("!0", Decoded("utf-8", "\xF4\x90\x80\x80"));
  EXPECT_EQ("a!2", Decoded("utf-16", std::string("a\0\0\xD8", 4)));
  EXPECT_EQ("a!2", Decoded("utf-16", std::string("a\0x", 3)));
}

TEST(Encoding, StopsAtACharacterThatItLacks) {
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

TEST(Encoding, ConvertsEveryByteOfACodePageThereAndBack) {
  for (const std::string& name : Encoding::Names()) {
    const Encoding encoding = Of(name.c_str());
    if (encoding.GetForm() != Encoding::Form::kCodePage) continue;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::string one(1, static_cast<char>(byte));
      std::string text;
      EXPECT_EQ(1U, encoding.ToUtf8(one, text));
      std::string back;
      EXPECT_EQ(text.size(), encoding.FromUtf8(text, back));
      EXPECT_EQ(one, back) << name << " " << byte;
    }
  }
}

TEST(Encoding, HasTheControlsOfWindowsWhereACodePageAssignsNothing) {
  EXPECT_EQ("\u0081\u008D\u008F\u0090\u009D", Decoded("1252", "\x81\x8D\x8F\x90\x9D"));
  EXPECT_EQ("\xEF\xA3\x81", Decoded("874", "\xDB")) << "U+F8C1";
  EXPECT_EQ("\u05BA", Decoded("1255", "\xCA"));
}

// The tables themselves, by a sum over all characters.
TEST(Encoding, HasTheTablesOfWindows) {
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
  EXPECT_EQ(6333503376166136760U, sum);
}

TEST(Encoding, RecognizesByteOrderMarks) {
  EXPECT_EQ("utf-8", Encoding::OfByteOrderMark("\xEF\xBB\xBF"
                                               "a")
                         ->Name());
  EXPECT_EQ("utf-16le", Encoding::OfByteOrderMark("\xFF\xFE")->Name());
  EXPECT_EQ("utf-16be", Encoding::OfByteOrderMark("\xFE\xFF")->Name());
  EXPECT_FALSE(Encoding::OfByteOrderMark("\xEF\xBB"));
  EXPECT_FALSE(Encoding::OfByteOrderMark(""));
}

}  // namespace
}  // namespace brindlex::cli
