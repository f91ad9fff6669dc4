#include <memory>
#include <set>

#include "cli/commands/csv_options.h"
#include "cli/commands/write_options.h"
#include "cli/convert/csv_input.h"
#include "cli/io/diagnostics.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex from-csv books.csv -o books.txt\n"
    "brindlex from-csv export.csv --input-encoding windows-1252 --ragged pad -o books.txt\n"
    "brindlex from-csv new.csv --like books.txt -o new.txt     the format of another file\n";

struct FromCsvOptions : WriteOptions {
  CsvOptions csv;
  std::optional<std::string> encoding;
  Ragged ragged = Ragged::kRefuse;
};

void AddCsvInput(CLI::App& command, FromCsvOptions& options) {
  AddValue(command, "--input-encoding", options.encoding, "NAME",
           "The encoding of the CSV, in place of that of its byte order mark, else utf-8; "
           "names as for --encoding");
  static const std::map<std::string, Ragged> kRagged = {
      {"error", Ragged::kRefuse}, {"pad", Ragged::kPad}, {"drop", Ragged::kDrop}};
  command
      .add_option_function<std::string>(
          "--ragged", [&options](const std::string& word) { options.ragged = kRagged.at(word); },
          "Rows with more or fewer values than the header: error refuses them, pad fills missing "
          "values up, drop leaves such rows out (error)")
      ->type_name("WORD")
      ->check(CLI::IsMember({"error", "pad", "drop"}));
}

CsvReading ReadingOf(const FromCsvOptions& options) {
  CsvReading reading;
  const CsvStyle style = StyleOf(options.csv);
  if (options.csv.delimiter) reading.delimiter = style.delimiter;
  reading.guardFormulas = style.guardFormulas;
  reading.ragged = options.ragged;
  if (options.encoding) reading.encoding = RequireEncoding(*options.encoding);
  // A conversion may run twice.
  reading.notice = [given = std::set<std::string>()](const std::string& notice) mutable {
    if (given.insert(notice).second) Warn(notice);
  };
  return reading;
}

}  // namespace

void AddFromCsv(CLI::App& program, Context& /*context*/) {
  CLI::App& command =
      AddCommand(program, "from-csv", "Converts comma-separated values to a file", kExamples);
  auto options = std::make_shared<FromCsvOptions>();
  AddWriteOptions(command, *options);
  AddCsvOptions(command, options->csv, /*isRead=*/true);
  AddCsvInput(command, *options);
  command.callback([options] {
    const CsvReading reading = ReadingOf(*options);
    MakeFile(*options, [&](const ReadAt& source, const WriterMaker& makeWriter) {
      ReadCsv(source, reading, makeWriter);
    });
  });
}

}  // namespace brindlex::cli
