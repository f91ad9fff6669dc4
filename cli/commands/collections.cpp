#include <memory>

#include "cli/commands/conversion.h"
#include "cli/commands/convert_commands.h"
#include "cli/format/block_edit.h"

namespace brindlex::tool {
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
  command.add_option("file", options.path, "The file of several collections; - is standard input")
      ->type_name("FILE")
      ->required();
  command.add_option("name", options.name, "The collection, in any letter case")
      ->type_name("NAME")
      ->required();
  AddOutputOptions(command, options.output);
  command
      .add_option("--encoding", options.format.encoding,
                  "How the file's bytes stand for characters")
      ->type_name("NAME");
  if (!canBeInPlace) return;
  command.add_flag("--in-place", options.isInPlace, "Write FILE itself anew");
}

/// Where the result goes.
OutputOptions Target(const EditOptions& options) {
  if (!options.isInPlace) return options.output;
  if (options.path == "-" || options.output.path != "-") {
    throw Failure(ExitCode::kUsage, "--in-place writes FILE, which is then no - and needs no -o");
  }
  return {options.path, /*force=*/true};
}

/// `edit` hands a changed file to a sink.
template <class Edit>
void Run(const EditOptions& options, const Edit& edit) {
  const OutputOptions target = Target(options);
  const Source file(options.path);
  const BlockEditor editor(file, options.format);
  RunConversion(target, /*areAccepted=*/false,
                [&](const ByteSink& sink, Losses&) { edit(editor, sink); });
}

void AddExtract(CLI::App& collections) {
  struct Options : EditOptions {
    bool keepsMarkers = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* const command =
      collections.add_subcommand("extract", "Writes one collection as a file by itself");
  AddEditOptions(*command, *options, /*canBeInPlace=*/false);
  command->add_flag("--inner", options->keepsMarkers, "Keep the inner markers");
  command->callback([options] {
    Run(*options, [&](const BlockEditor& editor, const ByteSink& sink) {
      editor.Extract(options->name, options->keepsMarkers, sink);
    });
  });
}

void AddRemove(CLI::App& collections) {
  auto options = std::make_shared<EditOptions>();
  CLI::App* const command = collections.add_subcommand("remove", "Takes a collection out");
  AddEditOptions(*command, *options, /*canBeInPlace=*/true);
  command->callback([options] {
    Run(*options, [&](const BlockEditor& editor, const ByteSink& sink) {
      editor.Remove(options->name, sink);
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
  command->add_option("new-name", options->newName, "Its new name")->type_name("NEW")->required();
  command->callback([options] {
    Run(*options, [&](const BlockEditor& editor, const ByteSink& sink) {
      editor.Rename(options->name, options->newName, sink);
    });
  });
}

struct AddOptions : EditOptions {
  std::string added;
  bool replaces = false;
  bool areLossesAccepted = false;
};

void Add(const AddOptions& options) {
  const OutputOptions target = Target(options);
  if (options.path == "-" && options.added == "-") {
    throw Failure(ExitCode::kUsage, "standard input can be one of the two files only");
  }
  const Source added(options.added);
  // A file that is not there yet is made, in the encoding of what is added.
  const bool isNew = options.isInPlace && system::KindOf(options.path) == system::FileKind::kNone;
  std::optional<Source> file;
  if (!isNew) file.emplace(options.path);
  const BlockEditor editor =
      isNew ? BlockEditor::OfNewFile(added, options.format) : BlockEditor(*file, options.format);
  RunConversion(target, options.areLossesAccepted, [&](const ByteSink& sink, Losses& losses) {
    editor.Add(options.name, added, options.format, options.replaces, sink, losses);
  });
}

void AddAdd(CLI::App& collections) {
  auto options = std::make_shared<AddOptions>();
  CLI::App* const command =
      collections.add_subcommand("add", "Puts the collection of another file in, under a name");
  AddEditOptions(*command, *options, /*canBeInPlace=*/true);
  command->add_option("added", options->added, "The file with the collection; - is standard input")
      ->type_name("ADDED")
      ->required();
  command->add_flag("--replace", options->replaces, "Take the place of a collection of that name");
  command->add_flag("--lossy", options->areLossesAccepted,
                    "Add it even if not all of its bytes come along, and say what is left out");
  command->callback([options] { Add(*options); });
}

}  // namespace

void AddCollections(CLI::App& tool, Context& /*context*/) {
  CLI::App& command =
      AddCommand(tool, "collections",
                 "Adds, extracts, removes and renames collections of a file of several", kExamples);
  command.require_subcommand(1);
  AddAdd(command);
  AddExtract(command);
  AddRemove(command);
  AddRename(command);
}

}  // namespace brindlex::tool
