#include <array>
#include <random>

#include "tests/cli/unit/convert_fixture.h"

namespace brindlex::cli {
namespace {

constexpr std::array<JsonOptions, 4> kJson = {
    {{false, false, false}, {true, false, true}, {false, true, false}, {false, true, true}}};
constexpr std::array<CsvStyle, 3> kCsv = {{{',', false}, {';', true}, {'\t', false}}};

class RoundTripTest : public ConvertTest {
 protected:
  /// Either the way there is refused, or the way back gives the very same file. How many came
  /// through.
  int TravelsOrIsRefused(const std::string& bytes) {
    int came = 0;
    for (const JsonOptions& options : kJson) {
      std::string json;
      if (!RefusalOf([&] { json = ToJson(bytes, options); }).empty()) continue;
      if (isLike_) form_ = FormOfFile();
      EXPECT_EQ(bytes, FromJson(json)) << json;
      ++came;
    }
    for (const CsvStyle& style : kCsv) {
      std::string csv;
      if (!RefusalOf([&] { csv = ToCsv(bytes, style); }).empty()) continue;
      if (isLike_) form_ = FormOfFile();
      EXPECT_EQ(bytes, FromCsv(csv, style)) << csv;
      ++came;
    }
    return came;
  }

  /// The way back takes the form of the file.
  bool isLike_ = false;
};

/// Every text of up to `most` of the bytes `alphabet`, one after the other.
template <class Each>
void EveryText(const std::string& alphabet, std::size_t most, const Each& each) {
  std::vector<std::size_t> digits;
  for (;;) {
    std::string text;
    for (const std::size_t digit : digits) text += alphabet[digit];
    each(text);
    std::size_t at = 0;
    while (at < digits.size() && ++digits[at] == alphabet.size()) digits[at++] = 0;
    if (at == digits.size()) {
      if (digits.size() == most) return;
      digits.push_back(0);
    }
  }
}

TEST_F(RoundTripTest, EveryShortText) {
  isLike_ = true;
  int came = 0;
  const std::string alphabet = Delimited("|;a\r\n ");
  EveryText(alphabet, 3, [&](const std::string& text) { came += TravelsOrIsRefused(text); });
  EveryText(alphabet, 3, [&](const std::string& text) {
    came += TravelsOrIsRefused(Delimited("a|;") + text);
    came += TravelsOrIsRefused(Delimited("a|b|;1|") + text);
  });
  // Not all of them were refused.
  EXPECT_GT(came, 60);
}

TEST_F(RoundTripTest, EveryShortTextInTwoCollections) {
  isLike_ = true;
  int came = 0;
  EveryText(Delimited("|;<>a"), 3, [&](const std::string& text) {
    came +=
        TravelsOrIsRefused(Delimited("DataString|Name|;|First|;") + text + Delimited("|Last|;"));
  });
  EXPECT_GT(came, 10);
}

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  unsigned Below(unsigned end) {
    return std::uniform_int_distribution<unsigned>(0, end - 1)(random_);
  }

  /// A text that holds no marker, in UTF-8.
  std::string Text() {
    static const std::array<std::string, 24> kParts = {"a",    "B",        "\"",
                                                       ",",    ";",        "\t",
                                                       "\r",   "\n",       "\r\n",
                                                       "'",    "=",        "-",
                                                       "1",    "0",        ".",
                                                       "\\",   "<",        " ",
                                                       "{",    "\xC3\xA9", "\xE2\x82\xAC",
                                                       "True", "12.5",     std::string(1, '\0')};
    std::string text;
    for (unsigned left = Below(7); left > 0; --left) {
      text += kParts[Below(static_cast<unsigned>(kParts.size()))];
    }
    return text;
  }

  /// A collection in UTF-8. Names differ, and no record begins with a line break.
  std::string Collection(const MarkerPair& pair) {
    const unsigned columns = 1 + Below(4);
    std::string text;
    for (unsigned column = 0; column < columns; ++column) {
      text += Text() + std::to_string(column) + pair.fieldEnd;
    }
    text += pair.recordEnd;
    for (unsigned rows = 1 + Below(4); rows > 0; --rows) {
      for (unsigned column = 0; column < columns; ++column) {
        std::string value = Text();
        if (column == 0 && value.starts_with("\r\n")) value.insert(0, 1, 'x');
        text += value + pair.fieldEnd;
      }
      text += pair.recordEnd;
    }
    return text;
  }

 private:
  std::mt19937 random_;
};

std::string Encoded(const std::string& text, const DelimitedForm& form) {
  std::string bytes(form.hasByteOrderMark ? form.encoding.ByteOrderMark() : std::string_view());
  EXPECT_EQ(text.size(), form.encoding.FromUtf8(text, bytes));
  return bytes;
}

TEST_F(RoundTripTest, GeneratedCollections) {
  Generator generator(20260417);
  const std::array<DelimitedForm, 5> forms = {
      {{Encoding(), {}, false, 0},
       {*Encoding::Named("utf-8"), {}, true, 0},
       {*Encoding::Named("utf-16le"), {}, true, 0},
       {*Encoding::Named("utf-16be"), {}, true, 0},
       {Encoding(), MarkerPair{"\x1F", "\x1E#"}, false, 0}}};
  for (int round = 0; round < 200; ++round) {
    form_ = forms[generator.Below(static_cast<unsigned>(forms.size()))];
    format_ = {};
    if (form_.pair) format_ = {{}, form_.pair->fieldEnd, form_.pair->recordEnd};
    portion_ = 1 + generator.Below(100);
    const std::string text = generator.Collection(form_.pair.value_or(OuterMarkers()));
    EXPECT_EQ(7, TravelsOrIsRefused(Encoded(text, form_))) << text;
  }
}

TEST_F(RoundTripTest, GeneratedFilesOfSeveral) {
  Generator generator(20260418);
  const MarkerPair outer = OuterMarkers();
  for (int round = 0; round < 100; ++round) {
    std::string text = "DataString" + outer.fieldEnd + "Name" + outer.fieldEnd + outer.recordEnd;
    for (unsigned block = 0, blocks = 1 + generator.Below(3); block < blocks; ++block) {
      std::string inner = generator.Below(5) == 0 ? "" : generator.Collection(InnerMarkers());
      // The header of a named collection follows a record end too.
      if (inner.starts_with("\r\n")) inner.insert(0, "x");
      text += inner + outer.fieldEnd + generator.Text() + std::to_string(block);
      text += outer.fieldEnd + outer.recordEnd;
    }
    // Two of the forms of JSON hold named collections; the one of lines and CSV do not.
    EXPECT_EQ(3, TravelsOrIsRefused(Encoded(text, form_))) << text;
  }
}

TEST_F(RoundTripTest, LongValues) {
  portion_ = 4096;
  const std::string value = std::string(70'000, 'x') + "\xE9\"" + std::string(70'000, '\'');
  EXPECT_EQ(7, TravelsOrIsRefused(Delimited("a|b|;" + value + "|=" + value + "|;")));
  EXPECT_EQ(7, TravelsOrIsRefused(
                   Delimited("a|;'''''=" + value + "|;-" + std::string(90'000, '1') + "|;")));
}

}  // namespace
}  // namespace brindlex::cli
