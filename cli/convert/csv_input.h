#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/convert/text_source.h"
#include "cli/format/delimited_form.h"

namespace brindlex::cli {

/// What becomes of a row with more or fewer values than the header.
enum class Ragged {
  kRefuse,
  /// Missing values are empty, and surplus values that are empty are left out; others are refused.
  kPad,
  /// The row is left out. One row at a time is held as a whole.
  kDrop,
};

/// How comma-separated values are read.
struct CsvReading {
  /// Without it the one of comma, semicolon and tab that the header line has most often outside
  /// quotation marks; the comma if none.
  std::optional<char> delimiter = {};
  /// CsvStyle::guardFormulas, taken back.
  bool guardFormulas = false;
  Ragged ragged = Ragged::kRefuse;
  /// Without it that of the byte order mark, else UTF-8.
  std::optional<Encoding> encoding = {};
  /// Gets what the user should know; may be called before a failure.
  std::function<void(const std::string&)> notice = [](const std::string&) {};
};

/// Reads one table of comma-separated values, RFC 4180 with any line end, and writes it: the first
/// record is the header. Blank lines are skipped. An input without any record is an empty
/// collection. A column that carries the form of a file (FormOfCsvName) goes to `makeWriter` alone.
///
/// ConversionError for a quotation mark inside a field without quotation marks, for one that is not
/// closed, for a header of more names than memory is promised for, for a ragged row, and for a
/// RefusedValue of the writer. In bounded memory: a long value comes in pieces. Does not End the
/// writer.
void ReadCsv(const ReadAt& source, const CsvReading& reading, const WriterMaker& makeWriter);

}  // namespace brindlex::cli
