#include "cli/commands/command_line.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "automation/hash_key.h"
#include "cli/commands/convert_commands.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"
#include "cli/version.h"

namespace brindlex::tool {
namespace {

/// Help with the examples first, which are kept as the command's footer.
class ExamplesFirst : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode) const override {
    std::string help = app->get_description() + "\n\n";
    if (!app->get_footer().empty()) help += "Examples:\n" + Indented(app->get_footer()) + "\n";
    help += make_usage(app, std::move(name));
    help += make_positionals(app);
    help += make_groups(app, CLI::AppFormatMode::Normal);
    help += make_subcommands(app, CLI::AppFormatMode::Normal);
    return help;
  }

 private:
  static std::string Indented(const std::string& lines) {
    std::string result;
    bool isAtStart = true;
    for (const char c : lines) {
      if (isAtStart) result += "  ";
      isAtStart = c == '\n';
      result += c;
    }
    return result;
  }
};

constexpr const char* kDescription =
    "Looks into, checks, converts and mends collections kept as delimited text.";
constexpr const char* kExamples = "brindlex COMMAND --help              what a command takes\n";

void Print(std::string_view text) {
  Output output(OutputOptions{});
  output.Write(text);
  output.Commit();
}

std::vector<std::string> Reversed(const std::vector<std::string>& arguments) {
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
#ifdef _WIN32
  std::replace(reversed.begin(), reversed.end(), std::string("/?"), std::string("--help"));
#endif
  return reversed;
}

// In the order that the help shows them in.
void AddCommands(CLI::App& tool, Context& context) {
  AddView(tool, context);
  AddInfo(tool, context);
  AddCheck(tool, context);
  AddSalvage(tool, context);
  AddToJson(tool, context);
  AddToCsv(tool, context);
  AddToHtml(tool, context);
  AddFromJson(tool, context);
  AddFromCsv(tool, context);
  AddCollections(tool, context);
  AddBase(tool, context);
}

// From here on nobody can know in which order a table has the names of a file.
void SeedHashes() {
  SipKey key;
  if (!system::FillRandom(&key, sizeof(key))) {
    throw Failure(ExitCode::kInputOutput, "the system supplies no random numbers");
  }
  SetHashKey(key);
}

int Run(const std::vector<std::string>& arguments) {
  CLI::App tool(kDescription, "brindlex");
  Context context;
  tool.formatter(std::make_shared<ExamplesFirst>());
  tool.footer(kExamples);
  tool.set_help_flag("-h,--help", "Show this help and leave");
  tool.set_version_flag("--version", std::string("brindlex ") + kVersion,
                        "Show the version and leave");
  tool.require_subcommand(1);
  AddCommands(tool, context);
  try {
    tool.parse(Reversed(arguments));
  } catch (const CLI::CallForVersion& version) {
    Print(std::string(version.what()) + "\n");
  } catch (const CLI::Success&) {
    Print(tool.help());
  } catch (const CLI::ParseError& error) {
    const auto chosen = tool.get_subcommands();
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    // It quotes arguments as they are.
    constexpr std::size_t kMost = 500;
    Say(Escaped(error.what(), kMost) + "; see brindlex" + command + " --help");
    return static_cast<int>(ExitCode::kUsage);
  }
  return static_cast<int>(context.exit);
}

}  // namespace

CLI::App& AddCommand(CLI::App& tool, const std::string& name, const std::string& description,
                     const std::string& examples) {
  CLI::App* const command = tool.add_subcommand(name, description);
  command->footer(examples);
  return *command;
}

void AddFormatOptions(CLI::App& command, FormatOptions& options) {
  command
      .add_option(
          "--encoding", options.encoding,
          "How the file's bytes stand for characters: windows-1252 (when nothing else is said "
          "and no byte order mark is there), another Windows code page by its number (874, 1250 "
          "to 1258), utf-8, utf-16, utf-16be")
      ->type_name("NAME");
  command
      .add_option("--field-end", options.fieldEnd,
                  "The field end, as it is or as U+001F, in place of the one found out")
      ->type_name("TEXT");
  command.add_option("--record-end", options.recordEnd, "The record end, likewise")
      ->type_name("TEXT");
}

void AddOutputOptions(CLI::App& command, OutputOptions& options, bool isRequired) {
  auto* const output =
      command
          .add_option("-o,--output", options.path,
                      isRequired ? "The file to write"
                                 : "The file to write; - is standard output, as without it")
          ->type_name("FILE");
  if (isRequired) output->required();
  command.add_flag("--force", options.force, "Replace a file that is there");
}

void AddInputFile(CLI::App& command, std::string& path) {
  command.add_option("file", path, "The file to read; - is standard input")
      ->type_name("FILE")
      ->required();
}

void AddInputFiles(CLI::App& command, std::vector<std::string>& paths, const std::string& what) {
  command.add_option("files", paths, what)->type_name("FILE")->required();
}

std::vector<std::string> ExpandedPaths(const std::vector<std::string>& paths) {
  std::vector<std::string> expanded;
  for (const std::string& path : paths) {
    for (std::string& one : system::Expanded(path)) expanded.push_back(std::move(one));
  }
  return expanded;
}

int RunTool(const std::vector<std::string>& arguments) {
  try {
    SeedHashes();
    return Run(arguments);
  } catch (const Failure& failure) {
    Say(failure.what());
    return static_cast<int>(failure.Code());
  } catch (const std::bad_alloc&) {
    Say("there is not enough memory");
    return static_cast<int>(ExitCode::kInputOutput);
  }
}

}  // namespace brindlex::tool
