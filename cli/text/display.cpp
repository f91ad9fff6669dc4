#include "cli/text/display.h"

#include <algorithm>
#include <iterator>

#include "cli/text/utf.h"
#include "cli/text/width_table.h"

namespace brindlex::cli {
namespace {

template <std::size_t Count>
bool IsIn(const ColumnRun (&runs)[Count], char32_t character) {
  const auto* const run = std::upper_bound(
      std::begin(runs), std::end(runs), character,
      [](char32_t sought, const ColumnRun& candidate) { return sought < candidate.first; });
  return run != std::begin(runs) && character <= std::prev(run)->last;
}

/// Calls `put(character, UTF-8)` for each character, `bad(byte)` for each byte of an ill-formed
/// sequence.
template <class Put, class Bad>
void EachCharacter(const Encoding& encoding, std::string_view bytes, Put&& put, Bad&& bad) {
  while (!bytes.empty()) {
    std::string text;
    const std::size_t used = encoding.ToUtf8(bytes, text);
    for (std::string_view rest = text; !rest.empty();) {
      const Character character = FirstOfUtf8(rest);
      put(character.number, rest.substr(0, character.bytes));
      rest.remove_prefix(character.bytes);
    }
    bytes.remove_prefix(used);
    if (bytes.empty()) return;
    const std::size_t passed = encoding.BadLength(bytes);
    for (const char byte : bytes.substr(0, passed)) bad(static_cast<unsigned char>(byte));
    bytes.remove_prefix(passed);
  }
}

}  // namespace

int ColumnsOf(char32_t character) {
  constexpr char32_t kFirstWithout = 0x300;
  if (character < kFirstWithout) return 1;
  if (IsIn(kNoColumns, character)) return 0;
  return IsIn(kTwoColumns, character) ? 2 : 1;
}

std::size_t ColumnsOf(std::string_view text) {
  std::size_t columns = 0;
  while (!text.empty()) {
    const Character character = FirstOfUtf8(text);
    columns += static_cast<std::size_t>(ColumnsOf(character.number));
    text.remove_prefix(std::max<std::size_t>(character.bytes, 1));
  }
  return columns;
}

std::string Printable(const Encoding& encoding, std::string_view bytes) {
  std::string shown;
  char32_t before = 0;
  EachCharacter(
      encoding, bytes,
      [&](char32_t character, std::string_view utf8) {
        if (character == '\n') {
          // One arrow for a pair.
          if (before != '\r') shown += "\u21B5";
        } else if (character == '\r') {
          shown += "\u21B5";
        } else if (character == '\t') {
          shown += "\u2192";
        } else if (ActsOnTerminal(character)) {
          shown += EscapeOf(character);
        } else {
          shown.append(utf8);
        }
        before = character;
      },
      [&](unsigned char byte) { shown += EscapeOf(byte); });
  return shown;
}

std::string PrintableLines(const Encoding& encoding, std::string_view bytes,
                           std::string_view indent) {
  std::string shown;
  EachCharacter(
      encoding, bytes,
      [&](char32_t character, std::string_view utf8) {
        if (character == '\n') {
          shown.append("\n").append(indent);
        } else if (character != '\r' && ActsOnTerminal(character)) {
          shown += EscapeOf(character);
        } else if (character != '\r') {
          shown.append(utf8);
        }
      },
      [&](unsigned char byte) { shown += EscapeOf(byte); });
  return shown;
}

std::string Truncated(std::string_view text, std::size_t columns, bool isTruncated) {
  std::size_t taken = 0;
  std::size_t fits = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = FirstOfUtf8(text.substr(at));
    taken += static_cast<std::size_t>(ColumnsOf(character.number));
    at += std::max<std::size_t>(character.bytes, 1);
    if (taken + 1 <= columns) fits = at;
    if (taken > columns) return std::string(text.substr(0, fits)).append(kEllipsis);
  }
  if (!isTruncated) return std::string(text);
  return std::string(taken < columns ? text : text.substr(0, fits)).append(kEllipsis);
}

std::string Padded(std::string_view text, std::size_t columns, bool alignRight) {
  const std::size_t taken = ColumnsOf(text);
  const std::string blanks(columns > taken ? columns - taken : 0, ' ');
  return alignRight ? blanks + std::string(text) : std::string(text) + blanks;
}

}  // namespace brindlex::cli
