#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/text/encoding.h"
#include "cli/text/escape.h"

namespace brindlex::cli {

/// Columns that a character takes on a terminal: 0, 1 or 2.
int ColumnsOf(char32_t character);

/// Columns of a UTF-8 text without controls.
std::size_t ColumnsOf(std::string_view text);

/// `bytes` as a terminal can show them in one line: line ends as arrows, everything else that acts
/// on a terminal and ill-formed sequences by EscapeOf, so that no file can drive the terminal.
std::string Printable(const Encoding& encoding, std::string_view bytes);

/// The same with line ends kept, and with `indent` after each.
std::string PrintableLines(const Encoding& encoding, std::string_view bytes,
                           std::string_view indent);

/// `text` if it takes at most `columns`, which are at least 1; else as much of its front as fits
/// before kEllipsis. If `isTruncated`, something is missing at its end already.
std::string Truncated(std::string_view text, std::size_t columns, bool isTruncated = false);

/// `text` with blanks, to take `columns`: after it, or before it if `alignRight`.
std::string Padded(std::string_view text, std::size_t columns, bool alignRight);

}  // namespace brindlex::cli
