#include "cli/convert/json_text.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace brindlex::cli {
namespace {

/// Byte by byte, by RFC 8259 alone.
std::string Naive(std::string_view text, JsonPlace place) {
  std::string json;
  for (const char c : text) {
    char escape[8];
    const auto code = static_cast<unsigned char>(c);
    const bool isNumbered =
        code < 0x20 && std::string_view("\b\f\n\r\t").find(c) == std::string_view::npos;
    if (isNumbered) {
      std::snprintf(escape, sizeof escape, "\\u%04x", code);
      json += escape;
    } else if (c == '<' && place == JsonPlace::kPage) {
      json += "\\u003c";
    } else if (c == '"' || c == '\\') {
      json.append("\\").append(1, c);
    } else if (code < 0x20) {
      json += c == '\b' ? "\\b" : c == '\f' ? "\\f" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
    } else {
      json += c;
    }
  }
  return json;
}

TEST(JsonText, EscapesEveryByteAtEveryPlaceOfABlock) {
  constexpr std::size_t kLongest = 35;
  for (const JsonPlace place : {JsonPlace::kFile, JsonPlace::kPage}) {
    for (std::size_t length = 1; length <= kLongest; ++length) {
      for (std::size_t at = 0; at < length; ++at) {
        for (int byte = 0; byte < 256; byte += at % 3 == 0 ? 1 : 17) {
          std::string text(length, 'x');
          text[at] = static_cast<char>(byte);
          ByteBuffer json;
          AppendJsonPiece(json, text, place);
          ASSERT_EQ(Naive(text, place), json.View()) << length << " " << at << " " << byte;
        }
      }
    }
  }
}

TEST(JsonText, EscapesNeighbours) {
  ByteBuffer json;
  json += "before ";
  AppendJsonString(json, "a\"\\\n\x01</b>\xC3\xA9");
  EXPECT_EQ("before \"a\\\"\\\\\\n\\u0001</b>\xC3\xA9\"", json.View());
  json.Truncate(0);
  AppendJsonString(json, "</script>", JsonPlace::kPage);
  EXPECT_EQ("\"\\u003c/script>\"", json.View());
}

TEST(JsonText, InfersWhatLeadsBack) {
  for (const char* const number :
       {"0", "1", "-1", "10", "9007199254740992", "-9007199254740992", "0.5", "-0.25", "1.1",
        "123456.789", "0.1", "3.141592653589793"}) {
    EXPECT_EQ(number, InferredJson(number));
  }
  for (const char* const text : {"",
                                 "-",
                                 "+1",
                                 "01",
                                 "-0",
                                 "-0.0",
                                 "1.",
                                 ".5",
                                 "1.0",
                                 "1.50",
                                 "1e5",
                                 "1E5",
                                 "0x10",
                                 "9007199254740993",
                                 "12345678901234567890",
                                 " 1",
                                 "1 ",
                                 "1,5",
                                 "0.10000000000000001",
                                 "0.00001",
                                 "NaN",
                                 "inf",
                                 "true",
                                 "TRUE",
                                 "null",
                                 "--1",
                                 "1.000000000000000000000000000000000000000000000001"}) {
    EXPECT_EQ("", InferredJson(text)) << text;
  }
  EXPECT_EQ("true", InferredJson("True"));
  EXPECT_EQ("false", InferredJson("False"));
}

}  // namespace
}  // namespace brindlex::cli
