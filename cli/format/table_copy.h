#pragma once

#include <optional>
#include <string>

#include "cli/convert/table_writer.h"
#include "cli/format/layout.h"
#include "cli/io/source.h"

namespace brindlex::tool {

/// What of a file is to be read.
struct TableChoice {
  /// The name of one collection of several, in any letter case.
  std::optional<std::string> collection;
  /// Take a file that looks like several collections for one, whose values are texts of their own.
  bool isPlain = false;
};

/// Hands the collections in a file, or the one that is chosen, to `writer`, in file order. The file
/// is read from front to end, that of several collections twice. A value is held up to 64 kB, so
/// that memory does not grow with the file.
///
/// Only text that the component could have written comes through. ConversionError, with the byte
/// and the record, for anything else: records with more or fewer values than the header, text
/// behind the last field end of a record or the last record end of all, bytes that are no
/// character, blocks of one name. Line breaks behind record ends, which the component drops, and a
/// header of blocks in another spelling or order go into `losses`. Failure kUsage when there is no
/// such collection.
void ReadTables(const Source& source, const FormatOptions& format, const TableChoice& choice,
                TableWriter& writer, Losses& losses);

}  // namespace brindlex::tool
