#include <memory>

#include "cli/commands/conversion.h"
#include "cli/commands/convert_commands.h"
#include "cli/commands/csv_options.h"
#include "cli/convert/csv_writer.h"
#include "cli/convert/json_writer.h"
#include "cli/convert/page_writer.h"
#include "cli/convert/table_reader.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

constexpr const char* kJsonExamples =
    "brindlex to-json books.txt                          an array of objects, one to a line\n"
    "brindlex to-json books.txt -o books.json --infer    numbers as numbers, True as true\n"
    "brindlex to-json books.txt --lines | grep Moby      one object a line, no array\n"
    "brindlex to-json lists.txt                          an object of arrays, by name\n"
    "brindlex to-json lists.txt Items                    one collection of several\n";
constexpr const char* kCsvExamples =
    "brindlex to-csv books.txt -o books.csv\n"
    "brindlex to-csv lists.txt Items -o items.csv        one collection of several\n"
    "brindlex to-csv books.txt --delimiter ';' --bom --guard-formulas    for a spreadsheet\n";
constexpr const char* kHtmlExamples =
    "brindlex to-html books.txt -o books.html            a page to sort and to search\n"
    "brindlex to-html lists.txt -o lists.html --title 'Our lists'\n";

/// What the commands that read a file share.
struct ReadOptions {
  std::string path;
  TableChoice choice;
  FormatOptions format;
  OutputOptions output;
  bool areLossesAccepted = false;
};

void AddReadOptions(CLI::App& command, ReadOptions& options) {
  AddInputFile(command, options.path);
  command.add_option("name", options.choice.collection, "The collection of a file of several")
      ->type_name("NAME");
  AddOutputOptions(command, options.output);
  AddFormatOptions(command, options.format);
  command.add_flag("--plain", options.choice.isPlain,
                   "Take a file that looks like several collections for one");
}

void AddLossy(CLI::App& command, ReadOptions& options) {
  command.add_flag("--lossy", options.areLossesAccepted,
                   "Convert even if converting back gives another file, and say what is left out");
}

/// Reads into the writer that `makeWriter` makes, once for each time that the conversion is run.
template <class MakeWriter>
void Run(const ReadOptions& options, const MakeWriter& makeWriter) {
  const Source source(options.path);
  RunConversion(options.output, options.areLossesAccepted,
                [&](const ByteSink& sink, Losses& losses) {
                  const std::unique_ptr<TableWriter> writer = makeWriter(sink, losses, source);
                  ReadTables(source, options.format, options.choice, *writer, losses);
                });
}

struct ToJsonOptions : ReadOptions {
  JsonOptions json;
};

struct ToCsvOptions : ReadOptions {
  CsvOptions csv;
  bool hasByteOrderMark = false;
};

/// A path's last part: whoever gets a page need not know where its file is.
std::string LastPart(const std::string& path) {
#ifdef _WIN32
  const std::size_t separator = path.find_last_of("\\/:");
#else
  const std::size_t separator = path.rfind('/');
#endif
  return Escaped(separator == std::string::npos ? path : path.substr(separator + 1));
}

struct ToHtmlOptions : ReadOptions {
  std::optional<std::string> title;
};

}  // namespace

void AddToJson(CLI::App& tool, Context& /*context*/) {
  CLI::App& command = AddCommand(tool, "to-json", "Converts a file to JSON", kJsonExamples);
  auto options = std::make_shared<ToJsonOptions>();
  AddReadOptions(command, *options);
  command.add_flag("--infer", options->json.infer,
                   "Numbers and flags as such, where that leads back to the same text");
  auto* const lines = command.add_flag("--lines", options->json.lines,
                                       "One object a line, without an array around them");
  command
      .add_flag("--arrays", options->json.arrays,
                "Rows as arrays, the first with the names; holds names that come twice, and a "
                "header alone")
      ->excludes(lines);
  AddLossy(command, *options);
  command.callback([options] {
    Run(*options, [&](const ByteSink& sink, Losses& losses, const Source&) {
      return std::make_unique<JsonWriter>(sink, options->json, losses);
    });
  });
}

void AddToCsv(CLI::App& tool, Context& /*context*/) {
  CLI::App& command =
      AddCommand(tool, "to-csv", "Converts a collection to comma-separated values", kCsvExamples);
  auto options = std::make_shared<ToCsvOptions>();
  AddReadOptions(command, *options);
  AddCsvOptions(command, options->csv);
  command.add_flag("--bom", options->hasByteOrderMark,
                   "Begin with a byte order mark, by which spreadsheets know UTF-8");
  AddLossy(command, *options);
  command.callback([options] {
    const CsvStyle style = StyleOf(options->csv);
    Run(*options, [&](const ByteSink& sink, Losses&, const Source&) {
      return std::make_unique<CsvWriter>(sink, style, options->hasByteOrderMark);
    });
  });
}

void AddToHtml(CLI::App& tool, Context& /*context*/) {
  CLI::App& command = AddCommand(
      tool, "to-html", "Makes a page of its own: a table to sort and to search", kHtmlExamples);
  auto options = std::make_shared<ToHtmlOptions>();
  AddReadOptions(command, *options);
  command.add_option("--title", options->title, "The page's title, in place of the file's name")
      ->type_name("TEXT");
  // A page is to be looked at, not to be converted back.
  options->areLossesAccepted = true;
  command.callback([options] {
    Run(*options, [&](const ByteSink& sink, Losses&, const Source& source) {
      return std::make_unique<PageWriter>(sink, options->title.value_or(LastPart(source.Name())));
    });
  });
}

}  // namespace brindlex::tool
