#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/text/encoding.h"
#include "cli/text/escape.h"

namespace brindlex::tool {

/// Columns that a character takes on a terminal: 0, 1 or 2.
int ColumnsOf(char32_t character);

/// Columns of a UTF-8 text without controls.
std::size_t ColumnsOf(std::string_view text);

/// `bytes` as a terminal can show them in one line: line ends as arrows, what else acts on a
/// terminal and what is no character by EscapeOf, so that nothing in a file can drive the terminal.
std::string Printable(const Encoding& encoding, std::string_view bytes);

/// The same with line ends kept, and with `indent` behind each.
std::string PrintableLines(const Encoding& encoding, std::string_view bytes,
                           std::string_view indent);

/// `text` if it takes at most `columns`, which are at least 1; else as much of its front as fits
/// before kEllipsis. When `isCut`, something is missing at its end already.
std::string Cut(std::string_view text, std::size_t columns, bool isCut = false);

/// `text` with blanks, to take `columns`: behind it, or before it when `toTheRight`.
std::string Padded(std::string_view text, std::size_t columns, bool toTheRight);

}  // namespace brindlex::tool
