#include "cli/format/blocks.h"

#include "automation/text.h"
#include "cli/check/defects.h"
#include "cli/check/text_check.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

class NoDefects : public DefectSink {
 public:
  void Take(const Defect&) override {}
};

/// A sink of the outer layer's walk.
class BlockWalk {
 public:
  BlockWalk(const Layout& layout, bool countsRecords, const std::function<bool(const Block&)>& each)
      : layout_(layout),
        columns_(*layout.blocks),
        countsRecords_(countsRecords),
        each_(each),
        inner_(layout.encoding, *layout.inner, TextRole::kCollection, none_, nullptr) {}

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (isHeader_) return;
    if (field_ == columns_.data) {
      BeginData(at);
      block_.bytes += bytes.size();
      if (countsRecords_) inner_.Feed(bytes, at);
    } else if (field_ == columns_.name) {
      constexpr std::size_t kMost = 400;
      if (name_.size() < kMost) name_.append(bytes.substr(0, kMost));
    }
  }

  void FieldEnd(std::uint64_t at) {
    if (!isHeader_ && field_ == columns_.data) {
      BeginData(at);
      if (countsRecords_) inner_.Finish(at);
    }
    ++field_;
  }

  void RecordEnd(std::uint64_t) {
    if (!isHeader_) HandOver();
    isHeader_ = false;
    field_ = 0;
    hasData_ = false;
    name_.clear();
    block_.bytes = 0;
  }

  void LineBreak(std::uint64_t) {}

  bool IsDone() const { return isDone_; }

 private:
  void BeginData(std::uint64_t at) {
    if (hasData_) return;
    hasData_ = true;
    block_.at = at;
    if (countsRecords_) inner_.Begin(at, 0, std::nullopt);
  }

  void HandOver() {
    ++block_.number;
    if (isDone_) return;
    block_.name.clear();
    layout_.encoding.ToUtf8(name_, block_.name);
    const bool isCounted = countsRecords_ && hasData_;
    block_.records = isCounted ? inner_.Records() : 0;
    block_.fields = isCounted ? inner_.Fields() : 0;
    isDone_ = !each_(block_);
  }

  const Layout& layout_;
  BlockColumns columns_;
  bool countsRecords_;
  const std::function<bool(const Block&)>& each_;
  NoDefects none_;
  TextCheck inner_;
  Block block_;
  std::string name_;
  std::size_t field_ = 0;
  bool isHeader_ = true;
  bool hasData_ = false;
  bool isDone_ = false;
};

}  // namespace

void EachBlock(Input& input, const Layout& layout, bool countsRecords,
               const std::function<bool(const Block&)>& each, Progress& progress) {
  BlockWalk blocks(layout, countsRecords, each);
  MarkerWalk walk(layout.markers, layout.markBytes);
  for (auto block = input.Next(); !block.empty() && !blocks.IsDone(); block = input.Next()) {
    const bool isFirst = input.Given() == block.size();
    walk.Feed(block.substr(isFirst ? layout.markBytes : 0), blocks);
    progress.Show(input.Given());
  }
  if (!blocks.IsDone()) walk.Finish(blocks);
}

Block FindBlock(Input& input, const Layout& layout, const std::string& name, Progress& progress) {
  const Text sought = Utf16OfUtf8(name);
  std::optional<Block> found;
  std::string names;
  std::size_t count = 0;
  EachBlock(
      input, layout, false,
      [&](const Block& block) {
        if (EqualIgnoringCase(Utf16OfUtf8(block.name), sought)) found = block;
        AppendToList(names, block.name, count++);
        return !found.has_value();
      },
      progress);
  if (found) return *found;
  throw Failure(ExitCode::kUsage, "there is no collection " + Quoted(name) + " in " +
                                      ShownPath(input.Name()) +
                                      (names.empty() ? "" : "; there are " + names));
}

}  // namespace brindlex::tool
