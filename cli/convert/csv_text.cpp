#include "cli/convert/csv_text.h"

#include <algorithm>
#include <cstddef>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace brindlex::cli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// So that the first thousands of bytes of a value decide, however long it is.
constexpr std::size_t kMostApostrophes = 1000;
constexpr std::size_t kMostDigits = 100;

bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// A sign, digits, perhaps a point or comma and more digits: no spreadsheet computes anything.
bool IsSignedNumber(std::string_view text) {
  if (text.size() > kMostDigits) return false;
  text.remove_prefix(text.front() == '+' || text.front() == '-' ? 1 : 0);
  const auto* const point = std::find_if_not(text.begin(), text.end(), IsDigit);
  if (point == text.begin()) return false;
  if (point == text.end()) return true;
  return (*point == '.' || *point == ',') && point + 1 != text.end() &&
         std::all_of(point + 1, text.end(), IsDigit);
}

/// Whether `text` holds the delimiter, a quotation mark or a line break.
bool HoldsSeparator(std::string_view text, char delimiter) {
#ifdef __SSE2__
  constexpr std::size_t kBlock = sizeof(__m128i);
  const auto holds = [delimiter](__m128i bytes) {
    const auto equals = [bytes](char byte) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte)); };
    return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(equals(delimiter), equals('"')),
                                          _mm_or_si128(equals('\r'), equals('\n')))) != 0;
  };
  for (; text.size() >= kBlock; text.remove_prefix(kBlock)) {
    if (holds(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data())))) return true;
  }
  char last[kBlock] = {};
  text.copy(last, text.size());
  return holds(_mm_loadu_si128(reinterpret_cast<const __m128i*>(last)));
#else
  return std::any_of(text.begin(), text.end(), [delimiter](char byte) {
    return byte == delimiter || byte == '"' || byte == '\r' || byte == '\n';
  });
#endif
}

bool NeedsQuotes(std::string_view value, char delimiter) {
  if (value.empty()) return false;
  return IsBlank(value.front()) || IsBlank(value.back()) || value.starts_with(kByteOrderMark) ||
         HoldsSeparator(value, delimiter);
}

constexpr std::string_view kFormName = "brindlex-format";

void AppendField(std::string& csv, std::string_view value, const CsvStyle& style, bool isQuoted) {
  const bool isGuarded = style.guardFormulas && LooksLikeFormula(value);
  if (isQuoted) csv += '"';
  if (isGuarded) csv += '\'';
  if (isQuoted) {
    AppendCsvQuotedPiece(csv, value);
    csv += '"';
  } else {
    csv += value;
  }
}

}  // namespace

std::string CsvNameOf(const DelimitedForm& form) {
  std::string name(kFormName);
  for (const FormMember& member : MembersOf(form)) {
    name.append(" ").append(member.name).append("=").append(member.value);
  }
  return name;
}

std::optional<DelimitedForm> FormOfCsvName(std::string_view name) {
  if (!name.starts_with(kFormName)) return std::nullopt;
  name.remove_prefix(kFormName.size());
  if (!name.starts_with(' ')) return std::nullopt;
  DelimitedForm form;
  while (!name.empty()) {
    name.remove_prefix(1);
    const std::string_view member = name.substr(0, name.find(' '));
    const std::size_t equals = std::min(member.find('='), member.size());
    SetFormMember(form, member.substr(0, equals),
                  member.substr(std::min(equals + 1, member.size())));
    name.remove_prefix(member.size());
  }
  return form;
}

bool LooksLikeFormula(std::string_view value) {
  const std::size_t start = value.find_first_not_of('\'');
  // Also where nothing else is found.
  if (start > kMostApostrophes) return false;
  value.remove_prefix(start);
  constexpr std::string_view kStarts = "=+-@\t\r";
  return kStarts.find(value.front()) != std::string_view::npos && !IsSignedNumber(value);
}

std::string_view WithoutGuard(std::string_view value) {
  if (value.starts_with('\'') && LooksLikeFormula(value)) value.remove_prefix(1);
  return value;
}

void AppendCsvField(std::string& csv, std::string_view value, const CsvStyle& style, bool only) {
  AppendField(csv, value, style, NeedsQuotes(value, style.delimiter) || (only && value.empty()));
}

void AppendCsvName(std::string& csv, std::string_view name, const CsvStyle& style, bool only) {
  const bool isQuoted = NeedsQuotes(name, style.delimiter) || (only && name.empty()) ||
                        name.find_first_of(kDelimiters) != std::string_view::npos;
  AppendField(csv, name, style, isQuoted);
}

void AppendCsvQuotedPiece(std::string& csv, std::string_view piece) {
  for (;;) {
    const std::size_t quote = piece.find('"');
    csv += piece.substr(0, quote);
    if (quote == std::string_view::npos) return;
    csv += "\"\"";
    piece.remove_prefix(quote + 1);
  }
}

}  // namespace brindlex::cli
