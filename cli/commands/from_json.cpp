#include <memory>

#include "cli/commands/write_options.h"
#include "cli/convert/json_input.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex from-json books.json -o books.txt\n"
    "brindlex from-json new.json --like books.txt -o new.txt   the format of another file\n"
    "brindlex from-json data.json --null '' -o data.txt        nulls as empty texts\n"
    "brindlex to-json a.txt | jq 'sort_by(.Title)' | brindlex from-json - -o b.txt\n";

struct FromJsonOptions : WriteOptions {
  JsonStyle json;
};

}  // namespace

void AddFromJson(CLI::App& program, Context& /*context*/) {
  CLI::App& command = AddCommand(program, "from-json", "Converts JSON to a file", kExamples);
  auto options = std::make_shared<FromJsonOptions>();
  AddWriteOptions(command, *options);
  AddValue(command, "--null", options->json.null, "TEXT",
           "The text for a null; without it a null is refused");
  command.callback([options] {
    MakeFile(*options, [&](const ReadAt& source, const WriterMaker& makeWriter) {
      ReadJson(source, options->json, makeWriter);
    });
  });
}

}  // namespace brindlex::cli
