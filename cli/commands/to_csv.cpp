#include "cli/commands/csv_options.h"
#include "cli/commands/read_options.h"
#include "cli/convert/table_writers.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex to-csv books.txt -o books.csv\n"
    "brindlex to-csv lists.txt Items -o items.csv        one collection of several\n"
    "brindlex to-csv books.txt --with-format -o books.csv      from-csv makes the same file\n"
    "brindlex to-csv books.txt --delimiter ';' --bom --guard-formulas    for a spreadsheet\n";

struct ToCsvOptions : ReadOptions {
  CsvOptions csv;
  bool hasByteOrderMark = false;
};

}  // namespace

void AddToCsv(CLI::App& program, Context& /*context*/) {
  CLI::App& command =
      AddCommand(program, "to-csv", "Converts a collection to comma-separated values", kExamples);
  auto options = std::make_shared<ToCsvOptions>();
  AddReadOptions(command, *options);
  AddCsvOptions(command, options->csv, /*isRead=*/false);
  command.add_flag("--bom", options->hasByteOrderMark,
                   "Begin with a byte order mark, by which spreadsheets recognize UTF-8");
  AddRoundTrip(command, *options);
  command.callback([options] {
    const CsvStyle style = StyleOf(options->csv);
    ConvertFile(*options,
                [&](const ByteHandler& writeBytes, LossReport&, const DelimitedForm* form) {
                  return MakeCsvWriter(writeBytes, style, options->hasByteOrderMark, form);
                });
  });
}

}  // namespace brindlex::cli
