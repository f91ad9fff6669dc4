#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/text.h"
#include "cli/check/defects.h"
#include "cli/commands/command_line.h"
#include "cli/format/blocks.h"
#include "cli/format/record_gather.h"
#include "cli/io/input.h"
#include "cli/io/system.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"
#include "cli/text/table.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

constexpr std::uint64_t kPage = 20;
constexpr std::uint64_t kSampleRows = 1000;
constexpr std::size_t kSampleBytes = std::size_t{8} * 1024 * 1024;
constexpr std::size_t kMostFields = 10'000;
constexpr std::size_t kMostOfAName = 256;

struct ViewOptions {
  std::string path;
  std::string name;
  FormatOptions format;
  bool all = false;
  std::vector<std::string> columns;
  std::optional<std::uint64_t> record;
  std::optional<std::size_t> width;
};

std::size_t WidthOf(const ViewOptions& options) {
  constexpr std::size_t kUsual = 80;
  if (options.width) return *options.width;
  if (const auto columns = system::TerminalColumns(system::kStandardOutput)) {
    return static_cast<std::size_t>(*columns);
  }
  return kUsual;
}

/// The records of one text, whose header `columns` are chosen from.
class Viewer {
 public:
  Viewer(const ViewOptions& options, const Encoding& encoding, Output& output)
      : options_(options),
        encoding_(encoding),
        output_(output),
        palette_(Palette::Of(system::kStandardOutput)),
        width_(WidthOf(options)) {}

  void Take(const GatheredRecord& record) {
    if (record.number == 0) return TakeHeader(record);
    if (isDone_) return;
    if (options_.record) {
      if (record.number == *options_.record) ShowAlone(record);
      return;
    }
    if (!options_.all && record.number > kPage) {
      hasMore_ = true;
      isDone_ = true;
      return;
    }
    Note(record);
    AddRow(record);
  }

  void Finish() {
    if (!hasHeader_) {
      notes_.emplace_back("there is nothing in it");
      return;
    }
    if (options_.record && !isDone_) {
      throw Failure(ExitCode::kUsage, fmt::format("there is no record {}", *options_.record));
    }
    if (options_.record) return;
    ShowSample();
    if (hasMore_)
      notes_.push_back(fmt::format("the first {} records; --all shows the rest", kPage));
  }

  bool IsDone() const { return isDone_; }
  /// What is to be said beside the table, behind it.
  const std::deque<std::string>& Notes() const { return notes_; }

  /// How much of a field is of use: a table shows no more of it than a line has room for.
  static std::size_t MostOfAField(const ViewOptions& options) {
    if (options.record) return std::size_t{4} * 1024 * 1024;
    const std::size_t width = WidthOf(options);
    constexpr std::size_t kUnlimited = 4096;
    constexpr std::size_t kBytesForAColumn = 8;
    return width == 0 ? kUnlimited : std::max(width * kBytesForAColumn, kMostOfAName);
  }

 private:
  void TakeHeader(const GatheredRecord& header) {
    hasHeader_ = true;
    for (const auto& field : header.fields) names_.push_back(Printable(encoding_, field.bytes));
    fields_ = names_.size();
    if (options_.columns.empty()) {
      for (std::size_t column = 0; column < fields_; ++column) chosen_.push_back(column);
      return;
    }
    for (const std::string& wanted : options_.columns) chosen_.push_back(ColumnOf(wanted));
  }

  std::size_t ColumnOf(const std::string& wanted) const {
    const auto exact = std::find(names_.begin(), names_.end(), wanted);
    if (exact != names_.end()) return static_cast<std::size_t>(exact - names_.begin());
    const Text text = Utf16OfUtf8(wanted);
    const auto same = std::find_if(names_.begin(), names_.end(), [&](const std::string& name) {
      return EqualIgnoringCase(Utf16OfUtf8(name), text);
    });
    if (same != names_.end()) return static_cast<std::size_t>(same - names_.begin());
    if (!wanted.empty() && wanted.find_first_not_of("0123456789") == std::string::npos) {
      const std::size_t number = std::strtoul(wanted.c_str(), nullptr, 10);
      if (number >= 1 && number <= fields_) return number - 1;
    }
    std::string known;
    for (std::size_t at = 0; at < names_.size(); ++at) AppendToList(known, names_[at], at);
    throw Failure(ExitCode::kUsage,
                  "there is no column " + Quoted(wanted) + "; there are " + known);
  }

  void Note(const GatheredRecord& record) {
    constexpr std::size_t kMostNotes = 10;
    std::string note;
    if (record.fields.size() != fields_) {
      note = fmt::format("record {} has {} of {} fields", record.number, record.fields.size(),
                         fields_);
    } else if (record.restBytes > 0) {
      note = fmt::format("record {} has text behind its last field end", record.number);
    } else if (!record.hasEnd) {
      note = fmt::format("record {} has no record end", record.number);
    }
    if (note.empty()) return;
    if (notes_.size() == kMostNotes) {
      notes_.emplace_back("there are more such records; brindlex check tells them all");
    } else if (notes_.size() < kMostNotes) {
      notes_.push_back(note);
    }
  }

  Row RowOf(const GatheredRecord& record) const {
    const bool isSound = record.fields.size() == fields_ && record.restBytes == 0 && record.hasEnd;
    Row row = {{std::to_string(record.number) + (isSound ? "" : "!"), false}};
    for (const std::size_t column : chosen_) {
      if (column >= record.fields.size()) {
        row.push_back({});
        continue;
      }
      const auto& field = record.fields[column];
      // What a cut has left of a character is no character; it goes.
      std::string_view bytes = field.bytes;
      const bool isCut = field.length > bytes.size();
      if (isCut) bytes.remove_suffix(encoding_.UnfinishedLength(bytes));
      row.push_back({Printable(encoding_, bytes), isCut});
    }
    return row;
  }

  void AddRow(const GatheredRecord& record) {
    Row row = RowOf(record);
    if (table_) return table_->WriteRow(row, output_, palette_);
    for (const Cell& cell : row) sampleBytes_ += sizeof(Cell) + cell.text.size();
    sample_.push_back(std::move(row));
    if (sample_.size() == kSampleRows || sampleBytes_ > kSampleBytes) ShowSample();
  }

  // What the rows so far hold decides the widths for all.
  void ShowSample() {
    if (table_) return;
    std::vector<std::string> heads = {"#"};
    for (const std::size_t column : chosen_) heads.push_back(names_[column]);
    table_.emplace(heads, sample_, width_);
    table_->WriteHead(output_, palette_);
    for (const Row& row : sample_) table_->WriteRow(row, output_, palette_);
    sample_.clear();
    const std::size_t missing = heads.size() - table_->Fitting();
    if (missing > 0) {
      notes_.push_back(fmt::format(
          "{} columns find no room; --columns chooses some, --width 0 takes the room they want",
          missing));
    }
  }

  void ShowAlone(const GatheredRecord& record) {
    isDone_ = true;
    Note(record);
    std::size_t widest = 0;
    for (const std::size_t column : chosen_) {
      widest = std::max(widest, ColumnsOf(names_[column]));
    }
    const std::string indent(widest + 2, ' ');
    for (const std::size_t column : chosen_) {
      const bool isThere = column < record.fields.size();
      output_.Write(palette_.Paint(Style::kHeading, Padded(names_[column], widest, false)));
      output_.Write("  ");
      if (isThere) {
        const auto& field = record.fields[column];
        output_.Write(PrintableLines(encoding_, field.bytes, indent));
        if (field.length > field.bytes.size()) output_.Write(kEllipsis);
      }
      output_.Write("\n");
    }
  }

  const ViewOptions& options_;
  const Encoding& encoding_;
  Output& output_;
  Palette palette_;
  std::size_t width_;
  std::vector<std::string> names_;
  std::size_t fields_ = 0;
  std::vector<std::size_t> chosen_;
  std::vector<Row> sample_;
  std::size_t sampleBytes_ = 0;
  std::optional<Table> table_;
  std::deque<std::string> notes_;
  bool hasHeader_ = false;
  bool hasMore_ = false;
  bool isDone_ = false;
};

/// A part of a file.
struct Part {
  std::uint64_t at = 0;
  std::optional<std::uint64_t> bytes;
};

void ViewText(Input& input, const Part& part, const Encoding& encoding, const ByteMarkers& markers,
              const ViewOptions& options, Output& output) {
  Viewer viewer(options, encoding, output);
  RecordGather gather(kMostFields, Viewer::MostOfAField(options),
                      [&](const GatheredRecord& record) { viewer.Take(record); });
  MarkerWalk walk(markers, part.at);
  std::uint64_t at = part.at;
  const std::uint64_t end = part.bytes ? part.at + *part.bytes : UINT64_MAX;
  std::uint64_t skip = input.Given() == 0 ? part.at : 0;
  for (auto block = input.Next(); !block.empty() && at < end; block = input.Next()) {
    block.remove_prefix(static_cast<std::size_t>(skip));
    skip = 0;
    block =
        block.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), end - at)));
    // The first page needs no more than a part of a block.
    constexpr std::size_t kStep = std::size_t{16} * 1024;
    for (std::size_t from = 0; from < block.size() && !viewer.IsDone(); from += kStep) {
      walk.Feed(block.substr(from, kStep), gather);
    }
    if (viewer.IsDone()) break;
    at += block.size();
  }
  if (!viewer.IsDone()) {
    walk.Finish(gather);
    gather.Finish();
  }
  viewer.Finish();
  output.Commit();
  for (const std::string& note : viewer.Notes()) Say(note);
}

void ViewBlocks(Input& input, const Layout& layout, const ViewOptions& options, Output& output) {
  std::vector<Row> rows;
  Progress progress("counting", input.Size());
  EachBlock(
      input, layout, true,
      [&](const Block& block) {
        // A list of names has an end, as everything that is looked at.
        constexpr std::size_t kMost = 100'000;
        if (rows.size() == kMost) return false;
        rows.push_back({{std::to_string(block.number), false},
                        {Printable(*Encoding::Named("utf-8"), block.name), false},
                        {std::to_string(block.records), false},
                        {std::to_string(block.fields), false},
                        {std::to_string(block.bytes), false}});
        return true;
      },
      progress);
  progress.Hide();
  const Palette palette = Palette::Of(system::kStandardOutput);
  const Table table({"#", "Collection", "Records", "Fields", "Bytes"}, rows, WidthOf(options));
  table.WriteHead(output, palette);
  for (const Row& row : rows) table.WriteRow(row, output, palette);
  output.Commit();
}

void View(const ViewOptions& options) {
  Input input(options.path);
  Output output(OutputOptions{});
  const Layout layout = FindLayout(input.Head(), options.format);
  if (!layout.doubt.empty()) Say(layout.doubt);
  if (!layout.blocks) {
    if (!options.name.empty()) {
      throw Failure(ExitCode::kUsage,
                    ShownPath(input.Name()) + " holds one collection, which has no name");
    }
    return ViewText(input, {layout.markBytes, std::nullopt}, layout.encoding, layout.markers,
                    options, output);
  }
  if (options.name.empty()) return ViewBlocks(input, layout, options, output);
  Progress progress("looking for " + options.name, input.Size());
  const Block block = FindBlock(input, layout, options.name, progress);
  progress.Hide();
  input.GoTo(block.at);
  ViewText(input, {block.at, block.bytes}, layout.encoding, *layout.inner, options, output);
}

}  // namespace

void AddView(CLI::App& tool, Context&) {
  auto options = std::make_shared<ViewOptions>();
  CLI::App& command =
      AddCommand(tool, "view", "Shows the records as a table, or the collections that a file holds",
                 "brindlex view books.txt                        the first records\n"
                 "brindlex view --all books.txt | less -S        all of them\n"
                 "brindlex view --columns Title,Price books.txt  two columns\n"
                 "brindlex view --record 17 books.txt            one record, whole\n"
                 "brindlex view settings.txt                     the collections of a file that "
                 "holds several\n"
                 "brindlex view settings.txt Books               one of them\n");
  AddInputFile(command, options->path);
  command.add_option("name", options->name, "The collection to open, in any letter case")
      ->type_name("NAME");
  auto* const all = command.add_flag("--all", options->all, "All records, not the first only");
  command
      .add_option("--columns", options->columns, "The columns to show, by their names or numbers")
      ->type_name("NAME,...")
      ->delimiter(',');
  command.add_option("--record", options->record, "One record, its values one below the other")
      ->type_name("N")
      ->excludes(all);
  command
      .add_option("--width", options->width,
                  "How wide a table may be, in place of the terminal's width; 0 for no limit")
      ->type_name("COLUMNS");
  AddFormatOptions(command, options->format);
  command.callback([options] { View(*options); });
}

}  // namespace brindlex::tool
