#include "cli/convert/json_parser.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>

#include "cli/io/failure.h"
#include "tests/cli/unit/cli_test.h"

namespace brindlex::cli {
namespace {

using Json = nlohmann::json;

/// What a parser found, one line for each event.
class Events : public JsonHandler {
 public:
  void StartObject() override { found_ += "{\n"; }
  void Key(std::string_view name) override { Add("key ", name); }
  void EndObject() override { found_ += "}\n"; }
  void StartArray() override { found_ += "[\n"; }
  void EndArray() override { found_ += "]\n"; }
  void Text(std::string_view piece, bool isFirst, bool isLast) override {
    if (isFirst) text_.clear();
    text_ += piece;
    if (isLast) Add("text ", text_);
  }
  void Number(std::string_view text) override { Add("number ", text == "-0" ? "0" : text); }
  void Flag(bool value) override { Add("flag ", value ? "true" : "false"); }
  void Null() override { found_ += "null\n"; }
  std::string PlaceAt(std::uint64_t offset) const override { return std::to_string(offset); }

  void Add(const char* what, std::string_view value) {
    found_.append(what).append(value).append("\n");
  }

  std::string found_;

 private:
  std::string text_;
};

/// The same of the library.
class LibraryEvents : public nlohmann::json_sax<Json> {
 public:
  bool null() override { return events_.Null(), true; }
  bool boolean(bool value) override { return events_.Flag(value), true; }
  bool number_integer(number_integer_t value) override { return Number(std::to_string(value)); }
  bool number_unsigned(number_unsigned_t value) override { return Number(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return Number(text); }
  bool string(string_t& value) override { return events_.Text(value, true, true), true; }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return events_.StartObject(), true; }
  bool key(string_t& name) override { return events_.Key(name), true; }
  bool end_object() override { return events_.EndObject(), true; }
  bool start_array(std::size_t) override { return events_.StartArray(), true; }
  bool end_array() override { return events_.EndArray(), true; }
  bool parse_error(std::size_t, const std::string&, const Json::exception&) override {
    return false;
  }

  Events events_;

 private:
  bool Number(const std::string& text) { return events_.Number(text), true; }
};

/// The events of `json` as a whole; "refused" for what is no JSON.
std::string Parsed(const std::string& json, std::size_t portion) {
  const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
    const auto from = static_cast<std::size_t>(std::min<std::uint64_t>(offset, json.size()));
    return std::string_view(json).substr(from).copy(to, std::min(size, portion));
  };
  Events events;
  JsonParser parser(source, events);
  try {
    parser.ParseValue();
    return parser.HasMore() ? "refused" : events.found_;
  } catch (const ConversionError&) {
    return "refused";
  }
}

std::string ParsedByLibrary(const std::string& json) {
  LibraryEvents events;
  return Json::sax_parse(json, &events) ? events.events_.found_ : "refused";
}

class JsonGenerator {
 public:
  explicit JsonGenerator(unsigned seed) : random_(seed) {}

  std::size_t Below(std::size_t end) { return random_() % end; }

  std::string Value(int depth) {
    static const std::vector<std::string> kScalars = {"true",
                                                      "false",
                                                      "null",
                                                      "0",
                                                      "-0",
                                                      "12",
                                                      "-3.50",
                                                      "1e5",
                                                      "1E-5",
                                                      "0.0",
                                                      "18446744073709551616",
                                                      R"("")",
                                                      R"("text")",
                                                      R"("\"\\\/\b\f\n\r\t")",
                                                      R"("\u00e9\u20AC\ud834\udd1e")",
                                                      "\"\xC3\xA9\""};
    if (depth == 0 || Below(3) == 0) return kScalars[Below(kScalars.size())];
    const bool isObject = Below(2) == 0;
    std::string text(1, isObject ? '{' : '[');
    for (std::size_t left = Below(4); left > 0; --left) {
      if (isObject) text += "\"k" + std::to_string(left) + "\"" + Blanks() + ":";
      text += Blanks() + Value(depth - 1) + Blanks();
      if (left > 1) text += ',';
    }
    return text + (isObject ? '}' : ']');
  }

  std::string Blanks() { return std::string(" \t\r\n").substr(0, Below(3)); }

  /// `text` with a few bytes changed, removed or added.
  std::string Damaged(std::string text) {
    const std::string bytes = "{}[]:,\"\\u0123eE+-.tfn \n\x01";
    for (std::size_t left = Below(3); left > 0 && !text.empty(); --left) {
      const std::size_t at = Below(text.size());
      const char byte = bytes[Below(bytes.size())];
      if (Below(2) == 0) text.erase(at, 1);
      if (Below(2) == 0) text.insert(at, 1, byte);
    }
    return text;
  }

 private:
  std::mt19937 random_;
};

TEST(JsonParserTest, AgreesWithALibraryOnGeneratedTexts) {
  JsonGenerator generator(20260601);
  int taken = 0;
  for (int round = 0; round < 10'000; ++round) {
    const std::string json =
        generator.Damaged(generator.Blanks() + generator.Value(3) + generator.Blanks());
    const std::string wanted = ParsedByLibrary(json);
    // Sequences that the damage has made ill-formed, and numbers beyond a double, are the library's
    // own refusals.
    const bool isOwn = !Json::accept(json) && (json.find('\xC3') != std::string::npos ||
                                               json.find('\xA9') != std::string::npos);
    const std::string got = Parsed(json, 1 + generator.Below(6));
    if (got == wanted || isOwn) {
      taken += wanted != "refused" ? 1 : 0;
      continue;
    }
    const std::size_t exponent = json.find_first_of("eE");
    ASSERT_TRUE(wanted == "refused" && exponent != std::string::npos &&
                got.find("number") != std::string::npos)
        << json << "\n"
        << wanted << "\n"
        << got;
  }
  EXPECT_GT(taken, 4'000);
}

TEST(JsonParserTest, DividesLongTextsBetweenCharacters) {
  class Pieces : public Events {
   public:
    void Text(std::string_view piece, bool, bool) override {
      EXPECT_EQ(0, piece.size() % 3);
      EXPECT_LT(piece.size(), 600'000U);
      bytes_ += piece.size();
      ++pieces_;
    }
    std::size_t bytes_ = 0;
    int pieces_ = 0;
  };
  std::string json = "\"";
  for (int character = 0; character < 300'000; ++character) json += "\xE2\x82\xAC";
  json += "\"";
  for (const std::size_t portion : {std::size_t{1000}, std::size_t{100'001}, json.size()}) {
    const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
      return std::string_view(json)
          .substr(static_cast<std::size_t>(offset))
          .copy(to, std::min(size, portion));
    };
    Pieces pieces;
    JsonParser(source, pieces).ParseValue();
    EXPECT_EQ(900'000U, pieces.bytes_);
    EXPECT_GT(pieces.pieces_, 1);
  }
}

}  // namespace
}  // namespace brindlex::cli
