#include "cli/text/table.h"

#include <algorithm>

#include "cli/text/display.h"

namespace brindlex::cli {
namespace {

constexpr std::size_t kBetween = 2;
/// Below this a column shows nothing of use.
constexpr std::size_t kNarrowest = 4;

/// What `widths` take in all, when none is wider than `limit`.
std::size_t Total(const std::vector<std::size_t>& widths, std::size_t limit) {
  std::size_t total = widths.empty() ? 0 : kBetween * (widths.size() - 1);
  for (const std::size_t width : widths) total += std::min(width, limit);
  return total;
}

}  // namespace

bool IsNumber(std::string_view text) {
  bool hasDigit = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    const bool isDigit = c >= '0' && c <= '9';
    const bool isSign = at == 0 && (c == '+' || c == '-');
    const bool isLast = at + 1 == text.size() && hasDigit && c == '%';
    if (!isDigit && !isSign && !isLast && c != '.' && c != ',' && c != '\'') return false;
    hasDigit = hasDigit || isDigit;
  }
  return hasDigit;
}

Table::Table(const std::vector<std::string>& names, const std::vector<Row>& sample,
             std::size_t width)
    : names_(names) {
  for (std::size_t column = 0; column < names.size(); ++column) {
    std::size_t widest = ColumnsOf(names[column]);
    bool hasNumber = false;
    bool hasOther = false;
    for (const Row& row : sample) {
      if (column >= row.size() || row[column].text.empty()) continue;
      widest = std::max(widest, ColumnsOf(row[column].text) + (row[column].isTruncated ? 1 : 0));
      const bool isNumber = IsNumber(row[column].text);
      hasNumber = hasNumber || isNumber;
      hasOther = hasOther || !isNumber;
    }
    widths_.push_back(std::max<std::size_t>(widest, 1));
    areNumbers_.push_back(column == 0 || (hasNumber && !hasOther));
  }
  if (width != 0) Shrink(width);
}

// The widest columns give way first, all to the same limit.
void Table::Shrink(std::size_t width) {
  while (widths_.size() > 1 && Total(widths_, kNarrowest) > width) widths_.pop_back();
  if (Total(widths_, width) <= width) return;
  std::size_t limit = 1;
  while (Total(widths_, limit + 1) <= width) ++limit;
  std::size_t spare = width - std::min(width, Total(widths_, limit));
  for (std::size_t& own : widths_) {
    if (own <= limit) continue;
    own = limit + (spare > 0 ? 1 : 0);
    if (spare > 0) --spare;
  }
}

std::string Table::Joined(const Row& row) const {
  std::string line;
  for (std::size_t column = 0; column < widths_.size(); ++column) {
    if (column > 0) line.append(kBetween, ' ');
    const Cell cell = column < row.size() ? row[column] : Cell{};
    const std::string text = Truncated(cell.text, widths_[column], cell.isTruncated);
    // The last column needs no blanks after it.
    const bool isLast = column + 1 == widths_.size();
    line +=
        isLast && !areNumbers_[column] ? text : Padded(text, widths_[column], areNumbers_[column]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::string Table::Head(const Palette& palette) const {
  Row heads;
  std::string rule;
  for (std::size_t column = 0; column < widths_.size(); ++column) {
    heads.push_back({names_[column], false});
    if (column > 0) rule.append(kBetween, ' ');
    for (std::size_t cell = 0; cell < widths_[column]; ++cell) rule += "\u2500";
  }
  return palette.Paint(Style::kHeading, Joined(heads)) + "\n" + palette.Paint(Style::kFaint, rule) +
         "\n";
}

std::string Table::Line(const Row& row) const { return Joined(row) + "\n"; }

}  // namespace brindlex::cli
