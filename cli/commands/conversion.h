#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "cli/format/table_writer.h"
#include "cli/io/input.h"
#include "cli/io/output.h"

namespace brindlex::cli {

/// Adds --in-place, by which a command replaces the file that it reads.
void AddInPlace(CLI::App& command, bool& isInPlace);

/// Where the result goes: to `path` itself if `isInPlace`, else as `output` says. UsageError for
/// both, and for standard input in place.
OutputOptions InPlaceTarget(const std::string& path, const OutputOptions& output, bool isInPlace);

/// One conversion: reads its input from the beginning, passes its result to `writeBytes`, and
/// leaves what does not come through in `lossReport`.
using Conversion = std::function<void(const ByteHandler& writeBytes, LossReport& lossReport)>;

inline constexpr std::string_view kLossyHint = "--lossy leaves it out";

/// Runs a conversion so that either all of its data goes to the output or nothing. A file appears
/// when everything has succeeded; before anything goes to standard output, a pipe or a device, the
/// conversion is run once without output.
///
/// What is in the report is a ConversionError that names all of it, unless `allowsLossy`: a warning
/// then names it, before the output exists. Its last words are what to do, `lineBreaksHint` if line
/// breaks are all that is lost. All Failures of the conversion and of Output. `replaced`, unless it
/// is null, is the input that the output may replace; it is closed before.
void RunConversion(const OutputOptions& options, bool allowsLossy, const Conversion& convert,
                   Input* replaced = nullptr, std::string_view lineBreaksHint = kLossyHint);

}  // namespace brindlex::cli
