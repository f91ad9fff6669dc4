#include "cli/commands/write_options.h"

#include "cli/commands/conversion.h"

namespace brindlex::cli {
namespace {

void RequestEncoding(const std::string& name, DelimitedForm& form) {
  const Encoding old = form.encoding;
  form.encoding = RequireEncoding(name);
  if (form.encoding.Name() == old.Name()) return;
  form.hasByteOrderMark = form.encoding.UnitSize() > 1;
  if (!form.tail) return;
  std::string text;
  old.ToUtf8(*form.tail, text);
  form.tail->clear();
  form.encoding.FromUtf8(text, *form.tail);
}

void RequestMarkers(const TargetOptions& options, DelimitedForm& form) {
  MarkerPair pair = form.pair.value_or(OuterMarkers());
  if (options.fieldEnd) pair.fieldEnd = ParseMarker(*options.fieldEnd);
  if (options.recordEnd) pair.recordEnd = ParseMarker(*options.recordEnd);
  form.pair.reset();
  if (pair != OuterMarkers()) form.pair = pair;
}

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

void AddTargetOptions(CLI::App& command, TargetOptions& options) {
  AddValue(command, "--to-encoding", options.encoding, "NAME",
           "The encoding of the new file, by the names that --encoding takes");
  AddValue(command, "--to-field-end", options.fieldEnd, "TEXT",
           "Its field end, as it is or as U+001F");
  AddValue(command, "--to-record-end", options.recordEnd, "TEXT",
           "Its record end, in the same way");
  AddFormOptions(command, options);
}

DelimitedForm TargetForm(const TargetOptions& options, Input& source,
                         const FormatOptions& reading) {
  std::optional<Input> like;
  if (options.like) like.emplace(*options.like);
  // What follows the last record of a pipe is known when all of it was read.
  if (!like && !source.Size()) ReadExtent(source, kWholeInput, [](std::string_view) {});
  DelimitedForm form = like ? FormOf({}, &*like) : FormOf(reading, &source);
  if (options.encoding) RequestEncoding(*options.encoding, form);
  RequestMarkers(options, form);
  ApplyFormOptions(options, form);
  form.reading = reading.reading;
  form.choice = Choice::kTarget;
  return form;
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
