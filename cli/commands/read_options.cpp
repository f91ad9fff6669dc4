#include "cli/commands/read_options.h"

#include "cli/commands/conversion.h"
#include "cli/format/table_copy.h"

namespace brindlex::cli {

void AddReadOptions(CLI::App& command, ReadOptions& options) {
  AddInputFile(command, options.path);
  AddValue(command, "name", options.name, "NAME", "One collection of a file of several");
  AddOutputOptions(command, options.output);
  AddFormatOptions(command, options.format);
}

CLI::Option& AddRoundTrip(CLI::App& command, ReadOptions& options) {
  CLI::Option* const withFormat = command.add_flag(
      "--with-format", options.withFormat,
      "Carry encoding, byte order mark, markers and line breaks, so that converting back gives the "
      "same file");
  command.add_flag("--lossy", options.allowsLossy,
                   "Convert even if converting back gives another file; warn of what is left out");
  return *withFormat;
}

namespace {

/// What to do if --with-format cannot carry line breaks because their number differs.
constexpr std::string_view kUnevenHint =
    "recode --line-breaks N gives all records the same number, --lossy leaves it out";

/// The form that the conversion carries.
DelimitedForm CarriedForm(Input& input, const FileFormat& format, const ReadOptions& options) {
  DelimitedForm form = FormOfFile(input, format, options.name.has_value());
  const FormatOptions& given = options.format;
  form.isGiven =
      given.encoding || given.fieldEnd || given.recordEnd || given.reading != Reading::kDetected;
  return form;
}

}  // namespace

void ConvertFile(const ReadOptions& options, const MakeWriter& makeWriter) {
  Input input(options.path);
  const FileFormat format = DetectFormat(input, options.format);
  std::optional<DelimitedForm> form;
  if (options.withFormat) form = CarriedForm(input, format, options);
  const auto convert = [&](const ByteHandler& writeBytes, LossReport& lossReport) {
    const auto writer = makeWriter(writeBytes, lossReport, form ? &*form : nullptr);
    CopyTables(input, format, options.name, *writer, lossReport, form ? form->lineBreaks : 0);
    const bool isEmpty = input.Size() == format.markBytes;
    if (form && !form->tail && !options.name && !isEmpty) {
      lossReport.Add("more than 64 KB of line breaks, blanks or NUL to the end", *input.Size());
    }
  };
  RunConversion(options.output, options.allowsLossy, convert, nullptr,
                form ? kUnevenHint : "--with-format keeps it, --lossy leaves it out");
}

}  // namespace brindlex::cli
