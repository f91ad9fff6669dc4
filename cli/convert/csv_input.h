#pragma once

#include "cli/convert/csv_text.h"
#include "cli/convert/table_target.h"

namespace brindlex::tool {

/// Reads one table of comma-separated values, RFC 4180 with any line end, from UTF-8 and hands it
/// to `target`: the first record is the header. A byte order mark in front, and blank lines, are
/// passed over. An input without any record is a collection of which nothing is known.
///
/// ConversionError for a quotation mark inside a field without quotation marks, for one that is not
/// closed, and for a record with more or fewer fields than the header. Holds one record and one
/// block of the source at a time.
void ReadCsv(const BlockSource& source, const CsvStyle& style, TableTarget& target);

}  // namespace brindlex::tool
