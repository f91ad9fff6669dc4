#pragma once

#include <optional>
#include <string>

#include "cli/format/file_format.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// Writes the collections of a file, or the one of that name in any letter case, in file order. The
/// file is read from front to end, one of several collections twice. Memory does not grow with it.
///
/// Fails as CollectionReader and CollectionIndex do. Line breaks between records, and a header of
/// several collections in another spelling or order, go into `lossReport`. UsageError if there is
/// no such collection. So many `lineBreaks` between the records of a single collection are no loss;
/// with kAnyLineBreaks none of any is.
void CopyTables(Input& input, const FileFormat& format, const std::optional<std::string>& name,
                TableWriter& writer, LossReport& lossReport, int lineBreaks = 0);

}  // namespace brindlex::cli
