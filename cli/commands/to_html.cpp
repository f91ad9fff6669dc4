#include "cli/commands/read_options.h"
#include "cli/convert/table_writers.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex to-html books.txt -o books.html            a page to sort and to search\n"
    "brindlex to-html lists.txt -o lists.html --title 'Our lists'\n";

struct ToHtmlOptions : ReadOptions {
  std::optional<std::string> title;
};

/// A path's last part: the readers of a page need not know where its file is.
std::string LastPart(const std::string& path) {
  if (path == "-") return "standard input";
#ifdef _WIN32
  const std::size_t separator = path.find_last_of("\\/:");
#else
  const std::size_t separator = path.rfind('/');
#endif
  return Escaped(separator == std::string::npos ? path : path.substr(separator + 1));
}

}  // namespace

void AddToHtml(CLI::App& program, Context& /*context*/) {
  CLI::App& command = AddCommand(program, "to-html",
                                 "Makes one HTML page: a table to sort and to search", kExamples);
  auto options = std::make_shared<ToHtmlOptions>();
  AddReadOptions(command, *options);
  AddValue(command, "--title", options->title, "TEXT",
           "The page's title, in place of the file's name");
  // A page is for reading, not for converting back.
  options->allowsLossy = true;
  command.callback([options] {
    ConvertFile(*options, [&](const ByteHandler& writeBytes, LossReport&, const DelimitedForm*) {
      return MakePageWriter(writeBytes, options->title.value_or(LastPart(options->path)));
    });
  });
}

}  // namespace brindlex::cli
