#pragma once

#include <functional>
#include <string_view>

#include "cli/convert/csv_text.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// The next bytes of an input, valid until the next call; empty at its end. May throw.
using BlockSource = std::function<std::string_view()>;

/// Reads one table of comma-separated values, RFC 4180 with any line end, from UTF-8 and writes
/// it: the first record is the header. A byte order mark in front, and blank lines, are skipped. An
/// input without any record is an empty collection.
///
/// ConversionError for a quotation mark inside a field without quotation marks, for one that is not
/// closed, for a record with more or fewer fields than the header, and for a RefusedValue of the
/// writer. Holds one value and one block of the source at a time. Does not End the writer.
void ReadCsv(const BlockSource& source, const CsvStyle& style, TableWriter& writer);

}  // namespace brindlex::cli
