#pragma once

#include <memory>

#include "cli/format/delimited_form.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// Writes tables as the component would: a single collection, or named ones as a file of several.
///
/// A RefusedValue for what would be read back differently or not at all: a value or name that holds
/// a marker (in a file of several any of the four), a character that the encoding lacks, a record
/// that starts with a line break, which reading drops. A ConversionError for two collections of one
/// name in any letter case, and for a file that would be read in another encoding, with other
/// markers, or as several collections in place of one, unless the form says that. UsageError for
/// named collections together with markers or line breaks of one's own.
std::unique_ptr<TableWriter> MakeDelimitedWriter(ByteHandler writeBytes, const DelimitedForm& form);

}  // namespace brindlex::cli
