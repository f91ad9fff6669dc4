#pragma once

#include <functional>

#include "cli/convert/table_writer.h"
#include "cli/io/output.h"

namespace brindlex::tool {

/// One conversion: reads its input from the beginning, hands what it makes of it to the sink, and
/// leaves what does not come through in `losses`.
using Conversion = std::function<void(const ByteSink& sink, Losses& losses)>;

/// Runs a conversion so that either all of its data goes to the output or nothing. A file appears
/// when all went well; before anything goes to standard output, a pipe or a device, the conversion
/// is run once without output.
///
/// Losses are a ConversionError that tells of all, unless `areAccepted`: they are then told on
/// standard error, before the output is there. All Failures of the conversion and of Output.
void RunConversion(const OutputOptions& options, bool areAccepted, const Conversion& convert);

}  // namespace brindlex::tool
