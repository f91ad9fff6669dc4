#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/check/text_stats.h"
#include "cli/commands/command_line.h"
#include "cli/io/input.h"
#include "cli/io/progress.h"
#include "cli/io/system.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"
#include "cli/text/table.h"

namespace brindlex::tool {
namespace {

struct InfoOptions {
  std::vector<std::string> paths;
  FormatOptions format;
};

/// One collection with what it holds.
struct Described {
  std::string name;
  std::uint64_t bytes = 0;
  std::uint64_t records = 0;
  std::vector<TextStats::Column> columns;
};

/// The outer layer of a multi-collection file, each of whose blocks is counted by itself.
class BlockStats {
 public:
  explicit BlockStats(const Layout& layout)
      : columns_(*layout.blocks),
        outer_(layout.encoding),
        inner_(layout.encoding),
        walk_(*layout.inner) {}

  void FieldPiece(std::string_view bytes, std::uint64_t at) {
    if (isHeader_ || field_ != columns_.data) {
      outer_.FieldPiece(bytes, at);
      const std::size_t room = kMostOfAName - std::min(kMostOfAName, name_.size());
      if (field_ == columns_.name) name_.append(bytes.substr(0, room));
      return;
    }
    if (bytes_ == 0) walk_.Restart(at);
    bytes_ += bytes.size();
    walk_.Feed(bytes, inner_);
  }

  void FieldEnd(std::uint64_t at) {
    if (!isHeader_ && field_ == columns_.data && bytes_ > 0) walk_.Finish(inner_);
    outer_.FieldEnd(at);
    ++field_;
  }

  void RecordEnd(std::uint64_t at) {
    if (!isHeader_) TakeCollection();
    outer_.RecordEnd(at);
    isHeader_ = false;
    field_ = 0;
    bytes_ = 0;
    name_.clear();
    inner_.Begin();
  }

  void LineBreak(std::uint64_t at) { outer_.LineBreak(at); }

  std::uint64_t Count() const { return outer_.Records(); }
  std::uint64_t Records() const { return records_; }
  BreakCounts Breaks() const { return BreakCounts(breaks_) += outer_.Breaks(); }
  /// The first ones, as many as are told of.
  const std::vector<Described>& Collections() const { return collections_; }

 private:
  static constexpr std::size_t kMostOfAName = 256;

  void TakeCollection() {
    constexpr std::size_t kMostColumns = 100'000;
    records_ += inner_.Records();
    breaks_ += inner_.Breaks();
    columnsKept_ += inner_.Columns().size() + 1;
    if (columnsKept_ > kMostColumns) return;
    collections_.push_back({name_, bytes_, inner_.Records(), inner_.Columns()});
  }

  BlockColumns columns_;
  TextStats outer_;
  TextStats inner_;
  MarkerWalk walk_;
  std::vector<Described> collections_;
  std::size_t columnsKept_ = 0;
  std::uint64_t records_ = 0;
  BreakCounts breaks_;
  bool isHeader_ = true;
  std::size_t field_ = 0;
  std::uint64_t bytes_ = 0;
  std::string name_;
};

template <class Sink>
std::uint64_t WalkAll(Input& input, const Layout& layout, Sink& sink) {
  Progress progress("reading", input.Size());
  MarkerWalk walk(layout.markers, layout.markBytes);
  for (auto block = input.Next(); !block.empty(); block = input.Next()) {
    const bool isFirst = input.Given() == block.size();
    walk.Feed(block.substr(isFirst ? layout.markBytes : 0), sink);
    progress.Show(input.Given());
  }
  walk.Finish(sink);
  return input.Given();
}

/// Writes what was found out, line by line.
class InfoWriter {
 public:
  InfoWriter(const Layout& layout, Output& output)
      : layout_(layout), output_(output), palette_(Palette::Of(system::kStandardOutput)) {}

  void Write(const std::string& label, const std::string& text) {
    output_.Write(fmt::format("  {}  {}\n",
                              palette_.Paint(Style::kMark, fmt::format("{:<12}", label)), text));
  }

  void WriteFile(const std::string& name, std::uint64_t bytes) {
    output_.Write(palette_.Paint(Style::kHeading, ShownPath(name)) + "\n");
    Write("size", fmt::format("{} byte{}", bytes, bytes == 1 ? "" : "s"));
    Write("encoding",
          layout_.encoding.Name() + (layout_.markBytes > 0 ? ", with a byte order mark" : ""));
    Write("field end", MarkerLine(layout_.pair.fieldEnd, layout_.markers.fieldEnd));
    Write("record end", MarkerLine(layout_.pair.recordEnd, layout_.markers.recordEnd));
    Write("markers", layout_.layer == Layer::kOuter   ? "those of the outer layer"
                     : layout_.layer == Layer::kInner ? "those of the inner layer"
                                                      : "as given");
  }

  void WriteBreaks(const BreakCounts& breaks) {
    Write("line breaks",
          fmt::format("{} behind record ends, which are dropped; in values {} CR LF, {} LF, {} CR",
                      breaks.dropped, breaks.pairs, breaks.lineFeeds, breaks.carriageReturns));
  }

  void WriteColumns(const std::vector<TextStats::Column>& columns) {
    if (columns.empty()) return;
    std::vector<Row> rows;
    for (std::size_t at = 0; at < columns.size(); ++at) {
      const auto& column = columns[at];
      rows.push_back({{std::to_string(at + 1), false},
                      {Printable(layout_.encoding, column.name), false},
                      {std::to_string(column.longest), false},
                      {column.longest > 0 ? std::to_string(column.longestRecord) : "", false},
                      {std::to_string(column.empty), false}});
    }
    const Table table({"Field", "Name", "Longest value", "in record", "Empty"}, rows, 0);
    output_.Write("\n");
    table.WriteHead(output_, palette_);
    for (const Row& row : rows) table.WriteRow(row, output_, palette_);
  }

  void WriteCollection(std::size_t number, const Described& collection) {
    output_.Write("\n");
    output_.Write(palette_.Paint(
        Style::kHeading,
        fmt::format("{}. {}", number, Printable(layout_.encoding, collection.name))));
    output_.Write(fmt::format("  records {}, fields {}, bytes {}\n", collection.records,
                              collection.columns.size(), collection.bytes));
    WriteColumns(collection.columns);
  }

 private:
  static std::string MarkerLine(const std::string& text, const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes)
      digits += fmt::format(" {:02X}", static_cast<unsigned char>(byte));
    return fmt::format("{}  ({})", Printable(*Encoding::Named("utf-8"), text), digits.substr(1));
  }

  const Layout& layout_;
  Output& output_;
  Palette palette_;
};

void Describe(const std::string& path, const FormatOptions& options, Output& output) {
  Input input(path);
  const Layout layout = FindLayout(input.Head(), options);
  InfoWriter writer(layout, output);
  if (!layout.doubt.empty()) Say(ShownPath(path) + ": " + layout.doubt);
  if (layout.blocks) {
    BlockStats stats(layout);
    writer.WriteFile(input.Name(), WalkAll(input, layout, stats));
    writer.Write("collections", std::to_string(stats.Count()));
    writer.Write("records", std::to_string(stats.Records()));
    writer.WriteBreaks(stats.Breaks());
    const auto& collections = stats.Collections();
    for (std::size_t at = 0; at < collections.size(); ++at) {
      writer.WriteCollection(at + 1, collections[at]);
    }
    if (collections.size() < stats.Count()) {
      Say(fmt::format("{}: only the first {} collections are told of", ShownPath(path),
                      collections.size()));
    }
    return;
  }
  TextStats stats(layout.encoding);
  writer.WriteFile(input.Name(), WalkAll(input, layout, stats));
  writer.Write("records", std::to_string(stats.Records()));
  writer.Write("fields", std::to_string(stats.Columns().size()));
  writer.WriteBreaks(stats.Breaks());
  writer.WriteColumns(stats.Columns());
}

void Info(const InfoOptions& options) {
  Output output(OutputOptions{});
  bool isFirst = true;
  for (const std::string& path : ExpandedPaths(options.paths)) {
    if (!isFirst) output.Write("\n");
    isFirst = false;
    Describe(path, options.format, output);
  }
  output.Commit();
}

}  // namespace

void AddInfo(CLI::App& tool, Context&) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App& command =
      AddCommand(tool, "info",
                 "Says what a file holds: markers, encoding, counts, longest values, line breaks",
                 "brindlex info books.txt\n"
                 "brindlex info settings.txt      which collection is which\n");
  AddInputFiles(command, options->paths, "The files to look into; - is standard input");
  AddFormatOptions(command, options->format);
  command.callback([options] { Info(*options); });
}

}  // namespace brindlex::tool
