#include <memory>

#include "cli/commands/conversion.h"
#include "cli/commands/convert_commands.h"
#include "cli/commands/csv_options.h"
#include "cli/convert/csv_input.h"
#include "cli/convert/json_input.h"
#include "cli/format/delimited_writer.h"
#include "cli/io/source.h"

namespace brindlex::tool {
namespace {

constexpr const char* kJsonExamples =
    "brindlex from-json books.json -o books.txt\n"
    "brindlex from-json new.json --like books.txt -o new.txt   the form of another file\n"
    "brindlex from-json data.json --null '' -o data.txt        nulls as empty texts\n"
    "brindlex to-json a.txt | jq 'sort_by(.Title)' | brindlex from-json - -o b.txt\n";
constexpr const char* kCsvExamples =
    "brindlex from-csv books.csv -o books.txt\n"
    "brindlex from-csv books.csv --delimiter ';' -o books.txt\n"
    "brindlex from-csv new.csv --like books.txt -o new.txt     the form of another file\n";

/// What the commands that write a file share.
struct WriteOptions {
  std::string path;
  OutputOptions output;
  FormatOptions format;
  std::optional<std::string> like;
  bool isMarkWanted = false;
  bool isMarkUnwanted = false;
  std::optional<int> lineBreaks;
};

void AddWriteOptions(CLI::App& command, WriteOptions& options) {
  constexpr int kMostLineBreaks = 3;
  AddInputFile(command, options.path);
  AddOutputOptions(command, options.output);
  AddFormatOptions(command, options.format);
  command
      .add_option("--like", options.like,
                  "Take encoding, markers, byte order mark and line breaks of that file")
      ->type_name("FILE");
  auto* const mark = command.add_flag("--bom", options.isMarkWanted,
                                      "Begin with a byte order mark, as UTF-16 does by itself");
  command.add_flag("--no-bom", options.isMarkUnwanted, "Begin without one")->excludes(mark);
  command
      .add_option("--line-breaks", options.lineBreaks,
                  "So many line breaks behind each record end, 0 to 3 (0)")
      ->type_name("N")
      ->check(CLI::Range(0, kMostLineBreaks));
}

DelimitedForm FormOf(const WriteOptions& options) {
  DelimitedForm form = FormOf(options.format, options.like);
  form.hasByteOrderMark =
      (form.hasByteOrderMark || options.isMarkWanted) && !options.isMarkUnwanted;
  form.lineBreaks = options.lineBreaks.value_or(form.lineBreaks);
  if (form.hasByteOrderMark && form.encoding.ByteOrderMark().empty()) {
    throw Failure(ExitCode::kUsage, form.encoding.Name() + " has no byte order mark");
  }
  return form;
}

/// `read` hands what is in a source to a target.
template <class Read>
void Run(const WriteOptions& options, const Read& read) {
  const DelimitedForm form = FormOf(options);
  const Source source(options.path);
  RunConversion(options.output, /*areAccepted=*/false, [&](const ByteSink& sink, Losses&) {
    const std::unique_ptr<Input> input = source.Open();
    DelimitedWriter writer(sink, form);
    read([&] { return source.Next(*input); }, writer);
    writer.End();
  });
}

struct FromJsonOptions : WriteOptions {
  JsonStyle json;
};

struct FromCsvOptions : WriteOptions {
  CsvOptions csv;
};

}  // namespace

void AddFromJson(CLI::App& tool, Context& /*context*/) {
  CLI::App& command = AddCommand(tool, "from-json", "Makes a file of JSON", kJsonExamples);
  auto options = std::make_shared<FromJsonOptions>();
  AddWriteOptions(command, *options);
  command.add_option("--null", options->json.null, "What a null becomes; without it none is taken")
      ->type_name("TEXT");
  command.callback([options] {
    Run(*options, [&](const BlockSource& source, TableTarget& target) {
      ReadJson(source, options->json, target);
    });
  });
}

void AddFromCsv(CLI::App& tool, Context& /*context*/) {
  CLI::App& command =
      AddCommand(tool, "from-csv", "Makes a file of comma-separated values", kCsvExamples);
  auto options = std::make_shared<FromCsvOptions>();
  AddWriteOptions(command, *options);
  AddCsvOptions(command, options->csv);
  command.callback([options] {
    const CsvStyle style = StyleOf(options->csv);
    Run(*options,
        [&](const BlockSource& source, TableTarget& target) { ReadCsv(source, style, target); });
  });
}

}  // namespace brindlex::tool
