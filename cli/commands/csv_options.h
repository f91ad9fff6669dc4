#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "cli/convert/csv_text.h"

namespace brindlex::cli {

/// What the command line says of comma-separated values.
struct CsvOptions {
  /// Without it to-csv takes the comma, and from-csv what it detects.
  std::optional<std::string> delimiter;
  bool guardFormulas = false;
};

/// Adds --delimiter and --guard-formulas to a command that reads CSV, or to one that writes it;
/// `options` must outlive the parsing.
void AddCsvOptions(CLI::App& command, CsvOptions& options, bool isRead);

/// The style that the options ask for. Failure kUsage for a delimiter that is not one character
/// below 128 or the word tab, and for a quotation mark, a line break or a NUL.
CsvStyle StyleOf(const CsvOptions& options);

}  // namespace brindlex::cli
