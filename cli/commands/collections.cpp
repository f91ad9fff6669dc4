#include <memory>
#include <optional>

#include "cli/commands/command_line.h"
#include "cli/commands/conversion.h"
#include "cli/format/collection_edit.h"
#include "cli/io/system.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex collections add lists.txt Books books.txt --in-place\n"
    "brindlex collections extract lists.txt Books -o books.txt\n"
    "brindlex collections rename lists.txt Books 'Old books' --in-place\n"
    "brindlex collections remove lists.txt Books -o fewer.txt\n"
    "brindlex collections add --help                  what one of them takes\n";

struct EditOptions {
  std::string path;
  std::string name;
  FormatOptions format;
  OutputOptions output;
  bool isInPlace = false;
};

void AddEditOptions(CLI::App& command, EditOptions& options, bool canBeInPlace) {
  AddValue(command, "file", options.path, "FILE",
           "The file of several collections; - is standard input")
      ->required();
  AddValue(command, "name", options.name, "NAME", "The collection, in any letter case")->required();
  AddOutputOptions(command, options.output);
  AddValue(command, "--encoding", options.format.encoding, "NAME",
           "The file's encoding, in place of the detected one");
  if (canBeInPlace) AddInPlace(command, options.isInPlace);
}

/// Where the result goes.
OutputOptions Target(const EditOptions& options) {
  return InPlaceTarget(options.path, options.output, options.isInPlace);
}

/// `edit` passes a changed file to the handler that it is given.
template <class Edit>
void Run(const EditOptions& options, const Edit& edit) {
  const OutputOptions target = Target(options);
  Input file(options.path);
  const CollectionEditor editor(file, options.format);
  RunConversion(
      target, /*allowsLossy=*/false,
      [&](const ByteHandler& writeBytes, LossReport&) { edit(editor, writeBytes); }, &file);
}

void AddExtract(CLI::App& collections) {
  struct Options : EditOptions {
    bool keepsMarkers = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* const command =
      collections.add_subcommand("extract", "Writes one collection as a file of its own");
  AddEditOptions(*command, *options, /*canBeInPlace=*/false);
  command->add_flag("--inner", options->keepsMarkers, "Keep the inner markers");
  command->callback([options] {
    Run(*options, [&](const CollectionEditor& editor, const ByteHandler& writeBytes) {
      editor.Extract(options->name, options->keepsMarkers, writeBytes);
    });
  });
}

void AddRemove(CLI::App& collections) {
  auto options = std::make_shared<EditOptions>();
  CLI::App* const command = collections.add_subcommand("remove", "Removes a collection");
  AddEditOptions(*command, *options, /*canBeInPlace=*/true);
  command->callback([options] {
    Run(*options, [&](const CollectionEditor& editor, const ByteHandler& writeBytes) {
      editor.Remove(options->name, writeBytes);
    });
  });
}

void AddRename(CLI::App& collections) {
  struct Options : EditOptions {
    std::string newName;
  };
  auto options = std::make_shared<Options>();
  CLI::App* const command = collections.add_subcommand("rename", "Gives a collection another name");
  AddEditOptions(*command, *options, /*canBeInPlace=*/true);
  AddValue(*command, "new-name", options->newName, "NEW", "Its new name")->required();
  command->callback([options] {
    Run(*options, [&](const CollectionEditor& editor, const ByteHandler& writeBytes) {
      editor.Rename(options->name, options->newName, writeBytes);
    });
  });
}

struct AddOptions : EditOptions {
  std::string added;
  bool replaces = false;
  bool allowsLossy = false;
};

void Add(const AddOptions& options) {
  const OutputOptions target = Target(options);
  if (options.path == "-" && options.added == "-") {
    throw UsageError("standard input can be one of the two files only");
  }
  Input added(options.added);
  // A file that does not exist is made, in the encoding of what is added.
  const bool isNew = options.isInPlace && system::KindOf(options.path) == system::FileKind::kNone;
  std::optional<Input> file;
  if (!isNew) file.emplace(options.path);
  const CollectionEditor editor = isNew ? CollectionEditor::OfNewFile(added, options.format)
                                        : CollectionEditor(*file, options.format);
  RunConversion(
      target, options.allowsLossy,
      [&](const ByteHandler& writeBytes, LossReport& lossReport) {
        editor.Add(options.name, added, options.format, options.replaces, writeBytes, lossReport);
      },
      file ? &*file : nullptr);
}

void AddAdd(CLI::App& collections) {
  auto options = std::make_shared<AddOptions>();
  CLI::App* const command =
      collections.add_subcommand("add", "Adds the collection of another file, under a name");
  AddEditOptions(*command, *options, /*canBeInPlace=*/true);
  AddValue(*command, "added", options->added, "ADDED",
           "The file with the collection; - is standard input")
      ->required();
  command->add_flag("--replace", options->replaces, "Replace a collection of that name");
  command->add_flag("--lossy", options->allowsLossy,
                    "Add it even if not all of its bytes are kept; warn of what is left out");
  command->callback([options] { Add(*options); });
}

}  // namespace

void AddCollections(CLI::App& program, Context& /*context*/) {
  CLI::App& command =
      AddCommand(program, "collections",
                 "Adds, extracts, removes and renames collections of a file of several", kExamples);
  command.require_subcommand(1);
  AddAdd(command);
  AddExtract(command);
  AddRemove(command);
  AddRename(command);
}

}  // namespace brindlex::cli
