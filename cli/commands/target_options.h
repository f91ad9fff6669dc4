#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "cli/commands/write_options.h"

namespace brindlex::cli {

/// What a command that reads a file of the format and writes one takes for the form of the new one;
/// the rest is that of a file that it reads.
struct TargetOptions : FormOptions {
  std::optional<std::string> encoding;
  std::optional<std::string> fieldEnd;
  std::optional<std::string> recordEnd;
};

/// Adds --to-encoding, --to-field-end, --to-record-end and what AddFormOptions adds; `options` must
/// outlive the parsing.
void AddTargetOptions(CLI::App& command, TargetOptions& options);

/// The form of the new file: that of `source`, which `reading` says how to read, or of the file of
/// --like, with what the options name in its place. In another encoding UTF-16 alone begins with a
/// byte order mark. UsageError as RequireEncoding and ApplyFormOptions.
DelimitedForm TargetForm(const TargetOptions& options, Input& source, const FormatOptions& reading);

}  // namespace brindlex::cli
