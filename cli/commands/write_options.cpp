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

}  // namespace

void AddFormOptions(CLI::App& command, FormOptions& options) {
  command
      .add_option("--like", options.like,
                  "Take encoding, markers, byte order mark and line breaks from that file")
      ->type_name("FILE");
  auto* const mark = command.add_flag("--bom", options.wantsByteOrderMark,
                                      "Begin with a byte order mark, as UTF-16 does by default");
  command.add_flag("--no-bom", options.wantsNoByteOrderMark, "Begin without one")->excludes(mark);
  command
      .add_option("--line-breaks", options.lineBreaks,
                  "So many line breaks after each record end, 0 to 3 (0)")
      ->type_name("N")
      ->check(CLI::Range(0, MostLineBreaks()));
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
  AddFormatOptions(command, options.format);
  AddReadingOptions(command, options.format);
  AddFormOptions(command, options);
}

void MakeFile(const WriteOptions& options, const ReadTable& read) {
  Input input(options.path);
  RunConversion(options.output, /*allowsLosses=*/false, [&](const ByteSink& sink, Losses&) {
    Progress progress("reading", input.Size());
    std::optional<DelimitedWriter> writer;
    const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
      progress.Show(offset);
      return input.Read(offset, to, size);
    };
    read(source, [&](const DelimitedForm* carried) -> TableWriter& {
      return writer.emplace(sink, RequestedForm(options, carried));
    });
    writer->End();
  });
}

}  // namespace brindlex::cli
