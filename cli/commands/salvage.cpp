#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/check/salvage_text.h"
#include "cli/commands/command_line.h"
#include "cli/io/input.h"
#include "cli/io/progress.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

struct SalvageOptions {
  std::string path;
  FormatOptions format;
  OutputOptions output;
  std::string damaged;
  JoinOptions join;
};

/// The outer layer of a file with several collections: each is sorted by itself.
class BlockSalvage : public TextSalvage {
 public:
  BlockSalvage(const std::string& path, const Layout& layout, const JoinOptions& options,
               Output& output, const Tell& tell)
      : TextSalvage(path, layout.encoding, layout.markers, options, output, tell),
        layout_(layout),
        columns_(*layout.blocks),
        inner_(path, layout.encoding, *layout.inner, options, output, tell) {
    inner_.SetForeign(layout.markers);
  }

  /// What the collections hold.
  const SalvageCounts& Inner() const { return innerCounts_; }

 protected:
  bool Fits(std::size_t column, const std::string& value) override {
    const auto holds = [&](const std::string& marker) {
      return FindMarker(value, marker, layout_.inner->unit) != std::string::npos;
    };
    const bool isInner = holds(layout_.inner->fieldEnd) || holds(layout_.inner->recordEnd);
    if (column == columns_.data) return value.empty() || isInner;
    return !isInner;
  }

  void WriteField(std::size_t column, const Span& field, bool isJoined) override {
    if (column != columns_.data) return TextSalvage::WriteField(column, field, isJoined);
    if (field.bytes > 0) innerCounts_ += inner_.Run(field, Writing(), isJoined);
  }

  bool CopiesRecords() const override { return false; }

 private:
  const Layout& layout_;
  BlockColumns columns_;
  TextSalvage inner_;
  SalvageCounts innerCounts_;
};

/// Where damaged records go: a file that is there when there are any, and a line each for people.
class DamagedRecords {
 public:
  DamagedRecords(const SalvageOptions& options, const Layout& layout)
      : options_(options),
        layout_(layout),
        // Data on standard output leaves no room for lines about it.
        hasLines_(options.output.path != "-"),
        copy_(options.path) {}

  void Take(const Damage& damage) {
    std::string line =
        fmt::format("{}:{}:{}:0: ", ShownPath(options_.path), damage.at, damage.record);
    if (damage.collection != 0) line += fmt::format("collection {}: ", damage.collection);
    if (hasLines_) lines_.Write(Escaped(line + damage.what) + "\n");
    if (damage.isJoined) return;
    if (!output_) {
      output_.emplace(OutputOptions{options_.damaged, options_.output.force});
      if (layout_.markBytes > 0) output_->Write(layout_.encoding.ByteOrderMark());
    }
    WriteLine(fmt::format(
        "byte {}, {}record {}: {}\r\n", damage.at,
        damage.collection == 0 ? std::string() : fmt::format("collection {}, ", damage.collection),
        damage.record, damage.what));
    copy_.Copy(damage.bytes, *output_);
    WriteLine("\r\n\r\n");
  }

  void Commit() {
    if (output_) output_->Commit();
    lines_.Commit();
  }

 private:
  // A line of our own, in the file's encoding; what that does not have is no data.
  void WriteLine(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
      text.remove_prefix(layout_.encoding.FromUtf8(text, bytes));
      if (text.empty()) break;
      layout_.encoding.FromUtf8("?", bytes);
      text.remove_prefix(std::max<std::size_t>(FirstOfUtf8(text).bytes, 1));
    }
    output_->Write(bytes);
  }

  const SalvageOptions& options_;
  const Layout& layout_;
  bool hasLines_;
  Output lines_{OutputOptions{}};
  FileCopy copy_;
  std::optional<Output> output_;
};

std::filesystem::path NativePath(const std::string& path) {
#ifdef _WIN32
  return Utf16OfUtf8(path);
#else
  return path;
#endif
}

void RefuseSameFile(const std::string& input, const std::string& output) {
  std::error_code error;
  if (!std::filesystem::equivalent(NativePath(input), NativePath(output), error) || error) return;
  throw Failure(ExitCode::kUsage,
                ShownPath(output) + " is the file that is read; it is never written to");
}

void CheckOptions(SalvageOptions& options, const Layout& layout) {
  if (options.path == "-") {
    throw Failure(ExitCode::kInputOutput,
                  "standard input cannot be read a second time; copy it into a file first");
  }
  if (options.damaged.empty()) {
    if (options.output.path == "-") {
      throw Failure(ExitCode::kUsage, "say by --damaged where damaged records go");
    }
    options.damaged = options.output.path + ".damaged";
  }
  RefuseSameFile(options.path, options.output.path);
  RefuseSameFile(options.path, options.damaged);
  if (!options.output.force && system::KindOf(options.damaged) == system::FileKind::kRegular) {
    throw Failure(ExitCode::kUsage,
                  ShownPath(options.damaged) + " is there already; --force replaces it");
  }
  std::string bytes;
  const std::string& text = options.join.replacement;
  if (layout.encoding.FromUtf8(text, bytes) < text.size()) {
    throw Failure(ExitCode::kUsage, layout.encoding.Name() + " does not have " + Quoted(text));
  }
  const auto holds = [&](const std::optional<ByteMarkers>& markers) {
    return markers && (FindMarker(bytes, markers->fieldEnd, markers->unit) != std::string::npos ||
                       FindMarker(bytes, markers->recordEnd, markers->unit) != std::string::npos);
  };
  if (holds(layout.markers) || holds(layout.inner)) {
    throw Failure(ExitCode::kUsage, Quoted(text) + " holds a marker itself");
  }
}

std::string Counted(std::uint64_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void SayCounts(const SalvageOptions& options, const SalvageCounts& counts, const char* what) {
  std::string said = Counted(counts.whole, what) + " whole";
  if (counts.joined > 0) said += fmt::format(", {} joined", counts.joined);
  said += fmt::format(", in {}; {} damaged", ShownPath(options.output.path), counts.damaged);
  if (counts.damaged > 0) said += ", in " + ShownPath(options.damaged);
  Say(said);
}

void Salvage(SalvageOptions options, Context& context) {
  Input input(options.path);
  const Layout layout = FindLayout(input.Head(), options.format);
  if (!layout.doubt.empty()) Say(layout.doubt);
  CheckOptions(options, layout);
  const auto size = input.Size();
  if (!size) {
    throw Failure(ExitCode::kInputOutput,
                  ShownPath(options.path) + " cannot be read a second time");
  }
  Output output(options.output);
  DamagedRecords damaged(options, layout);
  const auto tell = [&](const Damage& damage) { damaged.Take(damage); };
  output.Write(std::string_view(layout.encoding.ByteOrderMark()).substr(0, layout.markBytes));
  const Span text{layout.markBytes, *size - layout.markBytes};
  SalvageCounts counts;
  Progress progress("sorting", size);
  if (layout.blocks) {
    BlockSalvage salvage(options.path, layout, options.join, output, tell);
    salvage.SetProgress(&progress);
    counts = salvage.Run(text, 0, false);
    progress.Hide();
    SayCounts(options, counts, "collection");
    SayCounts(options, salvage.Inner(), "record");
    counts += salvage.Inner();
  } else {
    TextSalvage salvage(options.path, layout.encoding, layout.markers, options.join, output, tell);
    salvage.SetProgress(&progress);
    counts = salvage.Run(text, 0, false);
    progress.Hide();
    SayCounts(options, counts, "record");
  }
  damaged.Commit();
  output.Commit();
  if (counts.joined + counts.damaged > 0) context.exit = ExitCode::kDefects;
}

}  // namespace

void AddSalvage(CLI::App& tool, Context& context) {
  auto options = std::make_shared<SalvageOptions>();
  CLI::App& command = AddCommand(
      tool, "salvage", "Writes the records that are whole, and the others apart, with their places",
      "brindlex salvage books.txt -o sound.txt           the others go to sound.txt.damaged\n"
      "brindlex salvage books.txt -o sound.txt --join    where a marker in a value did it, and "
      "one\n"
      "                                                  way alone to join the parts fits, join "
      "them\n");
  AddInputFile(command, options->path);
  AddOutputOptions(command, options->output, true);
  command
      .add_option("--damaged", options->damaged,
                  "The file for damaged records, in place of the output's name with .damaged")
      ->type_name("FILE");
  command.add_flag("--join", options->join.join,
                   "Join values that a marker has cut, where exactly one join fits");
  command
      .add_option("--replace", options->join.replacement,
                  "What stands in a joined value where the marker was; a blank as a rule")
      ->type_name("TEXT");
  AddFormatOptions(command, options->format);
  command.callback([options, &context] { Salvage(*options, context); });
}

}  // namespace brindlex::tool
