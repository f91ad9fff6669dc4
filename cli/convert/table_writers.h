#pragma once

#include <memory>
#include <string_view>

#include "cli/convert/csv_text.h"
#include "cli/format/delimited_form.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

struct JsonOptions {
  /// One object a line, without an array around them.
  bool lines = false;
  /// Rows are arrays, and the first of them holds the names.
  bool arrays = false;
  /// Numbers and flags as such, where that leads back to the same text (InferredType).
  bool infer = false;
  /// Unless it is null: an object with this form as its member "format", and what is written
  /// otherwise as "records". Must outlive the writer.
  const DelimitedForm* form = nullptr;
};

/// Writes a collection as a JSON array of objects, one to a line, values as text; named collections
/// as an object of such arrays.
///
/// Unless rows are arrays, a name that a header has twice is a ConversionError, since most readers
/// of JSON keep one of two values only, and a header without records is lost. Named collections in
/// lines are a Failure kUsage.
/// Writes what comes before the records. `lossReport` must outlive the writer.
std::unique_ptr<TableWriter> MakeJsonWriter(ByteHandler writeBytes, const JsonOptions& options,
                                            LossReport& lossReport);

/// Writes one collection as comma-separated values by RFC 4180: the header, then one record to a
/// line, lines ended by CR LF. An empty collection is an empty file. A value that comes in pieces
/// is written between quotation marks. With a form, a last column without values carries it.
///
/// ConversionError for a name that would be taken for such a column, UsageError for named
/// collections.
std::unique_ptr<TableWriter> MakeCsvWriter(ByteHandler writeBytes, const CsvStyle& style,
                                           bool hasByteOrderMark = false,
                                           const DelimitedForm* form = nullptr);

/// Writes collections as one HTML page that needs nothing else: its script sorts and searches the
/// records, which lie in the page as JSON (an object of "columns" and "rows" for each collection),
/// and puts them on the screen as text. No text of the data can become markup or script: in the
/// JSON "<" is escaped, elsewhere what HTML reads as something else. `title` is the page's.
std::unique_ptr<TableWriter> MakePageWriter(ByteHandler writeBytes, std::string_view title);

}  // namespace brindlex::cli
