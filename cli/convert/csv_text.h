#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/format/delimited_form.h"
#include "cli/text/byte_buffer.h"

namespace brindlex::cli {

/// How comma-separated values are written and read.
struct CsvStyle {
  char delimiter = ',';
  /// Whether a value that a spreadsheet would take for a formula is written with "'" before it, and
  /// read back without.
  bool guardFormulas = false;
};

/// What readers may take for the delimiter of a header line, the likeliest first.
inline constexpr std::string_view kDelimiters = ",;\t";

/// The name of a column without values, which carries the form of the file through programs that
/// sort, filter or edit the rows. It holds no delimiter, quotation mark or point.
std::string CsvNameOf(const DelimitedForm& form);

/// The form that a column of that name carries; nothing for a name that CsvNameOf does not make.
/// ConversionError for a form that is not known.
std::optional<DelimitedForm> FormOfCsvName(std::string_view name);

/// Whether a value that begins like `value` starts a formula in a spreadsheet: it begins with one
/// of = + - @, a tab or a carriage return and is no plain number, or with apostrophes and then
/// that. The apostrophes count so that taking one off again is unambiguous. The first 2000 bytes of
/// a value decide.
bool LooksLikeFormula(std::string_view value);

/// `value` as it was before it was guarded: without its first apostrophe when LooksLikeFormula
/// holds and it has one.
std::string_view WithoutGuard(std::string_view value);

/// How many bytes at the front of `text` are none of the delimiter, a quotation mark, CR and LF.
std::size_t PlainCsvLength(std::string_view text, char delimiter);

/// Appends `value` to `csv` as a field by RFC 4180: between quotation marks, those in it doubled,
/// when it holds the delimiter, a quotation mark, CR or LF; also when a reader might change it
/// otherwise: blanks at an end, or a byte order mark at the beginning. An `only` field of its
/// record that is empty is quoted too, or the record would be a blank line. Linear.
void AppendCsvField(ByteBuffer& csv, std::string_view value, const CsvStyle& style, bool only);

/// The same for a name of the header, which is also quoted if it holds one of kDelimiters.
void AppendCsvName(ByteBuffer& csv, std::string_view name, const CsvStyle& style, bool only);

/// Appends a further piece of a field between quotation marks that the caller writes.
void AppendCsvQuotedPiece(ByteBuffer& csv, std::string_view piece);

}  // namespace brindlex::cli
