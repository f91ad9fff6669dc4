#include "cli/check/file_check.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "cli/check/key_check.h"
#include "cli/check/text_check.h"
#include "cli/io/input.h"
#include "cli/io/progress.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

constexpr std::size_t kKeySlots = std::size_t{1} << 21U;

/// Passes on duplicate keys only, for the passes behind the first.
class KeysOnly : public DefectSink {
 public:
  explicit KeysOnly(DefectSink& sink) : sink_(sink) {}
  void Take(const Defect& defect) override {
    if (!isOn || defect.kind == DefectKind::kDuplicateKey) sink_.Take(defect);
  }
  bool isOn = false;

 private:
  DefectSink& sink_;
};

/// Checks each block's data by a check of its own, and looks at the blocks' names.
class BlockFields : public FieldListener {
 public:
  BlockFields(const Layout& layout, std::optional<std::string> keyName, DefectSink& sink,
              KeyCheck* keys)
      : columns_(*layout.blocks),
        keyName_(std::move(keyName)),
        sink_(sink),
        inner_(layout.encoding, *layout.inner, TextRole::kCollection, sink, keys) {
    inner_.StopAt(layout.markers);
  }

  bool TakePiece(std::uint64_t field, std::string_view bytes, std::uint64_t at) override {
    if (IsData(field)) {
      BeginData(at);
      inner_.Feed(bytes, at);
      return true;
    }
    if (field == columns_.name + 1) hasName_ = true;
    return false;
  }

  void TakeFieldEnd(std::uint64_t field, std::uint64_t at) override {
    if (IsData(field)) EndData(at);
    if (field != columns_.name + 1 || hasName_) return;
    sink_.Take({DefectKind::kBlankBlockName, at, collection_, field, 0,
                "a collection without a name", "the component never finds it again"});
  }

  std::size_t PassOver(std::string_view piece, std::uint64_t at) override {
    return isInData_ ? inner_.PassOver(piece, at) : 0;
  }

  std::size_t BeforeNextPassOver(std::string_view piece) const override {
    return isInData_ ? inner_.BeforeNextPassOver(piece) : piece.size();
  }

  void TakeRecordEnd(std::uint64_t, std::uint64_t at) override {
    // A block that is broken off within its data.
    if (isInData_) EndData(at);
    hasName_ = false;
    ++collection_;
  }

  std::uint64_t records = 0;
  bool hasKeyColumn = false;

 private:
  bool IsData(std::uint64_t field) const { return field == columns_.data + 1; }

  void BeginData(std::uint64_t at) {
    if (isInData_) return;
    isInData_ = true;
    inner_.Begin(at, collection_, keyName_);
  }

  void EndData(std::uint64_t at) {
    if (!isInData_) return;
    isInData_ = false;
    inner_.Finish(at);
    records += inner_.Records();
    hasKeyColumn = hasKeyColumn || inner_.HasKeyColumn();
  }

  BlockColumns columns_;
  std::optional<std::string> keyName_;
  DefectSink& sink_;
  TextCheck inner_;
  bool isInData_ = false;
  bool hasName_ = false;
  std::uint64_t collection_ = 1;
};

void Walk(Input& input, const Layout& layout, TextCheck& check, Progress& progress) {
  std::uint64_t at = 0;
  for (auto block = input.Next(); !block.empty(); block = input.Next()) {
    const std::size_t skipped = at == 0 ? layout.markBytes : 0;
    check.Feed(block.substr(skipped), at + skipped);
    at += block.size();
    progress.Show(at);
  }
  check.Finish(std::max<std::uint64_t>(at, layout.markBytes));
}

/// One pass over a file; the first one tells everything.
class Pass {
 public:
  Pass(const std::string& path, const FormatOptions& options, DefectSink& sink)
      : input_(path), layout_(FindLayout(input_.Head(), options)), sink_(sink) {}

  CheckedFile Run(const std::optional<std::string>& keyName, KeyCheck& names, KeyCheck& keys,
                  bool isFirst) {
    KeysOnly sink(sink_);
    sink.isOn = !isFirst;
    Progress progress(isFirst ? "checking" : "comparing keys", input_.Size());
    return layout_.blocks ? RunBlocks(keyName, sink, names, keys, progress)
                          : RunAlone(keyName, sink, keys, progress);
  }

 private:
  CheckedFile RunAlone(const std::optional<std::string>& keyName, DefectSink& sink, KeyCheck& keys,
                       Progress& progress) {
    TextCheck check(layout_.encoding, layout_.markers, TextRole::kAlone, sink, &keys);
    check.Begin(layout_.markBytes, 0, keyName);
    Walk(input_, layout_, check, progress);
    if (keyName && !check.HasKeyColumn()) TellNoKeyColumn(*keyName, sink);
    return {check.Records(), 0, layout_.doubt};
  }

  CheckedFile RunBlocks(const std::optional<std::string>& keyName, DefectSink& sink,
                        KeyCheck& names, KeyCheck& keys, Progress& progress) {
    BlockFields fields(layout_, keyName, sink, &keys);
    TextCheck check(layout_.encoding, layout_.markers, TextRole::kBlocks, sink, &names, &fields);
    if (!layout_.blocks->areSpelledExactly) {
      sink.Take(
          {DefectKind::kBlockNameSpelling, layout_.markBytes, 0, layout_.blocks->name + 1, 0,
           "the header does not spell its column exactly Name",
           "the component finds no collection by its name, and stores a second one in its place"});
    }
    check.Begin(layout_.markBytes, 0, "Name");
    Walk(input_, layout_, check, progress);
    if (keyName && !fields.hasKeyColumn) TellNoKeyColumn(*keyName, sink);
    return {fields.records, check.Records(), layout_.doubt};
  }

  void TellNoKeyColumn(const std::string& keyName, DefectSink& sink) const {
    sink.Take({DefectKind::kNoKeyColumn, layout_.markBytes, 0, 0, 0,
               "no column is called exactly " + Quoted(keyName),
               "the component adds every record without a key"});
  }

  Input input_;
  Layout layout_;
  DefectSink& sink_;
};

}  // namespace

CheckedFile CheckFile(const std::string& path, const FormatOptions& options,
                      const std::optional<std::string>& keyName, DefectSink& sink) {
  return CheckFile(path, options, keyName, sink, kKeySlots);
}

CheckedFile CheckFile(const std::string& path, const FormatOptions& options,
                      const std::optional<std::string>& keyName, DefectSink& sink,
                      std::size_t keySlots) {
  // Collections are few as a rule; theirs need not be as much room.
  KeyCheck names(std::max<std::size_t>(keySlots / 16, 8));
  KeyCheck keys(keySlots);
  CheckedFile checked = Pass(path, options, sink).Run(keyName, names, keys, true);
  while (names.NeedsPass() || keys.NeedsPass()) {
    if (path == "-") {
      throw Failure(
          ExitCode::kInputOutput,
          "standard input has too many records to compare their keys in one pass; give a file");
    }
    names.NextPass();
    keys.NextPass();
    Pass(path, options, sink).Run(keyName, names, keys, false);
  }
  return checked;
}

}  // namespace brindlex::tool
