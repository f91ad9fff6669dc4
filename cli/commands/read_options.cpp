#include "cli/commands/read_options.h"

#include "cli/commands/conversion.h"
#include "cli/format/table_copy.h"

namespace brindlex::cli {

void AddReadOptions(CLI::App& command, ReadOptions& options) {
  AddInputFile(command, options.path);
  command.add_option("name", options.name, "One collection of a file of several")
      ->type_name("NAME");
  AddOutputOptions(command, options.output);
  AddFormatOptions(command, options.format);
  AddReadingOptions(command, options.format);
}

void AddLossy(CLI::App& command, ReadOptions& options) {
  command.add_flag("--lossy", options.allowsLosses,
                   "Convert even if converting back gives another file; warn of what is left out");
}

void ConvertFile(const ReadOptions& options, const MakeWriter& makeWriter) {
  Input input(options.path);
  const FileFormat format = DetectFormat(input, options.format);
  RunConversion(options.output, options.allowsLosses, [&](const ByteSink& sink, Losses& losses) {
    const std::unique_ptr<TableWriter> writer = makeWriter(sink, losses);
    CopyTables(input, format, options.name, *writer, losses);
  });
}

}  // namespace brindlex::cli
