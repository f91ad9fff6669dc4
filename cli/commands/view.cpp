#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/command_line.h"
#include "cli/format/named_collections.h"
#include "cli/format/record_scanner.h"
#include "cli/io/diagnostics.h"
#include "cli/io/input.h"
#include "cli/io/system.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"
#include "cli/text/table.h"

namespace brindlex::cli {
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
  bool wantsNoPager = false;
};

/// The user's pager, or the system's; empty if none is to be used.
std::string PagerFor(const ViewOptions& options) {
  const char* const own = std::getenv("PAGER");
  if (options.wantsNoPager) return {};
  const std::string pager = own == nullptr ? system::DefaultPager() : own;
  return pager == "cat" ? std::string() : pager;
}

std::size_t WidthOf(const ViewOptions& options) {
  constexpr int kUsual = 80;
  if (options.width) return *options.width;
  const int columns = system::SizeOfTerminal(system::kStandardOutput).columns;
  return static_cast<std::size_t>(columns > 0 ? columns : kUsual);
}

/// The records of one text, whose header `columns` are chosen from.
class Viewer {
 public:
  Viewer(const ViewOptions& options, const Encoding& encoding, Output& output)
      : options_(options),
        encoding_(encoding),
        output_(output),
        palette_(PaletteFor(system::kStandardOutput)),
        width_(WidthOf(options)) {}

  void Take(const ScannedRecord& record) {
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
      throw UsageError(fmt::format("there is no record {}", *options_.record));
    }
    if (options_.record) return;
    ShowSample();
    if (hasMore_)
      notes_.push_back(fmt::format("the first {} records; --all shows the rest", kPage));
  }

  bool IsDone() const { return isDone_; }
  /// Remarks to show after the table.
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
  void TakeHeader(const ScannedRecord& header) {
    hasHeader_ = true;
    for (std::size_t column = 0; column < header.fields.size(); ++column) {
      names_.push_back(Printable(encoding_, header.bytes[column]));
    }
    fields_ = header.fieldCount;
    const std::size_t shown = names_.size();
    if (options_.columns.empty()) {
      for (std::size_t column = 0; column < shown; ++column) chosen_.push_back(column);
      return;
    }
    for (const std::string& wanted : options_.columns) chosen_.push_back(ColumnOf(wanted));
  }

  std::size_t ColumnOf(const std::string& wanted) const {
    const auto exact = std::find(names_.begin(), names_.end(), wanted);
    if (exact != names_.end()) return static_cast<std::size_t>(exact - names_.begin());
    const auto same = std::find_if(names_.begin(), names_.end(), [&](const std::string& name) {
      return IsSameName(name, wanted);
    });
    if (same != names_.end()) return static_cast<std::size_t>(same - names_.begin());
    if (!wanted.empty() && wanted.find_first_not_of("0123456789") == std::string::npos) {
      const std::size_t number = std::strtoul(wanted.c_str(), nullptr, 10);
      if (number >= 1 && number <= names_.size()) return number - 1;
    }
    std::string known;
    for (std::size_t at = 0; at < names_.size(); ++at) AppendToList(known, names_[at], at);
    throw UsageError("there is no column " + Quoted(wanted) + "; there are " + known);
  }

  void Note(const ScannedRecord& record) {
    constexpr std::size_t kMostNotes = 10;
    std::string note;
    if (record.fieldCount != fields_) {
      note =
          fmt::format("record {} has {} of {} fields", record.number, record.fieldCount, fields_);
    } else if (record.rest.length > 0) {
      note = fmt::format("record {} has text after its last field end", record.number);
    } else if (!record.hasEnd) {
      note = fmt::format("record {} has no record end", record.number);
    }
    if (note.empty()) return;
    if (notes_.size() == kMostNotes) {
      notes_.emplace_back("there are more such records; brindlex check reports them all");
    } else if (notes_.size() < kMostNotes) {
      notes_.push_back(note);
    }
  }

  Row RowOf(const ScannedRecord& record) const {
    Row row = {{std::to_string(record.number) + (record.IsValid(fields_) ? "" : "!"), false}};
    for (const std::size_t column : chosen_) {
      if (column >= record.fields.size()) {
        row.push_back({});
        continue;
      }
      // A truncated value ends with a whole character.
      std::string_view bytes = record.bytes[column];
      const bool isTruncated = record.fields[column].length > bytes.size();
      if (isTruncated) bytes.remove_suffix(encoding_.UnfinishedLength(bytes));
      row.push_back({Printable(encoding_, bytes), isTruncated});
    }
    return row;
  }

  void AddRow(const ScannedRecord& record) {
    Row row = RowOf(record);
    if (table_) return output_.Write(table_->Line(row));
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
    output_.Write(table_->Head(palette_));
    for (const Row& row : sample_) output_.Write(table_->Line(row));
    sample_.clear();
    const std::size_t missing = heads.size() - table_->Fitting();
    if (missing > 0) {
      notes_.push_back(fmt::format(
          "{} columns do not fit; --columns chooses some, --width 0 shows all", missing));
    }
  }

  void ShowAlone(const ScannedRecord& record) {
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
        const std::string& bytes = record.bytes[column];
        output_.Write(PrintableLines(encoding_, bytes, indent));
        if (record.fields[column].length > bytes.size()) output_.Write(kEllipsis);
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
  std::uint64_t fields_ = 0;
  std::vector<std::size_t> chosen_;
  std::vector<Row> sample_;
  std::size_t sampleBytes_ = 0;
  std::optional<Table> table_;
  std::deque<std::string> notes_;
  bool hasHeader_ = false;
  bool hasMore_ = false;
  bool isDone_ = false;
};

void ViewText(Input& input, const Extent& text, const FileFormat& format,
              const ByteMarkers& markers, const ViewOptions& options, Output& output) {
  Viewer viewer(options, format.encoding, output);
  InputWindow window(input, text);
  Tokenizer tokenizer(window, format.encoding, markers);
  RecordScanner scanner(tokenizer, kMostFields, Viewer::MostOfAField(options));
  for (ScannedRecord record; !viewer.IsDone() && !output.IsEnded() && scanner.Next(record);) {
    viewer.Take(record);
  }
  viewer.Finish();
  output.Commit();
  for (const std::string& note : viewer.Notes()) Warn(note);
}

void ViewCollections(Input& input, const FileFormat& format, const ViewOptions& options,
                     Output& output) {
  // What is looked at has an end, a list of names too.
  constexpr std::size_t kMost = 100'000;
  std::vector<Row> rows;
  Progress progress("counting", input.Size());
  NamedCollectionScanner scanner(input, format, /*countsRecords=*/true, &progress);
  for (NamedCollection one; rows.size() < kMost && scanner.Next(one);) {
    constexpr std::size_t kMostOfAName = 400;
    const std::string_view name = std::string_view(one.nameBytes).substr(0, kMostOfAName);
    rows.push_back({{std::to_string(one.number), false},
                    {Printable(format.encoding, name), name.size() < one.nameExtent.length},
                    {std::to_string(one.records), false},
                    {std::to_string(one.fields), false},
                    {std::to_string(one.data.length), false}});
  }
  progress.Hide();
  const Palette palette = PaletteFor(system::kStandardOutput);
  const Table table({"#", "Collection", "Records", "Fields", "Bytes"}, rows, WidthOf(options));
  output.Write(table.Head(palette));
  for (const Row& row : rows) output.Write(table.Line(row));
  output.Commit();
}

/// The text of the collection of that name; of the first, if there are several.
Extent FindText(Input& input, const FileFormat& format, const std::string& name) {
  Progress progress("looking for " + name, input.Size());
  NamedCollectionScanner scanner(input, format, /*countsRecords=*/false, &progress);
  std::string names;
  std::size_t count = 0;
  for (NamedCollection one; scanner.Next(one); ++count) {
    const std::string own = one.Name(format.encoding);
    if (IsSameName(own, name)) return one.data;
    AppendToList(names, own, count);
  }
  RefuseUnknownCollection(input, name, names);
}

void View(const ViewOptions& options) {
  Input input(options.path);
  Output output(OutputOptions{});
  const int lines = system::SizeOfTerminal(system::kStandardOutput).lines;
  if (lines > 0) output.PageThrough(PagerFor(options), lines - 1);
  const FileFormat format = DetectFormat(input, options.format);
  if (!format.hint.empty()) Warn(format.hint);
  if (!format.named) {
    if (!options.name.empty()) RefuseCollectionName(input);
    return ViewText(input, format.Text(), format, format.markers, options, output);
  }
  if (options.name.empty()) return ViewCollections(input, format, options, output);
  ViewText(input, FindText(input, format, options.name), format, *format.inner, options, output);
}

}  // namespace

void AddView(CLI::App& program, Context&) {
  auto options = std::make_shared<ViewOptions>();
  CLI::App& command = AddCommand(
      program, "view", "Shows the records as a table, or the collections that a file holds",
      "brindlex view books.txt                        the first records\n"
      "brindlex view --all books.txt                  all of them\n"
      "brindlex view --columns Title,Price books.txt  two columns\n"
      "brindlex view --record 17 books.txt            one record, whole\n"
      "brindlex view settings.txt                     the collections of a file that "
      "holds several\n"
      "brindlex view settings.txt Books               one of them\n");
  AddInputFile(command, options->path);
  AddValue(command, "name", options->name, "NAME", "The collection to open, in any letter case");
  auto* const all = command.add_flag("--all", options->all, "All records, not only the first");
  AddValue(command, "--columns", options->columns, "NAME,...",
           "The columns to show, by their names or numbers")
      ->delimiter(',');
  AddValue(command, "--record", options->record, "N", "One record, its values one below the other")
      ->excludes(all);
  AddValue(command, "--width", options->width, "COLUMNS",
           "How wide a table may be, in place of the terminal's width; 0 for no limit");
  command.add_flag("--no-pager", options->wantsNoPager,
                   "No pager, however long the table is; PAGER names the one that is used");
  AddFormatOptions(command, options->format);
  command.callback([options] { View(*options); });
}

}  // namespace brindlex::cli
