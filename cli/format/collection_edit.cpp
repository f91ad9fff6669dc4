#include "cli/format/block_edit.h"

#include <algorithm>
#include <utility>

#include "cli/convert/table_reader.h"
#include "cli/convert/table_target.h"
#include "cli/format/block_writer.h"
#include "cli/format/marker_guard.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

/// Hands over the bytes of an input from one place to another, as they are.
class RangeReader {
 public:
  RangeReader(const Source& source, Input& input) : source_(source), input_(input) {}

  template <class Each>
  void Read(std::uint64_t begin, std::uint64_t end, const Each& each) {
    while (at_ < end) {
      if (rest_.empty()) rest_ = source_.Next(input_);
      if (rest_.empty()) return;
      const std::uint64_t most = at_ < begin ? begin - at_ : end - at_;
      const std::string_view part =
          rest_.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(most, rest_.size())));
      if (at_ >= begin) each(part);
      at_ += part.size();
      rest_.remove_prefix(part.size());
    }
  }

 private:
  const Source& source_;
  Input& input_;
  std::string_view rest_;
  std::uint64_t at_ = 0;
};

/// A sink of a walk that writes the text again, with other markers.
class MarkerChange {
 public:
  MarkerChange(const ByteMarkers& markers, const ByteSink& sink) : markers_(markers), sink_(sink) {}

  void FieldPiece(std::string_view bytes, std::uint64_t /*at*/) { Append(bytes); }
  void FieldEnd(std::uint64_t /*at*/) { Append(markers_.fieldEnd); }
  void RecordEnd(std::uint64_t /*at*/) { Append(markers_.recordEnd); }
  void LineBreak(std::uint64_t /*at*/) { Append(markers_.lineBreak); }

  void End() {
    sink_(buffer_);
    buffer_.clear();
  }

 private:
  void Append(std::string_view bytes) {
    constexpr std::size_t kLarge = std::size_t{64} * 1024;
    buffer_ += bytes;
    if (buffer_.size() >= kLarge) End();
  }

  const ByteMarkers& markers_;
  const ByteSink& sink_;
  std::string buffer_;
};

std::function<void(const ByteSink&)> Bytes(std::string bytes) {
  return [bytes = std::move(bytes)](const ByteSink& sink) { sink(bytes); };
}

}  // namespace

void Splice(const Source* source, const std::vector<Edit>& edits, const ByteSink& sink) {
  if (source == nullptr) {
    for (const Edit& edit : edits) edit.write(sink);
    return;
  }
  const std::unique_ptr<Input> input = source->Open();
  RangeReader reader(*source, *input);
  std::uint64_t at = 0;
  for (const Edit& edit : edits) {
    reader.Read(at, edit.begin, sink);
    edit.write(sink);
    at = edit.end;
  }
  reader.Read(at, UINT64_MAX, sink);
}

BlockEditor BlockEditor::OfNewFile(const Source& like, const FormatOptions& format) {
  BlockEditor editor;
  editor.layout_ = FindLayout(like.Open()->Head(), format);
  editor.layout_.blocks.reset();
  return editor;
}

BlockEditor::BlockEditor(const Source& file, const FormatOptions& format) : file_(&file) {
  const std::unique_ptr<Input> input = file.Open();
  const std::string_view head = input->Head();
  layout_ = FindLayout(head, format);
  if (layout_.blocks) {
    index_ = IndexBlocks(file, *input, layout_);
    return;
  }
  if (head.size() > layout_.markBytes) {
    throw Failure(ExitCode::kUsage,
                  ShownPath(file.Name()) + " holds a single collection, not several by name");
  }
  index_.headerEnd = index_.end = layout_.markBytes;
}

const BlockPlace& BlockEditor::Found(const std::string& name) const {
  const auto at = index_.Find(name);
  if (at) return index_.blocks[*at];
  throw Failure(ExitCode::kUsage, ShownPath(file_->Name()) + " holds no collection " +
                                      Quoted(name) + "; it holds " + index_.Listed());
}

std::string BlockEditor::NameBytes(const std::string& name) const {
  if (name.empty()) {
    throw Failure(ExitCode::kUsage, "a collection without a name is never found again");
  }
  MarkerGuard guard(layout_.encoding);
  guard.Forbid(OuterPair());
  std::string bytes;
  if (const auto problem = guard.Append(name, 1, bytes)) {
    throw ConversionError("the name " + Quoted(name) + " cannot be written: it " + *problem);
  }
  return bytes;
}

void BlockEditor::Extract(const std::string& name, bool keepsMarkers, const ByteSink& sink) const {
  const BlockPlace& block = Found(name);
  const ByteMarkers markers =
      CheckedMarkers(keepsMarkers ? InnerPair() : OuterPair(), layout_.encoding);
  if (layout_.markBytes > 0) sink(layout_.encoding.ByteOrderMark());
  MarkerChange change(markers, sink);
  MarkerWalk walk(*layout_.inner, block.dataBegin);
  const std::unique_ptr<Input> input = file_->Open();
  RangeReader(*file_, *input).Read(block.dataBegin, block.dataEnd, [&](std::string_view part) {
    walk.Feed(part, change);
  });
  walk.Finish(change);
  change.End();
}

void BlockEditor::Remove(const std::string& name, const ByteSink& sink) const {
  const BlockPlace& block = Found(name);
  const bool isLast = index_.blocks.size() == 1;
  Splice(file_,
         {isLast ? Edit{layout_.markBytes, index_.end, Bytes({})}
                 : Edit{block.begin, block.end, Bytes({})}},
         sink);
}

void BlockEditor::Rename(const std::string& name, const std::string& newName,
                         const ByteSink& sink) const {
  const BlockPlace& block = Found(name);
  const auto taken = index_.Find(newName);
  if (taken && &index_.blocks[*taken] != &block) {
    throw ConversionError("there is a collection " + Quoted(index_.blocks[*taken].name) +
                          " already");
  }
  Splice(file_, {{block.nameBegin, block.nameEnd, Bytes(NameBytes(newName))}}, sink);
}

std::string BlockEditor::HeaderBytes(const ByteMarkers& outer) const {
  std::string bytes;
  for (const char* const name : {"DataString", "Name"}) {
    layout_.encoding.FromUtf8(name, bytes);
    bytes += outer.fieldEnd;
  }
  return bytes + outer.recordEnd;
}

void BlockEditor::Add(const std::string& name, const Source& added,
                      const FormatOptions& addedFormat, bool replaces, const ByteSink& sink,
                      Losses& losses) const {
  const auto taken = index_.Find(name);
  if (taken && !replaces) {
    throw ConversionError("there is a collection " + Quoted(index_.blocks[*taken].name) +
                          " already; --replace puts the new one in its place");
  }
  const BlockColumns columns = layout_.blocks.value_or(BlockColumns{0, 1, 2, true});
  if (columns.count != 2 || columns.data != 0 || !columns.areSpelledExactly) {
    throw ConversionError(
        "the header of the blocks is not DataString, Name: the component would not find the "
        "collection");
  }
  const std::string nameBytes = NameBytes(name);
  const auto writeText = [&](const ByteSink& to) {
    BlockWriter writer(to, layout_.encoding);
    ReadTables(added, addedFormat, {}, writer, losses);
  };
  if (taken) {
    const BlockPlace& block = index_.blocks[*taken];
    Splice(file_,
           {{block.dataBegin, block.dataEnd, writeText},
            {block.nameBegin, block.nameEnd, Bytes(nameBytes)}},
           sink);
    return;
  }
  const ByteMarkers outer = CheckedMarkers(OuterPair(), layout_.encoding);
  const auto writeBlock = [&](const ByteSink& to) {
    if (file_ == nullptr && layout_.markBytes > 0) to(layout_.encoding.ByteOrderMark());
    if (!layout_.blocks) to(HeaderBytes(outer));
    writeText(to);
    to(outer.fieldEnd + nameBytes + outer.fieldEnd + outer.recordEnd);
  };
  Splice(file_, {{index_.end, index_.end, writeBlock}}, sink);
}

}  // namespace brindlex::tool
