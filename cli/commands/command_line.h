#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/file_format.h"
#include "cli/io/failure.h"
#include "cli/io/output.h"

namespace brindlex::cli {

/// What the commands share. A command's callback leaves its result in `status`; a Failure that it
/// throws is shown and ends the program with the failure's status.
struct Context {
  ExitStatus status = ExitStatus::kSuccess;
};

/// Adds a command with its one-line description and its examples, which its help shows first: whole
/// command lines, each with its line end.
CLI::App& AddCommand(CLI::App& program, const std::string& name, const std::string& description,
                     const std::string& examples);

/// The command of that name. UsageError if there is none, with the one whose name is most alike.
const CLI::App& RequireCommand(const CLI::App& program, const std::string& name);

/// Writes `text` to standard output.
void Print(std::string_view text);

/// Adds an option or an argument with a value, which the help calls `type`. `to` must outlive the
/// parsing, as everything below.
template <class Value>
CLI::Option* AddValue(CLI::App& command, const std::string& name, Value& to,
                      const std::string& type, const std::string& what) {
  return command.add_option(name, to, what)->type_name(type);
}

/// Adds --encoding, --field-end, --record-end and what AddReadingOptions adds.
void AddFormatOptions(CLI::App& command, FormatOptions& options);

/// Adds --plain and --collections.
void AddReadingOptions(CLI::App& command, FormatOptions& options);

/// Adds -o/--output and --force. If `isRequired`, a command without -o is a usage error.
void AddOutputOptions(CLI::App& command, OutputOptions& options, bool isRequired = false);

/// Adds the positional FILE; "-" is standard input.
void AddInputFile(CLI::App& command, std::string& path);

/// `paths` with those that have * or ? replaced by the files that they match, on Windows.
std::vector<std::string> ExpandedPaths(const std::vector<std::string>& paths);

/// Runs the program: `arguments` are UTF-8, without the program's own name. Returns the exit
/// status. On Windows /? asks for help too.
int RunProgram(const std::vector<std::string>& arguments);

#define BRINDLEX_COMMAND(Name) void Add##Name(CLI::App& program, Context& context);
#include "cli/commands/all_commands.h"
#undef BRINDLEX_COMMAND

}  // namespace brindlex::cli
