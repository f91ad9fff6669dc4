#pragma once

#include <cstddef>
#include <vector>

#include "automation/text.h"

namespace brindlex {

/// How many columns `unit` takes: 2 in the scripts that are drawn wide, else 1.
constexpr std::size_t ColumnsOf(char16_t unit) {
  const bool isSurrogate = unit >= 0xD800 && unit <= 0xDFFF;
  return unit >= 0x1100 && !isSurrogate ? 2 : 1;
}

/// A text laid out in rows of a fixed number of columns, for windows that show a part of a text of
/// any length. A row ends at a line break (CR LF, or either alone), else after the last blank that
/// fits, else where the columns end, though not inside a surrogate pair. Making it takes time
/// linear in the text; then every row is found quickly.
class TextRows {
 public:
  /// `text` must outlive it; at least 2 columns.
  TextRows(TextView text, std::size_t columns);

  /// At least 1. A text that ends with a line break has an empty row after it.
  std::size_t Count() const { return count_; }

  /// The row with number `index`, from 0, without its line break. It must be there.
  TextView Row(std::size_t index) const;

 private:
  TextView text_;
  std::size_t columns_;
  std::size_t count_ = 0;
  /// Where some of the rows begin, the others being counted from there.
  std::vector<std::size_t> landmarks_;
};

/// Whether a message box on a small screen can show all of `text`: it is no more than a small
/// screen is high, has no word that is wider, and no NUL, at which a message box ends. True for
/// every text of up to 100 units without a NUL; false for every one of more than 2,200.
bool FitsMessageBox(TextView text);

}  // namespace brindlex
