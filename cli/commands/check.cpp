#include <fmt/format.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/check/defects.h"
#include "cli/check/file_check.h"
#include "cli/commands/command_line.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

struct CheckOptions {
  std::vector<std::string> paths;
  FormatOptions format;
  std::optional<std::string> key;
  bool asJson = false;
};

std::string Counted(std::uint64_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

/// For a person who waits: nobody else wants to be told that all is well.
void SayResult(const std::string& path, const CheckedFile& checked, std::uint64_t defects) {
  if (!checked.doubt.empty()) Say(ShownPath(path) + ": " + checked.doubt);
  if (!system::IsTerminal(system::kStandardError)) return;
  std::string extent = Counted(checked.records, "record");
  if (checked.collections > 0) extent += " in " + Counted(checked.collections, "collection");
  const std::string before = ShownPath(path) + ": ";
  if (defects == 0) {
    SayPainted(before, Style::kGood, "no defects", ", " + extent);
  } else {
    SayPainted(before, Style::kBad, Counted(defects, "defect"), ", " + extent);
  }
}

void Check(const CheckOptions& options, Context& context) {
  Output output(OutputOptions{});
  DefectWriter writer(output, options.asJson);
  for (const std::string& path : ExpandedPaths(options.paths)) {
    const std::uint64_t before = writer.Count();
    writer.BeginFile(path);
    try {
      const CheckedFile checked = CheckFile(path, options.format, options.key, writer);
      if (output.IsTerminal()) output.Flush();
      SayResult(path, checked, writer.Count() - before);
      if (writer.Count() > before && context.exit == ExitCode::kFine) {
        context.exit = ExitCode::kDefects;
      }
    } catch (const Failure& failure) {
      // The other files are looked at all the same.
      if (failure.Code() != ExitCode::kInputOutput) throw;
      Say(failure.what());
      context.exit = failure.Code();
    }
  }
  writer.Finish();
  output.Commit();
}

}  // namespace

void AddCheck(CLI::App& tool, Context& context) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App& command = AddCommand(
      tool, "check", "Tells every defect with its place, and what the component would do about it",
      "brindlex check books.txt                 file:byte:record:field: what it is; what comes of "
      "it\n"
      "brindlex check --key Title *.txt         duplicate keys too\n"
      "brindlex check --json books.txt | jq .   for machines\n");
  AddInputFiles(command, options->paths, "The files to check; - is standard input");
  command.add_option("--key", options->key, "Tell records with the same value in this column")
      ->type_name("NAME");
  command.add_flag("--json", options->asJson, "One JSON array of objects");
  AddFormatOptions(command, options->format);
  command.callback([options, &context] { Check(*options, context); });
}

}  // namespace brindlex::tool
