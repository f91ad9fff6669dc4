#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "cli/format/layout.h"
#include "cli/io/output.h"
#include "cli/text/diagnostics.h"

namespace brindlex::tool {

/// What the commands share. A command's callback leaves its result in `exit`; a Failure that it
/// throws is shown and ends the program with the failure's code.
struct Context {
  ExitCode exit = ExitCode::kFine;
};

/// Adds a command with its one-line description and its examples, which its help shows first: whole
/// command lines, each with its line end.
CLI::App& AddCommand(CLI::App& tool, const std::string& name, const std::string& description,
                     const std::string& examples);

/// Adds --encoding, --field-end and --record-end to a command; `options` must outlive the parsing,
/// as everything below.
void AddFormatOptions(CLI::App& command, FormatOptions& options);

/// Adds -o/--output and --force. Where `isRequired`, a command without -o is a wrong one.
void AddOutputOptions(CLI::App& command, OutputOptions& options, bool isRequired = false);

/// Adds the positional FILE; "-" is standard input.
void AddInputFile(CLI::App& command, std::string& path);

/// Adds the positional FILE..., of which one at least is needed; `what` is its description. On
/// Windows ExpandedPaths has to be asked for what they stand for.
void AddInputFiles(CLI::App& command, std::vector<std::string>& paths, const std::string& what);

/// `paths` with those that have * or ? replaced by the files that they stand for, on Windows.
std::vector<std::string> ExpandedPaths(const std::vector<std::string>& paths);

/// Runs the program: `arguments` are UTF-8, without the program's own name. Returns what it leaves
/// with. On Windows /? asks for help too.
int RunTool(const std::vector<std::string>& arguments);

// Each command has a source of its own with a function `void AddX(CLI::App& tool, Context&
// context)`, which is declared here and called in command_line.cpp; its options live as long as
// `tool`.
void AddView(CLI::App& tool, Context& context);
void AddInfo(CLI::App& tool, Context& context);
void AddCheck(CLI::App& tool, Context& context);
void AddSalvage(CLI::App& tool, Context& context);

}  // namespace brindlex::tool
