#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/check/salvage_text.h"
#include "cli/commands/command_line.h"
#include "cli/io/diagnostics.h"
#include "cli/io/input.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

struct SalvageOptions {
  std::string path;
  FormatOptions format;
  OutputOptions output;
  std::string damaged;
  JoinOptions join;
};

/// Where damaged records go: a file that is made if there are any, and a line for each.
class DamagedRecords {
 public:
  DamagedRecords(const SalvageOptions& options, Input& input, const FileFormat& format)
      : options_(options),
        input_(input),
        format_(format),
        // Data on standard output leaves no room for lines about it.
        hasLines_(options.output.path != "-") {}

  void Take(const Damage& damage) {
    const std::string collection =
        damage.collection == 0 ? std::string() : fmt::format("collection {}", damage.collection);
    if (hasLines_) {
      lines_.Write(Escaped(fmt::format("{}:{}:{}:0: {}{}{}", ShownPath(options_.path),
                                       damage.offset, damage.record, collection,
                                       collection.empty() ? "" : ": ", damage.what)) +
                   "\n");
    }
    if (damage.isJoined) return;
    if (!output_) {
      output_.emplace(OutputOptions{options_.damaged, options_.output.force});
      if (format_.markBytes > 0) output_->Write(format_.encoding.ByteOrderMark());
    }
    WriteLine(fmt::format("byte {}, {}{}record {}: {}\r\n", damage.offset, collection,
                          collection.empty() ? "" : ", ", damage.record, damage.what));
    ReadExtent(input_, damage.bytes, [&](std::string_view bytes) { output_->Write(bytes); });
    WriteLine("\r\n\r\n");
  }

  void Commit() {
    if (output_) output_->Commit();
    lines_.Commit();
  }

 private:
  // A line of the program's own, in the file's encoding; what that lacks becomes a question mark.
  void WriteLine(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
      text.remove_prefix(format_.encoding.FromUtf8(text, bytes));
      if (text.empty()) break;
      format_.encoding.FromUtf8("?", bytes);
      text.remove_prefix(std::max<std::size_t>(FirstOfUtf8(text).bytes, 1));
    }
    output_->Write(bytes);
  }

  const SalvageOptions& options_;
  Input& input_;
  const FileFormat& format_;
  bool hasLines_;
  Output lines_{OutputOptions{}};
  std::optional<Output> output_;
};

void RefuseSameFile(const std::string& input, const std::string& output) {
  const auto native = [](const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
  };
  std::error_code error;
  if (!std::filesystem::equivalent(native(input), native(output), error) || error) return;
  throw UsageError(ShownPath(output) + " is the file that is read, which is never overwritten");
}

void CheckReplacement(const std::string& text, const FileFormat& format) {
  std::string bytes;
  if (format.encoding.FromUtf8(text, bytes) < text.size()) {
    throw UsageError(format.encoding.Name() + " does not have " + Quoted(text));
  }
  const auto holds = [&](const std::optional<ByteMarkers>& markers) {
    return markers && (FindMarker(bytes, markers->fieldEnd, markers->unit) != std::string::npos ||
                       FindMarker(bytes, markers->recordEnd, markers->unit) != std::string::npos);
  };
  if (holds(format.markers) || holds(format.inner)) {
    throw UsageError(Quoted(text) + " holds a marker itself");
  }
}

/// Sets the file for damaged records, and refuses to overwrite anything that was not meant.
void CheckTargets(SalvageOptions& options) {
  if (options.damaged.empty()) {
    if (options.output.path == "-") {
      throw UsageError("name the file for damaged records with --damaged");
    }
    options.damaged = options.output.path + ".damaged";
  }
  RefuseSameFile(options.path, options.output.path);
  RefuseSameFile(options.path, options.damaged);
  if (!options.output.force && system::KindOf(options.damaged) == system::FileKind::kRegular) {
    throw UsageError(ShownPath(options.damaged) + " already exists; use --force to overwrite it");
  }
}

void WarnOfCounts(const SalvageOptions& options, const SalvageCounts& counts, const char* what) {
  std::string text = Counted(counts.valid, what) + " valid";
  if (counts.joined > 0) text += fmt::format(", {} joined", counts.joined);
  text += fmt::format(", in {}; {} damaged", ShownPath(options.output.path), counts.damaged);
  if (counts.damaged > 0) text += ", in " + ShownPath(options.damaged);
  Warn(text);
}

void Salvage(SalvageOptions options, Context& context) {
  Input input(options.path);
  const FileFormat format = DetectFormat(input, options.format);
  if (!format.hint.empty()) Warn(format.hint);
  CheckTargets(options);
  CheckReplacement(options.join.replacement, format);
  Output output(options.output);
  DamagedRecords damaged(options, input, format);
  const DamageHandler report = [&](const Damage& damage) { damaged.Take(damage); };
  output.Write(input.Head().substr(0, format.markBytes));
  Progress progress("sorting", input.Size());
  const auto [outer, inner] = SalvageFile(input, format, options.join, output, report, progress);
  progress.Hide();
  WarnOfCounts(options, outer, format.named ? "collection" : "record");
  if (format.named) WarnOfCounts(options, inner, "record");
  damaged.Commit();
  output.Commit();
  if (outer.joined + outer.damaged + inner.joined + inner.damaged > 0) {
    context.status = ExitStatus::kDefects;
  }
}

}  // namespace

void AddSalvage(CLI::App& program, Context& context) {
  auto options = std::make_shared<SalvageOptions>();
  CLI::App& command = AddCommand(
      program, "salvage", "Writes the valid records, and the damaged ones to another file",
      "brindlex salvage books.txt -o valid.txt           the others go to valid.txt.damaged\n"
      "brindlex salvage books.txt -o valid.txt --join    join values that a marker has divided\n");
  AddInputFile(command, options->path);
  AddOutputOptions(command, options->output, true);
  AddValue(command, "--damaged", options->damaged, "FILE",
           "The file for damaged records, in place of the output's name with .damaged");
  command.add_flag("--join", options->join.join,
                   "Join values that a marker has divided, where exactly one join fits");
  AddValue(command, "--replace", options->join.replacement, "TEXT",
           "What a joined value has in place of the marker (a blank)");
  AddFormatOptions(command, options->format);
  command.callback([options, &context] { Salvage(*options, context); });
}

}  // namespace brindlex::cli
