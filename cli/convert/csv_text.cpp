#include "cli/convert/csv_text.h"

#include <algorithm>
#include <cstddef>

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

/// The bytes of which a field consists that needs no quotation marks.
OtherThan<4> CsvRule(char delimiter) { return {{delimiter, '"', '\r', '\n'}}; }

/// Whether a reader might change the ends of `value`, which is not empty, if it is not quoted.
bool HasFragileEnd(std::string_view value) {
  return IsBlank(value.front()) || IsBlank(value.back()) || value.starts_with(kByteOrderMark);
}

bool NeedsQuotes(std::string_view value, char delimiter) {
  return !value.empty() &&
         (HasFragileEnd(value) || PlainCsvLength(value, delimiter) < value.size());
}

constexpr std::string_view kFormName = "brindlex-format";

void AppendField(ByteBuffer& csv, std::string_view value, const CsvStyle& style, bool isQuoted) {
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

std::size_t PlainCsvLength(std::string_view text, char delimiter) {
  return PlainPrefix(text, CsvRule(delimiter));
}

void AppendCsvField(ByteBuffer& csv, std::string_view value, const CsvStyle& style, bool only) {
  if (value.empty() || style.guardFormulas || HasFragileEnd(value)) {
    const bool isQuoted = value.empty() ? only : NeedsQuotes(value, style.delimiter);
    return AppendField(csv, value, style, isQuoted);
  }
  // Copied while it is looked through, as most are plain.
  const std::size_t start = csv.Size();
  if (csv.AppendPlain(value, CsvRule(style.delimiter)) == value.size()) return;
  csv.Truncate(start);
  AppendField(csv, value, style, /*isQuoted=*/true);
}

void AppendCsvName(ByteBuffer& csv, std::string_view name, const CsvStyle& style, bool only) {
  const bool isQuoted = NeedsQuotes(name, style.delimiter) || (only && name.empty()) ||
                        name.find_first_of(kDelimiters) != std::string_view::npos;
  AppendField(csv, name, style, isQuoted);
}

void AppendCsvQuotedPiece(ByteBuffer& csv, std::string_view piece) {
  for (;;) {
    const std::size_t quote = csv.AppendPlain(piece, OtherThan<1>{{'"'}});
    if (quote == piece.size()) return;
    csv += "\"\"";
    piece.remove_prefix(quote + 1);
  }
}

}  // namespace brindlex::cli
