#pragma once

#include "cli/commands/command_line.h"

namespace brindlex::tool {

// The commands that convert, each added as command_line.h says.
void AddToJson(CLI::App& tool, Context& context);
void AddToCsv(CLI::App& tool, Context& context);
void AddToHtml(CLI::App& tool, Context& context);
void AddFromJson(CLI::App& tool, Context& context);
void AddFromCsv(CLI::App& tool, Context& context);
void AddCollections(CLI::App& tool, Context& context);
void AddBase(CLI::App& tool, Context& context);

}  // namespace brindlex::tool
