#include <memory>
#include <string>
#include <vector>

#include "cli/commands/command_line.h"

namespace brindlex::cli {

void AddHelp(CLI::App& program, Context& /*context*/) {
  CLI::App& command = AddCommand(program, "help", "Shows what the program or a command takes",
                                 "brindlex help view\n"
                                 "brindlex help collections add\n");
  auto words = std::make_shared<std::vector<std::string>>();
  AddValue(command, "command", *words, "COMMAND", "The command");
  command.callback([words, &program] {
    const CLI::App* shown = &program;
    std::string name = "brindlex";
    for (const std::string& word : *words) {
      shown = &RequireCommand(*shown, word);
      name += " " + word;
    }
    Print(shown->get_formatter()->make_help(shown, name, CLI::AppFormatMode::Normal));
  });
}

}  // namespace brindlex::cli
