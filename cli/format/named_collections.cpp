#include "cli/format/block_index.h"

#include <utility>

#include "automation/text.h"
#include "cli/convert/table_target.h"
#include "cli/format/name_tables.h"
#include "cli/format/walk_input.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

[[noreturn]] void Fail(std::uint64_t at, const std::string& what) {
  throw ConversionError("byte " + std::to_string(at) + ": " + what);
}

/// A sink over the outer layer.
class IndexSink {
 public:
  explicit IndexSink(const Layout& layout)
      : columns_(*layout.blocks),
        markers_(layout.markers),
        encodingName_(layout.encoding.Name()),
        decoder_(layout.encoding),
        recordBegin_(layout.markBytes),
        fieldBegin_(layout.markBytes) {}

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    isBegun_ = true;
    if (record_ == 0 || column_ != columns_.name) return;
    std::uint64_t badAt = 0;
    if (!decoder_.Feed(bytes, at, block_.name, badAt)) {
      Fail(badAt, "no character of " + encodingName_);
    }
  }

  void FieldEnd(std::uint64_t at) {
    if (record_ > 0 && column_ == columns_.data) {
      block_.dataBegin = fieldBegin_;
      block_.dataEnd = at;
    }
    if (record_ > 0 && column_ == columns_.name) {
      std::uint64_t badAt = 0;
      if (!decoder_.Finish(badAt)) Fail(badAt, "no character of " + encodingName_);
      block_.nameBegin = fieldBegin_;
      block_.nameEnd = at;
    }
    ++column_;
    isBegun_ = false;
    fieldBegin_ = at + markers_.fieldEnd.size();
  }

  void RecordEnd(std::uint64_t at) {
    if (isBegun_) Fail(at, "text behind the last field end of a block");
    if (column_ != columns_.count) {
      Fail(at, "a block of " + std::to_string(column_) + " values, where the header has " +
                   std::to_string(columns_.count) + " names");
    }
    if (record_ > 0) TakeBlock();
    ++record_;
    column_ = 0;
    SetBegin(at + markers_.recordEnd.size());
  }

  void LineBreak(std::uint64_t at) { SetBegin(at + markers_.lineBreak.size()); }

  BlockIndex Take(std::uint64_t end) {
    if (isBegun_ || column_ > 0) Fail(recordBegin_, "the last block has no record end");
    index_.end = end;
    return std::move(index_);
  }

 private:
  void SetBegin(std::uint64_t at) {
    recordBegin_ = fieldBegin_ = at;
    if (index_.blocks.empty()) {
      index_.headerEnd = at;
    } else {
      index_.blocks.back().end = at;
    }
  }

  void TakeBlock() {
    block_.begin = recordBegin_;
    const Text name = Utf16OfUtf8(block_.name);
    if (!known_.insert(name).second) {
      Fail(block_.nameBegin, "a second block named " + Quoted(block_.name) +
                                 ": the component reads nothing of such a file");
    }
    index_.blocks.push_back(std::move(block_));
    block_ = {};
  }

  const BlockColumns columns_;
  const ByteMarkers& markers_;
  const std::string encodingName_;
  PieceDecoder decoder_;
  BlockIndex index_;
  FoldedNameSet known_;
  BlockPlace block_;
  std::uint64_t record_ = 0;
  std::size_t column_ = 0;
  std::uint64_t recordBegin_;
  std::uint64_t fieldBegin_;
  bool isBegun_ = false;
};

}  // namespace

bool IsSameName(std::string_view left, std::string_view right) {
  return EqualIgnoringCase(Utf16OfUtf8(left), Utf16OfUtf8(right));
}

std::optional<std::size_t> BlockIndex::Find(std::string_view name) const {
  for (std::size_t at = 0; at < blocks.size(); ++at) {
    if (IsSameName(blocks[at].name, name)) return at;
  }
  return std::nullopt;
}

std::string BlockIndex::Listed() const {
  std::string list;
  for (std::size_t at = 0; at < blocks.size(); ++at) AppendToList(list, blocks[at].name, at);
  return blocks.empty() ? "none" : list;
}

BlockIndex IndexBlocks(const Source& source, Input& input, const Layout& layout) {
  IndexSink sink(layout);
  MarkerWalk walk(layout.markers, layout.markBytes);
  WalkInput(source, input, layout, walk, sink);
  return sink.Take(input.Given());
}

}  // namespace brindlex::tool
