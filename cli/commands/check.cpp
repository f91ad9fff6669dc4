#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/check/defects.h"
#include "cli/check/file_check.h"
#include "cli/commands/command_line.h"
#include "cli/io/diagnostics.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

struct CheckOptions {
  std::vector<std::string> paths;
  FormatOptions format;
  std::optional<std::string> key;
  bool asJson = false;
};

/// What is found besides defects: for everybody what is unusual, for a person at a terminal that
/// all is well.
void WarnOfResult(const std::string& path, const FileFormat& format, const CheckedFile& checked,
                  std::uint64_t defects) {
  const std::string before = ShownPath(path) + ": ";
  if (!format.hint.empty()) Warn(before + format.hint);
  if (checked.tail.length > 0) {
    Warn(before + "byte " + std::to_string(checked.tail.offset) + ": " +
         Counted(checked.tail.length, "byte") +
         " of line breaks, blanks or end-of-file marks after the last record end, which are no "
         "record");
  }
  if (!system::IsTerminal(system::kStandardError)) return;
  std::string extent = Counted(checked.records, "record");
  if (checked.collections > 0) extent += " in " + Counted(checked.collections, "collection");
  if (defects == 0) {
    WarnPainted(before, Style::kGood, "no defects", ", " + extent);
  } else {
    WarnPainted(before, Style::kBad, Counted(defects, "defect"), ", " + extent);
  }
}

/// Returns whether the file has defects.
bool CheckOne(const std::string& path, const CheckOptions& options, Output& output,
              DefectWriter& writer) {
  const std::uint64_t before = writer.Count();
  writer.BeginFile(path);
  Input input(path);
  const FileFormat format = DetectFormat(input, options.format);
  if (!options.key && !format.named) input.ReadOnce();
  const CheckedFile checked =
      CheckFile(input, format, options.key, [&](const Defect& defect) { writer.Take(defect); });
  if (output.IsTerminal()) output.Flush();
  WarnOfResult(path, format, checked, writer.Count() - before);
  return writer.Count() > before;
}

void Check(const CheckOptions& options, Context& context) {
  Output output(OutputOptions{});
  DefectWriter writer(output, options.asJson);
  for (const std::string& path : ExpandedPaths(options.paths)) {
    try {
      const bool hasDefects = CheckOne(path, options, output, writer);
      if (hasDefects && context.status == ExitStatus::kSuccess) {
        context.status = ExitStatus::kDefects;
      }
    } catch (const Failure& failure) {
      // The other files are checked all the same.
      if (failure.Status() != ExitStatus::kInputOutput) throw;
      Warn(failure.what());
      context.status = failure.Status();
    }
  }
  writer.Finish();
  output.Commit();
}

}  // namespace

void AddCheck(CLI::App& program, Context& context) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App& command =
      AddCommand(program, "check", "Reports every defect: its position and its effect on a restore",
                 "brindlex check books.txt                 file:byte:record:field: what it is; its "
                 "effect\n"
                 "brindlex check --key Title *.txt         duplicate keys too\n"
                 "brindlex check --json books.txt | jq .   for programs\n");
  AddValue(command, "files", options->paths, "FILE", "The files to check; - is standard input")
      ->required();
  AddValue(command, "--key", options->key, "NAME",
           "Report records with the same value in this column");
  command.add_flag("--json", options->asJson, "One JSON array of objects");
  AddFormatOptions(command, options->format);
  command.callback([options, &context] { Check(*options, context); });
}

}  // namespace brindlex::cli
