#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "cli/commands/command_line.h"
#include "cli/format/delimited_form.h"

namespace brindlex::cli {

/// What the commands that convert a file share.
struct ReadOptions {
  std::string path;
  /// One collection of a file of several.
  std::optional<std::string> name;
  FormatOptions format;
  OutputOptions output;
  bool allowsLossy = false;
  bool withFormat = false;
};

void AddReadOptions(CLI::App& command, ReadOptions& options);

/// Adds --with-format, which it returns, and --lossy.
CLI::Option& AddRoundTrip(CLI::App& command, ReadOptions& options);

/// Makes the writer of a conversion; called once for each time that it is run. `form` is that of
/// the file if the writer is to carry it, else null.
using MakeWriter = std::function<std::unique_ptr<TableWriter>(
    const ByteHandler& writeBytes, LossReport& lossReport, const DelimitedForm* form)>;

/// Converts the file to what the writer writes.
void ConvertFile(const ReadOptions& options, const MakeWriter& makeWriter);

}  // namespace brindlex::cli
