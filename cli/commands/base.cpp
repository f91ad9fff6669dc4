#include <fmt/format.h>

#include <memory>

#include "cli/commands/command_line.h"
#include "cli/convert/base_text.h"
#include "cli/io/diagnostics.h"

namespace brindlex::cli {
namespace {

constexpr const char* kExamples =
    "brindlex base 255 10 16                 FF\n"
    "brindlex base -1A.8 16 10               -26.5\n"
    "brindlex base 3.1 10 2 --digits 8       11.00011001\n"
    "brindlex base 5 10 2 --group 4          0101\n"
    "brindlex base --table 3725              3725 in every base\n";

struct BaseOptions {
  std::string number;
  std::int32_t from = 0;
  std::int32_t to = 0;
  bool isTable = false;
  ConversionLimits limits;
};

void PrintTable(const BaseOptions& options, Context& context) {
  std::string table;
  for (const std::int32_t base : kBases) {
    try {
      const std::string text = ConvertedNumber(options.number, 10, base, options.limits);
      table += fmt::format("{:>2}  {}\n", base, text);
    } catch (const Failure& failure) {
      Warn(failure.what());
      context.status = ExitStatus::kDefects;
    }
  }
  Print(table);
}

}  // namespace

void AddBase(CLI::App& program, Context& context) {
  CLI::App& command =
      AddCommand(program, "base", "Writes a number in another number base", kExamples);
  auto options = std::make_shared<BaseOptions>();
  AddValue(command, "number", options->number, "NUMBER", "The number; with --table a decimal one")
      ->required();
  auto* const from = AddValue(command, "from", options->from, "FROM", "The base it is in");
  auto* const to = AddValue(command, "to", options->to, "TO", "The base to write it in");
  command.add_flag("--table", options->isTable,
                   "Write it in bases " + BaseList() + ", one to a line");
  AddValue(command, "--digits", options->limits.maxFractionDigits, "N",
           "At most so many fractional digits; -1 for no limit (-1)");
  AddValue(command, "--tolerance", options->limits.tolerance, "X",
           "No further fractional digit once the remainder is no larger (1e-27)");
  AddValue(command, "--group", options->limits.groupSize, "N",
           "Leading zeros up to a multiple of so many digits (0: none)");
  command.callback([options, from, to, &context] {
    const auto given = from->count() + to->count();
    if (options->isTable != (given == 0) || given == 1) {
      throw UsageError("base takes NUMBER FROM TO, or --table NUMBER; see brindlex base --help");
    }
    if (options->isTable) return PrintTable(*options, context);
    Print(ConvertedNumber(options->number, options->from, options->to, options->limits) + "\n");
  });
}

}  // namespace brindlex::cli
