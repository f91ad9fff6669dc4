#include "cli/text/display.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

/// `bytes` with each character as `put(character, shown)` appends it, if that returns true; else as
/// it is, or by EscapeOf what acts on a terminal and each byte of an ill-formed sequence.
template <class Put>
std::string ShownBy(const Put& put, const Encoding& encoding, std::string_view bytes) {
  std::string shown;
  for (;;) {
    std::string text;
    bytes.remove_prefix(encoding.ToUtf8(bytes, text));
    for (std::string_view rest = text; !rest.empty();) {
      const Character character = FirstOfUtf8(rest);
      const bool isPut = put(character.number, shown);
      if (!isPut && ActsOnTerminal(character.number)) {
        shown += EscapeOf(character.number);
      } else if (!isPut) {
        shown.append(rest.substr(0, character.bytes));
      }
      rest.remove_prefix(character.bytes);
    }
    if (bytes.empty()) return shown;
    const std::size_t bad = encoding.BadLength(bytes);
    for (const char byte : bytes.substr(0, bad))
      shown += EscapeOf(static_cast<unsigned char>(byte));
    bytes.remove_prefix(bad);
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
  char32_t before = 0;
  const auto put = [&before](char32_t character, std::string& shown) {
    // One arrow for a pair.
    const bool endsPair = std::exchange(before, character) == '\r' && character == '\n';
    if (character != '\t' && character != '\r' && character != '\n') return false;
    if (!endsPair) shown += character == '\t' ? "\u2192" : "\u21B5";
    return true;
  };
  return ShownBy(put, encoding, bytes);
}

std::string PrintableLines(const Encoding& encoding, std::string_view bytes,
                           std::string_view indent) {
  const auto put = [indent](char32_t character, std::string& shown) {
    if (character == '\n') shown.append("\n").append(indent);
    return character == '\n' || character == '\r';
  };
  return ShownBy(put, encoding, bytes);
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
