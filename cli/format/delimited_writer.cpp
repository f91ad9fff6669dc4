#include "cli/format/delimited_writer.h"

#include <utility>

#include "automation/text.h"
#include "cli/io/input.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

/// How many line breaks stand behind the header's record end.
int BreaksBehindHeader(std::string_view head, const Layout& layout) {
  std::size_t at = head.find(layout.markers.recordEnd, layout.markBytes);
  if (at == std::string_view::npos) return 0;
  at += layout.markers.recordEnd.size();
  constexpr int kMost = 3;
  int breaks = 0;
  for (; breaks < kMost && head.substr(at).starts_with(layout.markers.lineBreak); ++breaks) {
    at += layout.markers.lineBreak.size();
  }
  return breaks;
}

DelimitedForm FormOfFile(const std::string& path, const FormatOptions& format) {
  Input input(path);
  const std::string_view head = input.Head();
  const Layout layout = FindLayout(head, format);
  DelimitedForm form{layout.encoding, {}, layout.markBytes > 0, 0};
  if (!layout.blocks) {
    form.lineBreaks = BreaksBehindHeader(head, layout);
    if (layout.layer != Layer::kOuter) form.pair = layout.pair;
  }
  return form;
}

}  // namespace

DelimitedForm FormOf(const FormatOptions& format, const std::optional<std::string>& like) {
  if (like) return FormOfFile(*like, format);
  const Layout layout = FindLayout({}, format);
  DelimitedForm form{layout.encoding, {}, layout.encoding.UnitSize() > 1, 0};
  if (format.fieldEnd || format.recordEnd) form.pair = layout.pair;
  return form;
}

DelimitedWriter::DelimitedWriter(ByteSink sink, const DelimitedForm& form)
    : sink_(std::move(sink)),
      form_(form),
      outer_(CheckedMarkers(form.pair.value_or(OuterPair()), form.encoding)),
      markers_(outer_),
      guard_(form.encoding) {
  guard_.Forbid(form.pair.value_or(OuterPair()));
  if (form_.hasByteOrderMark) buffer_ += form_.encoding.ByteOrderMark();
}

void DelimitedWriter::BeginNamed() {
  if (form_.pair || form_.lineBreaks > 0) {
    throw Failure(ExitCode::kUsage,
                  "a file of several collections has markers of its own and no line breaks; leave "
                  "--field-end, --record-end and --line-breaks out");
  }
  isNamed_ = true;
  markers_ = CheckedMarkers(InnerPair(), form_.encoding);
}

void DelimitedWriter::BeginCollection(std::string_view name) {
  if (!isNamed_) return;
  // Checked now, so that a name that cannot be written is found before its collection is.
  const std::string where = "the collection " + Quoted(name);
  record_.clear();
  // A name stands in the outer layer alone.
  if (const auto problem = guard_.Append(name, 1, record_)) {
    throw ConversionError(where + ": its name " + *problem);
  }
  name_ = record_;
  if (!collections_.insert(Utf16OfUtf8(name)).second) {
    throw ConversionError(where + " comes twice: the component reads nothing of such a file");
  }
  if (collections_.size() > 1) return;
  names_ = {"DataString", "Name"};
  Record(names_, outer_, "the header");
  guard_.Forbid(InnerPair());
}

void DelimitedWriter::Header(const std::vector<std::string>& names) {
  names_ = names;
  Record(names, markers_, "the header");
}

void DelimitedWriter::Row(const std::vector<std::string>& values, const std::string& where) {
  Record(values, markers_, where);
}

void DelimitedWriter::EndCollection() {
  if (!isNamed_) return;
  buffer_ += outer_.fieldEnd;
  buffer_ += name_;
  buffer_ += outer_.fieldEnd;
  buffer_ += outer_.recordEnd;
  HandOver();
}

void DelimitedWriter::End() { HandOver(/*all=*/true); }

void DelimitedWriter::HandOver(bool all) {
  constexpr std::size_t kLarge = std::size_t{64} * 1024;
  if (buffer_.size() < kLarge && !all) return;
  sink_(buffer_);
  buffer_.clear();
}

void DelimitedWriter::Record(const std::vector<std::string>& values, const ByteMarkers& markers,
                             const std::string& where) {
  record_.clear();
  const std::size_t layers = isNamed_ ? 2 : 1;
  for (std::size_t column = 0; column < values.size(); ++column) {
    if (const auto problem = guard_.Append(values[column], layers, record_)) {
      throw ConversionError(where + ", " + Quoted(names_[column]) + ": it " + *problem);
    }
    record_ += markers.fieldEnd;
  }
  record_ += markers.recordEnd;
  CheckBeginning(markers, where);
  for (int added = 0; added < form_.lineBreaks; ++added) record_ += markers.lineBreak;
  buffer_ += record_;
  isFirst_ = false;
  HandOver();
}

void DelimitedWriter::CheckBeginning(const ByteMarkers& markers, const std::string& where) const {
  if (!isFirst_ && record_.starts_with(markers.lineBreak)) {
    throw ConversionError(where +
                          " begins with a line break, which is dropped behind a record end");
  }
  if (isFirst_ && !form_.hasByteOrderMark && Encoding::Marked(record_)) {
    throw ConversionError(where + " begins like a byte order mark, as which it would be read");
  }
}

}  // namespace brindlex::tool
