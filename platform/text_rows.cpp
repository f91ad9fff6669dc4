#include "platform/text_rows.h"

#include <algorithm>

namespace brindlex {
namespace {

/// Rows from one landmark to the next.
constexpr std::size_t kStride = 64;

bool IsLineBreak(char16_t unit) { return unit == u'\r' || unit == u'\n'; }

bool IsPair(char16_t first, char16_t second) {
  return (first & 0xFC00U) == 0xD800U && (second & 0xFC00U) == 0xDC00U;
}

/// Where one row ends and the next begins.
struct Break {
  std::size_t end;
  std::size_t next;
};

/// Of the row that begins at `start`.
Break BreakOf(TextView text, std::size_t columns, std::size_t start) {
  std::size_t width = 0;
  std::size_t afterBlank = start;
  std::size_t at = start;
  for (; at < text.size(); ++at) {
    if (IsLineBreak(text[at])) return {at, at + (text.substr(at).starts_with(u"\r\n") ? 2 : 1)};
    width += ColumnsOf(text[at]);
    if (width > columns) break;
    if (text[at] == u' ') afterBlank = at + 1;
  }
  if (at == text.size()) return {at, at};
  if (afterBlank > start) at = afterBlank;
  if (at - start > 1 && IsPair(text[at - 1], text[at])) --at;
  return {at, at};
}

/// Calls `visit(start)` for every row, in order.
template <class Visit>
void VisitRows(TextView text, std::size_t columns, Visit&& visit) {
  Break found{0, 0};
  do {
    visit(found.next);
    found = BreakOf(text, columns, found.next);
    // A line break at the very end has one more row after it.
  } while (found.end < text.size());
}

/// The longest run of units without a blank or a line break.
std::size_t LongestWord(TextView text) {
  std::size_t longest = 0;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find_first_of(u" \r\n", start), text.size());
    longest = std::max(longest, end - start);
    start = end + 1;
  }
  return longest;
}

}  // namespace

TextRows::TextRows(TextView text, std::size_t columns) : text_(text), columns_(columns) {
  VisitRows(text, columns, [this](std::size_t start) {
    if (count_ % kStride == 0) landmarks_.push_back(start);
    ++count_;
  });
}

TextView TextRows::Row(std::size_t index) const {
  std::size_t start = landmarks_[index / kStride];
  for (std::size_t row = index % kStride; row > 0; --row)
    start = BreakOf(text_, columns_, start).next;
  return text_.substr(start, BreakOf(text_, columns_, start).end - start);
}

bool FitsMessageBox(TextView text) {
  // Of what a message box was seen to make of text on a screen of 1024 by 768: rows of running text
  // about as wide as these and thirteen pixels high, and words never split.
  constexpr std::size_t kColumns = 55;
  constexpr std::size_t kRows = 40;
  constexpr std::size_t kWord = 100;
  if (text.size() > kColumns * kRows || text.find(u'\0') != TextView::npos) return false;
  std::size_t rows = 0;
  VisitRows(text, kColumns, [&rows](std::size_t) { ++rows; });
  return rows <= kRows && LongestWord(text) <= kWord;
}

}  // namespace brindlex
