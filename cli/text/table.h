#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cli/text/palette.h"

namespace brindlex::cli {

/// One value of a table, ready to be shown.
struct Cell {
  std::string text;
  /// Something is missing at its end.
  bool isTruncated = false;
};

using Row = std::vector<Cell>;

/// A table whose columns are as wide as the rows that it is made from want, as far as the whole is
/// to be no wider than a terminal. Numbers are aligned right.
class Table {
 public:
  /// `names` are the heads; `sample` the rows that widths and alignment are taken from; `width` the
  /// columns there are, 0 for as many as are wanted. A row may have fewer or more cells than there
  /// are names.
  Table(const std::vector<std::string>& names, const std::vector<Row>& sample, std::size_t width);

  /// How many columns of the table, from the left, find room.
  std::size_t Fitting() const { return widths_.size(); }

  /// The line of the names and a rule below it, with their line ends.
  std::string Head(const Palette& palette) const;

  /// A line with its line end. Cells after the last column are left out; missing ones are blank.
  std::string Line(const Row& row) const;

 private:
  void Shrink(std::size_t width);
  std::string Joined(const Row& row) const;

  std::vector<std::string> names_;
  std::vector<std::size_t> widths_;
  std::vector<bool> areNumbers_;
};

/// Whether `text` is a number as people write them: digits, with a sign, points, commas, a percent
/// sign.
bool IsNumber(std::string_view text);

}  // namespace brindlex::cli
