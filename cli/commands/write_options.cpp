#include "cli/commands/write_options.h"

#include "cli/commands/conversion.h"

namespace brindlex::cli {
namespace {

/// The form that the file gets, whose input may carry one.
DelimitedForm RequestedForm(const WriteOptions& options, const DelimitedForm* carried) {
  std::optional<Input> like;
  if (options.like) like.emplace(*options.like);
  DelimitedForm form = carried != nullptr && !like
                           ? Overridden(*carried, options.format)
                           : FormOf(options.format, like ? &*like : nullptr);
  ApplyFormOptions(options, form);
  return form;
}

/// The names of AddFormatOptions, of a file that is made.
void AddNewFormatOptions(CLI::App& command, FormatOptions& options) {
  AddValue(command, "--encoding", options.encoding, "NAME",
           "The encoding of the new file (windows-1252): a Windows code page by its number "
           "(874, 1250 to 1258), utf-8, utf-16, utf-16be");
  AddValue(command, "--field-end", options.fieldEnd, "TEXT",
           "Its field end, as it is or as U+001F (U+00A5)");
  AddValue(command, "--record-end", options.recordEnd, "TEXT",
           "Its record end, in the same way (U+0152)");
}

}  // namespace

void AddFormOptions(CLI::App& command, FormOptions& options) {
  AddValue(command, "--like", options.like, "FILE",
           "Take encoding, markers, byte order mark and line breaks from that file");
  auto* const mark = command.add_flag("--bom", options.wantsByteOrderMark,
                                      "Begin with a byte order mark, as UTF-16 does by default");
  command.add_flag("--no-bom", options.wantsNoByteOrderMark, "Begin without one")->excludes(mark);
  AddValue(command, "--line-breaks", options.lineBreaks, "N",
           "So many line breaks after each record end, 0 to 3")
      ->check(CLI::Range(0, kMostRecordBreaks).description(""));
}

void ApplyFormOptions(const FormOptions& options, DelimitedForm& form) {
  form.hasByteOrderMark =
      (form.hasByteOrderMark || options.wantsByteOrderMark) && !options.wantsNoByteOrderMark;
  if (options.lineBreaks) {
    form.lineBreaks = *options.lineBreaks;
    form.tail.reset();
  }
  if (form.hasByteOrderMark && form.encoding.ByteOrderMark().empty()) {
    throw UsageError(form.encoding.Name() + " has no byte order mark");
  }
}

void AddWriteOptions(CLI::App& command, WriteOptions& options) {
  AddInputFile(command, options.path);
  AddOutputOptions(command, options.output);
  AddNewFormatOptions(command, options.format);
  AddReadingOptions(command, options.format);
  AddFormOptions(command, options);
}

void MakeFile(const WriteOptions& options, const ReadTable& read) {
  Input input(options.path);
  RunConversion(options.output, /*allowsLossy=*/false,
                [&](const ByteHandler& writeBytes, LossReport&) {
                  Progress progress("reading", input.Size());
                  std::unique_ptr<TableWriter> writer;
                  const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
                    progress.Show(offset);
                    return input.Read(offset, to, size);
                  };
                  read(source, [&](const DelimitedForm* carried) -> TableWriter& {
                    writer = MakeDelimitedWriter(writeBytes, RequestedForm(options, carried));
                    return *writer;
                  });
                  writer->End();
                });
}

}  // namespace brindlex::cli
