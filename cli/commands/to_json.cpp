#include "cli/commands/read_options.h"
#include "cli/convert/table_writers.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex to-json books.txt                          an array of objects, one to a line\n"
    "brindlex to-json books.txt -o books.json --infer    numbers as numbers, True as true\n"
    "brindlex to-json books.txt --lines | grep Moby      one object a line, no array\n"
    "brindlex to-json books.txt --with-format -o books.json    from-json makes the same file\n"
    "brindlex to-json lists.txt                          an object of arrays, by name\n"
    "brindlex to-json lists.txt Items                    one collection of several\n";

struct ToJsonOptions : ReadOptions {
  JsonOptions json;
};

}  // namespace

void AddToJson(CLI::App& program, Context& /*context*/) {
  CLI::App& command = AddCommand(program, "to-json", "Converts a file to JSON", kExamples);
  auto options = std::make_shared<ToJsonOptions>();
  AddReadOptions(command, *options);
  command.add_flag("--infer", options->json.infer,
                   "Numbers and flags as such, where that leads back to the same text");
  auto* const lines = command.add_flag("--lines", options->json.lines,
                                       "One object a line, without an array around them");
  command
      .add_flag("--arrays", options->json.arrays,
                "Rows as arrays, the first with the names; keeps names that come twice, and a "
                "header without records")
      ->excludes(lines);
  AddRoundTrip(command, *options).excludes(lines);
  command.callback([options] {
    ConvertFile(*options, [&](const ByteHandler& writeBytes, LossReport& lossReport,
                              const DelimitedForm* form) {
      options->json.form = form;
      return MakeJsonWriter(writeBytes, options->json, lossReport);
    });
  });
}

}  // namespace brindlex::cli
