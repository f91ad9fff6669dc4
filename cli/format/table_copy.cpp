#include "cli/convert/table_reader.h"

#include "cli/format/block_index.h"
#include "cli/format/record_reader.h"
#include "cli/format/walk_input.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

void ReadSingle(const Source& source, Input& input, const Layout& layout, TableWriter& writer,
                Losses& losses) {
  RecordReader reader(layout.encoding, writer, losses);
  MarkerWalk walk(layout.markers, layout.markBytes);
  reader.Begin({}, layout.markBytes);
  WalkInput(source, input, layout, walk, reader);
  reader.End();
}

/// A sink over the outer layer that walks over the texts of the blocks.
class BlockReader {
 public:
  BlockReader(const Layout& layout, const BlockIndex& index, std::optional<std::size_t> only,
              TableWriter& writer, Losses& losses)
      : columns_(*layout.blocks),
        index_(index),
        only_(only),
        losses_(losses),
        reader_(layout.encoding, writer, losses),
        inner_(*layout.inner) {}

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (!IsWanted()) return;
    if (!isBegun_) Begin(at);
    inner_.Feed(bytes, reader_);
  }

  void FieldEnd(std::uint64_t at) {
    if (IsWanted()) {
      if (!isBegun_) Begin(at);
      inner_.Finish(reader_);
      reader_.End();
      isBegun_ = false;
    }
    ++column_;
  }

  void RecordEnd(std::uint64_t /*at*/) {
    ++record_;
    column_ = 0;
  }

  void LineBreak(std::uint64_t at) {
    if (!only_) losses_.Add("a line break behind a record end", at);
  }

 private:
  /// Whether the field is the text of a block that is to be read; record 0 is the header.
  bool IsWanted() const {
    return record_ > 0 && column_ == columns_.data && (!only_ || *only_ == record_ - 1);
  }

  void Begin(std::uint64_t at) {
    isBegun_ = true;
    inner_.Restart(at);
    reader_.Begin(only_ ? std::string_view() : index_.blocks[record_ - 1].name, at);
  }

  const BlockColumns columns_;
  const BlockIndex& index_;
  const std::optional<std::size_t> only_;
  Losses& losses_;
  RecordReader reader_;
  MarkerWalk inner_;
  std::size_t record_ = 0;
  std::size_t column_ = 0;
  bool isBegun_ = false;
};

void ReadNamed(const Source& source, Input& input, const Layout& layout, const BlockIndex& index,
               const TableChoice& choice, TableWriter& writer, Losses& losses) {
  std::optional<std::size_t> only;
  if (choice.collection) {
    only = index.Find(*choice.collection);
    if (!only) {
      throw Failure(ExitCode::kUsage, ShownPath(input.Name()) + " holds no collection " +
                                          Quoted(*choice.collection) + "; it holds " +
                                          index.Listed());
    }
  } else {
    writer.BeginNamed();
    const BlockColumns& columns = *layout.blocks;
    if (columns.count != 2 || columns.data != 0 || !columns.areSpelledExactly) {
      losses.Add("a header of blocks other than DataString and Name, in this order",
                 layout.markBytes);
    }
  }
  BlockReader reader(layout, index, only, writer, losses);
  MarkerWalk walk(layout.markers, layout.markBytes);
  WalkInput(source, input, layout, walk, reader);
}

}  // namespace

void ReadTables(const Source& source, const FormatOptions& format, const TableChoice& choice,
                TableWriter& writer, Losses& losses) {
  std::unique_ptr<Input> input = source.Open();
  const Layout layout = FindLayout(input->Head(), format);
  if (layout.blocks && !choice.isPlain) {
    const BlockIndex index = IndexBlocks(source, *input, layout);
    input = source.Open();
    ReadNamed(source, *input, layout, index, choice, writer, losses);
  } else {
    if (choice.collection) {
      throw Failure(ExitCode::kUsage,
                    ShownPath(input->Name()) + " holds one collection, without a name");
    }
    ReadSingle(source, *input, layout, writer, losses);
  }
  writer.End();
}

}  // namespace brindlex::tool
