#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/command_line.h"
#include "cli/commands/conversion.h"
#include "cli/commands/write_options.h"
#include "cli/compare/column_match.h"
#include "cli/format/collection_reader.h"
#include "cli/format/named_collections.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex cat january.txt february.txt -o both.txt\n"
    "brindlex cat *.txt --fill -o all.txt           every column that one of them has\n"
    "brindlex cat *.txt --common -o all.txt         only those that all of them have\n"
    "brindlex cat a.txt b.txt --collection Books    of files of several collections\n";

struct CatOptions {
  std::vector<std::string> paths;
  FormatOptions format;
  TargetOptions target;
  OutputOptions output;
  std::optional<std::string> collection;
  bool fills = false;
  bool takesCommon = false;
};

/// The collection of one file that is appended.
TableSource PartOf(Input& input, const CatOptions& options) {
  const FileFormat format = DetectFormat(input, options.format);
  if (!format.named) return OnlyTable(input, format);
  if (options.collection) return FindTable(input, format, options.collection);
  throw UsageError(ShownPath(input.Name()) +
                   " holds several collections; --collection NAME takes one of them");
}

/// The files one after the other, of which one is open at a time, besides standard input.
class Parts {
 public:
  explicit Parts(const CatOptions& options) : options_(options) {
    if (std::count(options.paths.begin(), options.paths.end(), "-") > 1) {
      throw UsageError("standard input can be one of the files only");
    }
  }

  /// Calls `each(path, reader)` for each file that has a header. Refusals get its name.
  template <class Each>
  void ForEach(const Each& each) {
    for (const std::string& path : options_.paths) {
      WithInput(path, [&](Input& input) {
        LossReport lossReport;
        try {
          CollectionReader reader(PartOf(input, options_), lossReport);
          reader.ExpectLineBreaks(kAnyLineBreaks);
          reader.ReadHeader();
          if (!reader.Names().empty()) each(path, reader);
        } catch (const ConversionError& error) {
          throw ConversionError(ShownPath(input.Name()) + ": " + error.what());
        }
      });
    }
  }

  template <class Use>
  void WithInput(const std::string& path, const Use& use) {
    if (path == "-") {
      if (!standard_) standard_.emplace(path);
      return use(*standard_);
    }
    Input input(path);
    use(input);
  }

 private:
  const CatOptions& options_;
  std::optional<Input> standard_;
};

[[noreturn]] void RefuseColumn(const std::string& what, const std::string& name,
                               const std::string& than) {
  throw ConversionError(what + " the column " + Quoted(name) + than +
                        "; --fill takes every column of all files, --common those that all have");
}

/// Adds the columns of one more file to those that are written.
void AddColumns(const CatOptions& options, const std::vector<std::string>& added,
                const std::string& first, std::vector<std::string>& target) {
  if (AreSameNames(added, target)) return;
  const auto missing = MatchColumns(target, added);
  const auto known = MatchColumns(added, target);
  std::vector<std::string> kept;
  for (std::size_t column = 0; column < target.size(); ++column) {
    if (missing[column] || options.fills) {
      kept.push_back(target[column]);
    } else if (!options.takesCommon) {
      RefuseColumn("it lacks", target[column], ", which " + ShownPath(first) + " has");
    }
  }
  for (std::size_t column = 0; column < added.size(); ++column) {
    if (known[column] || options.takesCommon) continue;
    if (!options.fills) {
      RefuseColumn("it has", added[column], ", which " + ShownPath(first) + " lacks");
    }
    kept.push_back(added[column]);
  }
  if (kept.empty()) throw ConversionError("it has no column in common with those before it");
  target = std::move(kept);
}

struct Target {
  std::vector<std::string> columns;
  /// The first file with a header; empty if there is none.
  std::string first;
};

Target FindTarget(Parts& parts, const CatOptions& options) {
  Target target;
  parts.ForEach([&](const std::string& path, const CollectionReader& reader) {
    if (target.first.empty()) {
      target = {reader.Names(), path};
    } else {
      AddColumns(options, reader.Names(), target.first, target.columns);
    }
  });
  return target;
}

/// Writes the records of one reader under the columns `target`.
class RowCopier {
 public:
  RowCopier(CollectionReader& reader, const std::vector<std::string>& target, TableWriter& writer)
      : reader_(reader),
        writer_(writer),
        columns_(MatchColumns(reader.Names(), target)),
        count_(target.size()) {
    std::optional<std::size_t> last;
    for (const auto& column : columns_) {
      if (!column) continue;
      isInOrder_ = isInOrder_ && (!last || *last < *column);
      last = column;
    }
  }

  void Copy() {
    while (reader_.NextRecord()) {
      try {
        writer_.BeginRow();
        if (isInOrder_) {
          CopyInOrder();
        } else {
          CopySorted();
        }
        writer_.EndRow();
      } catch (const RefusedValue& refused) {
        throw ConversionError(refused.At(reader_.Place()));
      }
    }
  }

 private:
  void FillUpTo(std::size_t column, std::size_t& written) {
    for (; written < column; ++written) writer_.Value({}, true, true);
  }

  /// A value may be of any length.
  void CopyInOrder() {
    std::size_t written = 0;
    for (const auto& column : columns_) {
      if (column) FillUpTo(*column, written);
      CollectionReader::Piece piece;
      do {
        piece = reader_.NextPiece();
        if (column) writer_.Value(piece.text, piece.isFirst, piece.isLast);
      } while (!piece.isLast);
      if (column) ++written;
    }
    FillUpTo(count_, written);
  }

  /// Values that change places are kept until the record is read.
  void CopySorted() {
    constexpr std::size_t kMostOfARecord = std::size_t{16} * 1024 * 1024;
    row_.resize(count_);
    for (std::string& value : row_) value.clear();
    std::size_t kept = 0;
    for (const auto& column : columns_) {
      CollectionReader::Piece piece;
      do {
        piece = reader_.NextPiece();
        if (!column) continue;
        row_[*column] += piece.text;
        kept += piece.text.size();
        if (kept <= kMostOfARecord) continue;
        throw ConversionError(reader_.Place() +
                              " has more than 16 MB, too much to put its columns in another order");
      } while (!piece.isLast);
    }
    for (const std::string& value : row_) writer_.Value(value, true, true);
  }

  CollectionReader& reader_;
  TableWriter& writer_;
  /// Where each column of the reader goes.
  std::vector<std::optional<std::size_t>> columns_;
  std::size_t count_;
  bool isInOrder_ = true;
  std::vector<std::string> row_;
};

void Cat(CatOptions options) {
  options.paths = ExpandedPaths(options.paths);
  Parts parts(options);
  const Target target = FindTarget(parts, options);
  DelimitedForm form;
  parts.WithInput(target.first.empty() ? options.paths.front() : target.first,
                  [&](Input& input) { form = TargetForm(options.target, input, options.format); });
  RunConversion(options.output, /*allowsLossy=*/false,
                [&](const ByteHandler& writeBytes, LossReport&) {
                  const auto writer = MakeDelimitedWriter(writeBytes, form);
                  writer->BeginCollection({});
                  if (!target.columns.empty()) writer->Header(target.columns, 0);
                  parts.ForEach([&](const std::string&, CollectionReader& reader) {
                    RowCopier(reader, target.columns, *writer).Copy();
                  });
                  writer->EndCollection();
                  writer->End();
                });
}

}  // namespace

void AddCat(CLI::App& program, Context& /*context*/) {
  CLI::App& command = AddCommand(
      program, "cat", "Appends the collections of several files to each other", kExamples);
  auto options = std::make_shared<CatOptions>();
  AddValue(command, "files", options->paths, "FILE", "The files to append; - is standard input")
      ->required();
  AddValue(command, "--collection", options->collection, "NAME",
           "The collection to take of files of several");
  auto* const fill = command.add_flag(
      "--fill", options->fills, "Every column that one of the files has; empty where one lacks it");
  command.add_flag("--common", options->takesCommon, "Only the columns that all files have")
      ->excludes(fill);
  AddOutputOptions(command, options->output);
  AddTargetOptions(command, options->target);
  AddFormatOptions(command, options->format);
  command.callback([options] { Cat(*options); });
}

}  // namespace brindlex::cli
