#include "cli/commands/command_line.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "automation/hash_key.h"
#include "cli/io/diagnostics.h"
#include "cli/io/system.h"
#include "cli/text/escape.h"
#include "cli/version.h"

namespace brindlex::cli {
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
    "Shows, checks, converts and repairs collections kept as delimited text.";
constexpr const char* kExamples = "brindlex COMMAND --help              what a command takes\n";

void AddCommands(CLI::App& program, Context& context) {
#define BRINDLEX_COMMAND(Name) Add##Name(program, context);
#include "cli/commands/all_commands.h"
#undef BRINDLEX_COMMAND
}

/// How many letters have to be added, removed or changed to make one word of the other.
std::size_t EditDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t column = 0; column < row.size(); ++column) row[column] = column;
  for (std::size_t line = 1; line <= left.size(); ++line) {
    std::size_t diagonal = row[0];
    row[0] = line;
    for (std::size_t column = 1; column < row.size(); ++column) {
      const std::size_t changed = diagonal + (left[line - 1] == right[column - 1] ? 0 : 1);
      diagonal = row[column];
      row[column] = std::min({row[column] + 1, row[column - 1] + 1, changed});
    }
  }
  return row.back();
}

/// Refuses a first word that is no command, in place of the parser, which knows no better one.
void CheckCommand(const CLI::App& program, const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments.front().starts_with('-')) return;
  RequireCommand(program, arguments.front());
}

// From here on nobody can know in which order a table has the names of a file.
void SeedHashKeys() {
  SipKey key;
  if (!system::FillRandom(&key, sizeof(key))) {
    throw Failure(ExitStatus::kInputOutput, "the system supplies no random numbers");
  }
  SetHashKey(key);
}

int Run(std::vector<std::string> arguments) {
#ifdef _WIN32
  std::replace(arguments.begin(), arguments.end(), std::string("/?"), std::string("--help"));
#endif
  CLI::App program(kDescription, "brindlex");
  Context context;
  program.formatter(std::make_shared<ExamplesFirst>());
  program.footer(kExamples);
  program.set_help_flag("-h,--help", "Show this help and exit");
  program.set_version_flag("--version", std::string("brindlex ") + kVersion,
                           "Show the version and exit");
  program.require_subcommand(1);
  AddCommands(program, context);
  CheckCommand(program, arguments);
  try {
    // The parser takes the last first.
    std::reverse(arguments.begin(), arguments.end());
    program.parse(std::move(arguments));
  } catch (const CLI::CallForVersion& version) {
    Print(std::string(version.what()) + "\n");
  } catch (const CLI::Success&) {
    Print(program.help());
  } catch (const CLI::ParseError& error) {
    const auto chosen = program.get_subcommands();
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    // It quotes arguments as they are.
    constexpr std::size_t kMost = 500;
    Warn(Escaped(error.what(), kMost) + "; see brindlex" + command + " --help");
    return static_cast<int>(ExitStatus::kUsage);
  }
  return static_cast<int>(context.status);
}

}  // namespace

CLI::App& AddCommand(CLI::App& program, const std::string& name, const std::string& description,
                     const std::string& examples) {
  CLI::App* const command = program.add_subcommand(name, description);
  command->footer(examples);
  return *command;
}

void Print(std::string_view text) {
  Output output(OutputOptions{});
  output.Write(text);
  output.Commit();
}

const CLI::App& RequireCommand(const CLI::App& program, const std::string& name) {
  const CLI::App* nearest = nullptr;
  std::size_t fewest = 0;
  for (const CLI::App* const command :
       program.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_name() == name) return *command;
    constexpr std::size_t kMost = 40;
    const std::size_t distance = EditDistance(name.substr(0, kMost), command->get_name());
    if (nearest == nullptr || distance < fewest) {
      nearest = command;
      fewest = distance;
    }
  }
  // A name that has no letter in common is no help.
  const bool isAlike = nearest != nullptr && fewest < nearest->get_name().size();
  throw UsageError("there is no command " + Quoted(name) +
                   (isAlike ? "; did you mean " + nearest->get_name() + "?" : "") +
                   "; see brindlex --help");
}

void AddFormatOptions(CLI::App& command, FormatOptions& options) {
  AddValue(command, "--encoding", options.encoding, "NAME",
           "The file's encoding, in place of the detected one: windows-1252, another Windows code "
           "page by its number (874, 1250 to 1258), utf-8, utf-16, utf-16be");
  AddValue(command, "--field-end", options.fieldEnd, "TEXT",
           "The field end, as it is or as U+001F, in place of the detected one");
  AddValue(command, "--record-end", options.recordEnd, "TEXT", "The record end, in the same way");
  AddReadingOptions(command, options);
}

void AddReadingOptions(CLI::App& command, FormatOptions& options) {
  const auto force = [&options](Reading reading) {
    return [&options, reading](std::int64_t) { options.reading = reading; };
  };
  auto* const plain =
      command.add_flag("--plain", force(Reading::kPlain),
                       "One collection, even if it has the columns of a file of several");
  command
      .add_flag("--collections", force(Reading::kCollections),
                "Several collections, even if the text of one is damaged")
      ->excludes(plain);
}

void AddOutputOptions(CLI::App& command, OutputOptions& options, bool isRequired) {
  auto* const output = AddValue(
      command, "-o,--output", options.path, "FILE",
      isRequired ? "The file to write" : "The file to write; - is standard output, as without it");
  if (isRequired) output->required();
  command.add_flag("--force", options.force, "Overwrite a file that exists");
}

void AddInputFile(CLI::App& command, std::string& path) {
  AddValue(command, "file", path, "FILE", "The file to read; - is standard input")->required();
}

std::vector<std::string> ExpandedPaths(const std::vector<std::string>& paths) {
  std::vector<std::string> expanded;
  for (const std::string& path : paths) {
    for (std::string& one : system::Expanded(path)) expanded.push_back(std::move(one));
  }
  return expanded;
}

int RunProgram(const std::vector<std::string>& arguments) {
  try {
    SeedHashKeys();
    return Run(arguments);
  } catch (const Failure& failure) {
    Warn(failure.what());
    return static_cast<int>(failure.Status());
  } catch (const std::bad_alloc&) {
    Warn("there is not enough memory");
    return static_cast<int>(ExitStatus::kInputOutput);
  }
}

}  // namespace brindlex::cli
