#include "cli/io/diagnostics.h"

#include <cstdlib>
#include <string>

#include "cli/io/system.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

constexpr std::size_t kMaxMessage = 10'000;

std::string_view Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

void WriteMessage(const std::string& escaped) {
  const std::string line = "brindlex: " + escaped + "\n";
  if (system::IsTerminal(system::kStandardError)) {
    system::WriteToTerminal(system::kStandardError, line);
  } else {
    system::Write(system::kStandardError, line);
  }
}

}  // namespace

void Warn(std::string_view message) { WriteMessage(Escaped(message, kMaxMessage)); }

void WarnPainted(std::string_view before, Style style, std::string_view painted,
                 std::string_view after) {
  WriteMessage(Escaped(before, kMaxMessage) +
               PaletteFor(system::kStandardError).Paint(style, Escaped(painted)) +
               Escaped(after, kMaxMessage));
}

Palette PaletteFor(int descriptor) {
  return Palette(system::IsTerminal(descriptor) && Variable("NO_COLOR").empty() &&
                 Variable("TERM") != "dumb" && system::TakesColours(descriptor));
}

}  // namespace brindlex::cli
