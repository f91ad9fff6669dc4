#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "cli/check/text_stats.h"
#include "cli/commands/command_line.h"
#include "cli/format/collection_reader.h"
#include "cli/format/named_collections.h"
#include "cli/io/diagnostics.h"
#include "cli/io/input.h"
#include "cli/io/system.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"
#include "cli/text/table.h"

namespace brindlex::cli {
namespace {

struct InfoOptions {
  std::vector<std::string> paths;
  FormatOptions format;
  bool wantsCollections = false;
  bool wantsColumns = false;
};

/// One collection with what it holds.
struct Described {
  std::string name;
  std::uint64_t bytes = 0;
  std::uint64_t records = 0;
  std::vector<TextStats::Column> columns;
};

/// What a file holds: one collection, or several.
struct FileStats {
  std::uint64_t bytes = 0;
  std::uint64_t records = 0;
  std::uint64_t collections = 0;
  BreakCounts breaks;
  /// The first ones, as many as are shown; the only one of a file of one.
  std::vector<Described> shown;
};

/// Counts the text of one collection, up to its end; returns how many bytes it has.
std::uint64_t CountText(Tokenizer& tokenizer, TextStats& stats) {
  const std::uint64_t begin = tokenizer.Offset();
  Token token;
  do {
    token = tokenizer.Next();
    stats.Take(token);
  } while (token.kind != Token::Kind::kEnd);
  return token.End() - begin;
}

FileStats CountSingle(InputWindow& window, const FileFormat& format) {
  Tokenizer tokenizer(window, format.encoding, format.markers);
  TextStats stats(format.encoding);
  CountText(tokenizer, stats);
  return {tokenizer.Offset(),
          stats.Records(),
          0,
          stats.Breaks(),
          {{{}, 0, stats.Records(), stats.Columns()}}};
}

/// Counts a file of several collections, each by itself.
class NamedStats {
 public:
  NamedStats(InputWindow& window, const FileFormat& format)
      : window_(window),
        format_(format),
        tokenizer_(window, format.encoding, format.markers),
        outer_(format.encoding) {}

  FileStats Run() {
    Token token;
    do {
      for (Token lineBreak; tokenizer_.NextLineBreak(lineBreak);) outer_.Take(lineBreak);
      if (outer_.Record() > 0 && outer_.Field() == format_.named->data) CountCollection();
      const std::size_t field = outer_.Field();
      token = tokenizer_.Next();
      if (field == format_.named->name && name_.size() < kMostOfAName) {
        name_ += token.bytes.substr(0, kMostOfAName - name_.size());
      }
      if (token.kind == Token::Kind::kRecord && outer_.Record() > 0) TakeCollection();
      if (token.kind == Token::Kind::kRecord) name_.clear();
      outer_.Take(token);
    } while (token.kind != Token::Kind::kEnd);
    stats_.bytes = token.End();
    stats_.collections = outer_.Records();
    stats_.breaks += outer_.Breaks();
    return std::move(stats_);
  }

 private:
  static constexpr std::size_t kMostOfAName = 256;

  void CountCollection() {
    tokenizer_.Yield();
    Tokenizer inner(window_, format_.encoding, *format_.inner, format_.markers);
    TextStats stats(format_.encoding);
    const std::uint64_t bytes = CountText(inner, stats);
    inner.Yield();
    tokenizer_.Resume();
    if (bytes > 0) collection_ = {{}, bytes, stats.Records(), stats.Columns()};
    stats_.records += stats.Records();
    stats_.breaks += stats.Breaks();
  }

  void TakeCollection() {
    constexpr std::size_t kMostColumns = 100'000;
    columns_ += collection_.columns.size() + 1;
    collection_.name = name_;
    if (columns_ <= kMostColumns) stats_.shown.push_back(std::move(collection_));
    collection_ = {};
  }

  InputWindow& window_;
  const FileFormat& format_;
  Tokenizer tokenizer_;
  TextStats outer_;
  FileStats stats_;
  Described collection_;
  std::string name_;
  std::size_t columns_ = 0;
};

/// Writes what a file holds, line by line.
class InfoWriter {
 public:
  InfoWriter(const FileFormat& format, Output& output)
      : format_(format), output_(output), palette_(PaletteFor(system::kStandardOutput)) {}

  void Write(const std::string& label, const std::string& text) {
    output_.Write(fmt::format("  {}  {}\n",
                              palette_.Paint(Style::kMark, fmt::format("{:<12}", label)), text));
  }

  void WriteFile(const std::string& name, std::uint64_t bytes) {
    output_.Write(palette_.Paint(Style::kHeading, ShownPath(name)) + "\n");
    Write("size", Counted(bytes, "byte"));
    Write("encoding", format_.encoding.Name() + (format_.markBytes > 0 ? ", with a byte order mark"
                                                 : format_.isEncodingGuessed ? ", detected"
                                                                             : ""));
    Write("field end", MarkerLine(format_.pair.fieldEnd, format_.markers.fieldEnd));
    Write("record end", MarkerLine(format_.pair.recordEnd, format_.markers.recordEnd));
    Write("markers", format_.layer == Layer::kOuter   ? "those of the outer layer"
                     : format_.layer == Layer::kInner ? "those of the inner layer"
                                                      : "as given");
  }

  void WriteBreaks(const BreakCounts& breaks) {
    Write("line breaks",
          fmt::format("{} after record ends, which are dropped; in values {} CR LF, {} LF, {} CR",
                      breaks.dropped, breaks.pairs, breaks.lineFeeds, breaks.carriageReturns));
  }

  void WriteColumns(const std::vector<TextStats::Column>& columns) {
    if (columns.empty()) return;
    std::vector<Row> rows;
    for (std::size_t at = 0; at < columns.size(); ++at) {
      const auto& column = columns[at];
      rows.push_back({{std::to_string(at + 1), false},
                      {Printable(format_.encoding, column.name), false},
                      {std::to_string(column.longest), false},
                      {column.longest > 0 ? std::to_string(column.longestRecord) : "", false},
                      {std::to_string(column.empty), false}});
    }
    const Table table({"Field", "Name", "Longest value", "in record", "Empty"}, rows, 0);
    output_.Write("\n");
    output_.Write(table.Head(palette_));
    for (const Row& row : rows) output_.Write(table.Line(row));
  }

  void WriteCollection(std::size_t number, const Described& collection) {
    output_.Write("\n");
    output_.Write(palette_.Paint(
        Style::kHeading,
        fmt::format("{}. {}", number, Printable(format_.encoding, collection.name))));
    output_.Write(fmt::format("  records {}, fields {}, bytes {}\n", collection.records,
                              collection.columns.size(), collection.bytes));
    WriteColumns(collection.columns);
  }

 private:
  static std::string MarkerLine(const std::string& text, const std::string& bytes) {
    return fmt::format("{}  ({})", Printable(*Encoding::Named("utf-8"), text),
                       Hexadecimal(bytes, " "));
  }

  const FileFormat& format_;
  Output& output_;
  Palette palette_;
};

void Describe(const std::string& path, const FormatOptions& options, Output& output) {
  Input input(path);
  const FileFormat format = DetectFormat(input, options);
  input.ReadOnce();
  if (!format.hint.empty()) Warn(ShownPath(path) + ": " + format.hint);
  InfoWriter writer(format, output);
  FileStats stats;
  {
    Progress progress("reading", input.Size());
    InputWindow window(input, format.Text(), &progress);
    stats = format.named ? NamedStats(window, format).Run() : CountSingle(window, format);
  }
  writer.WriteFile(input.Name(), stats.bytes);
  if (!format.named) {
    writer.Write("records", std::to_string(stats.records));
    writer.Write("fields", std::to_string(stats.shown.front().columns.size()));
    writer.WriteBreaks(stats.breaks);
    return writer.WriteColumns(stats.shown.front().columns);
  }
  writer.Write("collections", std::to_string(stats.collections));
  writer.Write("records", std::to_string(stats.records));
  writer.WriteBreaks(stats.breaks);
  for (std::size_t index = 0; index < stats.shown.size(); ++index) {
    writer.WriteCollection(index + 1, stats.shown[index]);
  }
  if (stats.shown.size() < stats.collections) {
    Warn(fmt::format("{}: only the first {} collections are shown", ShownPath(path),
                     stats.shown.size()));
  }
}

/// The names that a file has, one to a line, for a shell to complete.
void ListNames(const std::string& path, const InfoOptions& options, Output& output) {
  Input input(path);
  const FileFormat format = DetectFormat(input, options.format);
  const auto list = [&](const std::string& name) { output.Write(Escaped(name) + "\n"); };
  if (format.named && options.wantsCollections) {
    NamedCollectionScanner scanner(input, format);
    for (NamedCollection one; scanner.Next(one);) list(one.Name(format.encoding));
  }
  if (format.named || !options.wantsColumns) return;
  LossReport ignored;
  CollectionReader reader(OnlyTable(input, format), ignored);
  reader.ReadHeader();
  for (const std::string& name : reader.Names()) list(name);
}

void Info(const InfoOptions& options) {
  Output output(OutputOptions{});
  if (options.wantsCollections || options.wantsColumns) {
    for (const std::string& path : ExpandedPaths(options.paths)) ListNames(path, options, output);
    return output.Commit();
  }
  bool isFirst = true;
  for (const std::string& path : ExpandedPaths(options.paths)) {
    if (!isFirst) output.Write("\n");
    isFirst = false;
    Describe(path, options.format, output);
  }
  output.Commit();
}

}  // namespace

void AddInfo(CLI::App& program, Context&) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App& command =
      AddCommand(program, "info",
                 "Shows what a file holds: markers, encoding, counts, longest values, line breaks",
                 "brindlex info books.txt\n"
                 "brindlex info settings.txt      which collection is which\n");
  AddValue(command, "files", options->paths, "FILE", "The files to describe; - is standard input")
      ->required();
  command.add_flag("--collection-names", options->wantsCollections,
                   "Only the names of the collections of a file of several, one to a line");
  command.add_flag("--column-names", options->wantsColumns,
                   "Only the names of the columns of a single collection, one to a line");
  AddFormatOptions(command, options->format);
  command.callback([options] { Info(*options); });
}

}  // namespace brindlex::cli
