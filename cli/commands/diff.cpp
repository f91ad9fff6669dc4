#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/command_line.h"
#include "cli/commands/difference_writer.h"
#include "cli/compare/column_match.h"
#include "cli/compare/table_comparison.h"
#include "cli/format/named_collections.h"
#include "cli/io/diagnostics.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex diff old.txt new.txt                 in file order\n"
    "brindlex diff old.txt new.txt --key Title     by the values of a column\n"
    "brindlex diff old.txt new.txt --json | jq .   for programs\n"
    "git config difftool.brindlex.cmd 'brindlex diff \"$LOCAL\" \"$REMOTE\"'\n";

struct DiffOptions {
  std::string before;
  std::string after;
  FormatOptions format;
  std::optional<std::string> collection;
  std::optional<std::string> key;
  bool asJson = false;
};

/// Whether both inputs hold the same bytes.
bool AreSameBytes(Input& before, Input& after) {
  if (before.Size() != after.Size() && before.Size() && after.Size()) return false;
  Progress progress("comparing", before.Size());
  InputWindow left(before, kWholeInput, &progress);
  InputWindow right(after, kWholeInput);
  for (;;) {
    const bool hasLeft = left.Fill();
    const bool hasRight = right.Fill();
    if (left.Bytes() != right.Bytes()) return false;
    if (!hasLeft && !hasRight) return true;
    left.Consume(left.Bytes().size());
    right.Consume(right.Bytes().size());
  }
}

/// One of the two files.
class Side {
 public:
  Side(const std::string& path, const DiffOptions& options) : input_(path), options_(options) {}

  Input& File() { return input_; }

  void Detect() {
    format_ = DetectFormat(input_, options_.format);
    if (!format_.hint.empty()) Warn(ShownPath(input_.Name()) + ": " + format_.hint);
    if (format_.named) index_ = CollectionIndex(input_, format_);
  }

  bool IsEmpty() { return input_.Head().size() == format_.markBytes; }
  bool IsNamed() const { return format_.named.has_value(); }
  const CollectionIndex& Index() const { return index_; }

  /// The collection of --collection, or the only one.
  TableSource Table() {
    if (!format_.named) return OnlyTable(input_, format_);
    return Table(index_.Require(input_, *options_.collection));
  }

  TableSource Table(const NamedCollection& one) { return index_.Table(input_, format_, one); }

 private:
  Input input_;
  const DiffOptions& options_;
  FileFormat format_;
  CollectionIndex index_;
};

/// Compares two files, and writes what it finds.
class Comparison {
 public:
  Comparison(const DiffOptions& options, DifferenceWriter& writer)
      : options_(options),
        writer_(writer),
        before_(options.before, options),
        after_(options.after, options) {}

  void Run() {
    if (AreSameBytes(before_.File(), after_.File())) return;
    Refusing(before_, [&] { before_.Detect(); });
    Refusing(after_, [&] { after_.Detect(); });
    const bool isNamed = before_.IsNamed() || after_.IsNamed();
    if (!isNamed || options_.collection) {
      if (options_.collection && !isNamed) RefuseCollectionName(before_.File());
      return Compare(before_.Table(), after_.Table());
    }
    const bool areBoth =
        (before_.IsNamed() || before_.IsEmpty()) && (after_.IsNamed() || after_.IsEmpty());
    if (!areBoth) {
      throw UsageError(
          "one of the files holds several collections, the other one without a name; --collection "
          "NAME compares one of them, --plain or --collections decide how both are read");
    }
    CompareCollections();
  }

 private:
  /// A file that cannot be compared is no difference: it has an exit status of its own.
  template <class Step>
  void Refusing(Side& side, const Step& step) {
    try {
      step();
    } catch (const ConversionError& error) {
      throw Failure(ExitStatus::kInputOutput, ShownPath(side.File().Name()) + ": " + error.what());
    }
  }

  void CompareCollections() {
    std::vector<const NamedCollection*> common;
    for (const NamedCollection& one : before_.Index().All()) {
      const std::string& name = before_.Index().NameOf(one);
      if (after_.Index().Find(name) == nullptr) writer_.WriteCollection(name, false);
    }
    for (const NamedCollection& one : after_.Index().All()) {
      const std::string& name = after_.Index().NameOf(one);
      const NamedCollection* const old = before_.Index().Find(name);
      if (old == nullptr) {
        writer_.WriteCollection(name, true);
      } else {
        Compare(before_.Table(*old), after_.Table(one));
      }
    }
  }

  void Compare(const TableSource& before, const TableSource& after) {
    TablePair pair{before, after, {}, {}, 0};
    std::vector<std::string> old;
    std::vector<std::string> names;
    Refusing(before_, [&] { old = RecordStream(before).Names(); });
    Refusing(after_, [&] { names = RecordStream(after).Names(); });
    try {
      Match(pair, old, names);
      const auto handle = [&](const RecordDifference& one) { writer_.Write(one); };
      if (!options_.key || !FindKey(pair, old, names)) return CompareInOrder(pair, handle);
      if (!CompareByKey(pair, handle)) writer_.WriteManyMoved();
    } catch (const ConversionError& error) {
      throw Failure(ExitStatus::kInputOutput, error.what());
    }
  }

  void Match(TablePair& pair, const std::vector<std::string>& old,
             const std::vector<std::string>& names) {
    const auto columns = MatchColumns(names, old);
    pair.beforeColumns.ids.resize(old.size());
    pair.afterColumns.ids.resize(names.size());
    for (std::size_t column = 0; column < names.size(); ++column) {
      if (!columns[column]) continue;
      pair.beforeColumns.ids[*columns[column]] = pair.afterColumns.ids[column] = pair.common;
      ++pair.common;
    }
    writer_.Begin(pair, old, names);
    for (std::size_t column = 0; column < old.size(); ++column) {
      if (!pair.beforeColumns.ids[column]) writer_.WriteColumn(old[column], false);
    }
    for (std::size_t column = 0; column < names.size(); ++column) {
      if (!pair.afterColumns.ids[column]) writer_.WriteColumn(names[column], true);
    }
  }

  /// The columns of --key. Of several collections, some may be without it.
  bool FindKey(TablePair& pair, const std::vector<std::string>& old,
               const std::vector<std::string>& names) const {
    const auto find = [&](const std::vector<std::string>& among, ComparedColumns& columns) {
      for (std::size_t column = 0; column < among.size() && !columns.key; ++column) {
        if (IsSameName(among[column], *options_.key)) columns.key = column;
      }
      return columns.key.has_value();
    };
    const bool hasOld = find(old, pair.beforeColumns);
    const bool hasNew = find(names, pair.afterColumns);
    if (hasOld && hasNew) return true;
    pair.beforeColumns.key.reset();
    pair.afterColumns.key.reset();
    if (!pair.after.name.empty() || old.empty() || names.empty()) return false;
    throw UsageError((hasOld ? options_.after : options_.before) + " has no column " +
                     Quoted(*options_.key));
  }

  const DiffOptions& options_;
  DifferenceWriter& writer_;
  Side before_;
  Side after_;
};

void Diff(const DiffOptions& options, Context& context) {
  if (options.before == "-" && options.after == "-") {
    throw UsageError("standard input can be one of the two files only");
  }
  Output output(OutputOptions{});
  DifferenceWriter writer(output, options.asJson);
  Comparison(options, writer).Run();
  writer.Finish();
  output.Commit();
  if (writer.Count() > 0) context.status = ExitStatus::kDefects;
  if (system::IsTerminal(system::kStandardError)) {
    Warn(writer.Count() == 0 ? "no differences" : Counted(writer.Count(), "difference"));
  }
}

}  // namespace

void AddDiff(CLI::App& program, Context& context) {
  CLI::App& command = AddCommand(
      program, "diff", "Compares two files: added, removed, changed and moved records", kExamples);
  auto options = std::make_shared<DiffOptions>();
  AddValue(command, "old", options->before, "OLD", "The file as it was; - is standard input")
      ->required();
  AddValue(command, "new", options->after, "NEW", "The file as it is; - is standard input")
      ->required();
  AddValue(command, "--collection", options->collection, "NAME",
           "One collection of files of several");
  AddValue(command, "--key", options->key, "NAME",
           "Compare records with the same value in this column, in any order");
  command.add_flag("--json", options->asJson, "One JSON array of objects");
  AddFormatOptions(command, options->format);
  command.callback([options, &context] { Diff(*options, context); });
}

}  // namespace brindlex::cli
