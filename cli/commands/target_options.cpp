#include "cli/commands/target_options.h"

namespace brindlex::cli {
namespace {

void Transcode(const Encoding& from, const Encoding& to, std::string& bytes) {
  std::string text;
  from.ToUtf8(bytes, text);
  bytes.clear();
  to.FromUtf8(text, bytes);
}

void RequestEncoding(const std::string& name, DelimitedForm& form) {
  const Encoding old = form.encoding;
  form.encoding = RequireEncoding(name);
  if (form.encoding.Name() == old.Name()) return;
  form.hasByteOrderMark = form.encoding.UnitSize() > 1;
  if (form.tail) Transcode(old, form.encoding, *form.tail);
}

void RequestMarkers(const TargetOptions& options, DelimitedForm& form) {
  MarkerPair pair = form.pair.value_or(OuterMarkers());
  if (options.fieldEnd) pair.fieldEnd = ParseMarker(*options.fieldEnd);
  if (options.recordEnd) pair.recordEnd = ParseMarker(*options.recordEnd);
  form.pair.reset();
  if (pair != OuterMarkers()) form.pair = pair;
}

}  // namespace

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

}  // namespace brindlex::cli
