#include <memory>

#include "cli/commands/csv_options.h"
#include "cli/commands/write_options.h"
#include "cli/convert/csv_input.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex from-csv books.csv -o books.txt\n"
    "brindlex from-csv books.csv --delimiter ';' -o books.txt\n"
    "brindlex from-csv new.csv --like books.txt -o new.txt     the format of another file\n";

struct FromCsvOptions : WriteOptions {
  CsvOptions csv;
};

}  // namespace

void AddFromCsv(CLI::App& program, Context& /*context*/) {
  CLI::App& command =
      AddCommand(program, "from-csv", "Converts comma-separated values to a file", kExamples);
  auto options = std::make_shared<FromCsvOptions>();
  AddWriteOptions(command, *options);
  AddCsvOptions(command, options->csv);
  command.callback([options] {
    const CsvStyle style = StyleOf(options->csv);
    MakeFile(*options, [&](const BlockSource& source, TableWriter& writer) {
      ReadCsv(source, style, writer);
    });
  });
}

}  // namespace brindlex::cli
