#include "cli/commands/csv_options.h"

#include "cli/commands/command_line.h"
#include "cli/text/escape.h"

namespace brindlex::cli {

void AddCsvOptions(CLI::App& command, CsvOptions& options, bool isRead) {
  const std::string delimiter = "What separates values: a character below 128, or the word tab";
  AddValue(command, "--delimiter", options.delimiter, "C",
           delimiter + (isRead ? ", in place of the comma, semicolon or tab that is detected"
                               : "; a comma without it"));
  command.add_flag("--guard-formulas", options.guardFormulas,
                   isRead ? "Take off the apostrophe that to-csv --guard-formulas puts"
                          : "An apostrophe before values that a spreadsheet would compute");
}

CsvStyle StyleOf(const CsvOptions& options) {
  const std::string given = options.delimiter.value_or(",");
  const std::string delimiter = given == "tab" ? "\t" : given;
  constexpr std::string_view kTaken = "\"'\r\n";
  const bool isOne = delimiter.size() == 1 && static_cast<unsigned char>(delimiter.front()) < 0x80;
  if (!isOne || delimiter.front() == '\0' || kTaken.find(delimiter) != std::string_view::npos) {
    throw UsageError("the delimiter " + Quoted(given) +
                     " is not one character below 128 that can separate values");
  }
  return {delimiter.front(), options.guardFormulas};
}

}  // namespace brindlex::cli
