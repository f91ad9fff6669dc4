#include <memory>

#include "cli/commands/command_line.h"
#include "cli/commands/conversion.h"
#include "cli/commands/write_options.h"
#include "cli/format/collection_reader.h"
#include "cli/format/table_copy.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex recode books.txt --to-encoding utf-8 --bom -o books-utf8.txt\n"
    "brindlex recode books.txt --to-field-end U+001F --to-record-end U+001E --in-place\n"
    "brindlex recode books.txt --line-breaks 1 --in-place       a record on each line\n"
    "brindlex recode new.txt --like books.txt --in-place        the form of another file\n";

/// All that recode can lose of a single collection are line breaks.
constexpr std::string_view kLineBreaksHint =
    "--line-breaks N gives all records the same number, --lossy that of the first";

struct RecodeOptions {
  std::string path;
  FormatOptions format;
  TargetOptions target;
  OutputOptions output;
  bool isInPlace = false;
  bool allowsLossy = false;
};

void Recode(const RecodeOptions& options) {
  const OutputOptions target = InPlaceTarget(options.path, options.output, options.isInPlace);
  Input input(options.path);
  const FileFormat format = DetectFormat(input, options.format);
  const DelimitedForm form = TargetForm(options.target, input, options.format);
  const bool hasOwnBreaks = options.target.lineBreaks || options.target.like;
  const int lineBreaks = hasOwnBreaks ? kAnyLineBreaks : form.lineBreaks;
  RunConversion(
      target, options.allowsLossy,
      [&](const ByteHandler& writeBytes, LossReport& lossReport) {
        const auto writer = MakeDelimitedWriter(writeBytes, form);
        CopyTables(input, format, {}, *writer, lossReport, lineBreaks);
      },
      &input, format.named ? kLossyHint : kLineBreaksHint);
}

}  // namespace

void AddRecode(CLI::App& program, Context& /*context*/) {
  CLI::App& command =
      AddCommand(program, "recode",
                 "Changes encoding, byte order mark, markers and line breaks of a file", kExamples);
  auto options = std::make_shared<RecodeOptions>();
  AddInputFile(command, options->path);
  AddOutputOptions(command, options->output);
  AddInPlace(command, options->isInPlace);
  AddTargetOptions(command, options->target);
  AddFormatOptions(command, options->format);
  command.add_flag("--lossy", options->allowsLossy,
                   "Write it even if more than its form changes; warn of what is left out");
  command.callback([options] { Recode(*options); });
}

}  // namespace brindlex::cli
