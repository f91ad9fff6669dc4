#include "cli/convert/json_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include "cli/text/byte_prefix.h"

namespace brindlex::cli {
namespace {

constexpr char kLastControl = 0x1F;

/// The bytes that stay as they are in a JSON string; in a page "<" does not.
template <bool isPage>
struct JsonRule {
  static bool IsPlain(char byte) {
    return static_cast<unsigned char>(byte) > kLastControl && byte != '"' && byte != '\\' &&
           !(isPage && byte == '<');
  }

#ifdef __SSE2__
  static __m128i Others(__m128i block) {
    const __m128i controls = _mm_set1_epi8(kLastControl);
    const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(block, controls), block);
    const __m128i quotes = _mm_cmpeq_epi8(block, _mm_set1_epi8('"'));
    const __m128i slashes = _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'));
    __m128i others = _mm_or_si128(low, _mm_or_si128(quotes, slashes));
    if constexpr (isPage) {
      others = _mm_or_si128(others, _mm_cmpeq_epi8(block, _mm_set1_epi8('<')));
    }
    return others;
  }
#endif
};

void AppendEscape(ByteBuffer& json, char byte) {
  constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  constexpr std::string_view kDigits = "0123456789abcdef";
  json += '\\';
  if (const std::size_t known = kShort.find(byte); known != std::string_view::npos) {
    json += kLetters[known];
    return;
  }
  const auto code = static_cast<unsigned char>(byte);
  json += "u00";
  json += kDigits[code >> 4U];
  json += kDigits[code & 0xFU];
}

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// Whether `text` is as a double in its shortest form is written, without exponent.
bool IsShortestFraction(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [read, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || read != end) return false;
  char shortest[64];
  const auto [written, failed] = std::to_chars(std::begin(shortest), std::end(shortest), number);
  return failed == std::errc() &&
         text == std::string_view(shortest, static_cast<std::size_t>(written - shortest));
}

bool IsExactWhole(std::string_view digits) {
  constexpr std::int64_t kLargest = std::int64_t{1} << 53;
  constexpr std::size_t kMostDigits = 16;
  if (digits.size() > kMostDigits) return false;
  std::int64_t number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return number <= kLargest;
}

bool IsPlainNumber(std::string_view value) {
  constexpr std::size_t kMostCharacters = 32;
  if (value.empty() || value.size() > kMostCharacters) return false;
  const std::string_view magnitude = value.substr(value.front() == '-' ? 1 : 0);
  const auto* const wholeEnd = std::find_if_not(magnitude.begin(), magnitude.end(), IsDigit);
  const auto digits = static_cast<std::size_t>(wholeEnd - magnitude.begin());
  if (digits == 0 || (digits > 1 && magnitude.front() == '0')) return false;
  if (wholeEnd == magnitude.end()) return IsExactWhole(magnitude) && value != "-0";
  if (*wholeEnd != '.') return false;
  const bool allDigits = std::all_of(wholeEnd + 1, magnitude.end(), IsDigit);
  return allDigits && magnitude.back() != '.' && magnitude.back() != '0' &&
         IsShortestFraction(value);
}

template <class Rule>
void AppendEscaped(ByteBuffer& json, std::string_view text) {
  for (;;) {
    const std::size_t plain = json.AppendPlain<Rule>(text);
    if (plain == text.size()) return;
    AppendEscape(json, text[plain]);
    text.remove_prefix(plain + 1);
  }
}

}  // namespace

std::size_t PlainJsonLength(std::string_view text) { return PlainPrefix<JsonRule<false>>(text); }

void AppendJsonPiece(ByteBuffer& json, std::string_view text, JsonPlace place) {
  if (place == JsonPlace::kPage) return AppendEscaped<JsonRule<true>>(json, text);
  AppendEscaped<JsonRule<false>>(json, text);
}

void AppendJsonString(ByteBuffer& json, std::string_view text, JsonPlace place) {
  json += '"';
  AppendJsonPiece(json, text, place);
  json += '"';
}

std::string_view InferredJson(std::string_view value) {
  if (value == "True") return "true";
  if (value == "False") return "false";
  return IsPlainNumber(value) ? value : std::string_view();
}

}  // namespace brindlex::cli
