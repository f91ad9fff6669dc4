#include "cli/commands/write_options.h"

#include "cli/commands/conversion.h"

namespace brindlex::cli {
namespace {

DelimitedForm RequestedForm(const WriteOptions& options) {
  std::optional<Input> like;
  if (options.like) like.emplace(*options.like);
  DelimitedForm form = FormOf(options.format, like ? &*like : nullptr);
  ApplyFormOptions(options, form);
  return form;
}

/// The blocks of an input, one after the other.
class InputBlocks {
 public:
  explicit InputBlocks(Input& input)
      : progress_("reading", input.Size()), window_(input, kWholeInput, &progress_) {}

  std::string_view Next() {
    window_.Consume(window_.Bytes().size());
    window_.Fill();
    return window_.Bytes();
  }

 private:
  Progress progress_;
  InputWindow window_;
};

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
  const DelimitedForm form = RequestedForm(options);
  Input input(options.path);
  RunConversion(options.output, /*allowsLosses=*/false, [&](const ByteSink& sink, Losses&) {
    InputBlocks blocks(input);
    DelimitedWriter writer(sink, form);
    read([&] { return blocks.Next(); }, writer);
    writer.End();
  });
}

}  // namespace brindlex::cli
