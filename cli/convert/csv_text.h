#pragma once

#include <string>
#include <string_view>

namespace brindlex::cli {

/// How comma-separated values are written and read.
struct CsvStyle {
  char delimiter = ',';
  /// Whether a value that a spreadsheet would take for a formula is written with "'" before it, and
  /// read back without.
  bool guardFormulas = false;
};

/// Whether a value that begins like `value` starts a formula in a spreadsheet: it begins with one
/// of = + - @, a tab or a carriage return and is no plain number, or with apostrophes and then
/// that. The apostrophes count so that taking one off again is unambiguous. The first 2000 bytes of
/// a value decide.
bool LooksLikeFormula(std::string_view value);

/// `value` as it was before it was guarded: without its first apostrophe when LooksLikeFormula
/// holds and it has one.
std::string_view WithoutGuard(std::string_view value);

/// Appends `value` to `csv` as a field by RFC 4180: between quotation marks, those in it doubled,
/// when it holds the delimiter, a quotation mark, CR or LF; also when a reader might change it
/// otherwise: blanks at an end, or a byte order mark at the beginning. An `only` field of its
/// record that is empty is quoted too, or the record would be a blank line. Linear.
void AppendCsvField(std::string& csv, std::string_view value, const CsvStyle& style, bool only);

/// Appends a further piece of a field between quotation marks that the caller writes.
void AppendCsvQuotedPiece(std::string& csv, std::string_view piece);

}  // namespace brindlex::cli
